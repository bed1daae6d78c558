// Writing to standard output, with every failure reported.
#pragma once

#include <string>
#include <string_view>

namespace nebxml {

// Writes what a document holds. Only a terminal gets the text made printable. Everything else gets
// it unchanged.
void writeStandardOutput(std::string_view text);

// Writes lines that the tool made, possibly in colour. What they show of a document has gone
// through outputName.
void writeReport(std::string_view lines);

// Writes a line to standard error about something that is no failure, printable and in its colour.
void writeNote(const std::string &note);

// A name or value from a document, for a line of standard output: printable on a terminal.
std::string outputName(std::string_view name);

// Throws if closing fails. Nothing can be written afterwards.
void closeStandardOutput();

}  // namespace nebxml
