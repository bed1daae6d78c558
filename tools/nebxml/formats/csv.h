// Fields of comma-separated values.
#pragma once

#include <string>
#include <string_view>

namespace nebxml {

// Appends a field as RFC 4180 says. Always in quotes: some programs trim a field without them, or
// skip a line that is empty.
void appendCsv(std::string &line, std::string_view value);

}  // namespace nebxml
