// Writing UTF-8 in another encoding, with nothing lost.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "system/converter.h"
#include "terminal/utf8.h"

namespace nebxml {

class Encoder {
 public:
  // Nothing if the system cannot write the encoding.
  static std::optional<Encoder> to(const std::string &encoding);

  // Whether the encoding has each character of a text in UTF-8.
  bool has(std::string_view text);

  // Whether a text in UTF-8, of which the encoding has each character, is written as these bytes.
  bool writesAs(std::string_view text, std::string_view bytes);

  // Encodes a text in UTF-8. A character reference replaces each character that the encoding does
  // not have. Nothing if the result would not be read as the same text.
  std::optional<std::string> encode(std::string_view text);

 private:
  enum class Answer : uint8_t { unknown, yes, no };

  Encoder(Converter writer, Converter reader);

  // character  that the text begins with
  bool hasCharacter(const Character &character, std::string_view text);
  bool isReadBack(std::string_view text, std::string &encoded);
  std::optional<std::string> withReferences(std::string_view text);

  Converter writer_;
  Converter reader_;
  std::vector<Answer> answers_;  // for each character, which a document repeats
};

}  // namespace nebxml
