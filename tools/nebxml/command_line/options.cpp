#include "command_line/options.h"

#include <algorithm>

#include "command_line/reading_options.h"
#include "documents/value_type.h"
#include "system/paths.h"

namespace nebxml {

namespace {

constexpr const char *kUsualSuffix = "~";

// CLI11 gives a flag without a value this one.
std::string suffixOf(const std::string &value) { return value == "true" ? kUsualSuffix : value; }

std::string isInSameFolder(const std::string &suffix) {
  const size_t mark = suffix.find_first_of(kFolderMarks);
  return mark == std::string::npos ? ""
                                   : "a suffix has no '" + suffix.substr(mark, 1) + "': " + suffix;
}

}  // namespace

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
  command
      ->add_flag("--backup", destination.backupSuffix,
                 "keep the old file as FILE~; --backup=.old keeps it as FILE.old")
      ->transform(suffixOf)
      ->check(isInSameFolder)
      ->needs("--in-place");
  command->add_flag("--dry-run", destination.isDryRun,
                    "write nothing, and print what would change as a unified diff");
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
