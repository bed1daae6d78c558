#include "command_line/options.h"

#include <algorithm>

#include "command_line/reading_options.h"
#include "documents/value_type.h"

namespace nebxml {

void addFile(CLI::App *command, Input &input, const std::string &label) {
  command->add_option(label, input.fileName, "the file, or - for standard input")->required();
  addReadingOptions(command, input.reading);
}

void addPath(CLI::App *command, std::string &pattern) {
  command->add_option("PATH", pattern, "such as config.server.2.port, or a pattern")->required();
}

void addAll(CLI::App *command, Selection &selection, const std::string &purpose) {
  command->add_flag("--all", selection.takesAll, purpose);
}

void addOutput(CLI::App *command, Destination &destination) {
  CLI::Option *output =
      command->add_option("-o", destination.fileName, "write the result to this file")
          ->type_name("FILE");
  command->add_flag("--in-place", destination.inPlace, "replace FILE by the result")
      ->excludes(output);
}

void addType(CLI::App *command, std::optional<std::string> &type) {
  command->add_option("--type", type, "what the value has to be")
      ->type_name("TYPE")
      ->check(CLI::IsMember(valueTypeNames()));
}

void requireOneStandardInput(const std::vector<std::string> &fileNames) {
  if (std::count(fileNames.begin(), fileNames.end(), kStandardStream) > 1) {
    throw CLI::ValidationError("-", "standard input can be read once only");
  }
}

void requireReplaceable(const Input &input, const Destination &destination) {
  if (destination.inPlace && input.fileName == kStandardStream) {
    throw CLI::ValidationError("--in-place", "needs a file, not standard input");
  }
}

}  // namespace nebxml
