/*
 * Texts of a document made fit for a line of output.
 */
#ifndef NEBXML_TEXT_WINDOW_H
#define NEBXML_TEXT_WINDOW_H

#include <cstddef>
#include <string>
#include <string_view>

namespace nebxml {

/** Makes a value fit on a line: cut between characters, and printable. */
std::string shortened(std::string_view value);

/** The part of a line around a place in it. */
struct TextWindow {
  std::string text;  ///< Printable; tabs are kept.
  std::string lead;  ///< As wide as what the text holds before the place.
};

TextWindow windowAround(std::string_view line, std::size_t place);

}  // namespace nebxml

#endif
