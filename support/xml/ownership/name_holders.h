// The record of a document on the heap, which names keep alive.
//
// Nodes of the document may leave it and outlive it, and some of their names point into its table.
// Each such name holds the record, and so does the document itself until it is released; the last
// holder frees it. Leaving a document therefore needs no memory and cannot fail. A node that has
// left may belong to another thread by then, so the holders are counted atomically.
#pragma once

#include <new>

#include "memory/hooks.h"
#include "platform/threads.h"
#include "record/node.h"

namespace neb::xml::internal {

struct HeldDocument {
  XmlNode record;
  platform::Atomic<uint32_t> holders;
};

static_assert(offsetof(HeldDocument, record) == 0);

inline platform::Atomic<uint32_t> &holdersOf(XmlNode *document) {
  return reinterpret_cast<HeldDocument *>(document)->holders;
}

// For a record of sizeof(HeldDocument).
inline void beginHolding(XmlNode *document) {
  new (&holdersOf(document)) platform::Atomic<uint32_t>(1);
}

// Returns the number before. Without threads, a load and a store do, at a fraction of the cost.
inline uint32_t addHolders(XmlNode *document, uint32_t count) {
  platform::Atomic<uint32_t> &holders = holdersOf(document);
  if (!platform::isSingleThreaded()) return holders.fetch_add(count, std::memory_order_acq_rel);
  const uint32_t before = holders.load(std::memory_order_relaxed);
  holders.store(before + count, std::memory_order_relaxed);
  return before;
}

inline void stopHolding(XmlNode *document) {
  constexpr uint32_t kOneLess = UINT32_MAX;
  if (addHolders(document, kOneLess) == 1) g_fnXMLFree(document);
}

// Makes a slot of the document's table the name of a node, which has none.
inline void holdSlot(XmlNode *node, XmlNode *document, size_t slot) {
  addHolders(document, 1);
  node->name = document->nameTable[slot];
  node->nameLength = static_cast<uint16_t>(kFirstHeldSlot + slot);
}

inline bool holdsSlot(const XmlNode *node) { return node->nameLength >= kFirstHeldSlot; }

// The document into whose table the node's name points.
inline XmlNode *heldDocument(const XmlNode *node) {
  const size_t slot = node->nameLength - size_t{kFirstHeldSlot};
  char *table = node->name - slot * kNameTableSlotSize;
  return reinterpret_cast<XmlNode *>(table - offsetof(XmlNode, nameTable));
}

}  // namespace neb::xml::internal
