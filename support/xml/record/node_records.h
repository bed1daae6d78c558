// Records that are filled without being cleared first.
#pragma once

#include <cstring>

#include "record/node.h"

namespace neb::xml::internal {

// What both kinds of records begin with, without name, value and links.
inline void fillRecord(XmlNode *record, int8_t type, uint32_t handle, uint16_t nameLength) {
  record->sessionId = handle;
  record->marks = 0;
  record->valueSize = 0;
  record->nameLength = nameLength;
  record->prefix = nullptr;
  record->type = type;
  record->isDocument = 0;
  record->nameOwned = 1;
  record->boundSession = 0;
  record->next = nullptr;
}

// The links of a detached node, and what only a document has.
inline void clearLinks(XmlNode *record, uint32_t type) {
  record->parent = nullptr;
  if (type == NEB_XML_NODE_ATTRIBUTE) return;
  record->prev = nullptr;
  record->firstChild = nullptr;
  record->lastChild = nullptr;
  record->firstAttr = nullptr;
  if (type != NEB_XML_NODE_DOCUMENT) return;
  record->isDocument = 1;
  std::memset(record->nameTable, 0, sizeof record->nameTable);
}

// A record of any kind without strings and links.
inline void fillEmpty(XmlNode *record, uint32_t type, uint32_t handle) {
  fillRecord(record, static_cast<int8_t>(type), handle, 0);
  record->name = nullptr;
  record->value = nullptr;
  record->nameOwned = 0;
  record->valueOwned = 0;
  clearLinks(record, type);
}

// An attribute of an element, of which name and value are missing.
inline void fillAttribute(XmlNode *attribute, uint32_t handle, uint16_t nameLength,
                          XmlNode *element) {
  fillRecord(attribute, NEB_XML_NODE_ATTRIBUTE, handle, nameLength);
  attribute->valueOwned = 1;
  attribute->parent = element;
}

// An element without anything in it, whose links to parent and sibling are missing.
inline void fillElement(XmlNode *element, uint32_t handle, uint16_t nameLength) {
  fillRecord(element, NEB_XML_NODE_ELEMENT, handle, nameLength);
  element->value = nullptr;
  element->valueOwned = 0;
  element->firstChild = nullptr;
  element->lastChild = nullptr;
  element->firstAttr = nullptr;
}

// Makes an element the next child of another, behind the last one if there is one.
inline void appendElement(XmlNode *element, XmlNode *parent, XmlNode *last) {
  element->parent = parent;
  element->prev = last;
  parent->lastChild = element;
  // One store to either address spares a branch that cannot be predicted.
  char *link = last != nullptr ? reinterpret_cast<char *>(last) + offsetof(XmlNode, next)
                               : reinterpret_cast<char *>(parent) + offsetof(XmlNode, firstChild);
  std::memcpy(link, &element, sizeof(XmlNode *));
}

}  // namespace neb::xml::internal
