// Writing files, with every failure reported.
#pragma once

#include <string>
#include <string_view>

namespace nebxml {

// Creates or truncates a file.
void writeFile(const std::string &fileName, std::string_view text);

// Replaces a file atomically. The new file has the rights of the old one.
void replaceFile(const std::string &fileName, std::string_view text);

}  // namespace nebxml
