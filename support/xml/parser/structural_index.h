// The structural index: the bytes that may end a token, found ahead of the scanner.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kernels/kernel.h"

namespace neb::xml::internal {

// One bit a byte for each question, for a part of the document at a time. Vectors classify 64 bytes
// much faster than single steps. The next set bit shows where a name, a value or a text may end.
// The terminator of the document is set for every question, so each search ends, and no byte behind
// it is read.
class StructuralIndex {
 public:
  // For a document of this length, read strictly or not. It covers nothing before moveTo().
  StructuralIndex(const char *document, size_t length, bool isStrict);

  // Covers the part of the document that begins here.
  void moveTo(const char *from);

  // Goes on in a copy of the rest of the document, which is not longer than kLongestCopied and has
  // kReach zeros from its terminator on.
  void continueIn(const char *copy, const char *from);
  static constexpr size_t kLongestCopied = 384;

  // The end of the covered part, or of the document; the cursor is in the covered part.
  const char *coveredEnd(const char *from) const {
    const auto left = static_cast<size_t>(documentEnd_ - from);
    return from + std::min(left, coveredBytes_ - offsetOf(from));
  }

  // The terminator of the document.
  const char *documentEnd() const { return documentEnd_; }

  // Whether a window begins here, and at least kReach bytes of the document, or zeros behind it,
  // follow.
  bool hasWindow(const char *from) const { return offsetOf(from) < windowsEnd_; }
  static constexpr size_t kReach = 128;

  // Whether moving the covered part would show no more bits from here on.
  bool hasWholeWindow(const char *from) const {
    return hasWindow(from) && offsetOf(from) + kBytesPerWord <= coveredBytes_;
  }

  // The bits from here on, the lowest first. If the covered part ends soon, or if the byte is not
  // the first of eight, the highest may be missing.
  uint64_t window(Question question, const char *from) const {
    return windowAt(question, offsetOf(from));
  }

  // The bits from so many bytes later on, about half a window, up to the end of the window.
  uint64_t windowBehind(Question question, const char *from, size_t skipped) const {
    return windowAt(question, offsetOf(from), skipped);
  }

  // Searches of any length, from anywhere. They may move the covered part.

  const char *nextNameEnd(const char *from) { return next(kNameEnds, from); }
  const char *nextNonWhitespace(const char *from) { return next(kNonWhitespace, from); }

  // A text or a value.
  struct Found {
    const char *end;  // the first '<' or the quote; the terminator if there is none
    bool isVerbatim;  // it holds no '&' and no '<'
    // For strict reading only.
    bool holdsBracket = false;     // ']' in a text
    bool holdsWhitespace = false;  // that is not kept: a carriage return, in a value any but ' '
  };
  Found findTextEnd(const char *from) { return findEnd(kTextEnds, from, '<'); }
  Found findValueEnd(const char *from, char quote) { return findEnd(kValueEnds, from, quote); }

 private:
  static constexpr size_t kCoveredBytes = kIndexWords * kBytesPerWord;

  static uintptr_t addressOf(const char *byte) { return reinterpret_cast<uintptr_t>(byte); }
  size_t offsetOf(const char *from) const { return addressOf(from) - begin_; }

  uint64_t windowAt(Question question, size_t offset, size_t skipped = 0) const {
    if constexpr (std::endian::native == std::endian::little) {
      uint64_t window = 0;
      std::memcpy(&window, reinterpret_cast<const char *>(words_[question]) + offset / 8,
                  sizeof window);
      return window >> (offset % 8 + skipped);
    }
    const size_t shift = offset % kBytesPerWord + skipped;
    return shift < kBytesPerWord ? words_[question][offset / kBytesPerWord] >> shift : 0;
  }

  // Null if nothing is covered from here on.
  const char *nextCovered(Question question, const char *from) const;
  const char *searchNext(Question question, const char *from);
  Found searchEnd(Question question, const char *from, char last);
  Found searchFarEnd(Found result, const char *from, char last) const;

  // Most searches end in their first window.

  uint64_t firstWindow(Question question, const char *from) const {
    return hasWindow(from) ? window(question, from) : 0;
  }

  const char *next(Question question, const char *from) {
    const uint64_t bits = firstWindow(question, from);
    return bits != 0 ? from + std::countr_zero(bits) : searchNext(question, from);
  }

  Found findEnd(Question question, const char *from, char last) {
    const uint64_t bits = firstWindow(question, from);
    const char *found = from + std::countr_zero(bits);
    if (bits != 0 && *found == last) return {found, true};
    return searchEnd(question, from, last);
  }

  void cover(const char *from, size_t words);

  uintptr_t begin_;        // of the covered part, perhaps before the copy
  size_t windowsEnd_ = 0;  // windows begin before it
  size_t coveredBytes_ = 0;
  const char *documentEnd_;
  bool isStrict_;
  IndexWords words_;
};

}  // namespace neb::xml::internal
