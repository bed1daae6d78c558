#include "source/matching_builder.h"

#include <algorithm>
#include <cstring>

#include "memory/terminator.h"
#include "parser/decoder.h"

namespace neb::xml::internal {

namespace {

// Null stands for an empty string.
bool isSame(const char *string, const char *begin, size_t length) {
  if (string == nullptr) return length == 0;
  return std::strncmp(string, begin, length) == 0 && string[length] == '\0';
}

// A node's prefix and name against a whole name.
bool hasName(const XmlNode *node, const char *name, size_t length) {
  const auto *colon = static_cast<const char *>(std::memchr(name, ':', length));
  const size_t prefixLength = colon != nullptr ? static_cast<size_t>(colon - name) : 0;
  const size_t local = colon != nullptr ? prefixLength + 1 : 0;
  return isSame(node->prefix, name, prefixLength) &&
         isSame(node->name, name + local, length - local);
}

}  // namespace

bool MatchingBuilder::startElement(const char *tag, const Run &name) {
  const XmlNode *next = root_;
  if (open_ != nullptr) next = last_ != nullptr ? last_->next : open_->firstChild;
  if (!require(next != nullptr && hasName(next, name.begin, name.length))) return false;
  hasRoot_ = true;
  isInTag_ = true;
  hasText_ = false;
  open_ = next;
  last_ = nullptr;
  attribute_ = next->firstAttr;
  if (Target *target = targets_.find(next)) {
    target->at.begin = tag;
    target->at.name = name.begin;
    target->at.nameEnd = name.begin + name.length;
    target->at.attributesEnd = target->at.nameEnd;
  }
  return true;
}

bool MatchingBuilder::startAttribute(const Run &prefix, const Run &name) {
  const char *begin = prefix.length != 0 ? prefix.begin : name.begin;
  attributeName_ = {begin, static_cast<size_t>(name.begin + name.length - begin), true};
  return require(attribute_ != nullptr && isSame(attribute_->prefix, prefix.begin, prefix.length) &&
                 isSame(attribute_->name, name.begin, name.length));
}

bool MatchingBuilder::endAttribute(const char *nameInDocument, const Run &value) {
  if (!matchValue(value, attribute_->value)) return false;
  const char *end = tokenizer_->cursor();
  if (Target *target = targets_.find(attribute_)) {
    const char *nameEnd = nameInDocument + attributeName_.length;
    target->at = {nameInDocument,
                  nameInDocument,
                  nameEnd,
                  nullptr,
                  nullptr,
                  value.begin,
                  value.begin + value.length,
                  end};
  }
  if (Target *target = targets_.find(open_)) {
    target->at.lastAttribute = nameInDocument;
    target->at.attributesEnd = end;
  }
  attribute_ = attribute_->next;
  return true;
}

bool MatchingBuilder::endStartTag() {
  isInTag_ = false;
  isInContent_ = true;
  if (Target *target = targets_.find(open_)) target->at.content = tokenizer_->cursor();
  return require(attribute_ == nullptr);
}

bool MatchingBuilder::endEmptyElement() {
  isInTag_ = false;
  if (!require(attribute_ == nullptr) || !matchEnd()) return false;
  if (Target *target = targets_.find(open_)) target->at.content = tokenizer_->cursor();
  leave(tokenizer_->cursor());
  return true;
}

bool MatchingBuilder::setText(const Run &text) {
  hasText_ = true;
  return matchValue(text, open_->value);
}

bool MatchingBuilder::isNameOfOpen(const char *name, size_t length) const {
  return hasName(open_, name, length);
}

void MatchingBuilder::close() { leave(tokenizer_->tokenBegin()); }

// The tree may hold no more children than the document, and no other value.
bool MatchingBuilder::matchEnd() {
  const bool hasMore = last_ != nullptr ? last_->next != nullptr : open_->firstChild != nullptr;
  return require(!hasMore && (hasText_ || isMissing(open_->value)));
}

void MatchingBuilder::leave(const char *endTag) {
  if (Target *target = targets_.find(open_)) {
    target->at.contentEnd = endTag;
    target->at.end = tokenizer_->cursor();
  }
  last_ = open_;
  open_ = open_ == root_ ? nullptr : open_->parent;
  isInContent_ = false;
  hasText_ = false;
}

bool MatchingBuilder::matchValue(const Run &run, const char *value) {
  if (run.length > INT32_MAX) return refuse(NEB_XML_ERR_SYNTAX);
  if (run.isVerbatim) return require(isSame(value, run.begin, run.length));
  return decodeRun(run) && require(isSame(value, decoded_, std::strlen(decoded_)));
}

bool MatchingBuilder::decodeRun(const Run &run) {
  const size_t size = run.length + kTerminator;
  if (size > decodedRoom_) {
    XML_Free(nullptr, decoded_);
    decodedRoom_ = std::max(size, 2 * decodedRoom_);
    decoded_ = static_cast<char *>(XML_Malloc(nullptr, decodedRoom_));
    if (decoded_ == nullptr) return refuse(NEB_XML_ERR_NO_MEMORY);
  }
  DecodingFailure failure = {};
  return decode(run, decoded_, &failure) || fail(failure.reason, failure.at);
}

}  // namespace neb::xml::internal
