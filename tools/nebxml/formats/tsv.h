// Fields of tab-separated values.
#pragma once

#include <string>
#include <string_view>

namespace nebxml {

// Appends a field, with \t, \n, \r and \\ for a tab, a line feed, a carriage return and a
// backslash.
void appendTsv(std::string &line, std::string_view value);

}  // namespace nebxml
