// Carving many pieces of a session in a row.
#pragma once

#include <algorithm>
#include <cstdint>

#include "xml_memory.h"
#include "xml_memory_index.h"

// Keeps the place to carve from at hand between load and save, so that nothing else may carve from
// the session meanwhile. Pieces lie where carve would put them; their bytes are not set.
class SessionCarver {
 public:
  explicit SessionCarver(XmlMemSession &session) : session_(session) { load(); }

  void load() {
    const XmlMemBlock &block = *session_.lastBlock;
    cursor_ = block.cursor;
    slackBegin_ = addressOf(block.cursor + block.remaining) - kSlack;
    widestEarlier_ = session_.widestEarlier;
    hole_ = {};
  }

  void save() {
    if (hole_.block != nullptr) closeHole(session_, hole_);
    session_.lastBlock->cursor = cursor_;
    session_.lastBlock->remaining = static_cast<int32_t>(room());
  }

  // Bytes behind pieces carved together that may be written as well, so that whole vectors can be
  // copied: they are overwritten by the next piece, or cleared when it is given out unfilled.
  static constexpr size_t kSlack = 64;

  // Room for pieces that lie back to back, if each of them would be carved from the last block and
  // there is slack behind them; else null and nothing is carved.
  char *carveTogether(size_t smallest, size_t total) {
    const bool fits = static_cast<ptrdiff_t>(smallest) > widestEarlier_ &&
                      addressOf(cursor_) + total <= slackBegin_;
    if (!fits) return nullptr;
    char *pieces = cursor_;
    cursor_ += total;
    return pieces;
  }

  // Null when memory runs out.
  char *carvePiece(size_t size) {
    if (size > INT32_MAX) return nullptr;
    const auto wanted = static_cast<ptrdiff_t>(size);
    if (wanted <= widestEarlier_) return carveFromHole(static_cast<int32_t>(size));
    if (wanted <= room()) {
      char *piece = cursor_;
      cursor_ += wanted;
      return piece;
    }
    save();
    auto *piece = static_cast<char *>(carveBeyondLastBlock(session_, static_cast<int32_t>(size)));
    load();
    return piece;
  }

 private:
  static uintptr_t addressOf(const char *byte) { return reinterpret_cast<uintptr_t>(byte); }

  ptrdiff_t room() const {
    return static_cast<ptrdiff_t>(slackBegin_ + kSlack - addressOf(cursor_));
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
  char *cursor_;
  uintptr_t slackBegin_;  // in the last block
  ptrdiff_t widestEarlier_;
  OpenHole hole_;
};
