#include "documents/encoder.h"

#include <array>
#include <cstdio>
#include <utility>

#include "terminal/printable.h"

namespace nebxml {
namespace {

constexpr size_t kCharacterCount = 0x110000;

bool isCharacter(std::string_view bytes) {
  constexpr unsigned char kFirstNotAscii = 0x80;
  return bytes.size() > 1 || static_cast<unsigned char>(bytes[0]) < kFirstNotAscii;
}

// Of a character in UTF-8.
uint32_t codePointOf(std::string_view character) {
  constexpr unsigned kBitsInContinuation = 6;
  constexpr unsigned char kContinuationMask = 0x3F;
  constexpr std::array<unsigned char, 5> kFirstMasks{0, 0xFF, 0x1F, 0x0F, 0x07};
  uint32_t code = static_cast<unsigned char>(character[0]) & kFirstMasks[character.size()];
  for (const char byte : character.substr(1)) {
    code = code << kBitsInContinuation | (static_cast<unsigned char>(byte) & kContinuationMask);
  }
  return code;
}

std::string referenceTo(uint32_t codePoint) {
  std::array<char, sizeof "&#x10FFFF;"> text{};
  std::snprintf(text.data(), text.size(), "&#x%X;", codePoint);
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
    const size_t length = characterLength(text);
    const std::string_view character = text.substr(0, length);
    if (!isCharacter(character) || !hasCharacter(character)) return false;
    text.remove_prefix(length);
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

bool Encoder::hasCharacter(std::string_view character) {
  if (answers_.empty()) answers_.resize(kCharacterCount);
  Answer &answer = answers_[codePointOf(character)];
  if (answer == Answer::unknown) {
    std::string unused;
    answer = isReadBack(character, unused) ? Answer::yes : Answer::no;
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
    const std::string_view character = text.substr(next, characterLength(text.substr(next)));
    next += character.size();
    if (!isCharacter(character)) return std::nullopt;
    if (hasCharacter(character)) continue;
    result.append(text.substr(begin, next - character.size() - begin));
    result.append(referenceTo(codePointOf(character)));
    begin = next;
  }
  result.append(text.substr(begin));
  return result;
}

}  // namespace nebxml
