// The bytes at which the scanner ends a name, a value or a text, and those that are white space.
// All kernels build their tables from these sets. The tokenizer decides where a name ends. Each
// byte that ends a name must be in kNameEndBytes. The one exception is a final '-', which
// mayEndMarkup tests. The set may hold more bytes: the tokenizer reads names that contain them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace neb::xml::internal {

inline constexpr size_t kByteValues = 256;

class ByteSet {
 public:
  constexpr ByteSet() = default;

  explicit constexpr ByteSet(std::string_view bytes) {
    for (const char byte : bytes) holds_[static_cast<uint8_t>(byte)] = true;
  }

  constexpr bool holds(size_t byte) const { return holds_[byte]; }

  constexpr bool isEmpty() const {
    for (const bool holds : holds_) {
      if (holds) return false;
    }
    return true;
  }

  constexpr ByteSet with(const ByteSet &other) const {
    ByteSet both;
    for (size_t byte = 0; byte < kByteValues; ++byte) {
      both.holds_[byte] = holds(byte) || other.holds(byte);
    }
    return both;
  }

  constexpr ByteSet without(const ByteSet &other) const {
    ByteSet rest;
    for (size_t byte = 0; byte < kByteValues; ++byte) {
      rest.holds_[byte] = holds(byte) && !other.holds(byte);
    }
    return rest;
  }

  constexpr void add(size_t byte) { holds_[byte] = true; }

 private:
  bool holds_[kByteValues] = {};
};

inline constexpr ByteSet kWhitespaceBytes("\t\n\r ");

// The terminator is in each set of ends, so that each search ends and nothing behind it is read.
inline constexpr ByteSet kTextEndBytes(std::string_view("\0&<", 3));
inline constexpr ByteSet kValueEndBytes = kTextEndBytes.with(ByteSet("\"'"));

// '!', '?' and ']' are seldom in names, but are part of markup that has none.
inline constexpr ByteSet kNameEndBytes =
    kValueEndBytes.with(kWhitespaceBytes).with(ByteSet("!/:=>?]"));

// For strict reading names end at every byte that cannot be in an ASCII name, and at ':'. So what
// lies before an end has only to begin as a name does. White space that is not kept ends values and
// texts too, and so does the ']' of "]]>", which no text may hold.
inline constexpr ByteSet kStrictTextEndBytes = kTextEndBytes.with(ByteSet("\r]"));
inline constexpr ByteSet kStrictValueEndBytes = kValueEndBytes.with(ByteSet("\t\n\r"));

constexpr ByteSet makeStrictNameEndBytes() {
  ByteSet bytes;
  for (size_t byte = 0; byte < kByteValues; ++byte) {
    const bool isLetter = (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
    const bool isInName =
        isLetter || (byte >= '0' && byte <= '9') || byte == '_' || byte == '-' || byte == '.';
    if (!isInName) bytes.add(byte);
  }
  return bytes;
}
inline constexpr ByteSet kStrictNameEndBytes = makeStrictNameEndBytes();

constexpr bool isWhitespace(char byte) {
  return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r';
}

// White space or another control character.
constexpr bool mayBeWhitespace(char byte) { return static_cast<uint8_t>(byte) <= ' '; }

// The vector kernels depend on this.
inline constexpr size_t kAsciiBytes = 128;
constexpr bool isAscii(const ByteSet &set) {
  for (size_t byte = kAsciiBytes; byte < kByteValues; ++byte) {
    if (set.holds(byte)) return false;
  }
  return true;
}
static_assert(isAscii(kNameEndBytes));

// The characters of one byte that XML allows.
inline constexpr ByteSet kAllowedAscii = [] {
  ByteSet bytes = kWhitespaceBytes;
  for (size_t byte = ' '; byte < kAsciiBytes; ++byte) bytes.add(byte);
  return bytes;
}();

}  // namespace neb::xml::internal
