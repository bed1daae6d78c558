// Documents whose memory comes from an allocator of their own, and limits while they are read.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unordered_map>

#include "support/guarded_hooks.h"
#include "support/tables.h"
#include "support/trees.h"
#include "xml/memory/session_table.h"
#include "xml/parser/checking_builder.h"
#include "xml/parser/parser.h"
#include "xml/parser/reasons.h"
#include "xml/parser/tokenizer.h"

using namespace neb::xml::internal;

namespace {

// A caller's allocator. All that it has handed out comes back to it, once.
class OwnMemory {
 public:
  explicit OwnMemory(size_t failing = 0) : failing_(failing) {}
  ~OwnMemory() { EXPECT_TRUE(sizes_.empty()); }
  OwnMemory(const OwnMemory &) = delete;
  OwnMemory &operator=(const OwnMemory &) = delete;

  Allocator allocator(MemoryLimit *limit = nullptr) { return {allocate, release, this, limit}; }
  size_t held() const { return held_; }
  size_t mostHeld() const { return mostHeld_; }
  bool hasFailed() const { return hasFailed_; }

  // The n-th allocation from now fails; 0: none fails.
  void failNth(size_t n) {
    failing_ = n;
    hasFailed_ = false;
  }

 private:
  static void *allocate(void *context, size_t size) {
    auto &self = *static_cast<OwnMemory *>(context);
    self.hasFailed_ |= self.failing_ == 1;
    if (self.failing_ != 0 && --self.failing_ == 0) return nullptr;
    void *memory = std::malloc(size);
    std::memset(memory, '#', size);
    self.sizes_.emplace(memory, size);
    self.held_ += size;
    self.mostHeld_ = std::max(self.mostHeld_, self.held_);
    return memory;
  }

  static void release(void *context, void *memory) {
    auto &self = *static_cast<OwnMemory *>(context);
    const auto found = self.sizes_.extract(memory);
    ASSERT_FALSE(found.empty());
    self.held_ -= found.mapped();
    std::free(memory);
  }

  std::unordered_map<const void *, size_t> sizes_;
  size_t held_ = 0, mostHeld_ = 0, failing_;
  bool hasFailed_ = false;
};

// While it lives, a call of an allocation hook ends the program.
struct NoHooks {
  NoHooks() {
    NEB_XML_RegMemFunc([](size_t) -> void * { std::abort(); },
                       [](size_t, size_t) -> void * { std::abort(); },
                       [](void *) { std::abort(); });
  }
  ~NoHooks() { guarded::registerHooks(); }
};

// What a reading function does with a buffer.
uint32_t readBuffer(const std::string &text, const Allocator &allocator, XmlNode **document) {
  LoadedDocument loaded(allocator);
  if (!loaded.copy(text.data(), text.size())) return kNoMemory;
  ReadRequest request;
  request.withSession = true;
  request.allocator = allocator;
  const uint32_t result = parseDocument(loaded.text(), request, document);
  if (result != kSyntax) return result;
  CheckingBuilder builder(allocator);
  Tokenizer<CheckingBuilder> tokenizer(&builder, loaded.text());
  const bool isWellFormed = tokenizer.skipProlog() && tokenizer.readAll();
  return isWellFormed || builder.failure().reason == reasons::kNoMemory ? kNoMemory : kSyntax;
}

// Has many blocks, more attributes than are compared one by one, more open elements than are noted
// at first, and names and values to decode.
std::string largeText(const char *end) {
  const std::string content = "<p:b x='&lt;'><c>t&amp;</c></p:b>";
  std::string text = "<&#65;&#x3A;a>" + tables::repeated(content, 400);
  text += "<long>" + std::string(20000, 'v') + "</long>" + tables::repeated("<d>", 80) + "<e";
  for (int i = 0; i < 80; ++i) text += " q:&#110;" + std::to_string(i) + "='&#49;'";
  return text + "/><&amp;#65;:f/>" + tables::repeated("</d>", 80) + end;
}

const std::string kWhole = largeText("</A:a>");
const std::string kMalformed = largeText("</other>");
const std::string kLongValue(30000, 'w');

XmlNode *edited(XmlNode *document) {
  XmlNode *node = nullptr;
  XmlNode *copy = nullptr;
  XmlNode *first = NEB_XML_GetNodeFirstChild(document);
  const uint32_t session = document->sessionId;
  EXPECT_EQ(NEB_XML_CreateNodeEx(session, NEB_XML_NODE_ELEMENT, "p", "n", "v", &node), kOk);
  EXPECT_EQ(NEB_XML_AppendChildNode(document, node), kOk);
  EXPECT_EQ(NEB_XML_SetNode(node, nullptr, "renamed", kLongValue.c_str()), kOk);
  EXPECT_EQ(NEB_XML_AddAttr(first, "p", "attribute", kLongValue.c_str()), kOk);
  EXPECT_EQ(NEB_XML_ImportNode(node, document, &copy), kOk);
  EXPECT_EQ(NEB_XML_AddFirstChildNode(node, copy), kOk);
  EXPECT_EQ(NEB_XML_RemoveNode(first), kOk);
  EXPECT_EQ(NEB_XML_CloneNode(document, &copy), kOk);
  EXPECT_EQ(NEB_XML_SetNode(copy, nullptr, "copy", kLongValue.c_str()), kOk);
  return copy;
}

TEST(Allocator, IsAllThatADocumentUses) {
  const trees::Held expected = {trees::parsed(kWhole)};
  const trees::Held expectedCopy = {edited(expected)};
  const NoHooks noHooks;
  OwnMemory memory;
  XmlNode *document = nullptr;
  ASSERT_EQ(readBuffer(kWhole, memory.allocator(), &document), kOk);
  XmlNode *copy = edited(document);
  EXPECT_EQ(trees::described(document), trees::described(expected));
  NEB_XML_FreeNode(document);
  EXPECT_EQ(trees::described(copy), trees::described(expectedCopy));
  EXPECT_GT(memory.held(), kLongValue.size());
  NEB_XML_FreeNode(copy);
}

// Each call that makes nodes of the heap or frees them uses the hooks, as in any other document.
TEST(Allocator, LeavesNodesOfTheHeapToTheHooks) {
  OwnMemory memory;
  XmlNode *document = nullptr;
  XmlNode *node = nullptr;
  ASSERT_EQ(readBuffer("<a/>", memory.allocator(), &document), kOk);
  ASSERT_EQ(guarded::allocations(), 0U);
  ASSERT_EQ(NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, "p", "heap", "value", &node), kOk);
  const size_t ofNode = guarded::outstanding();
  const size_t held = memory.held();
  ASSERT_EQ(NEB_XML_AppendChildNode(document, node), kOk);
  EXPECT_EQ(NEB_XML_AddAttr(node, nullptr, "x", kLongValue.c_str()), kOk);
  EXPECT_EQ(NEB_XML_SetNode(node, nullptr, "renamed", nullptr), kOk);
  EXPECT_EQ(guarded::outstanding(), ofNode);
  EXPECT_GT(memory.held(), held + kLongValue.size());
  NEB_XML_FreeNode(document);
  EXPECT_EQ(guarded::outstanding(), 0U);
}

TEST(Allocator, MayFailAnyTime) {
  const NoHooks noHooks;
  for (const std::string &text : {kWhole, kMalformed}) {
    const uint32_t whole = text == kWhole ? kOk : kSyntax;
    bool hasFailed = true;
    for (size_t n = 1; hasFailed; ++n) {
      OwnMemory memory(n);
      MemoryLimit limit(SIZE_MAX);
      XmlNode *document = nullptr;
      const uint32_t result = readBuffer(text, memory.allocator(&limit), &document);
      hasFailed = memory.hasFailed();
      EXPECT_TRUE(result == whole || (hasFailed && result == kNoMemory)) << n << ' ' << result;
      EXPECT_EQ(document != nullptr, result == kOk);
      EXPECT_FALSE(limit.wasExceeded());
      EXPECT_EQ(limit.held(), memory.held()) << n;
      NEB_XML_FreeNode(document);
      ASSERT_EQ(memory.held(), 0U) << n;
    }
  }
}

TEST(Allocator, MayFailInACopy) {
  const NoHooks noHooks;
  OwnMemory memory;
  XmlNode *document = nullptr;
  ASSERT_EQ(readBuffer(kWhole, memory.allocator(), &document), kOk);
  const size_t held = memory.held();
  XmlNode *copy = nullptr;
  for (size_t n = 1; copy == nullptr; ++n) {
    memory.failNth(n);
    const uint32_t result = NEB_XML_CloneNode(document, &copy);
    ASSERT_EQ(result, memory.hasFailed() ? kNoMemory : kOk);
    ASSERT_EQ(memory.held() == held, result != kOk);
  }
  memory.failNth(0);
  NEB_XML_FreeNode(copy);
  NEB_XML_FreeNode(document);
}

// Reads with a limit, from an allocator or from the hooks. Returns the most that was held.
size_t readWithin(MemoryLimit *limit, const std::string &text, bool isOwn, uint32_t expected) {
  guarded::begin();
  OwnMemory memory;
  const Allocator allocator = isOwn ? memory.allocator(limit) : Allocator{{}, {}, {}, limit};
  XmlNode *document = nullptr;
  const uint32_t result = readBuffer(text, allocator, &document);
  const size_t mostHeld = isOwn ? memory.mostHeld() : guarded::mostHeld();
  EXPECT_TRUE(result == expected || (limit->wasExceeded() && result == kNoMemory)) << result;
  EXPECT_EQ(isOwn ? guarded::allocations() : memory.mostHeld(), 0U);
  if (result == kOk) NEB_XML_FreeNode(edited(document));  // beyond any limit
  NEB_XML_FreeNode(document);
  EXPECT_EQ(guarded::outstanding() + memory.held(), 0U);
  return mostHeld;
}

TEST(MemoryLimit, IsExactWhileADocumentIsRead) {
  for (const bool isOwn : {false, true}) {
    for (const std::string &text : {kWhole, kMalformed, std::string("<a><b/></a>")}) {
      const uint32_t whole = text == kMalformed ? kSyntax : kOk;
      MemoryLimit none(SIZE_MAX);
      const size_t most = readWithin(&none, text, isOwn, whole);
      EXPECT_GT(most, text.size());
      for (size_t below = 1; below < most; below = 2 * below + 1) {
        MemoryLimit limit(most - below);
        EXPECT_LE(readWithin(&limit, text, isOwn, whole), most - below);
        EXPECT_TRUE(limit.wasExceeded()) << below;
      }
      MemoryLimit enough(most);
      EXPECT_EQ(readWithin(&enough, text, isOwn, whole), most);
      EXPECT_FALSE(enough.wasExceeded());
    }
  }
}

// Without its length, a file is read in steps. Each copies what is there.
TEST(MemoryLimit, CountsTheStepsOfLoading) {
  const std::string path = trees::temporaryFile(kWhole + kWhole + kWhole);
  NEB_XML_RegFileFunc(std::fopen, std::fseek, std::fclose, std::fread, nullptr);
  const auto load = [&](size_t most, size_t failing, uint32_t expected) {
    OwnMemory memory(failing);
    MemoryLimit limit(most);
    {
      const Allocator allocator = memory.allocator(&limit);
      LoadedDocument loaded(allocator);
      EXPECT_EQ(loaded.loadToEnd(path.c_str()), expected) << most << ' ' << failing;
      EXPECT_EQ(limit.wasExceeded(), expected == kNoMemory && failing == 0);
      EXPECT_EQ(limit.held(), memory.held());
    }
    EXPECT_EQ(memory.held(), 0U);
    return memory.mostHeld();
  };
  const size_t most = load(SIZE_MAX, 0, kOk);
  EXPECT_EQ(load(most, 0, kOk), most);
  EXPECT_LT(load(most - 1, 0, kNoMemory), most);
  for (const size_t failing : {1U, 2U}) load(most, failing, kNoMemory);
}

// It would be a limit of regions if the session had them.
TEST(MemoryLimit, KeepsSessionsFromRegions) {
  const guarded::UnclearedMemory memory;
  MemoryLimit limit(SIZE_MAX);
  XmlNode *document = nullptr;
  ASSERT_EQ(readBuffer(kWhole, {nullptr, nullptr, nullptr, &limit}, &document), kOk);
  EXPECT_FALSE(findSession(document->sessionId)->hasRegions);
  const trees::Held copy = {edited(document)};
  EXPECT_TRUE(findSession(copy->sessionId)->hasRegions);
  NEB_XML_FreeNode(document);
}

}  // namespace
