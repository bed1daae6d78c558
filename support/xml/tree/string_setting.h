// Setting single strings of a node to bytes that need not be terminated.
#pragma once

#include <string_view>

#include "ownership/bound_session.h"
#include "ownership/cross_references.h"
#include "ownership/strings.h"

namespace neb::xml::internal {

// Sets a string to a copy of the given one, which may be the node's own; an empty one makes it
// null. Returns NEB_XML_OK, or NEB_XML_ERR_NO_MEMORY with nothing changed.
template <StringField field>
uint32_t setString(const Storage &treeStorage, XmlNode *node, std::string_view given) {
  const Storage storage = storageForStrings(node, treeStorage);
  if (given.empty()) {
    dropString<field>(node, storage);
    return NEB_XML_OK;
  }
  char *copy = storage.duplicateBytes(given);
  if (copy == nullptr) return NEB_XML_ERR_NO_MEMORY;
  const bool needsNote = storage.isHeap() && !isOnHeap(node);
  if (needsNote && !noteCrossReference(node)) {
    storage.freeUnused(copy);
    return NEB_XML_ERR_NO_MEMORY;
  }
  bindToSession(node, storage.handle());
  dropString<field>(node, storage);
  putString<field>(node, {copy, given.size()}, storage.isHeap());
  return NEB_XML_OK;
}

}  // namespace neb::xml::internal
