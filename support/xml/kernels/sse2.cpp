// The kernel of every x86-64 machine: comparisons find the bytes of a set, several at once where
// they differ in one bit or two.
#include "kernels/kernel.h"

#if defined(NEB_XML_X86_64)

#include <utility>

#include "kernels/byte_sets.h"
#include "simd/vector.h"

namespace neb::xml::internal {

namespace {

constexpr size_t kByteBits = 8;

// The bytes that are equal to one where the mask has ones.
struct MaskedByte {
  uint8_t byte;
  uint8_t mask;

  constexpr bool matches(size_t other) const { return (other & mask) == byte; }
};

// How many of the bytes that are left match; 0 if a byte outside of the set does.
constexpr size_t countMatches(MaskedByte pattern, const ByteSet &set, const ByteSet &left) {
  size_t matches = 0;
  for (size_t byte = 0; byte < kByteValues; ++byte) {
    if (!pattern.matches(byte)) continue;
    if (!set.holds(byte)) return 0;
    if (left.holds(byte)) ++matches;
  }
  return matches;
}

// The pattern around a byte that matches most of what is left.
constexpr MaskedByte widestPattern(size_t byte, const ByteSet &set, const ByteSet &left) {
  MaskedByte widest = {static_cast<uint8_t>(byte), UINT8_MAX};
  size_t most = 1;
  for (size_t first = 0; first < kByteBits; ++first) {
    for (size_t second = first; second < kByteBits; ++second) {
      const auto mask = static_cast<uint8_t>(~(1U << first | 1U << second));
      const MaskedByte pattern = {static_cast<uint8_t>(byte & mask), mask};
      const size_t matches = countMatches(pattern, set, left);
      if (matches <= most) continue;
      widest = pattern;
      most = matches;
    }
  }
  return widest;
}

// Together they match each byte that is needed and none outside of the set.
struct Patterns {
  MaskedByte patterns[kVectorSize] = {};
  size_t count = 0;

  constexpr Patterns(const ByteSet &set, const ByteSet &needed) {
    ByteSet left = needed;
    for (size_t byte = 0; byte < kByteValues; ++byte) {
      if (!left.holds(byte)) continue;
      patterns[count] = widestPattern(byte, set, left);
      left = left.without(matchesOf(patterns[count++]));
    }
  }

 private:
  static constexpr ByteSet matchesOf(MaskedByte pattern) {
    ByteSet matches;
    for (size_t byte = 0; byte < kByteValues; ++byte) {
      if (pattern.matches(byte)) matches.add(byte);
    }
    return matches;
  }
};

// Each set contains the sets before it, so only the added bytes are searched. White space is a set
// of its own.
constexpr Patterns kWhitespace(kWhitespaceBytes, kWhitespaceBytes);
constexpr Patterns kTexts(kTextEndBytes, kTextEndBytes);
constexpr Patterns kValues(kValueEndBytes, kValueEndBytes.without(kTextEndBytes));
constexpr Patterns kNames(kNameEndBytes,
                          kNameEndBytes.without(kValueEndBytes).without(kWhitespaceBytes));

inline __m128i findPattern(MaskedByte pattern, __m128i bytes) {
  const __m128i byte = _mm_set1_epi8(static_cast<char>(pattern.byte));
  if (pattern.mask == UINT8_MAX) return _mm_cmpeq_epi8(bytes, byte);
  const __m128i mask = _mm_set1_epi8(static_cast<char>(pattern.mask));
  return _mm_cmpeq_epi8(_mm_and_si128(bytes, mask), byte);
}

template <const Patterns &set>
inline __m128i findIn(__m128i bytes) {
  return [bytes]<size_t... i>(std::index_sequence<i...>) {
    __m128i found = _mm_setzero_si128();
    ((found = _mm_or_si128(found, findPattern(set.patterns[i], bytes))), ...);
    return found;
  }
  (std::make_index_sequence<set.count>());
}

// For strict reading, the bytes that texts and values have in common come first.
constexpr ByteSet kCommonStrictBytes = kTextEndBytes.with(ByteSet("\r"));
constexpr Patterns kCommonStrict(kCommonStrictBytes, kCommonStrictBytes);
constexpr Patterns kStrictTexts(kStrictTextEndBytes,
                                kStrictTextEndBytes.without(kCommonStrictBytes));
constexpr Patterns kStrictValues(kStrictValueEndBytes,
                                 kStrictValueEndBytes.without(kCommonStrictBytes));

inline __m128i isFrom(char first, char last, __m128i bytes) {
  const __m128i above = _mm_sub_epi8(bytes, _mm_set1_epi8(first));
  const __m128i most = _mm_set1_epi8(static_cast<char>(last - first));
  return _mm_cmpeq_epi8(_mm_min_epu8(above, most), above);
}

// What does not end a name in strict reading.
inline __m128i findInStrictNames(__m128i bytes) {
  const __m128i isLetter = isFrom('a', 'z', _mm_or_si128(bytes, _mm_set1_epi8('a' ^ 'A')));
  const __m128i isSlash = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('/'));
  const __m128i isOther = _mm_andnot_si128(isSlash, isFrom('-', '9', bytes));
  const __m128i isUnderscore = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('_'));
  return _mm_or_si128(isLetter, _mm_or_si128(isOther, isUnderscore));
}

inline uint64_t topBitsOf(__m128i found) { return static_cast<uint64_t>(_mm_movemask_epi8(found)); }

void indexBySse2(const char *bytes, size_t words, size_t firstWord, IndexWords &index) {
  for (size_t word = firstWord; word < firstWord + words; ++word) {
    uint64_t nameEnds = 0;
    uint64_t valueEnds = 0;
    uint64_t textEnds = 0;
    uint64_t whitespaces = 0;
    for (size_t i = 0; i < kBytesPerWord; i += kVectorSize) {
      const __m128i vector = _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes + i));
      const __m128i whitespace = findIn<kWhitespace>(vector);
      const __m128i endsText = findIn<kTexts>(vector);
      const __m128i endsValue = _mm_or_si128(endsText, findIn<kValues>(vector));
      const __m128i endsName =
          _mm_or_si128(_mm_or_si128(whitespace, endsValue), findIn<kNames>(vector));
      nameEnds |= topBitsOf(endsName) << i;
      valueEnds |= topBitsOf(endsValue) << i;
      textEnds |= topBitsOf(endsText) << i;
      whitespaces |= topBitsOf(whitespace) << i;
    }
    bytes += kBytesPerWord;
    index[kNameEnds][word] = nameEnds;
    index[kValueEnds][word] = valueEnds;
    index[kTextEnds][word] = textEnds;
    index[kNonWhitespace][word] = ~whitespaces;
  }
}

void indexStrictlyBySse2(const char *bytes, size_t words, size_t firstWord, IndexWords &index) {
  for (size_t word = firstWord; word < firstWord + words; ++word) {
    uint64_t inNames = 0;
    uint64_t valueEnds = 0;
    uint64_t textEnds = 0;
    uint64_t whitespaces = 0;
    for (size_t i = 0; i < kBytesPerWord; i += kVectorSize) {
      const __m128i vector = _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes + i));
      const __m128i common = findIn<kCommonStrict>(vector);
      inNames |= topBitsOf(findInStrictNames(vector)) << i;
      valueEnds |= topBitsOf(_mm_or_si128(common, findIn<kStrictValues>(vector))) << i;
      textEnds |= topBitsOf(_mm_or_si128(common, findIn<kStrictTexts>(vector))) << i;
      whitespaces |= topBitsOf(findIn<kWhitespace>(vector)) << i;
    }
    bytes += kBytesPerWord;
    index[kNameEnds][word] = ~inNames;
    index[kValueEnds][word] = valueEnds;
    index[kTextEnds][word] = textEnds;
    index[kNonWhitespace][word] = ~whitespaces;
  }
}

}  // namespace

constinit const Kernel kSse2Kernel = {"sse2", indexBySse2, indexStrictlyBySse2, areAllowedByVector,
                                      false};

}  // namespace neb::xml::internal

#endif
