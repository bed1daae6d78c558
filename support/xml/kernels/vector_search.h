// What kernels with vectors of sixteen bytes have in common.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "kernels/character_check.h"
#include "simd/vector.h"

namespace neb::xml::internal {

// All ones for the bytes from one of ASCII to another. Moved up so that the last is the largest
// signed number, those bytes are the largest ones.
inline Vector findFromTo(uint8_t first, uint8_t last, Vector bytes) {
  const auto moved = std::bit_cast<SignedVector>(bytes + static_cast<uint8_t>(INT8_MAX - last));
  return std::bit_cast<Vector>(moved > static_cast<int8_t>(INT8_MAX - 1 - (last - first)));
}

struct SearchByVector {
  static constexpr size_t kStride = 2 * kVectorSize;

  static uint64_t findOther(const char *bytes) {
    const Vector first = loadVector(bytes);
    const Vector second = loadVector(bytes + kVectorSize);
    if (areAllFound(findCommon(first) & findCommon(second))) return 0;
    return bitsOf(findOther(first)) | bitsOf(findOther(second)) << kVectorSize;
  }

 private:
  // Carriage returns are rare.
  static Vector findCommon(Vector bytes) {
    return findFromTo(' ', INT8_MAX, bytes) | findFromTo('\t', '\n', bytes);
  }
  static Vector findOther(Vector bytes) { return ~(findCommon(bytes) | (bytes == '\r')); }

  static bool areAllFound(Vector found) {
#if defined(NEB_XML_SSE2)
    return bitsOf(found) == (uint64_t{1} << kVectorSize) - 1;
#else
    const auto words = std::bit_cast<Words>(found);
    return (words[0] & words[1]) == UINT64_MAX;
#endif
  }
};

}  // namespace neb::xml::internal
