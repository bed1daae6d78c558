// Each kernel of the structural index answers what a look at each single byte does.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <string>
#include <string_view>

#include "neb_xml.h"
#include "support/kernels.h"
#include "support/page_edge.h"
#include "xml/characters/utf8.h"

namespace {

using namespace std::string_view_literals;
using namespace neb::xml::internal;

constexpr std::string_view kEnds[] = {"\0\"'&<\t\n\r !/:=>?]"sv, "\0\"'&<"sv, "\0&<"sv};
constexpr std::string_view kWhitespace = "\t\n\r ";
// Those of the sets, and some that differ from one of them in a bit or in the low half alone.
constexpr std::string_view kRelated =
    "\0\"'&<\t\n\r !/:=>?]\x01\v\f#%()*+-.;@MPZ[_`ajmz|}\x7F\x80\x89\xA0\xA6\xBC\xFF"sv;
constexpr uint64_t kUnwritten = 0xA5A5'A5A5'A5A5'A5A5;

// Of strict reading; names end where no ASCII of a name is.
constexpr std::string_view kInNames =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-.";
constexpr std::string_view kStrictEnds[] = {kInNames, "\0\"'&<\t\n\r"sv, "\0&<\r]"sv};

bool isAnswer(size_t question, char byte, bool isStrict) {
  const bool isEnd = question < std::size(kEnds);
  const auto &ends = isStrict ? kStrictEnds : kEnds;
  const bool isInverted = !isEnd || (isStrict && question == kNameEnds);
  const bool isFound = (isEnd ? ends[question] : kWhitespace).find(byte) != std::string_view::npos;
  return isFound != isInverted;
}

// Names may end at more bytes in lenient reading. In strict reading, what is refused may be
// anything.
bool isAnyAnswer(size_t question, char byte, bool isStrict) {
  const auto code = static_cast<unsigned char>(byte);
  if (isStrict) return code - 1U < 0x1F && kWhitespace.find(byte) == std::string_view::npos;
  return question == kNameEnds && code < 0x80 && kInNames.find(byte) == std::string_view::npos &&
         !isAnswer(question, byte, isStrict);
}

template <typename IsSet>
uint64_t wordOf(std::string_view bytes, IsSet isSet) {
  uint64_t word = 0;
  for (size_t i = 0; i < bytes.size(); ++i) word |= uint64_t{isSet(bytes[i])} << i;
  return word;
}

void expectWord(uint64_t word, size_t question, std::string_view bytes, bool isStrict) {
  const uint64_t wanted =
      wordOf(bytes, [&](char byte) { return isAnswer(question, byte, isStrict); });
  const uint64_t any =
      wordOf(bytes, [&](char byte) { return isAnyAnswer(question, byte, isStrict); });
  ASSERT_EQ(word & ~any, wanted & ~any) << "question " << question << " of " << bytes;
}

void expectIndex(std::string_view bytes, size_t firstWord, bool isStrict) {
  IndexWords index;
  for (auto &words : index) std::fill(std::begin(words), std::end(words), kUnwritten);
  const size_t words = bytes.size() / kBytesPerWord;
  const IndexKernel kernel = isStrict ? chosenKernel().strictIndex : chosenKernel().index;
  kernel(bytes.data(), words, firstWord, index);
  for (size_t question = 0; question < kQuestions; ++question) {
    for (size_t word = 0; word < std::size(index[question]); ++word) {
      if (word < firstWord || word >= firstWord + words) {
        ASSERT_EQ(index[question][word], kUnwritten) << "word " << word << " of " << firstWord;
        continue;
      }
      const size_t offset = (word - firstWord) * kBytesPerWord;
      expectWord(index[question][word], question, bytes.substr(offset, kBytesPerWord), isStrict);
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
    for (const bool isStrict : {false, true}) {
      expectIndex({edge.before(bytes), bytes.size()}, firstWord, isStrict);
      expectIndex({edge.behind(bytes), bytes.size()}, firstWord, isStrict);
    }
  }
}

// Text of any mixture, with a mistake or without.
TEST_P(Kernels, FindForbiddenCharacters) {
  constexpr std::string_view kRight[] = {"a",  "\xC3\xA9", "\xE2\x82\xAC",     "\xF0\x9F\x98\x80",
                                         "\n", " ",        "sixteen letters.", "\x7F"};
  constexpr std::string_view kWrong[] = {
      "\xEF\xBF\xBE", "\xEF\xBF\xBF",     "\xC3",     "\xE2\x82",     "\xF0\x9F\x98",
      "\x80",         "\xED\xA0\x80",     "\xC0\x80", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF",
      "\x1F",         "\xF4\x90\x80\x80", "\xFF",     "\0"sv};
  const guarded::PageEdge edge(4096);
  std::mt19937 random(17);
  std::string text;
  size_t mostly = 0;
  const auto append = [&](size_t count) {
    for (; count > 0; --count) {
      text += kRight[random() % 3 != 0 ? mostly : random() % std::size(kRight)];
    }
  };
  for (int round = 0; round < 20000; ++round) {
    text.clear();
    mostly = random() % std::size(kRight);
    append(random() % 140);
    const bool isWrong = round % 2 != 0;
    const size_t wrongAt = text.size();
    if (isWrong) text += kWrong[random() % std::size(kWrong)];
    if (isWrong && random() % 2 == 0) append(random() % 70);
    const char *begin = edge.before(text);
    const char *end = begin + text.size();
    ASSERT_EQ(findForbidden(begin, end), isWrong ? begin + wrongAt : end);
    ASSERT_EQ(chosenKernel().areAllowed(begin, end), !isWrong) << text;
  }
}

TEST_P(Kernels, AreForcedOrTheBestIsChosen) {
  EXPECT_EQ(&chosenKernel(), GetParam());
  EXPECT_STREQ(NEB_XML_GetKernelName(), GetParam()->name);
  forceKernelForTests(nullptr);
  const auto kernels = builtKernels();
  const auto best = std::find_if(kernels.begin(), kernels.end(),
                                 [](const auto *kernel) { return canRun(*kernel); });
  EXPECT_EQ(&chosenKernel(), *best);
}

INSTANTIATE_TEST_SUITE_P(Kernels, Kernels, allKernels(), nameOfKernel);

}  // namespace
