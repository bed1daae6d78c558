// Inserting a detached node into a tree.
#include "tree/insertion.h"

namespace neb::xml::internal {

namespace {

bool isSessionDocument(const XmlNode *node) {
  return node->isDocument == 1 && node->sessionId != 0;
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
  if (isAttribute(node) || node->isDocument == 1 || !canHaveSiblings(sibling)) return nullptr;
  return destinationFor(sibling, node);
}

uint32_t insertOrRefuse(XmlNode *topmost, const Position &position, XmlNode *node) {
  return insert(topmost, position, node) ? NEB_XML_OK : NEB_XML_ERR_INVALID_PARAM;
}

}  // namespace

}  // namespace neb::xml::internal

using namespace neb::xml::internal;

uint32_t NEB_XML_AddFirstChildNode(XmlNode *parent, XmlNode *node) {
  XmlNode *topmost = childDestination(parent, node);
  if (topmost == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  return insertOrRefuse(topmost, firstChildOf(parent), node);
}

uint32_t NEB_XML_AppendChildNode(XmlNode *parent, XmlNode *node) {
  XmlNode *topmost = childDestination(parent, node);
  if (topmost == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  return insertOrRefuse(topmost, lastChildOf(parent), node);
}

uint32_t NEB_XML_AddNextSiblingNode(XmlNode *sibling, XmlNode *node) {
  XmlNode *topmost = siblingDestination(sibling, node);
  if (topmost == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  return insertOrRefuse(topmost, nextTo(sibling), node);
}

uint32_t NEB_XML_AddPrevSiblingNode(XmlNode *sibling, XmlNode *node) {
  XmlNode *topmost = siblingDestination(sibling, node);
  if (topmost == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  return insertOrRefuse(topmost, previousTo(sibling), node);
}
