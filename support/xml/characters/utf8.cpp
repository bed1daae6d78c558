#include "characters/utf8.h"

#include <algorithm>

#include "characters/characters.h"

namespace neb::xml::internal {

namespace {

constexpr uint32_t kTailBits = 6;
constexpr uint32_t kTailMask = 0x3F;

// The least character for each length: a shorter form of it has to be used.
constexpr uint32_t kLeastCharacter[] = {0, 0, 0x80, 0x800, 0x10000};

// 0 for a byte that begins no character.
size_t lengthByFirst(uint8_t first) {
  if (first < 0x80) return 1;
  if (first < 0xC0) return 0;
  if (first < 0xE0) return 2;
  if (first < 0xF0) return 3;
  return first < 0xF8 ? 4 : 0;
}

char utf8Tail(uint32_t code, unsigned shift) {
  return static_cast<char>(0x80 | ((code >> shift) & kTailMask));
}

// Reads no byte behind one that does not belong to the character.
Character readCharacter(const char *from, size_t available) {
  constexpr Character kNone = {0, 0};
  if (available == 0) return kNone;
  const auto first = static_cast<uint8_t>(*from);
  const size_t length = lengthByFirst(first);
  if (length == 0 || length > available) return kNone;
  uint32_t code = length == 1 ? first : first & (0x7FU >> length);
  for (size_t i = 1; i < length; ++i) {
    if (!isTail(from[i])) return kNone;
    code = code << kTailBits | (static_cast<uint8_t>(from[i]) & kTailMask);
  }
  const bool isAllowed = code >= kLeastCharacter[length] && isCharacter(code);
  return isAllowed ? Character{code, length} : kNone;
}

}  // namespace

Character characterAt(const char *from, const char *end) {
  return readCharacter(from, static_cast<size_t>(end - from));
}

Character characterAt(const char *from) { return readCharacter(from, kLongestUtf8); }

const char *skipBeyondAscii(const char *from, const char *end) {
  while (from < end && !isAscii(*from)) {
    const size_t length = characterAt(from, end).length;
    if (length == 0) return nullptr;
    from = skipCommon(from + length, end);
  }
  return from;
}

const char *findForbidden(const char *from, const char *end) {
  while (from < end) {
    const size_t length = characterAt(from, end).length;
    if (length == 0) return from;
    from += length;
  }
  return end;
}

const char *findOtherThanAscii(const char *from, const char *end) {
  return std::find_if(from, end, [](char byte) { return static_cast<uint8_t>(byte) >= 0x80; });
}

char *writeUtf8(char *to, uint32_t code) {
  if (code < 0x80) {
    *to++ = static_cast<char>(code);
  } else if (code < 0x800) {
    *to++ = static_cast<char>(0xC0 | (code >> 6));
    *to++ = utf8Tail(code, 0);
  } else if (code < 0x10000) {
    *to++ = static_cast<char>(0xE0 | (code >> 12));
    *to++ = utf8Tail(code, 6);
    *to++ = utf8Tail(code, 0);
  } else {
    *to++ = static_cast<char>(0xF0 | (code >> 18));
    *to++ = utf8Tail(code, 12);
    *to++ = utf8Tail(code, 6);
    *to++ = utf8Tail(code, 0);
  }
  return to;
}

}  // namespace neb::xml::internal
