// Which characters XML 1.0 (fifth edition) allows, and where.
#pragma once

#include <cstddef>
#include <cstdint>

namespace neb::xml::internal {

inline constexpr uint32_t kLargestCharacter = 0x10FFFF;

// The Char production.
constexpr bool isCharacter(uint32_t code) {
  if (code < 0x20) return code == 0x9 || code == 0xA || code == 0xD;
  if (code < 0xD800) return true;
  if (code < 0xE000) return false;
  return code < 0xFFFE || (code >= 0x10000 && code <= kLargestCharacter);
}

// The NameStartChar production.
bool mayBeginName(uint32_t code);

// The NameChar production.
bool mayContinueName(uint32_t code);

// A run of bytes that is a Name: UTF-8 of such characters. An empty run is none.
bool isXmlName(const char *name, size_t length);

// The end of the longest Name that begins here in a terminated string; the beginning itself if
// there is none.
const char *findNameEnd(const char *name);

}  // namespace neb::xml::internal
