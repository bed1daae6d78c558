// Trees to be compared, and the text that a tree is printed as.
#pragma once

#include <string>

#include "neb_xml.h"

namespace trees {

// A tree, with the siblings after it or alone, in the form of trees::described of the tests.
// Requires correct links.
std::string described(const XmlNode *node);
std::string describedAlone(const XmlNode *node);

// Its name as it is printed.
std::string qualifiedName(const XmlNode *node);

// What the printer must give, worked out in the plainest way.
enum class Half { both, opening, closing };
std::string printed(const XmlNode *top, Half half);

}  // namespace trees
