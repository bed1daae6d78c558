// The tokenizer: the whole language, token by token.
#pragma once

#include <array>
#include <cstring>

#include "parser/markup.h"
#include "parser/reasons.h"

namespace neb::xml::internal {

// Splits the document into tokens and reports them to a builder. A token is never copied: it is a
// pointer into the document and a length. Comments and processing instructions may precede any
// token, and may be between white space where elements may be. Functions that return bool return
// false once the parse has failed. The builder then has the reason and the position.
template <typename Builder>
class Tokenizer {
 public:
  Tokenizer(Builder *builder, const char *document) : builder_(*builder), cursor_(document) {}

  // Behind what has been read.
  const char *cursor() const { return cursor_; }
  // For a scanner, which continues reading, perhaps in a copy of the rest.
  void setCursor(const char *cursor) { cursor_ = cursor; }

  // Skips the declaration, the document type declaration and what may be between them.
  bool skipProlog() {
    const bool isSkipped = skipDeclaration() && skipMisc() && skipDoctype() && skipMisc();
    if (!isSkipped) return false;
    return *cursor_ != '\0' || builder_.fail(reasons::kNoElement, cursor_);
  }

  // Reads to the end of the document.
  bool readAll() {
    while (*cursor_ != '\0') {
      if (!readNext()) return false;
    }
    return finish();
  }

  // One step: an attribute, the end of a start tag, or the content between two tags.
  bool readNext() { return builder_.isInTag() ? readInTag() : readBetweenTags(); }

  // At the end of the document. Only the element started last is looked at.
  bool finish() {
    if (builder_.isInTag()) return builder_.fail(reasons::kStartTagOpen, builder_.openTag());
    return !builder_.isLastStartedOpen() ||
           builder_.fail(reasons::kElementOpen, builder_.openTag());
  }

  // Behind the comment or processing instruction that begins here; the cursor itself if none does.
  // Null if it is malformed or not closed.
  const char *findMiscEnd(const char *markup) {
    if (begins(markup, kCommentBegin)) return findCommentEnd(markup);
    if (!begins(markup, kInstructionBegin)) return markup;
    const char *end = find(markup, kInstructionEnd);
    if (end != nullptr) return end + lengthOf(kInstructionEnd);
    builder_.fail(reasons::kInstructionOpen, markup);
    return nullptr;
  }

  // Behind the comments and processing instructions from here on, with the white space behind each.
  // Null if one is malformed or not closed.
  const char *findBehindMisc(const char *markup) {
    for (;;) {
      const char *end = findMiscEnd(markup);
      if (end == nullptr) return nullptr;
      const bool isSkipped = end != markup;
      markup = skipWhitespace(end);
      if (!isSkipped) return markup;
    }
  }

  // The '<' that ends a text, after any CDATA sections; null if the document ends first.
  static const char *findTextEnd(const char *text) {
    for (;;) {
      text = std::strchr(text, '<');
      if (text == nullptr || !begins(text, kCdataBegin)) return text;
      text = find(text, kCdataEnd);
      if (text == nullptr) return nullptr;
      text += lengthOf(kCdataEnd);
    }
  }

 private:
  enum class TokenRead {
    none,   // nothing recorded: the end of the document, or markup that is not closed
    empty,  // recorded, but of length 0: the cursor is at a lone '/', at "]]>" or at "-->"
    read
  };

  bool skipDeclaration() {
    cursor_ = skipWhitespace(cursor_);
    if (!begins(cursor_, kDeclarationBegin)) return true;
    const char *end = find(cursor_, kInstructionEnd);
    if (end == nullptr) return builder_.fail(reasons::kDeclarationOpen, cursor_);
    cursor_ = skipWhitespace(end + lengthOf(kInstructionEnd));
    return true;
  }

  bool skipDoctype() {
    if (!begins(cursor_, kDoctypeBegin)) return true;
    const char *unclosed = nullptr;
    const char *end = findDoctypeEnd(cursor_, &unclosed);
    if (end == nullptr) {
      const bool isQuote = *unclosed == '"';
      return builder_.fail(isQuote ? reasons::kDoctypeQuoteOpen : reasons::kDoctypeOpen, unclosed);
    }
    cursor_ = skipWhitespace(end);
    return true;
  }

  // The end of a document type declaration. Only angle brackets and double quotes have a meaning in
  // it. If it is not closed, null, and *unclosed is the unclosed quote or declaration.
  static const char *findDoctypeEnd(const char *doctype, const char **unclosed) {
    *unclosed = doctype;
    size_t depth = 1;
    const char *text = doctype + 1;
    while (depth > 0) {
      text = std::strpbrk(text, "<>\"");
      if (text == nullptr) return nullptr;
      if (*text == '"') {
        const char *quote = text;
        text = std::strchr(quote + 1, '"');
        if (text == nullptr) {
          *unclosed = quote;
          return nullptr;
        }
      } else {
        depth = *text == '<' ? depth + 1 : depth - 1;
      }
      ++text;
    }
    return text;
  }

  // Steps over comments, processing instructions and white space. False if one is malformed or not
  // closed.
  bool skipMisc() {
    const char *end = findBehindMisc(cursor_);
    if (end != nullptr) cursor_ = end;
    return end != nullptr;
  }

  const char *findCommentEnd(const char *comment) {
    const char *end = find(comment, kCommentEnd);
    const char *text = comment + lengthOf(kCommentBegin);
    const char *reason = nullptr;
    if (end == nullptr) {
      reason = reasons::kCommentOpen;
    } else if (end < text) {
      reason = reasons::kCommentShort;
    } else if (end > text && end[-1] == '-') {
      reason = reasons::kCommentHyphen;
    }
    if (reason == nullptr) return end + lengthOf(kCommentEnd);
    builder_.fail(reason, comment);
    return nullptr;
  }

  enum WordByte : uint8_t { kWordPart = 0, kWordEnd = 1, kWordMaybe = 2 };

  static constexpr std::array<uint8_t, 256> makeWordBytes() {
    std::array<uint8_t, 256> bytes = {};
    for (const char end : {'\0', ' ', '\t', '\n', '\r', '"', '\'', '=', '>'}) {
      bytes[static_cast<uint8_t>(end)] = kWordEnd;
    }
    for (const char maybe : {'<', ']', '-', '/'}) bytes[static_cast<uint8_t>(maybe)] = kWordMaybe;
    return bytes;
  }

  static constexpr std::array<uint8_t, 256> kWordBytes = makeWordBytes();

  // The end of the word that begins here; CDATA sections in it are taken whole. Null when one is
  // not closed.
  static const char *findWordEnd(const char *text) {
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

  // The CDATA section that keeps a word from ending.
  static const char *findOpenSection(const char *word) {
    const char *section = std::strstr(word, kCdataBegin);
    for (const char *end = find(section, kCdataEnd); end != nullptr;
         end = find(section, kCdataEnd)) {
      section = std::strstr(end, kCdataBegin);
    }
    return section;
  }

  static const char *findTokenEnd(const char *text) {
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

  TokenRead getNextToken() {
    if (*cursor_ == '\0' || !skipMisc()) return TokenRead::none;
    const char *token = cursor_;
    if (*token == '\0') return TokenRead::none;
    const char *end = findTokenEnd(token);
    if (end == nullptr) {
      builder_.fail(reasons::kSectionOpen, findOpenSection(token));
      return TokenRead::none;
    }
    token_ = token;
    tokenLength_ = static_cast<size_t>(end - token);
    cursor_ = end;
    return end == token ? TokenRead::empty : TokenRead::read;
  }

  bool readToken() { return getNextToken() == TokenRead::read; }

  template <size_t size>
  bool isToken(const char (&literal)[size]) const {
    return tokenLength_ == size - 1 && std::memcmp(token_, literal, size - 1) == 0;
  }

  Run token() const { return runOf(token_, tokenLength_); }

  // One tag or text. At the end of the document there may be nothing to read.
  bool readBetweenTags() {
    cursor_ = skipWhitespace(cursor_);
    if (getNextToken() == TokenRead::none) {
      return *cursor_ == '\0' && !builder_.hasFailed();
    }
    if (isToken(kTagEnd)) return builder_.fail(reasons::kTagEndAlone, token_);
    if (isToken(kEndTagBegin)) return readEndTag();
    if (isToken("<")) return readStartTag();
    return readText();
  }

  bool readStartTag() {
    const char *tag = token_;
    if (!readToken()) return builder_.fail(reasons::kElementName, tag);
    return builder_.startElement(tag, token());
  }

  bool readInTag() {
    if (!readToken()) return builder_.fail(reasons::kStartTagOpen, builder_.openTag());
    if (isToken(kTagEnd)) return builder_.endStartTag() && makeNext();
    if (isToken(kEmptyTagEnd)) return builder_.endEmptyElement() && makeNext();
    if (builder_.hasAttributes() && !mayFollowValue()) {
      return builder_.fail(reasons::kAttributeName, token_);
    }
    return readAttribute();
  }

  // Behind a start tag the record of the next element is made, unless the document ends.
  bool makeNext() { return *cursor_ == '\0' || builder_.makeNext(); }

  // Some tokens cannot be a name if only white space is between them and a value.
  bool mayFollowValue() const {
    return tokenLength_ != 1 || std::strchr("\"'=<", *token_) == nullptr;
  }

  // Up to the closing quote; the name is the token.
  bool readAttribute() {
    const char *name = token_;
    if (!isWhitespace(name[-1])) return builder_.fail(reasons::kAttributeSpace, name);
    return readAttributeName() && readAttributeValue(name);
  }

  bool readAttributeName() {
    const Run name = token();
    const void *found = std::memchr(name.begin, ':', name.length);
    if (found == nullptr) return builder_.startAttribute({name.begin, 0, true}, name);
    const auto *colon = static_cast<const char *>(found);
    const auto prefixLength = static_cast<size_t>(colon - name.begin);
    if (prefixLength == 0 || prefixLength == name.length - 1) {
      return builder_.fail(reasons::kAttributeNameColon, name.begin);
    }
    return builder_.startAttribute(runOf(name.begin, prefixLength),
                                   runOf(colon + 1, name.length - prefixLength - 1));
  }

  bool readAttributeValue(const char *name) {
    if (!readToken() || !isToken("=")) return builder_.fail(reasons::kAttributeEquals, name);
    if (!readToken() || (!isToken("\"") && !isToken("'"))) {
      return builder_.fail(reasons::kAttributeQuote, name);
    }
    const char *value = cursor_;
    const char *close = std::strchr(value, *token_);
    if (close == nullptr) return builder_.fail(reasons::kAttributeOpen, token_);
    cursor_ = close + 1;
    return builder_.endAttribute(name, runOf(value, static_cast<size_t>(close - value)));
  }

  // Reads the name of an end tag, which must be the whole name of the open element.
  bool readEndTagName(const char *endTag) {
    if (!readToken()) return builder_.fail(reasons::kEndTagName, endTag);
    if (!builder_.hasOpen()) return builder_.fail(reasons::kEndTagAlone, endTag);
    if (!builder_.isNameOfOpen(token_, tokenLength_)) {
      return builder_.failEndTag(endTag, {token_, tokenLength_, true});
    }
    return builder_.splitName();
  }

  bool readTagEnd(const char *endTag) {
    const bool isClosed = readToken() && isToken(kTagEnd);
    return isClosed || builder_.fail(reasons::kEndTagOpen, endTag);
  }

  bool readEndTag() {
    const char *endTag = token_;
    if (!readEndTagName(endTag)) return false;
    // White space between the last tag and an end tag is the element's value.
    if (endTag[-1] != '>' && builder_.isInContent()) {
      const char *run = endTag;
      while (run[-1] != '>') --run;
      if (!builder_.setText(runOf(run, static_cast<size_t>(endTag - run)))) return false;
    }
    builder_.closeInContent();
    // Comments may follow white space here, but not a text.
    cursor_ = skipWhitespace(cursor_);
    return readTagEnd(endTag);
  }

  bool refuseText() {
    const bool isInElement = builder_.hasOpen();
    return builder_.fail(isInElement ? reasons::kTextAfterChild : reasons::kTextOutside, token_);
  }

  bool readText() {
    const char *text = token_;
    if (isToken(kEmptyTagEnd)) return builder_.fail(reasons::kTagEndAlone, text);
    if (!builder_.isInContent() || !builder_.isLastStartedOpen()) return refuseText();
    const char *run = text;
    while (run[-1] == ' ') --run;
    const char *end = findTextEnd(run);
    if (end == nullptr) return builder_.fail(reasons::kTextOpen, text);
    cursor_ = end;
    if (!builder_.setText(runOf(run, static_cast<size_t>(end - run)))) return false;
    if (!readToken() || !isToken(kEndTagBegin)) return builder_.fail(reasons::kTextMarkup, end);
    const char *endTag = token_;
    if (!readEndTagName(endTag) || !readTagEnd(endTag)) return false;
    builder_.close();
    return true;
  }

  Builder &builder_;
  const char *cursor_;
  const char *token_ = nullptr;
  size_t tokenLength_ = 0;
};

}  // namespace neb::xml::internal
