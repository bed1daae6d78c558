// What a parse finds wrong, for those who ask.
#pragma once

#include <cstddef>

namespace neb::xml::internal {

// The innermost start tags that are not closed yet, as places in the text.
struct OpenTag {
  const char *tag;  // its '<'
  const char *name;
  size_t nameLength;
};

// The first failure of a parse. Reasons are constants.
class ParseProblem {
 public:
  ParseProblem() = default;
  ~ParseProblem();
  ParseProblem(const ParseProblem &) = delete;
  ParseProblem &operator=(const ParseProblem &) = delete;

  void note(const char *reason, const char *place);
  void noteMismatch(const char *reason, const char *endTag, const char *name, size_t nameLength);

  void open(const OpenTag &tag);
  void close();

  const char *reason() const { return reason_; }
  const char *place() const { return place_; }

  // Of a mismatch; names of length 0 otherwise.
  const OpenTag &startTag() const { return startTag_; }
  const OpenTag &endTag() const { return endTag_; }

  // The innermost open tag; its members are null when there is none or memory ran out.
  OpenTag innermost() const;

 private:
  bool grow();

  const char *reason_ = nullptr;
  const char *place_ = nullptr;
  OpenTag startTag_ = {};
  OpenTag endTag_ = {};
  OpenTag *tags_ = nullptr;
  size_t count_ = 0;     // open
  size_t capacity_ = 0;  // of tags_; what is open beyond it is only counted
};

}  // namespace neb::xml::internal
