#include "support/guarded_hooks.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "neb_xml.h"

#if defined(__has_feature)
#define NEB_XML_HAS_ASAN __has_feature(address_sanitizer)
#elif defined(__SANITIZE_ADDRESS__)
#define NEB_XML_HAS_ASAN 1
#else
#define NEB_XML_HAS_ASAN 0
#endif
#if NEB_XML_HAS_ASAN
#include <sanitizer/asan_interface.h>
#endif

namespace guarded {

namespace {

constexpr uint64_t kAlive = 0x6775617264656421;
constexpr uint64_t kReleased = 0x72656c6561736564;
constexpr int kFreshByte = 0xA5;
constexpr int kReleasedByte = 0xDD;
constexpr unsigned char kGuardByte = 0x5A;
constexpr size_t kGuardSize = 16;

struct alignas(16) Header {
  uint64_t state;
  size_t size;
};

std::atomic<size_t> g_outstanding, g_allocations, g_releases, g_fileCalls, g_openStreams;
std::atomic<size_t> g_allocationsToFailure;  // 0: none to come
std::atomic<bool> g_allFail, g_allocationFailed;
std::atomic<void *> g_lastCalloc;
std::mutex g_sizesMutex;
std::vector<size_t> g_mallocSizes, g_callocSizes;

[[noreturn]] void abortWith(const char *what) {
  std::fprintf(stderr, "guarded hooks: %s\n", what);
  std::abort();
}

bool countsDownToFailure(std::atomic<size_t> &toFailure) {
  size_t left = toFailure.load();
  while (left != 0 && !toFailure.compare_exchange_weak(left, left - 1)) {
  }
  return left == 1;
}

bool allocationFails() {
  ++g_allocations;
  if (!countsDownToFailure(g_allocationsToFailure) && !(g_allFail && g_allocationFailed)) {
    return false;
  }
  g_allocationFailed = true;
  return true;
}

// The address sanitizer then also finds reads of what stands around a piece.
void allowAccess([[maybe_unused]] const void *memory, [[maybe_unused]] size_t size,
                 [[maybe_unused]] bool isAllowed) {
#if NEB_XML_HAS_ASAN
  if (isAllowed) {
    __asan_unpoison_memory_region(memory, size);
  } else {
    __asan_poison_memory_region(memory, size);
  }
#endif
}

void *allocate(size_t size, int fill, std::vector<size_t> &sizes) {
  if (allocationFails()) return nullptr;
  auto *memory = static_cast<unsigned char *>(std::malloc(sizeof(Header) + size + kGuardSize));
  if (memory == nullptr) return nullptr;
  const Header header = {kAlive, size};
  std::memcpy(memory, &header, sizeof header);
  std::memset(memory + sizeof header, fill, size);
  std::memset(memory + sizeof header + size, kGuardByte, kGuardSize);
  allowAccess(memory, sizeof header, false);
  allowAccess(memory + sizeof header + size, kGuardSize, false);
  ++g_outstanding;
  const std::lock_guard<std::mutex> lock(g_sizesMutex);
  sizes.push_back(size);
  return memory + sizeof header;
}

void *guardedMalloc(size_t size) { return allocate(size, kFreshByte, g_mallocSizes); }

void *guardedCalloc(size_t count, size_t size) {
  void *memory = allocate(count * size, 0, g_callocSizes);
  if (memory != nullptr) g_lastCalloc = memory;
  return memory;
}

void guardedFree(void *memory) {
  ++g_releases;
  if (memory == nullptr) abortWith("null handed to the free hook");
  auto *start = static_cast<unsigned char *>(memory) - sizeof(Header);
  Header header;
  allowAccess(start, sizeof header, true);
  std::memcpy(&header, start, sizeof header);
  if (header.state == kReleased) abortWith("released twice");
  if (header.state != kAlive) abortWith("released, but not from a hook");
  const unsigned char *guard = start + sizeof header + header.size;
  allowAccess(guard, kGuardSize, true);
  for (size_t i = 0; i < kGuardSize; ++i) {
    if (guard[i] != kGuardByte) abortWith("written beyond the end");
  }
  header.state = kReleased;
  std::memcpy(start, &header, sizeof header);
  std::memset(memory, kReleasedByte, header.size);
  --g_outstanding;
  std::free(start);
}

FILE *guardedOpen(const char *path, const char *mode) {
  ++g_fileCalls;
  FILE *stream = std::fopen(path, mode);
  if (stream != nullptr) ++g_openStreams;
  return stream;
}

int guardedClose(FILE *stream) {
  --g_openStreams;
  return std::fclose(stream);
}

void resetCounts() {
  g_outstanding = g_allocations = g_releases = g_fileCalls = g_openStreams = 0;
  g_mallocSizes.clear();
  g_callocSizes.clear();
}

class EveryTest : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo & /*test*/) override {
    resetCounts();
    registerHooks();
  }

  void OnTestEnd(const testing::TestInfo & /*test*/) override {
    EXPECT_EQ(outstanding(), 0U) << "pieces of the hooks are left";
    EXPECT_EQ(openStreams(), 0U) << "streams are left open";
  }
};

const bool g_listens = [] {
  testing::UnitTest::GetInstance()->listeners().Append(new EveryTest);
  return true;
}();

}  // namespace

size_t outstanding() { return g_outstanding; }
size_t allocations() { return g_allocations; }
size_t releases() { return g_releases; }
size_t fileCalls() { return g_fileCalls; }
size_t openStreams() { return g_openStreams; }
void *lastCalloc() { return g_lastCalloc; }

std::vector<size_t> mallocSizes() {
  const std::lock_guard<std::mutex> lock(g_sizesMutex);
  return g_mallocSizes;
}

std::vector<size_t> callocSizes() {
  const std::lock_guard<std::mutex> lock(g_sizesMutex);
  return g_callocSizes;
}

FailingAllocation::FailingAllocation(size_t n, bool allAfter) {
  g_allocationFailed = false;
  g_allFail = allAfter;
  g_allocationsToFailure = n;
}

FailingAllocation::~FailingAllocation() {
  g_allocationsToFailure = 0;
  g_allFail = false;
}

bool FailingAllocation::happened() const { return g_allocationFailed; }

UnclearedMemory::UnclearedMemory() {
  mallopt(M_PERTURB, kFreshByte);
  NEB_XML_RegMemFunc(std::malloc, std::calloc, std::free);
}

UnclearedMemory::~UnclearedMemory() {
  registerHooks();
  mallopt(M_PERTURB, 0);
}

void registerHooks() {
  NEB_XML_RegMemFunc(guardedMalloc, guardedCalloc, guardedFree);
  NEB_XML_RegFileFunc(guardedOpen, std::fseek, guardedClose, std::fread, std::ftell);
}

}  // namespace guarded
