#include "command_line/command.h"

#include <memory>
#include <utility>

namespace nebxml {
namespace {

// Begins the help of a command with its examples.
class HelpWithExamples : public CLI::Formatter {
 public:
  explicit HelpWithExamples(std::array<std::string, 2> examples) : examples_(std::move(examples)) {}

  std::string make_help(const CLI::App *app, std::string name,
                        CLI::AppFormatMode mode) const override {
    std::string help = "Examples:\n";
    for (const std::string &example : examples_) help += "  " + example + '\n';
    return help + '\n' + CLI::Formatter::make_help(app, std::move(name), mode);
  }

 private:
  std::array<std::string, 2> examples_;
};

}  // namespace

CLI::App *addCommand(CLI::App &app, const CommandText &text) {
  CLI::App *command = app.add_subcommand(text.name, text.purpose);
  command->formatter(std::make_shared<HelpWithExamples>(text.examples));
  return command;
}

}  // namespace nebxml
