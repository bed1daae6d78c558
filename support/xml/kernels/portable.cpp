// The kernel of all other machines: a table answers all questions of a byte at once.
#include <bit>
#include <cstring>

#include "kernels/byte_sets.h"
#include "kernels/character_check.h"
#include "kernels/kernel.h"

namespace neb::xml::internal {

namespace {

// The answers for eight bytes lie in one number, in a lane of eight bits for each question. Numbers
// of 32 bits are fast on small machines too.
constexpr size_t kLaneBits = 8;
static_assert(kLaneBits * kQuestions == 32);

struct AnswersOfBytes {
  uint32_t answers[kByteValues];

  constexpr AnswersOfBytes(const ByteSet &nameEnds, const ByteSet &valueEnds,
                           const ByteSet &textEnds)
      : answers() {
    for (size_t byte = 0; byte < kByteValues; ++byte) {
      answers[byte] = lane(nameEnds.holds(byte), kNameEnds) |
                      lane(valueEnds.holds(byte), kValueEnds) |
                      lane(textEnds.holds(byte), kTextEnds) |
                      lane(!kWhitespaceBytes.holds(byte), kNonWhitespace);
    }
  }

 private:
  static constexpr uint32_t lane(bool answer, Question question) {
    return uint32_t{answer} << question * kLaneBits;
  }
};

constexpr AnswersOfBytes kLenientAnswers(kNameEndBytes, kValueEndBytes, kTextEndBytes);
constexpr AnswersOfBytes kStrictAnswers(kStrictNameEndBytes, kStrictValueEndBytes,
                                        kStrictTextEndBytes);

// From the last byte to the first, so that each makes room for the next. Written out, since not
// every compiler unrolls a loop.
inline uint32_t answersOf(const AnswersOfBytes &answersOfBytes, const char *bytes) {
  const auto of = [&](size_t i) { return answersOfBytes.answers[static_cast<uint8_t>(bytes[i])]; };
  const uint32_t last = ((of(7) << 1 | of(6)) << 1 | of(5)) << 1 | of(4);
  return (((last << 1 | of(3)) << 1 | of(2)) << 1 | of(1)) << 1 | of(0);
}

// The lane of a question becomes one byte of its word.
inline void storeLanes(uint32_t answers, size_t lane, size_t word, IndexWords &index) {
  const size_t byte = std::endian::native == std::endian::little ? lane : 7 - lane;
  const auto store = [&](Question question) {
    const auto bits = static_cast<uint8_t>(answers >> question * kLaneBits);
    std::memcpy(reinterpret_cast<char *>(&index[question][word]) + byte, &bits, sizeof bits);
  };
  store(kNameEnds);
  store(kValueEnds);
  store(kTextEnds);
  store(kNonWhitespace);
}

template <const AnswersOfBytes &answersOfBytes>
void indexByTable(const char *bytes, size_t words, size_t firstWord, IndexWords &index) {
  for (size_t word = firstWord; word < firstWord + words; ++word) {
    for (size_t lane = 0; lane < kBytesPerWord / kLaneBits; ++lane) {
      storeLanes(answersOf(answersOfBytes, bytes), lane, word, index);
      bytes += kLaneBits;
    }
  }
}

struct OtherBytes {
  uint8_t areOther[kByteValues] = {};

  constexpr OtherBytes() {
    for (size_t byte = 0; byte < kByteValues; ++byte) {
      areOther[byte] = static_cast<uint8_t>(!kAllowedAscii.holds(byte));
    }
  }
};
constexpr OtherBytes kOtherBytes;

struct SearchByTable {
  static constexpr size_t kStride = 8;

  static uint32_t findOther(const char *bytes) {
    const auto isOther = [&](size_t i) {
      return kOtherBytes.areOther[static_cast<uint8_t>(bytes[i])];
    };
    const int anyOther = isOther(0) | isOther(1) | isOther(2) | isOther(3) | isOther(4) |
                         isOther(5) | isOther(6) | isOther(7);
    if (anyOther == 0) return 0;
    size_t first = 0;
    while (isOther(first) == 0) ++first;
    return uint32_t{1} << first;
  }
};

}  // namespace

constinit const Kernel kPortableKernel = {"portable", indexByTable<kLenientAnswers>,
                                          indexByTable<kStrictAnswers>,
                                          CharactersBy<SearchByTable>::areAllowed, false};

}  // namespace neb::xml::internal
