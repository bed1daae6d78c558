// Reading the bytes of a file, a pipe or standard input.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace nebxml {

// The FILE argument for standard input, or for standard output after -o.
inline constexpr std::string_view kStandardStream = "-";

// Whether the file is standard input, and comes from a terminal.
bool isTypedByUser(const std::string &fileName);

// The bytes up to the end. Where no encoding with NUL bytes is read, they end soon after the first
// NUL byte instead, since a device of zeros has no end. Throws CommandError.
//
// encoding  of the file; empty: as its first bytes show
// maxBytes  more bytes are refused, before all of them are read; 0: no limit
std::string readInput(const std::string &fileName, const std::string &encoding, uint64_t maxBytes);

}  // namespace nebxml
