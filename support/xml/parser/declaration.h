// The XML declaration in strict reading.
#pragma once

#include "parser/markup.h"

namespace neb::xml::internal {

// Whether an XML declaration begins here, and not an instruction with a longer target.
inline bool beginsDeclaration(const char *text) {
  constexpr char kBegin[] = "<?xml";
  return begins(text, kBegin) &&
         (isWhitespace(text[lengthOf(kBegin)]) || text[lengthOf(kBegin)] == '?');
}

// "xml" in any case is reserved for the declaration.
inline bool isReservedTarget(const char *target, size_t length) {
  constexpr char kCaseBit = 'a' ^ 'A';
  return length == 3 && (target[0] | kCaseBit) == 'x' && (target[1] | kCaseBit) == 'm' &&
         (target[2] | kCaseBit) == 'l';
}

// Reads the declaration that begins here.
class DeclarationReader {
 public:
  explicit DeclarationReader(const char *declaration)
      : declaration_(declaration), cursor_(declaration + lengthOf("<?xml")) {}

  // False if it is malformed, or names an encoding that is none of UTF-8 and US-ASCII.
  bool read();

  // Behind the declaration.
  const char *end() const { return cursor_; }

  // What is wrong, and where.
  const char *reason() const { return reason_; }
  const char *at() const { return at_; }
  // Whether the encoding is US-ASCII.
  bool namesAscii() const;
  // The name of the encoding; empty if none is named.
  const Run &encoding() const { return encoding_; }

 private:
  bool fail(const char *reason, const char *at);
  bool readParameter(const char *name, Run *value);
  bool readVersion();
  bool readEncoding();
  bool readStandalone();

  const char *declaration_;
  const char *cursor_;
  const char *reason_ = nullptr;
  const char *at_ = nullptr;
  Run encoding_ = {nullptr, 0, true};
};

}  // namespace neb::xml::internal
