/*
 * From a file, a pipe or standard input to a tree.
 */
#ifndef NEBXML_LOADING_H
#define NEBXML_LOADING_H

#include <string>

#include "neb_xml.h"

namespace nebxml {

/** Throws CommandError; the caller releases the document. */
XmlNode *loadDocument(const std::string &fileName);

/** Whether a regular file goes on behind its first NUL byte, where its text ends. */
bool goesOnBehindNul(const std::string &fileName);

}  // namespace nebxml

#endif
