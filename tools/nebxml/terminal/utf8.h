// The characters of UTF-8, in strings that may hold other bytes too.
#pragma once

#include <cstddef>
#include <string_view>

namespace nebxml {

// U+FFFD, which stands for what is not UTF-8.
inline constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";

struct Character {
  char32_t code;
  size_t length;  // in bytes; 1 for a byte that is not part of valid UTF-8
  bool isValid;
};

// The character that a string begins with. The string is not empty.
Character firstCharacter(std::string_view text);

}  // namespace nebxml
