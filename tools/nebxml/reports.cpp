#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>

#include "commands.h"
#include "excerpt.h"
#include "file_output.h"
#include "neb_xml.hpp"
#include "node_path.h"
#include "node_reading.h"

namespace nebxml {
namespace {

constexpr size_t kIndentWidth = 2;
// Deeper lines are not indented further, so the output stays linear in the size of the tree.
constexpr size_t kDeepestIndent = 64;
constexpr size_t kOutputChunk = 65536;

void appendAttributes(std::string &lines, const XmlNode *element) {
  XmlNode *attribute = nextAttribute(element, nullptr);
  for (; attribute != nullptr; attribute = nextAttribute(element, attribute)) {
    const NodeStrings strings = nodeStrings(attribute);
    lines += " " + outputName(strings.qualifiedName()) + "=\"" + shortened(strings.value) + '"';
  }
}

void appendLine(std::string &lines, const XmlNode *node, size_t depth,
                std::optional<std::string_view> path) {
  const NodeStrings strings = nodeStrings(node);
  lines.append(std::min(depth, kDeepestIndent) * kIndentWidth, ' ');
  if (path) {
    lines += outputName(*path);
  } else {
    lines.append(outputName(strings.qualifiedName())).append(kNoPath);
  }
  appendAttributes(lines, node);
  if (!strings.value.empty()) lines += " = " + shortened(strings.value);
  lines += '\n';
}

struct Statistics {
  size_t elements = 0;
  size_t attributes = 0;
  size_t texts = 0;
  size_t depth = 0;
  size_t textBytes = 0;

  void count(neb::xml::Node node, size_t nodeDepth) {
    const size_t length = node.value().value_or("").size();
    ++elements;
    texts += length > 0 ? 1 : 0;
    textBytes += length;
    depth = std::max(depth, nodeDepth + 1);
    const auto range = node.attributes();
    attributes += static_cast<size_t>(std::distance(range.begin(), range.end()));
  }
};

}  // namespace

void printTree(const Target &target) {
  const Document document(target.fileName, target.reading);
  NodePaths paths(document.root());
  std::string lines;
  for (const XmlNode *root : document.topLevelNodes()) {
    size_t depth = 0;
    for (const XmlNode *node = root; node != nullptr; node = nextInSubtree(node, root, depth)) {
      appendLine(lines, node, depth, paths.enter(node, depth));
      if (lines.size() >= kOutputChunk) {
        writeStandardOutput(lines);
        lines.clear();
      }
    }
  }
  writeStandardOutput(lines);
}

void printStatistics(const Target &target) {
  const Document document(target.fileName, target.reading);
  Statistics statistics;
  for (XmlNode *root : document.topLevelNodes()) {
    size_t depth = 0;
    for (XmlNode *node = root; node != nullptr; node = nextInSubtree(node, root, depth)) {
      statistics.count(neb::xml::Node(node), depth);
    }
  }
  writeStandardOutput("elements: " + std::to_string(statistics.elements) +
                      "\nattributes: " + std::to_string(statistics.attributes) +
                      "\ntexts: " + std::to_string(statistics.texts) +
                      "\ndepth: " + std::to_string(statistics.depth) +
                      "\ntext bytes: " + std::to_string(statistics.textBytes) + "\n");
}

}  // namespace nebxml
