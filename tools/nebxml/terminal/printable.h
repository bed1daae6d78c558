// Untrusted strings made safe for a terminal and for one line of a report.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace nebxml {

// The length of the first character: of a valid UTF-8 sequence, or 1 for any other byte.
size_t characterLength(std::string_view text);

// Replaces each white space control by a space, and each other control, bidirectional control and
// line or paragraph separator by a question mark.
//
// kept  white space controls that stay
std::string printable(std::string_view text, std::string_view kept = "");

}  // namespace nebxml
