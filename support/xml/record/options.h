// Records of options that callers fill in.
#pragma once

#include <cstddef>
#include <cstring>

namespace neb::xml::internal {

// Copies the caller's record, which begins with its size and has no padding. Null and a zeroed
// record mean the defaults, which are zeros. Returns false if a size is missing or none that a
// record can have, or if a later version's record has something in use that is not known here.
template <typename Options>
bool takeOptions(const Options *given, Options *known) {
  constexpr size_t kLargest = 4096;
  *known = {};
  if (given == nullptr) return true;
  if (given->size == 0) return std::memcmp(given, known, sizeof *known) == 0;
  if (given->size < sizeof *known || given->size > kLargest) return false;
  const char *bytes = reinterpret_cast<const char *>(given);
  for (size_t at = sizeof *known; at < given->size; ++at) {
    if (bytes[at] != 0) return false;
  }
  *known = *given;
  return true;
}

}  // namespace neb::xml::internal
