// The kernel of machines with AVX2: a shuffle and a comparison find each byte of a set.
#include "kernels/avx2_characters.h"
#include "kernels/kernel.h"

#if defined(NEB_XML_TARGETS)

#include <immintrin.h>

#include "kernels/byte_sets.h"
#include "platform/compiler.h"

namespace neb::xml::internal {

namespace {

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

NEB_XML_TARGET("avx2") inline __m256i load(const ShuffleTable &table) {
  return _mm256_broadcastsi128_si256(
      _mm_load_si128(reinterpret_cast<const __m128i *>(table.bytes)));
}

// A shuffle gives zero for bytes from 0x80 on.
NEB_XML_TARGET("avx2") inline __m256i findIn(__m256i table, __m256i bytes) {
  return _mm256_cmpeq_epi8(_mm256_shuffle_epi8(table, bytes), bytes);
}

NEB_XML_TARGET("avx2") inline __m256i findIn(__m256i table, __m256i other, __m256i bytes) {
  return _mm256_or_si256(findIn(table, bytes), findIn(other, bytes));
}

NEB_XML_TARGET("avx2") inline uint64_t wideBitsOf(__m256i first, __m256i second) {
  const auto low = static_cast<uint32_t>(_mm256_movemask_epi8(first));
  const auto high = static_cast<uint32_t>(_mm256_movemask_epi8(second));
  return low | uint64_t{high} << kWideVectorSize;
}

// Of any set with few different rows: a row is the set of bytes with one high half, and has a bit
// of its own.
struct alignas(kLowHalves) NibbleTables {
  uint8_t low[kLowHalves] = {};
  uint8_t high[kLowHalves] = {};
  size_t rows = 0;

  explicit constexpr NibbleTables(const ByteSet &set) {
    for (size_t row = 0; row < kLowHalves; ++row) addRow(set, row);
  }

 private:
  static constexpr uint16_t bytesOf(const ByteSet &set, size_t row) {
    uint16_t bytes = 0;
    for (size_t i = 0; i < kLowHalves; ++i) {
      if (set.holds(row * kLowHalves + i)) bytes = static_cast<uint16_t>(bytes | 1U << i);
    }
    return bytes;
  }

  constexpr void addRow(const ByteSet &set, size_t row) {
    const uint16_t bytes = bytesOf(set, row);
    for (size_t earlier = 0; earlier < row; ++earlier) {
      if (bytesOf(set, earlier) == bytes) {
        high[row] = high[earlier];
        return;
      }
    }
    const auto bit = static_cast<uint8_t>(1U << rows++);
    high[row] = bit;
    for (size_t i = 0; i < kLowHalves; ++i) {
      if ((bytes >> i & 1) != 0) low[i] = static_cast<uint8_t>(low[i] | bit);
    }
  }
};

constexpr NibbleTables kStrictNameEndTables(kStrictNameEndBytes);
static_assert(kStrictNameEndTables.rows <= 8);
constexpr ShuffleTable kStrictValueEndTable(kStrictValueEndBytes);
static_assert(isWhole(kStrictValueEndTable, kStrictValueEndBytes));
constexpr ByteSet kMostStrictTextEndBytes = kStrictTextEndBytes.without(ByteSet("]"));
constexpr ShuffleTable kStrictTextEndTable(kMostStrictTextEndBytes);
static_assert(isWhole(kStrictTextEndTable, kMostStrictTextEndBytes));

NEB_XML_TARGET("avx2") inline __m256i loadHalves(const uint8_t (&table)[kLowHalves]) {
  return _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i *>(table)));
}

// All ones for the bytes that are in no row of theirs.
NEB_XML_TARGET("avx2") inline __m256i findOutside(__m256i low, __m256i high, __m256i bytes) {
  const __m256i halves = _mm256_set1_epi8(0x0F);
  const __m256i lowHalf = _mm256_and_si256(bytes, halves);
  const __m256i highHalf = _mm256_and_si256(_mm256_srli_epi16(bytes, 4), halves);
  const __m256i rows =
      _mm256_and_si256(_mm256_shuffle_epi8(low, lowHalf), _mm256_shuffle_epi8(high, highHalf));
  return _mm256_cmpeq_epi8(rows, _mm256_setzero_si256());
}

NEB_XML_TARGET("avx2") inline __m256i findStrictTextEnds(__m256i table, __m256i bytes) {
  return _mm256_or_si256(findIn(table, bytes), _mm256_cmpeq_epi8(bytes, _mm256_set1_epi8(']')));
}

NEB_XML_TARGET("avx2")
void indexStrictlyByAvx2(const char *bytes, size_t words, size_t firstWord, IndexWords &index) {
  const __m256i whitespaces = load(kWhitespaceTable);
  const __m256i textEnds = load(kStrictTextEndTable);
  const __m256i valueEnds = load(kStrictValueEndTable);
  const __m256i nameLows = loadHalves(kStrictNameEndTables.low);
  const __m256i nameHighs = loadHalves(kStrictNameEndTables.high);
  for (size_t word = firstWord; word < firstWord + words; ++word) {
    const __m256i first = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(bytes));
    const __m256i second =
        _mm256_loadu_si256(reinterpret_cast<const __m256i *>(bytes + kWideVectorSize));
    bytes += kBytesPerWord;
    index[kNameEnds][word] = ~wideBitsOf(findOutside(nameLows, nameHighs, first),
                                         findOutside(nameLows, nameHighs, second));
    index[kValueEnds][word] = wideBitsOf(findIn(valueEnds, first), findIn(valueEnds, second));
    index[kTextEnds][word] =
        wideBitsOf(findStrictTextEnds(textEnds, first), findStrictTextEnds(textEnds, second));
    index[kNonWhitespace][word] =
        ~wideBitsOf(findIn(whitespaces, first), findIn(whitespaces, second));
  }
}

NEB_XML_TARGET("avx2")
void indexByAvx2(const char *bytes, size_t words, size_t firstWord, IndexWords &index) {
  const __m256i whitespaces = load(kWhitespaceTable);
  const __m256i textEnds = load(kTextEndTable);
  const __m256i valueEnds = load(kValueEndTable);
  const __m256i nameEnds = load(kNameEndTable);
  const __m256i moreNameEnds = load(kMoreNameEndTable);
  for (size_t word = firstWord; word < firstWord + words; ++word) {
    const __m256i first = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(bytes));
    const __m256i second =
        _mm256_loadu_si256(reinterpret_cast<const __m256i *>(bytes + kWideVectorSize));
    bytes += kBytesPerWord;
    const uint64_t whitespace = wideBitsOf(findIn(whitespaces, first), findIn(whitespaces, second));
    const uint64_t endsName =
        wideBitsOf(findIn(nameEnds, moreNameEnds, first), findIn(nameEnds, moreNameEnds, second));
    index[kNameEnds][word] = whitespace | endsName;
    index[kValueEnds][word] = wideBitsOf(findIn(valueEnds, first), findIn(valueEnds, second));
    index[kTextEnds][word] = wideBitsOf(findIn(textEnds, first), findIn(textEnds, second));
    index[kNonWhitespace][word] = ~whitespace;
  }
}

}  // namespace

constinit const Kernel kAvx2Kernel = {"avx2", indexByAvx2, indexStrictlyByAvx2, areAllowedByAvx2,
                                      true};

}  // namespace neb::xml::internal

#endif
