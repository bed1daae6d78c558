// Characters as UTF-8.
#pragma once

#include <cstddef>
#include <cstdint>

namespace neb::xml::internal {

constexpr bool isAscii(char byte) { return static_cast<uint8_t>(byte) < 0x80; }

// Whether a byte of UTF-8 goes on with a character.
constexpr bool isTail(char byte) { return static_cast<int8_t>(byte) < -0x40; }

struct Character {
  uint32_t code;
  size_t length;  // of its UTF-8 in bytes; 0 if no well-formed UTF-8 of an XML character is there
};

// The character that begins here. Nothing from the end on is read.
Character characterAt(const char *from, const char *end);

// The same in a terminated string. Nothing behind its terminator is read.
Character characterAt(const char *from);

// Behind the characters beyond ASCII that begin here, and behind single spaces between them; null
// if one of them is not well-formed UTF-8 of a character that XML allows.
const char *skipBeyondAscii(const char *from, const char *end);

// The same, up to the first character that is rare. Most characters have two or three bytes, and
// their first byte shows that they are allowed.
inline const char *skipCommon(const char *from, const char *end) {
  constexpr ptrdiff_t kReach = 3;
  if (end - from < kReach) return from;
  for (const char *last = end - kReach; from <= last;) {
    const auto first = static_cast<uint8_t>(*from);
    if (first >= 0xC2 && first <= 0xDF && isTail(from[1])) {
      from += 2;
    } else if (first >= 0xE1 && first <= 0xEC && isTail(from[1]) && isTail(from[2])) {
      from += 3;
    } else if (first == ' ' && !isAscii(from[1])) {
      ++from;
    } else {
      break;
    }
  }
  return from;
}

// The first byte that does not belong to well-formed UTF-8 of characters that XML allows; the end
// if there is none.
const char *findForbidden(const char *from, const char *end);

// The first byte of a character beyond ASCII; the end if there is none.
const char *findOtherThanAscii(const char *from, const char *end);

inline constexpr size_t kLongestUtf8 = 4;

// Writes a character of at most kLargestCharacter. Returns the end of its UTF-8.
char *writeUtf8(char *to, uint32_t code);

}  // namespace neb::xml::internal
