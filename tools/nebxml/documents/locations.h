// Where nodes are in the file of a document.
#pragma once

#include <vector>

#include "documents/document.h"

namespace nebxml {

// The locations of elements and attributes, in the order of the nodes. None if the document cannot
// be located: lenient reading accepts what strict reading does not find.
std::vector<NEB_XML_LOCATION> locationsOf(const Document &document,
                                          const std::vector<const XmlNode *> &nodes);

}  // namespace nebxml
