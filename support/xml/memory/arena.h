// The arena: a session is a chain of blocks, and an allocation is the next bytes of the first block
// with room for them. Allocations lie back to back and are freed together, when the session ends.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/compiler.h"
#include "platform/threads.h"

namespace neb::xml::internal {

// One allocation on the heap: this header and, directly behind it, a data area of capacity bytes.
struct XmlMemBlock {
  char *cursor;       // next free byte of the data area
  int32_t remaining;  // free bytes
  int32_t capacity;
  XmlMemBlock *nextBlock;
};

static_assert(offsetof(XmlMemBlock, cursor) == 0);
static_assert(offsetof(XmlMemBlock, remaining) == sizeof(void *));
static_assert(offsetof(XmlMemBlock, capacity) == sizeof(void *) + 4);
static_assert(offsetof(XmlMemBlock, nextBlock) == sizeof(void *) + 8);
static_assert(sizeof(XmlMemBlock) == 2 * sizeof(void *) + 8);

// Before each allocation of a session this many bytes can be read: they are of the allocation
// before it, or of the block's header.
constexpr size_t kReadableBefore = sizeof(XmlMemBlock);

struct Allocator;
struct BlockIndex;
struct CrossReference;
struct KeptString;

constexpr int32_t kDocumentSessionSize = 8192;
constexpr size_t kCacheLine = 64;
constexpr uint32_t kSeveralSessions = UINT32_MAX;  // never a handle

// An open session. Its neighbours in the table may belong to other threads, so it fills a line
// where pointers have 64 bits.
struct XmlMemSession {
  platform::Atomic<uint32_t> handle;  // 0 while the entry of the table is free
  uint32_t blockCount;
  XmlMemBlock *firstBlock;
  XmlMemBlock *lastBlock;
  BlockIndex *newestTree;     // see block_index.h
  int32_t largestEarlierGap;  // the most room in any block but the last
  uint8_t tableLevel;         // see session_table.h
  bool hasDocument;           // a document has been made that will end the session
  bool hasRegions;            // see regions.h
  bool hasAllocator;          // of its own, in front of its first block
  // What ownership/ keeps for the session. The arena only clears it.
  CrossReference *crossReferences;
  KeptString *keptStrings;
  void *keptAttributes;
};

static_assert(sizeof(void *) == 8 ? sizeof(XmlMemSession) == kCacheLine
                                  : sizeof(XmlMemSession) < kCacheLine);

// The slow path of allocateInSession.
NEB_XML_NOINLINE void *allocateBeyondLastBlock(XmlMemSession &session, int32_t size);

// From a block that has room.
inline void *allocateFromBlock(XmlMemBlock &block, int32_t size) {
  char *allocation = block.cursor;
  block.cursor += size;
  block.remaining -= size;
  return allocation;
}

// First fit. Null for a size that is not positive, or when memory runs out. The bytes are not set.
inline void *allocateInSession(XmlMemSession &session, int32_t size) {
  if (size > session.largestEarlierGap && size <= session.lastBlock->remaining && size > 0) {
    return allocateFromBlock(*session.lastBlock, size);
  }
  return allocateBeyondLastBlock(session, size);
}

// A session whose first block has so many bytes of data. If its allocator is not the default one,
// all blocks come from it. Returns 0 if memory runs out, also that of the table of sessions, which
// belongs to no document and is always on the heap.
uint32_t beginSession(int32_t size, const Allocator &allocator);

// Of the session, as long as that is open; the hooks unless it has one of its own.
const Allocator &allocatorOf(const XmlMemSession &session);

// From now on the session's allocator has no limit.
void endLimit(const XmlMemSession &session);

// Closes a session and frees its blocks.
void freeSession(XmlMemSession &session);

}  // namespace neb::xml::internal
