// The report about a document that cannot be read.
#pragma once

#include <string>
#include <string_view>

#include "neb_xml.h"
#include "terminal/command_error.h"

namespace nebxml {

// Reports file, line, column and cause, as data too, and shows the line. In colour if standard
// error is a terminal.
CommandError syntaxReport(const std::string &fileName, const NEB_XML_PARSE_ERROR &error,
                          const std::string &cause, std::string_view text);

// The same for a failure that the tool has found itself.
//
// code  NEB_XML_ERR_SYNTAX or NEB_XML_ERR_UNSUPPORTED
CommandError syntaxReportAt(const std::string &fileName, size_t offset, uint32_t code,
                            const std::string &cause, std::string_view text);

}  // namespace nebxml
