// Where the records and strings of a parse come from, resolved once for the whole parse.
#pragma once

#include "memory/session_allocator.h"
#include "ownership/storage.h"

namespace neb::xml::internal {

// From a session. The bytes are not set.
class ArenaAllocation {
 public:
  explicit ArenaAllocation(const Storage &storage)
      : allocator_(*storage.session()), handle_(storage.handle()) {}

  static constexpr bool kIsArena = true;
  uint32_t handle() const { return handle_; }

  // What lies back to back in the last block, with room for whole vectors behind; null, and nothing
  // is allocated, where the single allocations would not lie so.
  char *allocateTogether(size_t smallest, size_t total) {
    return allocator_.allocateTogether(smallest, total);
  }

  // Without a call where the last block or the open gap has room; null says nothing.
  char *tryAllocate(size_t size) { return allocator_.allocateOne(static_cast<ptrdiff_t>(size)); }

  // Null if memory runs out.
  char *allocate(size_t size) { return allocator_.allocate(size); }

  // A session keeps what it gave.
  static void free(void * /*memory*/) {}

  // Hands the session back to others.
  void save() { allocator_.save(); }

 private:
  SessionAllocator allocator_;
  uint32_t handle_;
};

// One by one through the allocation hooks.
class HeapAllocation {
 public:
  explicit HeapAllocation(const Storage & /*storage*/) {}

  static constexpr bool kIsArena = false;
  static uint32_t handle() { return 0; }

  static char *allocateTogether(size_t /*smallest*/, size_t /*total*/) { return nullptr; }
  static char *tryAllocate(size_t /*size*/) { return nullptr; }
  static char *allocate(size_t size) { return static_cast<char *>(g_fnXMLMalloc(size)); }
  static void free(void *memory) { g_fnXMLFree(memory); }
  static void save() {}
};

}  // namespace neb::xml::internal
