// Where the parser's records and strings come from, resolved once for a whole parse.
#pragma once

#include <algorithm>
#include <bit>
#include <cstring>

#include "platform/bounded_memory.h"
#include "xml_memory.h"
#include "xml_node.h"

// Masks that keep the first bytes of a word as it stands in memory.
struct ByteMasks {
  uint64_t keep[sizeof(uint64_t) + 1];
};

constexpr ByteMasks makeByteMasks() {
  ByteMasks masks = {};
  for (size_t count = 1; count <= sizeof(uint64_t); ++count) {
    const size_t shift = 8 * (sizeof(uint64_t) - count);
    const bool isLittle = std::endian::native == std::endian::little;
    masks.keep[count] = isLittle ? ~uint64_t{0} >> shift : ~uint64_t{0} << shift;
  }
  return masks;
}

constexpr ByteMasks kByteMasks = makeByteMasks();

// Pieces of a session. The place to carve from is kept here between save and load, so that nothing
// else may carve from the session meanwhile.
class SessionPieces {
 public:
  SessionPieces(const Storage &storage, const char *textEnd)
      : session_(*storage.session()), textEnd_(textEnd) {
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

  XmlNode *makeNode(size_t recordSize) {
    auto *node = reinterpret_cast<XmlNode *>(carveZeroed(recordSize));
    if (node != nullptr) node->sessionId = session_.handle.load(std::memory_order_relaxed);
    return node;
  }

  // A terminated copy of a run of the text.
  char *copyRun(const char *run, size_t length) {
    if (length >= INT32_MAX) return nullptr;
    char *copy = carveZeroed(length + 1);
    if (copy == nullptr) return nullptr;
    const bool isWide = length < kWidestCopy && room_ >= kWide &&
                        static_cast<size_t>(textEnd_ - run) >= length + kWide &&
                        copy + length + 1 == cursor_;
    if (isWide) {
      copyWide(copy, run, length);
    } else {
      std::memcpy(copy, run, length);
    }
    return copy;
  }

 private:
  static constexpr int32_t kWide = 16;
  static constexpr size_t kWidestCopy = 64;

  char *carveZeroed(size_t size) {
    const auto wanted = static_cast<int32_t>(size);
    if (wanted > widestEarlier_ && wanted <= room_) {
      char *piece = cursor_;
      cursor_ += wanted;
      room_ -= wanted;
      return piece;
    }
    save();
    auto *piece = static_cast<char *>(carveBeyondLastBlock(session_, wanted));
    load();
    return piece;
  }

  // Whole vectors, the last one masked: what is written behind the copy is zero, as it was.
  static void copyWide(char *copy, const char *run, size_t length) {
    size_t done = 0;
    for (; length - done >= kWide; done += kWide) std::memcpy(copy + done, run + done, kWide);
    uint64_t low = 0;
    uint64_t high = 0;
    std::memcpy(&low, run + done, sizeof low);
    std::memcpy(&high, run + done + sizeof low, sizeof high);
    const size_t left = length - done;
    low &= kByteMasks.keep[std::min(left, sizeof low)];
    high &= kByteMasks.keep[left > sizeof low ? left - sizeof low : 0];
    std::memcpy(copy + done, &low, sizeof low);
    std::memcpy(copy + done + sizeof low, &high, sizeof high);
  }

  XmlMemSession &session_;
  const char *textEnd_;
  char *cursor_;
  int32_t room_;
  int32_t widestEarlier_;
};

// Pieces of the allocation hook, one by one.
class HookPieces {
 public:
  HookPieces(const Storage & /*storage*/, const char * /*textEnd*/) {}

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
