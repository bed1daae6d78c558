// Elements as JSON.
#pragma once

#include "formats/json_stream.h"
#include "neb_xml.h"

namespace nebxml {

// An attribute, and an element without attributes and children, is a string. Any other element is
// an object: the attributes as "@name"; the element's own value, unless it is empty, as "#text";
// and the children by their names, in the order in which each name comes first. Several children
// of one name are an array.
void writeMapping(JsonStream &json, const XmlNode *node);

}  // namespace nebxml
