#include "xml_parser_map.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#define NEB_XML_HAS_AVX2 1
#else
#define NEB_XML_HAS_AVX2 0
#endif

namespace {

// A byte's classes, chosen so that each is one set of low halves for one high half.
enum ByteClass : uint8_t {
  kNul = 1,         // 0x00
  kControl = 2,     // tab, line feed, carriage return
  kSpace = 4,       // space
  kQuote = 8,       // " and '
  kAmpersand = 16,  // &
  kSlash = 32,      // ! /
  kLess = 64,       // <
  kPunct = 128,     // : = > ?
};

constexpr uint8_t kOfValueEnds = kNul | kQuote | kAmpersand | kLess;
constexpr uint8_t kOfTextEnds = kNul | kAmpersand | kLess;
constexpr uint8_t kOfBlanks = kControl | kSpace;

constexpr std::array<uint8_t, 256> makeClasses() {
  std::array<uint8_t, 256> classes = {};
  const auto assign = [&classes](const char *bytes, uint8_t byteClass) {
    for (; *bytes != '\0'; ++bytes) classes[static_cast<uint8_t>(*bytes)] = byteClass;
  };
  classes[0] = kNul;
  assign("\t\n\r", kControl);
  assign(" ", kSpace);
  assign("\"'", kQuote);
  assign("&", kAmpersand);
  assign("!/", kSlash);
  assign("<", kLess);
  assign(":=>?", kPunct);
  return classes;
}

constexpr std::array<uint8_t, 256> kClasses = makeClasses();

void mapByByte(const char *text, size_t words, size_t firstWord, MarkupMap::Words &maps) {
  for (size_t word = firstWord; word < firstWord + words; ++word) {
    uint64_t bits[MarkupMap::kKinds] = {};
    for (size_t i = 0; i < MarkupMap::kWordBits; ++i) {
      const uint8_t byteClass = kClasses[static_cast<uint8_t>(*text++)];
      bits[MarkupMap::kNameEnds] |= uint64_t{byteClass != 0} << i;
      bits[MarkupMap::kValueEnds] |= uint64_t{(byteClass & kOfValueEnds) != 0} << i;
      bits[MarkupMap::kTextEnds] |= uint64_t{(byteClass & kOfTextEnds) != 0} << i;
      bits[MarkupMap::kNonBlanks] |= uint64_t{(byteClass & kOfBlanks) == 0} << i;
    }
    for (size_t kind = 0; kind < MarkupMap::kKinds; ++kind) maps[kind][word] = bits[kind];
  }
}

#if NEB_XML_HAS_AVX2

constexpr size_t kHalfWord = 32;

// The classes that a byte's low or high half leaves possible; a byte has those of both.
struct HalfTables {
  alignas(16) uint8_t low[16];
  alignas(16) uint8_t high[16];
};

constexpr HalfTables makeHalfTables() {
  HalfTables tables = {};
  for (size_t byte = 0; byte < kClasses.size(); ++byte) {
    tables.low[byte % 16] |= kClasses[byte];
    tables.high[byte / 16] |= kClasses[byte];
  }
  return tables;
}

constexpr HalfTables kHalfTables = makeHalfTables();

// One class may stand for several bytes only where no other byte combines their halves.
constexpr bool halfTablesAreExact() {
  for (size_t byte = 0; byte < kClasses.size(); ++byte) {
    if ((kHalfTables.low[byte % 16] & kHalfTables.high[byte / 16]) != kClasses[byte]) return false;
  }
  return true;
}
static_assert(halfTablesAreExact());

__attribute__((target("avx2"))) inline __m256i loadTable(const uint8_t (&table)[16]) {
  return _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i *>(table)));
}

__attribute__((target("avx2"))) inline uint32_t bitsWithout(__m256i classes, uint8_t wanted) {
  const __m256i found = _mm256_and_si256(classes, _mm256_set1_epi8(static_cast<char>(wanted)));
  return static_cast<uint32_t>(
      _mm256_movemask_epi8(_mm256_cmpeq_epi8(found, _mm256_setzero_si256())));
}

__attribute__((target("avx2"))) void mapByVector(const char *text, size_t words, size_t firstWord,
                                                 MarkupMap::Words &maps) {
  const __m256i low = loadTable(kHalfTables.low);
  const __m256i high = loadTable(kHalfTables.high);
  const __m256i halfMask = _mm256_set1_epi8(0x0F);
  for (size_t word = firstWord; word < firstWord + words; ++word) {
    uint64_t bits[MarkupMap::kKinds] = {};
    for (size_t shift = 0; shift < MarkupMap::kWordBits; shift += kHalfWord) {
      const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(text));
      text += kHalfWord;
      const __m256i highHalf = _mm256_and_si256(_mm256_srli_epi16(bytes, 4), halfMask);
      const __m256i classes =
          _mm256_and_si256(_mm256_shuffle_epi8(low, _mm256_and_si256(bytes, halfMask)),
                           _mm256_shuffle_epi8(high, highHalf));
      bits[MarkupMap::kNameEnds] |= uint64_t{~bitsWithout(classes, 0xFF)} << shift;
      bits[MarkupMap::kValueEnds] |= uint64_t{~bitsWithout(classes, kOfValueEnds)} << shift;
      bits[MarkupMap::kTextEnds] |= uint64_t{~bitsWithout(classes, kOfTextEnds)} << shift;
      bits[MarkupMap::kNonBlanks] |= uint64_t{bitsWithout(classes, kOfBlanks)} << shift;
    }
    for (size_t kind = 0; kind < MarkupMap::kKinds; ++kind) maps[kind][word] = bits[kind];
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

MarkupMap::MarkupMap(const char *text) : textEnd_(text + std::strlen(text)) {
  for (size_t kind = 0; kind < kKinds; ++kind) maps_[kind][kWords] = 0;
  mapStretch(text);
}

void MarkupMap::mapStretch(const char *from) {
  const auto left = static_cast<size_t>(textEnd_ - from);
  const size_t wholeWords = left / kWordBits < kWords ? left / kWordBits : kWords;
  const Mapper mapper = g_mapper.load(std::memory_order_relaxed);
  mapper(from, wholeWords, 0, maps_);
  if (wholeWords < kWords) {
    // The last bytes and the terminator, in a copy that ends in more of them.
    char tail[kWordBits] = {};
    std::memcpy(tail, from + wholeWords * kWordBits, left - wholeWords * kWordBits);
    mapper(tail, 1, wholeWords, maps_);
  }
  stretch_ = from;
  windowsEnd_ = std::min(kStretchBits, left > kReach ? left - kReach : 0);
}

const char *MarkupMap::search(Kind kind, const char *from) {
  for (;;) {
    auto offset = static_cast<size_t>(from - stretch_);
    if (offset >= kStretchBits) {
      mapStretch(from);
      offset = 0;
    }
    const size_t word = offset / kWordBits;
    const uint64_t bits = maps_[kind][word] >> (offset % kWordBits);
    if (bits != 0) return from + std::countr_zero(bits);
    from = stretch_ + (word + 1) * kWordBits;
  }
}
