#include "xml_parser_map.h"

#include <algorithm>
#include <cstring>

#include "kernels/chosen.h"

using neb::xml::internal::chosenKernel;
using neb::xml::internal::IndexKernel;

MarkupMap::MarkupMap(const char *text, size_t length, size_t zerosBehind)
    : textEnd_(text + length), zerosBehind_(zerosBehind) {
  mapStretch(text, kWords);
}

void MarkupMap::mapStretch(const char *from, size_t words) {
  const auto left = static_cast<size_t>(textEnd_ - from);
  const size_t readable = left + zerosBehind_;
  const size_t wholeWords = std::min(words, readable / kWordBits);
  const IndexKernel index = chosenKernel().index;
  index(from, wholeWords, 0, maps_);
  if (wholeWords < words && wholeWords * kWordBits <= left) {
    // The last bytes and the terminator, in a copy that ends in more of them.
    char tail[kWordBits] = {};
    std::memcpy(tail, from + wholeWords * kWordBits, left - wholeWords * kWordBits);
    index(tail, 1, wholeWords, maps_);
  }
  for (size_t kind = 0; kind < kKinds; ++kind) maps_[kind][words] = 0;
  stretch_ = from;
  mappedBits_ = words * kWordBits;
  windowsEnd_ = std::min(mappedBits_, readable > kReach ? readable - kReach : 0);
}

const char *MarkupMap::searchStretch(Kind kind, const char *from) const {
  const auto offset = static_cast<size_t>(from - stretch_);
  uint64_t above = UINT64_MAX << (offset % kWordBits);
  for (size_t word = offset / kWordBits; word < mappedBits_ / kWordBits; ++word) {
    const uint64_t bits = maps_[kind][word] & above;
    if (bits != 0) return stretch_ + word * kWordBits + std::countr_zero(bits);
    above = UINT64_MAX;
  }
  return nullptr;
}

const char *MarkupMap::search(Kind kind, const char *from) {
  // Far behind the stretch a long run has ended, and there may be little before the next one.
  constexpr size_t kFar = kStretchBits / 2;
  constexpr size_t kFewWords = kWords / 8;
  const bool isFar = static_cast<size_t>(from - stretch_) >= mappedBits_ + kFar;
  size_t words = isFar ? kFewWords : kWords;
  for (const char *begin = std::max(from, stretch_ + mappedBits_);; begin += mappedBits_) {
    mapStretch(begin, words);
    if (const char *found = searchStretch(kind, begin)) return found;
    words = kWords;
  }
}

MarkupMap::Run MarkupMap::searchRun(const char *from, char last, bool isPlain) const {
  const auto findOrEnd = [](const char *begin, const char *end, char byte) {
    const void *found = std::memchr(begin, byte, static_cast<size_t>(end - begin));
    return found != nullptr ? static_cast<const char *>(found) : end;
  };
  const char *end = findOrEnd(from, textEnd_, last);
  const auto holds = [=](char byte) { return byte != last && findOrEnd(from, end, byte) != end; };
  return {end, isPlain && !holds('&') && !holds('<')};
}
