// The strings of a node, each with its origin. Inline, since a caller knows which string it means.
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
inline char *stringOf(const XmlNode *node, StringField field) {
  switch (field) {
    case StringField::name:
      return node->name;
    case StringField::value:
      return node->value;
    case StringField::prefix:
      break;
  }
  return node->prefix;
}

inline void pointField(XmlNode *node, StringField field, char *string) {
  switch (field) {
    case StringField::name:
      node->name = string;
      return;
    case StringField::value:
      node->value = string;
      return;
    case StringField::prefix:
      break;
  }
  node->prefix = string;
}

inline void noteLength(XmlNode *node, StringField field, size_t length) {
  if (field == StringField::name) node->nameLength = notedNameLength(length);
  if (field == StringField::value) noteValueLength(node, length);
}

inline void forgetLength(XmlNode *node, StringField field) {
  if (field == StringField::name) node->nameLength = 0;
  if (field == StringField::value) node->valueSize = 0;
}

inline void setOwned(XmlNode *node, StringField field) {
  if (field == StringField::name) node->nameOwned = 1;
  if (field == StringField::value) node->valueOwned = 1;
}

inline bool ownsString(const XmlNode *node, StringField field) {
  if (field == StringField::name) return node->nameOwned == 1;
  return field == StringField::prefix || node->valueOwned == 1;
}

// Points a field at a copy that the node owns from now on. The old string is not looked at.
inline void putString(XmlNode *node, StringField field, const StringCopy &copy, bool copyIsOnHeap) {
  const auto mark = static_cast<uint8_t>(field);
  const bool isElsewhere = isOnHeap(node) != copyIsOnHeap;
  const int others = node->marks & ~(kStringsTogether | mark);
  node->marks = static_cast<uint8_t>(others | (isElsewhere ? mark : 0));
  pointField(node, field, copy.string);
  noteLength(node, field, copy.length);
  setOwned(node, field);
}

// Makes a field null. A heap string that the node owns is freed, or kept by the session of the
// storage. The ownership flag does not change.
inline void dropString(XmlNode *node, StringField field, const Storage &storage) {
  const auto mark = static_cast<uint8_t>(field);
  char *string = stringOf(node, field);
  const bool isHeapString = isOnHeap(node) != ((node->marks & mark) != 0);
  const bool isGivenUp = isHeapString && string != nullptr && ownsString(node, field);
  if (field == StringField::name && holdsSlot(node)) stopHolding(heldDocument(node));
  node->marks &= static_cast<uint8_t>(~(kStringsTogether | mark));
  pointField(node, field, nullptr);
  forgetLength(node, field);
  if (isGivenUp) keepOrFree(storage, string);
}

// All three of them.
void dropStrings(XmlNode *node, const Storage &storage);

}  // namespace neb::xml::internal
