// The check of characters on machines with AVX2.
#pragma once

#include <cstddef>

namespace neb::xml::internal {

inline constexpr size_t kWideVectorSize = 32;

bool areAllowedByAvx2(const char *from, const char *end);

}  // namespace neb::xml::internal
