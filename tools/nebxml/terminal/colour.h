// Colour for what the tool itself says. It never colours the output of a pipe or file by itself.
#pragma once

#include <string>
#include <string_view>

namespace nebxml {

enum class ColourChoice { automatic, always, never };

enum class Stream { output, errors };

enum class Style { strong, error, note, removed, added };

// For both streams. Automatic is the default: colour on a terminal, unless NO_COLOR is set.
void chooseColour(ColourChoice choice);

// Whether a terminal shows the stream, now or, with colour always, later.
bool reachesTerminal(Stream stream);

// The text in a style, or as it is where there is no colour. It has to be printable.
std::string styled(Stream stream, Style style, std::string_view text);

}  // namespace nebxml
