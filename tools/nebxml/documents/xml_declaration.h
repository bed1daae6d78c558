// The encoding that an XML declaration names.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace nebxml {

struct DeclaredEncoding {
  std::string name;
  size_t begin;  // of the whole: encoding="name"
  size_t nameBegin;
  size_t end;         // behind the quote
  bool isWellFormed;  // the whole declaration
};

// Nothing if the document has no declaration, or one that names no encoding.
//
// text  in UTF-8, or in any encoding that has ASCII; may begin with a byte order mark
std::optional<DeclaredEncoding> findDeclaredEncoding(std::string_view text);

}  // namespace nebxml
