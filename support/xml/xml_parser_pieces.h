// Where the parser's records and strings come from, resolved once for a whole parse.
#pragma once

#include <algorithm>
#include <cstring>

#include "platform/bounded_memory.h"
#include "xml_memory.h"
#include "xml_memory_index.h"
#include "xml_node.h"

constexpr size_t kTerminator = 1;

// Short runs are copied with whole vectors: what is written behind the terminator is overwritten by
// the next piece or cleared when it is carved. So there must be this much room in the block, and
// this much text behind the run.
constexpr size_t kWidestCopy = 64;

// Half of that at once, at any address.
using WideBytes = uint8_t __attribute__((vector_size(kWidestCopy / 2), aligned(1), may_alias));

inline void copyHalfWide(char *to, const char *from) {
  *reinterpret_cast<WideBytes *>(to) = *reinterpret_cast<const WideBytes *>(from);
}

inline uintptr_t addressOf(const char *byte) { return reinterpret_cast<uintptr_t>(byte); }

inline void copyWide(char *to, const char *from) {
  copyHalfWide(to, from);
  copyHalfWide(to + kWidestCopy / 2, from + kWidestCopy / 2);
}

// Pieces of a session. The place to carve from is kept here between save and load, so that nothing
// else may carve from the session meanwhile. Records come with their bytes not set.
class SessionPieces {
 public:
  SessionPieces(const Storage &storage, const char *textEnd)
      : session_(*storage.session()),
        handle_(storage.handle()),
        lastWideRun_(addressOf(textEnd) - kWidestCopy) {
    load();
  }

  void load() {
    const XmlMemBlock &block = *session_.lastBlock;
    cursor_ = block.cursor;
    wideEnd_ = addressOf(block.cursor + block.remaining) - kWidestCopy;
    widestEarlier_ = session_.widestEarlier;
    hole_ = {};
  }

  void save() {
    if (hole_.block != nullptr) closeHole(session_, hole_);
    session_.lastBlock->cursor = cursor_;
    session_.lastBlock->remaining = static_cast<int32_t>(room());
  }

  // Whether the bytes before a string of the tree can be read, as many as a vector has.
  static constexpr bool kHasBytesBefore = true;

  uint32_t handle() const { return handle_; }

  char *makeRecord(size_t size) { return carvePiece(size); }

  // Whether a run that ends here can be copied in whole vectors.
  bool allowsWideReads(const char *runEnd) const { return addressOf(runEnd) <= lastWideRun_; }

  // Room for pieces that lie back to back, if each of them would be carved from the last block and
  // a run that ends here can be copied in whole vectors; else null and nothing is carved.
  char *carveTogether(size_t smallest, size_t total, const char *runEnd) {
    const bool fits = static_cast<ptrdiff_t>(smallest) > widestEarlier_ &&
                      addressOf(cursor_) + total <= wideEnd_ && allowsWideReads(runEnd);
    if (!fits) return nullptr;
    char *pieces = cursor_;
    cursor_ += total;
    return pieces;
  }

  // A terminated copy of a run of the text; null when memory runs out.
  char *copyRun(const char *run, size_t length) {
    if (length < kWidestCopy) {
      const size_t size = length + kTerminator;
      if (char *copy = carveTogether(size, size, run + length)) {
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
    char *text = length < INT32_MAX ? carvePiece(length + kTerminator) : nullptr;
    if (text != nullptr) text[length] = '\0';
    return text;
  }

  // For a text that was made and is not used; a session keeps what it gave.
  static void giveBack(char * /*text*/) {}

 private:
  ptrdiff_t room() const {
    return static_cast<ptrdiff_t>(wideEnd_ + kWidestCopy - addressOf(cursor_));
  }

  char *carvePiece(size_t size) {
    const auto wanted = static_cast<ptrdiff_t>(size);
    if (wanted > widestEarlier_ && wanted <= room()) {
      char *piece = cursor_;
      cursor_ += wanted;
      return piece;
    }
    if (wanted <= widestEarlier_) return carveFromHole(static_cast<int32_t>(size));
    save();
    auto *piece = static_cast<char *>(carveBeyondLastBlock(session_, static_cast<int32_t>(size)));
    load();
    return piece;
  }

  char *carveFromHole(int32_t size) {
    if (hole_.block == nullptr || size <= hole_.before || size > hole_.block->remaining) {
      save();
      hole_ = openHole(session_, size);
    }
    auto *piece = static_cast<char *>(carveFromBlock(*hole_.block, size));
    widestEarlier_ = std::max({hole_.before, hole_.block->remaining, hole_.after});
    return piece;
  }

  XmlMemSession &session_;
  uint32_t handle_;
  uintptr_t lastWideRun_;  // where a run may end that is copied in whole vectors
  char *cursor_;
  uintptr_t wideEnd_;  // where a piece may end behind which a whole copy can be written
  ptrdiff_t widestEarlier_;
  OpenHole hole_;
};

// Pieces of the allocation hook, one by one.
class HookPieces {
 public:
  HookPieces(const Storage & /*storage*/, const char * /*textEnd*/) {}

  static void load() {}
  static void save() {}

  static constexpr bool kHasBytesBefore = false;

  static uint32_t handle() { return 0; }

  static char *makeRecord(size_t size) { return static_cast<char *>(g_fnXMLMalloc(size)); }

  static bool allowsWideReads(const char * /*runEnd*/) { return false; }

  static char *carveTogether(size_t /*smallest*/, size_t /*total*/, const char * /*runEnd*/) {
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
