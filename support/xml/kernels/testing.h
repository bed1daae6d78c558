// FOR TESTS ONLY: runs each kernel that this machine can run, where the library runs the best.
#pragma once

#include <span>

#include "kernels/kernel.h"

namespace neb::xml::internal {

// All kernels that this library was built with, the best first.
std::span<const Kernel *const> builtKernels();

bool canRun(const Kernel &kernel);

// Makes chosenKernel() return this kernel; null restores the choice by the machine. Not allowed
// while other threads parse.
void forceKernelForTests(const Kernel *kernel);

}  // namespace neb::xml::internal
