#include "platform/input_file.h"

#include "platform/system.h"

#if defined(NEB_XML_WINDOWS)

#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "platform/windows/system_calls.h"
#include "platform/windows/wide_path.h"

namespace neb::platform {

namespace {

constexpr int kFlags = _O_RDONLY | _O_BINARY | _O_NOINHERIT;
constexpr size_t kLargestPart = size_t{1} << 30;  // the C library counts in int

// A directory is opened too, so that it is told apart from a file that may not be read. Others may
// write, rename and remove the file meanwhile, as on other systems.
int openToRead(const char *path) {
  WidePath wide;
  if (!makeWide(path, wide)) return -1;
  const HANDLE file =
      CreateFileW(wide, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                  nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    failWithLastError();
    return -1;
  }
  const int descriptor = _open_osfhandle(reinterpret_cast<intptr_t>(file), kFlags);
  if (descriptor < 0) CloseHandle(file);
  return descriptor;
}

HANDLE handleOf(int file) {
  return reinterpret_cast<HANDLE>(_get_osfhandle(file));  // NOLINT(performance-no-int-to-ptr)
}

bool isDirectory(int file) {
  BY_HANDLE_FILE_INFORMATION status = {};
  return GetFileInformationByHandle(handleOf(file), &status) != 0 &&
         (status.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// Why there are no positions in a file, as an errno; 0 if there are. The system would claim to have
// sought in a pipe.
int whyNoPositions(int file) {
  if (isDirectory(file)) return EISDIR;
  return GetFileType(handleOf(file)) == FILE_TYPE_DISK ? 0 : ESPIPE;
}

// Pipes are read in parts. Fewer bytes than count: the file has ended. Negative if a part cannot be
// read.
int64_t fill(int file, char *bytes, size_t count) {
  size_t done = 0;
  while (done < count) {
    errno = 0;
    const auto most = static_cast<unsigned>(std::min(count - done, kLargestPart));
    const int part = _read(file, bytes + done, most);
    if (part == 0) break;
    if (part < 0) {
      if (isDirectory(file)) errno = EISDIR;
      return part;
    }
    done += static_cast<size_t>(part);
  }
  return static_cast<int64_t>(done);
}

}  // namespace

InputFile::InputFile(const char *path) : file_(openToRead(path)) {}

InputFile::~InputFile() {
  if (isOpen()) _close(file_);
}

int64_t InputFile::length() const {
  return whyNoPositions(file_) == 0 ? _lseeki64(file_, 0, SEEK_END) : -1;
}

int InputFile::lengthError() const {
  char first = '\0';
  return read(&first, 1) ? 0 : errno;
}

bool InputFile::read(char *bytes, size_t count) const {
  errno = whyNoPositions(file_);
  return errno == 0 && _lseeki64(file_, 0, SEEK_SET) == 0 &&
         fill(file_, bytes, count) == static_cast<int64_t>(count);
}

int64_t InputFile::expectedLength() const {
  LARGE_INTEGER size = {};
  const bool isKnown = whyNoPositions(file_) == 0 && GetFileSizeEx(handleOf(file_), &size) != 0;
  return isKnown ? size.QuadPart : 0;
}

int64_t InputFile::readNext(char *bytes, size_t count) const { return fill(file_, bytes, count); }

}  // namespace neb::platform

#endif
