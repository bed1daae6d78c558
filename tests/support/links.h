// Checks what holds for every node of a correct tree, and describes trees, for tests and fuzzers.
#pragma once

#include <cstring>
#include <string>

#include "xml/record/node.h"

namespace links {

using namespace neb::xml::internal;

inline size_t lengthOf(const char *text) { return text == nullptr ? 0 : std::strlen(text); }

// The one call that reads a node answers as the calls for single answers do, and its lengths are
// those of the strings.
template <typename Check>
void checkInfo(const XmlNode *node, Check check) {
  NEB_XML_NODE_INFO info;
  std::memset(&info, 0xAA, sizeof info);
  check(NEB_XML_GetNodeInfo(node, &info) == NEB_XML_OK);
  int32_t type = -1;
  const char *prefix = "", *name = "", *value = "", *unused = nullptr;
  XmlNode *attribute = nullptr;
  check(NEB_XML_GetNodeValue(node, &type, &prefix, &name, &value) == NEB_XML_OK);
  NEB_XML_GetFirstAttrEx(node, &unused, &unused, &unused, &attribute);
  check(info.type == type);
  check(info.prefix == prefix && info.prefixLength == lengthOf(prefix));
  check(info.name == name && info.nameLength == lengthOf(name));
  check(info.value == value && info.valueLength == lengthOf(value));
  check(info.parent == NEB_XML_GetNodeParent(node));
  check(info.nextSibling == NEB_XML_GetNodeNextSibling(node));
  check(info.firstChild == NEB_XML_GetNodeFirstChild(node));
  check(info.firstAttribute == attribute);
  for (const size_t reserved : info.reserved) check(reserved == 0);
}

// An attribute whose strings are marked as together has them there, with their lengths.
template <typename Check>
void checkTogether(const XmlNode *attribute, Check check) {
  if ((attribute->marks & kStringsTogether) == 0) return;
  const char *first = reinterpret_cast<const char *>(attribute) + kAttributeRecordSize;
  const bool hasPrefix = attribute->prefix != nullptr;
  check(!hasPrefix || (attribute->prefix == first && *first != '\0'));
  check(attribute->name == (hasPrefix ? first + std::strlen(first) + 1 : first));
  check(hasNotedNameLength(attribute) && attribute->valueSize > 1 && !isOnHeap(attribute));
  check(attribute->value == attribute->name + attribute->nameLength + 1);
}

// Fields are compared but never bound to references, because a record may have any alignment.
template <typename Check>
void checkNode(const XmlNode *node, Check check) {
  check(node->prev == nullptr || node->prev->next == node);
  check(node->next == nullptr || node->next->prev == node);
  check((node->firstChild == nullptr) == (node->lastChild == nullptr));
  check(node->firstChild == nullptr || node->firstChild->prev == nullptr);
  check(node->lastChild == nullptr || node->lastChild->next == nullptr);
  for (const XmlNode *child = node->firstChild; child != nullptr; child = child->next) {
    check(child->parent == node);
  }
  check(node->nameOwned <= 1 && node->valueOwned <= 1);
  checkInfo(node, check);
  for (const XmlNode *attr = node->firstAttr; attr != nullptr; attr = attr->next) {
    check(attr->parent == node && attr->type == NEB_XML_NODE_ATTRIBUTE);
    checkInfo(attr, check);
    checkTogether(attr, check);
  }
}

inline std::string quoted(const char *text) {
  return text == nullptr ? "-" : "'" + std::string(text) + "'";
}

inline std::string qualified(const XmlNode *node) {
  std::string name = node->name == nullptr ? "-" : node->name;
  return node->prefix == nullptr ? name : std::string(node->prefix) + "|" + name;
}

// Describes the whole tree, and unless isAlone the siblings after it, in one line: types, prefixes,
// names, values, attributes, children. Null and empty differ in it. There is no recursion, since
// trees may be deep.
template <typename Check>
std::string described(const XmlNode *node, Check check, bool isAlone = false) {
  std::string text;
  size_t depth = 0;
  while (node != nullptr) {
    checkNode(node, check);
    text += std::to_string(node->type) + ":" + qualified(node) + "=" + quoted(node->value);
    for (const XmlNode *attr = node->firstAttr; attr != nullptr; attr = attr->next) {
      text += " " + qualified(attr) + "=" + quoted(attr->value);
    }
    if (node->firstChild != nullptr) {
      text += "(";
      node = node->firstChild;
      ++depth;
      continue;
    }
    while (depth > 0 && node->next == nullptr) {
      text += ")";
      node = node->parent;
      --depth;
    }
    if (depth == 0 && isAlone) break;
    node = node->next;
    if (node != nullptr) text += ",";
  }
  return text;
}

}  // namespace links
