// Where in the text something can happen: bit maps of a stretch, made ahead of the parser.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

// Looking at 64 bytes at once costs next to nothing; deciding byte by byte does not. The maps
// answer where a name, a value or a text may end from the next set bit. The terminator of the text
// is in every map, so each search ends, and no byte behind it is read.
class MarkupMap {
 public:
  explicit MarkupMap(const char *text);

  // The first byte from here on that is white space, a quote, '=', '<', '>', '/', '&' or ':'.
  const char *nextNameEnd(const char *from) { return next(kNameEnds, from); }

  // The first quote of either kind, '&' or '<'.
  const char *nextValueEnd(const char *from) { return next(kValueEnds, from); }

  // The first '<' or '&'.
  const char *nextTextEnd(const char *from) { return next(kTextEnds, from); }

  // The first byte that is no white space.
  const char *nextNonBlank(const char *from) { return next(kNonBlanks, from); }

  // The terminator of the text.
  const char *textEnd() const { return textEnd_; }

  enum Kind { kNameEnds, kValueEnds, kTextEnds, kNonBlanks, kKinds };
  static constexpr size_t kWordBits = 64;
  static constexpr size_t kWords = 64;
  using Words = uint64_t[kKinds][kWords];

  // Maps whole words of text; there is one for machines with wide vectors and one for all others.
  using Mapper = void (*)(const char *text, size_t words, size_t firstWord, Words &maps);
  static Mapper vectorMapper();  // null where there is none
  static Mapper scalarMapper();
  static void use(Mapper mapper);  // instead of the best; not while other threads parse

 private:
  const char *next(Kind kind, const char *from) {
    auto offset = static_cast<size_t>(from - stretch_);
    for (;;) {
      if (offset >= mapped_) offset = mapStretch(stretch_ + offset);
      const uint64_t bits = maps_[kind][offset / kWordBits] >> (offset % kWordBits);
      if (bits != 0) return stretch_ + offset + std::countr_zero(bits);
      offset = (offset | (kWordBits - 1)) + 1;
    }
  }

  // Begins a new stretch and returns the offset of its first byte.
  size_t mapStretch(const char *from);

  const char *stretch_;
  size_t mapped_ = 0;  // bytes from the beginning of the stretch
  const char *textEnd_;
  Words maps_;
};
