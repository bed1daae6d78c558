// What the system calls an open file.
#pragma once

#include "platform/system.h"

#if defined(NEB_XML_C_LIBRARY)
#include <cstdio>
#endif

namespace neb::platform {

#if defined(NEB_XML_C_LIBRARY)
using FileHandle = std::FILE *;
constexpr FileHandle kNoFile = nullptr;
#else
using FileHandle = int;
constexpr FileHandle kNoFile = -1;
#endif

}  // namespace neb::platform
