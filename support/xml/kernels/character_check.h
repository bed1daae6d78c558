// The check of characters around a search for ASCII that is allowed, which most documents consist
// of.
#pragma once

#include <bit>
#include <cstddef>
#include <cstring>

#include "characters/utf8.h"

namespace neb::xml::internal {

// The search looks at kStride bytes. findOther() returns 0 if all of them are ASCII that is
// allowed. Otherwise the number of the lowest bit that is set is that of the first other byte.
template <typename Search>
class CharactersBy {
 public:
  // See CharacterKernel.
  static bool areAllowed(const char *from, const char *end) {
    from = skipAllowed(from, end);
    if (from == nullptr) return false;
    // Spaces behind the rest end a character that is not complete.
    char rest[2 * Search::kStride];
    std::memset(rest, ' ', sizeof rest);
    std::memcpy(rest, from, static_cast<size_t>(end - from));
    return skipAllowed(rest, rest + sizeof rest) != nullptr;
  }

 private:
  // Stops before the last stride that is not whole. Null if a character is not allowed.
  static const char *skipAllowed(const char *from, const char *end) {
    if (end - from < kStride) return from;
    for (const char *last = end - kStride; from <= last;) {
      const auto others = Search::findOther(from);
      if (others == 0) {
        from += kStride;
        continue;
      }
      from += std::countr_zero(others);
      if (isAscii(*from)) return nullptr;
      from = skipCommon(from, end);
      if (from < end && !isAscii(*from)) from = skipBeyondAscii(from, end);
      if (from == nullptr) return nullptr;
    }
    return from;
  }

  static constexpr ptrdiff_t kStride = Search::kStride;
};

}  // namespace neb::xml::internal
