// String and memory primitives of the operating-system adapter.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace neb::platform {

// The length of a string, or the largest count when it has more bytes than that.
inline uint32_t KAVO_StrLen(const char *text) {
  const size_t length = std::strlen(text);
  return length < UINT32_MAX ? static_cast<uint32_t>(length) : UINT32_MAX;
}

// 0 when count bytes are equal.
inline int KAVO_MemCmp(const void *a, const void *b, size_t count) {
  return std::memcmp(a, b, count);
}

}  // namespace neb::platform
