// Reading links and fields of nodes.
#include <algorithm>
#include <iterator>

#include "neb_xml.h"
#include "platform/compiler.h"
#include "record/node.h"
#include "record/node_strings.h"

namespace neb::xml::internal {

namespace {

// Whether the record holds the length of each string that there is.
bool hasNotedLengths(const XmlNode *node) {
  return node->prefix == nullptr && hasNotedNameLength(node) &&
         (node->valueSize != 0 || node->value == nullptr);
}

// Of an attribute whose strings follow each other: the name begins behind the prefix.
void readLengthsTogether(const XmlNode *attribute, NEB_XML_NODE_INFO *info) {
  const bool hasPrefix = attribute->prefix != nullptr;
  info->prefixLength = hasPrefix ? static_cast<size_t>(attribute->name - attribute->prefix) - 1 : 0;
  info->nameLength = attribute->nameLength;
  info->valueLength = attribute->valueSize - size_t{1};
}

void readNotedLengths(const XmlNode *node, NEB_XML_NODE_INFO *info) {
  info->prefixLength = 0;
  info->nameLength = node->nameLength;
  info->valueLength = node->valueSize != 0 ? node->valueSize - size_t{1} : 0;
}

// Not inlined, so that reading noted lengths needs no stack frame.
NEB_XML_NOINLINE void measureLengths(const XmlNode *node, NEB_XML_NODE_INFO *info) {
  info->prefixLength = prefixLengthOf(node);
  info->nameLength = node->name != nullptr ? nameLengthOf(node) : 0;
  info->valueLength = node->value != nullptr ? valueLengthOf(node) : 0;
}

void readLengths(const XmlNode *node, NEB_XML_NODE_INFO *info) {
  if ((node->marks & kStringsTogether) != 0) {
    readLengthsTogether(node, info);
  } else if (hasNotedLengths(node)) {
    readNotedLengths(node, info);
  } else {
    measureLengths(node, info);
  }
}

void readStrings(const XmlNode *node, NEB_XML_NODE_INFO *info) {
  info->prefix = node->prefix;
  info->name = node->name;
  info->value = node->value;
}

void readLinks(const XmlNode *node, NEB_XML_NODE_INFO *info) {
  const bool hasBelow = !isAttribute(node);
  info->parent = node->parent;
  info->nextSibling = node->next;
  info->firstChild = hasBelow ? +node->firstChild : nullptr;
  info->firstAttribute = hasBelow ? +node->firstAttr : nullptr;
}

}  // namespace

}  // namespace neb::xml::internal

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

uint32_t NEB_XML_GetNodeInfo(const XmlNode *node, NEB_XML_NODE_INFO *info) {
  if (node == nullptr || info == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  info->type = node->type;
  readStrings(node, info);
  readLinks(node, info);
  std::fill(std::begin(info->reserved), std::end(info->reserved), 0);
  readLengths(node, info);
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
