#include "saving/file_writing.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

#include "neb_xml.h"
#include "saving/blocked_signals.h"
#include "terminal/command_error.h"
#include "terminal/writing.h"

namespace nebxml {
namespace {

constexpr mode_t kNewFileMode = 0666;

// Some file systems report a failed write only at close. An earlier failure takes precedence.
bool closeAfter(bool written, int descriptor) {
  const int earlierError = errno;
  const bool closed = ::close(descriptor) == 0;
  if (!written) errno = earlierError;
  return written && closed;
}

}  // namespace

void writeFile(const std::string &fileName, std::string_view text) {
  const int descriptor =
      ::open(fileName.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kNewFileMode);
  if (descriptor < 0 || !closeAfter(writeWhole(descriptor, text), descriptor)) {
    failWriting(fileName, errno);
  }
}

void replaceFile(const std::string &fileName, std::string_view text) {
  const BlockedSignals blocked;
  const uint32_t result = NEB_XML_SaveBytes(fileName.c_str(), text.data(), text.size());
  const int cause = errno;
  if (result == NEB_XML_ERR_NO_MEMORY) throw noMemory(fileName);
  if (result == NEB_XML_ERR_FILE_OPEN && cause == EINVAL) {
    throw CommandError(ExitStatus::fileTrouble, fileName, "cannot be replaced: not a regular file");
  }
  if (result != NEB_XML_OK) failWriting(fileName, cause);
}

}  // namespace nebxml
