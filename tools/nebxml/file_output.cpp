#include "file_output.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "command_error.h"

namespace nebxml {
namespace {

constexpr mode_t newFileMode = 0666;
constexpr mode_t permissionBits = 07777;
constexpr mode_t accessBits = 0777;

[[noreturn]] void failWriting(const std::string &subject, int errorNumber) {
  throw CommandError(ExitStatus::fileTrouble, subject,
                     "cannot write: " + std::generic_category().message(errorNumber));
}

// The helpers return false with errno set, as the system calls do that they are made of.

bool writeWhole(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(descriptor, text.data(), text.size());
    if (written >= 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

/** Closing is where some file systems first report a failed write. An earlier one goes first. */
bool closeAfter(bool written, int descriptor) {
  const int earlierError = errno;
  const bool closed = ::close(descriptor) == 0;
  if (!written) {
    errno = earlierError;
  }
  return written && closed;
}

/** Gives the new file the old one's owner and permissions. */
bool adoptAttributes(int descriptor, const struct stat &old) {
  mode_t mode = old.st_mode & permissionBits;
  if (::fchown(descriptor, old.st_uid, old.st_gid) != 0) {
    // Only a privileged user may give files away. Without the owner, a set-user-id bit would
    // hand out the rights of somebody else.
    mode &= accessBits;
  }
  return ::fchmod(descriptor, mode) == 0;
}

bool fillAndRename(int descriptor, const std::string &temporary, std::string_view text,
                   const std::string &target, const struct stat &old) {
  const bool filled =
      writeWhole(descriptor, text) && adoptAttributes(descriptor, old) && ::fsync(descriptor) == 0;
  return closeAfter(filled, descriptor) && ::rename(temporary.c_str(), target.c_str()) == 0;
}

bool replaceRegularFile(const std::string &target, std::string_view text, const struct stat &old) {
  std::string temporary = std::filesystem::path(target).replace_filename(".nebxml-XXXXXX");
  const int descriptor = ::mkostemp(temporary.data(), O_CLOEXEC);
  if (descriptor < 0) {
    return false;
  }
  if (fillAndRename(descriptor, temporary, text, target, old)) {
    return true;
  }
  const int cause = errno;
  ::unlink(temporary.c_str());
  errno = cause;
  return false;
}

}  // namespace

void writeStandardOutput(std::string_view text) {
  if (!writeWhole(STDOUT_FILENO, text)) {
    failWriting("standard output", errno);
  }
}

void writeFile(const std::string &fileName, std::string_view text) {
  const int descriptor =
      ::open(fileName.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, newFileMode);
  if (descriptor < 0 || !closeAfter(writeWhole(descriptor, text), descriptor)) {
    failWriting(fileName, errno);
  }
}

void replaceFile(const std::string &fileName, std::string_view text) {
  std::error_code error;
  const std::string target = std::filesystem::canonical(fileName, error);
  if (error) {
    failWriting(fileName, error.value());
  }
  struct stat old {};
  if (::stat(target.c_str(), &old) != 0) {
    failWriting(fileName, errno);
  }
  if (!S_ISREG(old.st_mode)) {
    throw CommandError(ExitStatus::fileTrouble, fileName, "cannot write: not a regular file");
  }

  // A signal in between would end the program and leave the temporary file behind.
  sigset_t allSignals;
  sigset_t previousSignals;
  sigfillset(&allSignals);
  sigprocmask(SIG_BLOCK, &allSignals, &previousSignals);
  const int cause = replaceRegularFile(target, text, old) ? 0 : errno;
  sigprocmask(SIG_SETMASK, &previousSignals, nullptr);
  if (cause != 0) {
    failWriting(fileName, cause);
  }
}

}  // namespace nebxml
