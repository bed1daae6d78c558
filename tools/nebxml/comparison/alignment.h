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

// What of the first sequence something of the second one replaces. One of them may be empty.
struct Change {
  size_t first;
  size_t firstEnd;
  size_t second;
  size_t secondEnd;
};

// Runs in ascending order on both sides. They need not hold the most that the sequences have in
// common.
// Cost: O(n log n) for any labels.
std::vector<Run> alignedRuns(Labels first, Labels second);

// What is before, between and behind runs of sequences of these lengths.
std::vector<Change> changesBetween(const std::vector<Run> &runs, size_t firstLength,
                                   size_t secondLength);

}  // namespace nebxml
