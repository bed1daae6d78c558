// Replacing a file atomically: at any moment it has the old content or the new one.
#pragma once

#include <cstddef>

#include "platform/output_file.h"

namespace neb::platform {

// Writes a temporary file beside the target, gives it the target's rights (see file_rights.h),
// flushes it to the disk and renames it over the target. Its name cannot be predicted. A symbolic
// link is followed. The target must be a regular file or not exist. After a failure the old file
// is unchanged and no temporary one is left.
WriteOutcome replaceWholeFile(const char *path, const char *text, size_t length);

}  // namespace neb::platform
