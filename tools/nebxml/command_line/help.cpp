#include "command_line/help.h"

#include <utility>

namespace nebxml {

std::string HelpFormatter::make_help(const CLI::App *app, std::string name,
                                     CLI::AppFormatMode mode) const {
  std::string help;
  for (const std::string &example : examples_) {
    if (!example.empty()) help += (help.empty() ? "Examples:\n  " : "  ") + example + '\n';
  }
  if (!help.empty()) help += '\n';
  return help + CLI::Formatter::make_help(app, std::move(name), mode);
}

std::string HelpFormatter::make_option_opts(const CLI::Option *option) const {
  const bool takesValue = option->get_type_size() != 0;
  return takesValue && !option->get_positional() ? " " + option->get_type_name() : "";
}

}  // namespace nebxml
