#include "platform/replaced_file.h"

#include "platform/system.h"

#if defined(NEB_XML_WINDOWS)

#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <cwchar>

#include "platform/windows/system_calls.h"
#include "platform/windows/wide_path.h"

// Declared by the C library for programs only that define a macro before its first header.
extern "C" int __cdecl rand_s(unsigned *number);

namespace neb::platform {

namespace {

constexpr size_t kRandomNumbers = 4;
constexpr unsigned kNamesTried = 8;  // two of such names are never equal, unless somebody guesses
constexpr unsigned kTries = 16;
constexpr size_t kLargestWrite = size_t{1} << 30;  // the C library counts in int

// What stands beside the target while it is replaced.
struct Neighbours {
  WidePath temporary;
  WidePath old;
};

bool failWith(int cause) {
  errno = cause;
  return false;
}

bool isReplaceable(DWORD attributes) {
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return failWith(EISDIR);
  return (attributes & FILE_ATTRIBUTE_READONLY) == 0 || failWith(EACCES);
}

// The file to be replaced, or a path where there is none.
bool resolveTarget(const char *path, WidePath &target) {
  if (!makeWide(path, target)) return false;
  if (isDevice(target)) return failWith(EINVAL);
  DWORD attributes = GetFileAttributesW(target);
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    return GetLastError() == ERROR_FILE_NOT_FOUND || failWithLastError();
  }
  if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
    if (!followLinks(target)) return false;
    attributes = GetFileAttributesW(target);
    if (attributes == INVALID_FILE_ATTRIBUTES) return failWithLastError();
  }
  return isReplaceable(attributes);
}

// Names in the target's folder that do not grow with the target's, which may be as long as names
// can be.
bool nameNeighbours(const WidePath &target, Neighbours &neighbours) {
  unsigned random[kRandomNumbers];
  for (unsigned &number : random) {
    if (rand_s(&number) != 0) return false;
  }
  const auto folderLength = static_cast<int>(std::wcsrchr(target, L'\\') - target) + 1;
  const auto name = [&](WidePath &path, const wchar_t *end) {
    return std::swprintf(path, kWidePathCapacity, L"%.*ls.neb-xml-%08x%08x%08x%08x.%ls",
                         folderLength, target, random[0], random[1], random[2], random[3],
                         end) >= 0;
  };
  return (name(neighbours.temporary, L"tmp") && name(neighbours.old, L"old")) ||
         failWith(ENAMETOOLONG);
}

void removeFile(const WidePath &path) {
  const DWORD cause = GetLastError();
  DeleteFileW(path);
  SetLastError(cause);
}

// A new file that nobody else can open before it is closed; -1 if there is none.
int openTemporary(const WidePath &target, Neighbours &neighbours) {
  HANDLE file = INVALID_HANDLE_VALUE;
  for (unsigned tries = 0; tries < kNamesTried && file == INVALID_HANDLE_VALUE; ++tries) {
    if (!nameNeighbours(target, neighbours)) return -1;
    file = CreateFileW(neighbours.temporary, GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE && GetLastError() != ERROR_FILE_EXISTS) break;
  }
  if (file == INVALID_HANDLE_VALUE) {
    failWithLastError();
    return -1;
  }
  const int descriptor =
      _open_osfhandle(reinterpret_cast<intptr_t>(file), _O_BINARY | _O_NOINHERIT);
  if (descriptor >= 0) return descriptor;
  CloseHandle(file);
  removeFile(neighbours.temporary);
  return -1;
}

bool fillAndClose(int file, ContentWriter writeInto, void *context) {
  const bool isFlushed = writeInto(NewFile(file), context) && _commit(file) == 0;
  const int cause = errno;
  const bool isClosed = _close(file) == 0;
  if (!isFlushed) errno = cause;
  return isFlushed && isClosed;
}

// The new file takes over rights, attributes and streams. If the system fails half-way, the old one
// has been moved aside, and moves back.
bool replaceOld(const WidePath &target, const Neighbours &neighbours) {
  if (ReplaceFileW(target, neighbours.temporary, neighbours.old, 0, nullptr, nullptr) != 0) {
    removeFile(neighbours.old);
    return true;
  }
  const DWORD cause = GetLastError();
  if (cause == ERROR_UNABLE_TO_MOVE_REPLACEMENT_2) MoveFileExW(neighbours.old, target, 0);
  SetLastError(cause);
  return false;
}

bool moveNew(const WidePath &target, const Neighbours &neighbours) {
  return MoveFileExW(neighbours.temporary, target, MOVEFILE_WRITE_THROUGH) != 0;
}

// Others may make or remove a file of this name meanwhile.
bool putInPlace(const WidePath &target, const Neighbours &neighbours) {
  for (unsigned tries = 0; tries < kTries; ++tries) {
    if (moveNew(target, neighbours)) return true;
    if (GetLastError() != ERROR_ALREADY_EXISTS) return false;
    if (replaceOld(target, neighbours)) return true;
    if (GetLastError() != ERROR_FILE_NOT_FOUND) return false;
  }
  return false;
}

}  // namespace

bool NewFile::write(const char *bytes, size_t length) const {
  while (length > 0) {
    const int written =
        _write(file_, bytes, static_cast<unsigned>(std::min(length, kLargestWrite)));
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
  WidePath target;
  if (!resolveTarget(path, target)) return WriteOutcome::notOpened;
  Neighbours neighbours;
  const int file = openTemporary(target, neighbours);
  if (file < 0) return WriteOutcome::notOpened;
  if (fillAndClose(file, writeInto, context)) {
    if (putInPlace(target, neighbours)) return WriteOutcome::written;
    failWithLastError();
  }
  removeFile(neighbours.temporary);
  return WriteOutcome::notWritten;
}

}  // namespace neb::platform

#endif
