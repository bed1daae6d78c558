#include "printable.h"

#include <algorithm>
#include <array>

namespace nebxml {
namespace {

constexpr std::string_view whiteSpaceControls = "\t\n\v\f\r";
constexpr char32_t continuationBits = 6;
constexpr unsigned char continuationMark = 0x80;
constexpr unsigned char continuationMask = 0x3F;

/** The characters that a leading byte of UTF-8 with so many bytes in all may begin. */
struct Encoding {
  unsigned char leadMask;
  unsigned char leadMark;
  char32_t least;  ///< Smaller ones are shorter in UTF-8.
  char32_t greatest;
};

constexpr std::array<Encoding, 4> encodings{{{0x80, 0x00, 0x00, 0x7F},
                                             {0xE0, 0xC0, 0x80, 0x7FF},
                                             {0xF0, 0xE0, 0x800, 0xFFFF},
                                             {0xF8, 0xF0, 0x10000, 0x10FFFF}}};

struct Range {
  char32_t first;
  char32_t last;
};

constexpr Range surrogates{0xD800, 0xDFFF};
/** What a stray byte is that an 8-bit terminal would take for a control. */
constexpr Range controlBytes{0x80, 0x9F};
constexpr std::array<Range, 6> unprintable{{
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

unsigned char byteAt(std::string_view text, std::size_t place) {
  return static_cast<unsigned char>(text[place]);
}

struct Character {
  char32_t code = 0;
  std::size_t length = 0;  ///< 0 where there is no valid UTF-8.
};

Character decode(std::string_view text, std::size_t length) {
  const Encoding &encoding = encodings.at(length - 1);
  const unsigned char lead = byteAt(text, 0);
  if ((lead & encoding.leadMask) != encoding.leadMark || text.size() < length) {
    return {};
  }
  char32_t code = lead & static_cast<unsigned char>(~encoding.leadMask);
  for (std::size_t place = 1; place < length; ++place) {
    const unsigned char byte = byteAt(text, place);
    if ((byte & ~continuationMask) != continuationMark) {
      return {};
    }
    code = (code << continuationBits) | (byte & continuationMask);
  }
  const bool isShortest = code >= encoding.least && code <= encoding.greatest;
  return isShortest && !isIn(surrogates, code) ? Character{code, length} : Character{};
}

Character firstCharacter(std::string_view text) {
  for (std::size_t length = 1; length <= encodings.size(); ++length) {
    const Character character = decode(text, length);
    if (character.length > 0) {
      return character;
    }
  }
  return {};
}

bool isUnprintable(const Character &character, unsigned char byte) {
  if (character.length == 0) {
    return isIn(controlBytes, byte);
  }
  return std::any_of(unprintable.begin(), unprintable.end(),
                     [&](const Range &range) { return isIn(range, character.code); });
}

}  // namespace

std::size_t characterLength(std::string_view text) {
  return std::max<std::size_t>(firstCharacter(text).length, 1);
}

std::string printable(std::string_view text, std::string_view kept) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const Character character = firstCharacter(text);
    const std::size_t length = std::max<std::size_t>(character.length, 1);
    const char first = text.front();
    if (!isUnprintable(character, byteAt(text, 0)) || kept.find(first) != std::string_view::npos) {
      result += text.substr(0, length);
    } else {
      result += whiteSpaceControls.find(first) == std::string_view::npos ? '?' : ' ';
    }
    text.remove_prefix(length);
  }
  return result;
}

}  // namespace nebxml
