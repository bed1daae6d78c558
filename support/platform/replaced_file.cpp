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
constexpr mode_t kNewFileMode = 0666;      // less what the process masks
constexpr mode_t kPrivateFileMode = 0600;  // until the old file's permissions are taken over
constexpr mode_t kPermissionBits = 07777;
constexpr mode_t kPlainPermissionBits = 0777;
constexpr mode_t kGroupBits = 0070;
constexpr mode_t kOtherBits = 0007;
constexpr unsigned kOthersToGroup = 3;
constexpr uid_t kSameOwner = static_cast<uid_t>(-1);

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

// A new file in the target's folder; -1 when none can be made. Its name does not grow with the
// target's, which may be as long as names can be.
int openTemporary(const Target &target, char (&path)[kPathCapacity]) {
  const char *slash = std::strrchr(target.path, '/');
  const int folderLength = slash == nullptr ? 0 : static_cast<int>(slash - target.path) + 1;
  const mode_t mode = target.exists ? kPrivateFileMode : kNewFileMode;
  for (unsigned number = 0; number < kNamesTried; ++number) {
    if (snprintf_s(path, sizeof path, sizeof path - 1, "%.*s.neb-xml-%ld-%u.tmp", folderLength,
                   target.path, static_cast<long>(getpid()), number) < 0) {
      return -1;
    }
    const int file = open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
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

// Gives the new file what the old one had. Where the process may not give owner or group away, the
// rights that went with them are not given to others instead.
bool takeOver(int file, const Target &target) {
  if (!target.exists) return true;
  mode_t permissions = target.permissions;
  if (fchown(file, target.owner, target.group) != 0) {
    permissions &= kPlainPermissionBits;
    if (fchown(file, kSameOwner, target.group) != 0) {
      const mode_t ofOthers = (permissions & kOtherBits) << kOthersToGroup;
      permissions &= ~kGroupBits | ofOthers;
    }
  }
  return fchmod(file, permissions) == 0;
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
  if (length == 0) return WriteOutcome::notWritten;  // nothing is no document to replace one by
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
