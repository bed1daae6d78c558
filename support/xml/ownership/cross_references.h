// Cross-references: the records of a session whose parent, child or attribute is of another origin,
// or that have strings on the heap. A record stays noted when that is over.
#pragma once

#include "record/node.h"

namespace neb::xml::internal {

// At any address of the session.
#pragma pack(push, 1)
struct CrossReference {
  CrossReference *next;
  XmlNode *record;
};
#pragma pack(pop)

// Adds a record of a session to its session's list, unless it is in there. False when memory runs
// out.
[[nodiscard]] bool noteCrossReference(XmlNode *record);

// Notes what must be noted before child is linked below parent, or an attribute to its element.
// False when memory runs out.
[[nodiscard]] inline bool noteLink(XmlNode *child, XmlNode *parent) {
  if (child->sessionId == parent->sessionId) return true;
  if (!isOnHeap(child) && !noteCrossReference(child)) return false;
  return isOnHeap(parent) || noteCrossReference(parent);
}

}  // namespace neb::xml::internal
