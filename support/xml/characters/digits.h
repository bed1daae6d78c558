// Decimal digits.
#pragma once

#include <cstdint>

namespace neb::xml::internal {

inline constexpr uint32_t kDecimalBase = 10;

constexpr bool isDigit(char byte) { return byte >= '0' && byte <= '9'; }

}  // namespace neb::xml::internal
