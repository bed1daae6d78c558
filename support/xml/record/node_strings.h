// Reading and copying the strings of a node, whose lengths are seldom measured.
#pragma once

#include <cstring>
#include <string_view>

#include "memory/arena.h"
#include "record/node.h"
#include "simd/vector.h"

namespace neb::xml::internal {

// 0 where there is no prefix.
inline size_t prefixLengthOf(const XmlNode *node) {
  return node->prefix != nullptr ? std::strlen(node->prefix) : 0;
}

// Of a node that has a name.
inline size_t nameLengthOf(const XmlNode *node) {
  return hasNotedNameLength(node) ? size_t{node->nameLength} : std::strlen(node->name);
}

// Of a node that has a value.
inline size_t valueLengthOf(const XmlNode *node) {
  return node->valueSize != 0 ? size_t{node->valueSize} - 1 : std::strlen(node->value);
}

// Whether a vector that ends at the last byte of any string of the node may be read, however short
// the string. In the node's session it may: something readable lies before each allocation.
static_assert(kReadableBefore >= kVectorSize);
inline bool hasBytesBeforeStrings(const XmlNode *node) {
  constexpr uint8_t kElsewhere = kNameElsewhere | kValueElsewhere | kPrefixElsewhere;
  return !isOnHeap(node) && (node->marks & kElsewhere) == 0;
}

// Copies a string without its terminator; up to a vector too far may be written.
inline char *copyString(char *to, const char *from, size_t length, bool hasBytesBefore) {
  const bool isShort = hasBytesBefore && ShortString::isLengthOfOne(length);
  return isShort ? ShortString(from, length).copyTo(to, length) : copyString(to, from, length);
}

// Whether two strings of one length are the same. Up to sixteen bytes take two words of each, which
// may overlap.
inline bool sameBytes(const char *a, const char *b, size_t length) {
  if constexpr (platform::kIsSmall) return std::memcmp(a, b, length) == 0;
  const auto same = [=]<typename Word>(Word /*size*/) {
    Word words[4];
    const size_t at = length - sizeof(Word);
    std::memcpy(&words[0], a, sizeof(Word));
    std::memcpy(&words[1], b, sizeof(Word));
    std::memcpy(&words[2], a + at, sizeof(Word));
    std::memcpy(&words[3], b + at, sizeof(Word));
    return ((words[0] ^ words[1]) | (words[2] ^ words[3])) == 0;
  };
  if (length > 2 * sizeof(uint64_t)) return std::memcmp(a, b, length) == 0;
  if (length >= sizeof(uint64_t)) return same(uint64_t{});
  if (length >= sizeof(uint32_t)) return same(uint32_t{});
  if (length >= sizeof(uint16_t)) return same(uint16_t{});
  return length == 0 || *a == *b;
}

// A name to look for. Most others differ in length, which is compared without a look at the string.
class NameToFind {
 public:
  // Null stands for no name.
  explicit NameToFind(const char *name)
      : name_(name), length_(name != nullptr ? std::strlen(name) : 0) {}
  explicit NameToFind(std::string_view name) : name_(name.data()), length_(name.size()) {}

  bool isNameOf(const XmlNode *node) const {
    const char *name = node->name;
    if (name == name_) return true;
    if (name == nullptr || name_ == nullptr) return false;
    if (!hasNotedNameLength(node)) return std::strcmp(name, name_) == 0;
    return node->nameLength == length_ && sameBytes(name, name_, length_);
  }

 private:
  const char *name_;
  size_t length_;
};

}  // namespace neb::xml::internal
