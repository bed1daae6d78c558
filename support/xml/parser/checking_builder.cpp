#include "parser/checking_builder.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "characters/characters.h"
#include "parser/copying.h"
#include "parser/reasons.h"
#include "record/node_records.h"

namespace neb::xml::internal {

namespace {

constexpr size_t kFirstCapacity = 64;

// In front of an attribute's record, since decoded strings can be shorter than their memory.
struct StringSizes {
  size_t prefix;
  size_t name;
};

constexpr size_t kAttributeSize = sizeof(StringSizes) + kAttributeRecordSize;

StringSizes *sizesOf(XmlNode *attribute) { return reinterpret_cast<StringSizes *>(attribute) - 1; }

size_t sizeOfCopy(const Run &run) { return run.length + kTerminator; }

}  // namespace

CheckingBuilder::~CheckingBuilder() {
  freeAttributes();
  allocator_.release(tags_, capacity_ * sizeof(OpenTag));
}

bool CheckingBuilder::fail(const char *reason, const char *at) { return failAbout(reason, at, {}); }

bool CheckingBuilder::failAbout(const char *reason, const char *at, const Run &name) {
  if (!hasFailed()) failure_ = {reason, at, {}, {}, name};
  return false;
}

bool CheckingBuilder::failEndTag(const char *endTag, const Run &name) {
  if (!hasFailed()) failure_ = {reasons::kEndTagOther, endTag, innermost(), name, name};
  return false;
}

bool CheckingBuilder::passUnsupported(const char *reason, const char *at, const Run &name) {
  if (unsupported_.reason != nullptr) return true;
  const bool isMixed = reason == reasons::kMixedChild || reason == reasons::kMixedText;
  unsupported_ = {reason, at, isMixed ? innermost() : OpenTag{}, {}, name};
  return true;
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
  XmlNode *attribute = makeAttribute();
  if (attribute == nullptr) return failForMemory(name.begin);
  (lastAttribute_ != nullptr ? lastAttribute_->next : firstAttribute_) = attribute;
  lastAttribute_ = attribute;
  *sizesOf(attribute) = {sizeOfCopy(prefix), sizeOfCopy(name)};
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
  releaseCopy(decoded, open);
  return isSame;
}

bool CheckingBuilder::splitName() {
  const Run &name = innermost().name;
  if (name.isVerbatim) return checkPrefix(name.begin, name.length);
  char *decoded = copyRun(name);
  if (decoded == nullptr) return false;
  const bool isSplit = checkPrefix(decoded, std::strlen(decoded));
  releaseCopy(decoded, name);
  return isSplit;
}

// The prefix is decoded once more, from the name as a tree would hold it.
bool CheckingBuilder::checkPrefix(const char *name, size_t length) {
  const void *colon = std::memchr(name, ':', length);
  if (colon == nullptr) return true;
  const auto prefixLength = static_cast<size_t>(static_cast<const char *>(colon) - name);
  if (prefixLength == 0 || prefixLength == length - 1) {
    // Strict reading has passed over the name in the start tag.
    return unsupported_.reason != nullptr || fail(reasons::kElementNameColon, openTag());
  }
  const Run prefix = runOf(name, prefixLength);
  DecodingFailure failure = {};
  if (prefix.isVerbatim) return true;
  auto *decoded = static_cast<char *>(allocator_.allocate(sizeOfCopy(prefix)));
  if (decoded == nullptr) return failForMemory(openTag());
  const bool isDecoded = decode(prefix, decoded, &failure);
  releaseCopy(decoded, prefix);
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
  releaseCopy(copy, run);
  return copy != nullptr;
}

// Without strings; null if memory runs out.
XmlNode *CheckingBuilder::makeAttribute() const {
  auto *sizes = static_cast<StringSizes *>(allocator_.allocate(kAttributeSize));
  if (sizes == nullptr) return nullptr;
  auto *attribute = reinterpret_cast<XmlNode *>(sizes + 1);
  fillEmpty(attribute, NEB_XML_NODE_ATTRIBUTE, 0);
  return attribute;
}

// A new string, decoded; null if that fails.
char *CheckingBuilder::copyRun(const Run &run) {
  if (run.length > INT32_MAX) {
    fail(reasons::kTextTooLong, run.begin);
    return nullptr;
  }
  auto *copy = static_cast<char *>(allocator_.allocate(sizeOfCopy(run)));
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
  releaseCopy(copy, run);
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

void CheckingBuilder::releaseCopy(char *copy, const Run &run) const {
  allocator_.release(copy, sizeOfCopy(run));
}

bool CheckingBuilder::growTags() {
  const size_t capacity = capacity_ == 0 ? kFirstCapacity : productOf(2, capacity_);
  auto *tags = static_cast<OpenTag *>(allocator_.allocate(productOf(capacity, sizeof(OpenTag))));
  if (tags == nullptr) return false;
  std::copy_n(tags_, openTags_, tags);
  allocator_.release(tags_, capacity_ * sizeof(OpenTag));
  tags_ = tags;
  capacity_ = capacity;
  return true;
}

void CheckingBuilder::freeAttributes() {
  while (firstAttribute_ != nullptr) {
    XmlNode *attribute = std::exchange(firstAttribute_, firstAttribute_->next);
    StringSizes *sizes = sizesOf(attribute);
    allocator_.release(attribute->prefix, sizes->prefix);
    allocator_.release(attribute->name, sizes->name);
    allocator_.release(sizes, kAttributeSize);
  }
  lastAttribute_ = nullptr;
  duplicates_.beginTag();
  seen_ = {};
}

}  // namespace neb::xml::internal
