// The types of the --type option.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace nebxml {

std::vector<std::string> valueTypeNames();

// The values that a type allows, for a message.
std::string rangeOf(const std::string &typeName);

// The value as the library writes it, or nothing if the text is not a value of the type.
std::optional<std::string> typedText(const std::string &typeName, const std::string &text);

}  // namespace nebxml
