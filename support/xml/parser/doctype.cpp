#include "parser/doctype.h"

#include <cstring>

#include "characters/characters.h"
#include "parser/markup.h"
#include "parser/reasons.h"

namespace neb::xml::internal {

namespace {

constexpr char kDeclarationEnds[] = "\"'<>[]";

// Reads on in a terminated document. Functions that return false have set what is wrong.
class DoctypeReader {
 public:
  explicit DoctypeReader(const char *doctype)
      : doctype_(doctype), cursor_(doctype + lengthOf(kDoctypeBegin)) {}

  DoctypeEnd read() {
    if (!readName() || !readRest()) return {at_, reason_};
    return {cursor_, nullptr};
  }

 private:
  bool fail(const char *reason, const char *at) {
    reason_ = reason;
    at_ = at;
    return false;
  }

  bool readName() {
    const char *name = skipWhitespace(cursor_);
    if (name == cursor_) return fail(reasons::kDoctypeName, doctype_);
    cursor_ = findNameEnd(name);
    const bool isName = cursor_ != name && (isWhitespace(*cursor_) || *cursor_ == '[' ||
                                            *cursor_ == '>' || *cursor_ == '\0');
    return isName || fail(reasons::kDoctypeName, doctype_);
  }

  // An external identifier and the internal subset, up to the end.
  bool readRest() {
    bool hasSubset = false;
    for (;;) {
      cursor_ += std::strcspn(cursor_, kDeclarationEnds);
      switch (*cursor_) {
        case '>':
          ++cursor_;
          return true;
        case '"':
        case '\'':
          if (!skipQuoted()) return false;
          break;
        case '[':
          if (hasSubset) return fail(reasons::kDoctypeMarkup, cursor_);
          hasSubset = true;
          ++cursor_;
          if (!skipSubset()) return false;
          break;
        case '\0':
          return fail(reasons::kDoctypeOpen, doctype_);
        default:
          return fail(reasons::kDoctypeMarkup, cursor_);
      }
    }
  }

  bool skipQuoted() {
    const char *close = std::strchr(cursor_ + 1, *cursor_);
    if (close == nullptr) return fail(reasons::kDoctypeQuoteOpen, cursor_);
    cursor_ = close + 1;
    return true;
  }

  // Up to behind the ']'.
  bool skipSubset() {
    for (;;) {
      cursor_ += std::strcspn(cursor_, "<]");
      if (*cursor_ == '\0') return fail(reasons::kDoctypeOpen, doctype_);
      if (*cursor_ == ']') {
        ++cursor_;
        return true;
      }
      if (!skipMarkup()) return false;
    }
  }

  bool skipMarkup() {
    if (begins(cursor_, kCommentBegin)) return skipTo(kCommentEnd, lengthOf(kCommentBegin));
    if (begins(cursor_, kInstructionBegin)) {
      return skipTo(kInstructionEnd, lengthOf(kInstructionBegin));
    }
    return skipDeclaration();
  }

  template <size_t size>
  bool skipTo(const char (&literal)[size], size_t beginLength) {
    const char *end = find(cursor_ + beginLength, literal);
    if (end == nullptr) return fail(reasons::kDoctypeOpen, cursor_);
    cursor_ = end + lengthOf(literal);
    return true;
  }

  // Of an entity, an element, an attribute list or a notation.
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

  const char *doctype_;
  const char *cursor_;
  const char *at_ = nullptr;
  const char *reason_ = nullptr;
};

}  // namespace

DoctypeEnd findDoctypeEnd(const char *doctype) { return DoctypeReader(doctype).read(); }

}  // namespace neb::xml::internal
