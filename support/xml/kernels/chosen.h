// The kernel that this process uses.
#pragma once

#include "characters/utf8.h"
#include "kernels/kernel.h"
#include "platform/compiler.h"

namespace neb::xml::internal {

// The best kernel that this machine runs. The first call chooses it; several threads may make that
// call at once.
const Kernel &chosenKernel();

// Whether a run is UTF-8 of characters that XML allows, as the kernel finds.
inline bool areAllowed(const char *from, const char *end) {
  if constexpr (platform::kIsSmall) return findForbidden(from, end) == end;
  return chosenKernel().areAllowed(from, end);
}

}  // namespace neb::xml::internal
