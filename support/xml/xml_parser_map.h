// Where in the text something can happen: bit maps of a stretch, made ahead of the parser.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kernels/kernel.h"

// Looking at 64 bytes at once costs next to nothing; deciding byte by byte does not. The maps
// answer where a name, a value or a text may end from the next set bit. The terminator of the text
// is in every map, so each search ends, and no byte behind it is read.
class MarkupMap {
 public:
  using Kind = neb::xml::internal::Question;
  static constexpr Kind kNameEnds = neb::xml::internal::kNameEnds;
  static constexpr Kind kValueEnds = neb::xml::internal::kValueEnds;
  static constexpr Kind kTextEnds = neb::xml::internal::kTextEnds;
  static constexpr Kind kNonBlanks = neb::xml::internal::kNonWhitespace;
  static constexpr size_t kKinds = neb::xml::internal::kQuestions;

  // From the terminator on there are so many zeros, at most kReach; 0 if only the terminator may be
  // read.
  MarkupMap(const char *text, size_t length, size_t zerosBehind);

  // The first byte from here on that is white space, a quote, '=', '<', '>', '/', '&' or ':', or a
  // '!', '?' or ']', which are seldom in names but are part of markup that has none.
  const char *nextNameEnd(const char *from) { return next(kNameEnds, from); }

  // A text or a value. It is plain if it holds no '&' and no '<', so that each byte stands for itself.
  struct Run {
    const char *end;  // the first '<' or the quote; the terminator if there is none
    bool isPlain;
  };
  Run findTextEnd(const char *from) { return findRun(kTextEnds, from, '<'); }
  Run findValueEnd(const char *from, char quote) { return findRun(kValueEnds, from, quote); }

  // The first byte that is no white space.
  const char *nextNonBlank(const char *from) { return next(kNonBlanks, from); }

  // The terminator of the text.
  const char *textEnd() const { return textEnd_; }

  // Whether there is a window from here on, and at least kReach bytes of text behind this one, or
  // zeros behind the text.
  bool hasWindow(const char *from) const {
    return static_cast<size_t>(from - stretch_) < windowsEnd_;
  }
  static constexpr size_t kReach = 128;

  // The bits of a kind from here on, the lowest first. Where the stretch ends soon or the byte is not
  // the first of eight, the highest may be missing.
  uint64_t window(Kind kind, const char *from) const {
    return windowAt(kind, static_cast<size_t>(from - stretch_));
  }

  // The bits from behind so many bytes, half a window or so, as far as the window reaches.
  uint64_t windowBehind(Kind kind, const char *from, size_t skipped) const {
    return windowAt(kind, static_cast<size_t>(from - stretch_), skipped);
  }

  static constexpr size_t kWordBits = neb::xml::internal::kBytesPerWord;
  static constexpr size_t kWords = neb::xml::internal::kIndexWords;

 private:
  static constexpr size_t kStretchBits = kWords * kWordBits;

  const char *next(Kind kind, const char *from) {
    const char *found = nextInStretch(kind, from);
    return found != nullptr ? found : search(kind, from);
  }

  // Null if there is none. The window of bits that begins at or shortly before a byte crosses words
  // without a branch that could not be foretold.
  const char *nextInStretch(Kind kind, const char *from) const {
    const auto offset = static_cast<size_t>(from - stretch_);
    if (offset >= mappedBits_) return nullptr;
    const uint64_t window = windowAt(kind, offset);
    return window != 0 ? from + std::countr_zero(window) : searchStretch(kind, from);
  }

  Run findRun(Kind kind, const char *from, char last) {
    bool isPlain = true;
    for (;;) {
      const char *found = nextInStretch(kind, from);
      if (found == nullptr) return searchRun(from, last, isPlain);
      if (*found == last || *found == '\0') return {found, isPlain};
      isPlain = isPlain && *found != '&' && *found != '<';
      from = found + 1;
    }
  }

  uint64_t windowAt(Kind kind, size_t offset, size_t skipped = 0) const {
    if constexpr (std::endian::native == std::endian::little) {
      uint64_t window = 0;
      std::memcpy(&window, reinterpret_cast<const char *>(maps_[kind]) + offset / 8, sizeof window);
      return window >> (offset % 8 + skipped);
    }
    const size_t shift = offset % kWordBits + skipped;
    return shift < kWordBits ? maps_[kind][offset / kWordBits] >> shift : 0;
  }

  // From the stretch or behind it.
  const char *search(Kind kind, const char *from);
  const char *searchStretch(Kind kind, const char *from) const;
  Run searchRun(const char *from, char last, bool isPlain) const;
  void mapStretch(const char *from, size_t words);

  const char *stretch_;
  const char *textEnd_;
  size_t zerosBehind_;
  size_t mappedBits_;  // of the stretch, from its beginning
  size_t windowsEnd_;  // windows begin before it
  neb::xml::internal::IndexWords maps_;
};
