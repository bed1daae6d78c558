// What a change would do to a file.
#pragma once

#include <string>
#include <string_view>

namespace nebxml {

// Prints a unified diff, in colour on a terminal. Prints nothing if nothing changes.
void showChange(const std::string &fileName, std::string_view before, std::string_view after);

}  // namespace nebxml
