// The difference of two versions of a file, as diff -u prints it and patch applies it.
#pragma once

#include <string>
#include <string_view>

namespace nebxml {

// Empty if the versions are equal. Lines end with a line feed, and keep a carriage return before
// it. A name that has a control character, a quote or a backslash is quoted, as in C.
std::string unifiedDiff(std::string_view before, std::string_view after,
                        const std::string &beforeName, const std::string &afterName);

}  // namespace nebxml
