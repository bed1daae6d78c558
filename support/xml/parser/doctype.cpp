#include "parser/doctype.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>

#include "characters/characters.h"
#include "parser/markup.h"
#include "parser/reasons.h"

namespace neb::xml::internal {

namespace {

constexpr char kSystem[] = "SYSTEM";
constexpr char kPublic[] = "PUBLIC";
static_assert(lengthOf(kSystem) == lengthOf(kPublic));
constexpr char kPublicIdCharacters[] =
    " \r\nABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-'()+,./:=?;!*#@$_%";
constexpr std::string_view kDeclarations[] = {"<!ELEMENT", "<!ATTLIST", "<!ENTITY", "<!NOTATION"};

// Reads on in a terminated document. Functions that return false have set what is wrong. Each
// declaration in the internal subset is only read up to its end.
class DoctypeReader {
 public:
  explicit DoctypeReader(const char *doctype)
      : doctype_(doctype), cursor_(doctype + lengthOf(kDoctypeBegin)) {}

  DoctypeEnd read() {
    if (!readName() || !readExternalId() || !readSubset() || !readEnd()) return {at_, reason_};
    return {cursor_, nullptr};
  }

 private:
  bool fail(const char *reason, const char *at) {
    reason_ = reason;
    at_ = at;
    return false;
  }

  // What stands here belongs to no declaration.
  bool failMarkup(const char *at) {
    return *at == '\0' ? fail(reasons::kDoctypeOpen, doctype_) : fail(reasons::kDoctypeMarkup, at);
  }

  bool readName() {
    const char *name = skipWhitespace(cursor_);
    if (name == cursor_) return fail(reasons::kDoctypeName, doctype_);
    cursor_ = findNameEnd(name);
    const bool isName = cursor_ != name && (isWhitespace(*cursor_) || *cursor_ == '[' ||
                                            *cursor_ == '>' || *cursor_ == '\0');
    return isName || fail(reasons::kDoctypeName, doctype_);
  }

  // A system identifier, perhaps behind a public one.
  bool readExternalId() {
    const char *keyword = skipWhitespace(cursor_);
    const bool isPublic = begins(keyword, kPublic);
    if (!isPublic && !begins(keyword, kSystem)) return true;
    cursor_ = keyword + lengthOf(kSystem);
    return (!isPublic || readPublicId()) && readLiteral();
  }

  bool readPublicId() {
    const char *id = skipWhitespace(cursor_) + 1;
    if (!readLiteral()) return false;
    const char *wrong = id + std::strspn(id, kPublicIdCharacters);
    return wrong >= cursor_ - 1 || failMarkup(wrong);
  }

  bool readLiteral() {
    const char *quote = skipWhitespace(cursor_);
    const bool isQuote = *quote == '"' || *quote == '\'';
    if (quote == cursor_ || !isQuote) return failMarkup(quote);
    cursor_ = quote;
    return skipQuoted();
  }

  bool skipQuoted() {
    const char *close = std::strchr(cursor_ + 1, *cursor_);
    if (close == nullptr) return fail(reasons::kDoctypeLiteralOpen, cursor_);
    cursor_ = close + 1;
    return true;
  }

  bool readSubset() {
    const char *bracket = skipWhitespace(cursor_);
    if (*bracket != '[') return true;
    cursor_ = bracket + 1;
    for (;;) {
      cursor_ = skipWhitespace(cursor_);
      if (*cursor_ == ']') break;
      if (!(*cursor_ == '%' ? readReference() : readMarkup())) return false;
    }
    ++cursor_;
    return true;
  }

  // Of a parameter entity.
  bool readReference() {
    const char *name = cursor_ + 1;
    const char *end = findNameEnd(name);
    if (end == name || *end != ';') return failMarkup(cursor_);
    cursor_ = end + 1;
    return true;
  }

  bool readMarkup() {
    if (begins(cursor_, kCommentBegin)) return skipTo(kCommentEnd, lengthOf(kCommentBegin));
    if (begins(cursor_, kInstructionBegin)) {
      return skipTo(kInstructionEnd, lengthOf(kInstructionBegin));
    }
    return beginsDeclaration() ? skipDeclaration() : failMarkup(cursor_);
  }

  template <size_t size>
  bool skipTo(const char (&literal)[size], size_t beginLength) {
    const char *end = find(cursor_ + beginLength, literal);
    if (end == nullptr) return fail(reasons::kDoctypeOpen, cursor_);
    cursor_ = end + lengthOf(literal);
    return true;
  }

  bool beginsDeclaration() const {
    return std::any_of(std::begin(kDeclarations), std::end(kDeclarations),
                       [this](std::string_view begin) {
                         return std::strncmp(cursor_, begin.data(), begin.size()) == 0 &&
                                isWhitespace(cursor_[begin.size()]);
                       });
  }

  bool skipDeclaration() {
    const char *declaration = cursor_++;
    for (;;) {
      cursor_ += std::strcspn(cursor_, "\"'<>");
      if (*cursor_ == '\0' || *cursor_ == '<') return fail(reasons::kDoctypeOpen, declaration);
      if (*cursor_ == '>') {
        ++cursor_;
        return true;
      }
      if (!skipQuoted()) return false;
    }
  }

  bool readEnd() {
    const char *end = skipWhitespace(cursor_);
    if (*end != '>') return failMarkup(end);
    cursor_ = end + lengthOf(kTagEnd);
    return true;
  }

  const char *doctype_;
  const char *cursor_;
  const char *at_ = nullptr;
  const char *reason_ = nullptr;
};

}  // namespace

DoctypeEnd findDoctypeEnd(const char *doctype) { return DoctypeReader(doctype).read(); }

}  // namespace neb::xml::internal
