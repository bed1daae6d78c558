// The text of an element and the value of an attribute in strict reading.
#pragma once

#include <cstring>

#include "parser/markup.h"

namespace neb::xml::internal {

// "]]>" may not stand in a text. Looks for it by its last byte, which is rare.
inline const char *findSectionEnd(const char *from, const char *end) {
  constexpr size_t kBefore = lengthOf(kCdataEnd) - 1;
  const char *next = from;
  while (next < end) {
    const void *found = std::memchr(next, '>', static_cast<size_t>(end - next));
    if (found == nullptr) return nullptr;
    const auto *close = static_cast<const char *>(found);
    const bool isWhole =
        static_cast<size_t>(close - from) >= kBefore && close[-1] == ']' && close[-2] == ']';
    if (isWhole) return close - kBefore;
    next = close + 1;
  }
  return nullptr;
}

inline bool holds(const char *begin, const char *end, char byte) {
  return std::memchr(begin, byte, static_cast<size_t>(end - begin)) != nullptr;
}

// The text of an element, while it is read: characters and CDATA sections, with comments and
// processing instructions between them that do not belong to it.
class StrictText {
 public:
  explicit StrictText(const char *begin) : begin_(begin), end_(begin) {}

  const char *begin() const { return begin_; }
  const char *end() const { return end_; }

  // Up to the next markup or the end of the document. False if there is a "]]>"; it is then the
  // end.
  bool readCharacters() {
    const char *from = end_;
    const char *next = std::strchr(from, '<');
    end_ = next != nullptr ? next : from + std::strlen(from);
    if (end_ == from) return true;
    hasCharacters_ = true;
    hasText_ = hasText_ || skipWhitespace(from) < end_;
    isVerbatim_ = isVerbatim_ && !holds(from, end_, '&') && !holds(from, end_, '\r');
    const char *sectionEnd = findSectionEnd(from, end_);
    if (sectionEnd != nullptr) end_ = sectionEnd;
    return sectionEnd == nullptr;
  }

  // The section that begins here. False if it is not closed.
  bool readSection() {
    const char *content = end_ + lengthOf(kCdataBegin);
    const char *close = find(content, kCdataEnd);
    if (close == nullptr) return false;
    hasText_ = true;
    hasCharacters_ = hasCharacters_ || close != content;
    isVerbatim_ = false;
    end_ = close + lengthOf(kCdataEnd);
    return true;
  }

  // A comment or a processing instruction.
  void skipMarkup(const char *behind) {
    isVerbatim_ = false;
    end_ = behind;
  }

  bool hasCharacters() const { return hasCharacters_; }
  // Whether there is more than white space.
  bool hasText() const { return hasText_; }

  Run run() const {
    return {begin_, static_cast<size_t>(end_ - begin_), isVerbatim_, Decoding::strictText};
  }

 private:
  const char *begin_;
  const char *end_;
  bool hasCharacters_ = false;
  bool hasText_ = false;
  bool isVerbatim_ = true;
};

// The value of an attribute.
inline Run strictValue(const char *begin, const char *end) {
  const bool isVerbatim = !holds(begin, end, '&') && !holds(begin, end, '<') &&
                          !holds(begin, end, '\t') && !holds(begin, end, '\n') &&
                          !holds(begin, end, '\r');
  return {begin, static_cast<size_t>(end - begin), isVerbatim, Decoding::strictValue};
}

}  // namespace neb::xml::internal
