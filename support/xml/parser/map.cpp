#include "parser/map.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <string_view>

#if defined(__x86_64__)
#include <immintrin.h>

#define NEB_XML_HAS_AVX2 1
#else
#define NEB_XML_HAS_AVX2 0
#endif

namespace neb::xml::internal {

namespace {

// The bytes of each map. Two bytes of a set differ in their low halves, so that a vector finds them
// by one shuffle and one comparison.
constexpr std::string_view kValueEndBytes("\0\"&'<", 5);
constexpr std::string_view kTextEndBytes("\0&<", 3);
constexpr std::string_view kBlankBytes = "\t\n\r ";
// Names end at these, and at white space.
constexpr std::string_view kNameEndBytes("\0!\"&'/:<=>", 10);
constexpr std::string_view kMoreNameEndBytes = "?]";

constexpr bool isIn(std::string_view bytes, uint8_t byte) {
  return bytes.find(static_cast<char>(byte)) != std::string_view::npos;
}

// The maps that each byte is in, one bit for each.
constexpr std::array<uint8_t, 256> makeKinds() {
  std::array<uint8_t, 256> kinds = {};
  for (size_t i = 0; i < kinds.size(); ++i) {
    const auto byte = static_cast<uint8_t>(i);
    const bool isBlank = isIn(kBlankBytes, byte);
    const bool endsName = isBlank || isIn(kNameEndBytes, byte) || isIn(kMoreNameEndBytes, byte);
    kinds[i] = static_cast<uint8_t>(
        endsName << MarkupMap::kNameEnds | isIn(kValueEndBytes, byte) << MarkupMap::kValueEnds |
        isIn(kTextEndBytes, byte) << MarkupMap::kTextEnds | !isBlank << MarkupMap::kNonBlanks);
  }
  return kinds;
}

constexpr std::array<uint8_t, 256> kKindsOfBytes = makeKinds();

void mapByByte(const char *text, size_t words, size_t firstWord, MarkupMap::Words &maps) {
  for (size_t word = firstWord; word < firstWord + words; ++word) {
    uint64_t bits[MarkupMap::kKinds] = {};
    for (size_t i = 0; i < MarkupMap::kWordBits; ++i) {
      const uint8_t kinds = kKindsOfBytes[static_cast<uint8_t>(*text++)];
      for (size_t kind = 0; kind < MarkupMap::kKinds; ++kind) {
        bits[kind] |= uint64_t{(kinds >> kind & 1) != 0} << i;
      }
    }
    for (size_t kind = 0; kind < MarkupMap::kKinds; ++kind) maps[kind][word] = bits[kind];
  }
}

#if NEB_XML_HAS_AVX2

constexpr size_t kHalfWord = 32;
constexpr uint8_t kHalfByte = 16;

// For each low half of a byte the byte of a set that ends so; else one that ends otherwise.
struct alignas(kHalfByte) SetTable {
  uint8_t bytes[kHalfByte];

  explicit constexpr SetTable(std::string_view set) : bytes() {
    for (uint8_t &byte : bytes) byte = UINT8_MAX;
    bytes[kHalfByte - 1] = 0;
    for (const char byte : set)
      bytes[static_cast<uint8_t>(byte) % kHalfByte] = static_cast<uint8_t>(byte);
  }

  constexpr bool isExactFor(std::string_view set) const {
    for (size_t byte = 0; byte <= INT8_MAX; ++byte) {
      if ((bytes[byte % kHalfByte] == byte) != isIn(set, static_cast<uint8_t>(byte))) return false;
    }
    return true;
  }
};

constexpr SetTable kValueEndTable(kValueEndBytes);
constexpr SetTable kTextEndTable(kTextEndBytes);
constexpr SetTable kBlankTable(kBlankBytes);
constexpr SetTable kNameEndTable(kNameEndBytes);
constexpr SetTable kMoreNameEndTable(kMoreNameEndBytes);
static_assert(kValueEndTable.isExactFor(kValueEndBytes) && kTextEndTable.isExactFor(kTextEndBytes));
static_assert(kBlankTable.isExactFor(kBlankBytes) && kNameEndTable.isExactFor(kNameEndBytes));
static_assert(kMoreNameEndTable.isExactFor(kMoreNameEndBytes));

__attribute__((target("avx2"))) inline __m256i loadTable(const SetTable &table) {
  return _mm256_broadcastsi128_si256(
      _mm_load_si128(reinterpret_cast<const __m128i *>(table.bytes)));
}

// A shuffle gives zero for bytes from 0x80 on.
__attribute__((target("avx2"))) inline __m256i findIn(__m256i table, __m256i bytes) {
  return _mm256_cmpeq_epi8(_mm256_shuffle_epi8(table, bytes), bytes);
}

// Half a word of a map; this machine has the lower half first.
__attribute__((target("avx2"))) inline void storeBits(uint64_t *map, size_t half, __m256i found) {
  const auto bits = static_cast<uint32_t>(_mm256_movemask_epi8(found));
  std::memcpy(reinterpret_cast<char *>(map) + half * sizeof bits, &bits, sizeof bits);
}

__attribute__((target("avx2"))) void mapByVector(const char *text, size_t words, size_t firstWord,
                                                 MarkupMap::Words &maps) {
  const __m256i valueEnds = loadTable(kValueEndTable);
  const __m256i textEnds = loadTable(kTextEndTable);
  const __m256i blanks = loadTable(kBlankTable);
  const __m256i nameEnds = loadTable(kNameEndTable);
  const __m256i moreNameEnds = loadTable(kMoreNameEndTable);
  const __m256i all = _mm256_set1_epi8(-1);
  for (size_t half = 2 * firstWord; half < 2 * (firstWord + words); ++half) {
    const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(text));
    text += kHalfWord;
    const __m256i blank = findIn(blanks, bytes);
    const __m256i endsName = _mm256_or_si256(
        blank, _mm256_or_si256(findIn(nameEnds, bytes), findIn(moreNameEnds, bytes)));
    storeBits(maps[MarkupMap::kNameEnds], half, endsName);
    storeBits(maps[MarkupMap::kValueEnds], half, findIn(valueEnds, bytes));
    storeBits(maps[MarkupMap::kTextEnds], half, findIn(textEnds, bytes));
    storeBits(maps[MarkupMap::kNonBlanks], half, _mm256_xor_si256(blank, all));
  }
}

#endif

void mapByBest(const char *text, size_t words, size_t firstWord, MarkupMap::Words &maps);

// Becomes the best mapper at the first stretch.
constinit std::atomic<MarkupMap::Mapper> g_mapper{mapByBest};

void mapByBest(const char *text, size_t words, size_t firstWord, MarkupMap::Words &maps) {
  const MarkupMap::Mapper vector = MarkupMap::vectorMapper();
  const MarkupMap::Mapper best = vector != nullptr ? vector : MarkupMap::scalarMapper();
  g_mapper.store(best, std::memory_order_relaxed);
  best(text, words, firstWord, maps);
}

}  // namespace

MarkupMap::Mapper MarkupMap::scalarMapper() { return mapByByte; }

MarkupMap::Mapper MarkupMap::vectorMapper() {
#if NEB_XML_HAS_AVX2
  // The parser itself is built for the same machines, see NEB_XML_WIDE_MACHINE.
  const bool isWide = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
                      __builtin_cpu_supports("bmi2");
  if (isWide) return mapByVector;
#endif
  return nullptr;
}

void MarkupMap::use(Mapper mapper) { g_mapper.store(mapper, std::memory_order_relaxed); }

bool MarkupMap::usesVectors() {
#if NEB_XML_HAS_AVX2
  return g_mapper.load(std::memory_order_relaxed) == mapByVector;
#else
  return false;
#endif
}

MarkupMap::MarkupMap(const char *text, size_t length, size_t zerosBehind)
    : textEnd_(text + length), zerosBehind_(zerosBehind) {
  mapStretch(text, kWords);
}

void MarkupMap::mapStretch(const char *from, size_t words) {
  const auto left = static_cast<size_t>(textEnd_ - from);
  const size_t readable = left + zerosBehind_;
  const size_t wholeWords = std::min(words, readable / kWordBits);
  const Mapper mapper = g_mapper.load(std::memory_order_relaxed);
  mapper(from, wholeWords, 0, maps_);
  if (wholeWords < words && wholeWords * kWordBits <= left) {
    // The last bytes and the terminator, in a copy that ends in more of them.
    char tail[kWordBits] = {};
    std::memcpy(tail, from + wholeWords * kWordBits, left - wholeWords * kWordBits);
    mapper(tail, 1, wholeWords, maps_);
  }
  for (size_t kind = 0; kind < kKinds; ++kind) maps_[kind][words] = 0;
  stretch_ = from;
  mappedBits_ = words * kWordBits;
  windowsEnd_ = std::min(mappedBits_, readable > kReach ? readable - kReach : 0);
}

const char *MarkupMap::searchStretch(Kind kind, const char *from) const {
  const auto offset = static_cast<size_t>(from - stretch_);
  uint64_t above = UINT64_MAX << (offset % kWordBits);
  for (size_t word = offset / kWordBits; word < mappedBits_ / kWordBits; ++word) {
    const uint64_t bits = maps_[kind][word] & above;
    if (bits != 0) return stretch_ + word * kWordBits + std::countr_zero(bits);
    above = UINT64_MAX;
  }
  return nullptr;
}

const char *MarkupMap::search(Kind kind, const char *from) {
  // Far behind the stretch a long run has ended, and there may be little before the next one.
  constexpr size_t kFar = kStretchBits / 2;
  constexpr size_t kFewWords = kWords / 8;
  const bool isFar = static_cast<size_t>(from - stretch_) >= mappedBits_ + kFar;
  size_t words = isFar ? kFewWords : kWords;
  for (const char *begin = std::max(from, stretch_ + mappedBits_);; begin += mappedBits_) {
    mapStretch(begin, words);
    if (const char *found = searchStretch(kind, begin)) return found;
    words = kWords;
  }
}

MarkupMap::Run MarkupMap::searchRun(const char *from, char last, bool isPlain) const {
  const auto findOrEnd = [](const char *begin, const char *end, char byte) {
    const void *found = std::memchr(begin, byte, static_cast<size_t>(end - begin));
    return found != nullptr ? static_cast<const char *>(found) : end;
  };
  const char *end = findOrEnd(from, textEnd_, last);
  const auto holds = [=](char byte) { return byte != last && findOrEnd(from, end, byte) != end; };
  return {end, isPlain && !holds('&') && !holds('<')};
}

}  // namespace neb::xml::internal
