// Hooks under which every test and every fuzzer runs. They count, guard, and fail on request. The
// run aborts after a write beyond an allocation, a second free, or a free of other memory.
#pragma once

#include <cstddef>
#include <vector>

namespace guarded {

// Registers the hooks with nothing outstanding and all counts at zero. Each test begins so.
void begin();

// Registers the hooks again after a test has registered others.
void registerHooks();

// Whether an allocation of the hooks that is not yet freed begins there, and how many there are.
bool holds(const void *memory);
size_t outstanding();

// The most bytes that were outstanding at any time.
size_t mostHeld();

// Calls of the malloc and calloc hooks, failed ones included, and of the free hook.
size_t allocations();
size_t releases();

// Sizes of the successful calls of the malloc hook, in order.
std::vector<size_t> mallocSizes();

// The number of attempts to open a file, and of open files.
size_t fileCalls();
size_t openStreams();

// The n-th allocation from now fails; with allAfter, so do all later ones. 0: none fails.
void failNth(size_t n, bool allAfter = false);

// Whether an allocation has failed since failNth.
bool hasFailed();

// Calls failNth for its lifetime.
class FailingAllocation {
 public:
  explicit FailingAllocation(size_t n, bool allAfter = false) { failNth(n, allAfter); }
  ~FailingAllocation() { failNth(0); }
  FailingAllocation(const FailingAllocation &) = delete;
  FailingAllocation &operator=(const FailingAllocation &) = delete;
  bool happened() const { return hasFailed(); }
};

// Registers the functions of the standard library for its lifetime. Blocks of sessions then hold
// arbitrary bytes, with glibc never zeros. What is allocated during that time must be freed in it.
class UnclearedMemory {
 public:
  UnclearedMemory();
  ~UnclearedMemory();
  UnclearedMemory(const UnclearedMemory &) = delete;
  UnclearedMemory &operator=(const UnclearedMemory &) = delete;
};

}  // namespace guarded
