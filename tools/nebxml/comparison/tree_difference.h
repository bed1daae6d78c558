// The comparison of two documents.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "neb_xml.h"

namespace nebxml {

using Value = std::optional<std::string>;

// What differs, and its value on each side.
struct Difference {
  std::string kind;
  Value first;
  Value second;
};

// Two nodes at the same position in their trees; null for the documents themselves.
struct DifferentNodes {
  const XmlNode *first;
  const XmlNode *second;
  Difference difference;
};

// The first difference in document order. The order of attributes does not count. A value beside
// children does not count either, since it is never printed.
std::optional<DifferentNodes> firstDifference(const std::vector<XmlNode *> &firstRoots,
                                              const std::vector<XmlNode *> &secondRoots);

}  // namespace nebxml
