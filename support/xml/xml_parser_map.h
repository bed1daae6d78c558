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
  using Words = uint64_t[kWords][kKinds];

  // Maps whole words of text; there is one for machines with wide vectors and one for all others.
  using Mapper = void (*)(const char *text, size_t words, size_t firstWord, Words &maps);
  static Mapper vectorMapper();  // null where there is none
  static Mapper scalarMapper();
  static void use(Mapper mapper);  // instead of the best; not while other threads parse

 private:
  // The map of the block at hand is read from a place that does not depend on the byte asked for:
  // one search need not wait for the one before to know its address.
  const char *next(Kind kind, const char *from) {
    const auto offset = static_cast<size_t>(from - block_);
    if (offset < kWordBits) {
      const uint64_t bits = blockMaps_[kind] >> offset;
      if (bits != 0) return from + std::countr_zero(bits);
    }
    return nextInLaterBlock(kind, from);
  }

  const char *nextInLaterBlock(Kind kind, const char *from);

  // Makes the block at hand the one that holds a byte.
  void goTo(const char *place);
  void mapStretch(const char *from);

  const char *stretch_;
  size_t mapped_ = 0;  // bytes from the beginning of the stretch
  const char *block_;
  const uint64_t *blockMaps_;
  const char *textEnd_;
  Words maps_;
};
