#include "terminal/utf8.h"

#include <array>

namespace nebxml {
namespace {

constexpr char32_t kContinuationBits = 6;
constexpr unsigned char kContinuationMark = 0x80;
constexpr unsigned char kContinuationMask = 0x3F;
constexpr char32_t kFirstSurrogate = 0xD800;
constexpr char32_t kLastSurrogate = 0xDFFF;

// A form of UTF-8 character, by its lead byte. The index in kForms is its length - 1.
struct Form {
  unsigned char leadMask;
  unsigned char leadMark;
  char32_t least;  // smaller characters have a shorter form
  char32_t greatest;
};

constexpr std::array<Form, 4> kForms{{{0x80, 0x00, 0x00, 0x7F},
                                      {0xE0, 0xC0, 0x80, 0x7FF},
                                      {0xF0, 0xE0, 0x800, 0xFFFF},
                                      {0xF8, 0xF0, 0x10000, 0x10FFFF}}};

constexpr Character kOtherByte{0, 1, false};

unsigned char byteAt(std::string_view text, size_t index) {
  return static_cast<unsigned char>(text[index]);
}

Character decode(std::string_view text, size_t length) {
  const Form &form = kForms.at(length - 1);
  const unsigned char lead = byteAt(text, 0);
  if ((lead & form.leadMask) != form.leadMark || text.size() < length) return kOtherByte;
  char32_t code = lead & static_cast<unsigned char>(~form.leadMask);
  for (size_t index = 1; index < length; ++index) {
    const unsigned char byte = byteAt(text, index);
    if ((byte & ~kContinuationMask) != kContinuationMark) return kOtherByte;
    code = (code << kContinuationBits) | (byte & kContinuationMask);
  }
  const bool isShortest = code >= form.least && code <= form.greatest;
  const bool isSurrogate = code >= kFirstSurrogate && code <= kLastSurrogate;
  return isShortest && !isSurrogate ? Character{code, length, true} : kOtherByte;
}

}  // namespace

Character firstCharacter(std::string_view text) {
  for (size_t length = 1; length <= kForms.size(); ++length) {
    const Character character = decode(text, length);
    if (character.isValid) return character;
  }
  return kOtherByte;
}

}  // namespace nebxml
