#include <algorithm>
#include <memory>
#include <string>

#include "command_line/command.h"
#include "command_line/options.h"
#include "commands/commands.h"
#include "comparison/tree_difference.h"
#include "documents/node_path.h"
#include "terminal/excerpt.h"
#include "terminal/output.h"
#include "terminal/printable.h"

namespace nebxml {
namespace {

// The value around the first byte that differs from the other one.
std::string shown(const Value &value, const Value &other) {
  if (!value) return "none";
  size_t offset = 0;
  if (other) {
    const auto end = std::mismatch(value->begin(), value->end(), other->begin(), other->end());
    offset = static_cast<size_t>(end.first - value->begin());
  }
  return '"' + excerptAround(*value, offset).text + '"';
}

// The file and the path of a differing node.
std::string locationOf(const Document &document, const XmlNode *node) {
  const std::string fileName = printable(document.fileName());
  return node == nullptr ? fileName
                         : fileName + ": " + outputName(pathOf(document.topLevelNodes(), node));
}

void printDifference(const Difference &difference, const std::string &firstLocation,
                     const std::string &secondLocation) {
  writeStandardOutput(outputName(difference.kind) + " differs\n" + firstLocation + ": " +
                      shown(difference.first, difference.second) + '\n' + secondLocation + ": " +
                      shown(difference.second, difference.first) + '\n');
}

struct DiffOptions {
  Input first;
  std::string secondName;
};

// Prints the first difference. Returns notFound if there is one, else done.
ExitStatus compareFiles(const DiffOptions &options) {
  const Document first(options.first.fileName, options.first.reading);
  const Document second(options.secondName, options.first.reading);
  const auto found = firstDifference(first.topLevelNodes(), second.topLevelNodes());
  if (!found) return ExitStatus::done;
  printDifference(found->difference, locationOf(first, found->first),
                  locationOf(second, found->second));
  return ExitStatus::notFound;
}

}  // namespace

void addDiff(CLI::App &app, ExitStatus &status) {
  const auto options = std::make_shared<DiffOptions>();
  CLI::App *command = addCommand(
      app, {"diff",
            "print the first difference of two documents",
            {"nebxml diff old.xml new.xml", "nebxml diff old.xml new.xml && echo same"}});
  addFile(command, options->first, "A");
  command->add_option("B", options->secondName, "another file, or -")->required();
  command->callback([options, &status] {
    requireOneStandardInput({options->first.fileName, options->secondName});
    status = compareFiles(*options);
  });
}

}  // namespace nebxml
