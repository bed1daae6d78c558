// Booleans and integers as the values of nodes and attributes.
#include <cstring>
#include <limits>
#include <string_view>

#include "characters/digits.h"
#include "ownership/bound_session.h"
#include "ownership/cross_references.h"
#include "ownership/strings.h"
#include "platform/compiler.h"
#include "tree/attributes.h"
#include "tree/nodes.h"
#include "tree/variable.h"

namespace neb::xml::internal {

namespace {

constexpr size_t kTextCapacity = sizeof "-2147483648";

using ValueText = char[kTextCapacity];

// Digits are written from the last one on, so the text ends where the buffer does.
std::string_view formatInteger(int64_t value, ValueText &buffer) {
  char *const end = buffer + kTextCapacity - 1;
  char *begin = end;
  *end = '\0';
  auto magnitude = static_cast<uint32_t>(value < 0 ? -value : value);
  do {
    *--begin = static_cast<char>('0' + magnitude % kDecimalBase);
    magnitude /= kDecimalBase;
  } while (magnitude != 0);
  if (value < 0) *--begin = '-';
  return {begin, static_cast<size_t>(end - begin)};
}

std::string_view formatBool(const void *variable) {
  return readVariable<uint32_t>(variable) != 0 ? kTrue : kFalse;
}

// A terminated text, which may be in the buffer; empty for an unknown type.
std::string_view formatValue(uint32_t type, const void *variable, ValueText &buffer) {
  switch (type) {
    case NEB_XML_VALUE_BOOL:
      return formatBool(variable);
    case NEB_XML_VALUE_INT32:
      return formatInteger(readVariable<int32_t>(variable), buffer);
    case NEB_XML_VALUE_UINT32:
      return formatInteger(readVariable<uint32_t>(variable), buffer);
    case NEB_XML_VALUE_INT16:
      return formatInteger(readVariable<int16_t>(variable), buffer);
    case NEB_XML_VALUE_UINT16:
      return formatInteger(readVariable<uint16_t>(variable), buffer);
    case NEB_XML_VALUE_INT8:
      return formatInteger(readVariable<int8_t>(variable), buffer);
    case NEB_XML_VALUE_UINT8:
      return formatInteger(readVariable<uint8_t>(variable), buffer);
    default:
      return {};
  }
}

// Flattened like the setting of strings, see nodes.cpp.
NEB_XML_FLATTEN uint32_t xmlSetValueEx(XmlNode *node, uint32_t type, const void *variable) {
  if (node == nullptr || variable == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  ValueText buffer;
  const std::string_view text = formatValue(type, variable, buffer);
  if (text.empty()) return NEB_XML_ERR_INVALID_PARAM;
  const Storage storage = storageForStrings(node, Storage::of(node));
  dropString<StringField::value>(node, storage);
  const bool needsNote = storage.isHeap() && !isOnHeap(node);
  if (needsNote && !noteCrossReference(node)) return NEB_XML_ERR_NO_MEMORY;
  char *copy = storage.duplicate(text);
  if (copy == nullptr) return NEB_XML_ERR_NO_MEMORY;
  bindToSession(node, storage.handle());
  putString<StringField::value>(node, {copy, text.size()}, storage.isHeap());
  return NEB_XML_OK;
}

bool parseBool(const char *text, uint32_t *value) {
  if (std::strcmp(text, "1") == 0 || std::strcmp(text, kTrue.data()) == 0) {
    *value = 1;
    return true;
  }
  if (std::strcmp(text, "0") == 0 || std::strcmp(text, kFalse.data()) == 0) {
    *value = 0;
    return true;
  }
  return false;
}

// Decimal digits to the end of the text, at least one, of a value up to limit.
bool parseMagnitude(const char *digits, uint32_t limit, uint32_t *magnitude) {
  if (*digits == '\0') return false;
  uint32_t value = 0;
  for (; *digits != '\0'; ++digits) {
    if (*digits < '0' || *digits > '9') return false;
    const auto digit = static_cast<uint32_t>(*digits - '0');
    if (value > (limit - digit) / kDecimalBase) return false;
    value = value * kDecimalBase + digit;
  }
  *magnitude = value;
  return true;
}

template <typename Integer>
bool readSigned(const char *text, void *variable) {
  constexpr uint32_t kLargest = std::numeric_limits<Integer>::max();
  const bool isNegative = *text == '-';
  if (isNegative || *text == '+') ++text;
  uint32_t magnitude = 0;
  if (!parseMagnitude(text, isNegative ? kLargest + 1 : kLargest, &magnitude)) return false;
  writeVariable(variable, static_cast<Integer>(isNegative ? 0U - magnitude : magnitude));
  return true;
}

template <typename Integer>
bool readUnsigned(const char *text, void *variable) {
  uint32_t magnitude = 0;
  if (!parseMagnitude(text, std::numeric_limits<Integer>::max(), &magnitude)) return false;
  writeVariable(variable, static_cast<Integer>(magnitude));
  return true;
}

bool readBool(const char *text, void *variable) {
  uint32_t value = 0;
  if (!parseBool(text, &value)) return false;
  writeVariable(variable, value);
  return true;
}

bool readValue(uint32_t type, const char *text, void *variable) {
  switch (type) {
    case NEB_XML_VALUE_BOOL:
      return readBool(text, variable);
    case NEB_XML_VALUE_INT32:
      return readSigned<int32_t>(text, variable);
    case NEB_XML_VALUE_UINT32:
      return readUnsigned<uint32_t>(text, variable);
    case NEB_XML_VALUE_INT16:
      return readSigned<int16_t>(text, variable);
    case NEB_XML_VALUE_UINT16:
      return readUnsigned<uint16_t>(text, variable);
    case NEB_XML_VALUE_INT8:
      return readSigned<int8_t>(text, variable);
    case NEB_XML_VALUE_UINT8:
      return readUnsigned<uint8_t>(text, variable);
    default:
      return false;
  }
}

uint32_t xmlGetValueEx(const XmlNode *node, uint32_t type, void *variable) {
  if (node == nullptr || variable == nullptr || node->value == nullptr) {
    return NEB_XML_ERR_INVALID_PARAM;
  }
  return readValue(type, node->value, variable) ? NEB_XML_OK : NEB_XML_ERR_INVALID_PARAM;
}

uint32_t addAttrValue(XmlNode *element, const char *prefix, const char *name, uint32_t type,
                      const void *variable) {
  ValueText buffer;
  const std::string_view text = formatValue(type, variable, buffer);
  if (text.empty()) return NEB_XML_ERR_INVALID_PARAM;
  return addAttribute(element, {measured(prefix), measured(name), text});
}

}  // namespace

}  // namespace neb::xml::internal

using namespace neb::xml::internal;

uint32_t NEB_XML_SetNodeValueEx(XmlNode *node, uint32_t type, const void *variable) {
  return xmlSetValueEx(node, type, variable);
}

uint32_t NEB_XML_GetNodeValueEx(const XmlNode *node, uint32_t type, void *variable) {
  return xmlGetValueEx(node, type, variable);
}

uint32_t NEB_XML_SetAttrValueEx(XmlNode *element, const char *prefix, const char *name,
                                uint32_t type, const void *variable) {
  if (!canHaveAttributes(element) || isMissing(name) || variable == nullptr) {
    return NEB_XML_ERR_INVALID_PARAM;
  }
  XmlNode *attribute = xmlGetAttr(element, prefix, name);
  if (attribute != nullptr) return xmlSetValueEx(attribute, type, variable);
  return addAttrValue(element, prefix, name, type, variable);
}

uint32_t NEB_XML_GetAttrValueEx(const XmlNode *element, const char *prefix, const char *name,
                                uint32_t type, void *variable) {
  if (!canHaveAttributes(element) || name == nullptr || variable == nullptr) {
    return NEB_XML_ERR_INVALID_PARAM;
  }
  const XmlNode *attribute = xmlGetAttr(element, prefix, name);
  if (attribute == nullptr) return NEB_XML_ERR_NOT_FOUND;
  return xmlGetValueEx(attribute, type, variable);
}
