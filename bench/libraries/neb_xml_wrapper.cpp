// The C++ wrapper beside the C calls: what it adds to the work on a parsed tree.
#include "neb_xml.hpp"

#include "library.h"

namespace {

using namespace bench;
using neb::xml::Attribute;
using neb::xml::Info;
using neb::xml::Node;

Node root(bench::Document document) { return Node(static_cast<XmlNode *>(document)); }

template <typename View>
void visitStrings(const Info<View> &info, TouchVisitor &visitor) {
  const auto start = [](neb::xml::Text text) { return text ? text->data() : nullptr; };
  visitor.qualified(start(info.prefix()), start(info.name()));
  visitor.string(start(info.value()));
}

void visit(const Info<Node> &node, TouchVisitor &visitor) {
  visitor.element();
  visitStrings(node, visitor);
  for (const Info<Attribute> &attribute : node.attributes()) {
    visitor.attribute();
    visitStrings(attribute, visitor);
  }
}

size_t walk(bench::Document document) {
  TouchVisitor visitor;
  const Info<Node> top = root(document).info();
  visit(top, visitor);
  for (const Info<Node> &node : top.descendants()) visit(node, visitor);
  return visitor.sum;
}

size_t readAttribute(bench::Document document, const char *name) {
  TouchVisitor visitor;
  for (Node child : root(document).children()) {
    if (const neb::xml::Text value = child.attribute(name)) visitor.string(value->data());
  }
  return visitor.sum;
}

const char *find(bench::Document document, const Path &path) {
  const neb::xml::Text value = root(document).find(path.text).value();
  return value ? value->data() : nullptr;
}

int64_t addNumbers(bench::Document document) {
  int64_t sum = 0;
  for (Node child : root(document).children()) sum += child.get<int32_t>().value_or(0);
  return sum;
}

Subject wrapper() {
  Subject subject = nebXmlSession();
  subject.mode = "wrapper";
  subject.isWrapper = true;
  subject.walk = walk;
  subject.readAttribute = readAttribute;
  subject.find = find;
  subject.addNumbers = addNumbers;
  subject.print = nullptr;
  subject.clone = nullptr;
  subject.edit = nullptr;
  return subject;
}

const Registration registration(1, {wrapper()});

}  // namespace
