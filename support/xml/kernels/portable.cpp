// The kernel of all other machines: a table answers all questions of a byte at once.
#include <bit>

#include "characters/utf8.h"
#include "kernels/byte_sets.h"
#include "kernels/kernel.h"
#include "simd/vector.h"

namespace neb::xml::internal {

namespace {

// The answers for sixteen bytes lie in one number, in a lane of sixteen bits for each question.
constexpr size_t kLaneBits = 16;
static_assert(kLaneBits * kQuestions == 64);

struct AnswersOfBytes {
  uint64_t answers[kByteValues];

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
  static constexpr uint64_t lane(bool answer, Question question) {
    return uint64_t{answer} << question * kLaneBits;
  }
};

constexpr AnswersOfBytes kLenientAnswers(kNameEndBytes, kValueEndBytes, kTextEndBytes);
constexpr AnswersOfBytes kStrictAnswers(kStrictNameEndBytes, kStrictValueEndBytes,
                                        kStrictTextEndBytes);

inline uint64_t answersOf(const AnswersOfBytes &answersOfBytes, const char *bytes) {
  uint64_t answers = 0;
  for (size_t i = 0; i < kLaneBits; ++i) {
    answers |= answersOfBytes.answers[static_cast<uint8_t>(bytes[i])] << i;
  }
  return answers;
}

template <const AnswersOfBytes &answersOfBytes>
void indexByTable(const char *bytes, size_t words, size_t firstWord, IndexWords &index) {
  for (size_t word = firstWord; word < firstWord + words; ++word) {
    uint64_t bits[kQuestions] = {};
    for (size_t i = 0; i < kBytesPerWord; i += kLaneBits) {
      const uint64_t answers = answersOf(answersOfBytes, bytes + i);
      for (size_t question = 0; question < kQuestions; ++question) {
        const uint64_t lane = answers >> question * kLaneBits & UINT16_MAX;
        bits[question] |= lane << i;
      }
    }
    bytes += kBytesPerWord;
    for (size_t question = 0; question < kQuestions; ++question) {
      index[question][word] = bits[question];
    }
  }
}

// As signed numbers, bytes beyond ASCII are less than any other.
Vector findAllowedAscii(Vector bytes) {
  constexpr int8_t kLastControl = ' ' - 1;
  const auto isPrinted = std::bit_cast<Vector>(std::bit_cast<SignedVector>(bytes) > kLastControl);
  return isPrinted | (bytes == '\t') | (bytes == '\n') | (bytes == '\r');
}

}  // namespace

void indexStrictlyByTable(const char *bytes, size_t words, size_t firstWord, IndexWords &index) {
  indexByTable<kStrictAnswers>(bytes, words, firstWord, index);
}

bool areAllowedByVector(const char *from, const char *end) {
  // Most texts are ASCII, and what is not comes in words.
  while (static_cast<size_t>(end - from) >= kVectorSize) {
    const uint64_t others = bitsOf(~findAllowedAscii(loadVector(from)));
    from += others == 0 ? kVectorSize : static_cast<size_t>(std::countr_zero(others));
    if (others == 0) continue;
    do {
      const size_t length = characterAt(from, end).length;
      if (length == 0) return false;
      from += length;
    } while (from < end && !isAscii(*from));
  }
  return findForbidden(from, end) == end;
}

constinit const Kernel kPortableKernel = {"portable", indexByTable<kLenientAnswers>,
                                          indexStrictlyByTable, areAllowedByVector, false};

}  // namespace neb::xml::internal
