/*
 * Writing text so that no failure goes unseen and no old file is lost.
 */
#ifndef NEBXML_FILE_OUTPUT_H
#define NEBXML_FILE_OUTPUT_H

#include <cstdint>
#include <string>
#include <string_view>

#include "neb_xml.h"

namespace nebxml {

/** A terminal gets printable text; everything else gets the text as it is. */
void writeStandardOutput(std::string_view text);

/** A name of a document, for a line of standard output. */
std::string outputName(std::string_view name);

/** Reports what writing has left to fail. Nothing can be written afterwards. */
void closeStandardOutput();

/** Creates or truncates a file. */
void writeFile(const std::string &fileName, std::string_view text);

/** Puts the printed tree in the place of an old file, whole or not at all. */
void replaceFile(const std::string &fileName, const XmlNode *root, std::uint32_t indent);

}  // namespace nebxml

#endif
