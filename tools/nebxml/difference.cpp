#include <algorithm>
#include <string>

#include "commands.h"
#include "file_output.h"
#include "node_path.h"
#include "printable.h"
#include "text_window.h"
#include "tree_difference.h"

namespace nebxml {
namespace {

/** Shows a value around the place where it begins to differ from the other one. */
std::string shown(const Value &value, const Value &other) {
  if (!value) {
    return "none";
  }
  std::size_t place = 0;
  if (other) {
    const auto end = std::mismatch(value->begin(), value->end(), other->begin(), other->end());
    place = static_cast<std::size_t>(end.first - value->begin());
  }
  return '"' + windowAround(*value, place).text + '"';
}

/** Where a difference lies in a file. */
std::string placeOf(const Document &document, const XmlNode *node) {
  const std::string fileName = printable(document.fileName());
  return node == nullptr ? fileName
                         : fileName + ": " + outputName(pathOf(document.topLevelNodes(), node));
}

void printDifference(const Difference &difference, const std::string &firstPlace,
                     const std::string &secondPlace) {
  writeStandardOutput(outputName(difference.kind) + " differs\n" + firstPlace + ": " +
                      shown(difference.first, difference.second) + '\n' + secondPlace + ": " +
                      shown(difference.second, difference.first) + '\n');
}

}  // namespace

ExitStatus compareFiles(const std::string &firstName, const std::string &secondName) {
  const Document first(firstName);
  const Document second(secondName);
  const auto found = firstDifference(first.topLevelNodes(), second.topLevelNodes());
  if (!found) {
    return ExitStatus::done;
  }
  printDifference(found->difference, placeOf(first, found->first), placeOf(second, found->second));
  return ExitStatus::notFound;
}

}  // namespace nebxml
