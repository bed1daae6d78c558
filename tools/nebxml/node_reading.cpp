#include "node_reading.h"

namespace nebxml {
namespace {

std::string_view viewOf(const char *text) {
  return text == nullptr ? std::string_view() : std::string_view(text);
}

}  // namespace

std::string NodeStrings::qualifiedName() const {
  std::string qualified(prefix);
  if (!prefix.empty()) qualified += ':';
  return qualified.append(name);
}

NodeStrings nodeStrings(const XmlNode *node) {
  const char *prefix = nullptr;
  const char *name = nullptr;
  const char *value = nullptr;
  NEB_XML_GetNodeValue(node, nullptr, &prefix, &name, &value);
  return {viewOf(prefix), viewOf(name), viewOf(value)};
}

XmlNode *nextAttribute(const XmlNode *element, XmlNode *attribute) {
  const char *unused = nullptr;
  NEB_XML_GetNextSiblingAttrEx(element, &unused, &unused, &unused, &attribute);
  return attribute;
}

XmlNode *nextInSubtree(const XmlNode *node, const XmlNode *root, size_t &depth) {
  if (XmlNode *child = NEB_XML_GetNodeFirstChild(node)) {
    ++depth;
    return child;
  }
  for (; node != root; node = NEB_XML_GetNodeParent(node)) {
    if (XmlNode *sibling = NEB_XML_GetNodeNextSibling(node)) return sibling;
    --depth;
  }
  return nullptr;
}

}  // namespace nebxml
