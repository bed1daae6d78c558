#include "documents/byte_order.h"

#include <algorithm>

namespace nebxml {
namespace {

using namespace std::string_view_literals;

struct Sign {
  std::string_view text;
  std::string_view encoding;
};

// Byte order marks, then "<?" without one. The longer ones come first.
constexpr Sign kBeginnings[] = {
    {"\xFF\xFE\0\0"sv, "UTF-32LE"},   {"\0\0\xFE\xFF"sv, "UTF-32BE"},
    {"<\0\0\0?\0\0\0"sv, "UTF-32LE"}, {"\0\0\0<\0\0\0?"sv, "UTF-32BE"},
    {"\xFF\xFE"sv, "UTF-16LE"},       {"\xFE\xFF"sv, "UTF-16BE"},
    {"<\0?\0"sv, "UTF-16LE"},         {"\0<\0?"sv, "UTF-16BE"},
};

// Names that say nothing about the byte order.
constexpr Sign kFamilies[] = {
    {"UTF-16", "UTF-16"}, {"UCS-2", "UTF-16"}, {"ISO-10646-UCS-2", "UTF-16"},
    {"UTF-32", "UTF-32"}, {"UCS-4", "UTF-32"}, {"ISO-10646-UCS-4", "UTF-32"},
};

constexpr char upperCase(char byte) {
  return byte >= 'a' && byte <= 'z' ? static_cast<char>(byte - 'a' + 'A') : byte;
}

}  // namespace

std::string_view wideEncodingOf(std::string_view bytes) {
  for (const auto &[beginning, encoding] : kBeginnings) {
    if (bytes.starts_with(beginning)) return encoding;
  }
  return {};
}

std::string inByteOrder(const std::string &encoding, std::string_view bytes) {
  const auto *family = std::find_if(
      std::begin(kFamilies), std::end(kFamilies),
      [&encoding](const Sign &each) { return isSameEncodingName(each.text, encoding); });
  if (family == std::end(kFamilies)) return encoding;
  const std::string_view shown = wideEncodingOf(bytes);
  if (shown.starts_with(family->encoding)) return std::string(shown);
  // The first character is ASCII, as in all documents. Without any sign, big-endian is the rule.
  const bool isLittle = bytes.size() > 1 && bytes[0] != '\0' && bytes[1] == '\0';
  return std::string(family->encoding) + (isLittle ? "LE" : "BE");
}

bool isSameEncodingName(std::string_view first, std::string_view second) {
  return std::equal(first.begin(), first.end(), second.begin(), second.end(),
                    [](char one, char other) { return upperCase(one) == upperCase(other); });
}

}  // namespace nebxml
