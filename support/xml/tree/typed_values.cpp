// Typed values whose failures are told apart, with integers of 64 bits and doubles.
#include <algorithm>
#include <concepts>
#include <iterator>
#include <limits>
#include <string_view>

#include "ownership/storage.h"
#include "record/node_strings.h"
#include "tree/decimal.h"
#include "tree/string_setting.h"
#include "tree/variable.h"
#include "tree/whole_numbers.h"

namespace neb::xml::internal {

namespace {

constexpr size_t kSignSize = 1;
constexpr size_t kLongestText = std::max(kLongestDouble, kSignSize + kMostWholeDigits);

// ---- Reading

constexpr bool isSpace(char byte) {
  return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n';
}

// The value without white space at either end; empty if there is none.
std::string_view trimmedValue(const XmlNode *node) {
  if (node->value == nullptr) return {};
  std::string_view text(node->value, valueLengthOf(node));
  while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
  return text;
}

uint32_t readBool(std::string_view text, void *variable) {
  const bool isTrue = text == kTrue || text == "1";
  if (!isTrue && text != kFalse && text != "0") return NEB_XML_ERR_MALFORMED_VALUE;
  writeVariable(variable, uint32_t{isTrue});
  return NEB_XML_OK;
}

// A sign belongs to the form of every integer, so that -1 is out of the range of unsigned types.
template <std::integral Integer>
uint32_t readNumber(std::string_view text, void *variable) {
  const bool isNegative = text.starts_with('-');
  if (isNegative || text.starts_with('+')) text.remove_prefix(1);
  uint64_t magnitude = 0;
  const uint32_t result = readWhole(text, &magnitude);
  if (result != NEB_XML_OK) return result;
  constexpr uint64_t kLargest = std::numeric_limits<Integer>::max();
  const uint64_t limit = !isNegative ? kLargest : std::signed_integral<Integer> ? kLargest + 1 : 0;
  if (magnitude > limit) return NEB_XML_ERR_OUT_OF_RANGE;
  writeVariable(variable, static_cast<Integer>(isNegative ? 0 - magnitude : magnitude));
  return NEB_XML_OK;
}

template <std::same_as<double> Double>
uint32_t readNumber(std::string_view text, void *variable) {
  Double value = 0;
  const uint32_t result = readDouble(text, &value);
  if (result == NEB_XML_OK) writeVariable(variable, value);
  return result;
}

// ---- Writing

char *writeBool(char *to, const void *variable) {
  const std::string_view text = readVariable<uint32_t>(variable) != 0 ? kTrue : kFalse;
  return std::copy(text.begin(), text.end(), to);
}

template <std::integral Integer>
char *writeNumber(char *to, const void *variable) {
  const auto value = readVariable<Integer>(variable);
  const bool isNegative = value < 0;
  if (isNegative) *to++ = '-';
  const auto bits = static_cast<uint64_t>(+value);
  return writeWhole(to, isNegative ? 0 - bits : bits);
}

template <std::same_as<double> Double>
char *writeNumber(char *to, const void *variable) {
  return writeDouble(to, readVariable<Double>(variable));
}

// ---- Of each type

// How a type's variable is read from a text that is not empty, and written as one.
struct ValueType {
  uint32_t (*read)(std::string_view text, void *variable);
  char *(*write)(char *to, const void *variable);
};

template <typename Number>
constexpr ValueType kNumber = {readNumber<Number>, writeNumber<Number>};

// In the order of enum XmlValueType.
constexpr ValueType kTypes[] = {{readBool, writeBool}, kNumber<int32_t>,  kNumber<uint32_t>,
                                kNumber<int16_t>,      kNumber<uint16_t>, kNumber<int8_t>,
                                kNumber<uint8_t>,      kNumber<int64_t>,  kNumber<uint64_t>,
                                kNumber<double>};
static_assert(std::size(kTypes) == NEB_XML_VALUE_DOUBLE + 1);

}  // namespace

}  // namespace neb::xml::internal

using namespace neb::xml::internal;

uint32_t NEB_XML_ReadValue(const XmlNode *node, uint32_t type, void *variable) {
  if (type >= std::size(kTypes) || variable == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  if (node == nullptr) return NEB_XML_ERR_NOT_FOUND;
  const std::string_view text = trimmedValue(node);
  return text.empty() ? uint32_t{NEB_XML_ERR_EMPTY_VALUE} : kTypes[type].read(text, variable);
}

uint32_t NEB_XML_WriteValue(XmlNode *node, uint32_t type, const void *variable) {
  if (type >= std::size(kTypes) || variable == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  if (node == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  char text[kLongestText];
  const char *end = kTypes[type].write(text, variable);
  return setString<StringField::value>(Storage::of(node), node,
                                       {text, static_cast<size_t>(end - text)});
}
