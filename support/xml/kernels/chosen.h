// The kernel that this process uses.
#pragma once

#include "kernels/kernel.h"

namespace neb::xml::internal {

// The best that this machine runs. It is chosen at the first call; any number of threads may make
// that at once.
const Kernel &chosenKernel();

}  // namespace neb::xml::internal
