#include "support/guarded_hooks.h"

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <unordered_map>

#include "neb_xml.h"

namespace guarded {

namespace {

constexpr int kFreshByte = 0xA5;
constexpr int kReleasedByte = 0xDD;
constexpr char kGuardByte = 0x5A;
#ifdef NEB_XML_SANITIZED
constexpr size_t kGuardSize = 0;  // the sanitizer sees any access behind an allocation
#else
constexpr size_t kGuardSize = 16;
#endif

// Compilers would omit a direct memset before a free.
void *(*volatile const kFill)(void *, int, size_t) = std::memset;

struct State {
  std::unordered_map<const void *, size_t> allocated;  // with their sizes
  std::vector<size_t> mallocSizes;
  size_t held, mostHeld;  // bytes
  size_t allocations, releases, fileCalls, openStreams;
  size_t toFailure;  // 0: none will fail
  bool allFail, hasFailed;
};

std::mutex g_mutex;
State g_state = {};

template <typename Use>
auto locked(Use use) {
  const std::lock_guard<std::mutex> lock(g_mutex);
  return use(g_state);
}

template <typename Field>
Field read(Field State::*field) {
  return locked([=](const State &state) { return state.*field; });
}

[[noreturn]] void abortWith(const char *what) {
  std::fprintf(stderr, "guarded hooks: %s\n", what);
  std::abort();
}

bool fails(State &state) {
  ++state.allocations;
  const bool isNth = state.toFailure == 1;
  if (state.toFailure != 0) --state.toFailure;
  if (!isNth && !(state.allFail && state.hasFailed)) return false;
  return state.hasFailed = true;
}

void *allocate(size_t size, int fill, bool isMalloc) {
  if (locked(fails)) return nullptr;
  auto *memory = static_cast<char *>(std::malloc(size + kGuardSize));
  if (memory == nullptr) return nullptr;
  std::memset(memory, fill, size);
  std::fill_n(memory + size, kGuardSize, kGuardByte);
  locked([=](State &state) {
    state.allocated.emplace(memory, size);
    state.held += size;
    state.mostHeld = std::max(state.mostHeld, state.held);
    if (isMalloc) state.mallocSizes.push_back(size);
  });
  return memory;
}

void *guardedMalloc(size_t size) { return allocate(size, kFreshByte, true); }

void *guardedCalloc(size_t count, size_t size) { return allocate(count * size, 0, false); }

void guardedFree(void *memory) {
  const auto [isHeld, size] = locked([=](State &state) {
    ++state.releases;
    const auto found = state.allocated.extract(memory);
    const size_t released = found.empty() ? 0 : found.mapped();
    state.held -= released;
    return std::pair(!found.empty(), released);
  });
  if (!isHeld) abortWith("freed twice, or not from a hook");
  const char *guard = static_cast<char *>(memory) + size;
  if (std::count(guard, guard + kGuardSize, kGuardByte) != kGuardSize) {
    abortWith("written beyond the end");
  }
  kFill(memory, kReleasedByte, size);
  std::free(memory);
}

FILE *guardedOpen(const char *path, const char *mode) {
  FILE *stream = std::fopen(path, mode);
  locked([=](State &state) {
    ++state.fileCalls;
    if (stream != nullptr) ++state.openStreams;
  });
  return stream;
}

int guardedClose(FILE *stream) {
  locked([](State &state) { --state.openStreams; });
  return std::fclose(stream);
}

}  // namespace

void begin() {
  locked([](State &state) { state = {}; });
  registerHooks();
}

bool holds(const void *memory) {
  return locked([=](State &state) { return state.allocated.count(memory) != 0; });
}

size_t outstanding() {
  return locked([](State &state) { return state.allocated.size(); });
}

size_t mostHeld() { return read(&State::mostHeld); }
size_t allocations() { return read(&State::allocations); }
size_t releases() { return read(&State::releases); }
std::vector<size_t> mallocSizes() { return read(&State::mallocSizes); }
size_t fileCalls() { return read(&State::fileCalls); }
size_t openStreams() { return read(&State::openStreams); }
bool hasFailed() { return read(&State::hasFailed); }

void failNth(size_t n, bool allAfter) {
  locked([=](State &state) {
    state.toFailure = n;
    state.allFail = allAfter;
    state.hasFailed = false;
  });
}

namespace {

// Not every C library can be told what its memory holds.
void perturb([[maybe_unused]] int byte) {
#ifdef M_PERTURB
  mallopt(M_PERTURB, byte);
#endif
}

}  // namespace

UnclearedMemory::UnclearedMemory() {
  perturb(kFreshByte);
  NEB_XML_RegMemFunc(std::malloc, std::calloc, std::free);
}

UnclearedMemory::~UnclearedMemory() {
  registerHooks();
  perturb(0);
}

void registerHooks() {
  NEB_XML_RegMemFunc(guardedMalloc, guardedCalloc, guardedFree);
  NEB_XML_RegFileFunc(guardedOpen, std::fseek, guardedClose, std::fread, std::ftell);
}

}  // namespace guarded
