#include "terminal/printable.h"

#include <algorithm>
#include <array>

namespace nebxml {
namespace {

constexpr std::string_view kWhiteSpaceControls = "\t\n\v\f\r";
constexpr char32_t kContinuationBits = 6;
constexpr unsigned char kContinuationMark = 0x80;
constexpr unsigned char kContinuationMask = 0x3F;

// A form of UTF-8 character, by its lead byte. The index in kEncodings is its length - 1.
struct Encoding {
  unsigned char leadMask;
  unsigned char leadMark;
  char32_t least;  // smaller characters have a shorter form
  char32_t greatest;
};

constexpr std::array<Encoding, 4> kEncodings{{{0x80, 0x00, 0x00, 0x7F},
                                              {0xE0, 0xC0, 0x80, 0x7FF},
                                              {0xF0, 0xE0, 0x800, 0xFFFF},
                                              {0xF8, 0xF0, 0x10000, 0x10FFFF}}};

struct Range {
  char32_t first;
  char32_t last;
};

constexpr Range kSurrogates{0xD800, 0xDFFF};
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

unsigned char byteAt(std::string_view text, size_t index) {
  return static_cast<unsigned char>(text[index]);
}

struct Character {
  char32_t code = 0;
  size_t length = 0;  // 0 if there is no valid UTF-8
};

Character decode(std::string_view text, size_t length) {
  const Encoding &encoding = kEncodings.at(length - 1);
  const unsigned char lead = byteAt(text, 0);
  if ((lead & encoding.leadMask) != encoding.leadMark || text.size() < length) {
    return {};
  }
  char32_t code = lead & static_cast<unsigned char>(~encoding.leadMask);
  for (size_t index = 1; index < length; ++index) {
    const unsigned char byte = byteAt(text, index);
    if ((byte & ~kContinuationMask) != kContinuationMark) {
      return {};
    }
    code = (code << kContinuationBits) | (byte & kContinuationMask);
  }
  const bool isShortest = code >= encoding.least && code <= encoding.greatest;
  return isShortest && !isIn(kSurrogates, code) ? Character{code, length} : Character{};
}

Character firstCharacter(std::string_view text) {
  for (size_t length = 1; length <= kEncodings.size(); ++length) {
    const Character character = decode(text, length);
    if (character.length > 0) return character;
  }
  return {};
}

bool isUnprintable(const Character &character, unsigned char byte) {
  if (character.length == 0) return isIn(kControlBytes, byte);
  return std::any_of(kUnprintable.begin(), kUnprintable.end(),
                     [&](const Range &range) { return isIn(range, character.code); });
}

}  // namespace

size_t characterLength(std::string_view text) {
  return std::max<size_t>(firstCharacter(text).length, 1);
}

std::string printable(std::string_view text, std::string_view kept) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const Character character = firstCharacter(text);
    const size_t length = std::max<size_t>(character.length, 1);
    const char first = text.front();
    if (!isUnprintable(character, byteAt(text, 0)) || kept.find(first) != std::string_view::npos) {
      result += text.substr(0, length);
    } else {
      result += kWhiteSpaceControls.find(first) == std::string_view::npos ? '?' : ' ';
    }
    text.remove_prefix(length);
  }
  return result;
}

}  // namespace nebxml
