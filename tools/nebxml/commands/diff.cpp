#include <algorithm>
#include <string>
#include <vector>

#include "commands.h"
#include "comparison/differences.h"
#include "documents/locations.h"
#include "excerpt.h"
#include "file_output.h"
#include "node_path.h"
#include "printable.h"

namespace nebxml {
namespace {

constexpr size_t kOutputChunk = 65536;

// As for diff(1), status 1 means different, and trouble has a status of its own.
Document readDocument(const std::string &fileName, Reading reading) try {
  return Document(fileName, reading);
} catch (const CommandError &error) {
  if (error.status() != ExitStatus::notFound) throw;
  throw CommandError(ExitStatus::wrongUsage, error.what());
}

// A document, and its differences in document order.
struct Side {
  const Document &document;
  std::vector<size_t> differences;
};

std::string nameOf(const Forest &forest, const Difference &difference,
                   const std::optional<std::string> &path) {
  std::string name = path.value_or(nodeStrings(forest[difference.element].node).qualifiedName());
  if (difference.attribute != nullptr) {
    name += ".@" + nodeStrings(difference.attribute).qualifiedName();
  }
  return path ? name : name.append(kNoPath);
}

// Fills in the file, the line, the column and the path of each difference of a side.
void fillLocations(const Forest &forest, const std::vector<Difference> &differences,
                   const Side &side, std::vector<std::string> &locations) {
  std::vector<const XmlNode *> elements;
  std::vector<const XmlNode *> nodes;
  for (const size_t index : side.differences) {
    const Difference &difference = differences[index];
    elements.push_back(forest[difference.element].node);
    nodes.push_back(difference.attribute == nullptr ? elements.back() : difference.attribute);
  }
  const auto paths = pathsOf(side.document.topLevelNodes(), elements);
  const auto positions = locationsOf(side.document, nodes);
  for (size_t at = 0; at < nodes.size(); ++at) {
    std::string &location = locations[side.differences[at]];
    location = printable(side.document.fileName()) + ':';
    if (!positions.empty()) {
      location +=
          std::to_string(positions[at].line) + ':' + std::to_string(positions[at].column) + ':';
    }
    location += ' ' + outputName(nameOf(forest, differences[side.differences[at]], paths[at]));
  }
}

std::string quoted(std::string_view value, size_t offset) {
  return " = \"" + excerptAround(value, offset).text + '"';
}

// The value of a difference; for an element with children, how many elements it holds.
std::string contentOf(const Forest &forest, const Difference &difference) {
  if (difference.attribute != nullptr) {
    return quoted(nodeStrings(difference.attribute).value, difference.offset);
  }
  if (forest.isLeaf(difference.element)) {
    return quoted(forest.stringsOf(difference.element).value, difference.offset);
  }
  const size_t count = forest.descendantCount(difference.element);
  return " (" + std::to_string(count) + (count == 1 ? " element)" : " elements)");
}

void printDifferences(const Forest &forest, const std::vector<Difference> &differences,
                      const std::vector<std::string> &locations) {
  std::string lines;
  for (size_t index = 0; index < differences.size(); ++index) {
    lines += forest.isSecond(differences[index].element) ? "+ " : "- ";
    lines += locations[index] + contentOf(forest, differences[index]) + '\n';
    if (lines.size() >= kOutputChunk) {
      writeStandardOutput(lines);
      lines.clear();
    }
  }
  writeStandardOutput(lines);
}

Side sideOf(const Document &document, bool isSecond, const Forest &forest,
            const std::vector<Difference> &differences) {
  Side side{document, {}};
  for (size_t index = 0; index < differences.size(); ++index) {
    if (forest.isSecond(differences[index].element) == isSecond) side.differences.push_back(index);
  }
  // If the order does not count, the differences are in the order of the first document only.
  std::stable_sort(side.differences.begin(), side.differences.end(),
                   [&](size_t left, size_t right) {
                     return differences[left].element < differences[right].element;
                   });
  return side;
}

}  // namespace

ExitStatus compareFiles(const Target &target, const Source &source, const Tolerance &tolerance) {
  const Document first = readDocument(target.fileName, target.reading);
  const Document second = readDocument(source.fileName, target.reading);
  if (first.bytes() == second.bytes()) return ExitStatus::done;
  Forest forest(first.topLevelNodes(), second.topLevelNodes(), tolerance);
  const std::vector<Difference> differences = differencesOf(forest);
  std::vector<std::string> locations(differences.size());
  fillLocations(forest, differences, sideOf(first, false, forest, differences), locations);
  fillLocations(forest, differences, sideOf(second, true, forest, differences), locations);
  printDifferences(forest, differences, locations);
  return differences.empty() ? ExitStatus::done : ExitStatus::notFound;
}

}  // namespace nebxml
