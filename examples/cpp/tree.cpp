// Shows a document as a tree with its values: tree FILE
#include <cstdio>
#include <cstdlib>
#include <string>

#include "neb_xml.hpp"

using neb::xml::Node;

static std::string qualified(const neb::xml::Strings &strings) {
  std::string name(strings.name.value_or(""));
  return strings.prefix ? std::string(*strings.prefix) + ":" + name : name;
}

static std::string described(Node node) {
  const neb::xml::Strings strings = node.strings();
  std::string line = qualified(strings);
  for (const neb::xml::Attribute attribute : node.attributes()) {
    const neb::xml::Strings parts = attribute.strings();
    line += "  " + qualified(parts) + "=" + std::string(parts.value.value_or(""));
  }
  if (strings.value) line += ": " + std::string(*strings.value);
  return line;
}

// Indents a node: each level above it has a line if more siblings follow, else none.
static std::string branches(Node node, Node root) {
  std::string text = node.next() ? "├─ " : "└─ ";
  for (Node above = node.parent(); above.get() != root.get(); above = above.parent()) {
    text.insert(0, above.next() ? "│  " : "   ");
  }
  return text;
}

int main(int argc, char **argv) {
  const char *path = argc > 1 ? argv[1] : "examples/samples/device.xml";
  const auto document = neb::xml::Document::parse_file(path);
  if (!document) {
    const neb::xml::Error &error = document.error();
    std::fprintf(stderr, "%s:%zu:%zu: %s\n", path, error.line, error.column, error.reason);
    return EXIT_FAILURE;
  }
  const Node root = document->root();
  std::printf("%s\n", described(root).c_str());
  for (const Node node : root.descendants()) {
    std::printf("%s%s\n", branches(node, root).c_str(), described(node).c_str());
  }
  return EXIT_SUCCESS;
}
