/*
 * Writing text so that no failure goes unseen and no old file is lost.
 */
#ifndef NEBXML_FILE_OUTPUT_H
#define NEBXML_FILE_OUTPUT_H

#include <string>
#include <string_view>

namespace nebxml {

void writeStandardOutput(std::string_view text);

/** Creates or truncates a file. */
void writeFile(const std::string &fileName, std::string_view text);

/**
 * Puts a new file in the place of an old one, whole or not at all. A symbolic link stays, and the
 * file that it points to is replaced.
 */
void replaceFile(const std::string &fileName, std::string_view text);

}  // namespace nebxml

#endif
