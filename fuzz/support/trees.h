// Trees to be compared, and the text that a tree is printed as.
#pragma once

#include <string>

#include "neb_xml.h"

namespace trees {

// A tree, with the siblings after it or alone, as trees::described of the tests puts it. Demands that
// the links are right.
std::string described(const XmlNode *node);
std::string describedAlone(const XmlNode *node);

// Its name as it is printed.
std::string qualifiedName(const XmlNode *node);

// What the printer must give, worked out in the plainest way.
enum class Half { both, opening, closing };
std::string printed(const XmlNode *top, Half half);

}  // namespace trees
