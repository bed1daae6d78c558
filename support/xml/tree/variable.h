// The variables of typed values, which may be at any address, and the words for booleans.
#pragma once

#include <cstring>
#include <string_view>

namespace neb::xml::internal {

inline constexpr std::string_view kTrue = "true";
inline constexpr std::string_view kFalse = "false";

template <typename Type>
Type readVariable(const void *variable) {
  Type value;
  std::memcpy(&value, variable, sizeof value);
  return value;
}

template <typename Type>
void writeVariable(void *variable, Type value) {
  std::memcpy(variable, &value, sizeof value);
}

}  // namespace neb::xml::internal
