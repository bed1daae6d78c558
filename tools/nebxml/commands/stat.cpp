#include <algorithm>
#include <memory>

#include "command_line/command.h"
#include "command_line/options.h"
#include "commands/commands.h"
#include "documents/node_reading.h"
#include "terminal/output.h"

namespace nebxml {
namespace {

struct Statistics {
  size_t elements = 0;
  size_t attributes = 0;
  size_t texts = 0;
  size_t depth = 0;
  size_t textBytes = 0;

  void count(const XmlNode *element, size_t elementDepth) {
    const size_t length = nodeStrings(element).value.size();
    ++elements;
    texts += length > 0 ? 1 : 0;
    textBytes += length;
    depth = std::max(depth, elementDepth + 1);
    attributes += attributesAt(element).size();
  }
};

void printStatistics(const Input &input) {
  const Document document(input.fileName, input.reading);
  Statistics statistics;
  for (XmlNode *root : document.topLevelNodes()) {
    size_t depth = 0;
    for (XmlNode *node = root; node != nullptr; node = nextInSubtree(node, root, depth)) {
      statistics.count(node, depth);
    }
  }
  writeStandardOutput("elements: " + std::to_string(statistics.elements) +
                      "\nattributes: " + std::to_string(statistics.attributes) +
                      "\ntexts: " + std::to_string(statistics.texts) +
                      "\ndepth: " + std::to_string(statistics.depth) +
                      "\ntext bytes: " + std::to_string(statistics.textBytes) + "\n");
}

}  // namespace

void addStat(CLI::App &app) {
  const auto input = std::make_shared<Input>();
  CLI::App *command = addCommand(app, {"stat",
                                       "count what the document holds",
                                       {"nebxml stat site.xml", "nebxml stat - <site.xml"}});
  addFile(command, *input);
  command->callback([input] { printStatistics(*input); });
}

}  // namespace nebxml
