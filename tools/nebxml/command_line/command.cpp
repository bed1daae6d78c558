#include "command_line/command.h"

#include <memory>

#include "command_line/help.h"

namespace nebxml {

CLI::App *addCommand(CLI::App &app, const CommandText &text) {
  CLI::App *command = app.add_subcommand(text.name, text.purpose);
  command->formatter(std::make_shared<HelpFormatter>(text.examples));
  command->group("Commands");
  return command;
}

}  // namespace nebxml
