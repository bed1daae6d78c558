// The allocator for the records and strings of a parse, resolved once for the whole parse.
#pragma once

#include "memory/allocator.h"
#include "memory/session_allocator.h"
#include "ownership/storage.h"

namespace neb::xml::internal {

// Allocates from a session. The bytes are not initialised.
class ArenaAllocation {
 public:
  explicit ArenaAllocation(const Storage &storage)
      : allocator_(*storage.session()), handle_(storage.handle()) {}

  static constexpr bool kIsArena = true;
  static constexpr bool isArena() { return true; }
  // Where the session's blocks come from.
  const Allocator &source() const { return allocatorOf(allocator_.session()); }
  uint32_t handle() const { return handle_; }
  SessionAllocator &allocator() { return allocator_; }

 private:
  SessionAllocator allocator_;
  uint32_t handle_;
};

// Allocates each record and string from the heap, through the allocation hooks.
class HeapAllocation {
 public:
  explicit HeapAllocation(const Storage & /*storage*/) {}

  static constexpr bool kIsArena = false;
  static constexpr bool isArena() { return false; }
  static const Allocator &source() { return kHooks; }
  static uint32_t handle() { return 0; }
  static void *allocate(size_t size) { return g_fnXMLMalloc(size); }
};

// Either, as the parse asks for: less code than two builders.
class AnyAllocation {
 public:
  explicit AnyAllocation(const Storage &storage) : storage_(storage) {}

  static constexpr bool kIsArena = false;  // nothing is allocated together
  bool isArena() const { return !storage_.isHeap(); }
  const Allocator &source() const { return isArena() ? allocatorOf(*storage_.session()) : kHooks; }
  uint32_t handle() const { return storage_.handle(); }
  void *allocate(size_t size) const { return storage_.allocate(size); }

 private:
  Storage storage_;
};

}  // namespace neb::xml::internal
