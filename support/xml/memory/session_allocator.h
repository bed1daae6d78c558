// Many allocations of a session in a row.
#pragma once

#include <algorithm>
#include <cstdint>

#include "memory/arena.h"
#include "memory/block_index.h"
#include "memory/regions.h"
#include "platform/compiler.h"

namespace neb::xml::internal {

// Keeps at hand where a session's next allocation begins. Nothing else may allocate from the
// session until save(). Allocations lie where allocateInSession would put them; their bytes are not
// set.
class SessionAllocator {
 public:
  explicit SessionAllocator(XmlMemSession &session) : session_(session) { load(); }

  const XmlMemSession &session() const { return session_; }

  // Bytes behind what was allocated together that may be written as well, so that whole vectors can
  // be copied. The next allocation overwrites them, or clears them when it is handed out unfilled.
  static constexpr size_t kSlack = 64;

  // Total bytes for several allocations that lie back to back, if each of them would come from the
  // last block and there is slack behind them. Else null, and nothing is allocated.
  // The sums take 64 bits: addresses of 32 bits pass those when much is added to them.
  char *allocateTogether(size_t smallest, uint64_t total) {
    const bool fits = static_cast<ptrdiff_t>(smallest) > largestEarlierGap_ &&
                      uint64_t{addressOf(next_)} + total <= slackBegin_;
    if (!fits) return nullptr;
    char *begin = next_;
    NEB_XML_ASSUME(begin != nullptr);  // else every caller would have to look
    next_ += static_cast<size_t>(total);
    return begin;
  }

  // One allocation without slack behind it, from the last block or from the open gap. Null if it
  // would come from elsewhere.
  char *allocateOne(ptrdiff_t size) {
    if (size <= largestEarlierGap_) return allocateFromGap(static_cast<int32_t>(size));
    if (size > room()) return nullptr;
    char *allocation = next_;
    next_ += size;
    return allocation;
  }

  // Null when memory runs out.
  char *allocate(size_t size) {
    if (size > INT32_MAX) return nullptr;
    const auto wanted = static_cast<ptrdiff_t>(size);
    if (char *allocation = allocateOne(wanted)) return allocation;
    save();
    if (wanted <= largestEarlierGap_) {
      gap_ = openGap(session_, static_cast<int32_t>(size));
      return allocateOne(wanted);
    }
    XmlMemBlock *last = session_.lastBlock;
    const int32_t largestBefore = session_.largestEarlierGap;
    void *allocation = allocateBeyondLastBlock(session_, static_cast<int32_t>(size));
    load();
    // The gap that small allocations fill next need not be searched for: nothing lies between the
    // block that was last and the new one.
    const bool leavesGap = session_.lastBlock != last && last->remaining > largestBefore;
    if (leavesGap) gap_ = {last, largestBefore, 0};
    return static_cast<char *>(allocation);
  }

  // So much of the document has been read that the session is filled from. Memory for the rest is
  // allocated in proportion.
  void reportProgress(size_t read, size_t whole) {
    if (!session_.hasRegions || read < kLeastProgress) return;
    FirstRegion &first = firstRegionOf(session_.firstBlock);
    const auto used = static_cast<double>(first.held - static_cast<size_t>(room()));
    const double growth = static_cast<double>(whole) / static_cast<double>(read);
    // A document may need more memory than there are addresses.
    first.expected = static_cast<size_t>(std::min(used * growth, static_cast<double>(PTRDIFF_MAX)));
  }

  // Hands the session back.
  void save() {
    if (gap_.block != nullptr) closeGap(session_, gap_);
    session_.lastBlock->cursor = next_;
    session_.lastBlock->remaining = static_cast<int32_t>(room());
  }

 private:
  // From so many bytes of a document on, the rest is expected to be like the beginning.
  static constexpr size_t kLeastProgress = 8192;

  static uintptr_t addressOf(const char *byte) { return reinterpret_cast<uintptr_t>(byte); }

  void load() {
    const XmlMemBlock &block = *session_.lastBlock;
    next_ = block.cursor;
    slackBegin_ = addressOf(block.cursor + block.remaining) - kSlack;
    largestEarlierGap_ = session_.largestEarlierGap;
    gap_ = {};
  }

  ptrdiff_t room() const { return static_cast<ptrdiff_t>(slackBegin_ + kSlack - addressOf(next_)); }

  char *allocateFromGap(int32_t size) {
    XmlMemBlock *block = gap_.block;
    if (block == nullptr || size <= gap_.largestBefore || size > block->remaining) return nullptr;
    auto *allocation = static_cast<char *>(allocateFromBlock(*block, size));
    largestEarlierGap_ = std::max({gap_.largestBefore, block->remaining, gap_.largestAfter});
    return allocation;
  }

  XmlMemSession &session_;
  char *next_ = nullptr;
  uintptr_t slackBegin_ = 0;
  ptrdiff_t largestEarlierGap_ = 0;  // of all blocks but the last
  OpenGap gap_ = {};
};

}  // namespace neb::xml::internal
