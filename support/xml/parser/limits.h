// Limits of strict reading.
#pragma once

#include <cstddef>
#include <cstdint>

namespace neb::xml::internal {

struct ReadLimits {
  size_t depth = SIZE_MAX;  // elements inside each other, the root included
  size_t nodes = SIZE_MAX;  // elements and attributes
};

}  // namespace neb::xml::internal
