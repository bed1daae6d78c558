// The kernel of every x86-64 machine, and of other x86 machines with SSE2: comparisons find the
// ranges of bytes that a set consists of.
#include "kernels/kernel.h"

#if defined(NEB_XML_SSE2)

#include <cstring>
#include <utility>

#include "kernels/byte_sets.h"
#include "kernels/vector_search.h"
#include "simd/vector.h"

namespace neb::xml::internal {

namespace {

struct Range {
  uint8_t first;
  uint8_t last;
};

// Ranges that hold all bytes of one set, and of others only those that may be in them. The fewer
// ranges, the faster they are found.
struct Ranges {
  Range ranges[kVectorSize] = {};
  size_t count = 0;

  constexpr Ranges(const ByteSet &set, const ByteSet &others) {
    for (size_t byte = 0; byte < kByteValues; ++byte) {
      if (!set.holds(byte)) continue;
      size_t last = byte;
      for (size_t next = byte + 1; set.holds(next) || others.holds(next); ++next) {
        if (set.holds(next)) last = next;
      }
      ranges[count++] = {static_cast<uint8_t>(byte), static_cast<uint8_t>(last)};
      byte = last;
    }
  }
};

inline Vector find(Range range, Vector bytes) {
  if (range.first == range.last) return bytes == range.first;
  if (range.first == 0) return bytes <= range.last;
  return findRange(range.first, range.last, bytes);
}

template <const Ranges &ranges>
inline Vector findIn(Vector bytes) {
  return [bytes]<size_t... i>(std::index_sequence<i...>) {
    return (find(ranges.ranges[i], bytes) | ...);
  }
  (std::make_index_sequence<ranges.count>());
}

constexpr ByteSet kNone;

// The tokenizer reads names that contain other bytes than those of usual names.
constexpr ByteSet kUnusualInNames = [] {
  ByteSet bytes;
  for (size_t byte = 0; byte < kAsciiBytes; ++byte) {
    if (kStrictNameEndBytes.holds(byte)) bytes.add(byte);
  }
  return bytes;
}();

// Each set contains the sets before it, so only the added bytes are searched.
constexpr Ranges kWhitespace(kWhitespaceBytes, kNone);
constexpr Ranges kTexts(kTextEndBytes, kNone);
constexpr Ranges kValues(kValueEndBytes.without(kTextEndBytes), kNone);
constexpr Ranges kNames(kNameEndBytes, kUnusualInNames);

// Control characters that strict reading refuses may be in any set.
constexpr ByteSet kRefused = [] {
  ByteSet bytes;
  for (size_t byte = 1; byte < ' '; ++byte) {
    if (!kWhitespaceBytes.holds(byte)) bytes.add(byte);
  }
  return bytes;
}();

// For strict reading, the bytes that texts and values have in common come first.
constexpr Ranges kStrictWhitespace(kWhitespaceBytes, kRefused);
constexpr Ranges kCommonStrict(kTextEndBytes, kNone);
constexpr Ranges kStrictTexts(kStrictTextEndBytes.without(kTextEndBytes), kNone);
constexpr Ranges kStrictValues(kStrictValueEndBytes.without(ByteSet("&<")), kRefused);
constexpr Ranges kOthersInNames(ByteSet("-.0123456789_"), kNone);

// What does not end a name in strict reading.
inline Vector findInStrictNames(Vector bytes) {
  const Vector isLetter = findRange('a', 'z', bytes | uint8_t{'a' ^ 'A'});
  return isLetter | findIn<kOthersInNames>(bytes);
}

// The bits of one vector are a part of a word.
inline void store(Vector found, size_t part, uint64_t (&words)[kIndexWords + 1]) {
  const auto bits = static_cast<uint16_t>(bitsOf(found));
  std::memcpy(reinterpret_cast<char *>(words) + part * sizeof bits, &bits, sizeof bits);
}

constexpr size_t kPartsOfWord = kBytesPerWord / kVectorSize;

struct Lenient {
  static void index(Vector bytes, size_t part, IndexWords &index) {
    const Vector endsText = findIn<kTexts>(bytes);
    store(endsText, part, index[kTextEnds]);
    store(endsText | findIn<kValues>(bytes), part, index[kValueEnds]);
    store(findIn<kNames>(bytes), part, index[kNameEnds]);
    store(~findIn<kWhitespace>(bytes), part, index[kNonWhitespace]);
  }
};

struct Strict {
  static void index(Vector bytes, size_t part, IndexWords &index) {
    const Vector common = findIn<kCommonStrict>(bytes);
    store(common | findIn<kStrictTexts>(bytes), part, index[kTextEnds]);
    store(common | findIn<kStrictValues>(bytes), part, index[kValueEnds]);
    store(~findInStrictNames(bytes), part, index[kNameEnds]);
    store(findRange('!', '\0', bytes), part, index[kNonWhitespace]);
  }
};

template <typename Language>
void indexBySse2(const char *bytes, size_t words, size_t firstWord, IndexWords &index) {
  const size_t end = (firstWord + words) * kPartsOfWord;
  for (size_t part = firstWord * kPartsOfWord; part < end; ++part) {
    Language::index(loadVector(bytes), part, index);
    bytes += kVectorSize;
  }
}

}  // namespace

constinit const Kernel kSse2Kernel = {"sse2", indexBySse2<Lenient>, indexBySse2<Strict>,
                                      CharactersBy<SearchByVector>::areAllowed, false};

}  // namespace neb::xml::internal

#endif
