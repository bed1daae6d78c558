// Reading and copying the strings of a node, whose lengths are seldom measured.
#pragma once

#include <cstring>

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

}  // namespace neb::xml::internal
