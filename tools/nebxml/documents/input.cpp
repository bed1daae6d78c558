#include "documents/input.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>

#include "documents/byte_order.h"
#include "documents/known_encoding.h"
#include "system/open_file.h"
#include "terminal/command_error.h"

namespace nebxml {
namespace {

constexpr size_t kReadSize = 65536;

OpenFile openInput(const std::string &fileName) {
  return fileName == kStandardStream ? OpenFile::standardInput() : OpenFile::toRead(fileName);
}

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
  return fileName == kStandardStream && isTerminal(kStandardInput);
}

std::string readInput(const std::string &fileName, const std::string &encoding, uint64_t maxBytes) {
  const OpenFile file = openInput(fileName);
  if (!file.isOpen()) throw systemError(fileName, "cannot open", errno);
  const uint64_t limit = maxBytes == 0 ? UINT64_MAX : maxBytes;
  std::string bytes;
  bytes.reserve(static_cast<size_t>(std::min<uint64_t>(file.size(), limit)));
  std::array<char, kReadSize> chunk{};
  bool hasNul = false;
  for (;;) {
    const std::optional<size_t> count = file.read(chunk.data(), chunk.size());
    if (!count) throw systemError(fileName, "cannot read", errno);
    const std::string_view part(chunk.data(), *count);
    if (part.size() > limit - bytes.size()) throw tooLarge(fileName, maxBytes);
    bytes += part;
    hasNul = hasNul || part.find('\0') != std::string_view::npos;
    if (part.empty() || (hasNul && endsAtNul(bytes, encoding))) return bytes;
  }
}

}  // namespace nebxml
