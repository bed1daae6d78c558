// References and CDATA sections in names, values and texts.
#pragma once

#include "parser/markup.h"

namespace neb::xml::internal {

struct DecodingFailure {
  const char *reason;
  const char *at;
};

// Decodes references and CDATA sections into a string with room for the run as it stands and a
// terminator; what is left of the room becomes zero. False, with *failure set, for a malformed
// reference or section, and for one that goes on behind the run. The document goes on behind the
// run to its terminator.
bool decode(const Run &run, char *string, DecodingFailure *failure);

}  // namespace neb::xml::internal
