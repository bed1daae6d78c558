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

// Behind the characters beyond ASCII that begin here, and behind single spaces between them; null if
// one of them is not well-formed UTF-8 of a character that XML allows.
const char *skipBeyondAscii(const char *from, const char *end);

// The first byte that does not belong to well-formed UTF-8 of characters that XML allows; the end
// if there is none.
const char *findForbidden(const char *from, const char *end);

// The first byte of a character beyond ASCII; the end if there is none.
const char *findOtherThanAscii(const char *from, const char *end);

inline constexpr size_t kLongestUtf8 = 4;

// Writes a character of at most kLargestCharacter. Returns the end of its UTF-8.
char *writeUtf8(char *to, uint32_t code);

}  // namespace neb::xml::internal
