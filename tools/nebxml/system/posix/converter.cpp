#include "system/converter.h"

#include "system/system.h"

#if defined(NEBXML_POSIX)

#include <array>
#include <cerrno>
#include <new>

#include <iconv.h>

namespace nebxml {
namespace {

constexpr size_t kChunkSize = 16384;
constexpr size_t kFailed = static_cast<size_t>(-1);

// Systems give a meaning of their own to an empty name, and to what stands behind a slash.
bool isEncodingName(const std::string &name) {
  return !name.empty() && name.find('/') == std::string::npos;
}

}  // namespace

struct Converter::Means {
  explicit Means(iconv_t opened) : descriptor(opened) {}
  ~Means() { ::iconv_close(descriptor); }
  Means(const Means &) = delete;
  Means &operator=(const Means &) = delete;

  iconv_t descriptor;
};

void Converter::End::operator()(Means *means) const { delete means; }

std::optional<Converter> Converter::between(const std::string &from, const std::string &to) {
  if (!isEncodingName(from) || !isEncodingName(to)) return std::nullopt;
  const auto noDescriptor = reinterpret_cast<iconv_t>(-1);  // NOLINT: as POSIX writes it
  iconv_t descriptor = ::iconv_open(to.c_str(), from.c_str());
  if (descriptor != noDescriptor) return Converter(new Means(descriptor));
  if (errno == ENOMEM) throw std::bad_alloc();
  return std::nullopt;
}

size_t Converter::append(std::string_view bytes, std::string &output) {
  ::iconv(means_->descriptor, nullptr, nullptr, nullptr, nullptr);
  char *next = const_cast<char *>(bytes.data());  // iconv does not write there
  size_t left = bytes.size();
  std::array<char, kChunkSize> chunk;
  for (bool isAtEnd = false;;) {
    char *end = chunk.data();
    size_t room = chunk.size();
    const size_t result =
        ::iconv(means_->descriptor, isAtEnd ? nullptr : &next, &left, &end, &room);
    const bool isFull = result == kFailed && errno == E2BIG;
    output.append(chunk.data(), chunk.size() - room);
    if (isFull) continue;
    if (isAtEnd || result == kFailed) return bytes.size() - left;
    isAtEnd = true;  // then what the conversion has held back follows
  }
}

}  // namespace nebxml

#endif
