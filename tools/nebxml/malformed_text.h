/*
 * The report about a text that is not well-formed.
 */
#ifndef NEBXML_MALFORMED_TEXT_H
#define NEBXML_MALFORMED_TEXT_H

#include <string>
#include <string_view>

#include "command_error.h"
#include "neb_xml.h"

namespace nebxml {

/**
 * Says where and why, and shows the place, in colour when standard error is a terminal.
 *
 * text  what was parsed; it may be empty, and shorter when the file has changed since.
 */
CommandError malformedText(const std::string &fileName, const NEB_XML_PARSE_ERROR &error,
                           std::string_view text);

}  // namespace nebxml

#endif
