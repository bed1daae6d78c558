#include <algorithm>
#include <string>

#include "commands.h"
#include "excerpt.h"
#include "file_output.h"
#include "node_path.h"
#include "printable.h"
#include "tree_difference.h"

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

}  // namespace

ExitStatus compareFiles(const Target &target, const Source &source) {
  const Document first(target.fileName, target.reading);
  const Document second(source.fileName, target.reading);
  const auto found = firstDifference(first.topLevelNodes(), second.topLevelNodes());
  if (!found) return ExitStatus::done;
  printDifference(found->difference, locationOf(first, found->first),
                  locationOf(second, found->second));
  return ExitStatus::notFound;
}

}  // namespace nebxml
