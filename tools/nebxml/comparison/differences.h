// All differences of two documents.
#pragma once

#include <cstddef>
#include <vector>

#include "comparison/forest.h"

namespace nebxml {

// An element or attribute that one document has and the other one has not, or not with this value.
struct Difference {
  size_t element;
  const XmlNode *attribute;  // of the element; null for the element itself
  size_t offset;             // in the value: the first byte that differs from the other value
};

// In document order; where a value differs, that of the first document is first. The subtree of an
// element that only one document has is one difference. None if and only if the documents are
// equal but for what the tolerance excludes.
// Numbers the subtrees of the forest. Cost: O(n log n), and memory in proportion to the elements.
std::vector<Difference> differencesOf(Forest &forest);

}  // namespace nebxml
