// Allocation by the membership rule.
#include "ownership/storage.h"

#include <cstring>

#include "memory/session_table.h"
#include "platform/bounded_memory.h"

namespace neb::xml::internal {

namespace {

constexpr size_t kTerminator = 1;

}  // namespace

Storage::Storage(uint32_t handle) : handle_(handle), session_(findSession(handle)) {}

Storage Storage::of(const XmlNode *node) {
  if (node == nullptr) return {};
  const XmlNode *topmost = topmostNode(node);
  return topmost == nullptr ? Storage() : ofTopmost(topmost);
}

void *Storage::allocate(size_t size) const {
  if (isHeap()) return allocateOnHeap(size);
  if (session_ == nullptr || size > INT32_MAX) return nullptr;
  return allocateInSession(*session_, static_cast<int32_t>(size));
}

char *Storage::duplicate(const char *string, size_t length) const {
  auto *copy = static_cast<char *>(allocate(length + kTerminator));
  if (copy == nullptr) return nullptr;
  platform::memcpy_s(copy, length + kTerminator, string, length);
  copy[length] = '\0';
  return copy;
}

Storage storageForStrings(const XmlNode *node, const Storage &storage) {
  const bool isElsewhere = !storage.isHeap() && !isOnHeap(node);
  return isElsewhere && node->sessionId != storage.handle() ? Storage(node->sessionId) : storage;
}

}  // namespace neb::xml::internal

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
  const size_t length = std::strlen(text);
  if (length == 0) return nullptr;
  return Storage::of(node).duplicate(text, length);
}
