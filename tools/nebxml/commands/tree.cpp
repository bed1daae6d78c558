#include <algorithm>
#include <memory>
#include <optional>
#include <string_view>

#include "command_line/command.h"
#include "command_line/options.h"
#include "commands/commands.h"
#include "documents/node_path.h"
#include "documents/node_reading.h"
#include "formats/tsv.h"
#include "terminal/buffered_output.h"
#include "terminal/colour.h"
#include "terminal/excerpt.h"
#include "terminal/output.h"

namespace nebxml {
namespace {

constexpr const char *kText = "text";
constexpr const char *kPaths = "paths";
constexpr size_t kIndentWidth = 2;
// Deeper lines are not indented further, so the output stays linear in the size of the tree.
constexpr size_t kDeepestIndent = 64;

struct TreeOptions {
  Input input;
  std::string format{kText};
};

std::string strong(std::string_view name) {
  return styled(Stream::output, Style::strong, outputName(name));
}

class TreePrinter {
 public:
  explicit TreePrinter(const TreeOptions &options)
      : document_(options.input.fileName, options.input.reading),
        showsPaths_(options.format == kPaths) {}

  void print() {
    for (const XmlNode *root : document_.topLevelNodes()) {
      size_t depth = 0;
      for (const XmlNode *node = root; node != nullptr; node = nextInSubtree(node, root, depth)) {
        printElement(node, depth);
      }
    }
    output_.flush();
    if (pathlessCount_ > 0) notePathless();
  }

 private:
  void printElement(const XmlNode *element, size_t depth) {
    const auto path = paths_.enter(element, depth);
    if (showsPaths_) {
      appendPaths(element, path);
    } else {
      appendLine(element, depth, path);
    }
    output_.flushIfLarge();
  }

  // For people: a line for an element with its attributes.
  void appendLine(const XmlNode *element, size_t depth, std::optional<std::string_view> path) {
    const NodeStrings strings = nodeStrings(element);
    std::string &lines = output_.text();
    lines.append(std::min(depth, kDeepestIndent) * kIndentWidth, ' ');
    lines += path ? strong(*path) : strong(strings.qualifiedName()).append(kNoPath);
    for (const XmlNode *attribute : attributesAt(element)) {
      const NodeStrings own = nodeStrings(attribute);
      lines += " " + outputName(own.qualifiedName()) + "=\"" + shortened(own.value) + '"';
    }
    if (!strings.value.empty()) lines += " = " + shortened(strings.value);
    lines += '\n';
  }

  // For programs: a line for an element, and one for each of its attributes.
  void appendPaths(const XmlNode *element, std::optional<std::string_view> path) {
    appendPath(path, element);
    for (const XmlNode *attribute : attributesAt(element)) {
      appendPath(paths_.enterAttribute(attribute), attribute);
    }
  }

  void appendPath(std::optional<std::string_view> path, const XmlNode *node) {
    if (!path) {
      ++pathlessCount_;
      return;
    }
    std::string value;
    appendTsv(value, nodeStrings(node).value);
    output_.text() += strong(*path) + '\t' + outputName(value) + '\n';
  }

  void notePathless() const {
    writeNote("nebxml: " + document_.fileName() +
              ": nodes without a path, left out: " + std::to_string(pathlessCount_));
  }

  const Document document_;
  NodePaths paths_{document_.root()};
  const bool showsPaths_;
  BufferedOutput output_{writeReport};
  size_t pathlessCount_ = 0;
};

}  // namespace

void addTree(CLI::App &app) {
  const auto options = std::make_shared<TreeOptions>();
  CLI::App *command = addCommand(
      app, {"tree",
            "print each node with the path that finds it",
            {"nebxml tree site.xml", "nebxml tree site.xml --format paths | grep port"}});
  addFile(command, options->input);
  command->add_option("--format", options->format, "text, or paths: every path, a tab, the value")
      ->type_name("FORMAT")
      ->check(CLI::IsMember({kText, kPaths}));
  command->callback([options] { TreePrinter(*options).print(); });
}

}  // namespace nebxml
