// File calls of a process that are recorded, and fail when told to: linked into a program of tests,
// or loaded into another program before the C library.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace failing_files {

struct Plan {
  size_t first = 0;            // the n-th call from now fails; 0: none does
  int error = 0;               // its errno; 0: a write writes half, other calls succeed
  size_t count = 1;            // so many calls fail
  std::string only = "";       // calls of this name alone are counted; empty: all
  std::string signalled = "";  // in a call of this name the process gets SIGTERM
  std::function<void(const std::string &)> observe =
      nullptr;  // runs before each call that it does not make
};

// What another program reads its plan from, "first error signalled", and the file in which it notes
// its calls, as Following::calls gives them.
inline constexpr char kPlanVariable[] = "NEB_XML_FAILING_FILES";
inline constexpr char kNotesVariable[] = "NEB_XML_FILE_CALLS";

// While it lives, the plan is followed in this process.
class Following {
 public:
  explicit Following(const Plan &plan);
  ~Following();
  Following(const Following &) = delete;
  Following &operator=(const Following &) = delete;
  std::string calls()
      const;  // so far: the name of each with a space behind, and a '!' if it failed
};

}  // namespace failing_files
