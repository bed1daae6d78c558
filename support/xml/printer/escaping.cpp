#include "printer/escaping.h"

#include <algorithm>

#include "characters/characters.h"
#include "characters/utf8.h"
#include "kernels/chosen.h"
#include "platform/compiler.h"
#include "tree/references.h"

namespace neb::xml::internal {

namespace {

constexpr size_t kSlice = platform::kIsSmall ? 512 : 4096;

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

bool isNumericReference(const char *ampersand) {
  if (ampersand[1] != '#') return false;
  return ampersand[2] == 'x' ? endsAsNumericReference(ampersand + 3, 16)
                             : endsAsNumericReference(ampersand + 2, 10);
}

// Whether a well-formed reference begins at an ampersand.
bool beginsReference(const char *ampersand) {
  return namedReferenceAt(ampersand) != nullptr || isNumericReference(ampersand);
}

// How much of a run of less than a vector needs no escape. All of it is written.
template <typename Value>
size_t writeShortRun(char *to, const char *from, size_t length) {
  const Vector bytes = loadFirst(from, length);
  storeVector(to, bytes);
  return std::min(countBeforeFound(Value::findEscaped(bytes)), length);
}

template <typename Value>
size_t writeBytes(char *to, const char *from, size_t length) {
  size_t written = 0;
  for (; written < length; ++written) {
    if (Value::findEscaped(SingleByte(static_cast<uint8_t>(from[written])))[0] != 0) break;
    to[written] = from[written];
  }
  return written;
}

// The same for any run, which is written up to there.
template <typename Value>
size_t writeRun(char *to, const char *from, size_t length) {
  if constexpr (platform::kIsSmall) return writeBytes<Value>(to, from, length);
  if (length < kVectorSize) return writeShortRun<Value>(to, from, length);
  const auto writeVector = [=](size_t at) {
    const Vector bytes = loadVector(from + at);
    storeVector(to + at, bytes);
    return countBeforeFound(Value::findEscaped(bytes));
  };
  // The last vector ends with the run: a branch on what is left could not be predicted.
  const size_t last = length - kVectorSize;
  for (size_t at = 0; at < last; at += kVectorSize) {
    const size_t copied = writeVector(at);
    if (copied < kVectorSize) return at + copied;
  }
  return last + writeVector(last);
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

size_t writeFirstWhitespace(char **to, const char *value) {
  const size_t spaces = std::strspn(value, " ");
  const char behind = value[spaces];
  if (behind != '\t' && behind != '\n' && (behind != '\0' || spaces == 0)) return 0;
  *to = *value == ' ' ? writeLiteral(*to, "&#32;") : ExactAttributeValue::writeEscaped(*to, value);
  return 1;
}

// In slices: if room for the rest of a long value were reserved again behind each character that
// becomes longer, it would take as much memory as there are such characters times the rest.
template <typename Value>
NEB_XML_NOINLINE char *xmlCopyWithEscape(Output &output, char *to, const char *value,
                                         size_t length) {
  const char *end = value + length;
  do {
    const char *sliceEnd = value + std::min(static_cast<size_t>(end - value), kSlice);
    to = output.withRoom(to, static_cast<size_t>(sliceEnd - value));
    while (to != nullptr) {
      const size_t written = writeRun<Value>(to, value, static_cast<size_t>(sliceEnd - value));
      value += written;
      to += written;
      if (value == sliceEnd) break;
      to = Value::writeEscaped(to, value);
      if (to == nullptr) return output.refuse(NEB_XML_ERR_INVALID_PARAM);
      ++value;
      to = output.withRoom(to, static_cast<size_t>(sliceEnd - value));
    }
  } while (to != nullptr && value != end);
  return to;
}

template char *xmlCopyWithEscape<LenientValue>(Output &, char *, const char *, size_t);
template char *xmlCopyWithEscape<ExactAttributeValue>(Output &, char *, const char *, size_t);
template char *xmlCopyWithEscape<ExactElementValue>(Output &, char *, const char *, size_t);

namespace {

// Takes the character that begins at *value. Null if none does.
char *writeNumericReference(char *to, const char **value, const char *end) {
  const Character character = characterAt(*value, end);
  if (character.length == 0) return nullptr;
  *value += character.length;
  char digits[7];  // of the largest character
  size_t count = 0;
  for (uint32_t code = character.code; code != 0; code /= 10) {
    digits[count++] = static_cast<char>('0' + code % 10);
  }
  to = writeLiteral(to, "&#");
  while (count > 0) *to++ = digits[--count];
  return writeLiteral(to, ";");
}

}  // namespace

template <typename Value>
NEB_XML_NOINLINE char *copyStrictly(SinkOutput &output, char *to, const char *value, size_t length,
                                    bool isAsciiOnly) {
  const char *end = value + length;
  bool isChecked = false;  // the rest holds characters that are allowed only
  while (value != end) {
    const size_t ahead = std::min(static_cast<size_t>(end - value), kSlice);
    to = output.withRoom(to, ahead);
    if (to == nullptr) return nullptr;
    const size_t written = isChecked ? writeRun<typename Value::Checked>(to, value, ahead)
                                     : writeRun<Value>(to, value, ahead);
    value += written;
    to += written;
    if (written == ahead) continue;
    if (isAscii(*value)) {
      to = ExactAttributeValue::writeEscaped(to, value++);
    } else if (isAsciiOnly) {
      to = writeNumericReference(to, &value, end);
    } else {
      isChecked = areAllowed(value, end);
      if (!isChecked) to = nullptr;
    }
    if (to == nullptr) return output.refuse(NEB_XML_ERR_UNWRITABLE);
  }
  return output.withRoom(to, 0);
}

template char *copyStrictly<StrictAttributeValue>(SinkOutput &, char *, const char *, size_t, bool);
template char *copyStrictly<StrictElementValue>(SinkOutput &, char *, const char *, size_t, bool);

}  // namespace neb::xml::internal
