// The kernel of machines with AVX2: a shuffle and a comparison find each byte of a set.
#include "kernels/kernel.h"

#if defined(__x86_64__)

#include <immintrin.h>

#include "kernels/byte_sets.h"

namespace neb::xml::internal {

namespace {

constexpr size_t kVectorSize = 32;
constexpr size_t kLowHalves = 16;

// For each low half of a byte the one byte of a set that ends so; else one that ends otherwise.
struct alignas(kLowHalves) ShuffleTable {
  uint8_t bytes[kLowHalves];
  ByteSet found;

  // Of bytes with the same low half the table takes the first.
  explicit constexpr ShuffleTable(const ByteSet &set) : bytes() {
    for (size_t i = 0; i < kLowHalves; ++i) bytes[i] = static_cast<uint8_t>(~i);
    for (size_t byte = kAsciiBytes; byte-- > 0;) {
      if (set.holds(byte)) bytes[byte % kLowHalves] = static_cast<uint8_t>(byte);
    }
    for (size_t i = 0; i < kLowHalves; ++i) {
      if (bytes[i] % kLowHalves == i) found.add(bytes[i]);
    }
  }
};

constexpr bool isWhole(const ShuffleTable &table, const ByteSet &set) {
  return set.without(table.found).isEmpty();
}

constexpr ByteSet kOtherNameEndBytes = kNameEndBytes.without(kWhitespaceBytes);
constexpr ShuffleTable kWhitespaceTable(kWhitespaceBytes);
constexpr ShuffleTable kTextEndTable(kTextEndBytes);
constexpr ShuffleTable kValueEndTable(kValueEndBytes);
constexpr ShuffleTable kNameEndTable(kOtherNameEndBytes);
constexpr ByteSet kMoreNameEndBytes = kOtherNameEndBytes.without(kNameEndTable.found);
constexpr ShuffleTable kMoreNameEndTable(kMoreNameEndBytes);
static_assert(isWhole(kWhitespaceTable, kWhitespaceBytes));
static_assert(isWhole(kTextEndTable, kTextEndBytes) && isWhole(kValueEndTable, kValueEndBytes));
static_assert(isWhole(kMoreNameEndTable, kMoreNameEndBytes), "names need a third table");

[[gnu::target("avx2")]] inline __m256i load(const ShuffleTable &table) {
  return _mm256_broadcastsi128_si256(
      _mm_load_si128(reinterpret_cast<const __m128i *>(table.bytes)));
}

// A shuffle gives zero for bytes from 0x80 on.
[[gnu::target("avx2")]] inline __m256i findIn(__m256i table, __m256i bytes) {
  return _mm256_cmpeq_epi8(_mm256_shuffle_epi8(table, bytes), bytes);
}

[[gnu::target("avx2")]] inline __m256i findIn(__m256i table, __m256i other, __m256i bytes) {
  return _mm256_or_si256(findIn(table, bytes), findIn(other, bytes));
}

[[gnu::target("avx2")]] inline uint64_t bitsOf(__m256i first, __m256i second) {
  const auto low = static_cast<uint32_t>(_mm256_movemask_epi8(first));
  const auto high = static_cast<uint32_t>(_mm256_movemask_epi8(second));
  return low | uint64_t{high} << kVectorSize;
}

[[gnu::target("avx2")]] void indexByAvx2(const char *bytes, size_t words, size_t firstWord,
                                         IndexWords &index) {
  const __m256i whitespaces = load(kWhitespaceTable);
  const __m256i textEnds = load(kTextEndTable);
  const __m256i valueEnds = load(kValueEndTable);
  const __m256i nameEnds = load(kNameEndTable);
  const __m256i moreNameEnds = load(kMoreNameEndTable);
  for (size_t word = firstWord; word < firstWord + words; ++word) {
    const __m256i first = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(bytes));
    const __m256i second =
        _mm256_loadu_si256(reinterpret_cast<const __m256i *>(bytes + kVectorSize));
    bytes += kBytesPerWord;
    const uint64_t whitespace = bitsOf(findIn(whitespaces, first), findIn(whitespaces, second));
    const uint64_t endsName =
        bitsOf(findIn(nameEnds, moreNameEnds, first), findIn(nameEnds, moreNameEnds, second));
    index[kNameEnds][word] = whitespace | endsName;
    index[kValueEnds][word] = bitsOf(findIn(valueEnds, first), findIn(valueEnds, second));
    index[kTextEnds][word] = bitsOf(findIn(textEnds, first), findIn(textEnds, second));
    index[kNonWhitespace][word] = ~whitespace;
  }
}

}  // namespace

constinit const Kernel kAvx2Kernel = {"avx2", indexByAvx2, true};

}  // namespace neb::xml::internal

#endif
