#include "documents/input.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "documents/byte_order.h"
#include "documents/converter.h"
#include "terminal/command_error.h"

namespace nebxml {
namespace {

constexpr size_t kReadSize = 65536;

// A file open for reading, or standard input.
class OpenFile {
 public:
  explicit OpenFile(const std::string &fileName)
      : descriptor_(fileName == kStandardStream ? STDIN_FILENO
                                                : ::open(fileName.c_str(), O_RDONLY | O_CLOEXEC)) {}
  ~OpenFile() { ::close(descriptor_); }
  OpenFile(const OpenFile &) = delete;
  OpenFile &operator=(const OpenFile &) = delete;

  // Negative, with errno set, if the file could not be opened.
  int descriptor() const { return descriptor_; }

  // 0 if it is not known, as that of a pipe.
  size_t size() const {
    struct stat status {};
    const bool isKnown = ::fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode);
    return isKnown ? static_cast<size_t>(status.st_size) : 0;
  }

 private:
  int descriptor_;
};

CommandError tooLarge(const std::string &fileName, uint64_t maxBytes) {
  const std::string cause = "larger than " + std::to_string(maxBytes) + " bytes (--max-bytes)";
  return {ExitStatus::fileTrouble, printable("nebxml: " + fileName + ": " + cause),
          Finding{cause, 0, 0, true}};
}

// Whether the rest of a document with a NUL byte is of no use. Until its first bytes have arrived,
// nobody knows.
bool endsAtNul(const std::string &bytes, const std::string &encoding) {
  if (!encoding.empty()) return !hasNulBytes(encoding);
  return bytes.size() >= kLongestByteOrderMark && wideEncodingOf(bytes).empty();
}

}  // namespace

bool isTypedByUser(const std::string &fileName) {
  return fileName == kStandardStream && ::isatty(STDIN_FILENO) == 1;
}

std::string readInput(const std::string &fileName, const std::string &encoding, uint64_t maxBytes) {
  const OpenFile file(fileName);
  if (file.descriptor() < 0) throw systemError(fileName, "cannot open", errno);
  const uint64_t limit = maxBytes == 0 ? UINT64_MAX : maxBytes;
  std::string bytes;
  bytes.reserve(static_cast<size_t>(std::min<uint64_t>(file.size(), limit)));
  std::array<char, kReadSize> chunk{};
  bool hasNul = false;
  for (;;) {
    const ssize_t count = ::read(file.descriptor(), chunk.data(), chunk.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw systemError(fileName, "cannot read", errno);
    const std::string_view part(chunk.data(), static_cast<size_t>(count));
    if (part.size() > limit - bytes.size()) throw tooLarge(fileName, maxBytes);
    bytes += part;
    hasNul = hasNul || part.find('\0') != std::string_view::npos;
    if (part.empty() || (hasNul && endsAtNul(bytes, encoding))) return bytes;
  }
}

}  // namespace nebxml
