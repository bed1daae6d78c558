// Attribute lookup and attachment, shared by the operations on attributes.
#pragma once

#include "record/node.h"

namespace neb::xml::internal {

// The first attribute that matches both; null matches only null. Null if there is none.
XmlNode *xmlGetAttr(const XmlNode *element, const char *prefix, const char *name);

// A node that can have attributes: not null and not an attribute itself.
inline bool canHaveAttributes(const XmlNode *node) { return node != nullptr && !isAttribute(node); }

// Whether a node is an attribute that would become a duplicate in its element if these strings
// were set. Null does not change a string, and an empty one clears it.
bool wouldDuplicateAttribute(const XmlNode *node, const char *prefix, const char *name);

// Makes a detached attribute in the storage of the tree with this topmost node. Null if memory
// runs out.
XmlNode *makeAttribute(XmlNode *topmost, const char *prefix, const char *name, const char *value);

// Attaches a new attribute behind the others and interns its name, or frees it.
uint32_t attachMadeAttribute(XmlNode *attribute, XmlNode *element, XmlNode *topmost);

}  // namespace neb::xml::internal
