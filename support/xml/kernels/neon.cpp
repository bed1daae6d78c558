// The kernel of 64-bit ARM machines: a lookup gives all sets that a byte is in.
#include "kernels/kernel.h"

#if defined(__AARCH64EL__) && defined(__ARM_NEON)

#include <arm_neon.h>

#include "kernels/byte_sets.h"
#include "kernels/vector_search.h"
#include "simd/vector.h"

namespace neb::xml::internal {

namespace {

// A lookup reaches half of the table. The other bytes are in no set.
constexpr size_t kHalfTable = 64;
static_assert(2 * kHalfTable == kAsciiBytes);

enum Set : uint8_t { kNameEnd = 1, kValueEnd = 2, kTextEnd = 4, kWhitespace = 8 };

struct SetsOfBytes {
  uint8_t sets[kAsciiBytes];
  bool endsNamesBeyondAscii;

  constexpr SetsOfBytes(const ByteSet &nameEnds, const ByteSet &valueEnds, const ByteSet &textEnds)
      : sets(), endsNamesBeyondAscii(nameEnds.holds(kAsciiBytes)) {
    for (size_t byte = 0; byte < kAsciiBytes; ++byte) {
      sets[byte] = static_cast<uint8_t>(
          nameEnds.holds(byte) * kNameEnd | valueEnds.holds(byte) * kValueEnd |
          textEnds.holds(byte) * kTextEnd | kWhitespaceBytes.holds(byte) * kWhitespace);
    }
  }
};

constexpr SetsOfBytes kLenientSets(kNameEndBytes, kValueEndBytes, kTextEndBytes);
constexpr SetsOfBytes kStrictSets(kStrictNameEndBytes, kStrictValueEndBytes, kStrictTextEndBytes);

// What lies beyond a table gives zero in the first lookup, and stays as it is in the second.
inline uint8x16_t setsOf(const uint8x16x4_t &low, const uint8x16x4_t &high, uint8x16_t bytes) {
  const uint8x16_t fromLow = vqtbl4q_u8(low, bytes);
  return vqtbx4q_u8(fromLow, high, veorq_u8(bytes, vdupq_n_u8(kHalfTable)));
}

// The bits of bytes that are in a set: each keeps the bit of its number, and sums join them.
inline uint64_t bitsOfSet(const uint8x16x4_t &sets, Set set) {
  const uint8x16_t numbers = vreinterpretq_u8_u64(vdupq_n_u64(0x8040201008040201));
  const auto find = [=](uint8x16_t vector) {
    return vandq_u8(vtstq_u8(vector, vdupq_n_u8(set)), numbers);
  };
  const uint8x16_t first = vpaddq_u8(find(sets.val[0]), find(sets.val[1]));
  const uint8x16_t second = vpaddq_u8(find(sets.val[2]), find(sets.val[3]));
  const uint8x16_t sums = vpaddq_u8(first, second);
  return vgetq_lane_u64(vreinterpretq_u64_u8(vpaddq_u8(sums, sums)), 0);
}

template <const SetsOfBytes &setsOfBytes>
void indexByNeon(const char *bytes, size_t words, size_t firstWord, IndexWords &index) {
  const uint8x16x4_t low = vld1q_u8_x4(setsOfBytes.sets);
  const uint8x16x4_t high = vld1q_u8_x4(setsOfBytes.sets + kHalfTable);
  for (size_t word = firstWord; word < firstWord + words; ++word) {
    uint8x16x4_t sets;
    for (uint8x16_t &vector : sets.val) {
      const uint8x16_t loaded = vld1q_u8(reinterpret_cast<const uint8_t *>(bytes));
      vector = setsOf(low, high, loaded);
      // A byte beyond ASCII is in none of the tables' sets: its highest bit becomes that set.
      static_assert(kNameEnd == 1);
      if (setsOfBytes.endsNamesBeyondAscii) vector = vsraq_n_u8(vector, loaded, 7);
      bytes += kVectorSize;
    }
    index[kNameEnds][word] = bitsOfSet(sets, kNameEnd);
    index[kValueEnds][word] = bitsOfSet(sets, kValueEnd);
    index[kTextEnds][word] = bitsOfSet(sets, kTextEnd);
    index[kNonWhitespace][word] = ~bitsOfSet(sets, kWhitespace);
  }
}

}  // namespace

constinit const Kernel kNeonKernel = {"neon", indexByNeon<kLenientSets>, indexByNeon<kStrictSets>,
                                      CharactersBy<SearchByVector>::areAllowed, false};

}  // namespace neb::xml::internal

#endif
