// Allocation hooks that know what they have given out, and fail when told to.
#pragma once

#include <cstddef>

namespace hooks {

// Registers the hooks. Demands that nothing is outstanding, and forgets the counts.
void begin();

// Whether a piece of the hooks, not yet released, begins there.
bool holds(const void *piece);

size_t outstanding();
size_t allocations();
size_t releases();

// The n-th allocation from now fails, or every one from it on; none for 0.
void failNth(size_t n, bool allAfter = false);

// Whether one has failed since failNth.
bool hasFailed();

}  // namespace hooks
