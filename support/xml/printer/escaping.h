// Writing values, with references for the characters that need one.
#pragma once

#include <cstring>

#include "printer/output.h"
#include "printer/sink_output.h"
#include "simd/vector.h"

namespace neb::xml::internal {

template <size_t size>
char *writeLiteral(char *to, const char (&literal)[size]) {
  std::memcpy(to, literal, size - 1);
  return to + size - 1;
}

// The five characters that markup needs. '"' and '&' are one bit apart, and so are '<' and '>'.
template <typename Bytes>
Bytes findMarkupCharacters(Bytes bytes) {
  constexpr uint8_t kQuoteOrAmpersand = '"' ^ '&';
  constexpr uint8_t kLessOrGreater = '<' ^ '>';
  return ((bytes | kQuoteOrAmpersand) == ('"' | '&')) | ((bytes | kLessOrGreater) == ('<' | '>')) |
         (bytes == '\'');
}

// Each kind finds what it does not copy unchanged, in vectors or in single bytes, and writes one
// character of that; null when no document can hold it.

// An ampersand that begins a reference stays, and every byte passes.
struct LenientValue {
  template <typename Bytes>
  static Bytes findEscaped(Bytes bytes) {
    return findMarkupCharacters(bytes);
  }
  static char *writeEscaped(char *to, const char *character);
};

// An attribute's value that is read as it was. White space but the space would be read as one.
struct ExactAttributeValue {
  // Not the zeros behind the end.
  template <typename Bytes>
  static Bytes findEscaped(Bytes bytes) {
    return findMarkupCharacters(bytes) | (bytes - 1 < ' ' - 1);
  }
  static char *writeEscaped(char *to, const char *character);
};

// An element's value that is read as it was, but for white space at its beginning.
struct ExactElementValue {
  template <typename Bytes>
  static Bytes findEscaped(Bytes bytes) {
    return ExactAttributeValue::findEscaped(bytes) & ~(bytes - '\t' <= '\n' - '\t');
  }
  static constexpr auto writeEscaped = ExactAttributeValue::writeEscaped;
};

// The same for values in which every character is looked at. What is not ASCII is found as well,
// until it has been checked.
struct StrictAttributeValue {
  using Checked = ExactAttributeValue;
  template <typename Bytes>
  static Bytes findEscaped(Bytes bytes) {
    return ExactAttributeValue::findEscaped(bytes) | (bytes > 0x7F);
  }
};

struct StrictElementValue {
  using Checked = ExactElementValue;
  template <typename Bytes>
  static Bytes findEscaped(Bytes bytes) {
    return ExactElementValue::findEscaped(bytes) | (bytes > 0x7F);
  }
};

// Copies a value. Behind the returned cursor there is room for Output::kSlack bytes of markup. Null
// after a failure.
template <typename Value>
char *xmlCopyWithEscape(Output &output, char *to, const char *value, size_t length);

// Copies a value of characters that XML allows, in UTF-8; those beyond ASCII unchanged, or as
// references. Otherwise as above.
template <typename Value>
char *copyStrictly(SinkOutput &output, char *to, const char *value, size_t length,
                   bool isAsciiOnly);

// Parsing drops white space other than spaces before an element's text, and may take nothing but
// white space for a value. What begins with a reference is text. So the first character is written
// as a reference where it has to be. Returns how much of the value was written: one byte, or none.
size_t writeFirstWhitespace(char **to, const char *value);

}  // namespace neb::xml::internal
