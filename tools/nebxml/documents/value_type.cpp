#include "documents/value_type.h"

#include <algorithm>
#include <array>
#include <limits>
#include <new>

#include "documents/node_reading.h"
#include "documents/tree.h"
#include "neb_xml.h"

namespace nebxml {
namespace {

struct ValueType {
  std::string name;
  uint32_t code;
  std::string range;
};

template <typename Number>
ValueType integerType(const std::string &name, uint32_t code) {
  using Limits = std::numeric_limits<Number>;
  return {name, code, std::to_string(Limits::min()) + " to " + std::to_string(Limits::max())};
}

const std::array<ValueType, 10> &valueTypes() {
  static const std::array<ValueType, 10> types{
      {{"bool", NEB_XML_VALUE_BOOL, "true, false, 1 or 0"},
       integerType<int8_t>("int8", NEB_XML_VALUE_INT8),
       integerType<uint8_t>("uint8", NEB_XML_VALUE_UINT8),
       integerType<int16_t>("int16", NEB_XML_VALUE_INT16),
       integerType<uint16_t>("uint16", NEB_XML_VALUE_UINT16),
       integerType<int32_t>("int32", NEB_XML_VALUE_INT32),
       integerType<uint32_t>("uint32", NEB_XML_VALUE_UINT32),
       integerType<int64_t>("int64", NEB_XML_VALUE_INT64),
       integerType<uint64_t>("uint64", NEB_XML_VALUE_UINT64),
       {"double", NEB_XML_VALUE_DOUBLE, "such as -0.5, 1e6, INF or NaN"}}};
  return types;
}

const ValueType &typeNamed(const std::string &name) {
  return *std::find_if(valueTypes().begin(), valueTypes().end(),
                       [&name](const ValueType &type) { return type.name == name; });
}

}  // namespace

std::vector<std::string> valueTypeNames() {
  std::vector<std::string> names;
  for (const ValueType &type : valueTypes()) {
    names.push_back(type.name);
  }
  return names;
}

std::string rangeOf(const std::string &typeName) { return typeNamed(typeName).range; }

std::optional<std::string> typedText(const std::string &typeName, const std::string &text) {
  const Tree carrier = createElement(nullptr, "value", text.c_str());
  const uint32_t code = typeNamed(typeName).code;
  uint64_t variable = 0;  // as wide as the widest type
  if (NEB_XML_ReadValue(carrier.get(), code, &variable) != NEB_XML_OK) return std::nullopt;
  if (NEB_XML_WriteValue(carrier.get(), code, &variable) != NEB_XML_OK) throw std::bad_alloc();
  return std::string(nodeStrings(carrier.get()).value);
}

}  // namespace nebxml
