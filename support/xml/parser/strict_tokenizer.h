// The strict tokenizer: XML 1.0, token by token.
#pragma once

#include <cstring>

#include "characters/characters.h"
#include "characters/utf8.h"
#include "parser/declaration.h"
#include "parser/doctype.h"
#include "parser/markup.h"
#include "parser/reasons.h"
#include "parser/strict_text.h"

namespace neb::xml::internal {

// Does for well-formed XML what the tokenizer does for the lenient language: splits the document
// into tokens and reports them to a builder of the same functions. Whether the bytes are UTF-8 of
// allowed characters is checked elsewhere. What is well-formed, but cannot be held by a tree of
// elements and texts, is reported to the builder, which decides whether reading goes on.
//
// One step reads the whole content between a start tag and the tag that follows: white space, text,
// CDATA sections, comments and processing instructions. The latter two do not end a text.
template <typename Builder>
class StrictTokenizer {
 public:
  StrictTokenizer(Builder *builder, const char *document)
      : builder_(*builder), cursor_(document), token_(document) {}

  // Behind what has been read.
  const char *cursor() const { return cursor_; }
  // For a scanner, which continues reading, perhaps in a copy of the rest.
  void setCursor(const char *cursor) { cursor_ = cursor; }

  // Where the tag begins that the builder is told of.
  const char *tokenBegin() const { return token_; }
  bool hasDoctype() const { return hasDoctype_; }
  // Whether the document says that it holds ASCII only.
  bool declaresAscii() const { return declaresAscii_; }

  // Refuses document type declarations from now on.
  void refuseDoctype() { refusesDoctype_ = true; }

  bool skipProlog() { return skipDeclaration() && skipMisc() && skipDoctype() && skipMisc(); }

  // Reads to the end of the document.
  bool readAll() {
    while (*cursor_ != '\0') {
      if (!readNext()) return false;
    }
    return finish();
  }

  // One step: an attribute, the end of a start tag, or content and the tag behind it.
  bool readNext() {
    if (builder_.isInTag()) return readInTag();
    if (!builder_.hasOpen()) return readAtTop();
    return builder_.isInContent() ? readContent() : readBehindChild();
  }

  // At the end of the document.
  bool finish() {
    if (builder_.isInTag()) return builder_.fail(reasons::kStartTagOpen, builder_.openTag());
    if (builder_.hasOpen()) return failOpenElement();
    return builder_.hasRoot() || builder_.fail(reasons::kNoElement, cursor_);
  }

  // Behind the comment or processing instruction that begins here; the cursor itself if none does.
  // Null if it is malformed or not closed.
  const char *findMiscEnd(const char *markup) {
    if (begins(markup, kCommentBegin)) return findCommentEnd(markup);
    return begins(markup, kInstructionBegin) ? findInstructionEnd(markup) : markup;
  }

 private:
  bool skipDeclaration() {
    if (!beginsDeclaration(cursor_)) return true;
    DeclarationReader declaration(cursor_);
    if (declaration.read()) {
      cursor_ = declaration.end();
      declaresAscii_ = declaration.namesAscii();
      return true;
    }
    return builder_.failAbout(declaration.reason(), declaration.at(), declaration.encoding());
  }

  bool skipDoctype() {
    if (!begins(cursor_, kDoctypeBegin)) return true;
    if (refusesDoctype_) return builder_.fail(reasons::kDoctypeRefused, cursor_);
    const DoctypeEnd found = findDoctypeEnd(cursor_);
    if (found.reason != nullptr) return builder_.fail(found.reason, found.at);
    hasDoctype_ = true;
    cursor_ = found.at;
    return true;
  }

  // Steps over comments, processing instructions and white space.
  bool skipMisc() {
    for (;;) {
      cursor_ = skipWhitespace(cursor_);
      const char *end = findMiscEnd(cursor_);
      if (end == nullptr) return false;
      if (end == cursor_) return true;
      cursor_ = end;
    }
  }

  const char *findCommentEnd(const char *comment) {
    // Most comments hold few hyphens.
    const char *hyphens = std::strchr(comment + lengthOf(kCommentBegin), '-');
    while (hyphens != nullptr && hyphens[1] != '-') hyphens = std::strchr(hyphens + 1, '-');
    if (hyphens == nullptr) {
      builder_.fail(reasons::kCommentOpen, comment);
      return nullptr;
    }
    const char *end = hyphens + lengthOf(kHyphens);
    if (*end == '>') return end + 1;
    builder_.fail(reasons::kCommentHyphens, hyphens);
    return nullptr;
  }

  const char *findInstructionEnd(const char *instruction) {
    const char *target = instruction + lengthOf(kInstructionBegin);
    const char *targetEnd = findNameEnd(target);
    const auto length = static_cast<size_t>(targetEnd - target);
    const bool isTarget = length != 0 && (isWhitespace(*targetEnd) || *targetEnd == '?');
    const char *end = find(instruction, kInstructionEnd);
    const char *reason = nullptr;
    if (end == nullptr) {
      reason = reasons::kInstructionOpen;
    } else if (isReservedTarget(target, length)) {
      reason = reasons::kDeclarationLate;
    } else if (!isTarget || (*targetEnd == '?' && end != targetEnd)) {
      reason = reasons::kInstructionTarget;
    }
    if (reason == nullptr) return end + lengthOf(kInstructionEnd);
    builder_.fail(reason, instruction);
    return nullptr;
  }

  bool failOpenElement() {
    return builder_.failAbout(reasons::kElementOpen, builder_.openTag(), builder_.openName());
  }

  // ---- Tags

  // Before the root or behind it.
  bool readAtTop() {
    if (!skipMisc()) return false;
    if (*cursor_ == '\0') return true;
    if (beginsEndTag(cursor_)) return builder_.fail(reasons::kEndTagAlone, cursor_);
    if (begins(cursor_, kDoctypeBegin)) return builder_.fail(reasons::kDoctypeLate, cursor_);
    const bool isText = *cursor_ != '<' || begins(cursor_, kCdataBegin);
    if (isText) return builder_.fail(reasons::kTextOutside, cursor_);
    const bool isSecond = builder_.hasRoot() && isTagName(cursor_ + 1);
    return isSecond ? builder_.fail(reasons::kSecondRoot, cursor_) : readStartTag();
  }

  // From the '<' to the end of the name.
  bool readStartTag() {
    token_ = cursor_;
    const char *name = cursor_ + 1;
    const char *end = findNameEnd(name);
    if (end == name) return failNoName(name);
    if (!endsTag(end) && !isWhitespace(*end)) return failName(name, end);
    const Run run = {name, static_cast<size_t>(end - name), true};
    if (*name != ':' && end[-1] != ':') return startElement(run);
    return builder_.passUnsupported(reasons::kElementNameColon, token_, run) && startElement(run);
  }

  bool startElement(const Run &name) {
    cursor_ = name.begin + name.length;
    return builder_.startElement(token_, name);
  }

  bool failName(const char *name, const char *end) {
    return *end == '\0' ? builder_.fail(reasons::kStartTagOpen, name - 1)
                        : builder_.fail(reasons::kNameCharacter, end);
  }

  // What begins no tag is probably meant as a text.
  bool failNoName(const char *name) {
    if (*name == '!') return builder_.fail(reasons::kMarkupUnknown, token_);
    const bool isOther = findOtherThanAscii(name, name + 1) == name;
    if (isOther) return builder_.fail(reasons::kNameCharacter, name);
    return builder_.fail(builder_.hasOpen() ? reasons::kTextLess : reasons::kElementName, token_);
  }

  bool readInTag() {
    const char *token = skipWhitespace(cursor_);
    if (*token == '>') {
      cursor_ = token + lengthOf(kTagEnd);
      return builder_.endStartTag() && makeNext();
    }
    if (begins(token, kEmptyTagEnd)) {
      cursor_ = token + lengthOf(kEmptyTagEnd);
      return builder_.endEmptyElement() && makeNext();
    }
    if (*token == '\0') return builder_.fail(reasons::kStartTagOpen, builder_.openTag());
    if (token == cursor_) return builder_.fail(reasons::kAttributeSpace, token);
    return readAttribute(token);
  }

  // Behind a start tag the record of the next element is made, unless the document ends.
  bool makeNext() { return *cursor_ == '\0' || builder_.makeNext(); }

  bool readAttribute(const char *name) {
    const char *end = findNameEnd(name);
    if (end == name) return builder_.fail(reasons::kAttributeName, name);
    const char *equals = skipWhitespace(end);
    if (*equals != '=') {
      const bool isName = equals != end || endsTag(end) || *end == '\0';
      return isName ? builder_.fail(reasons::kAttributeEquals, name)
                    : builder_.fail(reasons::kNameCharacter, end);
    }
    const char *quote = skipWhitespace(equals + 1);
    if (*quote != '"' && *quote != '\'') return builder_.fail(reasons::kAttributeQuote, name);
    const char *value = quote + 1;
    const char *close = std::strchr(value, *quote);
    if (close == nullptr) return builder_.fail(reasons::kAttributeOpen, quote);
    cursor_ = close + 1;
    return startAttribute(name, static_cast<size_t>(end - name)) &&
           builder_.endAttribute(name, strictValue(value, close));
  }

  bool startAttribute(const char *name, size_t length) {
    const auto *colon = static_cast<const char *>(std::memchr(name, ':', length));
    if (colon == nullptr) return builder_.startAttribute({name, 0, true}, {name, length, true});
    const auto prefixLength = static_cast<size_t>(colon - name);
    if (prefixLength == 0 || name[length - 1] == ':') {
      const Run whole = {name, length, true};
      return builder_.passUnsupported(reasons::kAttributeNameColon, name, whole) &&
             builder_.startAttribute({name, 0, true}, whole);
    }
    return builder_.startAttribute({name, prefixLength, true},
                                   {colon + 1, length - prefixLength - 1, true});
  }

  bool readEndTag() {
    token_ = cursor_;
    const char *name = cursor_ + lengthOf(kEndTagBegin);
    const char *end = findNameEnd(name);
    if (end == name) return builder_.fail(reasons::kEndTagName, token_);
    const char *close = skipWhitespace(end);
    if (*close != '>') return builder_.fail(reasons::kEndTagOpen, token_);
    const auto length = static_cast<size_t>(end - name);
    if (!builder_.isNameOfOpen(name, length)) {
      return builder_.failEndTag(token_, {name, length, true});
    }
    cursor_ = close + lengthOf(kTagEnd);
    if (!builder_.splitName()) return false;
    builder_.close();
    return true;
  }

  // ---- Content

  // The content between a start tag and the next tag, and that tag.
  bool readContent() {
    StrictText content(cursor_);
    for (;;) {
      if (!content.readCharacters()) return builder_.fail(reasons::kSectionEnd, content.end());
      if (*content.end() == '\0') return failOpenElement();
      if (begins(content.end(), kCdataBegin)) {
        if (!content.readSection()) return builder_.fail(reasons::kSectionOpen, content.end());
        continue;
      }
      const char *behind = findMiscEnd(content.end());
      if (behind == nullptr) return false;
      if (behind == content.end()) break;
      content.skipMarkup(behind);
    }
    cursor_ = content.end();
    if (beginsEndTag(cursor_)) {
      const bool isSet = !content.hasCharacters() || builder_.setText(content.run());
      return isSet && readEndTag();
    }
    const bool isMixed = content.hasText() && isTagName(cursor_ + 1);
    return isMixed ? readChildAfter(content.run()) : readStartTag();
  }

  static bool isTagName(const char *name) { return findNameEnd(name) != name; }

  // A child that begins behind text.
  bool readChildAfter(const Run &text) {
    const char *name = cursor_ + 1;
    const auto length = static_cast<size_t>(findNameEnd(name) - name);
    return builder_.passUnsupported(reasons::kMixedChild, cursor_, {name, length, true}) &&
           builder_.setText(text) && readStartTag();
  }

  // The content between a child and the next tag, and that tag.
  bool readBehindChild() {
    if (!skipMisc()) return false;
    if (*cursor_ == '\0') return failOpenElement();
    if (beginsEndTag(cursor_)) return readEndTag();
    const bool isText = *cursor_ != '<' || begins(cursor_, kCdataBegin);
    if (!isText) return readStartTag();
    return builder_.passUnsupported(reasons::kMixedText, cursor_, builder_.openName()) &&
           readContent();
  }

  Builder &builder_;
  const char *cursor_;
  const char *token_;
  bool hasDoctype_ = false;
  bool refusesDoctype_ = false;
  bool declaresAscii_ = false;
};

}  // namespace neb::xml::internal
