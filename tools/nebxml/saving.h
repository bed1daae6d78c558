// Writing a document to a file or to standard output.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "document.h"

namespace nebxml {

struct Destination {
  std::string fileName{kStandardStream};
  bool inPlace = false;
};

// All top-level elements, each level indented by so many spaces. Throws CommandError if XML cannot
// represent the tree.
std::string printTree(const Document &document, uint32_t indent);

// Writes the new bytes of a document to its destination.
void save(const Document &document, std::string_view bytes, const Destination &destination);

// Makes one edit of a node and writes the result. A document that was read strictly keeps all other
// bytes. One that was read leniently is edited as a tree, and printed.
//
// edit  its node is set here
// Returns NEB_XML_OK, or why the library refuses the edit. Nothing is written then.
uint32_t saveEdited(const Document &document, XmlNode *node, NEB_XML_EDIT edit,
                    const Destination &destination);

}  // namespace nebxml
