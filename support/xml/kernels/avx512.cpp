// The kernel of machines with AVX-512: as avx2.cpp, with a whole word in one vector.
#include "kernels/kernel.h"

#if defined(__x86_64__)

#include <immintrin.h>

#include "kernels/shuffle_tables.h"

namespace neb::xml::internal {

namespace {

static_assert(kBytesPerWord == sizeof(__m512i));

[[gnu::target("avx512bw")]] inline __m512i load(const ShuffleTable &table) {
  constexpr __mmask16 kAll = UINT16_MAX;  // g++ 12 warns of the form without a mask
  const __m128i bytes = _mm_load_si128(reinterpret_cast<const __m128i *>(table.bytes));
  return _mm512_maskz_broadcast_i32x4(kAll, bytes);
}

// A shuffle gives zero for bytes from 0x80 on.
[[gnu::target("avx512bw")]] inline uint64_t findIn(__m512i table, __m512i bytes) {
  return _mm512_cmpeq_epi8_mask(_mm512_shuffle_epi8(table, bytes), bytes);
}

[[gnu::target("avx512bw")]] void indexByAvx512(const char *bytes, size_t words, size_t firstWord,
                                               IndexWords &index) {
  const __m512i whitespaces = load(kWhitespaceTable);
  const __m512i textEnds = load(kTextEndTable);
  const __m512i valueEnds = load(kValueEndTable);
  const __m512i nameEnds = load(kNameEndTable);
  const __m512i moreNameEnds = load(kMoreNameEndTable);
  for (size_t word = firstWord; word < firstWord + words; ++word) {
    const __m512i vector = _mm512_loadu_si512(bytes);
    bytes += kBytesPerWord;
    const uint64_t whitespace = findIn(whitespaces, vector);
    index[kNameEnds][word] = whitespace | findIn(nameEnds, vector) | findIn(moreNameEnds, vector);
    index[kValueEnds][word] = findIn(valueEnds, vector);
    index[kTextEnds][word] = findIn(textEnds, vector);
    index[kNonWhitespace][word] = ~whitespace;
  }
}

}  // namespace

constinit const Kernel kAvx512Kernel = {"avx512", indexByAvx512, true, true};

}  // namespace neb::xml::internal

#endif
