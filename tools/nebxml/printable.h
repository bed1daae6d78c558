/*
 * Foreign text made fit for a terminal: what would command it, hide text or forge a line is taken
 * out.
 */
#ifndef NEBXML_PRINTABLE_H
#define NEBXML_PRINTABLE_H

#include <cstddef>
#include <string>
#include <string_view>

namespace nebxml {

/** The length of the character at the begin of a text: of valid UTF-8, or a single byte. */
std::size_t characterLength(std::string_view text);

/**
 * Replaces each white space control by a space, and each other control, bidirectional control and
 * line or paragraph separator by a question mark: one character takes the place of one.
 *
 * kept  white space controls that stay.
 */
std::string printable(std::string_view text, std::string_view kept = "");

}  // namespace nebxml

#endif
