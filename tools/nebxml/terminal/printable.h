// Untrusted strings made safe for a terminal and for one line of a report.
#pragma once

#include <string>
#include <string_view>

namespace nebxml {

// Replaces each white space control by a space, and each other control, bidirectional control and
// line or paragraph separator by a question mark.
//
// kept  white space controls that stay
std::string printable(std::string_view text, std::string_view kept = "");

}  // namespace nebxml
