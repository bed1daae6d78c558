// Whole numbers as decimal text. The standard library's functions for them would put names of its
// own among the global ones of the static library.
#pragma once

#include <cstdint>
#include <limits>
#include <string_view>

#include "characters/digits.h"
#include "neb_xml.h"

namespace neb::xml::internal {

constexpr size_t kMostWholeDigits = std::numeric_limits<uint64_t>::digits10 + 1;

// Without a terminator; returns the end.
inline char *writeWhole(char *to, uint64_t value) {
  char digits[kMostWholeDigits];
  char *const end = digits + kMostWholeDigits;
  char *begin = end;
  do {
    *--begin = static_cast<char>('0' + value % 10);
    value /= 10;
  } while (value != 0);
  while (begin != end) *to++ = *begin++;
  return to;
}

// Reads digits only. Returns NEB_XML_OK, NEB_XML_ERR_MALFORMED_VALUE or NEB_XML_ERR_OUT_OF_RANGE.
inline uint32_t readWhole(std::string_view text, uint64_t *value) {
  constexpr uint64_t kLargest = std::numeric_limits<uint64_t>::max();
  if (text.empty()) return NEB_XML_ERR_MALFORMED_VALUE;
  uint32_t result = NEB_XML_OK;
  uint64_t whole = 0;
  for (const char byte : text) {
    if (!isDigit(byte)) return NEB_XML_ERR_MALFORMED_VALUE;
    const auto digit = static_cast<uint64_t>(byte - '0');
    if (whole > (kLargest - digit) / 10) result = NEB_XML_ERR_OUT_OF_RANGE;
    whole = whole * 10 + digit;
  }
  *value = whole;
  return result;
}

}  // namespace neb::xml::internal
