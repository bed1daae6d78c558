// Reading, adding, changing and removing attributes.
#include "tree/attributes.h"

#include <cstring>

#include "ownership/bound_session.h"
#include "ownership/kept.h"
#include "ownership/release.h"
#include "ownership/strings.h"
#include "record/links.h"
#include "record/node_strings.h"
#include "tree/names.h"
#include "tree/nodes.h"

namespace neb::xml::internal {

namespace {

bool samePrefix(const char *a, const char *b) {
  if (a == b) return true;
  return a != nullptr && b != nullptr && *a == *b && std::strcmp(a, b) == 0;
}

// The identity of an attribute on its element; both may be null.
struct AttributeName {
  const char *prefix;
  NameToFind name;

  bool isOf(const XmlNode *attribute) const {
    return name.isNameOf(attribute) && samePrefix(prefix, attribute->prefix);
  }
};

const char *noneIfEmpty(const char *text) { return isMissing(text) ? nullptr : text; }

void readStrings(const XmlNode *attribute, const char **prefix, const char **name,
                 const char **value) {
  *prefix = attribute->prefix;
  *name = attribute->name;
  *value = attribute->value;
}

// Two fields of records in one conditional expression would be bound as if they were aligned.
XmlNode *nextAttribute(const XmlNode *element, const XmlNode *before) {
  if (before == nullptr) return element->firstAttr;
  return before->next;
}

// Appends a detached attribute of that name, unless it would be a duplicate.
uint32_t appendAttribute(XmlNode *attribute, const AttributeName &name, XmlNode *element) {
  XmlNode *last = nullptr;
  for (XmlNode *other = element->firstAttr; other != nullptr; other = other->next) {
    if (name.isOf(other)) return NEB_XML_ERR_ALREADY_EXISTS;
    last = other;
  }
  return linkAttribute(attribute, last, element);
}

}  // namespace

XmlNode *xmlGetAttr(const XmlNode *element, const char *prefix, const char *name) {
  const AttributeName sought{prefix, NameToFind(name)};
  XmlNode *attribute = element->firstAttr;
  while (attribute != nullptr && !sought.isOf(attribute)) attribute = attribute->next;
  return attribute;
}

bool wouldDuplicateAttribute(const XmlNode *node, const char *prefix, const char *name) {
  const bool isRenamed = prefix != nullptr || name != nullptr;
  if (!isRenamed || !isAttribute(node) || node->parent == nullptr) return false;
  const char *newPrefix = prefix != nullptr ? noneIfEmpty(prefix) : node->prefix;
  const char *newName = name != nullptr ? noneIfEmpty(name) : node->name;
  const AttributeName sought{newPrefix, NameToFind(newName)};
  const XmlNode *other = node->parent->firstAttr;
  while (other != nullptr && (other == node || !sought.isOf(other))) other = other->next;
  return other != nullptr;
}

uint32_t addAttribute(XmlNode *element, const NodeStrings &given) {
  XmlNode *topmost = topmostNode(element);
  if (topmost == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  XmlNode *attribute = makeNode(Storage::ofTopmost(topmost), NEB_XML_NODE_ATTRIBUTE, given);
  if (attribute == nullptr) return NEB_XML_ERR_NO_MEMORY;
  // Not by the copies, since reading what has just been written waits for the stores.
  const AttributeName name{given.prefix.data(), NameToFind(given.name)};
  const uint32_t result = appendAttribute(attribute, name, element);
  if (result == NEB_XML_OK) {
    internName(attribute, given.name, topmost);
  } else {
    XML_FreeSingleAttrNode(attribute);
  }
  return result;
}

}  // namespace neb::xml::internal

using namespace neb::xml::internal;

uint32_t NEB_XML_GetAttr(const XmlNode *element, const char *prefix, const char *name,
                         const char **value) {
  if (!canHaveAttributes(element) || name == nullptr || value == nullptr) {
    return NEB_XML_ERR_INVALID_PARAM;
  }
  const XmlNode *attribute = xmlGetAttr(element, prefix, name);
  if (attribute == nullptr) return NEB_XML_ERR_NOT_FOUND;
  *value = attribute->value;
  return NEB_XML_OK;
}

uint32_t NEB_XML_GetFirstAttr(const XmlNode *element, const char **prefix, const char **name,
                              const char **value) {
  return NEB_XML_GetFirstAttrEx(element, prefix, name, value, nullptr);
}

uint32_t NEB_XML_GetFirstAttrEx(const XmlNode *element, const char **prefix, const char **name,
                                const char **value, XmlNode **cursor) {
  if (!canHaveAttributes(element) || prefix == nullptr || name == nullptr || value == nullptr) {
    return NEB_XML_ERR_INVALID_PARAM;
  }
  if (element->firstAttr == nullptr) return NEB_XML_ERR_NOT_FOUND;
  readStrings(element->firstAttr, prefix, name, value);
  if (cursor != nullptr) *cursor = element->firstAttr;
  return NEB_XML_OK;
}

uint32_t NEB_XML_GetNextSiblingAttr(const XmlNode *element, const char *prefix, const char *name,
                                    const char **nextPrefix, const char **nextName,
                                    const char **nextValue) {
  if (!canHaveAttributes(element) || name == nullptr || nextPrefix == nullptr ||
      nextName == nullptr || nextValue == nullptr) {
    return NEB_XML_ERR_INVALID_PARAM;
  }
  const XmlNode *attribute = xmlGetAttr(element, prefix, name);
  if (attribute == nullptr || attribute->next == nullptr) return NEB_XML_ERR_NOT_FOUND;
  readStrings(attribute->next, nextPrefix, nextName, nextValue);
  return NEB_XML_OK;
}

uint32_t NEB_XML_GetNextSiblingAttrEx(const XmlNode *element, const char **prefix,
                                      const char **name, const char **value, XmlNode **cursor) {
  if (!canHaveAttributes(element) || prefix == nullptr || name == nullptr || value == nullptr ||
      cursor == nullptr) {
    return NEB_XML_ERR_INVALID_PARAM;
  }
  const bool isOther =
      *cursor != nullptr && (!isAttribute(*cursor) || (*cursor)->parent != element);
  if (isOther) return NEB_XML_ERR_INVALID_PARAM;
  XmlNode *attribute = nextAttribute(element, *cursor);
  *cursor = attribute;
  if (attribute == nullptr) return NEB_XML_ERR_NOT_FOUND;
  readStrings(attribute, prefix, name, value);
  return NEB_XML_OK;
}

uint32_t NEB_XML_AddAttr(XmlNode *element, const char *prefix, const char *name,
                         const char *value) {
  if (!canHaveAttributes(element) || isMissing(name)) return NEB_XML_ERR_INVALID_PARAM;
  return addAttribute(element, measured(prefix, name, value));
}

uint32_t XML_AddAttrNode(XmlNode *attribute, XmlNode *element) {
  if (attribute == nullptr || !canHaveAttributes(element)) return NEB_XML_ERR_INVALID_PARAM;
  if (!isAttribute(attribute) || attribute->parent != nullptr || attribute->next != nullptr) {
    return NEB_XML_ERR_INVALID_PARAM;
  }
  const AttributeName name{attribute->prefix, NameToFind(attribute->name)};
  return appendAttribute(attribute, name, element);
}

uint32_t NEB_XML_SetAttr(XmlNode *element, const char *prefix, const char *name,
                         const char *value) {
  if (!canHaveAttributes(element) || name == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  XmlNode *attribute = xmlGetAttr(element, noneIfEmpty(prefix), name);
  if (attribute == nullptr) return NEB_XML_ERR_NOT_FOUND;
  XmlNode *topmost = topmostNode(element);
  if (topmost == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  const Storage storage = Storage::ofTopmost(topmost);
  if (isMissing(value)) {
    dropString<StringField::value>(attribute, storage);
    attribute->valueOwned = 0;
  } else {
    const uint32_t result = setValue(storage, attribute, value);
    if (result != NEB_XML_OK) return result;
  }
  internName(attribute, topmost);
  return NEB_XML_OK;
}

uint32_t NEB_XML_RemoveAttr(XmlNode *element, const char *prefix, const char *name) {
  if (!canHaveAttributes(element) || name == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  XmlNode *attribute = xmlGetAttr(element, noneIfEmpty(prefix), name);
  if (attribute == nullptr) return NEB_XML_ERR_NOT_FOUND;
  const Storage storage = Storage::of(element);
  unlinkAttribute(attribute);
  if (storage.isHeap()) {
    releaseSingle(attribute, storage);
  } else if (isOnHeap(attribute)) {
    keepAttribute(*storage.session(), attribute);
  }
  return NEB_XML_OK;
}
