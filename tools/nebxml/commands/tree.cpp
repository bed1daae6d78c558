#include <algorithm>
#include <memory>
#include <optional>
#include <string_view>

#include "command_line/command.h"
#include "command_line/options.h"
#include "commands/commands.h"
#include "documents/node_path.h"
#include "documents/node_reading.h"
#include "terminal/excerpt.h"
#include "terminal/output.h"

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

void printTree(const Input &input) {
  const Document document(input.fileName, input.reading);
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

}  // namespace

void addTree(CLI::App &app) {
  const auto input = std::make_shared<Input>();
  CLI::App *command =
      addCommand(app, {"tree",
                       "print each node with the path that finds it",
                       {"nebxml tree site.xml", "nebxml tree site.xml | grep port"}});
  addFile(command, *input);
  command->callback([input] { printTree(*input); });
}

}  // namespace nebxml
