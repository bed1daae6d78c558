#include "support/hooks.h"

#include <cstdlib>
#include <cstring>
#include <unordered_map>

#include "neb_xml.h"
#include "support/require.h"

namespace hooks {

namespace {

constexpr int kFreshByte = 0xA5;
constexpr int kReleasedByte = 0xDD;

std::unordered_map<const void *, size_t> g_sizes;  // of what is outstanding
size_t g_allocations, g_releases;
size_t g_toFailure;  // 0: none to come
bool g_allFail, g_hasFailed;

void *allocate(size_t size, int fill) {
  ++g_allocations;
  const bool isNth = g_toFailure == 1;
  if (g_toFailure != 0) --g_toFailure;
  if (isNth || (g_allFail && g_hasFailed)) {
    g_hasFailed = true;
    return nullptr;
  }
  void *piece = std::malloc(size);
  if (piece == nullptr) return nullptr;
  std::memset(piece, fill, size);
  g_sizes.emplace(piece, size);
  return piece;
}

void *hookMalloc(size_t size) { return allocate(size, kFreshByte); }
void *hookCalloc(size_t count, size_t size) { return allocate(count * size, 0); }

void hookFree(void *piece) {
  ++g_releases;
  const auto found = g_sizes.find(piece);
  require(found != g_sizes.end());  // never given out, or given back twice
  std::memset(piece, kReleasedByte, found->second);
  g_sizes.erase(found);
  std::free(piece);
}

}  // namespace

void begin() {
  require(g_sizes.empty());
  require(NEB_XML_RegMemFunc(hookMalloc, hookCalloc, hookFree) == NEB_XML_OK);
  g_allocations = g_releases = 0;
  failNth(0);
}

bool holds(const void *piece) { return g_sizes.count(piece) != 0; }
size_t outstanding() { return g_sizes.size(); }
size_t allocations() { return g_allocations; }
size_t releases() { return g_releases; }

void failNth(size_t n, bool allAfter) {
  g_toFailure = n;
  g_allFail = allAfter;
  g_hasFailed = false;
}

bool hasFailed() { return g_hasFailed; }

}  // namespace hooks
