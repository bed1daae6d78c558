// The fast way through ordinary markup.
#pragma once

#include "parser/map.h"
#include "parser/parser.h"

namespace neb::xml::internal {

enum class PlainResult {
  stopped,  // before something that is not ordinary, or at the end of the text
  failed    // the text is malformed or memory ran out
};

// Builds as much of the tree as is written the ordinary way: tags without odd spacing, names
// without references, texts without CDATA sections. What it builds is what the general steps would
// build, with every piece carved in the same order. It stops with nothing consumed of whatever it
// leaves to them.
PlainResult Parser_parsePlain(XmlParser *parser, MarkupMap *map);

}  // namespace neb::xml::internal
