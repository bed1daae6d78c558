// The byte behind a string.
#pragma once

#include <cstddef>

namespace neb::xml::internal {

inline constexpr size_t kTerminator = 1;

}  // namespace neb::xml::internal
