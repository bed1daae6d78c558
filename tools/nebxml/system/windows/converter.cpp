#include "system/converter.h"

#if defined(NEBXML_WINDOWS)

#include <utility>

#include "system/windows/codec.h"

namespace nebxml {

struct Converter::Means {
  Codec from;
  Codec to;
};

namespace {

constexpr size_t kChunkSize = 16384;

// Whole characters, about as many as a chunk; none if the first one is cut.
size_t wholeCharacters(const Codec &codec, std::string_view bytes) {
  size_t end = 0;
  while (end < bytes.size() && end < kChunkSize) {
    const size_t length = codec.firstLength(bytes.substr(end));
    if (length > bytes.size() - end) break;
    end += length;
  }
  return end;
}

// Appends all characters, or nothing.
bool convert(const Codec &from, const Codec &to, std::string_view bytes, std::string &output) {
  const size_t before = output.size();
  std::wstring units;
  if (from.decode(bytes, units) && to.encode(units, output)) return true;
  output.resize(before);
  return false;
}

}  // namespace

void Converter::End::operator()(Means *means) const { delete means; }

std::optional<Converter> Converter::between(const std::string &from, const std::string &to) {
  const std::optional<Codec> reader = Codec::named(from);
  const std::optional<Codec> writer = Codec::named(to);
  if (!reader || !writer) return std::nullopt;
  return Converter(new Means{*reader, *writer});
}

size_t Converter::append(std::string_view bytes, std::string &output) {
  const auto &[from, to] = *means_;
  std::string_view rest = bytes;
  bool isSound = true;
  while (!rest.empty()) {
    // In an unsound chunk, all characters before the wrong one are converted.
    const size_t length = isSound ? wholeCharacters(from, rest) : from.firstLength(rest);
    if (length == 0 || length > rest.size()) break;
    if (convert(from, to, rest.substr(0, length), output)) {
      rest.remove_prefix(length);
    } else if (std::exchange(isSound, false)) {
      continue;
    } else {
      break;
    }
  }
  return bytes.size() - rest.size();
}

}  // namespace nebxml

#endif
