// Doubles as decimal text, exactly, and without the locale.
//
// The standard library's functions for doubles would tie the library to a shared one of C++, and
// those of the C library write the decimal point of the locale.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace neb::xml::internal {

// The longest is a sign, "0.", five zeros and 17 digits.
constexpr size_t kLongestDouble = 25;

// Writes a double in the fewest digits that read back as the same one, without a terminator.
// Returns the end. What is not finite is written as "INF", "-INF" and "NaN".
char *writeDouble(char *to, double value);

// Reads the double that is nearest to a text of the form that writeDouble uses. Returns NEB_XML_OK,
// NEB_XML_ERR_MALFORMED_VALUE, or NEB_XML_ERR_OUT_OF_RANGE for a number that rounds to no finite
// double.
uint32_t readDouble(std::string_view text, double *value);

}  // namespace neb::xml::internal
