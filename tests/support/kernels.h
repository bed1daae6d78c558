// Runs tests once with each kernel that was built.
#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "xml/kernels/chosen.h"
#include "xml/kernels/testing.h"

namespace neb::xml::internal {

// In the names of tests.
// NOLINTNEXTLINE(readability-identifier-naming): GoogleTest looks for this name
inline void PrintTo(const Kernel *kernel, std::ostream *stream) { *stream << kernel->name; }

}  // namespace neb::xml::internal

class EachKernel : public testing::TestWithParam<const neb::xml::internal::Kernel *> {
 protected:
  void SetUp() override {
    const auto *kernel = GetParam();
    if (!neb::xml::internal::canRun(*kernel)) GTEST_SKIP() << kernel->name << " cannot run here";
    neb::xml::internal::forceKernelForTests(kernel);
  }

  void TearDown() override { neb::xml::internal::forceKernelForTests(before_); }

 private:
  const neb::xml::internal::Kernel *before_ = &neb::xml::internal::chosenKernel();
};

inline auto allKernels() { return testing::ValuesIn(neb::xml::internal::builtKernels()); }

inline std::string nameOfKernel(
    const testing::TestParamInfo<const neb::xml::internal::Kernel *> &kernel) {
  return kernel.param->name;
}
