// Strings as Windows takes them. Inside the tool, all are in UTF-8.
#pragma once

#include <string>
#include <string_view>

namespace nebxml {

// What is not UTF-8 becomes U+FFFD, of which no file is named.
std::wstring wideOf(std::string_view text);

std::string narrowOf(std::wstring_view text);

// Sets errno by the error of the last call.
void takeLastError();

}  // namespace nebxml
