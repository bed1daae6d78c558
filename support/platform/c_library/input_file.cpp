#include "platform/input_file.h"

#include "platform/system.h"

#if defined(NEB_XML_C_LIBRARY)

#include <cerrno>
#include <climits>

namespace neb::platform {

InputFile::InputFile(const char *path) : file_(std::fopen(path, "rb")) {
  // What is read goes to its destination at once.
  if (isOpen()) std::setvbuf(file_, nullptr, _IONBF, 0);
}

InputFile::~InputFile() {
  if (isOpen()) std::fclose(file_);
}

// Some directories end at the largest number.
int64_t InputFile::length() const {
  if (std::fseek(file_, 0, SEEK_END) != 0) return -1;
  const long end = std::ftell(file_);
  return end < LONG_MAX ? end : -1;
}

int InputFile::lengthError() const {
  char first = '\0';
  return read(&first, 1) ? 0 : errno;
}

bool InputFile::read(char *bytes, size_t count) const {
  return std::fseek(file_, 0, SEEK_SET) == 0 && std::fread(bytes, 1, count, file_) == count;
}

// The end is found by seeking there, and may be beyond the largest number. What cannot be sought in
// stays as it is.
int64_t InputFile::expectedLength() const {
  const int64_t end = length();
  return std::fseek(file_, 0, SEEK_SET) == 0 && end > 0 ? end : 0;
}

int64_t InputFile::readNext(char *bytes, size_t count) const {
  const size_t done = std::fread(bytes, 1, count, file_);
  return std::ferror(file_) == 0 ? static_cast<int64_t>(done) : -1;
}

}  // namespace neb::platform

#endif
