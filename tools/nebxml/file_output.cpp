#include "file_output.h"

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

#include "command_error.h"
#include "neb_xml.h"
#include "printable.h"

namespace nebxml {
namespace {

constexpr mode_t kNewFileMode = 0666;
constexpr const char *kStandardOutput = "standard output";
constexpr std::string_view kLayoutControls = "\t\n";

bool g_isOutputUsed = false;

bool isOutputTerminal() {
  static const bool isTerminal = ::isatty(STDOUT_FILENO) == 1;
  return isTerminal;
}

[[noreturn]] void failWriting(const std::string &subject, int errorNumber) {
  throw CommandError(ExitStatus::fileTrouble, subject,
                     withSystemCause("cannot write", errorNumber));
}

// On failure the helpers return false and set errno, like the system calls that they make.

bool writeWhole(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(descriptor, text.data(), text.size());
    if (written > 0) {
      text.remove_prefix(static_cast<size_t>(written));
    } else if (written == 0 || errno != EINTR) {
      errno = written == 0 ? EIO : errno;
      return false;
    }
  }
  return true;
}

// Some file systems report a failed write only at close. An earlier failure takes precedence.
bool closeAfter(bool written, int descriptor) {
  const int earlierError = errno;
  const bool closed = ::close(descriptor) == 0;
  if (!written) errno = earlierError;
  return written && closed;
}

}  // namespace

void writeStandardOutput(std::string_view text) {
  if (text.empty()) return;
  g_isOutputUsed = true;
  const bool isWritten = isOutputTerminal()
                             ? writeWhole(STDOUT_FILENO, printable(text, kLayoutControls))
                             : writeWhole(STDOUT_FILENO, text);
  if (!isWritten) failWriting(kStandardOutput, errno);
}

std::string outputName(std::string_view name) {
  return isOutputTerminal() ? printable(name) : std::string(name);
}

void closeStandardOutput() {
  if (g_isOutputUsed && ::close(STDOUT_FILENO) != 0) failWriting(kStandardOutput, errno);
}

void writeFile(const std::string &fileName, std::string_view text) {
  const int descriptor =
      ::open(fileName.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kNewFileMode);
  if (descriptor < 0 || !closeAfter(writeWhole(descriptor, text), descriptor)) {
    failWriting(fileName, errno);
  }
}

void replaceFile(const std::string &fileName, std::string_view text) {
  // A signal during the call would end the program and leave a temporary file.
  sigset_t allSignals;
  sigset_t previousSignals;
  sigfillset(&allSignals);
  sigprocmask(SIG_BLOCK, &allSignals, &previousSignals);
  const uint32_t result = NEB_XML_SaveBytes(fileName.c_str(), text.data(), text.size());
  const int cause = errno;
  sigprocmask(SIG_SETMASK, &previousSignals, nullptr);
  if (result == NEB_XML_ERR_NO_MEMORY) throw noMemory(fileName);
  if (result == NEB_XML_ERR_FILE_OPEN && cause == EINVAL) {
    throw CommandError(ExitStatus::fileTrouble, fileName, "cannot be replaced: not a regular file");
  }
  if (result != NEB_XML_OK) failWriting(fileName, cause);
}

}  // namespace nebxml
