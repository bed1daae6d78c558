// Whether a process has threads.
#pragma once

#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#endif

namespace neb::platform {

// True if no other thread can exist. False says nothing.
inline bool isSingleThreaded() {
#if __has_include(<sys/single_threaded.h>)
  return __libc_single_threaded != 0;
#else
  return false;
#endif
}

}  // namespace neb::platform
