// The alignment of two sequences that few edits turn into each other.
#pragma once

#include <vector>

#include "comparison/alignment.h"

namespace nebxml {

// The runs that the least number of insertions and removals leaves, in descending order. None if
// more than a constant number of edits is required.
// Cost: linear.
std::vector<Run> runsOfFewEdits(Labels first, Labels second);

}  // namespace nebxml
