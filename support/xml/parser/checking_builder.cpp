#include "parser/checking_builder.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "characters/characters.h"
#include "memory/hooks.h"
#include "parser/copying.h"
#include "parser/reasons.h"
#include "tree/nodes.h"

namespace neb::xml::internal {

namespace {

constexpr size_t kFirstCapacity = 64;

}  // namespace

CheckingBuilder::~CheckingBuilder() {
  freeAttributes();
  XML_Free(nullptr, tags_);
}

bool CheckingBuilder::fail(const char *reason, const char *at) { return failAbout(reason, at, {}); }

bool CheckingBuilder::failAbout(const char *reason, const char *at, const Run &name) {
  if (hasFailed()) return false;
  const bool isMixed = reason == reasons::kMixedChild || reason == reasons::kMixedText;
  failure_ = {reason, at, isMixed ? innermost() : OpenTag{}, {}, name};
  return false;
}

bool CheckingBuilder::failEndTag(const char *endTag, const Run &name) {
  if (!hasFailed()) failure_ = {reasons::kEndTagOther, endTag, innermost(), name, name};
  return false;
}

bool CheckingBuilder::failForMemory(const char *at) { return fail(reasons::kNoMemory, at); }

bool CheckingBuilder::countNode(const char *at) {
  return ++nodes_ <= limits_.nodes || fail(reasons::kTooManyNodes, at);
}

bool CheckingBuilder::startElement(const char *tag, const Run &name) {
  if (!checkRun(name) || !countNode(tag)) return false;
  if (openTags_ >= limits_.depth) return fail(reasons::kTooDeep, tag);
  if (openTags_ == capacity_ && !growTags()) return failForMemory(tag);
  tags_[openTags_++] = {tag, name};
  freeAttributes();
  isInTag_ = true;
  isLastStartedOpen_ = true;
  return true;
}

bool CheckingBuilder::startAttribute(const Run &prefix, const Run &name) {
  const char *begin = prefix.length != 0 ? prefix.begin : name.begin;
  attributeName_ = {begin, static_cast<size_t>(name.begin + name.length - begin), true};
  if (!countNode(begin)) return false;
  XmlNode *attribute = makeNode(Storage(), NEB_XML_NODE_ATTRIBUTE);
  if (attribute == nullptr) return failForMemory(name.begin);
  (lastAttribute_ != nullptr ? lastAttribute_->next : firstAttribute_) = attribute;
  lastAttribute_ = attribute;
  attribute->nameOwned = 1;
  if (prefix.length != 0) {
    attribute->prefix = copyRun(prefix);
    if (attribute->prefix == nullptr) return false;
  }
  attribute->name = copyRun(name);
  return attribute->name != nullptr;
}

bool CheckingBuilder::endAttribute(const char *nameInDocument, const Run &value) {
  if (!checkRun(value)) return false;
  const uint64_t key = NameKey::of(lastAttribute_);
  const uint32_t result = duplicates_.add(key, firstAttribute_, lastAttribute_, &seen_);
  if (result == NEB_XML_ERR_NO_MEMORY) return failForMemory(nameInDocument);
  return result == NEB_XML_OK ||
         failAbout(reasons::kAttributeTwice, nameInDocument, attributeName_);
}

bool CheckingBuilder::endStartTag() {
  isInTag_ = false;
  isInContent_ = true;
  return true;
}

bool CheckingBuilder::endEmptyElement() {
  isInTag_ = false;
  if (!splitName()) return false;
  close();
  return true;
}

bool CheckingBuilder::isNameOfOpen(const char *name, size_t length) {
  const Run &open = innermost().name;
  if (open.isVerbatim) {
    return open.length == length && std::memcmp(open.begin, name, length) == 0;
  }
  char *decoded = copyRun(open);
  const bool isSame = decoded != nullptr && std::strlen(decoded) == length &&
                      std::memcmp(decoded, name, length) == 0;
  XML_Free(nullptr, decoded);
  return isSame;
}

bool CheckingBuilder::splitName() {
  const Run &name = innermost().name;
  if (name.isVerbatim) return checkPrefix(name.begin, name.length);
  char *decoded = copyRun(name);
  if (decoded == nullptr) return false;
  const bool isSplit = checkPrefix(decoded, std::strlen(decoded));
  XML_Free(nullptr, decoded);
  return isSplit;
}

// The prefix is decoded once more, from the name as a tree would hold it.
bool CheckingBuilder::checkPrefix(const char *name, size_t length) {
  const void *colon = std::memchr(name, ':', length);
  if (colon == nullptr) return true;
  const auto prefixLength = static_cast<size_t>(static_cast<const char *>(colon) - name);
  if (prefixLength == 0 || prefixLength == length - 1) {
    return fail(reasons::kElementNameColon, openTag());
  }
  const Run prefix = runOf(name, prefixLength);
  DecodingFailure failure = {};
  if (prefix.isVerbatim) return true;
  auto *decoded = static_cast<char *>(XML_Malloc(nullptr, prefixLength + kTerminator));
  if (decoded == nullptr) return failForMemory(openTag());
  const bool isDecoded = decode(prefix, decoded, &failure);
  XML_Free(nullptr, decoded);
  return isDecoded || fail(reasons::kElementPrefix, openTag());
}

void CheckingBuilder::close() {
  --openTags_;
  isInContent_ = false;
  isLastStartedOpen_ = false;
}

void CheckingBuilder::closeInContent() {
  --openTags_;
  isLastStartedOpen_ = false;
}

bool CheckingBuilder::checkRun(const Run &run) {
  if (run.isVerbatim && run.length <= INT32_MAX) return true;
  char *copy = copyRun(run);
  XML_Free(nullptr, copy);
  return copy != nullptr;
}

// A new heap string, decoded; null if that fails.
char *CheckingBuilder::copyRun(const Run &run) {
  if (run.length > INT32_MAX) {
    fail(reasons::kTextTooLong, run.begin);
    return nullptr;
  }
  auto *copy = static_cast<char *>(XML_Malloc(nullptr, run.length + kTerminator));
  if (copy == nullptr) {
    failForMemory(run.begin);
    return nullptr;
  }
  if (run.isVerbatim) {
    std::memcpy(copy, run.begin, run.length);
    copy[run.length] = '\0';
    return copy;
  }
  DecodingFailure failure = {};
  if (decode(run, copy, &failure)) return copy;
  XML_Free(nullptr, copy);
  failDecoding(failure);
  return nullptr;
}

void CheckingBuilder::failDecoding(const DecodingFailure &failure) {
  Run about = {};
  if (failure.reason == reasons::kEntity) {
    const char *name = failure.at + 1;
    about = {name, static_cast<size_t>(findNameEnd(name) - name), true};
  }
  failAbout(failure.reason, failure.at, about);
}

bool CheckingBuilder::growTags() {
  const size_t capacity = capacity_ == 0 ? kFirstCapacity : 2 * capacity_;
  auto *tags = static_cast<OpenTag *>(XML_Malloc(nullptr, capacity * sizeof(OpenTag)));
  if (tags == nullptr) return false;
  std::copy_n(tags_, openTags_, tags);
  XML_Free(nullptr, tags_);
  tags_ = tags;
  capacity_ = capacity;
  return true;
}

void CheckingBuilder::freeAttributes() {
  while (firstAttribute_ != nullptr) {
    XML_FreeSingleAttrNode(std::exchange(firstAttribute_, firstAttribute_->next));
  }
  lastAttribute_ = nullptr;
  duplicates_.beginTag();
  seen_ = {};
}

}  // namespace neb::xml::internal
