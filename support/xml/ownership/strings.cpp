#include "ownership/strings.h"

#include "ownership/kept.h"
#include "ownership/name_holders.h"

namespace neb::xml::internal {

namespace {

uint8_t elsewhereMark(StringField field) {
  switch (field) {
    case StringField::name:
      return kNameElsewhere;
    case StringField::value:
      return kValueElsewhere;
    case StringField::prefix:
      break;
  }
  return kPrefixElsewhere;
}

bool ownsString(const XmlNode *node, StringField field) {
  switch (field) {
    case StringField::name:
      return node->nameOwned == 1;
    case StringField::value:
      return node->valueOwned == 1;
    case StringField::prefix:
      break;
  }
  return true;
}

void pointField(XmlNode *node, StringField field, char *string) {
  node->marks &= static_cast<uint8_t>(~kStringsTogether);
  switch (field) {
    case StringField::name:
      node->name = string;
      node->nameLength = 0;
      break;
    case StringField::value:
      node->value = string;
      node->valueSize = 0;
      break;
    case StringField::prefix:
      node->prefix = string;
      break;
  }
}

bool isHeapString(const XmlNode *node, StringField field) {
  const bool isElsewhere = (node->marks & elsewhereMark(field)) != 0;
  return isOnHeap(node) != isElsewhere;
}

}  // namespace

char *stringOf(const XmlNode *node, StringField field) {
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

void putString(XmlNode *node, StringField field, char *copy, bool copyIsOnHeap) {
  pointField(node, field, copy);
  const uint8_t mark = elsewhereMark(field);
  if (isOnHeap(node) == copyIsOnHeap) {
    node->marks &= static_cast<uint8_t>(~mark);
  } else {
    node->marks |= mark;
  }
  if (field == StringField::name) node->nameOwned = 1;
  if (field == StringField::value) node->valueOwned = 1;
}

void dropString(XmlNode *node, StringField field, const Storage &storage) {
  char *string = stringOf(node, field);
  const bool isGivenUp = string != nullptr && ownsString(node, field) && isHeapString(node, field);
  if (field == StringField::name && holdsSlot(node)) stopHolding(heldDocument(node));
  pointField(node, field, nullptr);
  node->marks &= static_cast<uint8_t>(~elsewhereMark(field));
  if (isGivenUp) keepOrFree(storage, string);
}

void dropStrings(XmlNode *node, const Storage &storage) {
  dropString(node, StringField::name, storage);
  dropString(node, StringField::value, storage);
  dropString(node, StringField::prefix, storage);
}

}  // namespace neb::xml::internal
