#include "command_line/editing_options.h"

namespace nebxml {

void addEditingOptions(CLI::App *command, EditingOptions &options, const std::string &purpose) {
  addFile(command, options.input);
  addPath(command, options.selection.pattern);
  addAll(command, options.selection, purpose);
  addOutput(command, options.destination);
}

void addPositions(CLI::App *command, Position &position) {
  const auto add = [&](const std::string &name, Position meant, const std::string &purpose) {
    return command->add_flag_callback(
        name, [&position, meant] { position = meant; }, purpose);
  };
  CLI::Option *first = add("--first", Position::first, "as the first child of PATH");
  CLI::Option *before = add("--before", Position::before, "as a sibling before PATH");
  CLI::Option *after = add("--after", Position::after, "as a sibling after PATH");
  first->excludes(before)->excludes(after);
  before->excludes(after);
}

}  // namespace nebxml
