// The report about a document that is not well-formed.
#pragma once

#include <string>
#include <string_view>

#include "command_error.h"
#include "neb_xml.h"

namespace nebxml {

// Reports file, line, column and reason, and shows the line. In colour if standard error is a
// terminal.
//
// text  the content of the file; shorter than what was parsed if the file has changed since
CommandError syntaxReport(const std::string &fileName, const NEB_XML_PARSE_ERROR &error,
                          std::string_view text);

}  // namespace nebxml
