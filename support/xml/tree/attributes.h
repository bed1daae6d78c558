// Attribute lookup and attachment, shared by the operations on attributes.
#pragma once

#include "ownership/bound_session.h"
#include "ownership/cross_references.h"
#include "tree/nodes.h"

namespace neb::xml::internal {

// The first attribute that matches both; null matches only null. Null if there is none.
XmlNode *xmlGetAttr(const XmlNode *element, const char *prefix, const char *name);

// A node that can have attributes: not null and not an attribute itself.
inline bool canHaveAttributes(const XmlNode *node) { return node != nullptr && !isAttribute(node); }

// Whether a node is an attribute that would duplicate another one of its element after these
// strings were set: null does not change one, empty clears it.
bool wouldDuplicateAttribute(const XmlNode *node, const char *prefix, const char *name);

// Links a detached attribute behind the last one of an element, which is null if there is none.
// Returns NEB_XML_OK, or NEB_XML_ERR_NO_MEMORY with nothing changed.
inline uint32_t linkAttribute(XmlNode *attribute, XmlNode *last, XmlNode *element) {
  if (!noteLink(attribute, element)) return NEB_XML_ERR_NO_MEMORY;
  bindToSession(element,
                isOnHeap(attribute) ? uint32_t{attribute->boundSession} : attribute->sessionId);
  attribute->parent = element;
  if (last == nullptr) {
    element->firstAttr = attribute;
  } else {
    last->next = attribute;
  }
  return NEB_XML_OK;
}

// Adds an attribute that has a name behind the others of its element, and interns the name.
uint32_t addAttribute(XmlNode *element, const NodeStrings &given);

}  // namespace neb::xml::internal
