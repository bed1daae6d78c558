// The structural index: where in the document something can happen, found ahead of the scanner.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kernels/kernel.h"

namespace neb::xml::internal {

// One bit a byte for each question, for a part of the document at a time. Looking at 64 bytes at
// once costs next to nothing; deciding byte by byte does not. The index answers where a name, a
// value or a text may end from the next set bit. The terminator of the document is set for every
// question, so each search ends, and no byte behind it is read.
class StructuralIndex {
 public:
  // Of a document of this length. It covers nothing before moveTo().
  StructuralIndex(const char *document, size_t length) { reset(document, length, 0); }

  // From now on of another document, with so many zeros from its terminator on, at most kReach; 0
  // if only the terminator may be read.
  void reset(const char *document, size_t length, size_t zerosBehind);

  // Covers the part of the document that begins here.
  void moveTo(const char *from);

  // The terminator of the document.
  const char *documentEnd() const { return documentEnd_; }

  // Whether there is a window from here on, and at least kReach bytes of the document behind this
  // one, or zeros behind the document.
  bool hasWindow(const char *from) const { return offsetOf(from) < windowsEnd_; }
  static constexpr size_t kReach = 128;

  // Whether no other part would show more from here on.
  bool hasWholeWindow(const char *from) const {
    return hasWindow(from) && offsetOf(from) + kBytesPerWord <= coveredBytes_;
  }

  // Whether the document ends so soon that nothing but zeros behind it would make windows.
  bool isNearEnd(const char *from) const {
    return static_cast<size_t>(documentEnd_ - from) <= kReach;
  }

  // The bits from here on, the lowest first. Where the covered part ends soon or the byte is not
  // the first of eight, the highest may be missing.
  uint64_t window(Question question, const char *from) const {
    return windowAt(question, offsetOf(from));
  }

  // The bits from behind so many bytes, half a window or so, as far as the window reaches.
  uint64_t windowBehind(Question question, const char *from, size_t skipped) const {
    return windowAt(question, offsetOf(from), skipped);
  }

  // Searches of any length, which may move the covered part forwards.

  const char *nextNameEnd(const char *from) { return next(kNameEnds, from); }
  const char *nextNonWhitespace(const char *from) { return next(kNonWhitespace, from); }

  // A text or a value. It is verbatim if it holds no '&' and no '<'.
  struct Found {
    const char *end;  // the first '<' or the quote; the terminator if there is none
    bool isVerbatim;
  };
  Found findTextEnd(const char *from) { return findEnd(kTextEnds, from, '<'); }
  Found findValueEnd(const char *from, char quote) { return findEnd(kValueEnds, from, quote); }

 private:
  static constexpr size_t kCoveredBytes = kIndexWords * kBytesPerWord;

  size_t offsetOf(const char *from) const { return static_cast<size_t>(from - begin_); }

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
  const char *next(Question question, const char *from);
  Found findEnd(Question question, const char *from, char last);
  void cover(const char *from, size_t words);

  const char *begin_;  // of the covered part
  size_t windowsEnd_;  // windows begin before it
  size_t coveredBytes_;
  const char *documentEnd_;
  size_t zerosBehind_;
  IndexWords words_;
};

}  // namespace neb::xml::internal
