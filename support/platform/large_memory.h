// Large allocations of the C library that cost few page faults.
#pragma once

#include <cstddef>

namespace neb::platform {

// Huge pages are mapped and cleared at a seventh of the cost of so many small ones.
constexpr size_t kHugePageSize = size_t{2} * 1024 * 1024;

// What the C library keeps in front of an allocation, and more. If huge allocations are smaller by
// so much, they can follow each other without a gap.
constexpr size_t kHeapHeader = 4096;

// As malloc, freed by free. An allocation that can hold a huge page begins at one.
void *allocateLarge(size_t size);

// Says that the first bytes of an allocation will be written soon, from the first to the last. The
// system then maps their pages in few steps: huge pages where whole ones lie in the part, small
// ones elsewhere. Does nothing for a small part, if the pages are in memory already, or if the
// system cannot do it. The bytes are not changed, and neither is errno.
void expectFilling(char *begin, size_t size);

}  // namespace neb::platform
