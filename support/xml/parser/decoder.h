// References and CDATA sections in names, values and texts.
#pragma once

#include "parser/markup.h"

namespace neb::xml::internal {

struct DecodingFailure {
  const char *reason;
  const char *at;
};

// Decodes references and CDATA sections into a string with room for the undecoded run and a
// terminator. The rest of the room becomes zero. False, with *failure set, for a malformed
// reference or section, and for one that continues behind the run. The document continues behind
// the run, up to its terminator. The tokenizer has checked the markup in a strict text.
bool decode(const Run &run, char *string, DecodingFailure *failure);

}  // namespace neb::xml::internal
