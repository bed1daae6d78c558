// Sixteen bytes as numbers: the compiler's own vectors, or arrays with the same operators.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "platform/compiler.h"

#if defined(NEB_XML_VECTOR_TYPES)
// Vectors pass between functions of this build only, all compiled for one processor.
#pragma GCC diagnostic ignored "-Wpsabi"
#endif

namespace neb::xml::internal {

inline constexpr size_t kVectorSize = 16;
inline constexpr size_t kTwoVectors = 2 * kVectorSize;

// Operators act on each number by itself. A comparison gives numbers of ones or zeros in all bits.
template <typename Number, size_t count = kVectorSize>
class VectorOf {
 public:
  VectorOf() = default;
  // A number stands for a vector of it.
  VectorOf(Number number) { numbers_.fill(number); }

  VectorOf operator~() const { return *this ^ static_cast<Number>(~Number{0}); }
  friend VectorOf operator&(VectorOf a, VectorOf b) {
    return each(a, b, [](Number x, Number y) { return x & y; });
  }
  friend VectorOf operator|(VectorOf a, VectorOf b) {
    return each(a, b, [](Number x, Number y) { return x | y; });
  }
  friend VectorOf operator^(VectorOf a, VectorOf b) {
    return each(a, b, [](Number x, Number y) { return x ^ y; });
  }
  friend VectorOf operator+(VectorOf a, VectorOf b) {
    return each(a, b, [](Number x, Number y) { return x + y; });
  }
  friend VectorOf operator-(VectorOf a, VectorOf b) {
    return each(a, b, [](Number x, Number y) { return x - y; });
  }
  friend VectorOf operator==(VectorOf a, VectorOf b) {
    return each(a, b, [](Number x, Number y) { return x == y ? -1 : 0; });
  }
  friend VectorOf operator!=(VectorOf a, VectorOf b) {
    return each(a, b, [](Number x, Number y) { return x != y ? -1 : 0; });
  }
  friend VectorOf operator<(VectorOf a, VectorOf b) {
    return each(a, b, [](Number x, Number y) { return x < y ? -1 : 0; });
  }
  friend VectorOf operator<=(VectorOf a, VectorOf b) {
    return each(a, b, [](Number x, Number y) { return x <= y ? -1 : 0; });
  }
  friend VectorOf operator>(VectorOf a, VectorOf b) { return b < a; }

  Number operator[](size_t i) const { return numbers_[i]; }

 private:
  // A loop that compilers turn into one instruction or a few.
  template <typename Operation>
  static VectorOf each(VectorOf a, VectorOf b, Operation operation) {
    VectorOf result;
    for (size_t i = 0; i < count; ++i) {
      result.numbers_[i] = static_cast<Number>(operation(a.numbers_[i], b.numbers_[i]));
    }
    return result;
  }

  std::array<Number, count> numbers_;
};

using SingleByte = VectorOf<uint8_t, 1>;

#if defined(NEB_XML_VECTOR_TYPES)

using Vector = uint8_t __attribute__((vector_size(kVectorSize)));
using SignedVector = int8_t __attribute__((vector_size(kVectorSize)));
using Words = uint64_t __attribute__((vector_size(kVectorSize)));

// At any address: one vector on a machine with such wide ones. memcpy is not used, because g++ 12
// would copy through the stack.
inline void copyTwoVectors(char *to, const char *from) {
  using Bytes = uint8_t __attribute__((vector_size(kTwoVectors)));
  struct [[gnu::packed, gnu::may_alias]] AnyAddress {
    Bytes bytes;
  };
  reinterpret_cast<AnyAddress *>(to)->bytes = reinterpret_cast<const AnyAddress *>(from)->bytes;
}

#else

using Vector = VectorOf<uint8_t>;
using SignedVector = VectorOf<int8_t>;
using Words = std::array<uint64_t, 2>;

inline void copyTwoVectors(char *to, const char *from) { std::memcpy(to, from, kTwoVectors); }

#endif

static_assert(sizeof(Vector) == kVectorSize && sizeof(Words) == kVectorSize);

}  // namespace neb::xml::internal
