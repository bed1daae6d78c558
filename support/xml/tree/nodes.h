// Making nodes and setting their strings, for callers that already know the storage.
#pragma once

#include "ownership/storage.h"

namespace neb::xml::internal {

// A zeroed, detached node; null when memory runs out. Never owns a session.
XmlNode *makeNode(const Storage &storage, uint32_t type);

// As XML_SetNode, with the owner's storage.
uint32_t setStrings(const Storage &storage, XmlNode *node, const char *prefix, const char *name,
                    const char *value);

}  // namespace neb::xml::internal
