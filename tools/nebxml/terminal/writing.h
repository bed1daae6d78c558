// Writing bytes to an open file.
#pragma once

#include <string>
#include <string_view>

namespace nebxml {

// Throws CommandError with the system's message for an error number.
[[noreturn]] void failWriting(const std::string &subject, int errorNumber);

// Returns false and sets errno on failure.
bool writeWhole(int descriptor, std::string_view bytes);

}  // namespace nebxml
