// The names that exact printing allows.
#pragma once

#include <algorithm>

#include "parser/attribute_set.h"
#include "parser/names.h"
#include "record/node.h"
#include "simd/vector.h"

namespace neb::xml::internal {

// ASCII that no name holds; bytes of other characters pass.
inline Vector findOutsideNames(Vector bytes) {
  const Vector isLetter = (bytes | ('a' ^ 'A')) - 'a' < 26;
  const Vector isDigitOrColon = bytes - '0' < 11;
  const Vector isHyphenOrDot = bytes - '-' < 2;
  return ~(isLetter | isDigitOrColon | isHyphenOrDot | (bytes == '_') | (bytes > 0x7F));
}

inline bool mayBeginName(char byte) {
  return (byte < '0' || byte > ':') && byte != '-' && byte != '.';
}

// Whether a name with its prefix is one in XML that parsing can split: it has no colon at its
// beginning or end. There are some bytes behind it, so that whole vectors can be read.
inline bool isName(const char *name, const char *end) {
  if (name == end || !mayBeginName(*name) || end[-1] == ':') return false;
  for (; name < end; name += kVectorSize) {
    const uint64_t outside = bitsOf(findOutsideNames(loadVector(name)));
    const size_t left = std::min(static_cast<size_t>(end - name), kVectorSize);
    if ((outside & ((uint64_t{1} << left) - 1)) != 0) return false;
  }
  return true;
}

// Finds duplicate attribute names in a tag. Most names differ in a few bits.
class AttributeNames {
 public:
  AttributeNames() { attributes_.compareAsPrinted(); }
  ~AttributeNames() { attributes_.clear(); }
  AttributeNames(const AttributeNames &) = delete;
  AttributeNames &operator=(const AttributeNames &) = delete;

  // Most elements have one attribute at most.
  static bool mayHaveDuplicates(const XmlNode *element) {
    return element->firstAttr != nullptr && element->firstAttr->next != nullptr;
  }

  void beginTag(const XmlNode *element) {
    element_ = element;
    if (!mayHaveDuplicates(element)) return;
    seen_.beginTag();
    attributes_.clear();
  }

  // Adds the tag's next attribute, whose whole name is given as it is printed. Returns NEB_XML_OK,
  // NEB_XML_ERR_INVALID_PARAM for a name that an attribute before it has, or NEB_XML_ERR_NO_MEMORY.
  uint32_t add(const XmlNode *attribute, const char *name, const char *end) {
    if (!mayHaveDuplicates(element_)) return NEB_XML_OK;
    const bool isCompared = attributes_.count() < AttributeSet::kComparedAttributes;
    const uint64_t key = NamesSeen::keyOf(name, static_cast<size_t>(end - name));
    if (isCompared && !seen_.see(key)) {
      attributes_.countUnlike(1);
      return NEB_XML_OK;
    }
    const uint32_t result = attributes_.add(element_->firstAttr, attribute);
    return result == NEB_XML_ERR_ALREADY_EXISTS ? uint32_t{NEB_XML_ERR_INVALID_PARAM} : result;
  }

 private:
  const XmlNode *element_ = nullptr;
  NamesSeen seen_;
  AttributeSet attributes_ = {};
};

}  // namespace neb::xml::internal
