// The strings of a node, each with its origin. Templates, since a caller knows which one it means.
#pragma once

#include "ownership/kept.h"
#include "ownership/name_holders.h"
#include "ownership/storage.h"

namespace neb::xml::internal {

// Each has the value of its mark for "elsewhere".
enum class StringField : uint8_t {
  name = kNameElsewhere,
  value = kValueElsewhere,
  prefix = kPrefixElsewhere,
};

// A copy of a string, before a node owns it; null where there was nothing to copy.
struct StringCopy {
  char *string = nullptr;
  size_t length = 0;
};

// A node's string; null if it has none.
template <StringField field>
char *stringOf(const XmlNode *node) {
  if constexpr (field == StringField::name) return node->name;
  if constexpr (field == StringField::value) return node->value;
  if constexpr (field == StringField::prefix) return node->prefix;
}

// Whether the node must give the string up before it gets another.
template <StringField field>
bool ownsString(const XmlNode *node) {
  if constexpr (field == StringField::name) return node->nameOwned == 1;
  if constexpr (field == StringField::value) return node->valueOwned == 1;
  return true;
}

// Points a field at a copy that the node owns from now on. The old string is not looked at.
template <StringField field>
void putString(XmlNode *node, const StringCopy &copy, bool copyIsOnHeap) {
  constexpr auto kMark = static_cast<uint8_t>(field);
  const bool isElsewhere = isOnHeap(node) != copyIsOnHeap;
  const int others = node->marks & ~(kStringsTogether | kMark);
  node->marks = static_cast<uint8_t>(others | (isElsewhere ? kMark : 0));
  if constexpr (field == StringField::name) {
    node->name = copy.string;
    node->nameLength = notedNameLength(copy.length);
    node->nameOwned = 1;
  } else if constexpr (field == StringField::value) {
    node->value = copy.string;
    noteValueLength(node, copy.length);
    node->valueOwned = 1;
  } else {
    node->prefix = copy.string;
  }
}

// Makes a field null. A heap string that the node owns is freed, or kept by the session of the
// storage. The ownership flag does not change.
template <StringField field>
void dropString(XmlNode *node, const Storage &storage) {
  constexpr auto kMark = static_cast<uint8_t>(field);
  char *string = stringOf<field>(node);
  const bool isHeapString = isOnHeap(node) != ((node->marks & kMark) != 0);
  const bool isGivenUp = isHeapString && string != nullptr && ownsString<field>(node);
  node->marks &= static_cast<uint8_t>(~(kStringsTogether | kMark));
  if constexpr (field == StringField::name) {
    if (holdsSlot(node)) stopHolding(heldDocument(node));
    node->name = nullptr;
    node->nameLength = 0;
  } else if constexpr (field == StringField::value) {
    node->value = nullptr;
    node->valueSize = 0;
  } else {
    node->prefix = nullptr;
  }
  if (isGivenUp) keepOrFree(storage, string);
}

// All three of them.
void dropStrings(XmlNode *node, const Storage &storage);

}  // namespace neb::xml::internal
