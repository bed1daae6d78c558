// Records the file calls of a process and lets them fail on request. It is linked into a test
// program, or loaded into another program before the C library.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace failing_files {

struct Plan {
  size_t failing = 0;  // the n-th call from now fails; 0: none does
  int error = 0;       // its errno; 0: a write is short, other calls succeed
  std::function<void(const std::string &)> observe = nullptr;  // runs before each call
};

// Follows the plan for its lifetime. calls() lists the calls so far, each followed by a space, and
// by a '!' if it failed.
class Following {
 public:
  explicit Following(const Plan &plan);
  ~Following();
  static std::string calls();
};

// Environment variables of another program: "failing error call signal", and the file for its
// calls. It gets the signal before that call.
inline constexpr char kPlanVariable[] = "NEB_XML_FAILING_FILES";
inline constexpr char kCallsVariable[] = "NEB_XML_FILE_CALLS";

}  // namespace failing_files
