// The literals of the language, and how they are found.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kernels/byte_sets.h"

namespace neb::xml::internal {

inline constexpr char kDeclarationBegin[] = "<?xml ";
inline constexpr char kDoctypeBegin[] = "<!DOCTYPE";
inline constexpr char kCommentBegin[] = "<!--";
inline constexpr char kCommentEnd[] = "-->";
inline constexpr char kHyphens[] = "--";
inline constexpr char kInstructionBegin[] = "<?";
inline constexpr char kInstructionEnd[] = "?>";
inline constexpr char kCdataBegin[] = "<![CDATA[";
inline constexpr char kCdataEnd[] = "]]>";
inline constexpr char kEndTagBegin[] = "</";
inline constexpr char kEmptyTagEnd[] = "/>";
inline constexpr char kTagEnd[] = ">";

template <size_t size>
constexpr size_t lengthOf(const char (&)[size]) {
  return size - 1;
}

// Stops at the terminator of the document, which no literal holds.
template <size_t size>
bool begins(const char *text, const char (&literal)[size]) {
  for (size_t i = 0; i < size - 1; ++i) {
    if (text[i] != literal[i]) return false;
  }
  return true;
}

// The first occurrence of a literal that ends in '>'; null when the document ends first.
template <size_t size>
const char *find(const char *text, const char (&literal)[size]) {
  constexpr size_t kBefore = size - 2;  // bytes of the literal before its '>'
  const char *close = std::strchr(text, '>');
  while (close != nullptr) {
    const bool isWhole = static_cast<size_t>(close - text) >= kBefore &&
                         std::memcmp(close - kBefore, literal, kBefore) == 0;
    if (isWhole) return close - kBefore;
    close = std::strchr(close + 1, '>');
  }
  return nullptr;
}

inline const char *skipWhitespace(const char *text) {
  while (isWhitespace(*text)) ++text;
  return text;
}

inline bool beginsEndTag(const char *text) { return text[0] == '<' && text[1] == '/'; }

// Whether a tag ends here. No text may begin so.
inline bool endsTag(const char *text) { return *text == '>' || (*text == '/' && text[1] == '>'); }

// A name that ends in "--" would be the end of a comment before '>', and so no name.
inline bool mayEndMarkup(char lastOfName) { return lastOfName == '-'; }

// How what is not verbatim is decoded. In strict reading, line ends become line feeds, as XML says,
// and in values all white space becomes spaces.
enum class Decoding : uint8_t { lenient, strictText, strictValue };

// A part of the document that becomes a string. Verbatim: each byte stands for itself.
struct Run {
  const char *begin;
  size_t length;
  bool isVerbatim;
  Decoding decoding = Decoding::lenient;
};

inline Run runOf(const char *begin, size_t length) {
  const bool isVerbatim =
      std::memchr(begin, '&', length) == nullptr && std::memchr(begin, '<', length) == nullptr;
  return {begin, length, isVerbatim};
}

}  // namespace neb::xml::internal
