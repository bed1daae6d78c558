#include "text_window.h"

#include <algorithm>

#include "printable.h"

namespace nebxml {
namespace {

constexpr std::size_t longestValue = 40;
constexpr std::size_t longestLine = 76;
constexpr std::size_t longestLead = 48;
constexpr std::size_t longestCharacter = 4;
constexpr std::string_view ellipsis = "...";
constexpr std::string_view keptControls = "\t";

/** Tells whether a byte goes on with a character that an earlier byte of UTF-8 began. */
bool continuesCharacter(char character) {
  constexpr unsigned char markMask = 0xC0;
  constexpr unsigned char continuationMark = 0x80;
  return (static_cast<unsigned char>(character) & markMask) == continuationMark;
}

/** The place, or the begin of the character that goes on there. */
std::size_t cutAt(std::string_view text, std::size_t place) {
  std::size_t begin = place;
  while (begin > 0 && begin < text.size() && place - begin < longestCharacter &&
         continuesCharacter(text[begin])) {
    --begin;
  }
  const bool isWithin = begin < text.size() && begin + characterLength(text.substr(begin)) > place;
  return isWithin ? begin : place;
}

/** As wide as a printable text. */
std::string blankedOut(std::string_view text) {
  std::string blanks;
  while (!text.empty()) {
    blanks += text.front() == '\t' ? '\t' : ' ';
    text.remove_prefix(characterLength(text));
  }
  return blanks;
}

}  // namespace

std::string shortened(std::string_view value) {
  const std::size_t length = cutAt(value, std::min(longestValue, value.size()));
  const std::string line = printable(value.substr(0, length));
  return length < value.size() ? line + std::string(ellipsis) : line;
}

TextWindow windowAround(std::string_view line, std::size_t place) {
  const bool fits = line.size() <= longestLine;
  const std::size_t begin = fits || place <= longestLead ? 0 : cutAt(line, place - longestLead);
  const std::size_t end =
      fits ? line.size() : cutAt(line, std::min(line.size(), begin + longestLine));
  const std::string_view before = begin > 0 ? ellipsis : "";
  const std::string_view after = end < line.size() ? ellipsis : "";
  const std::string lead = printable(line.substr(begin, place - begin), keptControls);
  return {std::string(before)
              .append(printable(line.substr(begin, end - begin), keptControls))
              .append(after),
          std::string(before.size(), ' ') + blankedOut(lead)};
}

}  // namespace nebxml
