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

// An element with all that is in it, without a final line end. Throws CommandError if no XML
// document can hold it.
std::string printElement(const Document &document, const XmlNode *element, uint32_t indent);

}  // namespace nebxml
