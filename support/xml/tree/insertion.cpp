// Inserting a detached node into a tree.
#include "ownership/cross_references.h"
#include "record/node.h"
#include "tree/names.h"

namespace neb::xml::internal {

namespace {

bool isSessionDocument(const XmlNode *node) {
  return node->isDocument == 1 && node->sessionId != 0;
}

bool canHaveChildren(const XmlNode *node) {
  return node->type == NEB_XML_NODE_ELEMENT || node->type == NEB_XML_NODE_DOCUMENT;
}

// A node may only be in trees of the session that it, its strings or its subtree refer to.
bool storageAllows(const XmlNode *node, const XmlNode *topmost) {
  if (!isOnHeap(node)) return node->sessionId == topmost->sessionId;
  return node->boundSession == 0 || node->boundSession == topmost->sessionId;
}

// The destination tree's topmost node, or null when the node may not be inserted there.
XmlNode *destinationFor(XmlNode *destination, const XmlNode *node) {
  if (!isDetached(node)) return nullptr;
  XmlNode *topmost = topmostNode(destination);
  if (topmost == nullptr || topmost == node || !storageAllows(node, topmost)) return nullptr;
  return topmost;
}

XmlNode *childDestination(XmlNode *parent, const XmlNode *node) {
  if (parent == nullptr || node == nullptr) return nullptr;
  if (isAttribute(node) || isSessionDocument(node) || !canHaveChildren(parent)) return nullptr;
  return destinationFor(parent, node);
}

XmlNode *siblingDestination(XmlNode *sibling, const XmlNode *node) {
  if (sibling == node || sibling == nullptr || node == nullptr) return nullptr;
  if (isAttribute(sibling) || isAttribute(node)) return nullptr;
  if (isSessionDocument(sibling) || node->isDocument == 1) return nullptr;
  // A sibling of a node without a parent would be a chain without a topmost node.
  if (sibling->parent == nullptr) return nullptr;
  return destinationFor(sibling, node);
}

// Links node between two children of parent, either of which may be null.
void link(XmlNode *parent, XmlNode *before, XmlNode *after, XmlNode *node) {
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

uint32_t insert(XmlNode *topmost, XmlNode *parent, XmlNode *before, XmlNode *after, XmlNode *node) {
  if (!noteLink(node, parent)) return NEB_XML_ERR_INVALID_PARAM;
  link(parent, before, after, node);
  internName(node, topmost);
  return NEB_XML_OK;
}

}  // namespace

}  // namespace neb::xml::internal

using namespace neb::xml::internal;

uint32_t NEB_XML_AddFirstChildNode(XmlNode *parent, XmlNode *node) {
  XmlNode *topmost = childDestination(parent, node);
  if (topmost == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  return insert(topmost, parent, nullptr, parent->firstChild, node);
}

uint32_t NEB_XML_AppendChildNode(XmlNode *parent, XmlNode *node) {
  XmlNode *topmost = childDestination(parent, node);
  if (topmost == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  return insert(topmost, parent, parent->lastChild, nullptr, node);
}

uint32_t NEB_XML_AddNextSiblingNode(XmlNode *sibling, XmlNode *node) {
  XmlNode *topmost = siblingDestination(sibling, node);
  if (topmost == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  return insert(topmost, sibling->parent, sibling, sibling->next, node);
}

uint32_t NEB_XML_AddPrevSiblingNode(XmlNode *sibling, XmlNode *node) {
  XmlNode *topmost = siblingDestination(sibling, node);
  if (topmost == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  return insert(topmost, sibling->parent, sibling->prev, sibling, node);
}
