// The hook table: the C library's functions until the caller registers others.
#pragma once

#include <cstdlib>

#include "memory/sizes.h"
#include "neb_xml.h"

namespace neb::xml::internal {

extern void *(*g_fnXMLCalloc)(size_t, size_t);
extern FILE *(*g_fnXMLFopen)(const char *, const char *);
extern int (*g_fnXMLFseek)(FILE *, long, int);
extern int (*g_fnXMLFclose)(FILE *);
extern size_t (*g_fnXMLFread)(void *, size_t, size_t, FILE *);
extern long (*g_fnXMLFtell)(FILE *);

// Whether the allocation hooks are those of the C library.
inline bool usesDefaultAllocator() {
  return g_fnXMLMalloc == std::malloc && g_fnXMLCalloc == std::calloc && g_fnXMLFree == std::free;
}

// Whether the file hooks are those of the C library.
bool usesDefaultFiles();

// "The heap" is whatever the allocation hooks hand out. Null if memory runs out, as for anything
// that is too large for an object.
inline void *allocateOnHeap(size_t size) {
  return size <= kLargestObject ? g_fnXMLMalloc(size) : nullptr;
}

inline void freeOnHeap(void *memory) {
  if (memory != nullptr) g_fnXMLFree(memory);
}

}  // namespace neb::xml::internal
