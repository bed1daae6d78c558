#include "platform/replaced_file.h"

#include "platform/system.h"

#if defined(NEB_XML_POSIX)

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <tuple>

#include "platform/bounded_memory.h"
#include "platform/posix/canonical_path.h"
#include "platform/posix/file_rights.h"

namespace neb::platform {

namespace {

constexpr size_t kRandomBytes = 16;
constexpr unsigned kNamesTried = 8;  // two of such names are never equal, unless somebody guesses
constexpr unsigned kTries = 16;
constexpr size_t kLargestWrite = size_t{1} << 30;  // more is refused by some systems
constexpr mode_t kNewFileMode = 0666;              // less what the process masks

enum class Presence { absent, regular, unusable };

struct Target {
  Path path;
  Presence presence;
};

struct Content {
  ContentWriter writeInto;
  void *context;
};

// A file is only absent if the system says so: other errors hide what is there.
Presence lookAt(const char *path, struct stat *status) {
  if (lstat(path, status) != 0) return errno == ENOENT ? Presence::absent : Presence::unusable;
  return S_ISREG(status->st_mode) ? Presence::regular : Presence::unusable;
}

bool failWith(int cause) {
  errno = cause;
  return false;
}

bool resolveTarget(const char *path, Target *target) {
  struct stat status = {};
  if (path[0] == '\0') return failWith(ENOENT);
  if (stat(path, &status) == 0) {
    target->presence = Presence::regular;
    if (!S_ISREG(status.st_mode)) return failWith(S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
    return canonicalise(path, target->path);
  }
  if (errno != ENOENT) return false;
  // A link that leads nowhere would be replaced itself.
  target->presence = lookAt(path, &status);
  return target->presence == Presence::absent &&
         strncpy_s(target->path, sizeof target->path, path, sizeof target->path) == 0;
}

// A name in the target's folder that does not grow with the target's, which may be as long as names
// can be.
bool makeTemporaryName(const char *target, Path &path) {
  unsigned char random[kRandomBytes];
  if (getentropy(random, sizeof random) != 0) return false;
  char digits[2 * kRandomBytes + 1];
  for (size_t i = 0; i < kRandomBytes; ++i) snprintf_s(digits + 2 * i, 3, 2, "%02x", random[i]);
  const char *slash = std::strrchr(target, '/');
  const int folderLength = slash == nullptr ? 0 : static_cast<int>(slash - target) + 1;
  return snprintf_s(path, sizeof path, sizeof path - 1, "%.*s.neb-xml-%s.tmp", folderLength, target,
                    digits) >= 0;
}

// A new file, or -1.
int openTemporary(const Target &target, Path &path) {
  const mode_t mode = target.presence == Presence::absent ? kNewFileMode : kPrivateFileMode;
  for (unsigned tries = 0; tries < kNamesTried; ++tries) {
    if (!makeTemporaryName(target.path, path)) return -1;
    const int file = open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (file >= 0 || (errno != EEXIST && errno != EINTR)) return file;
  }
  return -1;
}

bool flush(int file) {
  while (fsync(file) != 0) {
    if (errno != EINTR) return false;
  }
  return true;
}

// Some systems have this time under another name.
template <typename Status>
const timespec &changeTimeOf(const Status &file) {
  if constexpr (requires { file.st_ctim; }) {
    return file.st_ctim;
  } else {
    return file.st_ctimespec;
  }
}

bool isSameVersion(const struct stat &a, const struct stat &b) {
  const auto identity = [](const struct stat &file) {
    const timespec &changed = changeTimeOf(file);
    return std::tuple(file.st_dev, file.st_ino, file.st_mode, file.st_uid, file.st_gid,
                      changed.tv_sec, changed.tv_nsec);
  };
  return identity(a) == identity(b);
}

// Nothing when the old file changes meanwhile in what the new one has from it: flushing takes its
// time, in which others may replace it or take rights to it away. What was there and is gone leaves
// its rights.
std::optional<WriteOutcome> flushWithRights(int file, const Target &target) {
  struct stat old = {};
  const Presence presence = lookAt(target.path, &old);
  if (presence == Presence::unusable) return WriteOutcome::notWritten;
  if (presence == Presence::regular) {
    if (target.presence == Presence::absent) return std::nullopt;
    const Transfer transfer = takeOverRights(file, target.path, old);
    if (transfer == Transfer::changed) return std::nullopt;
    if (transfer == Transfer::noMemory) return WriteOutcome::noMemory;
    if (transfer == Transfer::refused) return WriteOutcome::notWritten;
  }
  if (!flush(file)) return WriteOutcome::notWritten;
  struct stat now = {};
  const Presence later = lookAt(target.path, &now);
  if (later == Presence::unusable) return WriteOutcome::notWritten;
  const bool isKept = later == Presence::absent || (presence == later && isSameVersion(old, now)) ||
                      (target.presence == later && hasRightsOf(file, target.path, now));
  return isKept ? std::optional(WriteOutcome::written) : std::nullopt;
}

// Some file systems report a failed write no earlier than when the file is closed.
std::optional<WriteOutcome> fillAndClose(int file, const Target &target, const Content &content) {
  const bool isFilled = content.writeInto(NewFile(file), content.context);
  const std::optional<WriteOutcome> outcome =
      isFilled ? flushWithRights(file, target) : WriteOutcome::notWritten;
  const int cause = errno;
  const bool isClosed = close(file) == 0;
  if (outcome == WriteOutcome::written) return isClosed ? outcome : WriteOutcome::notWritten;
  errno = cause;
  return outcome;
}

void removeTemporary(const char *path) {
  const int cause = errno;
  unlink(path);
  errno = cause;
}

// The rename itself outlives a power failure once the folder is on the disk; where folders cannot
// be flushed, nothing better can be done.
void flushFolderOf(char *path) {
  char *slash = std::strrchr(path, '/');
  if (slash != nullptr) slash[slash == path ? 1 : 0] = '\0';
  const int folder = open(slash == nullptr ? "." : path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) return;
  flush(folder);
  close(folder);
}

std::optional<WriteOutcome> tryToReplace(const Target &target, const Content &content) {
  Path temporary;
  const int file = openTemporary(target, temporary);
  if (file < 0) return WriteOutcome::notOpened;
  std::optional<WriteOutcome> outcome = fillAndClose(file, target, content);
  if (outcome == WriteOutcome::written && std::rename(temporary, target.path) != 0) {
    outcome = WriteOutcome::notWritten;
  }
  if (outcome != WriteOutcome::written) removeTemporary(temporary);
  return outcome;
}

}  // namespace

bool NewFile::write(const char *bytes, size_t length) const {
  while (length > 0) {
    const ssize_t written = ::write(file_, bytes, std::min(length, kLargestWrite));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes += written;
    length -= static_cast<size_t>(written);
  }
  return true;
}

WriteOutcome replaceFile(const char *path, ContentWriter writeInto, void *context) {
  if (strnlen(path, kLongestOutputPath + 1) > kLongestOutputPath) {
    errno = ENAMETOOLONG;
    return WriteOutcome::notOpened;
  }
  const Content content = {writeInto, context};
  Target target;
  if (!resolveTarget(path, &target)) return WriteOutcome::notOpened;
  for (unsigned tries = 0; tries < kTries; ++tries) {
    const std::optional<WriteOutcome> outcome = tryToReplace(target, content);
    if (outcome == WriteOutcome::written) flushFolderOf(target.path);
    if (outcome.has_value()) return *outcome;
    target.presence = Presence::regular;
  }
  errno = EBUSY;
  return WriteOutcome::notWritten;
}

}  // namespace neb::platform

#endif
