// Hooks, sessions and the text buffer.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <tuple>

#include "support/guarded_hooks.h"
#include "support/trees.h"
#include "xml/memory/hooks.h"
#include "xml/memory/session_allocator.h"
#include "xml/memory/session_table.h"
#include "xml/record/node.h"

using namespace neb::xml::internal;

namespace {

std::vector<void *> g_released;
void (*g_guardedFree)(void *);

// While it lives, what goes to the free hook is written down.
struct Recording {
  Recording() {
    g_released.clear();
    g_guardedFree = g_fnXMLFree;
    NEB_XML_RegMemFunc(g_fnXMLMalloc, g_fnXMLCalloc, [](void *piece) {
      g_released.push_back(piece);
      g_guardedFree(piece);
    });
  }
  ~Recording() { guarded::registerHooks(); }
};

// Attributes, children, and then its own.
void addPieces(const XmlNode *node, std::vector<void *> *pieces) {
  if (node->type != NEB_XML_NODE_ATTRIBUTE) {
    for (const XmlNode *each : {+node->firstAttr, +node->firstChild}) {
      for (; each != nullptr; each = each->next) addPieces(each, pieces);
    }
  }
  if (node->nameOwned == 1) pieces->push_back(node->name);
  if (node->value != nullptr) pieces->push_back(node->value);
  if (node->prefix != nullptr) pieces->push_back(node->prefix);
  pieces->push_back(const_cast<XmlNode *>(node));
}

TEST(Hooks, GetPiecesBackInOrder) {
  XmlNode *document =
      trees::parsed("<p:d a='1' q:b='2'><x c='3'>t</x><r:y><z e=''/></r:y></p:d>", false);
  EXPECT_EQ(NEB_XML_AddAttr(document, "q", "interned", "value"), kOk);
  std::vector<void *> expected;
  addPieces(document, &expected);
  const uint32_t session = XML_MemSessionBegin(1);
  for (int size = 1; size < 2000; size *= 2) {
    EXPECT_NE(XML_MemSpecialMalloc(session, size), nullptr);
  }
  for (XmlMemBlock *block = findSession(session)->firstBlock; block; block = block->nextBlock) {
    expected.push_back(block);
  }
  const Recording recording;
  NEB_XML_FreeNode(document);
  EXPECT_EQ(XML_MemSessionEnd(session), 1U);
  EXPECT_EQ(g_released, expected);
  EXPECT_EQ(expected.size(), 37U);
}

TEST(Hooks, RegistrationIsAllOrNothing) {
  void *piece = XML_Malloc(nullptr, 1);
  auto *const mallocHook = g_fnXMLMalloc;
  auto *const callocHook = g_fnXMLCalloc;
  const Recording recording;
  auto *const freeHook = g_fnXMLFree;
  EXPECT_EQ(NEB_XML_RegMemFunc(nullptr, std::calloc, std::free), kInvalid);
  EXPECT_EQ(NEB_XML_RegMemFunc(std::malloc, nullptr, std::free), kInvalid);
  EXPECT_EQ(NEB_XML_RegMemFunc(std::malloc, std::calloc, nullptr), kInvalid);
  EXPECT_TRUE(g_fnXMLMalloc == mallocHook && g_fnXMLCalloc == callocHook);
  EXPECT_TRUE(g_fnXMLFree == freeHook);
  NEB_XML_FreeMem(nullptr);
  NEB_XML_FreeMem(piece);
  EXPECT_EQ(g_released, std::vector<void *>{piece}) << "goes to the hook of the moment";

  EXPECT_EQ(NEB_XML_RegFileFunc(nullptr, std::fseek, std::fclose, std::fread, nullptr), kInvalid);
  EXPECT_EQ(NEB_XML_RegFileFunc(std::fopen, nullptr, std::fclose, std::fread, nullptr), kInvalid);
  EXPECT_EQ(NEB_XML_RegFileFunc(std::fopen, std::fseek, nullptr, std::fread, nullptr), kInvalid);
  EXPECT_EQ(NEB_XML_RegFileFunc(std::fopen, std::fseek, std::fclose, nullptr, nullptr), kInvalid);
  FILE *stream = XML_Fopen(trees::temporaryFile("text").c_str(), "rb");
  EXPECT_EQ(guarded::openStreams(), 1U) << "the hooks are those that were";
  char letter = '-';
  EXPECT_TRUE(XML_Fseek(stream, 2, SEEK_SET) == 0 && XML_Ftell(stream) == 2);
  EXPECT_TRUE(XML_Fread(&letter, 1, 1, stream) == 1 && letter == 'x');
  EXPECT_EQ(XML_Fclose(stream), 0);
  EXPECT_EQ(NEB_XML_RegDebugFunc(nullptr), kNotFound);
}

// The number of the header and the string of the library, in 14 bytes.
TEST(Version, IsThatOfTheHeader) {
  const std::string version = "NEB XML " + std::to_string(NEB_XML_VERSION / 10000) + '.' +
                              std::to_string(NEB_XML_VERSION / 100 % 100) + '.' +
                              std::to_string(NEB_XML_VERSION % 100) + '\0';
  for (const uint32_t size : {0U, 1U, 13U, 14U, 15U, 100U}) {
    std::string buffer(100, '#');
    const uint32_t result = size < 14 ? uint32_t{NEB_XML_ERR_BUFFER_TOO_SMALL} : kOk;
    EXPECT_EQ(NEB_XML_GetVersion(buffer.data(), size), result) << size;
    const std::string banner = size < 14 ? "" : version;
    EXPECT_EQ(buffer, banner + std::string(100 - banner.size(), '#')) << size;
  }
  EXPECT_EQ(NEB_XML_GetVersion(nullptr, 100), kInvalid);
}

TEST(Session, RefusesWhatItCannotGive) {
  for (const int32_t size : {0, -1, INT32_MIN}) EXPECT_EQ(XML_MemSessionBegin(size), 0U) << size;
  const uint32_t session = XML_MemSessionBegin(3);
  static std::vector<size_t> asked;
  const auto refuse = [](size_t count, size_t size) -> void * {
    asked.push_back(count * size);
    return nullptr;
  };
  NEB_XML_RegMemFunc(std::malloc, refuse, std::free);
  constexpr int32_t kDoubled = 3 * (1 << 29);
  constexpr size_t kHeader = sizeof(XmlMemBlock);
  for (const int32_t size : {0, -1, INT32_MIN, kDoubled - 1, kDoubled + 1, INT32_MAX}) {
    EXPECT_EQ(XML_MemSpecialMalloc(session, size), nullptr) << size;
  }
  EXPECT_EQ(asked,
            (std::vector<size_t>{kHeader + kDoubled, kHeader + kDoubled + 1, kHeader + INT32_MAX}));
  guarded::registerHooks();
  EXPECT_NE(XML_MemSpecialMalloc(session, 3), nullptr);
  for (const uint32_t handle : {0U, session + 1, session + 64, session ^ 0x80000000U}) {
    EXPECT_TRUE(XML_MemSpecialMalloc(handle, 1) == nullptr && XML_MemSessionEnd(handle) == 0);
  }
  XmlNode *node = XML_NewNode(session, NEB_XML_NODE_DOCUMENT);
  for (const uint64_t size : {uint64_t{1} << 31U, (uint64_t{1} << 32U) + 8}) {
    if (size > SIZE_MAX) continue;
    EXPECT_EQ(XML_Malloc(node, static_cast<size_t>(size)), nullptr);
  }
  EXPECT_EQ(XML_Strdup(node, ""), nullptr);
  XML_Free(node, nullptr);
  EXPECT_EQ(XML_MemSessionEnd(session), 1U);
}

// Such an allocation ends where addresses of 32 bits begin again.
TEST(Session, RefusesWhatWouldEndBehindTheLastAddress) {
  const uint32_t session = XML_MemSessionBegin(8192);
  SessionAllocator allocator(*findSession(session));
  const auto next = reinterpret_cast<uintptr_t>(allocator.allocateTogether(1, 1)) + 1;
  const size_t size = UINT32_MAX - (next & UINT32_MAX) + 1;
  EXPECT_EQ(allocator.allocateTogether(size, size), nullptr);
  EXPECT_EQ(allocator.allocateTogether(1, size), nullptr);
  allocator.save();
  EXPECT_EQ(XML_MemSessionEnd(session), 1U);
}

TEST(Session, AHundredThousandAtOnceAndNoHandleComesBackToLife) {
  std::mt19937 random(4);
  std::vector<uint32_t> handles;
  while (handles.size() < 100000) {
    const size_t outstanding = guarded::outstanding();
    const guarded::FailingAllocation failing(1 + random() % 3);
    const uint32_t handle = XML_MemSessionBegin(8);
    ASSERT_EQ(handle == 0, failing.happened());
    ASSERT_TRUE(handle != 0 || guarded::outstanding() == outstanding) << "what it took is left";
    if (handle == 0) continue;
    std::memcpy(XML_MemSpecialMalloc(handle, 4), &handle, 4);
    handles.push_back(handle);
  }
  std::vector<uint32_t> sorted = handles;
  std::sort(sorted.begin(), sorted.end());
  EXPECT_TRUE(std::adjacent_find(sorted.begin(), sorted.end()) == sorted.end());
  std::shuffle(handles.begin(), handles.end(), random);
  std::vector<uint32_t> fresh;
  for (size_t i = 0; i < handles.size(); ++i) {
    auto *piece = static_cast<char *>(XML_MemSpecialMalloc(handles[i], 4));
    ASSERT_TRUE(piece != nullptr && std::memcmp(piece - 4, &handles[i], 4) == 0);
    ASSERT_EQ(XML_MemSessionEnd(handles[i]), 1U);
    if (i % 10 == 0) fresh.push_back(XML_MemSessionBegin(8));
    ASSERT_TRUE(XML_MemSessionEnd(handles[i]) == 0 && XML_MemSessionEnd(handles[i / 2]) == 0);
    ASSERT_TRUE(XML_NewNode(handles[i / 2], 0) == nullptr);
  }
  for (const uint32_t handle : fresh) EXPECT_EQ(XML_MemSessionEnd(handle), 1U);
  EXPECT_EQ(guarded::outstanding(), 0U);
}

// The table keeps what it needs, and what it would need at once if one more was opened.
TEST(Session, OneOfManyKeepsLittleMemory) {
  constexpr size_t kMany = 547;
  for (size_t kept = 0; kept < kMany; kept += 13) {
    std::vector<uint32_t> handles(kMany);
    for (uint32_t &handle : handles) handle = XML_MemSessionBegin(8);
    std::swap(handles[kept], handles.back());
    for (size_t i = 0; i < kMany - 1; ++i) EXPECT_EQ(XML_MemSessionEnd(handles[i]), 1U);
    EXPECT_LE(guarded::outstanding(), 3U) << "a block and two levels of the table";
    EXPECT_EQ(XML_MemSessionEnd(handles.back()), 1U);
    EXPECT_EQ(guarded::outstanding(), 0U);
  }
}

// What a buffer must hold. An operation asks for the roomy capacity, unless it has that, and where
// memory is short for what is needed.
struct BufferModel {
  std::string text;
  size_t capacity = 0;

  uint32_t replace(size_t from, size_t count, const std::string &by, size_t failures) {
    constexpr size_t kGrowStep = 1024;
    if (from > text.size()) return kInvalid;
    const size_t wanted = text.size() - count + by.size();
    const bool grows = wanted >= text.size();
    if (grows ? capacity < wanted : capacity - wanted > kGrowStep) {
      if (failures > 1) return kNoMemory;
      const size_t roomy =
          (grows ? capacity + std::max(wanted - text.size(), kGrowStep) : wanted + kGrowStep);
      capacity = failures == 1 ? wanted : roomy;
    }
    text.replace(from, count, by);
    return kOk;
  }
};

uint32_t apply(char operation, XmlMemBuf *buffer, const char *text, size_t count, size_t from) {
  const auto number = static_cast<uint32_t>(count);
  return operation == '='   ? XML_MemBufAssign(buffer, text, number)
         : operation == 's' ? XML_MemBufAssignStr(buffer, text)
         : operation == '+' ? XML_MemBufAppendStr(buffer, text)
         : operation == '1' ? XML_MemBufAppend(buffer, text)
                            : XML_MemBufInsert(buffer, text, number, static_cast<uint32_t>(from));
}

TEST(Buffer, GrowsAndShrinksOrKeepsEverythingWhenMemoryRunsOut) {
  std::mt19937 random(17);
  for (size_t round = 0; round < 2000; ++round) {
    XmlMemBuf buffer;
    XML_MembufInit(&buffer);
    BufferModel model;
    for (char letter = 'a'; letter <= 'z'; ++letter) {
      // Lengths around those at which the capacity changes.
      const size_t held = model.text.size();
      const size_t sizes[] = {0, 1024, 3000, model.capacity - held, model.capacity + 1022};
      std::string text(sizes[random() % std::size(sizes)] % 20000 + random() % 3, letter);
      const size_t failures = random() % 2 == 0 ? 0 : random() % 3;
      const char operation = "=s+1i"[random() % 5];
      if (operation == '1') text = std::string(1, letter) + "-";
      const size_t count = operation == '1' ? 1 : text.size();
      const bool isWhole = operation == '=' || operation == 's';
      const size_t from = isWhole ? 0 : operation == 'i' ? random() % (held + 2) : held;
      const uint32_t expected =
          model.replace(from, isWhole ? held : 0, text.substr(0, count), failures);
      const guarded::FailingAllocation failing(failures == 0 ? 0 : 1, failures == 2);
      ASSERT_EQ(apply(operation, &buffer, text.c_str(), count, from), expected);
      ASSERT_TRUE(buffer.length == model.text.size() && buffer.capacity == model.capacity);
      ASSERT_EQ(buffer.data == nullptr ? "" : std::string(buffer.data), model.text);
    }
    XML_MembufDestroy(&buffer);
  }
}

// Lengths near 32 bits are only claimed: the operation must fail before it touches a byte.
TEST(Buffer, RefusesLengthsBeyond32BitsAndWrongArguments) {
  constexpr uint32_t kMost = UINT32_MAX;
  const std::tuple<char, uint32_t, uint32_t, uint32_t, size_t> rows[] = {
      {'+', 3, kMost - 2, kMost - 2, 0}, {'1', 1, kMost, kMost, 0},
      {'i', kMost, 2, 1024, 0},          {'i', 1, kMost, kMost, 0},
      {'1', 1, kMost - 1, kMost - 1, 1}, {'+', 2, kMost - 1500, kMost - 1500, 2},
      {'i', kMost - 5, 5, 5, 2},         {'=', kMost, 5, 5, 2}};
  for (const auto &[operation, count, length, capacity, attempts] : rows) {
    char byte = 'k';
    XmlMemBuf buffer = {&byte, length, capacity, 1024};
    const std::string text(operation == 'i' || operation == '=' ? 0 : count, 'n');
    const guarded::FailingAllocation failing(1, true);
    const size_t allocations = guarded::allocations();
    // What no object can be as large as is not requested.
    const size_t requested = sizeof(size_t) > sizeof(uint32_t) ? attempts : 0;
    EXPECT_EQ(apply(operation, &buffer, text.c_str(), count, 0), kNoMemory) << operation << count;
    EXPECT_EQ(guarded::allocations() - allocations, requested) << operation << count;
    EXPECT_TRUE(buffer.data == &byte && buffer.length == length && buffer.capacity == capacity);
  }
  XmlMemBuf buffer;
  XML_MembufInit(&buffer);
  ASSERT_EQ(XML_MemBufAssign(&buffer, "ooo", 3), kOk);
  for (XmlMemBuf *each : {&buffer, static_cast<XmlMemBuf *>(nullptr)}) {
    const uint32_t result = each == nullptr ? kInvalid : kOk;
    EXPECT_EQ(XML_MemBufInsert(each, "x", 1, 4), kInvalid);
    for (const char keeping : {'i', '1', '+'}) {
      EXPECT_EQ(apply(keeping, each, nullptr, 1, 3), result);
    }
    EXPECT_STREQ(buffer.data, each == nullptr ? nullptr : "ooo");
    for (const char whole : {'s', '='}) EXPECT_EQ(apply(whole, each, nullptr, 7, 0), result);
    EXPECT_TRUE(buffer.data == nullptr && buffer.length + buffer.capacity == 0);
    XML_MembufInit(each);
    XML_MembufDestroy(each);
  }
}

}  // namespace
