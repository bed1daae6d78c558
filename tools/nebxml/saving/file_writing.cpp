#include "saving/file_writing.h"

#include <cerrno>

#include <fcntl.h>

#include "neb_xml.h"
#include "saving/blocked_signals.h"
#include "saving/descriptor.h"
#include "terminal/command_error.h"
#include "terminal/writing.h"

namespace nebxml {
namespace {

constexpr mode_t kNewFileMode = 0666;

}  // namespace

void writeFile(const std::string &fileName, std::string_view text) {
  Descriptor file(::open(fileName.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kNewFileMode));
  if (file.number() < 0 || !writeWhole(file.number(), text) || !file.close()) {
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
