// The builder that makes no tree: it compares the document with one.
#pragma once

#include <utility>

#include "parser/strict_tokenizer.h"
#include "source/target.h"

namespace neb::xml::internal {

// Walks a tree in step with the tokens of a document and compares names, values and structure, so
// that nothing but the document of this tree passes. Notes where the targets are. Functions that
// return bool return false once the two have differed or reading has failed.
class MatchingBuilder {
 public:
  using Tokenizer = StrictTokenizer<MatchingBuilder>;

  MatchingBuilder(const XmlNode *root, Targets *targets) : root_(root), targets_(*targets) {}
  ~MatchingBuilder() { XML_Free(nullptr, decoded_); }
  MatchingBuilder(const MatchingBuilder &) = delete;
  MatchingBuilder &operator=(const MatchingBuilder &) = delete;

  // To be set before the tokenizer reads.
  void setTokenizer(const Tokenizer *tokenizer) { tokenizer_ = tokenizer; }

  // NEB_XML_OK, NEB_XML_ERR_SYNTAX, NEB_XML_ERR_NO_MEMORY, or NEB_XML_ERR_NOT_FOUND if the tree is
  // not the document's.
  uint32_t result() const { return result_; }

  bool hasFailed() const { return result_ != NEB_XML_OK; }
  bool hasOpen() const { return open_ != nullptr; }
  bool hasRoot() const { return hasRoot_; }
  bool isInTag() const { return isInTag_; }
  bool isInContent() const { return isInContent_; }

  // For the report of a failure, which is not made here.
  static const char *openTag() { return nullptr; }
  static Run openName() { return {}; }

  bool fail(const char * /*reason*/, const char * /*at*/) { return refuse(NEB_XML_ERR_SYNTAX); }
  bool failAbout(const char *reason, const char *at, const Run & /*name*/) {
    return fail(reason, at);
  }
  bool failEndTag(const char *endTag, const Run & /*name*/) { return fail(nullptr, endTag); }
  bool passUnsupported(const char *reason, const char *at, const Run & /*name*/) {
    return fail(reason, at);
  }

  bool startElement(const char *tag, const Run &name);
  bool startAttribute(const Run &prefix, const Run &name);
  bool endAttribute(const char *nameInDocument, const Run &value);
  bool endStartTag();
  bool endEmptyElement();
  bool makeNext() const { return !hasFailed(); }
  bool setText(const Run &text);
  bool isNameOfOpen(const char *name, size_t length) const;
  // The tokenizer asks behind the name of the end tag: what is left of the element is compared.
  bool splitName() { return matchEnd(); }
  void close();

 private:
  bool refuse(uint32_t result) {
    if (result_ == NEB_XML_OK) result_ = result;
    return false;
  }
  bool require(bool isSame) { return isSame || refuse(NEB_XML_ERR_NOT_FOUND); }
  bool matchValue(const Run &run, const char *value);
  bool decodeRun(const Run &run);
  bool matchEnd();
  void leave(const char *endTag);

  const XmlNode *root_;
  Targets &targets_;
  const Tokenizer *tokenizer_ = nullptr;
  const XmlNode *open_ = nullptr;
  const XmlNode *last_ = nullptr;       // its last child so far
  const XmlNode *attribute_ = nullptr;  // the next one
  Run attributeName_ = {};
  char *decoded_ = nullptr;
  size_t decodedRoom_ = 0;
  uint32_t result_ = NEB_XML_OK;
  bool hasRoot_ = false;
  bool isInTag_ = false;
  bool isInContent_ = false;
  bool hasText_ = false;
};

}  // namespace neb::xml::internal
