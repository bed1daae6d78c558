// Writing files and standard output, with every failure reported.
#pragma once

#include <string>
#include <string_view>

namespace nebxml {

// Only a terminal gets the text made printable. Everything else gets it unchanged.
void writeStandardOutput(std::string_view text);

// A name from a document, for a line of standard output: printable on a terminal.
std::string outputName(std::string_view name);

// Throws if closing fails. Nothing can be written afterwards.
void closeStandardOutput();

// Creates or truncates a file.
void writeFile(const std::string &fileName, std::string_view text);

// Replaces a file atomically. The new file has the rights of the old one.
void replaceFile(const std::string &fileName, std::string_view text);

}  // namespace nebxml
