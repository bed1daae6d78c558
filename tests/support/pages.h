// Pages of memory from the system.
#pragma once

#include "platform/system.h"

#if defined(NEB_XML_WINDOWS)
#include "platform/windows/system_calls.h"
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

#include <cstddef>

namespace guarded {

#if defined(NEB_XML_WINDOWS)

inline size_t pageSize() {
  SYSTEM_INFO system = {};
  GetSystemInfo(&system);
  return system.dwPageSize;
}

// Memory that can be neither read nor written; null if there is none.
inline char *reservePages(size_t size) {
  return static_cast<char *>(VirtualAlloc(nullptr, size, MEM_RESERVE | MEM_COMMIT, PAGE_NOACCESS));
}

inline bool makeAccessible(char *begin, size_t size) {
  DWORD before = 0;
  return VirtualProtect(begin, size, PAGE_READWRITE, &before) != 0;
}

inline void freePages(char *begin, size_t /*size*/) { VirtualFree(begin, 0, MEM_RELEASE); }

#else

inline size_t pageSize() { return static_cast<size_t>(sysconf(_SC_PAGESIZE)); }

// Memory that can be neither read nor written; null if there is none.
inline char *reservePages(size_t size) {
  void *memory = mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return memory == MAP_FAILED ? nullptr : static_cast<char *>(memory);
}

inline bool makeAccessible(char *begin, size_t size) {
  return mprotect(begin, size, PROT_READ | PROT_WRITE) == 0;
}

inline void freePages(char *begin, size_t size) { munmap(begin, size); }

#endif

}  // namespace guarded
