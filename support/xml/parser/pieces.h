// Where the parser's records and strings come from, resolved once for a whole parse.
#pragma once

#include <cstring>

#include "memory/session_allocator.h"
#include "ownership/storage.h"
#include "record/node.h"

namespace neb::xml::internal {

constexpr size_t kTerminator = 1;

// Short runs are copied whole. So there must be this much text behind the run.
constexpr size_t kWidestCopy = ArenaCursor::kSlack;

// Half of that at once, at any address: one vector on a machine that has such wide ones. Not by
// memcpy, which g++ 12 takes over the stack.
inline void copyHalfWide(char *to, const char *from) {
  using Bytes = uint8_t __attribute__((vector_size(kWidestCopy / 2)));
  struct [[gnu::packed, gnu::may_alias]] AnyAddress {
    Bytes bytes;
  };
  reinterpret_cast<AnyAddress *>(to)->bytes = reinterpret_cast<const AnyAddress *>(from)->bytes;
}

inline void copyWide(char *to, const char *from) {
  copyHalfWide(to, from);
  copyHalfWide(to + kWidestCopy / 2, from + kWidestCopy / 2);
}

// Pieces of a session. Records come with their bytes not set.
class SessionPieces {
 public:
  SessionPieces(const Storage &storage, const char *textEnd)
      : carver_(*storage.session()),
        handle_(storage.handle()),
        lastWideRun_(addressOf(textEnd) - kWidestCopy) {}

  void load() { carver_.load(); }
  void save() { carver_.save(); }

  XmlMemSession *session() { return &carver_.session(); }
  ArenaCursor place() const { return carver_.cursor(); }
  void setPlace(const ArenaCursor &place) { carver_.setCursor(place); }

  // Whether the bytes before a string of the tree can be read, as many as a vector has.
  static constexpr bool kHasBytesBefore = true;

  uint32_t handle() const { return handle_; }

  char *makeRecord(size_t size) { return carver_.allocate(size); }

  // Whether a run that ends here can be copied whole.
  bool allowsWideReads(const char *runEnd) const { return addressOf(runEnd) <= lastWideRun_; }

  // Room for pieces that lie back to back, to which a run that ends here is copied whole; null if
  // they do not fit together, and nothing is carved.
  char *allocateTogether(size_t smallest, size_t total, const char *runEnd) {
    return allowsWideReads(runEnd) ? carver_.allocateTogether(smallest, total) : nullptr;
  }

  // A terminated copy of a run of the text; null when memory runs out.
  char *copyRun(const char *run, size_t length) {
    if (length < kWidestCopy) {
      const size_t size = length + kTerminator;
      if (char *copy = allocateTogether(size, size, run + length)) {
        copyWide(copy, run);
        copy[length] = '\0';
        return copy;
      }
    }
    char *copy = makeText(length);
    if (copy != nullptr) std::memcpy(copy, run, length);
    return copy;
  }

  // Room for a text, with nothing but the terminator set.
  char *makeText(size_t length) {
    char *text = carver_.allocate(length + kTerminator);
    if (text != nullptr) text[length] = '\0';
    return text;
  }

  // For a text that was made and is not used; a session keeps what it gave.
  static void giveBack(char * /*text*/) {}

 private:
  static uintptr_t addressOf(const char *byte) { return reinterpret_cast<uintptr_t>(byte); }

  SessionAllocator carver_;
  uint32_t handle_;
  uintptr_t lastWideRun_;  // where a run may end that is copied whole
};

// Pieces of the allocation hook, one by one.
class HookPieces {
 public:
  HookPieces(const Storage & /*storage*/, const char * /*textEnd*/) {}

  static void load() {}
  static void save() {}

  static XmlMemSession *session() { return nullptr; }
  static ArenaCursor place() { return {}; }
  static void setPlace(const ArenaCursor & /*place*/) {}

  static constexpr bool kHasBytesBefore = false;

  static uint32_t handle() { return 0; }

  static char *makeRecord(size_t size) { return static_cast<char *>(g_fnXMLMalloc(size)); }

  static bool allowsWideReads(const char * /*runEnd*/) { return false; }

  static char *allocateTogether(size_t /*smallest*/, size_t /*total*/, const char * /*runEnd*/) {
    return nullptr;
  }

  static char *copyRun(const char *run, size_t length) {
    char *copy = makeText(length);
    if (copy != nullptr) std::memcpy(copy, run, length);
    return copy;
  }

  static char *makeText(size_t length) {
    if (length >= INT32_MAX) return nullptr;
    auto *text = static_cast<char *>(g_fnXMLMalloc(length + kTerminator));
    if (text != nullptr) text[length] = '\0';
    return text;
  }

  static void giveBack(char *text) { g_fnXMLFree(text); }
};

}  // namespace neb::xml::internal
