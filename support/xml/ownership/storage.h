// Where allocations on behalf of a node come from, and who frees them.
//
// Each record and each string has an origin, a session or the heap, that never changes. A record
// says its own by sessionId, 0 for the heap, and by marks which of its strings are of the other
// kind.
//
// The membership rule: what is allocated on behalf of a node comes from the session of the topmost
// node of its tree, if that has one, else from the heap.
//
// Nodes move between trees and their allocations stay, so a tree can mix origins. These hold
// between any two calls:
//
// 1. A session's record whose parent, child or attribute is of another origin, or that has a string
//    on the heap, is in its session's list of cross-references. (cross_references.h)
// 2. A string of a session's record is of that session or on the heap, never of another session.
//    (storageForStrings)
// 3. A heap record that has a string of a session, or a record of a session below it, is in a tree
//    of that session or bound to it. It can be inserted into no other session's tree.
//    (bound_session.h)
// 4. A heap string or attribute that a session's tree gives up stays until the session ends.
//    (kept.h)
//
// Why they hold:
//
// 1. What creates such a link or string notes the record first, and fails if it cannot. The note is
//    allocated from the session of the record, so neither outlives the other.
// 2. What sets a string asks storageForStrings first.
// 3. A record of a session is only inserted into trees of its session. What gives a heap record a
//    string or an attribute of a session binds the record and those above it. A subtree that leaves
//    a session's tree is bound whole.
// 4. Strings are only given up by dropString and attributes by removal; both ask the storage.
//
// What follows: ending a session has to look at its cross-references and its kept allocations only.
// It unlinks its records from whatever outlives them and frees the heap records and strings that
// are attached to them. Then nothing leads into its blocks from outside but strings of heap records
// that are bound to it. Those are marked as elsewhere or not owned, so nobody frees them.
// (session_end.cpp)
#pragma once

#include "memory/arena.h"
#include "memory/hooks.h"
#include "record/node.h"

namespace neb::xml::internal {

// One session, or the heap.
class Storage {
 public:
  // The heap.
  Storage() = default;

  // The session of a handle. One that has ended allocates and frees nothing.
  explicit Storage(uint32_t handle);

  // By the membership rule.
  static Storage of(const XmlNode *node);
  static Storage ofTopmost(const XmlNode *topmost) { return Storage(topmost->sessionId); }

  uint32_t handle() const { return handle_; }
  bool isHeap() const { return handle_ == 0; }
  XmlMemSession *session() const { return session_; }

  // Null when memory runs out. The bytes are not set.
  void *allocate(size_t size) const;

  // A terminated copy of length bytes; null when memory runs out.
  char *duplicate(const char *string, size_t length) const;

  // For an allocation that nothing refers to yet. A session keeps it.
  void freeUnused(void *allocation) const {
    if (isHeap()) g_fnXMLFree(allocation);
  }

 private:
  uint32_t handle_ = 0;
  XmlMemSession *session_ = nullptr;
};

// Where the strings of a node come from whose tree has this storage: a record of a session has them
// from its own session in a tree of any other, since either session may end first.
Storage storageForStrings(const XmlNode *node, const Storage &storage);

}  // namespace neb::xml::internal
