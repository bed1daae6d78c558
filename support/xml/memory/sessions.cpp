// Memory sessions: opening, carving, ending, and allocation by the membership rule.
#include "memory/sessions.h"

#include <cstdlib>
#include <cstring>

#include "memory/block_index.h"
#include "memory/session_table.h"
#include "platform/bounded_memory.h"

namespace neb::xml::internal {

namespace {

constexpr size_t kTerminator = 1;
constexpr uint32_t kBlocksAhead = 8;

// Pieces are cleared when they are given out and not filled at once, so that the C library need not
// clear the block before.
void *obtainBlock(size_t size) {
  return g_fnXMLCalloc == std::calloc ? std::malloc(size) : XML_Calloc(1, size);
}

XmlMemBlock *newBlock(int32_t capacity, size_t indexSize) {
  void *memory = obtainBlock(sizeof(XmlMemBlock) + static_cast<size_t>(capacity) + indexSize);
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

// A session promises pieces that are zero.
void *obtainZeroed(const Storage &storage, size_t size) {
  void *piece = storage.obtain(size);
  if (piece != nullptr) std::memset(piece, 0, size);
  return piece;
}

// Blocks obtained in a row mostly lie a step apart. Those of a large tree are out of the caches, and
// giving one back reads what the heap keeps around it.
void fetchBlockAhead(const XmlMemBlock *block, const XmlMemBlock *next) {
  constexpr int kForWriting = 1;
  const auto place = reinterpret_cast<uintptr_t>(block);
  const uintptr_t guess = place + kBlocksAhead * (reinterpret_cast<uintptr_t>(next) - place);
  // NOLINTNEXTLINE(performance-no-int-to-ptr): a guess need not point to anything
  __builtin_prefetch(reinterpret_cast<const void *>(guess), kForWriting);
}

void releaseBlocks(XmlMemBlock *block, uint32_t count) {
  for (uint32_t left = count; block != nullptr; --left) {
    XmlMemBlock *next = block->nextBlock;
    if (left > kBlocksAhead) fetchBlockAhead(block, next);
    XML_Free(nullptr, block);
    block = next;
  }
}

}  // namespace

void *carveBeyondLastBlock(XmlMemSession &session, int32_t size) {
  if (size <= 0) return nullptr;
  if (void *piece = carveFromEarlierBlock(session, size)) return piece;
  if (size <= session.lastBlock->remaining) return carveFromBlock(*session.lastBlock, size);
  const int32_t capacity = capacityFor(size, session.lastBlock->capacity);
  XmlMemBlock *block = newBlock(capacity, indexSizeAfter(session.blockCount));
  if (block == nullptr) return nullptr;
  appendBlock(session, block);
  return carveFromBlock(*block, size);
}

Storage::Storage(uint32_t handle) : handle_(handle), session_(findSession(handle)) {}

Storage Storage::of(const XmlNode *node) {
  if (node == nullptr) return {};
  const XmlNode *topmost = topmostNode(node);
  return topmost == nullptr ? Storage() : ofTopmost(topmost);
}

void *Storage::obtain(size_t size) const {
  if (isHook()) return g_fnXMLMalloc(size);
  if (session_ == nullptr || size > INT32_MAX) return nullptr;
  return carve(*session_, static_cast<int32_t>(size));
}

char *Storage::copyText(const char *text, size_t length) const {
  auto *copy = static_cast<char *>(obtain(length + kTerminator));
  if (copy == nullptr) return nullptr;
  platform::memcpy_s(copy, length + kTerminator, text, length);
  copy[length] = '\0';
  return copy;
}

}  // namespace neb::xml::internal

using namespace neb::xml::internal;

uint32_t XML_MemSessionBegin(int32_t size) {
  if (size <= 0) return 0;
  XmlMemBlock *block = newBlock(size, indexSizeAfter(0));
  if (block == nullptr) return 0;
  XmlMemSession *session = openPlace();
  if (session == nullptr) {
    XML_Free(nullptr, block);
    return 0;
  }
  session->blockCount = 1;
  session->firstBlock = block;
  session->lastBlock = block;
  return session->handle.load(std::memory_order_relaxed);
}

void *XML_MemSpecialMalloc(uint32_t handle, int32_t size) {
  if (handle == 0 || size <= 0) return nullptr;
  return obtainZeroed(Storage(handle), static_cast<size_t>(size));
}

uint32_t XML_MemSessionEnd(uint32_t handle) {
  XmlMemSession *session = findSession(handle);
  if (session == nullptr) return 0;
  settleTies(*session);
  releaseKept(*session);
  XmlMemBlock *firstBlock = session->firstBlock;
  const uint32_t blockCount = session->blockCount;
  closePlace(*session);
  releaseBlocks(firstBlock, blockCount);
  return 1;
}

void *XML_Malloc(const XmlNode *node, size_t size) {
  const Storage storage = Storage::of(node);
  return storage.isHook() ? storage.obtain(size) : obtainZeroed(storage, size);
}

void XML_Free(const XmlNode *node, void *memory) {
  if (memory != nullptr && Storage::of(node).isHook()) g_fnXMLFree(memory);
}

char *XML_Strdup(const XmlNode *node, const char *text) {
  const size_t length = std::strlen(text);
  if (length == 0) return nullptr;
  return Storage::of(node).copyText(text, length);
}
