// What holds for every node of a right tree, for tests and fuzzers.
#pragma once

#include <cstring>

#include "xml/xml_node.h"

namespace links {

// A length that is noted is the string's own.
template <typename Check>
void checkLengths(const XmlNode *node, Check check) {
  check(!hasNotedNameLength(node) || node->nameLength == std::strlen(node->name));
  if (node->value == nullptr || node->valueSize == 0) return;
  check(node->valueSize == std::strlen(node->value) + 1);
}

// The fields are compared, not handed on: a record may stand at any address.
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
  }
}

}  // namespace links
