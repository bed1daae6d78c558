#include "documents/node_reading.h"

namespace nebxml {

std::string NodeStrings::qualifiedName() const {
  std::string qualified(prefix);
  if (!prefix.empty()) qualified += ':';
  return qualified.append(name);
}

NodeStrings nodeStrings(const XmlNode *node) {
  NEB_XML_NODE_INFO info;
  if (NEB_XML_GetNodeInfo(node, &info) != NEB_XML_OK) return {};
  return {{info.prefix, info.prefixLength},
          {info.name, info.nameLength},
          {info.value, info.valueLength}};
}

bool isAttribute(const XmlNode *node) {
  NEB_XML_NODE_INFO info;
  return NEB_XML_GetNodeInfo(node, &info) == NEB_XML_OK && info.type == NEB_XML_NODE_ATTRIBUTE;
}

XmlNode *nextAttribute(const XmlNode *element, XmlNode *attribute) {
  const char *unused = nullptr;
  NEB_XML_GetNextSiblingAttrEx(element, &unused, &unused, &unused, &attribute);
  return attribute;
}

std::vector<const XmlNode *> attributesAt(const XmlNode *node) {
  NEB_XML_NODE_INFO info;
  if (NEB_XML_GetNodeInfo(node, &info) != NEB_XML_OK) return {};
  if (info.type == NEB_XML_NODE_ATTRIBUTE) return {node};
  std::vector<const XmlNode *> attributes;
  XmlNode *attribute = nextAttribute(node, nullptr);
  for (; attribute != nullptr; attribute = nextAttribute(node, attribute)) {
    attributes.push_back(attribute);
  }
  return attributes;
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
