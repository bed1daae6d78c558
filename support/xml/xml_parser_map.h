// Where in the text something can happen: bit maps of a stretch, made ahead of the parser.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

// Looking at 64 bytes at once costs next to nothing; deciding byte by byte does not. The maps
// answer where a name, a value or a text may end from the next set bit. The terminator of the text
// is in every map, so each search ends, and no byte behind it is read.
class MarkupMap {
 public:
  enum Kind { kNameEnds, kValueEnds, kTextEnds, kNonBlanks, kKinds };

  // From the terminator on there are so many zeros, at most kReach; 0 if only the terminator may be
  // read.
  MarkupMap(const char *text, size_t length, size_t zerosBehind);

  // The first byte from here on that is white space, a quote, '=', '<', '>', '/', '&' or ':', or a
  // '!', '?' or ']', which are seldom in names but are part of markup that has none.
  const char *nextNameEnd(const char *from) { return next(kNameEnds, from); }

  // The first quote of either kind, '&' or '<'.
  const char *nextValueEnd(const char *from) { return next(kValueEnds, from); }

  // The first '<' or '&'.
  const char *nextTextEnd(const char *from) { return next(kTextEnds, from); }

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

  static constexpr size_t kWordBits = 64;
  static constexpr size_t kWords = 64;
  // One word more, since a window may begin in the last byte of the one before. It stays zero.
  using Words = uint64_t[kKinds][kWords + 1];

  // Maps whole words of text; there is one for machines with wide vectors and one for all others.
  using Mapper = void (*)(const char *text, size_t words, size_t firstWord, Words &maps);
  static Mapper vectorMapper();  // null where there is none
  static Mapper scalarMapper();
  static void use(Mapper mapper);  // instead of the best; not while other threads parse
  static bool usesVectors();

 private:
  static constexpr size_t kStretchBits = kWords * kWordBits;

  // The window of bits that begins at or shortly before a byte crosses words without a branch that
  // could not be foretold.
  const char *next(Kind kind, const char *from) {
    const auto offset = static_cast<size_t>(from - stretch_);
    if (offset < kStretchBits) {
      const uint64_t window = windowAt(kind, offset);
      if (window != 0) return from + std::countr_zero(window);
    }
    return search(kind, from);
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

  const char *search(Kind kind, const char *from);
  void mapStretch(const char *from);

  const char *stretch_;
  const char *textEnd_;
  size_t zerosBehind_;
  size_t windowsEnd_;  // of the stretch
  Words maps_;
};
