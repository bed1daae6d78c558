// Describes trees for comparison, and models how a tree is printed.
#pragma once

#include <string>

#include "neb_xml.h"

namespace trees {

// Describes a tree as links::described does, and requires correct links.
std::string described(const XmlNode *node, bool isAlone = false);

// The name as it is printed.
std::string qualifiedName(const XmlNode *node);

// A simple model of the printer: what the first of kPrints must print.
enum class Half { closing, opening, both };
std::string printed(const XmlNode *top, Half half);

}  // namespace trees
