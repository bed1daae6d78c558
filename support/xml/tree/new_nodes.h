// Making nodes from names and values that need not be terminated.
#pragma once

#include "ownership/storage.h"
#include "tree/whole_names.h"

namespace neb::xml::internal {

// A detached node with copies of these strings; null when memory runs out.
XmlNode *makeNamedNode(const Storage &storage, uint32_t type, const WholeName &name,
                       std::string_view value);

// Frees a node that could not be linked anywhere. A session keeps it.
void discard(XmlNode *node);

}  // namespace neb::xml::internal
