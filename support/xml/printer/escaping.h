// Writing values, with references for the characters that need one.
#pragma once

#include <cstring>

#include "printer/printed_text.h"
#include "simd/vector.h"

namespace neb::xml::internal {

template <size_t size>
char *writeLiteral(char *to, const char (&literal)[size]) {
  std::memcpy(to, literal, size - 1);
  return to + size - 1;
}

// The five characters that markup needs. '"' and '&' are one bit apart, and so are '<' and '>'.
inline Vector findMarkupCharacters(Vector bytes) {
  constexpr uint8_t kQuoteOrAmpersand = '"' ^ '&';
  constexpr uint8_t kLessOrGreater = '<' ^ '>';
  return ((bytes | kQuoteOrAmpersand) == ('"' | '&')) | ((bytes | kLessOrGreater) == ('<' | '>')) |
         (bytes == '\'');
}

// Each kind finds the characters that it cannot copy, and writes one of them escaped; null if XML
// cannot represent it.

// An ampersand that begins a reference is not escaped, and every byte is allowed.
struct LenientValue {
  static Vector findEscaped(Vector bytes) { return findMarkupCharacters(bytes); }
  static char *writeEscaped(char *to, const char *character);
};

// An attribute's value, so that it is read back unchanged. Other white space would become a space.
struct ExactAttributeValue {
  // Does not find the zeros behind the end.
  static Vector findEscaped(Vector bytes) {
    return findMarkupCharacters(bytes) | (bytes - 1 < ' ' - 1);
  }
  static char *writeEscaped(char *to, const char *character);
};

// An element's value, so that it is read back unchanged except for white space at its beginning.
struct ExactElementValue {
  static Vector findEscaped(Vector bytes) {
    return ExactAttributeValue::findEscaped(bytes) & ~(bytes - '\t' <= '\n' - '\t');
  }
  static constexpr auto writeEscaped = ExactAttributeValue::writeEscaped;
};

// Copies a value and reserves room for a little markup behind it. Null after a failure.
template <typename Value>
char *xmlCopyWithEscape(PrintedText &text, char *to, const char *value, size_t length);

// Of white space before an element's text, reading drops what is no space, and elements that end
// behind nothing but white space may get it as a value. What begins with a reference is text.
// Returns how much of the value was written: one byte, or none when its beginning is read as it
// stands.
size_t writeFirstBlank(char **to, const char *value);

}  // namespace neb::xml::internal
