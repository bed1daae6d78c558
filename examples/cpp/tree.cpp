// Shows a document as a tree with its values: tree FILE
#include <cstdio>
#include <cstdlib>
#include <string>

#include "neb_xml.hpp"

using neb::xml::ConstNode;
using neb::xml::Info;

template <typename View>
static std::string qualified(const Info<View> &info) {
  std::string name(info.name().value_or(""));
  return info.prefix() ? std::string(*info.prefix()) + ":" + name : name;
}

static std::string described(const Info<ConstNode> &node) {
  std::string line = qualified(node);
  for (const auto &attribute : node.attributes()) {
    line += "  " + qualified(attribute) + "=" + std::string(attribute.value().value_or(""));
  }
  if (node.value()) line += ": " + std::string(*node.value());
  return line;
}

// Indents a node: each level above it has a line if more siblings follow, else none.
static std::string branches(const Info<ConstNode> &node, ConstNode root) {
  std::string text = node.next() ? "├─ " : "└─ ";
  for (ConstNode above = node.parent(); above != root; above = above.parent()) {
    text.insert(0, above.next() ? "│  " : "   ");
  }
  return text;
}

int main(int argc, char **argv) {
  const char *path = argc > 1 ? argv[1] : "examples/samples/device.xml";
  const auto document = neb::xml::Document::parse_file(path);
  if (!document) {
    const neb::xml::ParseError &error = document.error();
    std::fprintf(stderr, "%s:%zu:%zu: %s\n", path, error.line, error.column, error.what());
    return EXIT_FAILURE;
  }
  const ConstNode root = document->root();
  std::printf("%s\n", described(root.info()).c_str());
  for (const Info<ConstNode> &node : root.info().descendants()) {
    std::printf("%s%s\n", branches(node, root).c_str(), described(node).c_str());
  }
  return EXIT_SUCCESS;
}
