// Carving many pieces of a session in a row.
#pragma once

#include <algorithm>
#include <cstdint>

#include "memory/block_index.h"
#include "memory/sessions.h"

namespace neb::xml::internal {

// The place to carve from in a session's last block. Pieces lie where carve would put them; their
// bytes are not set.
class CarvingPlace {
 public:
  CarvingPlace() = default;
  CarvingPlace(const XmlMemBlock &lastBlock, ptrdiff_t widestEarlier)
      : cursor_(lastBlock.cursor),
        slackBegin_(addressOf(lastBlock.cursor + lastBlock.remaining) - kSlack),
        widestEarlier_(widestEarlier) {}

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
    if (pieces == nullptr) __builtin_unreachable();  // else every caller would have to look
    cursor_ += total;
    __builtin_prefetch(cursor_ + kAhead, kForWriting);
    return pieces;
  }

  // Room for one piece, without slack behind it, in the last block or in the hole that is kept open;
  // null if it would be carved from elsewhere.
  char *carveOne(ptrdiff_t size) {
    if (size <= widestEarlier_) return carveFromHole(static_cast<int32_t>(size));
    if (size > room()) return nullptr;
    char *piece = cursor_;
    cursor_ += size;
    return piece;
  }

  char *cursor() const { return cursor_; }
  ptrdiff_t room() const {
    return static_cast<ptrdiff_t>(slackBegin_ + kSlack - addressOf(cursor_));
  }
  // The most room in any earlier block.
  ptrdiff_t widestEarlier() const { return widestEarlier_; }

  const OpenHole &hole() const { return hole_; }
  void setHole(const OpenHole &hole) { hole_ = hole; }

 private:
  // Blocks that come back from a large tree are cold.
  static constexpr size_t kAhead = 512;
  static constexpr int kForWriting = 1;

  static uintptr_t addressOf(const char *byte) { return reinterpret_cast<uintptr_t>(byte); }

  char *carveFromHole(int32_t size) {
    XmlMemBlock *block = hole_.block;
    if (block == nullptr || size <= hole_.before || size > block->remaining) return nullptr;
    auto *piece = static_cast<char *>(carveFromBlock(*block, size));
    widestEarlier_ = std::max({hole_.before, block->remaining, hole_.after});
    return piece;
  }

  char *cursor_ = nullptr;
  uintptr_t slackBegin_ = 0;
  ptrdiff_t widestEarlier_ = 0;
  OpenHole hole_ = {};
};

// Keeps the place to carve from at hand between load and save, so that nothing else may carve from
// the session meanwhile.
class SessionCarver {
 public:
  explicit SessionCarver(XmlMemSession &session) : session_(session) { load(); }

  // Goes on where another one stands, which gets the place back.
  SessionCarver(XmlMemSession &session, const CarvingPlace &place)
      : session_(session), place_(place) {}

  XmlMemSession &session() { return session_; }

  void load() { place_ = CarvingPlace(*session_.lastBlock, session_.widestEarlier); }

  void save() {
    if (place_.hole().block != nullptr) closeHole(session_, place_.hole());
    session_.lastBlock->cursor = place_.cursor();
    session_.lastBlock->remaining = static_cast<int32_t>(place_.room());
  }

  // What was carved from the place counts when it is set again.
  CarvingPlace place() const { return place_; }
  void setPlace(const CarvingPlace &place) { place_ = place; }

  char *carveTogether(size_t smallest, size_t total) {
    return place_.carveTogether(smallest, total);
  }

  char *carveOne(ptrdiff_t size) { return place_.carveOne(size); }

  // Null when memory runs out.
  char *carvePiece(size_t size) {
    if (size > INT32_MAX) return nullptr;
    const auto wanted = static_cast<ptrdiff_t>(size);
    if (char *piece = place_.carveOne(wanted)) return piece;
    save();
    if (wanted <= place_.widestEarlier()) {
      place_.setHole(openHole(session_, static_cast<int32_t>(size)));
      return place_.carveOne(wanted);
    }
    XmlMemBlock *last = session_.lastBlock;
    const int32_t widestBefore = session_.widestEarlier;
    auto *piece = static_cast<char *>(carveBeyondLastBlock(session_, static_cast<int32_t>(size)));
    load();
    // The hole that small pieces fill next need not be looked for: nothing lies between the block that
    // was last and the new one.
    const bool leavesHole = session_.lastBlock != last && last->remaining > widestBefore;
    if (leavesHole) place_.setHole({last, widestBefore, 0});
    return piece;
  }

 private:
  XmlMemSession &session_;
  CarvingPlace place_;
};

}  // namespace neb::xml::internal
