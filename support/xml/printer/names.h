// The names that exact printing allows.
#pragma once

#include <algorithm>

#include "characters/characters.h"
#include "kernels/byte_sets.h"
#include "record/node.h"
#include "simd/vector.h"
#include "tree/duplicates.h"

namespace neb::xml::internal {

template <typename Bytes>
Bytes findAsciiOfNames(Bytes bytes) {
  const Bytes isLetter = (bytes | ('a' ^ 'A')) - 'a' < 26;
  const Bytes isDigitOrColon = bytes - '0' < 11;
  const Bytes isHyphenOrDot = bytes - '-' < 2;
  return isLetter | isDigitOrColon | isHyphenOrDot | (bytes == '_');
}

// Which bytes a name may have. Of all other characters, every byte passes, or none.
struct AnyCharacters {
  template <typename Bytes>
  static Bytes find(Bytes bytes) {
    return findAsciiOfNames(bytes) | (bytes > 0x7F);
  }
};
struct AsciiCharacters {
  template <typename Bytes>
  static Bytes find(Bytes bytes) {
    return findAsciiOfNames(bytes);
  }
};

inline bool isFirstOfName(char byte) {
  return (byte < '0' || byte > ':') && byte != '-' && byte != '.';
}

// Parsing can split a name with its prefix only if there is no colon at its beginning or end.
inline bool beginsAndEndsAsName(const char *name, const char *end) {
  return name != end && isFirstOfName(*name) && end[-1] != ':';
}

// Whether a name with its prefix is one in XML that parsing can split. There are some bytes behind
// it, so that whole vectors can be read.
template <typename Bytes>
bool isName(const char *name, const char *end) {
  if (!beginsAndEndsAsName(name, end)) return false;
  if constexpr (platform::kIsSmall) {
    return std::all_of(name, end, [](char byte) {
      return Bytes::find(SingleByte(static_cast<uint8_t>(byte)))[0] != 0;
    });
  }
  for (; name < end; name += kVectorSize) {
    const uint64_t outside = bitsOf(~Bytes::find(loadVector(name)));
    const size_t left = std::min(static_cast<size_t>(end - name), kVectorSize);
    if ((outside & ((uint64_t{1} << left) - 1)) != 0) return false;
  }
  return true;
}

// The same for a short name whose bytes are in a register as well, with zeros behind them. The
// vector need not wait until the name has been written.
template <typename Bytes>
bool isShortName(Vector bytes, const char *name, const char *end) {
  return beginsAndEndsAsName(name, end) && bitsOf(~Bytes::find(bytes) & (bytes != 0)) == 0;
}

// The same with all characters looked at, not only those of ASCII.
inline bool isUnicodeName(const char *name, const char *end) {
  return beginsAndEndsAsName(name, end) && isXmlName(name, static_cast<size_t>(end - name));
}

// Finds duplicate attribute names in a tag.
class AttributeNames {
 public:
  void beginTag(const XmlNode *element) {
    element_ = element;
    seen_ = {};
    duplicates_.beginTag();
  }

  // Adds the tag's next attribute, whose whole name is given as it is printed. Returns NEB_XML_OK,
  // NEB_XML_ERR_ALREADY_EXISTS for a duplicate, or NEB_XML_ERR_NO_MEMORY.
  uint32_t add(const XmlNode *attribute, const char *name, const char *end) {
    if (element_->firstAttr->next == nullptr) return NEB_XML_OK;  // most elements have one at most
    const uint64_t key = NameKey::of(name, static_cast<size_t>(end - name), 0);
    if (duplicates_.addIfNew(key, &seen_)) return NEB_XML_OK;
    return duplicates_.add(key, element_->firstAttr, attribute, &seen_);
  }

 private:
  const XmlNode *element_ = nullptr;
  DuplicateDetector::Seen seen_;
  DuplicateDetector duplicates_{DuplicateDetector::Compared::asPrinted};
};

}  // namespace neb::xml::internal
