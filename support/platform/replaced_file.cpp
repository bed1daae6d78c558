#include "platform/replaced_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/bounded_memory.h"

namespace platform {

namespace {

constexpr size_t kPathCapacity = PATH_MAX;
constexpr unsigned kNamesTried = 1000;
constexpr mode_t kNewFileMode = 0666;  // less what the process masks
constexpr mode_t kPermissionBits = 07777;
constexpr mode_t kPlainPermissionBits = 0777;

struct Target {
  char path[kPathCapacity];
  bool exists;
  mode_t permissions;
  uid_t owner;
  gid_t group;
};

// False when the path cannot be a file to replace.
bool resolveTarget(const char *path, Target *target) {
  struct stat status;
  target->exists = stat(path, &status) == 0;
  if (target->exists) {
    target->permissions = status.st_mode & kPermissionBits;
    target->owner = status.st_uid;
    target->group = status.st_gid;
    return S_ISREG(status.st_mode) && realpath(path, target->path) != nullptr;
  }
  // A link that leads nowhere would be replaced itself.
  if (path[0] == '\0' || lstat(path, &status) == 0) return false;
  return strncpy_s(target->path, sizeof target->path, path, kPathCapacity) == 0;
}

// A new file beside the target; -1 when none can be made.
int openTemporary(const Target &target, char (&path)[kPathCapacity]) {
  for (unsigned number = 0; number < kNamesTried; ++number) {
    if (snprintf_s(path, sizeof path, sizeof path - 1, "%s.%ld-%u.tmp", target.path,
                   static_cast<long>(getpid()), number) < 0) {
      return -1;
    }
    const int file = open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kNewFileMode);
    if (file >= 0 || errno != EEXIST) return file;
  }
  return -1;
}

bool writeAll(int file, const char *text, size_t length) {
  while (length > 0) {
    const ssize_t written = write(file, text, length);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    text += written;
    length -= static_cast<size_t>(written);
  }
  return true;
}

// Gives the new file what the old one had. A process that may not give a file away keeps it, and
// then without the right to run as its owner.
bool takeOver(int file, const Target &target) {
  if (!target.exists) return true;
  const bool isGiven = fchown(file, target.owner, target.group) == 0;
  return fchmod(file, isGiven ? target.permissions : target.permissions & kPlainPermissionBits) ==
         0;
}

// The rename itself outlives a power failure once the folder is on the disk; where folders cannot
// be flushed, nothing better can be done.
void flushFolderOf(char *path) {
  char *slash = std::strrchr(path, '/');
  if (slash != nullptr) slash[slash == path ? 1 : 0] = '\0';
  const int folder = open(slash == nullptr ? "." : path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) return;
  fsync(folder);
  close(folder);
}

}  // namespace

WriteOutcome replaceWholeFile(const char *path, const char *text, size_t length) {
  if (strnlen(path, kLongestOutputPath + 1) > kLongestOutputPath) return WriteOutcome::notOpened;
  Target target;
  if (!resolveTarget(path, &target)) return WriteOutcome::notOpened;
  char temporary[kPathCapacity];
  const int file = openTemporary(target, temporary);
  if (file < 0) return WriteOutcome::notOpened;
  bool isWritten = writeAll(file, text, length);
  isWritten = isWritten && takeOver(file, target) && fsync(file) == 0;
  isWritten = close(file) == 0 && isWritten;
  if (!isWritten || std::rename(temporary, target.path) != 0) {
    unlink(temporary);
    return WriteOutcome::notWritten;
  }
  flushFolderOf(target.path);
  return WriteOutcome::written;
}

}  // namespace platform
