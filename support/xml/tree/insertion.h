// Positions in a tree, and linking a detached node there.
#pragma once

#include "ownership/cross_references.h"
#include "tree/names.h"

namespace neb::xml::internal {

// Among the children of a parent, between two of them, either of which may be null.
struct Position {
  XmlNode *parent;
  XmlNode *before;
  XmlNode *after;
};

inline Position firstChildOf(XmlNode *parent) { return {parent, nullptr, parent->firstChild}; }
inline Position lastChildOf(XmlNode *parent) { return {parent, parent->lastChild, nullptr}; }
inline Position nextTo(XmlNode *sibling) { return {sibling->parent, sibling, sibling->next}; }
inline Position previousTo(XmlNode *sibling) { return {sibling->parent, sibling->prev, sibling}; }

inline bool canHaveChildren(const XmlNode *node) {
  return node->type == NEB_XML_NODE_ELEMENT || node->type == NEB_XML_NODE_DOCUMENT;
}

// A sibling of a node without a parent would be a chain without a topmost node.
inline bool canHaveSiblings(const XmlNode *node) {
  const bool isSessionDocument = node->isDocument == 1 && !isOnHeap(node);
  return !isAttribute(node) && !isSessionDocument && node->parent != nullptr;
}

inline void linkAt(const Position &position, XmlNode *node) {
  const auto &[parent, before, after] = position;
  node->parent = parent;
  node->prev = before;
  node->next = after;
  if (before != nullptr) {
    before->next = node;
  } else {
    parent->firstChild = node;
  }
  if (after != nullptr) {
    after->prev = node;
  } else {
    parent->lastChild = node;
  }
}

// Links a node that may be there, and interns its name. False when memory runs out.
[[nodiscard]] inline bool insert(XmlNode *topmost, const Position &position, XmlNode *node) {
  if (!noteLink(node, position.parent)) return false;
  linkAt(position, node);
  internName(node, topmost);
  return true;
}

}  // namespace neb::xml::internal
