// The parts of a pattern, found without a document.
#pragma once

#include <string_view>
#include <vector>

namespace nebxml {

inline constexpr char kStepSeparator = '.';
inline constexpr char kAttributeMark = '@';
inline constexpr char kEscape = '\\';
inline constexpr std::string_view kAnyDepth = "**";

// The first offset of a character outside brackets that no backslash stands before; npos if there
// is none.
size_t findOutsideBrackets(std::string_view pattern, char character);

// The patterns that end with each segment of a pattern, the shortest first: "a", "a.b[c]",
// "a.b[c].2".
std::vector<std::string_view> patternsOfSteps(std::string_view pattern);

}  // namespace nebxml
