// The alignment of two sequences: what they have in common, in order.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace nebxml {

using Labels = std::span<const size_t>;

// Labels that both sequences have, from these positions on.
struct Run {
  size_t first;
  size_t second;
  size_t length;
};

// Runs in ascending order on both sides. They need not hold the most that the sequences have in
// common.
// Cost: O(n log n) for any labels.
std::vector<Run> alignedRuns(Labels first, Labels second);

}  // namespace nebxml
