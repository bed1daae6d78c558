// Checks the characters of a document in strict reading, one part after the other.
#pragma once

#include <utility>

#include "characters/utf8.h"
#include "kernels/chosen.h"

namespace neb::xml::internal {

class CharacterCheck {
 public:
  explicit CharacterCheck(const char *document) : checkedEnd_(document) {}

  // Whether the bytes up to here are UTF-8 of characters that XML allows. A character that is cut
  // here is left for the next part, unless the document ends.
  bool areAllowedUpTo(const char *end, const char *documentEnd) {
    if (end <= checkedEnd_) return true;
    if (end != documentEnd) end = wholeCharacters(end);
    const char *from = std::exchange(checkedEnd_, end);
    return areAllowed(from, end);
  }

 private:
  const char *wholeCharacters(const char *end) const {
    for (size_t i = 1; i < kLongestUtf8 && end > checkedEnd_ && isTail(*end); ++i) --end;
    return end;
  }

  const char *checkedEnd_;
};

// For the lenient language.
struct NoCharacterCheck {
  explicit NoCharacterCheck(const char * /*document*/) {}
};

}  // namespace neb::xml::internal
