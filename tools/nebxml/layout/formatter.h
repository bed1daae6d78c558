// Lays out a document anew. Only its white space changes.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace nebxml {

struct Layout {
  size_t indent = 2;  // spaces for each level
  bool usesTabs = false;
  bool dropsComments = false;
  std::string declaration{};  // added if there is none
};

// The document with each tag, comment and processing instruction between elements on a line of its
// own, and one space before each attribute. Texts stay as they are, and so does all content of an
// element with xml:space="preserve". Laid out again, the result does not change.
//
// document  read strictly before: UTF-8, well-formed, and without mixed content
std::string laidOut(std::string_view document, const Layout &layout);

}  // namespace nebxml
