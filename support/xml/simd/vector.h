// Sixteen bytes at once, at any address, on every machine.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "simd/vector_types.h"

#if defined(NEB_XML_SSE2)
#include <emmintrin.h>
#endif

namespace neb::xml::internal {

inline Vector loadVector(const void *from) {
  Vector bytes;
  std::memcpy(&bytes, from, kVectorSize);
  return bytes;
}

// Fewer bytes than a vector has, and zeros behind them.
inline Vector loadFirst(const char *from, size_t count) {
  Vector bytes = {};
  if constexpr (platform::kIsSmall || std::endian::native != std::endian::little) {
    std::memcpy(&bytes, from, count);
    return bytes;
  }
  // Two loads that overlap, whatever the count; the branch of a loop could not be predicted.
  const auto load = [from]<typename Word>(size_t at, Word) {
    Word word = 0;
    std::memcpy(&word, from + at, sizeof word);
    return uint64_t{word};
  };
  uint64_t words[2] = {};
  if (count >= sizeof(uint64_t)) {
    words[0] = load(0, uint64_t{});
    // In two steps, since with eight bytes all of them go.
    words[1] = load(count - sizeof(uint64_t), uint64_t{}) >> 1 >> (8 * (kVectorSize - count) - 1);
  } else if (count >= sizeof(uint32_t)) {
    const size_t last = count - sizeof(uint32_t);
    words[0] = load(0, uint32_t{}) | load(last, uint32_t{}) << 8 * last;
  } else if (count > 0) {
    const size_t middle = count / 2;
    const size_t last = count - 1;
    words[0] = load(0, uint8_t{}) | load(middle, uint8_t{}) << 8 * middle |
               load(last, uint8_t{}) << 8 * last;
  }
  return std::bit_cast<Vector>(Words{words[0], words[1]});
}

inline void storeVector(void *to, Vector bytes) { std::memcpy(to, &bytes, kVectorSize); }

// Copies a string without its terminator, with whole vectors that may be written up to a vector too
// far; returns where it ends.
inline char *copyString(char *to, const char *from, size_t length) {
  if constexpr (platform::kIsSmall) {
    std::memcpy(to, from, length);
    return to + length;
  }
  if (length < kVectorSize) {
    storeVector(to, loadFirst(from, length));
    return to + length;
  }
  const size_t last = length - kVectorSize;
  for (size_t i = 0; i < last; i += kVectorSize) storeVector(to + i, loadVector(from + i));
  storeVector(to + last, loadVector(from + last));
  return to + length;
}

// Copies up to two vectors and not a byte more. Both ends are read before anything is written, so
// source and destination may overlap.
inline void moveShort(char *to, const char *from, size_t length) {
  if constexpr (platform::kIsSmall) {
    std::memmove(to, from, length);
    return;
  }
  const auto move = [=]<typename Word>(Word first, Word last) {
    const size_t at = length - sizeof(Word);
    std::memcpy(&first, from, sizeof first);
    std::memcpy(&last, from + at, sizeof last);
    std::memcpy(to, &first, sizeof first);
    std::memcpy(to + at, &last, sizeof last);
  };
  if (length >= kVectorSize) return move(Vector{}, Vector{});
  if (length >= sizeof(uint64_t)) return move(uint64_t{}, uint64_t{});
  if (length >= sizeof(uint32_t)) return move(uint32_t{}, uint32_t{});
  if (length >= sizeof(uint16_t)) return move(uint16_t{}, uint16_t{});
  if (length != 0) *to = *from;
}

// A string of one to sixteen bytes as the two words that it begins and ends with. Of one to eight
// bytes both words are the whole string, with zeros behind. Two loads, which may overlap, read it
// without a branch on its length. The second ends at the last byte of the string. They may read up
// to seven bytes before the string, which must be readable, and never behind it.
struct ShortString {
  uint64_t first;
  uint64_t last;
  size_t lastAt;

  static constexpr bool isLengthOfOne(size_t length) {
    return !platform::kIsSmall && length - 1 < kVectorSize;
  }

  ShortString(const char *string, size_t length) {
    constexpr size_t kWord = sizeof(uint64_t);
    const size_t begun = std::min(length, kWord);
    lastAt = length - begun;
    first = load(string + begun - kWord, kWord - begun);
    last = load(string + length - kWord, kWord - begun);
  }

  // Writes up to a word too far.
  char *copyTo(char *to, size_t length) const {
    std::memcpy(to, &first, sizeof first);
    std::memcpy(to + lastAt, &last, sizeof last);
    return to + length;
  }

  Vector bytes() const { return std::bit_cast<Vector>(Words{first, last}); }

 private:
  static uint64_t load(const char *from, size_t bytesBefore) {
    uint64_t word = 0;
    std::memcpy(&word, from, sizeof word);
    const size_t bits = 8 * bytesBefore;
    return std::endian::native == std::endian::little ? word >> bits : word << bits;
  }
};

// One bit for each byte that is found; those bytes are all ones, the others zero.
inline uint64_t bitsOf(Vector found) {
#if defined(NEB_XML_SSE2)
  return static_cast<uint32_t>(_mm_movemask_epi8(std::bit_cast<__m128i>(found)));
#else
  // A product moves the lowest bit of each byte into the highest byte, in the order of the bytes.
  constexpr bool kIsLittle = std::endian::native == std::endian::little;
  constexpr uint64_t kLowest = 0x0101010101010101;
  constexpr uint64_t kGather = kIsLittle ? 0x0102040810204080 : 0x8040201008040201;
  const auto words = std::bit_cast<Words>(found);
  return ((words[0] & kLowest) * kGather >> 56) | ((words[1] & kLowest) * kGather >> 56) << 8;
#endif
}

// The number of bytes before the first that is found.
inline size_t countBeforeFound(Vector found) {
  return static_cast<size_t>(std::countr_zero(bitsOf(found) | uint64_t{1} << kVectorSize));
}

#if defined(NEB_XML_SSE2)
// One bit for each byte that differs. There is no instruction that finds those.
inline uint32_t differences(Vector a, Vector b) {
  constexpr uint32_t kAll = (uint32_t{1} << kVectorSize) - 1;
  return static_cast<uint32_t>(_mm_movemask_epi8(std::bit_cast<__m128i>(a == b))) ^ kAll;
}
#else
// The first bytes of a word, one at least, or the last ones; zeros instead of the others.
template <bool areFirst>
inline uint64_t onlyBytes(uint64_t word, size_t count) {
  const size_t others = 64 - 8 * count;
  const bool isLeft = areFirst == (std::endian::native == std::endian::little);
  return isLeft ? word << others : word >> others;
}

template <bool areFirst>
inline bool areAlike(Vector a, Vector b, size_t count) {
  constexpr size_t kWord = sizeof(uint64_t);
  const auto differing = std::bit_cast<Words>(a ^ b);
  const uint64_t whole = differing[areFirst ? 0 : 1];
  if (count <= kWord) return onlyBytes<areFirst>(whole, count) == 0;
  return (whole | onlyBytes<areFirst>(differing[areFirst ? 1 : 0], count - kWord)) == 0;
}
#endif

// Whether two vectors are the same in so many of their first bytes, one at least.
inline bool beginAlike(Vector a, Vector b, size_t count) {
#if defined(NEB_XML_SSE2)
  return (differences(a, b) & ((uint32_t{1} << count) - 1)) == 0;
#else
  return areAlike<true>(a, b, count);
#endif
}

// Whether two vectors are the same in so many of their last bytes, one at least.
inline bool endAlike(Vector a, Vector b, size_t count) {
#if defined(NEB_XML_SSE2)
  return differences(a, b) >> (kVectorSize - count) == 0;
#else
  return areAlike<false>(a, b, count);
#endif
}

}  // namespace neb::xml::internal
