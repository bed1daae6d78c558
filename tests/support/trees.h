// Small helpers to make and compare trees.
#pragma once

#include <string>
#include <vector>

#include "neb_xml.h"

namespace trees {

// Parses with NEB_XML_ParseEx, or without a session; null when that fails.
XmlNode *parsed(const std::string &text, bool withSession = true);

// The whole tree, and the siblings after it, in one line that tells null from empty: type, prefix,
// name, value, attributes, children. Fails the test when a link or an ownership flag is wrong.
std::string described(const XmlNode *node);

// What NEB_XML_Transform prints; a failure is printed as "error N".
std::string printed(const XmlNode *node);

std::string readFile(const std::string &path);

// A new file in the program's temporary folder that holds a text.
std::string temporaryFile(const std::string &text);

}  // namespace trees
