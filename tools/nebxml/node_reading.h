/*
 * Reading nodes: their strings, their attributes, and the walk over a subtree.
 */
#ifndef NEBXML_NODE_READING_H
#define NEBXML_NODE_READING_H

#include <cstddef>
#include <string>
#include <string_view>

#include "neb_xml.h"

namespace nebxml {

/** A node's own strings; one that it lacks is empty. */
struct NodeStrings {
  std::string_view prefix;
  std::string_view name;
  std::string_view value;

  [[nodiscard]] std::string qualifiedName() const;
  bool operator==(const NodeStrings &) const = default;
};

NodeStrings nodeStrings(const XmlNode *node);

/** Steps to the next attribute of an element: the first for null, null after the last. */
XmlNode *nextAttribute(const XmlNode *element, XmlNode *attribute);

/** Steps through a subtree in document order; depth is kept relative to the subtree's root. */
XmlNode *nextInSubtree(const XmlNode *node, const XmlNode *root, std::size_t &depth);

}  // namespace nebxml

#endif
