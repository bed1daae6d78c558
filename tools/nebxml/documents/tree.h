// Trees, and who frees them.
#pragma once

#include <memory>

#include "neb_xml.h"

namespace nebxml {

struct FreeNode {
  void operator()(XmlNode *node) const { NEB_XML_FreeNode(node); }
};

using Tree = std::unique_ptr<XmlNode, FreeNode>;

// An element of its own. The library checks neither its name nor its value. Throws std::bad_alloc.
//
// prefix, value  may be null
Tree createElement(const char *prefix, const char *name, const char *value);

}  // namespace nebxml
