// Reading a document from a file, a pipe or standard input.
#pragma once

#include <string>

#include "neb_xml.h"

namespace nebxml {

// How documents are read: as XML 1.0 requires, or with all that the older parse functions accept.
enum class Reading { strict, lenient };

// Throws CommandError. The caller frees the document.
//
// bytes  receives the content of the file. It ends soon after the first NUL byte, which no document
//        may contain.
XmlNode *loadDocument(const std::string &fileName, Reading reading, std::string &bytes);

}  // namespace nebxml
