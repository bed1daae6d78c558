// How much memory an allocation of malloc has.
#pragma once

#include <malloc.h>

#include <cstddef>

#include "platform/system.h"

inline size_t usableSize(void *allocation) {
#if defined(NEB_XML_WINDOWS)
  return _msize(allocation);
#else
  return malloc_usable_size(allocation);
#endif
}
