// The kernels of the structural index. For each byte of a document they compute one bit for each
// question of the parser, for 64 bytes at a time.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/compiler.h"

namespace neb::xml::internal {

// The bytes that answer them are in byte_sets.h. A kernel may find more ends of names, at bytes
// that are not in usual names. For strict reading, it may find control characters that XML refuses.
enum Question : uint8_t { kNameEnds, kValueEnds, kTextEnds, kNonWhitespace, kQuestions };

inline constexpr size_t kBytesPerWord = 64;
inline constexpr size_t kIndexWords = 64;

// Bit i of a word belongs to byte i of 64, the lowest bit to the first byte, on every machine. The
// caller clears the last word: a window may begin in the byte before it.
using IndexWords = uint64_t[kQuestions][kIndexWords + 1];

// Reads 64 bytes for each of so many words, and writes them from firstWord on. It reads and writes
// nothing else. The number of words may be 0.
using IndexKernel = void (*)(const char *bytes, size_t words, size_t firstWord, IndexWords &index);

// Whether bytes are UTF-8 of characters that XML allows. Reads nothing from the end on.
using CharacterKernel = bool (*)(const char *from, const char *end);

struct Kernel {
  const char *name;
  IndexKernel index;
  IndexKernel strictIndex;  // by the sets of strict reading
  CharacterKernel areAllowed;
  // Needs AVX2, BMI and BMI2. The parser is compiled a second time for machines that have them.
  bool isWide;
};

extern const Kernel kPortableKernel;
#if defined(NEB_XML_TARGETS)
extern const Kernel kAvx2Kernel;
#endif
#if defined(NEB_XML_SSE2)
extern const Kernel kSse2Kernel;
#elif defined(__AARCH64EL__) && defined(__ARM_NEON)
extern const Kernel kNeonKernel;
#endif

}  // namespace neb::xml::internal
