// The links between records: taking a node out of its tree.
#pragma once

#include "record/node.h"

namespace neb::xml::internal {

// Takes a node that is no attribute from its parent and siblings.
void unlinkNode(XmlNode *node);

// Takes an attribute from its element, whose list need not hold it any more.
void unlinkAttribute(XmlNode *attribute);

// Takes those attributes from an element that leave it.
template <typename Leaves>
void cutAttributes(XmlNode *element, Leaves leaves) {
  XmlNode *kept = nullptr;
  XmlNode *next = nullptr;
  for (XmlNode *attribute = element->firstAttr; attribute != nullptr; attribute = next) {
    next = attribute->next;
    if (!leaves(attribute)) {
      kept = attribute;
      continue;
    }
    if (kept == nullptr) {
      element->firstAttr = next;
    } else {
      kept->next = next;
    }
    attribute->parent = nullptr;
    attribute->next = nullptr;
  }
}

// Takes a node out from between all that it is linked to. Its attributes are single then. Children
// on the heap stay a chain; those of a session, which may end before the chain is freed, are
// single.
void isolateNode(XmlNode *node);

// Clears the links of a record, without a look at what they lead to.
void clearLinks(XmlNode *node);

}  // namespace neb::xml::internal
