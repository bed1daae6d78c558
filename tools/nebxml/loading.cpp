#include "loading.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <new>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "command_error.h"
#include "document.h"
#include "progress_note.h"
#include "syntax_report.h"

namespace nebxml {
namespace {

constexpr size_t kReadSize = 65536;
// The library reads no file of this size or more.
constexpr off_t kFirstUnreadableSize = off_t{1} << 32;

// Reads up to the first NUL byte, which ends a document. On failure returns false and sets errno.
bool readDocument(int descriptor, std::string &text) {
  std::array<char, kReadSize> chunk{};
  for (;;) {
    const ssize_t count = ::read(descriptor, chunk.data(), chunk.size());
    const std::string_view read(chunk.data(), static_cast<size_t>(std::max<ssize_t>(count, 0)));
    const size_t end = std::min(read.find('\0'), read.size());
    text += read.substr(0, end);
    if (end < read.size() || count == 0) return true;
    if (count < 0 && errno != EINTR) return false;
  }
}

CommandError cannotRead(const std::string &fileName, int errorNumber) {
  return {ExitStatus::fileTrouble, fileName, withSystemCause("cannot read", errorNumber)};
}

// A file open for reading.
class Input {
 public:
  explicit Input(const std::string &fileName)
      : descriptor_(::open(fileName.c_str(), O_RDONLY | O_CLOEXEC)) {}
  ~Input() { ::close(descriptor_); }
  Input(const Input &) = delete;
  Input &operator=(const Input &) = delete;

  // Negative, with errno set, if the file could not be opened.
  int descriptor() const { return descriptor_; }

 private:
  int descriptor_;
};

// The content of a file for a report, as far as it can be read.
std::string readAgain(const std::string &fileName) {
  std::string text;
  const Input input(fileName);
  readDocument(input.descriptor(), text);
  return text;
}

XmlNode *parseDescriptor(const std::string &fileName, int descriptor) {
  std::string text;
  if (!readDocument(descriptor, text)) throw cannotRead(fileName, errno);
  XmlNode *root = nullptr;
  NEB_XML_PARSE_ERROR error{};
  error.code = NEB_XML_ERR_SYNTAX;
  error.reason = "the file is empty";
  if (!text.empty() && NEB_XML_ParseBuffer(text.data(), text.size(), NEB_XML_PARSE_SESSION, &root,
                                           &error) == NEB_XML_OK) {
    return root;
  }
  throw error.code == NEB_XML_ERR_SYNTAX ? syntaxReport(fileName, error, text) : noMemory(fileName);
}

CommandError cannotOpen(const std::string &fileName, int errorNumber) {
  return {ExitStatus::fileTrouble, fileName, withSystemCause("cannot open", errorNumber)};
}

// For a pipe, a device, or a file that the system generates while it is read.
XmlNode *parseStream(const std::string &fileName) {
  const Input input(fileName);
  if (input.descriptor() < 0) throw cannotOpen(fileName, errno);
  return parseDescriptor(fileName, input.descriptor());
}

XmlNode *parseRegularFile(const std::string &fileName, off_t size) {
  XmlNode *root = nullptr;
  NEB_XML_PARSE_ERROR error{};
  errno = 0;
  switch (NEB_XML_ParseFileInfo(fileName.c_str(), NEB_XML_PARSE_SESSION, &root, &error)) {
    case NEB_XML_OK:
      return root;
    case NEB_XML_ERR_SYNTAX:
      throw syntaxReport(fileName, error, readAgain(fileName));
    case NEB_XML_ERR_NO_MEMORY:
      throw noMemory(fileName);
    case NEB_XML_ERR_FILE_OPEN:
      throw cannotOpen(fileName, errno);
    default:
      throw cannotRead(fileName, size >= kFirstUnreadableSize ? EFBIG : errno);
  }
}

XmlNode *parseFile(const std::string &fileName) {
  struct stat status {};
  if (::stat(fileName.c_str(), &status) != 0) throw cannotOpen(fileName, errno);
  if (S_ISDIR(status.st_mode)) throw cannotRead(fileName, EISDIR);
  // Files in /proc have no size, but do have content.
  return S_ISREG(status.st_mode) && status.st_size > 0 ? parseRegularFile(fileName, status.st_size)
                                                       : parseStream(fileName);
}

}  // namespace

XmlNode *loadDocument(const std::string &fileName) try {
  const ProgressNote note(fileName);
  return fileName == kStandardStream ? parseDescriptor(fileName, STDIN_FILENO)
                                     : parseFile(fileName);
} catch (const std::bad_alloc &) {
  throw noMemory(fileName);
}

bool continuesAfterNul(const std::string &fileName) {
  struct stat status {};
  if (::stat(fileName.c_str(), &status) != 0) throw cannotOpen(fileName, errno);
  if (!S_ISREG(status.st_mode)) return false;
  std::ifstream file(fileName, std::ios::binary);
  std::string text;
  std::getline(file, text, '\0');
  if (!file.is_open() || file.bad()) throw cannotRead(fileName, errno);
  return !file.eof();
}

}  // namespace nebxml
