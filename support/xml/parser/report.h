// Parsing with a report.
#pragma once

#include "parser/parser.h"

namespace neb::xml::internal {

// Parses a loaded document, with or without a byte order mark. Returns a result code; *outDoc is
// set on success only, and *error and the message on failure only. The error may be null.
using ParseAndReport = uint32_t (*)(const char *bytes, size_t length, const ReadRequest &request,
                                    XmlNode **outDoc, NEB_XML_PARSE_ERROR *error);

// In each language, see language.h.
template <typename Language>
uint32_t parseAndReport(const char *bytes, size_t length, const ReadRequest &request,
                        XmlNode **outDoc, NEB_XML_PARSE_ERROR *error);

// For failures that have no position in a document. Returns the code.
uint32_t reportWithoutPosition(uint32_t code, const char *reason, const ReadRequest &request,
                               NEB_XML_PARSE_ERROR *error);

// The same if memory has run out, be it that of the process or what the caller allows.
uint32_t reportMemory(const ReadRequest &request, NEB_XML_PARSE_ERROR *error);

}  // namespace neb::xml::internal
