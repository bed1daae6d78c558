// Sessions while the allocator of the C library is in place: their blocks come out of regions.
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <thread>
#include <tuple>

#include "support/emulation.h"
#include "support/guarded_hooks.h"
#include "support/layout.h"
#include "support/trees.h"
#include "xml/memory/regions.h"
#include "xml/memory/session_table.h"

using namespace neb::xml::internal;

namespace {

struct Refused {
  bool advice, residency;
};
Refused g_refused = {};
std::atomic<size_t> g_advices = 0;  // that were followed

int refuse() {
  errno = ENOSYS;
  return -1;
}

}  // namespace

// In place of the C library's.
extern "C" int madvise(void *begin, size_t size, int advice) noexcept {
  if (g_refused.advice) return refuse();
  ++g_advices;
  return static_cast<int>(syscall(SYS_madvise, begin, size, advice));
}

extern "C" int mincore(void *begin, size_t size, unsigned char *states) noexcept {
  if (g_refused.residency) return refuse();
  return static_cast<int>(syscall(SYS_mincore, begin, size, states));
}

namespace {

// So that each region is mapped for itself, and none of it is in memory before.
class FreshMemory {
 public:
  FreshMemory() {
    mallopt(M_MMAP_THRESHOLD, 32 * 1024);
    mallopt(M_TOP_PAD, 0);
    malloc_trim(0);
    NEB_XML_RegMemFunc(std::malloc, std::calloc, std::free);
  }
  ~FreshMemory() { guarded::registerHooks(); }
  FreshMemory(const FreshMemory &) = delete;
  FreshMemory &operator=(const FreshMemory &) = delete;
};

// The comments, if there are any, make the end of the document take no memory.
std::string list(size_t items, size_t comments = 0) {
  std::string text = "<list>";
  for (size_t i = 0; i < items; ++i) {
    const std::string number = std::to_string(i);
    text += "<item number='" + number + "'><name>n&amp;" + number + "</name><note>" +
            std::string(i % 60, 't') + "</note></item>\n";
  }
  for (size_t i = 0; i < comments; ++i) text += "<!-- from here on there are only comments -->\n";
  return text + "</list>";
}

XmlNode *parsedBuffer(const std::string &text) {
  XmlNode *node = nullptr;
  EXPECT_EQ(NEB_XML_ParseBuffer(text.data(), text.size(), NEB_XML_PARSE_SESSION, &node, nullptr),
            kOk);
  return node;
}

void growBy(XmlNode *document, size_t items) {
  for (size_t i = 0; i < items; ++i) {
    XmlNode *item = nullptr;
    ASSERT_EQ(NEB_XML_CreateNodeEx(document->sessionId, NEB_XML_NODE_ELEMENT, nullptr, "added",
                                   nullptr, &item),
              kOk);
    ASSERT_EQ(NEB_XML_AppendChildNode(document, item), kOk);
    ASSERT_EQ(NEB_XML_SetNode(item, nullptr, nullptr, std::string(i % 900, 'v').c_str()), kOk);
  }
}

// Blocks, and the location of each node in them.
std::string layoutOf(const XmlNode *document) {
  const XmlMemSession &session = *findSession(document->sessionId);
  std::string layout;
  for (const XmlMemBlock *block = session.firstBlock; block; block = block->nextBlock) {
    layout += std::to_string(block->capacity) + "-" + std::to_string(block->remaining) + " ";
  }
  for (const auto &each : layout::inCopyOrder(document)) {
    layout += layout::locationIn(session, each.start) + " ";
  }
  return layout;
}

TEST(Regions, ChangeNothingButAddresses) {
  for (const size_t items : {1U, 30U, 300U, 3000U}) {
    std::string layouts[2];
    for (std::string &layout : layouts) {
      const bool hasRegions = &layout == &layouts[1];
      const auto memory = hasRegions ? std::make_unique<FreshMemory>() : nullptr;
      const trees::Held document = {parsedBuffer(list(items))};
      growBy(document, items);
      EXPECT_EQ(findSession(document->sessionId)->hasRegions, hasRegions);
      layout = layoutOf(document);
    }
    EXPECT_EQ(layouts[0], layouts[1]) << items;
  }
}

// A system may offer none of what regions use beyond malloc.
TEST(Regions, NeedNoCallOfTheSystem) {
  const std::string text = list(30000);
  const std::string path = trees::temporaryFile(text);
  std::string expected;
  for (unsigned refused = 0; refused < 4; ++refused) {
    const FreshMemory memory;
    g_refused = {(refused & 1) != 0, (refused & 2) != 0};
    g_advices = 0;
    XmlNode *node = nullptr;
    EXPECT_EQ(NEB_XML_ParseFileEx(path.c_str(), &node), kOk);
    const trees::Held loaded = {node};
    errno = 0;
    const trees::Held document = {parsedBuffer(text)};
    EXPECT_EQ(errno, 0) << refused;
    g_refused = {};
    EXPECT_EQ(g_advices == 0, (refused & 1) != 0) << "whether memory is mapped ahead";
    const std::string printed = trees::printed(document);
    EXPECT_EQ(printed, trees::printed(loaded)) << refused;
    if (refused == 0) expected = printed;
    EXPECT_EQ(printed, expected) << refused;
  }
}

void *(*const kCountedMalloc)(size_t) = [](size_t size) { return std::malloc(size); };
void *(*const kCountedCalloc)(size_t, size_t) = [](size_t count, size_t size) {
  return std::calloc(count, size);
};
size_t g_freed = 0;
void countedFree(void *memory) {
  ++g_freed;
  std::free(memory);
}

size_t regionsOf(const XmlNode *document) {
  size_t count = 0;
  const Region *region = &firstRegionOf(findSession(document->sessionId)->firstBlock);
  for (; region != nullptr; region = region->next) ++count;
  return count;
}

size_t blocksOf(const XmlNode *document) { return findSession(document->sessionId)->blockCount; }

// Allocators may be registered at any time. What is allocated before goes to the free hook of the
// moment, region by region, and what is allocated meanwhile block by block.
TEST(Regions, OutliveTheirAllocator) {
  const FreshMemory memory;
  XmlNode *document = parsedBuffer(list(2000));
  size_t blocksAlone = 0;
  for (int round = 0; round < 3; ++round) {
    growBy(document, 500);
    const size_t regions = regionsOf(document);
    const size_t blocks = blocksOf(document);
    NEB_XML_RegMemFunc(kCountedMalloc, kCountedCalloc, countedFree);
    growBy(document, 200);
    EXPECT_EQ(regionsOf(document), regions);
    blocksAlone += blocksOf(document) - blocks;
    NEB_XML_RegMemFunc(std::malloc, std::calloc, std::free);
  }
  growBy(document, 500);
  const size_t expected = regionsOf(document) + blocksAlone;
  EXPECT_GT(regionsOf(document), 3U);
  EXPECT_GT(blocksAlone, 3U);
  g_freed = 0;
  NEB_XML_RegMemFunc(kCountedMalloc, kCountedCalloc, countedFree);
  XmlNode *other = parsedBuffer(list(100));
  EXPECT_FALSE(findSession(other->sessionId)->hasRegions);
  NEB_XML_RegMemFunc(std::malloc, std::calloc, std::free);
  growBy(other, 500);
  NEB_XML_RegMemFunc(kCountedMalloc, kCountedCalloc, countedFree);
  const size_t before = g_freed;
  NEB_XML_FreeNode(document);
  EXPECT_EQ(g_freed - before, expected);
  const size_t blocksOfOther = blocksOf(other);
  NEB_XML_FreeNode(other);
  EXPECT_EQ(g_freed - before, expected + blocksOfOther);
}

// One hook of another allocator is enough for blocks to be allocated one by one.
TEST(Regions, NeedAllHooksOfTheLibrary) {
  const FreshMemory memory;
  using Hooks = std::tuple<void *(*)(size_t), void *(*)(size_t, size_t), void (*)(void *)>;
  for (const auto &[malloc, calloc, free] : {Hooks{kCountedMalloc, std::calloc, std::free},
                                             {std::malloc, kCountedCalloc, std::free},
                                             {std::malloc, std::calloc, countedFree}}) {
    NEB_XML_RegMemFunc(malloc, calloc, free);
    const trees::Held document = {parsedBuffer(list(100))};
    EXPECT_FALSE(findSession(document->sessionId)->hasRegions);
  }
}

// Its block is one of 256 MiB, of which sixteen have more bytes than 32 bits count.
TEST(Regions, HoldAnAllocationOf160MiB) {
  constexpr int32_t kSize = 160 * 1024 * 1024;
  const FreshMemory memory;
  const uint32_t session = XML_MemSessionBegin(1024);
  const auto *bytes = static_cast<const char *>(XML_MemSpecialMalloc(session, kSize));
  ASSERT_NE(bytes, nullptr);
  const Region *region = firstRegionOf(findSession(session)->firstBlock).last;
  EXPECT_GE(region->end - bytes, kSize);
  EXPECT_EQ(XML_MemSessionEnd(session), 1U);
}

// The allocator of a copy may be another than that of its source.
TEST(Regions, OfACopyDependOnTheHooksOfTheMoment) {
  for (const bool beginsHooked : {false, true}) {
    const FreshMemory memory;
    if (beginsHooked) guarded::registerHooks();
    const trees::Held document = {parsedBuffer(list(100))};
    if (!beginsHooked) guarded::registerHooks();
    if (beginsHooked) NEB_XML_RegMemFunc(std::malloc, std::calloc, std::free);
    XmlNode *copy = nullptr;
    ASSERT_EQ(NEB_XML_CloneNode(document, &copy), kOk);
    const XmlMemSession &session = *findSession(copy->sessionId);
    EXPECT_EQ(session.hasRegions, beginsHooked);
    EXPECT_EQ(beginsHooked ? firstRegionOf(session.firstBlock).expected : 0, 0U);
    EXPECT_EQ(trees::printed(copy), trees::printed(document));
    NEB_XML_FreeNode(copy);
    if (beginsHooked) guarded::registerHooks();
    if (!beginsHooked) NEB_XML_RegMemFunc(std::malloc, std::calloc, std::free);
  }
}

// Documents of several threads, each freed by another thread than the one that made it.
TEST(Regions, BelongToNoThread) {
  const FreshMemory memory;
  const std::string text = list(4000);
  std::vector<XmlNode *> documents(4);
  for (int round = 0; round < 4; ++round) {
    std::vector<XmlNode *> made(documents.size());
    std::vector<std::thread> threads;
    for (size_t i = 0; i < made.size(); ++i) {
      threads.emplace_back([&, i] {
        XML_FreeNode(documents[(i + 1) % documents.size()]);
        made[i] = parsedBuffer(text);
        growBy(made[i], 100);
      });
    }
    for (std::thread &thread : threads) thread.join();
    documents = made;
  }
  for (XmlNode *document : documents) NEB_XML_FreeNode(document);
}

// The status with which a child process ends that runs this.
template <typename Run>
int statusOf(Run run) {
  const pid_t child = fork();
  if (child == 0) _exit(run());
  int status = -1;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return status;
}

TEST(Regions, AreCopiedByFork) {
  const FreshMemory memory;
  const trees::Held document = {parsedBuffer(list(4000))};
  const std::string before = trees::printed(document);
  EXPECT_EQ(statusOf([&] {
              growBy(document, 1000);
              NEB_XML_FreeNode(document);
              XML_FreeNode(parsedBuffer(list(5000)));
              return 0;
            }),
            0);
  EXPECT_EQ(trees::printed(document), before);
}

#ifdef NEB_XML_SANITIZED

#if defined(__SANITIZE_ADDRESS__)
TEST(Regions, AreNotWrittenBetweenBlocks) {
  const FreshMemory memory;
  const trees::Held document = {parsedBuffer(list(100))};
  const XmlMemBlock *block = findSession(document->sessionId)->firstBlock->nextBlock;
  char *end = reinterpret_cast<char *>(const_cast<XmlMemBlock *>(block + 1)) + block->capacity;
  end[-1] = 0;
  EXPECT_DEATH(*end = 0, "use-after-poison");
}
#endif

#else

rlim_t addressSpace() {
  size_t pages = 0;
  FILE *file = std::fopen("/proc/self/statm", "r");
  if (file == nullptr || std::fscanf(file, "%zu", &pages) != 1) return 0;
  return pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
}

bool limitAddressSpace(rlim_t limit) {
  const rlimit limits = {limit, RLIM_INFINITY};
  return limit > 0 && setrlimit(RLIMIT_AS, &limits) == 0;
}

// Through a pointer, since a compiler may omit a call of malloc.
void *(*volatile const kMalloc)(size_t) = std::malloc;

void useUpFreeMemory() {
  constexpr size_t kLargest = size_t{4} * 1024 * 1024;
  for (size_t size = kLargest; size > 1; size /= 2) {
    while (kMalloc(size) != nullptr) continue;
  }
}

// Sanitizers map too much themselves.
TEST(Regions, FitIntoLittleAddressSpace) {
  if (kIsEmulated) GTEST_SKIP() << "an emulator does not limit memory";
  const FreshMemory memory;
  const std::string text = list(20000);
  constexpr rlim_t kStep = 512 * 1024;
  bool fits = false;
  size_t failures = 0;
  for (rlim_t room = 0; !fits; room += kStep) {
    ASSERT_LT(room, 100 * kStep);
    const int status = statusOf([&] {
      const rlim_t used = addressSpace();
      if (!limitAddressSpace(used)) return 2;
      useUpFreeMemory();
      if (!limitAddressSpace(used + room)) return 2;
      XmlNode *node = nullptr;
      const uint32_t result = NEB_XML_ParseEx(text.c_str(), &node);
      NEB_XML_FreeNode(node);
      return result == NEB_XML_OK ? 0 : 1;
    });
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) < 2) << room << ": " << status;
    fits = status == 0;
    if (!fits) ++failures;
  }
  EXPECT_GT(failures, 10U) << "less than what the tree takes";
}

size_t residentBytes(const char *begin, const char *end) {
  const auto pageSize = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  const auto address = reinterpret_cast<uintptr_t>(begin) / pageSize * pageSize;
  const size_t size = static_cast<size_t>(reinterpret_cast<uintptr_t>(end) - address);
  std::vector<unsigned char> states(size / pageSize + 1);
  // NOLINTNEXTLINE(performance-no-int-to-ptr)
  EXPECT_EQ(mincore(reinterpret_cast<void *>(address), size, states.data()), 0);
  return pageSize * static_cast<size_t>(std::count_if(states.begin(), states.end(),
                                                      [](auto state) { return (state & 1) != 0; }));
}

constexpr size_t kMore = 64 * 1024;

void expectLittleMoreThanBlocks(const XmlNode *document, size_t more) {
  const FirstRegion &first = firstRegionOf(findSession(document->sessionId)->firstBlock);
  size_t resident = 0;
  for (const Region *region = &first; region != nullptr; region = region->next) {
    resident += residentBytes(reinterpret_cast<const char *>(region), region->end);
  }
  EXPECT_GE(resident, first.held / 2);
  EXPECT_LE(resident, std::max(first.held + more, first.held / 100 * 115));
}

// A long string makes its block and all blocks behind it large.
TEST(Regions, AreFilledByLargeBlocksToo) {
  for (const size_t length : {300000U, 600000U, 1100000U, 2200000U}) {
    SCOPED_TRACE(length);
    const FreshMemory memory;
    const std::string text = list(500) + "<long>" + std::string(length, 'x') + "</long>";
    const trees::Held document = {parsedBuffer("<lists>" + text + list(90000) + "</lists>")};
    expectLittleMoreThanBlocks(document, kMore);
  }
}

// Memory is not taken for what has been removed from the source.
TEST(Regions, OfACopyAreNotLargerThanItNeeds) {
  constexpr size_t kTimes = 8 / sizeof(void *);  // so that they take as much everywhere
  for (const size_t items : {2000U, 20000U, 60000U}) {
    SCOPED_TRACE(items);
    const FreshMemory memory;
    const trees::Held document = {parsedBuffer(list(kTimes * items))};
    XmlNode *node = nullptr;
    ASSERT_EQ(NEB_XML_CloneNode(document, &node), kOk);
    const trees::Held whole = {node};
    expectLittleMoreThanBlocks(whole, kMore);
    for (size_t i = 50; i < kTimes * items; ++i) {
      NEB_XML_FreeNode(NEB_XML_GetNodeLastChild(document));
    }
    ASSERT_EQ(NEB_XML_CloneNode(document, &node), kOk);
    const trees::Held copy = {node};
    expectLittleMoreThanBlocks(copy, kMore);
  }
}

// What the header promises of the memory in use.
TEST(Regions, TakeLittleMoreThanTheirBlocks) {
  constexpr size_t kHugePages = 4 * 1024 * 1024;
  struct Case {
    size_t items, comments, more;
  };
  for (const Case &each : {Case{10, 0, kMore},
                           {1000, 0, kMore},
                           {4000, 0, kMore},
                           {9000, 0, kMore},
                           {14000, 0, kMore},
                           {20000, 0, kMore},
                           {60000, 0, kMore},
                           {60000, 100000, kHugePages}}) {
    const FreshMemory memory;
    const trees::Held document = {parsedBuffer(list(each.items, each.comments))};
    SCOPED_TRACE(each.items);
    expectLittleMoreThanBlocks(document, each.more);
  }
}

#endif

}  // namespace
