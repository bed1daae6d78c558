// Limits of strict reading.
#pragma once

#include <cstddef>
#include <cstdint>

namespace neb::xml::internal {

struct ReadLimits {
  size_t depth = SIZE_MAX;  // elements inside each other, the root included
  size_t nodes = SIZE_MAX;  // elements and attributes
};

// What is compared with the limits.
struct NodeCounts {
  size_t nodes = 0;
  size_t depth = 0;
  size_t deepest = 0;
  ReadLimits limits;

  bool areWithinLimits() const { return nodes <= limits.nodes && deepest <= limits.depth; }
};

// In the lenient language nothing is counted.
struct NoNodeCounts {
  static constexpr bool areWithinLimits() { return true; }
};

}  // namespace neb::xml::internal
