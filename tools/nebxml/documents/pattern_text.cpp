#include "documents/pattern_text.h"

#include <algorithm>

namespace nebxml {
namespace {

constexpr std::string_view kValueQuotes = "\"'";

// Where the closing quote of a value stands, from behind the opening one.
size_t endOfQuoted(std::string_view pattern, size_t offset, char quote) {
  for (; offset < pattern.size() && pattern[offset] != quote; ++offset) {
    if (pattern[offset] == kEscape) ++offset;
  }
  return std::min(offset, pattern.size());
}

// Where the ']' of a condition stands, from behind its '['. Only a value begins with a quote.
size_t endOfCondition(std::string_view pattern, size_t offset) {
  bool canQuote = false;
  for (; offset < pattern.size() && pattern[offset] != ']'; ++offset) {
    const char character = pattern[offset];
    const bool isQuote = kValueQuotes.find(character) != std::string_view::npos;
    if (canQuote && isQuote) offset = endOfQuoted(pattern, offset + 1, character);
    if (character == kEscape) ++offset;
    canQuote = character == '=' || (canQuote && character == ' ');
  }
  return std::min(offset, pattern.size());
}

size_t findFrom(std::string_view pattern, size_t offset, char wanted) {
  for (; offset < pattern.size(); ++offset) {
    if (pattern[offset] == wanted) return offset;
    if (pattern[offset] == '[') {
      offset = endOfCondition(pattern, offset + 1);
    } else if (pattern[offset] == kEscape) {
      ++offset;
    }
  }
  return std::string_view::npos;
}

}  // namespace

size_t findOutsideBrackets(std::string_view pattern, char character) {
  return findFrom(pattern, 0, character);
}

std::vector<std::string_view> patternsOfSteps(std::string_view pattern) {
  std::vector<std::string_view> patterns;
  size_t end = 0;
  for (size_t begin = 0; end != std::string_view::npos; begin = end + 1) {
    end = findFrom(pattern, begin, kStepSeparator);
    const bool isEmpty = std::min(end, pattern.size()) == begin;
    if (!isEmpty) patterns.push_back(pattern.substr(0, end));
  }
  return patterns;
}

}  // namespace nebxml
