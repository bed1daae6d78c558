// Which subtrees of two documents are equal.
#pragma once

#include "comparison/forest.h"

namespace nebxml {

// Numbers all subtrees: equal ones have the same number. The order of attributes does not count,
// nor does what the tolerance excludes.
// Cost: O(n log n) for any content, and memory in proportion to the elements.
void numberSubtrees(Forest &forest);

}  // namespace nebxml
