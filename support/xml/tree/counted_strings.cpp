// Setting strings and attributes that are given with their lengths.
#include "tree/attributes.h"
#include "tree/names.h"
#include "tree/new_nodes.h"
#include "tree/string_setting.h"
#include "tree/whole_names.h"

namespace neb::xml::internal {

namespace {

// The attribute of an element that has a name, or null; and the last one that was looked at.
struct AttributeSearch {
  XmlNode *found = nullptr;
  XmlNode *last = nullptr;

  AttributeSearch(const XmlNode *element, const WholeName &name, const XmlNode *except = nullptr) {
    for (XmlNode *each = element->firstAttr; each != nullptr; each = each->next) {
      last = each;
      if (each == except || !name.isOf(each)) continue;
      found = each;
      return;
    }
  }
};

// Whether another attribute of the element has the name that this one would get.
bool wouldBeDuplicate(const XmlNode *node, uint32_t field, std::string_view string) {
  if (field == NEB_XML_STRING_VALUE || !isAttribute(node) || node->parent == nullptr) return false;
  WholeName name = wholeNameOf(node);
  (field == NEB_XML_STRING_NAME ? name.local : name.prefix) = string;
  return AttributeSearch(node->parent, name, node).found != nullptr;
}

uint32_t checkString(uint32_t field, std::string_view string) {
  if (field == NEB_XML_STRING_VALUE) return checkValue(string);
  if (field == NEB_XML_STRING_PREFIX && string.empty()) return NEB_XML_OK;
  return checkNamePart(string);
}

uint32_t setField(XmlNode *node, uint32_t field, std::string_view string) {
  const Storage storage = Storage::of(node);
  switch (field) {
    case NEB_XML_STRING_PREFIX:
      return setString<StringField::prefix>(storage, node, string);
    case NEB_XML_STRING_NAME:
      return setString<StringField::name>(storage, node, string);
    default:
      return setString<StringField::value>(storage, node, string);
  }
}

// Adds the attribute that was not found.
uint32_t add(AttributeSearch *search, XmlNode *element, XmlNode *topmost, const WholeName &name,
             std::string_view value) {
  XmlNode *made = makeNamedNode(Storage::ofTopmost(topmost), NEB_XML_NODE_ATTRIBUTE, name, value);
  if (made == nullptr) return NEB_XML_ERR_NO_MEMORY;
  const uint32_t result = linkAttribute(made, search->last, element);
  if (result != NEB_XML_OK) {
    discard(made);
    return result;
  }
  internName(made, name.local, topmost);
  search->found = made;
  return NEB_XML_OK;
}

}  // namespace

}  // namespace neb::xml::internal

using namespace neb::xml::internal;

uint32_t NEB_XML_SetString(XmlNode *node, uint32_t field, const char *bytes, size_t length) {
  if (node == nullptr || field > NEB_XML_STRING_VALUE) return NEB_XML_ERR_INVALID_PARAM;
  if (!isGiven(bytes, length)) return NEB_XML_ERR_INVALID_PARAM;
  const std::string_view string(bytes, length);
  const uint32_t result = checkString(field, string);
  if (result != NEB_XML_OK) return result;
  if (wouldBeDuplicate(node, field, string)) return NEB_XML_ERR_ALREADY_EXISTS;
  return setField(node, field, string);
}

XmlNode *NEB_XML_FindAttr(const XmlNode *element, const char *name, size_t nameLength) {
  if (!canHaveAttributes(element) || name == nullptr) return nullptr;
  return AttributeSearch(element, split({name, nameLength})).found;
}

uint32_t NEB_XML_PutAttr(XmlNode *element, const char *name, size_t nameLength, const char *value,
                         size_t valueLength, XmlNode **attribute) {
  if (!canHaveAttributes(element) || name == nullptr || !isGiven(value, valueLength)) {
    return NEB_XML_ERR_INVALID_PARAM;
  }
  const std::string_view givenValue(value, valueLength);
  uint32_t result = checkWholeName({name, nameLength});
  if (result == NEB_XML_OK) result = checkValue(givenValue);
  if (result != NEB_XML_OK) return result;
  XmlNode *topmost = topmostNode(element);
  if (topmost == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  const WholeName wholeName = split({name, nameLength});
  AttributeSearch search(element, wholeName);
  if (search.found == nullptr) {
    result = add(&search, element, topmost, wholeName, givenValue);
  } else {
    result = setString<StringField::value>(Storage::ofTopmost(topmost), search.found, givenValue);
  }
  if (result == NEB_XML_OK && attribute != nullptr) *attribute = search.found;
  return result;
}
