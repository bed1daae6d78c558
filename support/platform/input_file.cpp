#include "platform/input_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace neb::platform {

InputFile::InputFile(const char *path) : file_(open(path, O_RDONLY | O_CLOEXEC)) {}

InputFile::~InputFile() {
  if (isOpen()) close(file_);
}

// Where the end cannot be found, the position counts, as for streams: files of /proc are empty.
int64_t InputFile::length() const {
  const off_t end = lseek(file_, 0, SEEK_END);
  return end >= 0 ? end : lseek(file_, 0, SEEK_CUR);
}

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
