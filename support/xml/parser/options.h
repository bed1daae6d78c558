// The options of a caller, as a request.
#pragma once

#include "parser/parser.h"

namespace neb::xml::internal {

// A strict request with a session. Null options mean the defaults. The limit is used if there is
// one for memory; it outlives the request. False if a field has a value that is not known or does
// not go with another; the message is set even then, unless the record is of no known size.
bool readOptions(const NEB_XML_READ_OPTIONS *options, ReadRequest *request, MemoryLimit *limit);

}  // namespace neb::xml::internal
