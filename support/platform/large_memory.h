// Large allocations of the C library that cost few page faults.
#pragma once

#include <cstddef>

namespace neb::platform {

// Huge pages are mapped and cleared at a seventh of the cost of so many small ones.
constexpr size_t kHugePageSize = size_t{2} * 1024 * 1024;

// What the C library keeps in front of an allocation, and more. An allocation that is smaller by so
// much than its huge pages is mapped as those pages, without another one.
constexpr size_t kHeapHeader = 4096;

// An allocation of malloc, to be freed by free, and the part of it that is used.
struct LargeMemory {
  void *allocation;  // null if memory runs out
  char *begin;
};

// Of the size, so much will be filled soon. If that can be a huge page, the used part begins at
// one. Only malloc is called: a program may have replaced it without its relatives for aligned
// memory.
LargeMemory allocateLarge(size_t size, size_t filled);

// glibc maps allocations of 128 KiB and more from the system, until one of them has been freed.
// From then on it takes allocations of that size from its heap, and keeps up to twice as much free
// memory there. This has it keep 768 KiB at least, so that a program that parses again and again
// finds its memory in place. Only the first call does something.
void letHeapKeepMemory();

// Says that so much memory will be written soon, from the first byte to the last. The system then
// maps its pages in few steps: huge pages where whole ones lie in it, small ones elsewhere. Does
// nothing for a small part, if the pages are mapped already, or if the system cannot do it. Neither
// the bytes nor errno are changed.
void expectFilling(char *begin, size_t size);

}  // namespace neb::platform
