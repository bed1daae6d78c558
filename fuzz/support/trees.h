// Comparing trees, and the text that a tree is printed as.
#pragma once

#include <cstddef>
#include <string>

#include "neb_xml.h"

namespace trees {

struct Sameness {
  bool types = true;
};

// Types, strings and attributes of two nodes.
bool isSameNode(const XmlNode *a, const XmlNode *b, Sameness sameness = {});

// Two subtrees, node by node. Demands that the links are right in both.
bool isSameTree(const XmlNode *a, const XmlNode *b, Sameness sameness = {});

// Likewise with the siblings after both.
bool isSameChain(const XmlNode *a, const XmlNode *b, Sameness sameness = {});

// Whether an ampersand begins what the printer takes for a reference.
bool beginsReference(const char *ampersand);

std::string escaped(const char *value);

// What the printer must give, worked out in the plainest way.
enum class Half { both, opening, closing };
std::string printed(const XmlNode *top, Half half);

// Releases a node and the siblings after it, of a parse with or without a session.
void release(XmlNode *first);

}  // namespace trees
