// The strings of a node, each with its origin.
#pragma once

#include "ownership/storage.h"

namespace neb::xml::internal {

enum class StringField { name, value, prefix };

// A node's string; null if it has none.
char *stringOf(const XmlNode *node, StringField field);

// Points a field at a copy that the node owns from now on. The old string is not looked at.
void putString(XmlNode *node, StringField field, char *copy, bool copyIsOnHeap);

// Makes a field null. A heap string that the node owns is freed, or kept by the session of the
// storage. The ownership flag does not change.
void dropString(XmlNode *node, StringField field, const Storage &storage);

// All three of them.
void dropStrings(XmlNode *node, const Storage &storage);

}  // namespace neb::xml::internal
