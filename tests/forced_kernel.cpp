// Runs the tests with another kernel than this machine's best, when the environment names one.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "xml/kernels/testing.h"

namespace {

namespace internal = neb::xml::internal;

const internal::Kernel *kernelOf(std::string_view name) {
  for (const internal::Kernel *kernel : internal::builtKernels()) {
    if (kernel->name == name && internal::canRun(*kernel)) return kernel;
  }
  // A failure in SetUp() would skip all tests, which passes.
  std::fputs("NEB_XML_TEST_KERNEL names no kernel that runs on this machine\n", stderr);
  std::exit(EXIT_FAILURE);
}

class ForcedKernel : public testing::Environment {
  void SetUp() override {
    const char *name = std::getenv("NEB_XML_TEST_KERNEL");
    if (name != nullptr) internal::forceKernelForTests(kernelOf(name));
  }
};

[[maybe_unused]] const auto *const g_forcedKernel =
    testing::AddGlobalTestEnvironment(new ForcedKernel);

}  // namespace
