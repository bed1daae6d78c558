#include "memory/allocator.h"

namespace neb::xml::internal {

bool MemoryLimit::hold(size_t size) {
  if (size > most_ - held_) {
    wasExceeded_ = true;
    return false;
  }
  held_ += size;
  return true;
}

void *Allocator::allocate(size_t size) const {
  if (size > kLargestObject) return nullptr;
  if (limit != nullptr && !limit->hold(size)) return nullptr;
  void *memory =
      allocateFunction != nullptr ? allocateFunction(context, size) : allocateOnHeap(size);
  if (memory == nullptr && limit != nullptr) limit->release(size);
  return memory;
}

void Allocator::release(void *memory, size_t size) const {
  if (memory == nullptr) return;
  if (limit != nullptr) limit->release(size);
  if (releaseFunction != nullptr) {
    releaseFunction(context, memory);
  } else {
    freeOnHeap(memory);
  }
}

platform::LargeMemory allocateToFill(const Allocator &allocator, size_t size) {
  if (!allocator.isDefault() || !usesDefaultAllocator()) {
    void *memory = allocator.allocate(size);
    return {memory, static_cast<char *>(memory)};
  }
  const platform::LargeMemory memory = platform::allocateLarge(size, size);
  if (memory.allocation != nullptr) platform::expectFilling(memory.begin, size);
  return memory;
}

}  // namespace neb::xml::internal
