#include "documents/converter.h"

#include <array>
#include <cerrno>
#include <new>

namespace nebxml {
namespace {

constexpr size_t kChunkSize = 16384;
constexpr size_t kFailed = static_cast<size_t>(-1);

// Systems give a meaning of their own to an empty name, and to what stands behind a slash.
bool isEncodingName(const std::string &name) {
  return !name.empty() && name.find('/') == std::string::npos;
}

}  // namespace

std::optional<Converter> Converter::between(const std::string &from, const std::string &to) {
  if (!isEncodingName(from) || !isEncodingName(to)) return std::nullopt;
  Descriptor *descriptor = ::iconv_open(to.c_str(), from.c_str());
  // The one value that is no descriptor.
  if (descriptor != reinterpret_cast<iconv_t>(-1)) return Converter(descriptor);  // NOLINT
  if (errno == ENOMEM) throw std::bad_alloc();
  return std::nullopt;
}

size_t Converter::append(std::string_view bytes, std::string &output) {
  ::iconv(descriptor_.get(), nullptr, nullptr, nullptr, nullptr);
  char *next = const_cast<char *>(bytes.data());  // iconv does not write there
  size_t left = bytes.size();
  std::array<char, kChunkSize> chunk;
  for (bool isAtEnd = false;;) {
    char *end = chunk.data();
    size_t room = chunk.size();
    const size_t result = ::iconv(descriptor_.get(), isAtEnd ? nullptr : &next, &left, &end, &room);
    const bool isFull = result == kFailed && errno == E2BIG;
    output.append(chunk.data(), chunk.size() - room);
    if (isFull) continue;
    if (isAtEnd || result == kFailed) return bytes.size() - left;
    isAtEnd = true;  // then what the conversion has held back follows
  }
}

bool isKnownEncoding(const std::string &name) {
  return Converter::between(name, kUtf8).has_value();
}

bool hasNulBytes(const std::string &encoding) {
  std::optional<Converter> encoder = Converter::between(kUtf8, encoding);
  std::string markup;
  if (encoder) encoder->append("<", markup);
  return markup.find('\0') != std::string::npos;
}

}  // namespace nebxml
