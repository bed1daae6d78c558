// Parsing a file, a pipe or standard input.
#pragma once

#include <string>

#include "neb_xml.h"

namespace nebxml {

// Throws CommandError. The caller frees the document.
XmlNode *loadDocument(const std::string &fileName);

// Whether a regular file has bytes after its first NUL, which ends the document.
bool continuesAfterNul(const std::string &fileName);

}  // namespace nebxml
