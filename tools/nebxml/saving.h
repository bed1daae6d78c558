// Writing a document to a file or to standard output.
#pragma once

#include <cstdint>
#include <string>

#include "document.h"

namespace nebxml {

// Where a document is written, and in what form.
struct Destination {
  std::string fileName{kStandardStream};
  bool inPlace = false;
  bool hasDeclaration = false;  // not in place
  uint32_t indent = 0;          // spaces for each level
};

// Writes a document after parsing the printed text and comparing it with the document. If they
// differ, writes nothing and throws CommandError.
void save(const Document &document, const Destination &destination);

}  // namespace nebxml
