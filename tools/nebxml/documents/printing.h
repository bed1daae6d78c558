// Printing the tree of a document.
#pragma once

#include <cstdint>
#include <string>

#include "documents/document.h"

namespace nebxml {

struct Layout {
  bool hasDeclaration = false;
  uint32_t indent = 0;  // spaces for each level
};

// All top-level elements. Throws CommandError if XML cannot represent the tree.
std::string printTree(const Document &document, const Layout &layout);

}  // namespace nebxml
