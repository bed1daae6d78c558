// Work on many files at once, with the results in the order of the files.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>

#include "terminal/command_error.h"

namespace nebxml {

using Failure = std::optional<CommandError>;

// Calls work for each index below count, on several threads at once, and report for each result, on
// this thread and in the order of the indices. A few results for each thread wait while an earlier
// one is missing; then the threads wait too, so that memory does not grow with count.
//
// jobs  how many threads there are at most; with one, or if the system has none, all work is done
//       on this thread
// work  throws nothing but std::bad_alloc, which ends the process
void inOrder(size_t count, size_t jobs, const std::function<Failure(size_t)> &work,
             const std::function<void(size_t, const Failure &)> &report);

}  // namespace nebxml
