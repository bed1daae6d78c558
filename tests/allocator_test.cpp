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
#include "xml/parser/language.h"
#include "xml/parser/parser.h"

using namespace neb::xml::internal;

namespace {

// A caller's allocator. All that it has handed out comes back to it, once.
class OwnMemory {
 public:
  explicit OwnMemory(size_t failing = 0) : failing_(failing) {}
  ~OwnMemory() { EXPECT_TRUE(sizes_.empty()); }
  OwnMemory(const OwnMemory &) = delete;
  OwnMemory &operator=(const OwnMemory &) = delete;

  Allocator allocator(MemoryLimit *limit) { return {allocate, release, this, limit}; }
  void putInto(NEB_XML_READ_OPTIONS *options) {
    options->allocate = allocate;
    options->release = release;
    options->context = this;
  }
  size_t held() const { return held_; }
  size_t mostHeld() const { return mostHeld_; }
  bool hasFailed() const { return hasFailed_; }

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

// Reads strictly, from an allocator or from the hooks, within a limit unless that is 0.
uint32_t read(const std::string &text, OwnMemory *memory, size_t maxBytes, XmlNode **document) {
  NEB_XML_READ_OPTIONS options = {};
  options.size = sizeof options;
  options.maxBytes = maxBytes;
  if (memory != nullptr) memory->putInto(&options);
  return NEB_XML_Read(text.data(), text.size(), &options, document, nullptr);
}

// Has many blocks, more attributes than are compared one by one, more open elements than are noted
// at first, and values to decode.
std::string largeText(const char *end) {
  std::string text = "<p:a>" + tables::repeated("<p:b x='&lt;'><c>t&amp;</c></p:b>", 400);
  text += "<long>" + std::string(20000, 'v') + "</long>" + tables::repeated("<d>", 80) + "<e";
  for (int i = 0; i < 80; ++i) text += " q:n" + std::to_string(i) + "='&#49;'";
  return text + "/>" + tables::repeated("</d>", 80) + end;
}

const std::string kWhole = largeText("</p:a>");
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
  ASSERT_EQ(read(kWhole, &memory, 0, &document), kOk);
  XmlNode *copy = edited(document);
  EXPECT_EQ(trees::described(document), trees::described(expected));
  NEB_XML_FreeNode(document);
  EXPECT_EQ(trees::described(copy), trees::described(expectedCopy));
  EXPECT_GT(memory.held(), kLongValue.size());
  NEB_XML_FreeNode(copy);
}

TEST(Allocator, LeavesNodesOfTheHeapToTheHooks) {
  OwnMemory memory;
  XmlNode *document = nullptr;
  XmlNode *node = nullptr;
  ASSERT_EQ(read("<a/>", &memory, 0, &document), kOk);
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

// While a document is read, and while it is copied.
TEST(Allocator, MayFailAnyTime) {
  const NoHooks noHooks;
  for (const std::string &text : {kWhole, kMalformed}) {
    const uint32_t whole = text == kWhole ? kOk : kSyntax;
    bool hasFailed = true;
    for (size_t n = 1; hasFailed; ++n) {
      OwnMemory memory(n);
      XmlNode *document = nullptr, *copy = nullptr;
      const uint32_t result = read(text, &memory, SIZE_MAX, &document);
      EXPECT_EQ(document != nullptr, result == kOk);
      EXPECT_TRUE(result == whole || (memory.hasFailed() && result == kNoMemory)) << n;
      const bool isCopied = result == kOk && !memory.hasFailed();
      const size_t held = memory.held();
      const uint32_t copied = isCopied ? NEB_XML_CloneNode(document, &copy) : result;
      hasFailed = memory.hasFailed();
      EXPECT_TRUE(!isCopied || copied == (hasFailed ? kNoMemory : kOk)) << n;
      EXPECT_EQ(memory.held() == held, copy == nullptr) << n;
      NEB_XML_FreeNode(copy);
      NEB_XML_FreeNode(document);
      ASSERT_EQ(memory.held(), 0U) << n;
    }
  }
}

// Reads with a limit, from an allocator or from the hooks. Returns the most that was held.
size_t readWithin(size_t limit, const std::string &text, bool isOwn, uint32_t expected) {
  guarded::begin();
  OwnMemory memory;
  XmlNode *document = nullptr;
  EXPECT_EQ(read(text, isOwn ? &memory : nullptr, limit, &document), expected) << limit;
  const size_t mostHeld = isOwn ? memory.mostHeld() : guarded::mostHeld();
  EXPECT_EQ(isOwn ? guarded::allocations() : memory.mostHeld(), 0U);
  if (expected == kOk) NEB_XML_FreeNode(edited(document));  // beyond any limit
  NEB_XML_FreeNode(document);
  EXPECT_EQ(guarded::outstanding() + memory.held(), 0U);
  return mostHeld;
}

TEST(MemoryLimit, IsExactWhileADocumentIsRead) {
  for (const bool isOwn : {false, true}) {
    for (const std::string &text : {kWhole, kMalformed, std::string("<a><b/></a>")}) {
      const uint32_t whole = text == kMalformed ? kSyntax : kOk;
      const size_t most = readWithin(SIZE_MAX, text, isOwn, whole);
      EXPECT_GT(most, text.size());
      EXPECT_EQ(readWithin(most, text, isOwn, whole), most);
      for (size_t below = 1; below < most; below = 2 * below + 1) {
        EXPECT_LE(readWithin(most - below, text, isOwn, NEB_XML_ERR_LIMIT), most - below);
      }
    }
  }
}

// Without its length, a file is read in steps. Each copies what is there.
TEST(MemoryLimit, CountsTheStepsOfLoading) {
  const std::string path = trees::temporaryFile(kWhole + std::string(100000, ' '));
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

// Whoever frees says the size again. Decoded names are shorter than their memory.
TEST(MemoryLimit, ForgetsWhatIsFreed) {
  const std::string names = "<&#65;&#x3A;a q:&#110;='1' &#109;='&#49;'/><&amp;#65;:f/>";
  for (const std::string &text : {kWhole, kMalformed, names + "<a>"}) {
    OwnMemory memory;
    MemoryLimit limit(SIZE_MAX);
    ReadRequest request;
    request.withSession = true;
    request.allocator = memory.allocator(&limit);
    XmlNode *document = nullptr;
    EXPECT_EQ(parseDocument<LenientLanguage>(text.c_str(), request, &document),
              text == kWhole ? kOk : kSyntax);
    EXPECT_EQ(limit.held(), memory.held());
    const size_t held = limit.held();
    {
      CheckingBuilder builder(request.allocator);
      Tokenizer<CheckingBuilder> tokenizer(&builder, text.c_str());
      EXPECT_EQ(tokenizer.skipProlog() && tokenizer.readAll(), text == kWhole);
      EXPECT_GT(limit.held(), held);
    }
    EXPECT_EQ(limit.held(), held);
    NEB_XML_FreeNode(document);
  }
}

TEST(MemoryLimit, KeepsSessionsFromRegions) {
  const guarded::UnclearedMemory memory;
  XmlNode *document = nullptr;
  ASSERT_EQ(read(kWhole, nullptr, SIZE_MAX, &document), kOk);
  EXPECT_FALSE(findSession(document->sessionId)->hasRegions);
  const trees::Held copy = {edited(document)};
  EXPECT_TRUE(findSession(copy->sessionId)->hasRegions);
  NEB_XML_FreeNode(document);
}

}  // namespace
