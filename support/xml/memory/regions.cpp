#include "memory/regions.h"

#include <algorithm>

#include "memory/hooks.h"
#include "platform/large_memory.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define __SANITIZE_ADDRESS__ 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#endif

namespace neb::xml::internal {

namespace {

using platform::kHeapHeader;
using platform::kHugePageSize;
using platform::LargeMemory;

// Heaps keep so much free memory at least.
constexpr size_t kHeldByHeap = size_t{64} * 1024;

// How far a copy is trusted to be as large as its source, as a multiple of what it holds already.
constexpr size_t kMostAheadOfCopy = 8;

constexpr size_t kMostHugePages = 2;
constexpr size_t kLargestRegion = kMostHugePages * kHugePageSize - kHeapHeader;

// The address sanitizer finds what is written behind a block, as if it had an allocation of its
// own.
#if defined(__SANITIZE_ADDRESS__)
constexpr size_t kBehindBlock = 16;
void forbid(char *begin, char *end) {
  __asan_poison_memory_region(begin, static_cast<size_t>(end - begin));
}
void permit(char *begin, size_t size) { __asan_unpoison_memory_region(begin, size); }
#else
constexpr size_t kBehindBlock = 0;
void forbid(const char * /*begin*/, const char * /*end*/) {}
void permit(const char * /*begin*/, size_t /*size*/) {}
#endif

constexpr size_t roomFor(size_t size) {
  constexpr size_t kMask = kAllocationAlignment - 1;
  return (size + kBehindBlock + kMask) & ~kMask;
}

size_t roomIn(const Region &region) { return static_cast<size_t>(region.end - region.free); }

void *takeBlock(FirstRegion &first, Region &region, size_t size) {
  char *block = region.free;
  region.free += roomFor(size);
  region.lastBlock = reinterpret_cast<XmlMemBlock *>(block);
  first.held += size;
  permit(block, size);
  return block;
}

// The blocks begin behind the header.
void makeRegion(Region *region, size_t headerSize, const LargeMemory &memory, size_t size) {
  *region = {memory.allocation, nullptr, memory.begin + headerSize, memory.begin + size, nullptr};
  forbid(region->free, region->end);
}

// How large a region is, and how much of it will be filled soon.
struct RegionSize {
  size_t size;
  size_t filled;
};

// A huge page is only used if at most a tenth of the session is lost should the rest of the page
// stay empty.
RegionSize sizeOfNextRegion(const FirstRegion &first, size_t filled) {
  const size_t known = first.expected > first.held ? first.expected - first.held : 0;
  const size_t left =
      first.isCopy ? std::min(known, productOf(kMostAheadOfCopy, first.held)) : known;
  const size_t coming = std::max(left, filled);
  const size_t wanted = sumOf(coming, sumOf(first.held, coming) / 10);
  const size_t hugePages = std::min(wanted / kHugePageSize, kMostHugePages);
  const size_t whole = hugePages * kHugePageSize - kHeapHeader;
  if (hugePages > 0) return {whole, whole};
  const size_t grown = left > 0 ? sumOf(left, left / 8) : first.held / 4;
  return {std::min(grown, kLargestRegion), std::max(left - left / 4, filled)};
}

// Later blocks are as large. If they are large, no room is left that would hold none of them.
RegionSize forBlocksOf(size_t room, const RegionSize &wanted) {
  constexpr size_t kMany = 16;
  if (wanted.size / kMany >= room) return wanted;
  const size_t blocks = std::max(wanted.size / room, size_t{1});
  const size_t size = sizeof(Region) + blocks * room;
  return {size, std::min(wanted.filled, size)};
}

Region *appendRegion(FirstRegion &first, size_t room, size_t filled) {
  if (first.held > kHeldByHeap) platform::letHeapKeepMemory();
  RegionSize wanted = forBlocksOf(room, sizeOfNextRegion(first, filled));
  LargeMemory memory = platform::allocateLarge(wanted.size, wanted.filled);
  if (memory.allocation == nullptr) {
    wanted = {sizeof(Region) + room, 0};
    memory = platform::allocateLarge(wanted.size, wanted.filled);
  }
  if (memory.allocation == nullptr) return nullptr;
  platform::expectFilling(memory.begin, wanted.filled);
  auto *region = reinterpret_cast<Region *>(memory.begin);
  makeRegion(region, sizeof(Region), memory, wanted.size);
  first.last->next = region;
  first.last = region;
  return region;
}

bool isIn(const Region &region, const XmlMemBlock *block) {
  const auto address = reinterpret_cast<uintptr_t>(block);
  return address >= reinterpret_cast<uintptr_t>(&region) &&
         address < reinterpret_cast<uintptr_t>(region.end);
}

}  // namespace

void *allocateFirstBlock(size_t size) {
  const size_t wanted = sizeof(FirstRegion) + roomFor(size);
  void *memory = allocateOnHeap(wanted);
  if (memory == nullptr) return nullptr;
  auto *first = static_cast<FirstRegion *>(memory);
  makeRegion(first, sizeof(FirstRegion), {memory, static_cast<char *>(memory)}, wanted);
  first->last = first;
  first->held = 0;
  first->expected = 0;
  first->isCopy = false;
  return takeBlock(*first, *first, size);
}

void *allocateFromRegions(FirstRegion &first, size_t size, size_t filled) {
  const size_t room = roomFor(size);
  Region *region = first.last;
  if (roomIn(*region) < room) region = appendRegion(first, room, filled);
  return region == nullptr ? nullptr : takeBlock(first, *region, size);
}

void closeLastRegion(FirstRegion &first) { first.last->end = first.last->free; }

void freeBlocks(XmlMemBlock *firstBlock, bool hasRegions) {
  XmlMemBlock *block = firstBlock;
  Region *region = hasRegions ? &firstRegionOf(firstBlock) : nullptr;
  while (block != nullptr) {
    void *allocation = block;
    if (region != nullptr && isIn(*region, block)) {
      allocation = region->allocation;
      block = region->lastBlock;
      permit(region->free, static_cast<size_t>(region->end - region->free));
      region = region->next;
    }
    block = block->nextBlock;
    freeOnHeap(allocation);
  }
}

}  // namespace neb::xml::internal
