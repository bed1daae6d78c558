#include "terminal/printable.h"

#include <algorithm>
#include <array>

#include "terminal/utf8.h"

namespace nebxml {
namespace {

constexpr std::string_view kWhiteSpaceControls = "\t\n\v\f\r";
struct Range {
  char32_t first;
  char32_t last;
};

// Bytes outside valid UTF-8 that an 8-bit terminal takes for controls.
constexpr Range kControlBytes{0x80, 0x9F};
constexpr std::array<Range, 6> kUnprintable{{
    {0x00, 0x1F},
    {0x7F, 0x9F},
    {0x061C, 0x061C},  // Arabic letter mark
    {0x200E, 0x200F},  // left-to-right and right-to-left mark
    {0x2028, 0x202E},  // separators, embeddings and overrides
    {0x2066, 0x2069},  // isolates
}};

bool isIn(const Range &range, char32_t character) {
  return character >= range.first && character <= range.last;
}

bool isUnprintable(const Character &character, char byte) {
  if (!character.isValid) return isIn(kControlBytes, static_cast<unsigned char>(byte));
  return std::any_of(kUnprintable.begin(), kUnprintable.end(),
                     [&](const Range &range) { return isIn(range, character.code); });
}

}  // namespace

std::string printable(std::string_view text, std::string_view kept) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const Character character = firstCharacter(text);
    const char first = text.front();
    if (!isUnprintable(character, first) || kept.find(first) != std::string_view::npos) {
      result += text.substr(0, character.length);
    } else {
      result += kWhiteSpaceControls.find(first) == std::string_view::npos ? '?' : ' ';
    }
    text.remove_prefix(character.length);
  }
  return result;
}

}  // namespace nebxml
