// Reading a whole file without a buffer in between. What fails says why in errno.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/file_handle.h"

namespace neb::platform {

class InputFile {
 public:
  // Opens the file.
  explicit InputFile(const char *path);
  ~InputFile();
  InputFile(const InputFile &) = delete;
  InputFile &operator=(const InputFile &) = delete;

  bool isOpen() const { return file_ != kNoFile; }

  // In bytes; negative if the file cannot be sought in, such as a pipe.
  int64_t length() const;

  // Why the length is of no use: the errno of reading from the start, as of directories and pipes;
  // 0 if that succeeds.
  int lengthError() const;

  // The first bytes of the file. False if they cannot be read or, with errno 0, are not there.
  bool read(char *bytes, size_t count) const;

  // What is to be expected of a file that can be measured without seeking; else 0.
  int64_t expectedLength() const;

  // The next bytes, from a file of any kind: fewer at its end only. Negative if reading fails.
  int64_t readNext(char *bytes, size_t count) const;

 private:
  FileHandle file_;
};

}  // namespace neb::platform
