#include "platform/large_memory.h"

#include "platform/system.h"

#if defined(NEB_XML_POSIX)

#include <cerrno>
#include <cstdint>
#include <cstdlib>

#include "platform/threads.h"

#if defined(__linux__)
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace neb::platform {

#if defined(__linux__)

namespace {

// Below this, the system calls cost as much as the page faults that they save.
constexpr size_t kLeastPart = size_t{128} * 1024;

#if defined(MADV_POPULATE_WRITE)
constexpr int kPopulate = MADV_POPULATE_WRITE;
#else
constexpr int kPopulate = 23;  // since Linux 5.14; older systems refuse it
#endif

char *roundDown(char *address, size_t alignment) {
  return address - (reinterpret_cast<uintptr_t>(address) & (alignment - 1));
}

char *roundUp(char *address, size_t alignment) {
  return roundDown(address + (alignment - 1), alignment);
}

bool isInMemory(char *page, size_t pageSize) {
  unsigned char state = 0;
  return mincore(page, pageSize, &state) == 0 && (state & 1) != 0;
}

void populate(char *begin, size_t size, size_t pageSize) {
  char *end = roundDown(begin + size, pageSize);
  // Memory that the heap has kept is all there.
  if (isInMemory(end - pageSize, pageSize)) return;
  char *hugeBegin = roundUp(begin, kHugePageSize);
  char *hugeEnd = roundDown(begin + size + kHeapHeader, kHugePageSize);
  if (hugeBegin < hugeEnd) {
    madvise(hugeBegin, static_cast<size_t>(hugeEnd - hugeBegin), MADV_HUGEPAGE);
  }
  char *first = roundUp(begin, pageSize);
  madvise(first, static_cast<size_t>(end - first), kPopulate);
}

}  // namespace

LargeMemory allocateLarge(size_t size, size_t filled) {
  const bool canBeHuge =
      filled >= kHugePageSize - kHeapHeader && size < PTRDIFF_MAX - kHugePageSize;
  // What lies before the used part is never touched.
  void *memory = canBeHuge ? std::malloc(size + kHugePageSize) : nullptr;
  if (memory != nullptr) return {memory, roundUp(static_cast<char *>(memory), kHugePageSize)};
  memory = std::malloc(size);
  return {memory, static_cast<char *>(memory)};
}

void letHeapKeepMemory() {
  constexpr size_t kMapped = size_t{384} * 1024;
  // Doing it twice is harmless. An exchange of one byte would need libatomic on RISC-V.
  static Atomic<bool> isDone{false};
  if (isDone.load(std::memory_order_relaxed)) return;
  isDone.store(true, std::memory_order_relaxed);
  // Through a pointer, since compilers may omit a pair of calls. No page is touched.
  void *(*volatile const allocate)(size_t) = std::malloc;
  std::free(allocate(kMapped));
}

void expectFilling(char *begin, size_t size) {
  if (size < kLeastPart) return;
  const int before = errno;
  populate(begin, size, static_cast<size_t>(sysconf(_SC_PAGESIZE)));
  errno = before;
}

#else

LargeMemory allocateLarge(size_t size, size_t /*filled*/) {
  void *memory = std::malloc(size);
  return {memory, static_cast<char *>(memory)};
}

void letHeapKeepMemory() {}

void expectFilling(char * /*begin*/, size_t /*size*/) {}

#endif

}  // namespace neb::platform

#endif
