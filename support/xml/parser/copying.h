// Copying short runs of the document into allocations that lie together, whole vectors at once.
#pragma once

#include <bit>
#include <cstring>

#include "memory/session_allocator.h"
#include "memory/terminator.h"
#include "parser/markup.h"
#include "simd/vector.h"
#include "tree/references.h"

namespace neb::xml::internal {

// What a copy of a short run reads, whatever its length. So this many bytes of the document must
// follow the beginning of the run.
inline constexpr size_t kWidestCopy = SessionAllocator::kSlack;

// Names are copied and compared with one or two vectors.
inline constexpr size_t kLongestShortName = kWidestCopy / 2 - kTerminator;

constexpr bool isShort(size_t length) { return length - 1 < kLongestShortName; }

static_assert(kWidestCopy == 2 * kTwoVectors);

// How half of that is copied, at any address. Where vectors are so wide, one of them does it.
// Elsewhere g++ 12 would copy such a vector through the stack, and with them it would use two for
// memcpy.
struct WideVectors {
  static void copyHalfWide(char *to, const char *from) { copyTwoVectors(to, from); }
};
struct AnyVectors {
  static void copyHalfWide(char *to, const char *from) { std::memcpy(to, from, kWidestCopy / 2); }
};

template <typename Vectors>
inline void copyWide(char *to, const char *from) {
  Vectors::copyHalfWide(to, from);
  Vectors::copyHalfWide(to + kWidestCopy / 2, from + kWidestCopy / 2);
}

// Reads and writes less than 64 bytes too far. Returns where the copy ends.
inline char *copyLong(char *to, const char *from, size_t length) {
  for (size_t i = 0; i < length; i += kWidestCopy) copyWide<AnyVectors>(to + i, from + i);
  return to + length;
}

// By vectors: g++ 12 would take a string instruction for memset, which is slow to begin.
inline void clearWide(char *to) {
  for (size_t i = 0; i < kWidestCopy; i += kVectorSize) storeVector(to + i, Vector{});
}

// Above any bit if there is none.
constexpr size_t firstOf(uint64_t window) {
  // On machines of 32 bits, compilers call a function for more.
  if constexpr (sizeof(size_t) < sizeof window) {
    const auto low = static_cast<uint32_t>(window);
    const auto high = static_cast<uint32_t>(window >> 32);
    return static_cast<size_t>(low != 0 ? std::countr_zero(low) : 32 + std::countr_zero(high));
  }
  return static_cast<size_t>(std::countr_zero(window));
}
constexpr uint64_t withoutFirst(uint64_t window) { return window & (window - 1); }

// A text or a value that ends in one window of the index. Its references are named ones. The bits
// of their ampersands, and of white space that strict reading changes, count from the beginning of
// the window.
struct ShortRun {
  const char *begin;
  const char *end;  // null if there is no such run
  const char *windowBegin;
  uint64_t decoded;

  size_t length() const { return static_cast<size_t>(end - begin); }
};

// What stands for one other character in a document: a named reference, or white space that strict
// reading changes.
struct Replaced {
  char character;
  size_t length;
};

inline Replaced referenceAt(const char *found) {
  const NamedReference *reference = namedReferenceAt(found);
  return {reference->character, reference->length};
}

// Only texts end in '<'.
inline Replaced whitespaceAt(const char *found, const char *runEnd) {
  const bool isLineEnd = *found == '\r' && found[1] == '\n';
  return {*runEnd == '<' ? '\n' : ' ', size_t{isLineEnd ? 2U : 1U}};
}

// Writes up to 64 bytes past the end of the string. Returns its length. What is replaced is not
// shorter than its character; the bytes that remain are zero.
template <bool isStrict, typename Vectors>
size_t copyDecoded(char *string, const ShortRun &run) {
  const char *from = run.begin;
  char *to = string;
  for (uint64_t left = run.decoded; left != 0; left = withoutFirst(left)) {
    const char *found = run.windowBegin + firstOf(left);
    if (isStrict && found < from) continue;  // the second byte of a line end
    const bool isReference = !isStrict || *found == '&';
    const Replaced replaced = isReference ? referenceAt(found) : whitespaceAt(found, run.end);
    copyWide<Vectors>(to, from);
    to += found - from;
    *to++ = replaced.character;
    from = found + replaced.length;
  }
  copyWide<Vectors>(to, from);
  to += run.end - from;
  clearWide(to);
  return static_cast<size_t>(to - string);
}

// Into a string that was allocated together with others, with its terminator. Writes up to 64 bytes
// past the end of the string.
template <bool isStrict, typename Vectors>
size_t copyShort(char *string, const ShortRun &run) {
  if (run.decoded != 0) [[unlikely]] {
    return copyDecoded<isStrict, Vectors>(string, run);
  }
  copyWide<Vectors>(string, run.begin);
  string[run.length()] = '\0';
  return run.length();
}

}  // namespace neb::xml::internal
