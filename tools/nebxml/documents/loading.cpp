#include "documents/loading.h"

#include <array>
#include <cerrno>
#include <new>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "command_error.h"
#include "documents/document.h"
#include "documents/syntax_report.h"
#include "terminal/progress_note.h"

namespace nebxml {
namespace {

constexpr size_t kReadSize = 65536;
constexpr size_t kLongestMessage = 512;

// A file open for reading, or standard input.
class Input {
 public:
  explicit Input(const std::string &fileName)
      : descriptor_(fileName == kStandardStream ? STDIN_FILENO
                                                : ::open(fileName.c_str(), O_RDONLY | O_CLOEXEC)) {}
  ~Input() { ::close(descriptor_); }
  Input(const Input &) = delete;
  Input &operator=(const Input &) = delete;

  // Negative, with errno set, if the file could not be opened.
  int descriptor() const { return descriptor_; }

 private:
  int descriptor_;
};

CommandError cannot(const std::string &action, const std::string &fileName) {
  return {ExitStatus::fileTrouble, fileName, withSystemCause("cannot " + action, errno)};
}

// 0 if it is not known, as that of a pipe.
size_t sizeOf(const Input &input) {
  struct stat status {};
  const bool isKnown = ::fstat(input.descriptor(), &status) == 0 && S_ISREG(status.st_mode);
  return isKnown ? static_cast<size_t>(status.st_size) : 0;
}

void readFile(const std::string &fileName, std::string &bytes) {
  const Input input(fileName);
  if (input.descriptor() < 0) throw cannot("open", fileName);
  bytes.reserve(sizeOf(input));
  std::array<char, kReadSize> chunk{};
  for (bool isAtEnd = false; !isAtEnd;) {
    const ssize_t count = ::read(input.descriptor(), chunk.data(), chunk.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw cannot("read", fileName);
    const std::string_view part(chunk.data(), static_cast<size_t>(count));
    bytes += part;
    isAtEnd = part.empty() || part.find('\0') != std::string_view::npos;
  }
}

}  // namespace

XmlNode *loadDocument(const std::string &fileName, const ReadingOptions &options,
                      std::string &bytes) try {
  const ProgressNote note(fileName);
  readFile(fileName, bytes);
  const bool isStrict = options.language == Reading::strict;
  const std::string_view whole(bytes);
  const std::string_view text = isStrict ? whole : whole.substr(0, whole.find('\0'));
  std::array<char, kLongestMessage> message{};
  NEB_XML_READ_OPTIONS settings{};
  settings.size = sizeof settings;
  settings.message = message.data();
  settings.messageSize = message.size();
  NEB_XML_PARSE_ERROR error{};
  XmlNode *root = nullptr;
  const uint32_t result =
      isStrict
          ? NEB_XML_Read(text.data(), text.size(), &settings, &root, &error)
          : NEB_XML_ParseBuffer(text.data(), text.size(), NEB_XML_PARSE_SESSION, &root, &error);
  if (result == NEB_XML_OK) return root;
  if (result == NEB_XML_ERR_NO_MEMORY) throw noMemory(fileName);
  if (text.empty()) throw syntaxReport(fileName, error, "the file is empty", text);
  throw syntaxReport(fileName, error, isStrict ? message.data() : error.reason, text);
} catch (const std::bad_alloc &) {
  throw noMemory(fileName);
}

}  // namespace nebxml
