// Sessions: beginning, allocating, freeing their blocks.
#include "memory/arena.h"

#include <cstdlib>
#include <cstring>

#include "memory/allocator.h"
#include "memory/block_index.h"
#include "memory/hooks.h"
#include "memory/regions.h"
#include "memory/session_table.h"

namespace neb::xml::internal {

namespace {

size_t blockSize(int32_t capacity, size_t indexSize) {
  return sizeof(XmlMemBlock) + static_cast<size_t>(capacity) + indexSize;
}

// In front of the first block of a session that has an allocator of its own.
struct alignas(kAllocationAlignment) OwnAllocator : Allocator {};

OwnAllocator &ownAllocatorOf(XmlMemBlock *firstBlock) {
  return reinterpret_cast<OwnAllocator *>(firstBlock)[-1];
}

void *allocateOwnFirstBlock(const Allocator &allocator, size_t size) {
  auto *own = static_cast<OwnAllocator *>(allocator.allocate(sizeof(OwnAllocator) + size));
  if (own == nullptr) return nullptr;
  static_cast<Allocator &>(*own) = allocator;
  return own + 1;
}

// The allocator lies in the first allocation, so that is freed last.
void freeOwnBlocks(XmlMemBlock *firstBlock) {
  uint32_t blockCount = 1;
  OwnAllocator &own = ownAllocatorOf(firstBlock);
  for (XmlMemBlock *block = firstBlock->nextBlock; block != nullptr; ++blockCount) {
    XmlMemBlock *next = block->nextBlock;
    own.release(block, blockSize(block->capacity, indexSizeAfter(blockCount)));
    block = next;
  }
  const Allocator allocator = own;
  allocator.release(&own, sizeof own + blockSize(firstBlock->capacity, indexSizeAfter(0)));
}

void freeAllBlocks(XmlMemBlock *firstBlock, bool hasRegions, bool hasAllocator) {
  if (hasAllocator) {
    freeOwnBlocks(firstBlock);
  } else {
    freeBlocks(firstBlock, hasRegions);
  }
}

// An allocation is cleared when it is handed out and not filled at once, so that the C library need
// not clear a block before.
void *allocateLaterBlock(XmlMemSession &session, size_t size, size_t filled) {
  if (session.hasAllocator) return ownAllocatorOf(session.firstBlock).allocate(size);
  if (!session.hasRegions) return usesDefaultAllocator() ? std::malloc(size) : XML_Calloc(1, size);
  FirstRegion &first = firstRegionOf(session.firstBlock);
  if (usesDefaultAllocator()) return allocateFromRegions(first, size, filled);
  closeLastRegion(first);
  return XML_Calloc(1, size);
}

XmlMemBlock *makeBlock(void *memory, int32_t capacity) {
  if (memory == nullptr) return nullptr;
  auto *block = static_cast<XmlMemBlock *>(memory);
  block->cursor = reinterpret_cast<char *>(block + 1);
  block->remaining = capacity;
  block->capacity = capacity;
  block->nextBlock = nullptr;
  return block;
}

// The last block's capacity, doubled until size fits; where doubling cannot reach it, the size.
int32_t capacityFor(int32_t size, int32_t lastCapacity) {
  int32_t capacity = lastCapacity;
  while (capacity < size) {
    if (capacity > INT32_MAX / 2) return size;
    capacity *= 2;
  }
  return capacity;
}

}  // namespace

void *allocateBeyondLastBlock(XmlMemSession &session, int32_t size) {
  if (size <= 0) return nullptr;
  if (void *allocation = allocateFromEarlierBlock(session, size)) return allocation;
  if (size <= session.lastBlock->remaining) return allocateFromBlock(*session.lastBlock, size);
  const int32_t capacity = capacityFor(size, session.lastBlock->capacity);
  const size_t bytes = blockSize(capacity, indexSizeAfter(session.blockCount));
  XmlMemBlock *block =
      makeBlock(allocateLaterBlock(session, bytes, static_cast<size_t>(size)), capacity);
  if (block == nullptr) return nullptr;
  appendBlock(session, block);
  return allocateFromBlock(*block, size);
}

void freeSession(XmlMemSession &session) {
  XmlMemBlock *firstBlock = session.firstBlock;
  const bool hasRegions = session.hasRegions;
  const bool hasAllocator = session.hasAllocator;
  closeSession(session);
  freeAllBlocks(firstBlock, hasRegions, hasAllocator);
}

const Allocator &allocatorOf(const XmlMemSession &session) {
  return session.hasAllocator ? ownAllocatorOf(session.firstBlock) : kHooks;
}

void endLimit(const XmlMemSession &session) {
  if (session.hasAllocator) ownAllocatorOf(session.firstBlock).limit = nullptr;
}

uint32_t beginSession(int32_t size, const Allocator &allocator) {
  if (size <= 0) return 0;
  const bool hasAllocator = !allocator.isDefault();
  const bool hasRegions = !hasAllocator && usesDefaultAllocator();
  const size_t bytes = blockSize(size, indexSizeAfter(0));
  void *memory = hasAllocator ? allocateOwnFirstBlock(allocator, bytes)
                 : hasRegions ? allocateFirstBlock(bytes)
                              : XML_Calloc(1, bytes);
  XmlMemBlock *block = makeBlock(memory, size);
  if (block == nullptr) return 0;
  XmlMemSession *session = openSession();
  if (session == nullptr) {
    freeAllBlocks(block, hasRegions, hasAllocator);
    return 0;
  }
  session->blockCount = 1;
  session->hasRegions = hasRegions;
  session->hasAllocator = hasAllocator;
  session->firstBlock = block;
  session->lastBlock = block;
  return session->handle.load(std::memory_order_relaxed);
}

}  // namespace neb::xml::internal

using namespace neb::xml::internal;

uint32_t XML_MemSessionBegin(int32_t size) { return beginSession(size, kHooks); }

void *XML_MemSpecialMalloc(uint32_t handle, int32_t size) {
  XmlMemSession *session = findSession(handle);
  if (session == nullptr) return nullptr;
  void *allocation = allocateInSession(*session, size);
  if (allocation != nullptr) std::memset(allocation, 0, static_cast<size_t>(size));
  return allocation;
}
