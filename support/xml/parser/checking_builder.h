// The builder that makes no tree: it finds why and where a document is malformed.
#pragma once

#include "memory/allocator.h"
#include "parser/decoder.h"
#include "parser/limits.h"
#include "parser/markup.h"
#include "record/node.h"
#include "tree/duplicates.h"

namespace neb::xml::internal {

// Checks the tokens and builds no nodes from them: end tags against start tags, attributes against
// each other, references. It keeps pointers to the open start tags in the document, and the
// attribute names of one tag. Functions that return bool return false once the parse has failed.
class CheckingBuilder {
 public:
  // What is copied comes from an allocator, which outlives the builder.
  explicit CheckingBuilder(const Allocator &allocator = kHooks, const ReadLimits &limits = {})
      : allocator_(allocator),
        limits_(limits),
        duplicates_(DuplicateDetector::Compared::asStored, allocator) {}
  ~CheckingBuilder();
  CheckingBuilder(const CheckingBuilder &) = delete;
  CheckingBuilder &operator=(const CheckingBuilder &) = delete;

  struct OpenTag {
    const char *tag;  // its '<'
    Run name;
  };

  // The first failure. Reasons are constants.
  struct Failure {
    const char *reason = nullptr;  // null: none
    const char *at = nullptr;
    OpenTag startTag = {};  // of an end tag with another name, or around mixed content; else empty
    Run endTagName = {};
    Run about = {};  // the name that the reason is about
  };
  const Failure &failure() const { return failure_; }
  // The first thing that a tree cannot hold, in strict reading; what follows was checked as well.
  const Failure &unsupported() const { return unsupported_; }

  bool hasFailed() const { return failure_.reason != nullptr; }
  bool hasOpen() const { return openTags_ != 0; }
  bool isInTag() const { return isInTag_; }
  bool isInContent() const { return isInContent_; }
  bool isLastStartedOpen() const { return isLastStartedOpen_; }
  bool hasAttributes() const { return seen_.count != 0; }
  // Whether an element has been started.
  bool hasRoot() const { return nodes_ != 0; }

  // The '<' of the innermost open start tag; null if there is none.
  const char *openTag() const { return hasOpen() ? innermost().tag : nullptr; }

  // Its name; empty if there is none.
  Run openName() const { return hasOpen() ? innermost().name : Run{}; }

  bool fail(const char *reason, const char *at);
  bool failAbout(const char *reason, const char *at, const Run &name);
  bool failEndTag(const char *endTag, const Run &name);
  // Well-formed, but not for a tree. True if the tokenizer is to go on behind it: what follows may
  // be malformed.
  bool passUnsupported(const char *reason, const char *at, const Run &name);

  bool startElement(const char *tag, const Run &name);
  bool startAttribute(const Run &prefix, const Run &name);
  bool endAttribute(const char *nameInDocument, const Run &value);
  bool endStartTag();
  bool endEmptyElement();
  static bool makeNext() { return true; }
  bool setText(const Run &text) { return checkRun(text); }
  bool isNameOfOpen(const char *name, size_t length);
  bool splitName();
  void close();
  void closeInContent();

 private:
  const OpenTag &innermost() const { return tags_[openTags_ - 1]; }
  bool failForMemory(const char *at);
  bool checkRun(const Run &run);
  XmlNode *makeAttribute() const;
  char *copyRun(const Run &run);
  void releaseCopy(char *copy, const Run &run) const;
  bool checkPrefix(const char *name, size_t length);
  bool growTags();
  bool countNode(const char *at);
  void failDecoding(const DecodingFailure &failure);
  void freeAttributes();

  const Allocator &allocator_;
  ReadLimits limits_;
  size_t nodes_ = 0;
  Run attributeName_ = {};  // with its prefix
  Failure failure_;
  Failure unsupported_;
  OpenTag *tags_ = nullptr;
  size_t openTags_ = 0;
  size_t capacity_ = 0;  // of tags_
  bool isInTag_ = false;
  bool isInContent_ = false;
  bool isLastStartedOpen_ = false;
  XmlNode *firstAttribute_ = nullptr;  // of the tag; see makeAttribute
  XmlNode *lastAttribute_ = nullptr;
  DuplicateDetector duplicates_;
  DuplicateDetector::Seen seen_;
};

}  // namespace neb::xml::internal
