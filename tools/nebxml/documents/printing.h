// Printing the tree of a document.
#pragma once

#include <cstdint>
#include <string>

#include "documents/document.h"

namespace nebxml {

// Prints all top-level elements. Throws CommandError if XML cannot represent the tree.
//
// indent  spaces for each level
std::string printTree(const Document &document, uint32_t indent);

// An element with all that is in it, without a final line end. Throws CommandError if no XML
// document can hold it.
std::string printElement(const Document &document, const XmlNode *element, uint32_t indent);

}  // namespace nebxml
