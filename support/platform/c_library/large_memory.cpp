#include "platform/large_memory.h"

#include "platform/system.h"

// On Windows, huge pages need a privilege, and the heap cannot be told what to keep.
#if defined(NEB_XML_C_LIBRARY) || defined(NEB_XML_WINDOWS)

#include <cstdlib>

namespace neb::platform {

LargeMemory allocateLarge(size_t size, size_t /*filled*/) {
  void *memory = std::malloc(size);
  return {memory, static_cast<char *>(memory)};
}

void letHeapKeepMemory() {}

void expectFilling(char * /*begin*/, size_t /*size*/) {}

}  // namespace neb::platform

#endif
