// Reading nodes: their strings, their attributes, and the walk over a subtree.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "neb_xml.h"

namespace nebxml {

// A node's strings. A missing one is empty.
struct NodeStrings {
  std::string_view prefix;
  std::string_view name;
  std::string_view value;

  std::string qualifiedName() const;
  auto operator<=>(const NodeStrings &) const = default;
};

NodeStrings nodeStrings(const XmlNode *node);

bool isAttribute(const XmlNode *node);

// The next attribute of an element: the first one for null, null after the last one.
XmlNode *nextAttribute(const XmlNode *element, XmlNode *attribute);

// The attributes of an element. An attribute stands for itself.
std::vector<const XmlNode *> attributesAt(const XmlNode *node);

// The next node of a subtree in document order, null at its end. Updates the depth below the root.
XmlNode *nextInSubtree(const XmlNode *node, const XmlNode *root, size_t &depth);

}  // namespace nebxml
