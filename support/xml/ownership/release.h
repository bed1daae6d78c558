// Freeing nodes.
#pragma once

#include "ownership/storage.h"

namespace neb::xml::internal {

// Frees a node's strings and then its record; in the tree of a session nothing.
void releaseSingle(XmlNode *node, const Storage &storage);

// Frees a node with its attributes and subtree, and every sibling after it. In the tree of a
// session nothing is freed, not even what is on the heap: that is freed with the session. Constant
// stack.
void releaseChain(XmlNode *node, const Storage &storage);

}  // namespace neb::xml::internal
