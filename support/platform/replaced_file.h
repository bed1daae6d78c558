// Replacing a file atomically: at any moment it has the old content or the new one.
#pragma once

#include <cstddef>
#include <string_view>

#include "platform/file_handle.h"
#include "platform/output_file.h"

namespace neb::platform {

// The temporary file, while its content is written.
class NewFile {
 public:
  explicit NewFile(FileHandle file) : file_(file) {}

  // Appends. False if not all of it was written.
  bool write(const char *bytes, size_t length) const;

 private:
  FileHandle file_;
};

// Writes the whole content; false if that fails.
using ContentWriter = bool (*)(NewFile file, void *context);

// Writes a temporary file beside the target, gives it the target's rights (see file_rights.h, and
// ReplaceFile for Windows), flushes it to the disk and renames it over the target. Its name cannot
// be predicted. A symbolic link is followed. The target must be a regular file or not exist. After
// a failure the old file is unchanged and no temporary one is left. If others change the target
// meanwhile, the content is written again.
//
// Where there is only the C library, the rename is as atomic as that of its file system, nothing is
// flushed to a disk, the new file has the rights of any new file, its name can be predicted, and a
// symbolic link is replaced itself. Others are not noticed. If the file system does not rename over
// a file that exists, replacing it fails.
WriteOutcome replaceFile(const char *path, ContentWriter writeInto, void *context);

// A ContentWriter of a std::string_view.
inline bool writeWhole(NewFile file, void *content) {
  const auto &bytes = *static_cast<const std::string_view *>(content);
  return file.write(bytes.data(), bytes.size());
}

// The same with a content that is in memory. An empty one is not written.
inline WriteOutcome replaceWholeFile(const char *path, const char *text, size_t length) {
  if (length == 0) return WriteOutcome::notWritten;  // nothing is no document to replace one by
  std::string_view whole(text, length);
  return replaceFile(path, writeWhole, &whole);
}

}  // namespace neb::platform
