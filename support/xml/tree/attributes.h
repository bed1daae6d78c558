// Attribute lookup and attachment, shared by the operations on attributes.
#pragma once

#include "record/node.h"

namespace neb::xml::internal {

// The first attribute that matches both; null matches only null. Null if there is none.
XmlNode *xmlGetAttr(const XmlNode *element, const char *prefix, const char *name);

// A node that can have attributes: not null and not an attribute itself.
inline bool canHaveAttributes(const XmlNode *node) { return node != nullptr && !isAttribute(node); }

// Whether a node is an attribute that would duplicate another one of its element after these
// strings were set: null does not change one, empty clears it.
bool wouldDuplicateAttribute(const XmlNode *node, const char *prefix, const char *name);

// Makes a detached attribute in the storage of the tree whose topmost node this is. Null when
// memory runs out.
XmlNode *makeAttribute(XmlNode *topmost, const char *prefix, const char *name, const char *value);

// Attaches a made attribute behind the others and interns its name, or frees it.
uint32_t attachMadeAttribute(XmlNode *attribute, XmlNode *element, XmlNode *topmost);

}  // namespace neb::xml::internal
