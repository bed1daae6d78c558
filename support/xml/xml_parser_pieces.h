// Where the parser's records and strings come from, resolved once for a whole parse.
#pragma once

#include <array>
#include <cstring>

#include "platform/bounded_memory.h"
#include "xml_memory.h"
#include "xml_node.h"

// Sixteen bytes at once, at any address.
using Wide = uint8_t __attribute__((vector_size(16)));
constexpr size_t kWide = sizeof(Wide);

inline Wide loadWide(const void *from) {
  Wide bytes;
  std::memcpy(&bytes, from, kWide);
  return bytes;
}

inline void storeWide(void *to, Wide bytes) { std::memcpy(to, &bytes, kWide); }

constexpr size_t kTwoWide = 2 * kWide;

// From its middle backwards by n: masks that keep the first n of 32 bytes.
constexpr std::array<uint8_t, 2 * kTwoWide> makeKeepThenDrop() {
  std::array<uint8_t, 2 *kTwoWide> bytes = {};
  for (size_t i = 0; i < kTwoWide; ++i) bytes[i] = UINT8_MAX;
  return bytes;
}

constexpr std::array<uint8_t, 2 *kTwoWide> kKeepThenDrop = makeKeepThenDrop();

// Writes 32 bytes: the first count of them from the text, the others zero.
inline void storeFirst(char *to, const char *from, size_t count) {
  const uint8_t *masks = kKeepThenDrop.data() + kTwoWide - count;
  storeWide(to, loadWide(from) & loadWide(masks));
  storeWide(to + kWide, loadWide(from + kWide) & loadWide(masks + kWide));
}

constexpr size_t kWidestRun = 2 * kTwoWide;

// Writes a run of fewer than kWidestRun bytes and zeros up to the next 32. Most runs fit the first
// two vectors; not to tell one from two spares a branch that cannot be foretold.
inline void storeRun(char *to, const char *run, size_t length) {
  if (length >= kTwoWide) {
    storeWide(to, loadWide(run));
    storeWide(to + kWide, loadWide(run + kWide));
    to += kTwoWide;
    run += kTwoWide;
    length -= kTwoWide;
  }
  storeFirst(to, run, length);
}

// Pieces of a session. The place to carve from is kept here between save and load, so that nothing
// else may carve from the session meanwhile.
class SessionPieces {
 public:
  SessionPieces(const Storage &storage, const char *textEnd)
      : session_(*storage.session()), handle_(storage.handle()), textEnd_(textEnd) {
    load();
  }

  void load() {
    cursor_ = session_.lastBlock->cursor;
    room_ = session_.lastBlock->remaining;
    widestEarlier_ = session_.widestEarlier;
  }

  void save() {
    session_.lastBlock->cursor = cursor_;
    session_.lastBlock->remaining = room_;
  }

  static constexpr bool kLieTogether = true;

  XmlNode *makeNode(size_t recordSize) {
    auto *node = reinterpret_cast<XmlNode *>(carveZeroed(recordSize));
    if (node != nullptr) node->sessionId = handle_;
    return node;
  }

  // Room for pieces that lie back to back, if each of them would be carved from the last block and
  // there is room behind them for wide writes; else null and nothing is carved.
  char *carveTogether(size_t smallest, size_t total) {
    const bool fits = static_cast<int64_t>(smallest) > widestEarlier_ &&
                      static_cast<int64_t>(total + kTwoWide) <= room_;
    if (!fits) return nullptr;
    char *pieces = cursor_;
    cursor_ += total;
    room_ -= static_cast<int32_t>(total);
    return pieces;
  }

  // Whether whole vectors can be read from a run that ends here.
  bool allowsWideReads(const char *runEnd) const {
    return static_cast<size_t>(textEnd_ - runEnd) >= kTwoWide;
  }

  uint32_t handle() const { return handle_; }

  // A terminated copy of a run of the text. Short ones are whole vectors, the last of them masked,
  // so that what is written behind the copy is zero as it was.
  char *copyRun(const char *run, size_t length) {
    const auto size = static_cast<int32_t>(length + 1);
    if (length >= kWidestRun || size <= widestEarlier_ ||
        size + static_cast<int32_t>(kTwoWide) > room_ || !allowsWideReads(run + length)) {
      return copyAnyRun(run, length);
    }
    char *copy = cursor_;
    cursor_ += size;
    room_ -= size;
    storeRun(copy, run, length);
    return copy;
  }

 private:
  [[gnu::noinline]] char *copyAnyRun(const char *run, size_t length) {
    if (length >= INT32_MAX) return nullptr;
    char *copy = carveZeroed(length + 1);
    if (copy != nullptr) std::memcpy(copy, run, length);
    return copy;
  }

  char *carveZeroed(size_t size) {
    const auto wanted = static_cast<int32_t>(size);
    if (wanted > widestEarlier_ && wanted <= room_) {
      char *piece = cursor_;
      cursor_ += wanted;
      room_ -= wanted;
      return piece;
    }
    return carveElsewhere(wanted);
  }

  [[gnu::noinline]] char *carveElsewhere(int32_t size) {
    save();
    auto *piece = static_cast<char *>(carveBeyondLastBlock(session_, size));
    load();
    return piece;
  }

  XmlMemSession &session_;
  uint32_t handle_;
  const char *textEnd_;
  char *cursor_;
  int32_t room_;
  int32_t widestEarlier_;
};

// Pieces of the allocation hook, one by one.
class HookPieces {
 public:
  HookPieces(const Storage & /*storage*/, const char * /*textEnd*/) {}

  static constexpr bool kLieTogether = false;

  void load() {}
  void save() {}

  static XmlNode *makeNode(size_t recordSize) {
    auto *node = static_cast<XmlNode *>(g_fnXMLMalloc(recordSize));
    if (node != nullptr) platform::memset_s(node, recordSize, 0, recordSize);
    return node;
  }

  static char *copyRun(const char *run, size_t length) {
    if (length >= INT32_MAX) return nullptr;
    return Storage().copyText(run, length);
  }
};
