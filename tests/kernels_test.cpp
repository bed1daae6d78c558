// Each kernel of the structural index answers what a look at each single byte does.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <string>
#include <string_view>

#include "support/kernels.h"
#include "support/page_edge.h"

namespace {

using namespace std::string_view_literals;
using namespace neb::xml::internal;

constexpr std::string_view kEnds[] = {"\0\"'&<\t\n\r !/:=>?]"sv, "\0\"'&<"sv, "\0&<"sv};
constexpr std::string_view kWhitespace = "\t\n\r ";
// Those of the sets, and some that differ from one of them in a bit or in the low half alone.
constexpr std::string_view kRelated =
    "\0\"'&<\t\n\r !/:=>?]\x01\v\f#%()*+-.;@MPZ[_`ajmz|}\x7F\x80\x89\xA0\xA6\xBC\xFF"sv;
constexpr uint64_t kUnwritten = 0xA5A5'A5A5'A5A5'A5A5;

bool isAnswer(size_t question, char byte) {
  const bool isEnd = question < std::size(kEnds);
  return isEnd == ((isEnd ? kEnds[question] : kWhitespace).find(byte) != std::string_view::npos);
}

uint64_t wordOf(size_t question, std::string_view bytes) {
  uint64_t word = 0;
  for (size_t i = 0; i < bytes.size(); ++i) word |= uint64_t{isAnswer(question, bytes[i])} << i;
  return word;
}

void expectIndex(std::string_view bytes, size_t firstWord) {
  IndexWords index;
  for (auto &words : index) std::fill(std::begin(words), std::end(words), kUnwritten);
  const size_t words = bytes.size() / kBytesPerWord;
  chosenKernel().index(bytes.data(), words, firstWord, index);
  for (size_t question = 0; question < kQuestions; ++question) {
    for (size_t word = 0; word < std::size(index[question]); ++word) {
      const bool isWritten = word >= firstWord && word < firstWord + words;
      const size_t offset = isWritten ? (word - firstWord) * kBytesPerWord : 0;
      ASSERT_EQ(index[question][word],
                isWritten ? wordOf(question, bytes.substr(offset, kBytesPerWord)) : kUnwritten)
          << "question " << question << ", word " << word << ", first " << firstWord;
    }
  }
}

using Kernels = EachKernel;

// With pages that cannot be read before and behind the bytes.
TEST_P(Kernels, AnswerForEachByte) {
  const guarded::PageEdge edge(kIndexWords * kBytesPerWord);
  std::mt19937 random(17);
  for (int round = 0; round < 400; ++round) {
    const size_t words = round % 4 == 0 ? kIndexWords : random() % (kIndexWords + 1);
    const size_t firstWord = random() % (kIndexWords - words + 1);
    std::string bytes(words * kBytesPerWord, '\0');
    for (char &byte : bytes) {
      byte = round % 2 == 0 ? static_cast<char>(random()) : kRelated[random() % kRelated.size()];
    }
    expectIndex({edge.before(bytes), bytes.size()}, firstWord);
    expectIndex({edge.behind(bytes), bytes.size()}, firstWord);
  }
}

TEST_P(Kernels, AreForcedOrTheBestIsChosen) {
  EXPECT_EQ(&chosenKernel(), GetParam());
  forceKernelForTests(nullptr);
  const auto kernels = builtKernels();
  const auto best = std::find_if(kernels.begin(), kernels.end(),
                                 [](const auto *kernel) { return canRun(*kernel); });
  EXPECT_EQ(&chosenKernel(), *best);
}

INSTANTIATE_TEST_SUITE_P(Kernels, Kernels, allKernels(), nameOfKernel);

}  // namespace
