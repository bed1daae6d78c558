// Where the memory of one document comes from, and how much of it there may be.
#pragma once

#include <cstddef>

#include "memory/hooks.h"
#include "platform/large_memory.h"

namespace neb::xml::internal {

// The most memory that may be held at once while a document is read.
class MemoryLimit {
 public:
  explicit MemoryLimit(size_t most) : most_(most) {}

  // False, and noted, if that would be too much.
  bool hold(size_t size);
  void release(size_t size) { held_ -= size; }

  size_t held() const { return held_; }
  bool wasExceeded() const { return wasExceeded_; }

 private:
  size_t most_;
  size_t held_ = 0;
  bool wasExceeded_ = false;
};

// The allocation hooks, or functions that the caller has passed for one document. While that
// document is read, there may be a limit. Whoever frees says the size again, so that the limit can
// count it.
struct Allocator {
  void *(*allocateFunction)(void *context, size_t size) = nullptr;  // null: the hooks
  void (*releaseFunction)(void *context, void *memory) = nullptr;
  void *context = nullptr;
  MemoryLimit *limit = nullptr;  // null: none

  // The hooks without a limit. They may use large memory of the C library in their stead.
  bool isDefault() const { return allocateFunction == nullptr && limit == nullptr; }

  // Null if memory runs out or the limit is reached. The bytes are not set.
  void *allocate(size_t size) const;
  // No effect for null.
  void release(void *memory, size_t size) const;
};

inline constexpr Allocator kHooks;

// Bytes that will all be written soon, in their order.
platform::LargeMemory allocateToFill(const Allocator &allocator, size_t size);

}  // namespace neb::xml::internal
