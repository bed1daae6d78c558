// Checks what holds for every node of a correct tree, and describes trees, for tests and fuzzers.
#pragma once

#include <cstring>
#include <string>

#include "xml/record/node.h"

namespace links {

using namespace neb::xml::internal;

// A noted length is the length of its string.
template <typename Check>
void checkLengths(const XmlNode *node, Check check) {
  check(!hasNotedNameLength(node) || node->nameLength == std::strlen(node->name));
  if (node->value == nullptr || node->valueSize == 0) return;
  check(node->valueSize == std::strlen(node->value) + 1);
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
  checkLengths(node, check);
  for (const XmlNode *attr = node->firstAttr; attr != nullptr; attr = attr->next) {
    check(attr->parent == node && attr->type == NEB_XML_NODE_ATTRIBUTE);
    checkLengths(attr, check);
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
