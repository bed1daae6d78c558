// A file's path without links, dots and repeated slashes.
#pragma once

#include "platform/system.h"

#if defined(NEB_XML_POSIX)

#include <climits>
#include <cstddef>
#include <cstdlib>

#include "platform/bounded_memory.h"

namespace neb::platform {

#ifdef PATH_MAX
constexpr size_t kPathCapacity = PATH_MAX;
#else
constexpr size_t kPathCapacity = 4096;
#endif

using Path = char[kPathCapacity];

// False, with errno set by the system, when nothing is there or its path is too long.
inline bool canonicalise(const char *path, Path &canonical) {
#ifdef PATH_MAX
  return realpath(path, canonical) != nullptr;
#else
  // Paths of any length: only the C library knows how much memory this one needs.
  char *found = realpath(path, nullptr);
  if (found == nullptr) return false;
  const bool fits = strncpy_s(canonical, sizeof canonical, found, sizeof canonical) == 0;
  std::free(found);
  return fits;
#endif
}

}  // namespace neb::platform

#endif
