#include "other_parsers/outline.h"

namespace other_parsers {

namespace {

std::string_view viewOf(const char *string, size_t length) {
  return string == nullptr ? std::string_view() : std::string_view(string, length);
}

std::string wholeName(const NEB_XML_NODE_INFO &node) {
  const std::string local(viewOf(node.name, node.nameLength));
  return node.prefix == nullptr ? local : std::string(node.prefix) + ":" + local;
}

void begin(const XmlNode *node, Outline *outline) {
  NEB_XML_NODE_INFO info, attribute;
  NEB_XML_GetNodeInfo(node, &info);
  outline->start(wholeName(info));
  for (const XmlNode *each = info.firstAttribute; each != nullptr; each = attribute.nextSibling) {
    NEB_XML_GetNodeInfo(each, &attribute);
    outline->attribute(wholeName(attribute), viewOf(attribute.value, attribute.valueLength));
  }
  outline->text(viewOf(info.value, info.valueLength));
}

}  // namespace

void Outline::start(std::string_view name) {
  if (!open_.empty()) open_.back().hasChildren = true;
  open_.push_back({"", false});
  whole_ += '(';
  add(name);
}

void Outline::attribute(std::string_view name, std::string_view value) {
  whole_ += '@';
  add(name);
  add(value);
}

void Outline::text(std::string_view part) {
  if (!open_.empty()) open_.back().text += part;
}

void Outline::end() {
  const auto &[text, hasChildren] = open_.back();
  if (!hasChildren || text.find_first_not_of(" \t\n\r") != text.npos) add(text);
  open_.pop_back();
  whole_ += ')';
}

std::string outlineOf(const XmlNode *top) {
  Outline outline;
  for (const XmlNode *node = top; node != nullptr;) {
    begin(node, &outline);
    const XmlNode *next = NEB_XML_GetNodeFirstChild(node);
    while (next == nullptr) {
      outline.end();
      if (node == top) break;
      next = NEB_XML_GetNodeNextSibling(node);
      if (next == nullptr) node = NEB_XML_GetNodeParent(node);
    }
    node = next;
  }
  return outline.whole();
}

std::string outlineBy(const OtherParser &parser, const std::string &document) {
  Outline outline;
  return parser.read(document, &outline) ? outline.whole() : "refused";
}

}  // namespace other_parsers
