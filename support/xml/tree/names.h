// The document's table of short names that its nodes share.
#pragma once

#include <string_view>

#include "record/node.h"

namespace neb::xml::internal {

// Replaces a node's own copy of its name by the table's, if the topmost node of its tree is a
// document and the table holds the name or has room for it. Not for a record of a session that is
// not the document's. Never fails.
void internName(XmlNode *node, XmlNode *topmost);

// The same for a node that was just made with a copy of this name, which is not empty.
void internName(XmlNode *node, std::string_view name, XmlNode *topmost);

}  // namespace neb::xml::internal
