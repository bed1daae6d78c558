#include "parser/structural_index.h"

#include <algorithm>

#include "kernels/byte_sets.h"
#include "kernels/chosen.h"

namespace neb::xml::internal {

StructuralIndex::StructuralIndex(const char *document, size_t length, bool isStrict)
    : begin_(addressOf(document)), documentEnd_(document + length), isStrict_(isStrict) {}

void StructuralIndex::moveTo(const char *from) {
  // Far behind the covered part, a long run has ended. The next one may be near.
  constexpr size_t kFar = kCoveredBytes / 2;
  constexpr size_t kFewWords = kIndexWords / 8;
  static_assert(kFewWords * kBytesPerWord > kLongestCopied);
  const bool isFar = coveredBytes_ != 0 && offsetOf(from) >= coveredBytes_ + kFar;
  cover(from, isFar ? kFewWords : kIndexWords);
}

void StructuralIndex::cover(const char *from, size_t words) {
  const auto left = static_cast<size_t>(documentEnd_ - from);
  // No search goes on behind the word with the terminator.
  const size_t wanted = std::min(words, left / kBytesPerWord + 1);
  const size_t wholeWords = std::min(words, left / kBytesPerWord);
  const IndexKernel index = isStrict_ ? chosenKernel().strictIndex : chosenKernel().index;
  index(from, wholeWords, 0, words_);
  if (wholeWords < wanted) {
    // The last bytes and the terminator, in a copy that ends in more of them.
    char tail[kBytesPerWord] = {};
    std::memcpy(tail, from + wholeWords * kBytesPerWord, left - wholeWords * kBytesPerWord);
    index(tail, 1, wholeWords, words_);
  }
  // A window that begins in the last word may reach into the next one.
  for (auto &bits : words_) bits[wanted] = 0;
  begin_ = addressOf(from);
  coveredBytes_ = words * kBytesPerWord;
  windowsEnd_ = std::min(coveredBytes_, left > kReach ? left - kReach : 0);
}

// The copy itself is not indexed: its bytes have just been stored, and vectors would wait for them.
void StructuralIndex::continueIn(const char *copy, const char *from) {
  const bool isCovered = offsetOf(from) < coveredBytes_ && offsetOf(documentEnd_) < coveredBytes_;
  if (!isCovered) moveTo(from);
  begin_ += addressOf(copy) - addressOf(from);
  documentEnd_ = copy + (documentEnd_ - from);
  windowsEnd_ = offsetOf(documentEnd_);
}

const char *StructuralIndex::nextCovered(Question question, const char *from) const {
  const size_t offset = offsetOf(from);
  uint64_t above = UINT64_MAX << (offset % kBytesPerWord);
  for (size_t word = offset / kBytesPerWord; word < coveredBytes_ / kBytesPerWord; ++word) {
    const uint64_t bits = words_[question][word] & above;
    const auto bit = static_cast<size_t>(std::countr_zero(bits));
    if (bits != 0) return from + (word * kBytesPerWord + bit - offset);
    above = UINT64_MAX;
  }
  return nullptr;
}

const char *StructuralIndex::searchNext(Question question, const char *from) {
  for (;;) {
    if (const char *found = nextCovered(question, from)) return found;
    // From before the covered part as well: another search may have moved it on.
    const size_t offset = offsetOf(from);
    if (offset < coveredBytes_) from += coveredBytes_ - offset;
    moveTo(from);
  }
}

StructuralIndex::Found StructuralIndex::searchEnd(Question question, const char *from, char last) {
  bool isVerbatim = true;
  bool holdsBracket = false;
  bool holdsWhitespace = false;
  const char *found = nextCovered(question, from);
  while (found != nullptr && *found != last && *found != '\0') {
    isVerbatim = isVerbatim && *found != '&' && *found != '<';
    if (isStrict_) {
      holdsBracket = holdsBracket || *found == ']';
      holdsWhitespace = holdsWhitespace || isWhitespace(*found);
    }
    from = found + 1;
    found = nextCovered(question, from);
  }
  const Found result = {found, isVerbatim, holdsBracket, holdsWhitespace};
  return found != nullptr ? result : searchFarEnd(result, from, last);
}

// The run is longer than the covered part.
StructuralIndex::Found StructuralIndex::searchFarEnd(Found result, const char *from,
                                                     char last) const {
  const auto findOrEnd = [](const char *begin, const char *end, char byte) {
    const void *match = std::memchr(begin, byte, static_cast<size_t>(end - begin));
    return match != nullptr ? static_cast<const char *>(match) : end;
  };
  result.end = findOrEnd(from, documentEnd_, last);
  const auto holds = [&](char byte) {
    return byte != last && findOrEnd(from, result.end, byte) != result.end;
  };
  result.isVerbatim = result.isVerbatim && !holds('&') && !holds('<');
  if (!isStrict_) return result;
  const bool isText = last == '<';
  result.holdsBracket = result.holdsBracket || (isText && holds(']'));
  result.holdsWhitespace =
      result.holdsWhitespace || holds('\r') || (!isText && (holds('\n') || holds('\t')));
  return result;
}

}  // namespace neb::xml::internal
