// Allocation by the membership rule.
#include "ownership/storage.h"

using namespace neb::xml::internal;

// A session promises zeros, the hook does not.
void *XML_Malloc(const XmlNode *node, size_t size) {
  const Storage storage = Storage::of(node);
  void *allocation = storage.allocate(size);
  if (allocation != nullptr && !storage.isHeap()) std::memset(allocation, 0, size);
  return allocation;
}

void XML_Free(const XmlNode *node, void *memory) {
  if (memory != nullptr && Storage::of(node).isHeap()) g_fnXMLFree(memory);
}

char *XML_Strdup(const XmlNode *node, const char *text) {
  return isMissing(text) ? nullptr : Storage::of(node).duplicate(text);
}
