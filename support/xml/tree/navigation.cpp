// Reading links and fields of nodes.
#include "neb_xml.h"
#include "record/node.h"

using namespace neb::xml::internal;

XmlNode *NEB_XML_GetNodeParent(const XmlNode *node) {
  return node == nullptr ? nullptr : node->parent;
}

XmlNode *NEB_XML_GetNodeFirstChild(const XmlNode *node) {
  return node == nullptr || isAttribute(node) ? nullptr : node->firstChild;
}

XmlNode *NEB_XML_GetNodeLastChild(const XmlNode *node) {
  return node == nullptr || isAttribute(node) ? nullptr : node->lastChild;
}

XmlNode *NEB_XML_GetNodeNextSibling(const XmlNode *node) {
  return node == nullptr ? nullptr : node->next;
}

XmlNode *NEB_XML_GetNodePrevSibling(const XmlNode *node) {
  return node == nullptr || isAttribute(node) ? nullptr : node->prev;
}

uint32_t NEB_XML_GetNodeChildNum(const XmlNode *node, uint32_t *count) {
  if (node == nullptr || count == nullptr || isAttribute(node)) return NEB_XML_ERR_INVALID_PARAM;
  uint32_t children = 0;
  for (const XmlNode *child = node->firstChild; child != nullptr; child = child->next) ++children;
  *count = children;
  return NEB_XML_OK;
}

uint32_t NEB_XML_GetNodeValue(const XmlNode *node, int32_t *type, const char **prefix,
                              const char **name, const char **value) {
  if (node == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  if (type != nullptr) *type = node->type;
  if (prefix != nullptr) *prefix = node->prefix;
  if (name != nullptr) *name = node->name;
  if (value != nullptr) *value = node->value;
  return NEB_XML_OK;
}

XmlNode *NEB_XML_Iterator(const XmlNode *node) {
  if (node == nullptr || isAttribute(node)) return nullptr;
  if (node->firstChild != nullptr) return node->firstChild;
  for (; node != nullptr; node = node->parent) {
    if (node->next != nullptr) return node->next;
  }
  return nullptr;
}
