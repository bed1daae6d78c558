// Cutting the text into tokens. Nothing is copied: a token is a place in the text and a length.
#pragma once

#include <array>
#include <cstring>

#include "parser/parser.h"

namespace neb::xml::internal {

constexpr char kCommentBegin[] = "<!--";
constexpr char kCommentEnd[] = "-->";
constexpr char kInstructionBegin[] = "<?";
constexpr char kInstructionEnd[] = "?>";
constexpr char kCdataBegin[] = "<![CDATA[";
constexpr char kCdataEnd[] = "]]>";
constexpr char kEndTagBegin[] = "</";
constexpr char kEmptyTagEnd[] = "/>";
constexpr char kTagEnd[] = ">";

template <size_t size>
constexpr size_t lengthOf(const char (&)[size]) {
  return size - 1;
}

// Stops at the terminator of the text, which no literal holds.
template <size_t size>
bool begins(const char *text, const char (&literal)[size]) {
  for (size_t i = 0; i < size - 1; ++i) {
    if (text[i] != literal[i]) return false;
  }
  return true;
}

// The first place of a literal that ends in '>'; null when the text ends first.
template <size_t size>
const char *find(const char *text, const char (&literal)[size]) {
  constexpr size_t before = size - 2;  // bytes of the literal before its '>'
  const char *close = std::strchr(text, '>');
  while (close != nullptr) {
    const bool isWhole = static_cast<size_t>(close - text) >= before &&
                         std::memcmp(close - before, literal, before) == 0;
    if (isWhole) return close - before;
    close = std::strchr(close + 1, '>');
  }
  return nullptr;
}

constexpr bool isWhitespace(char byte) {
  return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r';
}

inline const char *skipWhitespace(const char *text) {
  while (isWhitespace(*text)) ++text;
  return text;
}

enum class TokenRead {
  none,   // nothing recorded: the end of the text, or markup that is not closed
  empty,  // recorded, but of length 0: the cursor is at a lone '/', at "]]>" or at "-->"
  read
};

// Steps over comments, processing instructions and white space; false, with the cursor at it, for
// markup that is malformed or not closed.
inline bool Parser_skipMisc(XmlParser *parser) {
  for (;;) {
    const char *markup = parser->cursor;
    const char *end = nullptr;
    if (begins(markup, kCommentBegin)) {
      end = find(markup, kCommentEnd);
      const char *text = markup + lengthOf(kCommentBegin);
      if (end == nullptr) return Parser_fail(parser, reasons::kCommentOpen, markup);
      if (end < text) return Parser_fail(parser, reasons::kCommentShort, markup);
      if (end > text && end[-1] == '-') {
        return Parser_fail(parser, reasons::kCommentHyphen, markup);
      }
      end += lengthOf(kCommentEnd);
    } else if (begins(markup, kInstructionBegin)) {
      end = find(markup, kInstructionEnd);
      if (end == nullptr) return Parser_fail(parser, reasons::kInstructionOpen, markup);
      end += lengthOf(kInstructionEnd);
    } else {
      parser->cursor = skipWhitespace(markup);
      return true;
    }
    parser->cursor = skipWhitespace(end);
  }
}

enum WordByte : uint8_t { kWordPart = 0, kWordEnd = 1, kWordMaybe = 2 };

constexpr std::array<uint8_t, 256> makeWordBytes() {
  std::array<uint8_t, 256> bytes = {};
  for (const char end : {'\0', ' ', '\t', '\n', '\r', '"', '\'', '=', '>'}) {
    bytes[static_cast<uint8_t>(end)] = kWordEnd;
  }
  for (const char maybe : {'<', ']', '-', '/'}) bytes[static_cast<uint8_t>(maybe)] = kWordMaybe;
  return bytes;
}

constexpr std::array<uint8_t, 256> kWordBytes = makeWordBytes();

// The end of the word that begins here; CDATA sections in it are taken whole. Null when one is
// not closed.
inline const char *findWordEnd(const char *text) {
  for (;;) {
    while (kWordBytes[static_cast<uint8_t>(*text)] == kWordPart) ++text;
    if (kWordBytes[static_cast<uint8_t>(*text)] == kWordEnd) return text;
    if (*text == '<') {
      if (!begins(text, kCdataBegin)) return text;
      text = find(text, kCdataEnd);
      if (text == nullptr) return nullptr;
      text += lengthOf(kCdataEnd);
      continue;
    }
    if (begins(text, kCdataEnd) || begins(text, kCommentEnd) || begins(text, kEmptyTagEnd)) {
      return text;
    }
    ++text;
  }
}

// Where the CDATA section begins that keeps a word from ending.
inline const char *findOpenSection(const char *word) {
  const char *section = std::strstr(word, kCdataBegin);
  for (const char *end = find(section, kCdataEnd); end != nullptr; end = find(section, kCdataEnd)) {
    section = std::strstr(end, kCdataBegin);
  }
  return section;
}

inline const char *findTokenEnd(const char *text) {
  switch (*text) {
    case '"':
    case '\'':
    case '=':
    case '>':
      return text + 1;
    case '/':
      return text[1] == '>' ? text + lengthOf(kEmptyTagEnd) : text;
    case '<':
      if (text[1] == '/') return text + lengthOf(kEndTagBegin);
      return begins(text, kCdataBegin) ? findWordEnd(text) : text + 1;
    default:
      return findWordEnd(text);
  }
}

inline TokenRead Parser_getNextToken(XmlParser *parser) {
  if (*parser->cursor == '\0' || !Parser_skipMisc(parser)) return TokenRead::none;
  const char *token = parser->cursor;
  if (*token == '\0') return TokenRead::none;
  const char *end = findTokenEnd(token);
  if (end == nullptr) {
    if (parser->problem != nullptr) {
      Parser_fail(parser, reasons::kSectionOpen, findOpenSection(token));
    }
    return TokenRead::none;
  }
  parser->token = token;
  parser->tokenLength = static_cast<size_t>(end - token);
  parser->cursor = end;
  return end == token ? TokenRead::empty : TokenRead::read;
}

inline bool readToken(XmlParser *parser) { return Parser_getNextToken(parser) == TokenRead::read; }

template <size_t size>
bool isToken(const XmlParser *parser, const char (&literal)[size]) {
  return parser->tokenLength == size - 1 && std::memcmp(parser->token, literal, size - 1) == 0;
}

}  // namespace neb::xml::internal
