// Where the records and strings of a parse come from, resolved once for the whole parse.
#pragma once

#include "memory/carver.h"
#include "memory/sessions.h"

namespace neb::xml::internal {

// From a session. The bytes are not set.
class ArenaAllocation {
 public:
  explicit ArenaAllocation(const Storage &storage)
      : carver_(*storage.session()), handle_(storage.handle()) {}

  static constexpr bool kIsArena = true;
  uint32_t handle() const { return handle_; }

  // What lies back to back in the last block, with room for whole vectors behind; null, and nothing
  // is allocated, where the single allocations would not lie so.
  char *allocateTogether(size_t smallest, size_t total) {
    return carver_.carveTogether(smallest, total);
  }

  // Without a call where the last block or the open gap has room; null says nothing.
  char *tryAllocate(size_t size) { return carver_.carveOne(static_cast<ptrdiff_t>(size)); }

  // Null if memory runs out.
  char *allocate(size_t size) { return carver_.carvePiece(size); }

  // A session keeps what it gave.
  static void free(void * /*memory*/) {}

  // Hands the session back to others.
  void save() { carver_.save(); }

 private:
  SessionCarver carver_;
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
