// Whether the time of a work grows in proportion to its size.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

constexpr double kLargestRatio = 2.3;

// What is measured, and what has to follow before it can be measured again.
struct Work {
  std::function<void()> run;
  std::function<void()> reset = [] {};
};

struct Case {
  std::string name;
  std::function<Work(size_t)> prepare;
  // More than fits into the caches, whose end would look like growth, and less than half of what
  // fits into memory.
  size_t largestSize;
};

// Measures the case at n and at 2n and prints the ratio; false where it is too large, or cannot be
// told.
bool judge(const Case &subject);
