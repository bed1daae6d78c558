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
  size_t sum = 0;
  return __builtin_add_overflow(a, b, &sum) ? SIZE_MAX : sum;
}

constexpr size_t productOf(size_t a, size_t b) {
  size_t product = 0;
  return __builtin_mul_overflow(a, b, &product) ? SIZE_MAX : product;
}

}  // namespace neb::xml::internal
