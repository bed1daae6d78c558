#include "kernels/chosen.h"

#include "kernels/testing.h"
#include "neb_xml.h"
#include "platform/threads.h"

namespace neb::xml::internal {

namespace {

// The best first.
constexpr const Kernel *kBuiltKernels[] = {
#if defined(NEB_XML_TARGETS)
    &kAvx2Kernel,
#endif
#if defined(NEB_XML_SSE2)
    &kSse2Kernel,
#elif defined(__AARCH64EL__) && defined(__ARM_NEON)
    &kNeonKernel,
#endif
    &kPortableKernel,
};

// Null until the first choice. Threads that choose at once choose the same.
constinit platform::Atomic<const Kernel *> g_chosen{nullptr};

const Kernel *bestKernel() {
  for (const Kernel *kernel : kBuiltKernels) {
    if (canRun(*kernel)) return kernel;
  }
  return &kPortableKernel;
}

}  // namespace

bool canRun(const Kernel &kernel) {
#if defined(NEB_XML_TARGETS)
  if (kernel.isWide) {
    return NEB_XML_PROCESSOR_HAS("avx2") && NEB_XML_PROCESSOR_HAS("bmi") &&
           NEB_XML_PROCESSOR_HAS("bmi2");
  }
#endif
  return !kernel.isWide;
}

std::span<const Kernel *const> builtKernels() { return kBuiltKernels; }

void forceKernelForTests(const Kernel *kernel) {
  g_chosen.store(kernel, std::memory_order_relaxed);
}

const Kernel &chosenKernel() {
  const Kernel *kernel = g_chosen.load(std::memory_order_relaxed);
  if (kernel == nullptr) {
    kernel = bestKernel();
    g_chosen.store(kernel, std::memory_order_relaxed);
  }
  return *kernel;
}

}  // namespace neb::xml::internal

const char *NEB_XML_GetKernelName() { return neb::xml::internal::chosenKernel().name; }
