// FOR TESTS ONLY: runs each kernel that this machine can run, where the library runs the best.
#pragma once

#include <span>

#include "kernels/kernel.h"

namespace neb::xml::internal {

// All kernels that this library was built with, the best first.
std::span<const Kernel *const> builtKernels();

bool canRun(const Kernel &kernel);

// chosenKernel() returns it from now on; null leaves it to the machine again. Not while other
// threads parse.
void forceKernelForTests(const Kernel *kernel);

}  // namespace neb::xml::internal
