#include "platform/input_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace neb::platform {

InputFile::InputFile(const char *path) : file_(open(path, O_RDONLY | O_CLOEXEC)) {}

InputFile::~InputFile() {
  if (isOpen()) close(file_);
}

int64_t InputFile::length() const { return lseek(file_, 0, SEEK_END); }

// The system reads large files in parts.
bool InputFile::read(char *bytes, size_t count) const {
  size_t done = 0;
  while (done < count) {
    const ssize_t part = pread(file_, bytes + done, count - done, static_cast<off_t>(done));
    if (part == 0 || (part < 0 && errno != EINTR)) return false;
    if (part > 0) done += static_cast<size_t>(part);
  }
  return true;
}

}  // namespace neb::platform
