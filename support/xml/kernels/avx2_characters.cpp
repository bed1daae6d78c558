// UTF-8 is checked by three table lookups for each byte: by the high and low half of the byte
// before it, and by its own high half. Each table holds a bit for each mistake that its half is
// part of. A mistake is there if all three have its bit. See "Validating UTF-8 In Less Than One
// Instruction Per Byte" by Keiser and Lemire.
#include "kernels/avx2_characters.h"

#include "platform/compiler.h"

#if defined(NEB_XML_TARGETS)

#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kernels/byte_sets.h"

namespace neb::xml::internal {

namespace {

constexpr size_t kStride = 2 * kWideVectorSize;
constexpr size_t kHalves = 16;
constexpr uint8_t kFirstNotAscii = 0x80;

// Two bytes in a row, of which the first begins a character or not.
constexpr uint8_t kTooShort = 1U << 0;             // a character ends too early
constexpr uint8_t kTooLong = 1U << 1;              // a tail behind a byte of ASCII
constexpr uint8_t kOverlong3 = 1U << 2;            // three bytes for what takes two
constexpr uint8_t kTooLarge = 1U << 3;             // above 0x10FFFF
constexpr uint8_t kSurrogate = 1U << 4;            // 0xD800 to 0xDFFF
constexpr uint8_t kOverlong2 = 1U << 5;            // two bytes for what takes one
constexpr uint8_t kTooLargeOrOverlong4 = 1U << 6;  // above 0x13FFFF, or four bytes for three
constexpr uint8_t kTwoTails = 1U << 7;             // right only as third or fourth byte
constexpr uint8_t kAnyLowHalf = kTooShort | kTooLong | kTwoTails;

struct alignas(kHalves) Mistakes {
  uint8_t of[kHalves];
};

constexpr Mistakes kByFirstHigh = {
    {kTooLong, kTooLong, kTooLong, kTooLong, kTooLong, kTooLong, kTooLong, kTooLong, kTwoTails,
     kTwoTails, kTwoTails, kTwoTails, kTooShort | kOverlong2, kTooShort,
     kTooShort | kOverlong3 | kSurrogate, kTooShort | kTooLarge | kTooLargeOrOverlong4}};

constexpr Mistakes makeByFirstLow() {
  Mistakes mistakes = {};
  for (size_t half = 0; half < kHalves; ++half) {
    uint8_t found = kAnyLowHalf;
    if (half == 0) found |= kOverlong3 | kOverlong2 | kTooLargeOrOverlong4;
    if (half == 1) found |= kOverlong2;
    if (half >= 4) found |= kTooLarge;
    if (half >= 5) found |= kTooLargeOrOverlong4;
    if (half == 0xD) found |= kSurrogate;
    mistakes.of[half] = found;
  }
  return mistakes;
}
constexpr Mistakes kByFirstLow = makeByFirstLow();

constexpr Mistakes makeBySecondHigh() {
  constexpr uint8_t kAnyTail = kTooLong | kOverlong2 | kTwoTails;
  Mistakes mistakes = {};
  for (uint8_t &of : mistakes.of) of = kTooShort;
  mistakes.of[0x8] = kAnyTail | kOverlong3 | kTooLargeOrOverlong4;
  mistakes.of[0x9] = kAnyTail | kOverlong3 | kTooLarge;
  mistakes.of[0xA] = kAnyTail | kSurrogate | kTooLarge;
  mistakes.of[0xB] = kAnyTail | kSurrogate | kTooLarge;
  return mistakes;
}
constexpr Mistakes kBySecondHigh = makeBySecondHigh();

NEB_XML_TARGET("avx2") inline __m256i load(const Mistakes &mistakes) {
  return _mm256_broadcastsi128_si256(
      _mm_load_si128(reinterpret_cast<const __m128i *>(mistakes.of)));
}

NEB_XML_TARGET("avx2") inline __m256i filledWith(uint8_t byte) {
  return _mm256_set1_epi8(static_cast<char>(byte));
}

NEB_XML_TARGET("avx2") inline __m256i loadBytes(const char *from) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(from));
}

NEB_XML_TARGET("avx2") inline __m256i highHalfOf(__m256i bytes) {
  return _mm256_and_si256(_mm256_srli_epi16(bytes, 4), filledWith(0x0F));
}

// The bytes so many places before each byte.
template <int count>
NEB_XML_TARGET("avx2")
inline __m256i before(__m256i bytes, __m256i previous) {
  const __m256i across = _mm256_permute2x128_si256(previous, bytes, 0x21);
  return _mm256_alignr_epi8(bytes, across, kHalves - count);
}

NEB_XML_TARGET("avx2") inline __m256i atLeast(__m256i bytes, uint8_t least) {
  return _mm256_cmpeq_epi8(_mm256_subs_epu8(filledWith(least), bytes), _mm256_setzero_si256());
}

// For each low half of a byte the white space that ends so; else a byte that ends otherwise.
constexpr Mistakes makeWhitespaces() {
  Mistakes whitespaces = {};
  for (size_t half = 0; half < kHalves; ++half) whitespaces.of[half] = static_cast<uint8_t>(~half);
  whitespaces.of[0x9] = '\t';
  whitespaces.of[0xA] = '\n';
  whitespaces.of[0xD] = '\r';
  return whitespaces;
}
constexpr Mistakes kWhitespaces = makeWhitespaces();

// All ones for ASCII that is allowed.
NEB_XML_TARGET("avx2") inline __m256i findOrdinary(__m256i bytes) {
  // Other bytes than ASCII are negative.
  const __m256i isPrintable = _mm256_cmpgt_epi8(bytes, filledWith(' ' - 1));
  const __m256i isWhitespace =
      _mm256_cmpeq_epi8(_mm256_shuffle_epi8(load(kWhitespaces), bytes), bytes);
  return _mm256_or_si256(isPrintable, isWhitespace);
}

// Not zero where the bytes are no UTF-8, or are U+FFFE or U+FFFF.
NEB_XML_TARGET("avx2") inline __m256i findMistakes(__m256i bytes, __m256i previous) {
  const __m256i first = before<1>(bytes, previous);
  const __m256i firstHigh = _mm256_shuffle_epi8(load(kByFirstHigh), highHalfOf(first));
  const __m256i firstLow =
      _mm256_shuffle_epi8(load(kByFirstLow), _mm256_and_si256(first, filledWith(0x0F)));
  const __m256i secondHigh = _mm256_shuffle_epi8(load(kBySecondHigh), highHalfOf(bytes));
  const __m256i pairs = _mm256_and_si256(_mm256_and_si256(firstHigh, firstLow), secondHigh);
  const __m256i second = before<2>(bytes, previous);
  const __m256i third = before<3>(bytes, previous);
  // A third or fourth byte has the sign bit here, which is the bit of two tails.
  const __m256i isThird = _mm256_subs_epu8(second, filledWith(0xE0 - 0x80));
  const __m256i isFourth = _mm256_subs_epu8(third, filledWith(0xF0 - 0x80));
  const __m256i isLater =
      _mm256_and_si256(_mm256_or_si256(isThird, isFourth), filledWith(kTwoTails));
  const __m256i isNoncharacter =
      _mm256_and_si256(_mm256_and_si256(_mm256_cmpeq_epi8(second, filledWith(0xEF)),
                                        _mm256_cmpeq_epi8(first, filledWith(0xBF))),
                       atLeast(bytes, 0xBE));
  return _mm256_or_si256(_mm256_xor_si256(isLater, pairs), isNoncharacter);
}

// Goes through a run of bytes, two vectors at a time.
class Check {
 public:
  // Whether all is well so far. A character may be incomplete at the end.
  NEB_XML_TARGET("avx2") bool accepts(const char *from) {
    const __m256i low = loadBytes(from);
    const __m256i high = loadBytes(from + kWideVectorSize);
    const __m256i ordinary = _mm256_and_si256(findOrdinary(low), findOrdinary(high));
    const bool isOrdinary = _mm256_movemask_epi8(ordinary) == -1;
    return (isOrdinary && endsAscii_) || acceptsOther(low, high);
  }

 private:
  // Out of the loop over ASCII, which needs few registers.
  NEB_XML_TARGET("avx2") NEB_XML_NOINLINE bool acceptsOther(__m256i low, __m256i high) {
    const __m256i found = _mm256_or_si256(findMistakes(low, previous_), findMistakes(high, low));
    const __m256i ordinary = _mm256_and_si256(isAllowed(low), isAllowed(high));
    previous_ = high;
    endsAscii_ = _mm256_movemask_epi8(high) >= 0;
    return _mm256_testz_si256(found, found) != 0 && _mm256_movemask_epi8(ordinary) == -1;
  }

  NEB_XML_TARGET("avx2") static __m256i isAllowed(__m256i bytes) {
    return _mm256_or_si256(findOrdinary(bytes), atLeast(bytes, kFirstNotAscii));
  }

  // As long as only ASCII has been seen since, the vector before the last may be older: it ends in
  // ASCII too, so nothing in it goes on.
  __m256i previous_ = {};
  bool endsAscii_ = true;
};

}  // namespace

NEB_XML_TARGET("avx2") bool areAllowedByAvx2(const char *from, const char *end) {
  Check check;
  for (; static_cast<size_t>(end - from) >= kStride; from += kStride) {
    if (!check.accepts(from)) return false;
  }
  // Spaces behind the rest end a character that is not complete.
  alignas(kWideVectorSize) char rest[kStride];
  std::memset(rest, ' ', kStride);
  std::memcpy(rest, from, static_cast<size_t>(end - from));
  return check.accepts(rest);
}

}  // namespace neb::xml::internal

#endif
