/*
 * The comparison of two documents.
 */
#ifndef NEBXML_TREE_DIFFERENCE_H
#define NEBXML_TREE_DIFFERENCE_H

#include <optional>
#include <string>
#include <vector>

#include "neb_xml.h"

namespace nebxml {

using Value = std::optional<std::string>;

/** What differs, and what either side has there. */
struct Difference {
  std::string kind;
  Value first;
  Value second;
};

/** Two nodes that stand at the same place of their trees; null for the documents themselves. */
struct DifferentNodes {
  const XmlNode *first;
  const XmlNode *second;
  Difference difference;
};

/**
 * The first difference in document order. The order of attributes does not count, nor does white
 * space beside children, which is never printed.
 */
std::optional<DifferentNodes> firstDifference(const std::vector<XmlNode *> &firstRoots,
                                              const std::vector<XmlNode *> &secondRoots);

}  // namespace nebxml

#endif
