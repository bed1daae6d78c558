// The difference of two versions of a file, as diff -u prints it and patch applies it.
#pragma once

#include <string>
#include <string_view>

namespace nebxml {

// Empty if the versions are equal.
std::string unifiedDiff(std::string_view before, std::string_view after,
                        const std::string &beforeName, const std::string &afterName);

}  // namespace nebxml
