// Sessions: beginning, allocating, freeing their blocks.
#include "memory/arena.h"

#include <cstdlib>
#include <cstring>

#include "memory/block_index.h"
#include "memory/hooks.h"
#include "memory/session_table.h"

namespace neb::xml::internal {

namespace {

constexpr uint32_t kBlocksAhead = 8;

// An allocation is cleared when it is handed out and not filled at once, so that the C library need
// not clear the block before.
void *allocateBlock(size_t size) {
  return g_fnXMLCalloc == std::calloc ? std::malloc(size) : XML_Calloc(1, size);
}

XmlMemBlock *newBlock(int32_t capacity, size_t indexSize) {
  void *memory = allocateBlock(sizeof(XmlMemBlock) + static_cast<size_t>(capacity) + indexSize);
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

// Blocks allocated in a row mostly lie one distance apart. Those of a large tree are out of the
// caches, and freeing one reads what the heap keeps around it.
void fetchBlockAhead(const XmlMemBlock *block, const XmlMemBlock *next) {
  constexpr int kForWriting = 1;
  const auto address = reinterpret_cast<uintptr_t>(block);
  const uintptr_t guess = address + kBlocksAhead * (reinterpret_cast<uintptr_t>(next) - address);
  // NOLINTNEXTLINE(performance-no-int-to-ptr): a guess need not point to anything
  __builtin_prefetch(reinterpret_cast<const void *>(guess), kForWriting);
}

void freeBlocks(XmlMemBlock *block, uint32_t count) {
  for (uint32_t left = count; block != nullptr; --left) {
    XmlMemBlock *next = block->nextBlock;
    if (left > kBlocksAhead) fetchBlockAhead(block, next);
    freeOnHeap(block);
    block = next;
  }
}

}  // namespace

void *allocateBeyondLastBlock(XmlMemSession &session, int32_t size) {
  if (size <= 0) return nullptr;
  if (void *allocation = allocateFromEarlierBlock(session, size)) return allocation;
  if (size <= session.lastBlock->remaining) return allocateFromBlock(*session.lastBlock, size);
  const int32_t capacity = capacityFor(size, session.lastBlock->capacity);
  XmlMemBlock *block = newBlock(capacity, indexSizeAfter(session.blockCount));
  if (block == nullptr) return nullptr;
  appendBlock(session, block);
  return allocateFromBlock(*block, size);
}

void freeSession(XmlMemSession &session) {
  XmlMemBlock *firstBlock = session.firstBlock;
  const uint32_t blockCount = session.blockCount;
  closeSession(session);
  freeBlocks(firstBlock, blockCount);
}

}  // namespace neb::xml::internal

using namespace neb::xml::internal;

uint32_t XML_MemSessionBegin(int32_t size) {
  if (size <= 0) return 0;
  XmlMemBlock *block = newBlock(size, indexSizeAfter(0));
  if (block == nullptr) return 0;
  XmlMemSession *session = openSession();
  if (session == nullptr) {
    freeOnHeap(block);
    return 0;
  }
  session->blockCount = 1;
  session->firstBlock = block;
  session->lastBlock = block;
  return session->handle.load(std::memory_order_relaxed);
}

void *XML_MemSpecialMalloc(uint32_t handle, int32_t size) {
  XmlMemSession *session = findSession(handle);
  if (session == nullptr) return nullptr;
  void *allocation = allocateInSession(*session, size);
  if (allocation != nullptr) std::memset(allocation, 0, static_cast<size_t>(size));
  return allocation;
}
