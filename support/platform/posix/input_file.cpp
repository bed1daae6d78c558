#include "platform/input_file.h"

#include "platform/system.h"

#if defined(NEB_XML_POSIX)

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace neb::platform {

namespace {

static_assert(sizeof(off_t) == sizeof(int64_t), "the build must set _FILE_OFFSET_BITS=64");

bool isDirectory(int file) {
  struct stat status = {};
  return fstat(file, &status) == 0 && S_ISDIR(status.st_mode);
}

// The system reads large files and pipes in parts. Fewer bytes than count: the file has ended.
// Negative if a part cannot be read.
template <typename ReadPart>
int64_t fill(size_t count, ReadPart readPart) {
  size_t done = 0;
  while (done < count) {
    errno = 0;
    const ssize_t part = readPart(done);
    if (part == 0) break;
    if (part < 0 && errno != EINTR) return part;
    if (part > 0) done += static_cast<size_t>(part);
  }
  return static_cast<int64_t>(done);
}

}  // namespace

InputFile::InputFile(const char *path) : file_(open(path, O_RDONLY | O_CLOEXEC)) {}

InputFile::~InputFile() {
  if (isOpen()) close(file_);
}

// Where the end cannot be found, the position counts, as for streams: files of /proc are empty.
// Some directories end at the largest number that a process can use for a position.
int64_t InputFile::length() const {
  const off_t end = lseek(file_, 0, SEEK_END);
  if (end >= INT32_MAX && isDirectory(file_)) return -1;
  return end >= 0 ? end : lseek(file_, 0, SEEK_CUR);
}

int InputFile::lengthError() const {
  char first = '\0';
  return read(&first, 1) ? 0 : errno;
}

bool InputFile::read(char *bytes, size_t count) const {
  const auto readPart = [&](size_t done) {
    return pread(file_, bytes + done, count - done, static_cast<off_t>(done));
  };
  return fill(count, readPart) == static_cast<int64_t>(count);
}

int64_t InputFile::expectedLength() const {
  struct stat status = {};
  const bool isRegular = fstat(file_, &status) == 0 && S_ISREG(status.st_mode);
  return isRegular ? int64_t{status.st_size} : 0;
}

int64_t InputFile::readNext(char *bytes, size_t count) const {
  return fill(count, [&](size_t done) { return ::read(file_, bytes + done, count - done); });
}

}  // namespace neb::platform

#endif
