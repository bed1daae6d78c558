// Hooks under which every test and every fuzzer runs: they count, guard, and fail when told to. A
// piece that was written beyond its end, released twice, or never came from a hook aborts the run.
#pragma once

#include <cstddef>
#include <vector>

namespace guarded {

// Registers the hooks with nothing outstanding and all counts at zero, as each test begins.
void begin();

// Registers the hooks again after a test has registered others.
void registerHooks();

// Whether a piece of the hooks, not yet released, begins there; and how many there are.
bool holds(const void *piece);
size_t outstanding();

// The most bytes that were outstanding at any time.
size_t mostHeld();

// Calls of the malloc and calloc hooks, failed ones included, and of the free hook.
size_t allocations();
size_t releases();

// Sizes of the successful calls of the malloc hook, in order.
std::vector<size_t> mallocSizes();

// How often a file was to be opened, and how many are open.
size_t fileCalls();
size_t openStreams();

// The n-th allocation from now fails, or with the flag every one from the n-th on; none for 0.
void failNth(size_t n, bool allAfter = false);

// Whether one has failed since failNth.
bool hasFailed();

// While it lives, allocations fail so.
class FailingAllocation {
 public:
  explicit FailingAllocation(size_t n, bool allAfter = false) { failNth(n, allAfter); }
  ~FailingAllocation() { failNth(0); }
  FailingAllocation(const FailingAllocation &) = delete;
  FailingAllocation &operator=(const FailingAllocation &) = delete;
  bool happened() const { return hasFailed(); }
};

// While it lives, the functions of the standard library are registered. Blocks of sessions then
// hold arbitrary bytes, here never zeros. What is allocated meanwhile must be freed meanwhile.
class UnclearedMemory {
 public:
  UnclearedMemory();
  ~UnclearedMemory();
  UnclearedMemory(const UnclearedMemory &) = delete;
  UnclearedMemory &operator=(const UnclearedMemory &) = delete;
};

}  // namespace guarded
