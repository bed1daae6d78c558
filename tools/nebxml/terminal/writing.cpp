#include "terminal/writing.h"

#include <cerrno>

#include <unistd.h>

#include "terminal/command_error.h"

namespace nebxml {

void failWriting(const std::string &subject, int errorNumber) {
  throw systemError(subject, "cannot write", errorNumber);
}

bool writeWhole(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
    if (written > 0) {
      bytes.remove_prefix(static_cast<size_t>(written));
    } else if (written == 0 || errno != EINTR) {
      errno = written == 0 ? EIO : errno;
      return false;
    }
  }
  return true;
}

}  // namespace nebxml
