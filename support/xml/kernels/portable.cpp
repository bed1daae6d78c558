// The kernel of all other machines: a table answers all questions of a byte at once.
#include "kernels/byte_sets.h"
#include "kernels/kernel.h"

namespace neb::xml::internal {

namespace {

// The answers for sixteen bytes lie in one number, in a lane of sixteen bits for each question.
constexpr size_t kLaneBits = 16;
static_assert(kLaneBits * kQuestions == 64);

struct AnswersOfBytes {
  uint64_t answers[kByteValues];

  constexpr AnswersOfBytes() : answers() {
    for (size_t byte = 0; byte < kByteValues; ++byte) {
      answers[byte] = lane(kNameEndBytes.holds(byte), kNameEnds) |
                      lane(kValueEndBytes.holds(byte), kValueEnds) |
                      lane(kTextEndBytes.holds(byte), kTextEnds) |
                      lane(!kWhitespaceBytes.holds(byte), kNonWhitespace);
    }
  }

 private:
  static constexpr uint64_t lane(bool answer, Question question) {
    return uint64_t{answer} << question * kLaneBits;
  }
};

constexpr AnswersOfBytes kAnswersOfBytes;

inline uint64_t answersOf(const char *bytes) {
  uint64_t answers = 0;
  for (size_t i = 0; i < kLaneBits; ++i) {
    answers |= kAnswersOfBytes.answers[static_cast<uint8_t>(bytes[i])] << i;
  }
  return answers;
}

void indexByTable(const char *bytes, size_t words, size_t firstWord, IndexWords &index) {
  for (size_t word = firstWord; word < firstWord + words; ++word) {
    uint64_t bits[kQuestions] = {};
    for (size_t i = 0; i < kBytesPerWord; i += kLaneBits) {
      const uint64_t answers = answersOf(bytes + i);
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

}  // namespace

constinit const Kernel kPortableKernel = {"portable", indexByTable, false};

}  // namespace neb::xml::internal
