// Why a document cannot be written as XML.
#pragma once

#include <string>

#include "document.h"

namespace nebxml {

// Names the first element or attribute that the printer refuses. Linear in the document.
std::string firstUnwritable(const Document &document);

}  // namespace nebxml
