// Where allocations on behalf of a node come from, and who frees them.
//
// Each record and each string has an origin, a session or the heap, that never changes. A record
// states its own by sessionId, 0 for the heap. A string is marked as "elsewhere" if its origin is
// of the other kind than that of its record: one is the heap, the other a session. A tree gives up
// a string when a node that owns it loses it, and an attribute when its element loses it.
//
// The membership rule: what is allocated on behalf of a node comes from the session of the topmost
// node of its tree, if that has one, else from the heap. Exception: strings of a session's record
// in another session's tree come from its own session (storageForStrings).
//
// Nodes move and their allocations stay, so a tree can mix origins. Between any two calls:
//
// 1. A session's record whose parent, child or attribute is of another origin, or that has a string
//    on the heap, is in its session's list of cross-references. (cross_references.h)
// 2. A string of a session's record is of that session or on the heap. (storageForStrings)
// 3. A heap record that has a string of a session, or below it a record of that session with only
//    heap records between, is in a tree of that session or bound to it. An element bound to a
//    session is only inserted into trees of that session. (bound_session.h)
// 4. A heap string or attribute that a session's tree gives up is kept by a session until that
//    ends. Only a string that there is no memory to note is freed at once. (kept.h)
//
// Why they hold:
//
// 1. What creates such a link or string notes the record first, and fails if it cannot. The note is
//    allocated from the session of the record, so neither outlives the other.
// 2. What sets a string asks storageForStrings first.
// 3. An element of a session is only inserted into trees of its session. XML_AddAttrNode accepts
//    attributes of any origin, notes a cross-reference, and binds the element and the heap records
//    above it. So does what gives a heap record a string of a session. A heap subtree that leaves a
//    session's tree is bound whole.
// 4. Strings are only given up by dropString and attributes by removal; both ask the storage.
//
// So a session's end looks at its cross-references and kept allocations only. It unlinks its
// records from what outlives them, and frees the heap records and strings attached to them. Then
// only strings of heap records bound to it point into its blocks. They are marked as elsewhere or
// not owned, so nobody frees them. (session_end.cpp)
#pragma once

#include <cstring>
#include <string_view>

#include "memory/arena.h"
#include "memory/hooks.h"
#include "memory/session_table.h"
#include "record/node.h"
#include "simd/vector.h"

namespace neb::xml::internal {

// One session, or the heap. The session is only looked up when something is allocated: most other
// questions are answered by its handle.
class Storage {
 public:
  // The heap.
  Storage() = default;

  // The session of a handle. One that has ended allocates and frees nothing.
  explicit Storage(uint32_t handle) : handle_(handle) {}

  // By the membership rule.
  static Storage of(const XmlNode *node) {
    const XmlNode *topmost = node == nullptr ? nullptr : topmostNode(node);
    return topmost == nullptr ? Storage() : ofTopmost(topmost);
  }
  static Storage ofTopmost(const XmlNode *topmost) { return Storage(topmost->sessionId); }

  uint32_t handle() const { return handle_; }
  bool isHeap() const { return handle_ == 0; }

  // Null for the heap, and for a session that has ended.
  XmlMemSession *session() const {
    if (session_ == nullptr) session_ = findSession(handle_);
    return session_;
  }

  // Null when memory runs out. The bytes are not set.
  void *allocate(size_t size) const {
    if (isHeap()) return allocateOnHeap(size);
    if (session() == nullptr || size > INT32_MAX) return nullptr;
    return allocateInSession(*session_, static_cast<int32_t>(size));
  }

  // A copy of a string and of its terminator; null when memory runs out.
  char *duplicate(std::string_view string) const {
    const size_t size = sumOf(string.size(), 1);
    auto *copy = static_cast<char *>(allocate(size));
    if (copy == nullptr) return nullptr;
    if (size <= 2 * kVectorSize) {
      moveShort(copy, string.data(), size);
    } else {
      std::memcpy(copy, string.data(), size);
    }
    return copy;
  }

  // The same of a string that need not be terminated.
  char *duplicateBytes(std::string_view string) const {
    auto *copy = static_cast<char *>(allocate(sumOf(string.size(), 1)));
    if (copy == nullptr) return nullptr;
    std::memcpy(copy, string.data(), string.size());
    copy[string.size()] = '\0';
    return copy;
  }

  // For an allocation that nothing refers to yet. A session keeps it.
  void freeUnused(void *allocation) const {
    if (isHeap()) g_fnXMLFree(allocation);
  }

 private:
  uint32_t handle_ = 0;
  mutable XmlMemSession *session_ = nullptr;
};

// Where the strings of a node come from whose tree has this storage: a record of a session has them
// from its own session in a tree of any other, since either session may end first.
inline Storage storageForStrings(const XmlNode *node, const Storage &storage) {
  const bool isElsewhere = !storage.isHeap() && !isOnHeap(node);
  return isElsewhere && node->sessionId != storage.handle() ? Storage(node->sessionId) : storage;
}

}  // namespace neb::xml::internal
