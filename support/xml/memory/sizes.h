// Sums and products of sizes. Where size_t has 32 bits, those of what a process holds can pass it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace neb::xml::internal {

// No object is larger: the difference of two pointers into it would not fit. Nothing larger is
// requested from any allocator, so that one that adds a header of its own need not look either.
inline constexpr size_t kLargestObject = PTRDIFF_MAX;

// More than any object if the sum or the product does not fit.

constexpr size_t sumOf(size_t a, size_t b) {
  const size_t sum = a + b;
  return sum < a ? SIZE_MAX : sum;
}

constexpr size_t productOf(size_t a, size_t b) {
  return b != 0 && a > SIZE_MAX / b ? SIZE_MAX : a * b;
}

}  // namespace neb::xml::internal
