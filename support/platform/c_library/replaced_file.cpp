#include "platform/replaced_file.h"

#include "platform/system.h"

#if defined(NEB_XML_C_LIBRARY)

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "platform/bounded_memory.h"

namespace neb::platform {

namespace {

// A name of eight characters and three more, which every file system can take. The digit is what
// distinguishes it from temporary files that a failure of power has left.
constexpr char kTemporaryName[] = "neb-xml0.tmp";
constexpr size_t kDigitAt = sizeof "neb-xml" - 1;
constexpr char kFolderEnds[] = "/\\:";

using Path = char[kLongestOutputPath + sizeof kTemporaryName];

size_t folderLengthOf(const char *path) {
  size_t length = std::strlen(path);
  while (length > 0 && std::strchr(kFolderEnds, path[length - 1]) == nullptr) --length;
  return length;
}

std::FILE *openTemporary(const char *target, Path &path) {
  const size_t folderLength = folderLengthOf(target);
  std::memcpy(path, target, folderLength);
  char *name = path + folderLength;
  std::memcpy(name, kTemporaryName, sizeof kTemporaryName);
  std::FILE *file = nullptr;
  for (char digit = '0'; file == nullptr && digit <= '9'; ++digit) {
    name[kDigitAt] = digit;
    file = std::fopen(path, "wbx");
  }
  return file;
}

// What is written may show its failure no earlier than when the file is closed.
bool fillAndClose(std::FILE *file, ContentWriter writeInto, void *context) {
  const bool isFilled = writeInto(NewFile(file), context);
  const int cause = errno;
  const bool isClosed = std::fclose(file) == 0;
  if (!isFilled) errno = cause;
  return isFilled && isClosed;
}

void removeTemporary(const char *path) {
  const int cause = errno;
  std::remove(path);
  errno = cause;
}

WriteOutcome failToOpen(int cause) {
  errno = cause;
  return WriteOutcome::notOpened;
}

}  // namespace

bool NewFile::write(const char *bytes, size_t length) const {
  return std::fwrite(bytes, 1, length, file_) == length;
}

WriteOutcome replaceFile(const char *path, ContentWriter writeInto, void *context) {
  if (path[0] == '\0') return failToOpen(ENOENT);
  if (lengthWithin(path, kLongestOutputPath + 1) > kLongestOutputPath) {
    return failToOpen(ENAMETOOLONG);
  }
  Path temporary;
  std::FILE *file = openTemporary(path, temporary);
  if (file == nullptr) return WriteOutcome::notOpened;
  std::setvbuf(file, nullptr, _IONBF, 0);
  if (fillAndClose(file, writeInto, context) && std::rename(temporary, path) == 0) {
    return WriteOutcome::written;
  }
  removeTemporary(temporary);
  return WriteOutcome::notWritten;
}

}  // namespace neb::platform

#endif
