#include "ownership/release.h"

#include "ownership/name_holders.h"
#include "ownership/strings.h"
#include "record/links.h"

namespace neb::xml::internal {

namespace {

// The record of a session is not freed, though what it was linked to is. Its session must not
// follow the links when it ends.
void releaseAndClear(XmlNode *node, const Storage &storage) {
  const bool staysInSession = !isOnHeap(node);
  releaseSingle(node, storage);
  if (staysInSession) clearLinks(node);
}

void freeRecord(XmlNode *node) {
  if (node->isDocument == 1) {
    stopHolding(node);
  } else {
    g_fnXMLFree(node);
  }
}

void releaseAttributes(XmlNode *element, const Storage &storage) {
  XmlNode *attribute = element->firstAttr;
  while (attribute != nullptr) {
    XmlNode *next = attribute->next;
    releaseAndClear(attribute, storage);
    attribute = next;
  }
}

}  // namespace

void releaseSingle(XmlNode *node, const Storage &storage) {
  if (!storage.isHeap()) return;
  dropStrings(node, storage);
  if (isOnHeap(node)) freeRecord(node);
}

void releaseChain(XmlNode *node, const Storage &storage) {
  if (!storage.isHeap()) return;
  size_t depth = 0;
  while (node != nullptr) {
    if (!isAttribute(node)) {
      releaseAttributes(node, storage);
      if (node->firstChild != nullptr) {
        node = node->firstChild;
        ++depth;
        continue;
      }
    }
    for (;;) {
      XmlNode *next = node->next;
      XmlNode *parent = node->parent;
      releaseAndClear(node, storage);
      node = next;
      if (node != nullptr || depth == 0) break;
      node = parent;
      --depth;
    }
  }
}

}  // namespace neb::xml::internal
