#include "printer/escaping.h"

#include <algorithm>

#include "tree/references.h"

namespace neb::xml::internal {

namespace {

constexpr uint32_t kLargestCharacter = 0x10FFFF;
constexpr size_t kSlice = 4096;

// The value of a digit in base 10 or 16; the base itself for any other character.
uint32_t digitValue(char digit, uint32_t base) {
  uint32_t value = base;
  if (digit >= '0' && digit <= '9') value = static_cast<uint32_t>(digit - '0');
  if (digit >= 'a' && digit <= 'f') value = static_cast<uint32_t>(digit - 'a') + 10;
  if (digit >= 'A' && digit <= 'F') value = static_cast<uint32_t>(digit - 'A') + 10;
  return value < base ? value : base;
}

// Digits, or none, up to a semicolon, of a value that is no larger than the largest character.
bool endsAsNumericReference(const char *digits, uint32_t base) {
  uint32_t value = 0;
  for (; *digits != ';'; ++digits) {
    const uint32_t digit = digitValue(*digits, base);
    if (digit == base) return false;
    value = value * base + digit;
    if (value > kLargestCharacter) return false;
  }
  return true;
}

bool isNumericReference(const char *text) {
  if (text[1] != '#') return false;
  return text[2] == 'x' ? endsAsNumericReference(text + 3, 16)
                        : endsAsNumericReference(text + 2, 10);
}

// Whether the ampersand at the beginning of the text begins a well-formed reference.
bool beginsReference(const char *text) {
  return namedReferenceAt(text) != nullptr || isNumericReference(text);
}

// Copies up to the first character to escape or the end, and advances the position.
template <typename Value>
const char *writeRun(char **place, const char *from, const char *end) {
  char *to = *place;
  size_t left = static_cast<size_t>(end - from);
  while (left >= kVectorSize) {
    const Vector bytes = loadVector(from);
    storeVector(to, bytes);
    const size_t plain = countBeforeFound(Value::findEscaped(bytes));
    if (plain < kVectorSize) {
      *place = to + plain;
      return from + plain;
    }
    from += kVectorSize;
    to += kVectorSize;
    left -= kVectorSize;
  }
  const Vector bytes = loadFirst(from, left);
  storeVector(to, bytes);
  const size_t plain = std::min(countBeforeFound(Value::findEscaped(bytes)), left);
  *place = to + plain;
  return from + plain;
}

}  // namespace

char *LenientValue::writeEscaped(char *to, const char *character) {
  switch (*character) {
    case '"':
      return writeLiteral(to, "&quot;");
    case '\'':
      return writeLiteral(to, "&apos;");
    case '<':
      return writeLiteral(to, "&lt;");
    case '>':
      return writeLiteral(to, "&gt;");
    default:
      return beginsReference(character) ? writeLiteral(to, "&") : writeLiteral(to, "&amp;");
  }
}

char *ExactAttributeValue::writeEscaped(char *to, const char *character) {
  switch (*character) {
    case '\t':
      return writeLiteral(to, "&#9;");
    case '\n':
      return writeLiteral(to, "&#10;");
    case '\r':
      return writeLiteral(to, "&#13;");
    case '&':
      return writeLiteral(to, "&amp;");
    case '"':
    case '\'':
    case '<':
    case '>':
      return LenientValue::writeEscaped(to, character);
    default:
      return nullptr;
  }
}

size_t writeFirstBlank(char **to, const char *value) {
  const size_t spaces = std::strspn(value, " ");
  const char behind = value[spaces];
  if (behind != '\t' && behind != '\n' && (behind != '\0' || spaces == 0)) return 0;
  *to = *value == ' ' ? writeLiteral(*to, "&#32;") : ExactAttributeValue::writeEscaped(*to, value);
  return 1;
}

// Copies in slices. Otherwise each escaped character would reserve room for the whole rest of a
// long value, which takes quadratic memory.
template <typename Value>
[[gnu::noinline]] char *xmlCopyWithEscape(PrintedText &text, char *to, const char *value,
                                          size_t length) {
  const char *end = value + length;
  do {
    const char *sliceEnd = value + std::min(static_cast<size_t>(end - value), kSlice);
    to = text.withRoom(to, static_cast<size_t>(sliceEnd - value));
    while (to != nullptr) {
      value = writeRun<Value>(&to, value, sliceEnd);
      if (value == sliceEnd) break;
      to = Value::writeEscaped(to, value);
      if (to == nullptr) return text.refuse(NEB_XML_ERR_INVALID_PARAM);
      ++value;
      to = text.withRoom(to, static_cast<size_t>(sliceEnd - value));
    }
  } while (to != nullptr && value != end);
  return to;
}

template char *xmlCopyWithEscape<LenientValue>(PrintedText &, char *, const char *, size_t);
template char *xmlCopyWithEscape<ExactAttributeValue>(PrintedText &, char *, const char *, size_t);
template char *xmlCopyWithEscape<ExactElementValue>(PrintedText &, char *, const char *, size_t);

}  // namespace neb::xml::internal
