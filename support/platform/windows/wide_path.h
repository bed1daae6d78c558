// Paths for the system's calls, which take UTF-16.
#pragma once

#include "platform/system.h"

#if defined(NEB_XML_WINDOWS)

#include <cstddef>

namespace neb::platform {

constexpr size_t kWidePathCapacity = 4096;

using WidePath = wchar_t[kWidePathCapacity];

// Makes an absolute path of a path in UTF-8, in the form that is not limited to 260 characters.
// False, with errno set, if the path is empty, not UTF-8 or longer than the capacity.
bool makeWide(const char *path, WidePath &wide);

// Whether a path of makeWide names a device or a pipe.
bool isDevice(const WidePath &path);

// Replaces the path by that of the file to which it leads by links. False, with errno set, if there
// is none.
bool followLinks(WidePath &path);

}  // namespace neb::platform

#endif
