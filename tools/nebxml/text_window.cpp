#include "text_window.h"

#include <algorithm>

namespace nebxml {
namespace {

constexpr std::size_t longestValue = 40;
constexpr std::size_t longestLine = 76;
constexpr std::size_t longestLead = 48;
constexpr std::string_view ellipsis = "...";

bool isControl(char character) {
  constexpr unsigned char firstPrintable = 0x20;
  constexpr unsigned char deleteCharacter = 0x7F;
  const auto byte = static_cast<unsigned char>(character);
  return byte < firstPrintable || byte == deleteCharacter;
}

bool isControlButTab(char character) { return character != '\t' && isControl(character); }

/** Tells whether a byte goes on with a character that an earlier byte of UTF-8 began. */
bool continuesCharacter(char character) {
  constexpr unsigned char markMask = 0xC0;
  constexpr unsigned char continuationMark = 0x80;
  return (static_cast<unsigned char>(character) & markMask) == continuationMark;
}

/** The last place, no earlier than the first, where the text can be cut between characters. */
std::size_t cutBefore(std::string_view text, std::size_t place, std::size_t first) {
  while (place > first && place < text.size() && continuesCharacter(text[place])) {
    --place;
  }
  return place;
}

std::string blankedOut(std::string_view text) {
  std::string blanks;
  for (const char character : text) {
    if (!continuesCharacter(character)) {
      blanks += character == '\t' ? '\t' : ' ';
    }
  }
  return blanks;
}

}  // namespace

std::string shortened(std::string_view value) {
  const std::size_t length = cutBefore(value, std::min(longestValue, value.size()), 0);
  std::string line(value.substr(0, length));
  std::replace_if(line.begin(), line.end(), isControl, ' ');
  return length < value.size() ? line.append(ellipsis) : line;
}

TextWindow windowAround(std::string_view line, std::size_t place) {
  const bool fits = line.size() <= longestLine;
  const std::size_t begin =
      fits || place <= longestLead ? 0 : cutBefore(line, place - longestLead, 0);
  const std::size_t end =
      fits ? line.size() : cutBefore(line, std::min(line.size(), begin + longestLine), place);
  std::string text(line.substr(begin, end - begin));
  std::replace_if(text.begin(), text.end(), isControlButTab, ' ');
  const std::string_view before = begin > 0 ? ellipsis : "";
  const std::string_view after = end < line.size() ? ellipsis : "";
  return {std::string(before).append(text).append(after),
          blankedOut(before) + blankedOut(line.substr(begin, place - begin))};
}

}  // namespace nebxml
