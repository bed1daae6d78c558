// An edit made in the tree, for documents that were read leniently.
#pragma once

#include <cstdint>

#include "neb_xml.h"

namespace nebxml {

// Returns NEB_XML_OK, or why the library refuses the edit. Inserts a copy of the content.
uint32_t editTree(const NEB_XML_EDIT &edit);

}  // namespace nebxml
