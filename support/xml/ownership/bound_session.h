// The session that a heap record is bound to, because it may have strings or nodes of that session.
// A record that may have those of several is bound to kSeveralSessions. Such an element can be
// inserted nowhere.
#pragma once

#include "record/node.h"

namespace neb::xml::internal {

// Binds a heap node and those above it, up to the first record of a session.
void bindUpwards(XmlNode *node, uint32_t handle);

// The same, if there is anything to bind: no effect on a record of a session, or with handle 0.
inline void bindToSession(XmlNode *node, uint32_t handle) {
  if (handle != 0 && isOnHeap(node)) bindUpwards(node, handle);
}

// Binds all heap nodes of a tree that leaves the tree of a session. No effect with handle 0.
void bindTreeToSession(XmlNode *top, uint32_t handle);

}  // namespace neb::xml::internal
