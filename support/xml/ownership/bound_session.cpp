#include "ownership/bound_session.h"

#include "memory/arena.h"

namespace neb::xml::internal {

namespace {

void bind(XmlNode *node, uint32_t handle) {
  if (node->boundSession == handle) return;
  node->boundSession = node->boundSession == 0 ? handle : kSeveralSessions;
}

}  // namespace

void bindUpwards(XmlNode *node, uint32_t handle) {
  for (; node != nullptr && isOnHeap(node) && node->boundSession != handle; node = node->parent) {
    bind(node, handle);
  }
}

void bindTreeToSession(XmlNode *top, uint32_t handle) {
  if (handle == 0) return;
  XmlNode *node = top;
  while (node != nullptr) {
    if (isOnHeap(node)) bind(node, handle);
    if (node->firstChild != nullptr) {
      node = node->firstChild;
      continue;
    }
    while (node != top && node->next == nullptr) node = node->parent;
    if (node == top) return;
    node = node->next;
  }
}

}  // namespace neb::xml::internal
