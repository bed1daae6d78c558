#include "terminal/excerpt.h"

#include <algorithm>

#include "terminal/printable.h"
#include "terminal/utf8.h"

namespace nebxml {
namespace {

constexpr size_t kLongestValue = 40;
constexpr size_t kLongestLine = 76;
constexpr size_t kLongestLead = 48;
constexpr size_t kLongestCharacter = 4;
constexpr std::string_view kEllipsis = "...";
constexpr std::string_view kKeptControls = "\t";

// Whether a byte continues a UTF-8 character that an earlier byte began.
bool continuesCharacter(char character) {
  constexpr unsigned char kMarkMask = 0xC0;
  constexpr unsigned char kContinuationMark = 0x80;
  return (static_cast<unsigned char>(character) & kMarkMask) == kContinuationMark;
}

// The offset, moved back to the start of the character that it would split.
size_t cutAt(std::string_view text, size_t offset) {
  size_t begin = offset;
  while (begin > 0 && begin < text.size() && offset - begin < kLongestCharacter &&
         continuesCharacter(text[begin])) {
    --begin;
  }
  const bool splitsCharacter =
      begin < text.size() && begin + firstCharacter(text.substr(begin)).length > offset;
  return splitsCharacter ? begin : offset;
}

// White space of the same width as a printable string.
std::string spacesFor(std::string_view text) {
  std::string spaces;
  while (!text.empty()) {
    spaces += text.front() == '\t' ? '\t' : ' ';
    text.remove_prefix(firstCharacter(text).length);
  }
  return spaces;
}

}  // namespace

std::string shortened(std::string_view value) {
  const size_t length = cutAt(value, std::min(kLongestValue, value.size()));
  const std::string line = printable(value.substr(0, length));
  return length < value.size() ? line + std::string(kEllipsis) : line;
}

Excerpt excerptAround(std::string_view line, size_t offset) {
  const bool fits = line.size() <= kLongestLine;
  const size_t begin = fits || offset <= kLongestLead ? 0 : cutAt(line, offset - kLongestLead);
  const size_t end = fits ? line.size() : cutAt(line, std::min(line.size(), begin + kLongestLine));
  const std::string_view before = begin > 0 ? kEllipsis : "";
  const std::string_view after = end < line.size() ? kEllipsis : "";
  const std::string lead = printable(line.substr(begin, offset - begin), kKeptControls);
  return {std::string(before)
              .append(printable(line.substr(begin, end - begin), kKeptControls))
              .append(after),
          std::string(before.size(), ' ') + spacesFor(lead)};
}

}  // namespace nebxml
