#include "parser/structural_index.h"

#include <algorithm>

#include "kernels/chosen.h"

namespace neb::xml::internal {

void StructuralIndex::reset(const char *document, size_t length, size_t zerosBehind) {
  begin_ = document;
  windowsEnd_ = 0;
  coveredBytes_ = 0;
  documentEnd_ = document + length;
  zerosBehind_ = zerosBehind;
}

void StructuralIndex::moveTo(const char *from) {
  // Far behind the covered part, a long run has ended. The next one may be near.
  constexpr size_t kFar = kCoveredBytes / 2;
  constexpr size_t kFewWords = kIndexWords / 8;
  const bool isFar = coveredBytes_ != 0 && from >= begin_ + coveredBytes_ + kFar;
  cover(from, isFar ? kFewWords : kIndexWords);
}

void StructuralIndex::cover(const char *from, size_t words) {
  const auto left = static_cast<size_t>(documentEnd_ - from);
  const size_t readable = left + zerosBehind_;
  // No search goes on behind the word with the terminator.
  const size_t wanted = std::min(words, left / kBytesPerWord + 1);
  const size_t wholeWords = std::min(wanted, readable / kBytesPerWord);
  const IndexKernel index = chosenKernel().index;
  index(from, wholeWords, 0, words_);
  if (wholeWords < wanted) {
    // The last bytes and the terminator, in a copy that ends in more of them.
    char tail[kBytesPerWord] = {};
    std::memcpy(tail, from + wholeWords * kBytesPerWord, left - wholeWords * kBytesPerWord);
    index(tail, 1, wholeWords, words_);
  }
  // A window that begins in the last word may reach into the next one.
  for (auto &bits : words_) bits[wanted] = 0;
  begin_ = from;
  coveredBytes_ = words * kBytesPerWord;
  windowsEnd_ = std::min(coveredBytes_, readable > kReach ? readable - kReach : 0);
}

const char *StructuralIndex::nextCovered(Question question, const char *from) const {
  const size_t offset = offsetOf(from);
  uint64_t above = UINT64_MAX << (offset % kBytesPerWord);
  for (size_t word = offset / kBytesPerWord; word < coveredBytes_ / kBytesPerWord; ++word) {
    const uint64_t bits = words_[question][word] & above;
    if (bits != 0) return begin_ + word * kBytesPerWord + std::countr_zero(bits);
    above = UINT64_MAX;
  }
  return nullptr;
}

const char *StructuralIndex::next(Question question, const char *from) {
  for (;;) {
    if (const char *found = nextCovered(question, from)) return found;
    // From before the covered part as well: another search may have moved it on.
    if (offsetOf(from) < coveredBytes_) from = begin_ + coveredBytes_;
    moveTo(from);
  }
}

StructuralIndex::Found StructuralIndex::findEnd(Question question, const char *from, char last) {
  bool isVerbatim = true;
  const auto isFound = [&](const char *found) {
    if (*found == last || *found == '\0') return true;
    isVerbatim = isVerbatim && *found != '&' && *found != '<';
    return false;
  };
  const char *found = nextCovered(question, from);
  while (found != nullptr && !isFound(found)) {
    from = found + 1;
    found = nextCovered(question, from);
  }
  if (found != nullptr) return {found, isVerbatim};
  // The run is longer than the covered part.
  const auto findOrEnd = [](const char *begin, const char *end, char byte) {
    const void *match = std::memchr(begin, byte, static_cast<size_t>(end - begin));
    return match != nullptr ? static_cast<const char *>(match) : end;
  };
  const char *end = findOrEnd(from, documentEnd_, last);
  const auto holds = [=](char byte) { return byte != last && findOrEnd(from, end, byte) != end; };
  return {end, isVerbatim && !holds('&') && !holds('<')};
}

}  // namespace neb::xml::internal
