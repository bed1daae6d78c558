#include "comparison/difference_lines.h"

#include <algorithm>
#include <optional>
#include <string>

#include "documents/locations.h"
#include "documents/node_path.h"
#include "terminal/buffered_output.h"
#include "terminal/colour.h"
#include "terminal/excerpt.h"
#include "terminal/output.h"
#include "terminal/printable.h"

namespace nebxml {
namespace {

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

std::string lineOf(const Forest &forest, const Difference &difference,
                   const std::string &location) {
  const bool isAdded = forest.isSecond(difference.element);
  return styled(Stream::output, isAdded ? Style::added : Style::removed,
                (isAdded ? "+ " : "- ") + location + contentOf(forest, difference)) +
         '\n';
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

void printDifferences(const Forest &forest, const std::vector<Difference> &differences,
                      const Document &first, const Document &second) {
  std::vector<std::string> locations(differences.size());
  fillLocations(forest, differences, sideOf(first, false, forest, differences), locations);
  fillLocations(forest, differences, sideOf(second, true, forest, differences), locations);
  BufferedOutput output(writeReport);
  for (size_t index = 0; index < differences.size(); ++index) {
    output.text() += lineOf(forest, differences[index], locations[index]);
    output.flushIfLarge();
  }
  output.flush();
}

}  // namespace nebxml
