// What a new file takes over from the one that it replaces: owner, extended attributes, access
// control list and mode.
#pragma once

#include "platform/system.h"

#if defined(NEB_XML_POSIX)

#include <sys/stat.h>

namespace neb::platform {

constexpr mode_t kPrivateFileMode = 0600;

// changed: the old file is not the one it was; look at it again.
enum class Transfer { done, changed, refused, noMemory };

// Gives a new file, opened with kPrivateFileMode, the rights of the file at oldPath, whose status
// is old. It stays private until all else is in place. Nobody ends with more rights than before:
// - Where the process may not give owner or group away, set-user-ID and set-group-ID are dropped.
//   Without the group, its new group and all others keep what every group and all others had.
// - An access control list or attribute that cannot be set is refused, unless the new file has an
//   equal one by itself. Those that describe the old content, security.capability, .ima and .evm,
//   are not taken over.
// Access control lists and attributes are seen on Linux only. Memory comes from the allocation
// hooks, when there are attributes, as much as their names and twice the longest take.
Transfer takeOverRights(int file, const char *oldPath, const struct stat &old);

// True when takeOverRights would have nothing left to do.
bool hasRightsOf(int file, const char *oldPath, const struct stat &old);

}  // namespace neb::platform

#endif
