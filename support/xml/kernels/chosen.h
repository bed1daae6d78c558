// The kernel that this process uses.
#pragma once

#include "kernels/kernel.h"

namespace neb::xml::internal {

// The best kernel that this machine runs. The first call chooses it; several threads may make that
// call at once.
const Kernel &chosenKernel();

}  // namespace neb::xml::internal
