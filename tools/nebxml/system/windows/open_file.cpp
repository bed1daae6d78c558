#include "system/open_file.h"

#include "system/system.h"

#if defined(NEBXML_WINDOWS)

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include "system/paths.h"

namespace nebxml {
namespace {

constexpr size_t kLargestPart = size_t{1} << 30;  // of what is read or written by one call
constexpr int kBytesOfOne = _O_BINARY | _O_NOINHERIT;

unsigned partOf(size_t size) { return static_cast<unsigned>(std::min(size, kLargestPart)); }

// Windows refuses to open a folder as it refuses a file without rights.
void tellFolder(const std::filesystem::path &path) {
  const int cause = errno;
  std::error_code ignored;
  errno = cause == EACCES && std::filesystem::is_directory(path, ignored) ? EISDIR : cause;
}

int openPath(const std::filesystem::path &path, int flags) {
  const int descriptor = ::_wopen(path.c_str(), flags | kBytesOfOne, _S_IREAD | _S_IWRITE);
  if (descriptor < 0) tellFolder(path);
  return descriptor;
}

}  // namespace

bool closeDescriptor(int descriptor) { return ::_close(descriptor) == 0; }

bool writeWhole(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const int written = ::_write(descriptor, bytes.data(), partOf(bytes.size()));
    if (written < 0) return false;
    if (written == 0) {
      errno = ENOSPC;
      return false;
    }
    bytes.remove_prefix(static_cast<size_t>(written));
  }
  return true;
}

// Other devices, such as NUL, are terminals for the C library.
bool isTerminal(int descriptor) {
  DWORD mode = 0;
  const intptr_t handle = ::_get_osfhandle(descriptor);
  return ::GetConsoleMode(reinterpret_cast<HANDLE>(handle), &mode) != 0;  // NOLINT
}

OpenFile OpenFile::toRead(const std::string &name) {
  return OpenFile(openPath(pathOf(name), _O_RDONLY));
}

OpenFile OpenFile::toWrite(const std::string &name) {
  return OpenFile(openPath(pathOf(name), _O_WRONLY | _O_CREAT | _O_TRUNC));
}

size_t OpenFile::size() const {
  struct _stat64 status {};
  const bool isKnown =
      ::_fstat64(descriptor_, &status) == 0 && (status.st_mode & _S_IFMT) == _S_IFREG;
  return isKnown ? static_cast<size_t>(status.st_size) : 0;
}

std::optional<size_t> OpenFile::read(char *bytes, size_t size) const {
  const int count = ::_read(descriptor_, bytes, partOf(size));
  if (count < 0) return std::nullopt;
  return static_cast<size_t>(count);
}

}  // namespace nebxml

#endif
