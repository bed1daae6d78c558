// Regions: heap allocations that several blocks of a session come out of.
#pragma once

#include <cstddef>

#include "memory/arena.h"

namespace neb::xml::internal {

constexpr size_t kAllocationAlignment = alignof(std::max_align_t);  // of malloc

// Page faults cost more than parsing does. So a session takes memory from the C library in regions
// that grow with it, and has the pages of a region mapped ahead, as far as they will be filled. A
// session that was opened while other allocation hooks were registered has no regions: each of its
// blocks is one call of a hook. If hooks are registered later, so are its further blocks.
//
// The blocks lie in the chain in the order of their regions. A region is this header, then its
// blocks, in one allocation on the heap.
struct alignas(kAllocationAlignment) Region {
  void *allocation;
  Region *next;
  char *free;  // where its next block begins
  char *end;
  XmlMemBlock *lastBlock;  // the last block that lies in it
};

// In front of the session's first block.
struct FirstRegion : Region {
  Region *last;
  size_t held;      // bytes of the blocks in all regions
  size_t expected;  // bytes that they will have in the end, as far as known; else 0
  bool isCopy;      // of a document whose session has the expected size
};

inline FirstRegion &firstRegionOf(XmlMemBlock *firstBlock) {
  return reinterpret_cast<FirstRegion *>(firstBlock)[-1];
}

// Memory for the first block of a session that has regions; for later blocks, of which the first
// bytes will be filled soon. Null if memory runs out.
void *allocateFirstBlock(size_t size);
void *allocateFromRegions(FirstRegion &first, size_t size, size_t filled);

// Leaves the rest of the last region unused, so that the blocks of a region follow each other.
void closeLastRegion(FirstRegion &first);

// Frees a chain of blocks in its order, with their regions if there are any.
void freeBlocks(XmlMemBlock *firstBlock, bool hasRegions);

}  // namespace neb::xml::internal
