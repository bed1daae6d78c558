// The library's parsers, with all that they report.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "documents/tree.h"
#include "neb_xml.h"

namespace nebxml {

// What the library makes of a document.
struct Parsed {
  uint32_t result;
  Tree tree;  // null unless the result is NEB_XML_OK
  NEB_XML_PARSE_ERROR error;
  std::string cause;  // in words
};

// Both throw std::bad_alloc.
//
// maxDepth  of elements inside each other; 0: no limit
Parsed parseStrictly(std::string_view document, uint32_t maxDepth = 0);
Parsed parseLeniently(std::string_view document);

}  // namespace nebxml
