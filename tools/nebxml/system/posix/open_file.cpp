#include "system/open_file.h"

#include "system/system.h"

#if defined(NEBXML_POSIX)

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace nebxml {
namespace {

constexpr mode_t kNewFileMode = 0666;  // less what the process masks

}  // namespace

bool closeDescriptor(int descriptor) { return ::close(descriptor) == 0; }

bool writeWhole(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
    if (written > 0) {
      bytes.remove_prefix(static_cast<size_t>(written));
    } else if (written == 0 || errno != EINTR) {
      errno = written == 0 ? EIO : errno;
      return false;
    }
  }
  return true;
}

bool isTerminal(int descriptor) { return ::isatty(descriptor) == 1; }

OpenFile OpenFile::toRead(const std::string &name) {
  return OpenFile(::open(name.c_str(), O_RDONLY | O_CLOEXEC));
}

OpenFile OpenFile::toWrite(const std::string &name) {
  return OpenFile(::open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kNewFileMode));
}

size_t OpenFile::size() const {
  struct stat status {};
  const bool isKnown = ::fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode);
  return isKnown ? static_cast<size_t>(status.st_size) : 0;
}

std::optional<size_t> OpenFile::read(char *bytes, size_t size) const {
  while (true) {
    const ssize_t count = ::read(descriptor_, bytes, size);
    if (count >= 0) return static_cast<size_t>(count);
    if (errno != EINTR) return std::nullopt;
  }
}

}  // namespace nebxml

#endif
