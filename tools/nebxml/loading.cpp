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
#include "malformed_text.h"
#include "progress_note.h"

namespace nebxml {
namespace {

constexpr std::size_t readSize = 65536;
/** From here on the library reads no file. */
constexpr off_t firstUnreadableSize = off_t{1} << 32;

/** Reads up to the first NUL byte, where a text ends; false with errno set after a failure. */
bool readText(int descriptor, std::string &text) {
  std::array<char, readSize> piece{};
  for (;;) {
    const ssize_t count = ::read(descriptor, piece.data(), piece.size());
    const std::string_view read(piece.data(),
                                static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    const std::size_t end = std::min(read.find('\0'), read.size());
    text += read.substr(0, end);
    if (end < read.size() || count == 0) {
      return true;
    }
    if (count < 0 && errno != EINTR) {
      return false;
    }
  }
}

CommandError cannotRead(const std::string &fileName, int errorNumber) {
  return {ExitStatus::fileTrouble, fileName, withSystemCause("cannot read", errorNumber)};
}

/** A file that is open for reading. */
class Input {
 public:
  explicit Input(const std::string &fileName)
      : descriptor_(::open(fileName.c_str(), O_RDONLY | O_CLOEXEC)) {}
  ~Input() { ::close(descriptor_); }
  Input(const Input &) = delete;
  Input &operator=(const Input &) = delete;

  /** Negative when the file could not be opened, with errno set. */
  [[nodiscard]] int descriptor() const { return descriptor_; }

 private:
  int descriptor_;
};

/** What a file holds, as far as it can be read: only for showing it. */
std::string readAgain(const std::string &fileName) {
  std::string text;
  const Input input(fileName);
  readText(input.descriptor(), text);
  return text;
}

XmlNode *parseDescriptor(const std::string &fileName, int descriptor) {
  std::string text;
  if (!readText(descriptor, text)) {
    throw cannotRead(fileName, errno);
  }
  XmlNode *root = nullptr;
  NEB_XML_PARSE_ERROR error{};
  error.code = NEB_XML_ERR_SYNTAX;
  error.reason = "the file is empty";
  if (!text.empty() && NEB_XML_ParseBuffer(text.data(), text.size(), NEB_XML_PARSE_SESSION, &root,
                                           &error) == NEB_XML_OK) {
    return root;
  }
  throw error.code == NEB_XML_ERR_SYNTAX ? malformedText(fileName, error, text)
                                         : noMemory(fileName);
}

CommandError cannotOpen(const std::string &fileName, int errorNumber) {
  return {ExitStatus::fileTrouble, fileName, withSystemCause("cannot open", errorNumber)};
}

/** A pipe, a device, or what the system makes up while it is read. */
XmlNode *parseStream(const std::string &fileName) {
  const Input input(fileName);
  if (input.descriptor() < 0) {
    throw cannotOpen(fileName, errno);
  }
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
      throw malformedText(fileName, error, readAgain(fileName));
    case NEB_XML_ERR_NO_MEMORY:
      throw noMemory(fileName);
    case NEB_XML_ERR_FILE_OPEN:
      throw cannotOpen(fileName, errno);
    default:
      throw cannotRead(fileName, size >= firstUnreadableSize ? EFBIG : errno);
  }
}

XmlNode *parseFile(const std::string &fileName) {
  struct stat status {};
  if (::stat(fileName.c_str(), &status) != 0) {
    throw cannotOpen(fileName, errno);
  }
  if (S_ISDIR(status.st_mode)) {
    throw cannotRead(fileName, EISDIR);
  }
  // A file without a size may still hold something, as those in /proc do.
  return S_ISREG(status.st_mode) && status.st_size > 0 ? parseRegularFile(fileName, status.st_size)
                                                       : parseStream(fileName);
}

}  // namespace

XmlNode *loadDocument(const std::string &fileName) try {
  const ProgressNote note(fileName);
  return fileName == standardStream ? parseDescriptor(fileName, STDIN_FILENO) : parseFile(fileName);
} catch (const std::bad_alloc &) {
  throw noMemory(fileName);
}

bool goesOnBehindNul(const std::string &fileName) {
  struct stat status {};
  if (::stat(fileName.c_str(), &status) != 0) {
    throw cannotOpen(fileName, errno);
  }
  if (!S_ISREG(status.st_mode)) {
    return false;
  }
  std::ifstream file(fileName, std::ios::binary);
  std::string text;
  std::getline(file, text, '\0');
  if (!file.is_open() || file.bad()) {
    throw cannotRead(fileName, errno);
  }
  return !file.eof();
}

}  // namespace nebxml
