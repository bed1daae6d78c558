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

struct ByteRange {
  uint8_t first;
  uint8_t last;
};

// Ranges that hold all bytes of one set, and of others only those that may be in them. The fewer
// ranges, the faster they are found.
struct ByteRanges {
  ByteRange ranges[kVectorSize] = {};
  size_t count = 0;

  constexpr ByteRanges(const ByteSet &set, const ByteSet &others) {
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

inline Vector findBytes(ByteRange range, Vector bytes) {
  if (range.first == range.last) return bytes == range.first;
  if (range.first == 0) return bytes <= range.last;
  return findFromTo(range.first, range.last, bytes);
}

template <const ByteRanges &ranges>
inline Vector findIn(Vector bytes) {
  return [bytes]<size_t... i>(std::index_sequence<i...>) {
    return (findBytes(ranges.ranges[i], bytes) | ...);
  }
  (std::make_index_sequence<ranges.count>());
}

constexpr ByteSet kNoOthers;

// The tokenizer reads names that contain other bytes than those of usual names.
constexpr ByteSet kUnusualInNames = [] {
  ByteSet bytes;
  for (size_t byte = 0; byte < kAsciiBytes; ++byte) {
    if (kStrictNameEndBytes.holds(byte)) bytes.add(byte);
  }
  return bytes;
}();

// Each set contains the sets before it, so only the added bytes are searched.
constexpr ByteRanges kWhitespace(kWhitespaceBytes, kNoOthers);
constexpr ByteRanges kTexts(kTextEndBytes, kNoOthers);
constexpr ByteRanges kValues(kValueEndBytes.without(kTextEndBytes), kNoOthers);
constexpr ByteRanges kNames(kNameEndBytes, kUnusualInNames);

// Control characters that strict reading refuses may be in any set.
constexpr ByteSet kRefused = [] {
  ByteSet bytes;
  for (size_t byte = 1; byte < ' '; ++byte) {
    if (!kWhitespaceBytes.holds(byte)) bytes.add(byte);
  }
  return bytes;
}();

// For strict reading, the bytes that texts and values have in common come first.
constexpr ByteRanges kStrictWhitespace(kWhitespaceBytes, kRefused);
constexpr ByteRanges kCommonStrict(kTextEndBytes, kNoOthers);
constexpr ByteRanges kStrictTexts(kStrictTextEndBytes.without(kTextEndBytes), kNoOthers);
constexpr ByteRanges kStrictValues(kStrictValueEndBytes.without(ByteSet("&<")), kRefused);

// What does not end a name in strict reading.
inline Vector findInStrictNames(Vector bytes) {
  const Vector isLetter = findFromTo('a', 'z', bytes | uint8_t{'a' ^ 'A'});
  // The one byte between them that is in no name comes out of the range.
  const Vector isOther = findFromTo('-', '9', bytes) ^ (bytes == uint8_t{'/'});
  return isLetter | isOther | (bytes == uint8_t{'_'});
}

// The bits of one vector are a part of a word.
inline void storeBits(Vector found, size_t part, uint64_t (&words)[kIndexWords + 1]) {
  const auto bits = static_cast<uint16_t>(bitsOf(found));
  std::memcpy(reinterpret_cast<char *>(words) + part * sizeof bits, &bits, sizeof bits);
}

constexpr size_t kPartsOfWord = kBytesPerWord / kVectorSize;

struct Lenient {
  static void index(Vector bytes, size_t part, IndexWords &index) {
    const Vector endsText = findIn<kTexts>(bytes);
    storeBits(endsText, part, index[kTextEnds]);
    storeBits(endsText | findIn<kValues>(bytes), part, index[kValueEnds]);
    storeBits(findIn<kNames>(bytes), part, index[kNameEnds]);
    storeBits(~findIn<kWhitespace>(bytes), part, index[kNonWhitespace]);
  }
};

struct Strict {
  static void index(Vector bytes, size_t part, IndexWords &index) {
    const Vector common = findIn<kCommonStrict>(bytes);
    storeBits(common | findIn<kStrictTexts>(bytes), part, index[kTextEnds]);
    storeBits(common | findIn<kStrictValues>(bytes), part, index[kValueEnds]);
    storeBits(~findInStrictNames(bytes), part, index[kNameEnds]);
    storeBits(~findIn<kStrictWhitespace>(bytes), part, index[kNonWhitespace]);
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
