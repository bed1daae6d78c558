// Hooks under which every test runs: they count, guard, and fail when told to.
//
// Each test begins with these hooks registered and fails if it ends with anything outstanding. A
// piece that was written beyond its end, released twice, or never came from a hook aborts the run.
#pragma once

#include <cstddef>
#include <vector>

namespace guarded {

// Allocations not yet released.
size_t outstanding();

// Calls of the malloc and calloc hooks, failed ones included, and of the free hook, in this test.
size_t allocations();
size_t releases();

// Sizes of the successful calls of each hook in this test, in order; count times size for calloc.
std::vector<size_t> mallocSizes();
std::vector<size_t> callocSizes();

// Where the last successful calloc call got its memory.
void *lastCalloc();

// How often a file was to be opened in this test, and how many are open.
size_t fileCalls();
size_t openStreams();

// While it lives, the n-th allocation from now fails, or with the flag every one from the n-th on.
class FailingAllocation {
 public:
  explicit FailingAllocation(size_t n, bool allAfter = false);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation &) = delete;
  FailingAllocation &operator=(const FailingAllocation &) = delete;
  bool happened() const;
};

// While it lives, the functions of the standard library are registered: blocks of sessions then come
// with whatever bytes, never with zeros here. What is made meanwhile has to be given back meanwhile.
class UnclearedMemory {
 public:
  UnclearedMemory();
  ~UnclearedMemory();
  UnclearedMemory(const UnclearedMemory &) = delete;
  UnclearedMemory &operator=(const UnclearedMemory &) = delete;
};

// Registers the hooks again after a test has registered others.
void registerHooks();

}  // namespace guarded
