#include "parser/problem.h"

#include "neb_xml.h"
#include "platform/bounded_memory.h"

namespace neb::xml::internal {

namespace {

constexpr size_t kFirstCapacity = 64;

}  // namespace

ParseProblem::~ParseProblem() { XML_Free(nullptr, tags_); }

void ParseProblem::note(const char *reason, const char *place) {
  if (reason_ != nullptr) return;
  reason_ = reason;
  place_ = place;
}

void ParseProblem::noteMismatch(const char *reason, const char *endTag, const char *name,
                                size_t nameLength) {
  if (reason_ != nullptr) return;
  note(reason, endTag);
  startTag_ = innermost();
  endTag_ = {endTag, name, nameLength};
}

void ParseProblem::open(const OpenTag &tag) {
  if (count_ < capacity_ || (count_ == capacity_ && grow())) tags_[count_] = tag;
  ++count_;
}

void ParseProblem::close() {
  if (count_ > 0) --count_;
}

OpenTag ParseProblem::innermost() const {
  return count_ > 0 && count_ <= capacity_ ? tags_[count_ - 1] : OpenTag{};
}

bool ParseProblem::grow() {
  const size_t capacity = capacity_ == 0 ? kFirstCapacity : 2 * capacity_;
  auto *tags = static_cast<OpenTag *>(XML_Malloc(nullptr, capacity * sizeof(OpenTag)));
  if (tags == nullptr) return false;
  if (tags_ != nullptr) {
    platform::memcpy_s(tags, capacity * sizeof(OpenTag), tags_, count_ * sizeof(OpenTag));
  }
  XML_Free(nullptr, tags_);
  tags_ = tags;
  capacity_ = capacity;
  return true;
}

}  // namespace neb::xml::internal
