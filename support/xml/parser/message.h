// A sentence about a failed parse, with the names of the document.
#pragma once

#include <cstddef>

#include "parser/checking_builder.h"

namespace neb::xml::internal {

// Writes the sentence, cut to the size and terminated. A null message or a size of 0 do nothing.
void writeMessage(const CheckingBuilder::Failure &failure, char *message, size_t size);

}  // namespace neb::xml::internal
