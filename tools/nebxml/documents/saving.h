// Writing a document to a file or to standard output.
#pragma once

#include <cstdint>
#include <string>

#include "documents/document.h"

namespace nebxml {

// Where a document is written, and in what form.
struct Destination {
  std::string fileName{kStandardStream};
  bool inPlace = false;
  bool hasDeclaration = false;  // not in place
  uint32_t indent = 0;          // spaces for each level
};

// Prints the tree and writes it. If XML cannot represent it, writes nothing and throws
// CommandError.
void save(const Document &document, const Destination &destination);

// Makes one edit of a node and writes the result. A document that was read strictly keeps all other
// bytes. One that was read leniently is edited as a tree, and printed.
//
// edit  its node is set here
// Returns NEB_XML_OK, or why the library refuses the edit. Nothing is written then.
uint32_t saveEdited(const Document &document, XmlNode *node, NEB_XML_EDIT edit,
                    const Destination &destination);

}  // namespace nebxml
