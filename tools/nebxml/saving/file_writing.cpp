#include "saving/file_writing.h"

#include <cerrno>

#include "neb_xml.h"
#include "system/blocked_signals.h"
#include "system/open_file.h"
#include "terminal/command_error.h"

namespace nebxml {

void writeFile(const std::string &fileName, std::string_view text) {
  OpenFile file = OpenFile::toWrite(fileName);
  if (!file.isOpen() || !file.write(text) || !file.close()) failWriting(fileName, errno);
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
