// Making nodes and setting their strings, for the parts that already know the storage.
#pragma once

#include "memory/sessions.h"
#include "tree/node.h"

namespace neb::xml::internal {

// A zeroed, detached node; null when memory runs out. Never owns a session.
XmlNode *makeNode(const Storage &storage, uint32_t type);

// Where the strings of a node come from that stands in the tree of a storage: a record of a session
// has them from its own session in the tree of any other, since either session may end first.
Storage storageForStrings(const XmlNode *node, const Storage &storage);

// As XML_SetNode, with the owner's storage.
uint32_t setStrings(const Storage &storage, XmlNode *node, const char *prefix, const char *name,
                    const char *value);

}  // namespace neb::xml::internal
