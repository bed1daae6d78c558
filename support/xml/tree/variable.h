// The variables of typed values, which may be at any address.
#pragma once

#include <cstring>

namespace neb::xml::internal {

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
