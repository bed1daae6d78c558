// Parts of a document, shortened to fit on a line of output.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace nebxml {

// A printable value, cut between characters if it is too long for a line.
std::string shortened(std::string_view value);

// The part of a line around an offset.
struct Excerpt {
  std::string text;  // printable; tabs are kept
  std::string lead;  // white space as wide as the text before the offset
};

Excerpt excerptAround(std::string_view line, size_t offset);

}  // namespace nebxml
