#include <memory>
#include <string>
#include <vector>

#include "command_line/command.h"
#include "command_line/options.h"
#include "commands/commands.h"
#include "comparison/difference_lines.h"
#include "comparison/differences.h"
#include "documents/document.h"

namespace nebxml {
namespace {

// As for diff(1), status 1 means different, and trouble has a status of its own.
Document readDocument(const std::string &fileName, const ReadingOptions &reading) try {
  return Document(fileName, reading);
} catch (const CommandError &error) {
  if (error.status() != ExitStatus::notFound) throw;
  throw CommandError(ExitStatus::wrongUsage, error.what());
}

struct DiffOptions {
  Input first;
  std::string secondName;
  bool ignoresOrder = false;
  std::vector<std::string> ignoredNames;
};

// Prints every difference. Returns notFound if there is one, else done.
ExitStatus compareFiles(const DiffOptions &options) {
  const Document first = readDocument(options.first.fileName, options.first.reading);
  const Document second = readDocument(options.secondName, options.first.reading);
  if (first.bytes() == second.bytes()) return ExitStatus::done;
  Forest forest(first.topLevelNodes(), second.topLevelNodes(),
                Tolerance(options.ignoresOrder, options.ignoredNames));
  const std::vector<Difference> differences = differencesOf(forest);
  printDifferences(forest, differences, first, second);
  return differences.empty() ? ExitStatus::done : ExitStatus::notFound;
}

std::string refusedName(const std::string &name) {
  return name.empty() || name == "@" ? "a name is required, or @ and a name" : "";
}

}  // namespace

void addDiff(CLI::App &app, ExitStatus &status) {
  const auto options = std::make_shared<DiffOptions>();
  CLI::App *command =
      addCommand(app, {"diff",
                       "print every difference of two documents",
                       {"nebxml diff old.xml new.xml",
                        "nebxml diff old.xml new.xml --ignore-order --ignore @revision"}});
  addFile(command, options->first, "A");
  command->add_option("B", options->secondName, "another file, or -")->required();
  command->add_flag("--ignore-order", options->ignoresOrder,
                    "compare the children of an element in any order");
  command
      ->add_option("--ignore", options->ignoredNames,
                   "skip elements of this name, or attributes: @NAME; repeatable")
      ->type_name("NAME")
      ->allow_extra_args(false)
      ->check(refusedName);
  command->callback([options, &status] {
    requireOneStandardInput({options->first.fileName, options->secondName});
    status = compareFiles(*options);
  });
}

}  // namespace nebxml
