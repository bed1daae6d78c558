// Which children of two elements correspond.
#pragma once

#include <cstddef>
#include <limits>
#include <vector>

#include "comparison/forest.h"

namespace nebxml {

inline constexpr size_t kNoElement = std::numeric_limits<size_t>::max();

// An element of each document, or kNoElement for one that only the other document has.
struct ElementPair {
  size_t first;
  size_t second;
};

// The children of two elements, in document order, without pairs of equal subtrees. Elements of a
// pair have the same name. If the order counts, pairs do not cross.
std::vector<ElementPair> differingChildren(const Forest &forest, const ElementPair &parents);

}  // namespace nebxml
