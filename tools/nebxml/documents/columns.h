// The columns of a table that has a row for each match.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "documents/document.h"

namespace nebxml {

class Columns {
 public:
  // Throws CommandError if the list is malformed.
  //
  // list  patterns that begin below a match, with commas between them, such as "@name,mtu,a.b.@c";
  //       "." is the match itself
  Columns(const Document &document, std::string_view list);

  const std::vector<std::string> &names() const { return names_; }

  // The value of the first node that each pattern finds; nothing where it finds none.
  std::vector<std::optional<std::string_view>> valuesAt(const XmlNode *match) const;

 private:
  std::vector<std::string> names_;
};

}  // namespace nebxml
