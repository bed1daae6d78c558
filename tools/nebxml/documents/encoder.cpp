#include "documents/encoder.h"

#include <array>
#include <cstdio>
#include <utility>

namespace nebxml {
namespace {

constexpr size_t kCharacterCount = 0x110000;

std::string referenceTo(char32_t character) {
  std::array<char, sizeof "&#x10FFFF;"> text{};
  std::snprintf(text.data(), text.size(), "&#x%X;", static_cast<unsigned>(character));
  return text.data();
}

}  // namespace

std::optional<Encoder> Encoder::to(const std::string &encoding) {
  auto writer = Converter::between(kUtf8, encoding);
  auto reader = Converter::between(encoding, kUtf8);
  if (!writer || !reader) return std::nullopt;
  return Encoder(std::move(*writer), std::move(*reader));
}

Encoder::Encoder(Converter writer, Converter reader)
    : writer_(std::move(writer)), reader_(std::move(reader)) {}

bool Encoder::has(std::string_view text) {
  while (!text.empty()) {
    const Character character = firstCharacter(text);
    if (!character.isValid || !hasCharacter(character, text)) return false;
    text.remove_prefix(character.length);
  }
  return true;
}

bool Encoder::writesAs(std::string_view text, std::string_view bytes) {
  std::string encoded;
  return writer_.append(text, encoded) == text.size() && encoded == bytes;
}

std::optional<std::string> Encoder::encode(std::string_view text) {
  std::string encoded;
  if (isReadBack(text, encoded)) return encoded;
  const auto whole = withReferences(text);
  encoded.clear();
  if (!whole || !isReadBack(*whole, encoded)) return std::nullopt;
  return encoded;
}

bool Encoder::hasCharacter(const Character &character, std::string_view text) {
  if (answers_.empty()) answers_.resize(kCharacterCount);
  Answer &answer = answers_[character.code];
  if (answer == Answer::unknown) {
    std::string unused;
    answer = isReadBack(text.substr(0, character.length), unused) ? Answer::yes : Answer::no;
  }
  return answer == Answer::yes;
}

// Systems write another character for one that the encoding does not have: some always, some where
// two look alike, as the yen sign and the backslash in Shift_JIS.
bool Encoder::isReadBack(std::string_view text, std::string &encoded) {
  std::string decoded;
  return writer_.append(text, encoded) == text.size() &&
         reader_.append(encoded, decoded) == encoded.size() && decoded == text;
}

std::optional<std::string> Encoder::withReferences(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  size_t begin = 0;
  for (size_t next = 0; next < text.size();) {
    const std::string_view rest = text.substr(next);
    const Character character = firstCharacter(rest);
    if (!character.isValid) return std::nullopt;
    const size_t end = next + character.length;
    if (!hasCharacter(character, rest)) {
      result.append(text.substr(begin, next - begin)).append(referenceTo(character.code));
      begin = end;
    }
    next = end;
  }
  result.append(text.substr(begin));
  return result;
}

}  // namespace nebxml
