// Every allocation and every file call of a scenario fails in turn: some call tells so, each keeps
// its promises, and what is left can be used and freed.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <vector>

#include "support/guarded_hooks.h"
#include "support/kernels.h"
#include "support/trees.h"
#include "xml/memory/session_table.h"
#include "xml/record/node.h"

using namespace neb::xml::internal;

namespace {
constexpr uint32_t kElement = NEB_XML_NODE_ELEMENT;

constexpr char kText[] = "<doc x='1' y='2'><b q:z='&lt;'>t</b><c/></doc>";

// Too long for two of them to fit into one block of a session.
const std::string kLongText(5000, 'v');
const char *const kLong = kLongText.c_str();

// A document and the calls on it, of which any may fail for want of memory.
class Work {
 public:
  XmlNode *document = nullptr;
  bool hasFailed = false;

  Work(const char *text, bool withSession) {
    if (text == nullptr) return;
    document = trees::parsed(text, withSession);
    fillBlocks();
  }
  ~Work() {
    for (XmlNode *node : loose_) NEB_XML_FreeNode(node);
    XML_FreeNode(document);
  }
  Work(const Work &) = delete;
  Work &operator=(const Work &) = delete;

  bool check(uint32_t result, uint32_t failure = kNoMemory, uint32_t otherFailure = kNoMemory) {
    EXPECT_TRUE(result == kOk || result == failure || result == otherFailure) << result;
    hasFailed |= result != kOk;
    fillBlocks();
    return result == kOk;
  }

  // A call that changes all it is to change, or nothing.
  template <typename Call>
  bool change(Call call, uint32_t failure = kNoMemory) {
    const std::string before = trees::described(document);
    if (check(call(), failure)) return true;
    EXPECT_EQ(trees::described(document), before);
    return false;
  }

  // The node that a call makes, or null.
  template <typename Call>
  XmlNode *make(Call call) {
    XmlNode *const untouched = reinterpret_cast<XmlNode *>(this);
    XmlNode *made = untouched;
    const bool isMade = change([&] { return call(&made); });
    EXPECT_EQ(made != untouched, isMade);
    if (isMade) loose_.push_back(made);
    return isMade ? made : nullptr;
  }

  bool insert(uint32_t (*call)(XmlNode *, XmlNode *), XmlNode *place, XmlNode *node,
              uint32_t failure = kInvalid) {
    if (place == nullptr || node == nullptr) return false;
    if (!change([&] { return call(place, node); }, failure)) return false;
    std::erase(loose_, node);
    return true;
  }

  void remove(XmlNode *node) {
    EXPECT_EQ(NEB_XML_RemoveNode(node), kOk);
    loose_.push_back(node);
  }

 private:
  // So that whatever the next call needs of the session is a new block.
  void fillBlocks() {
    XmlMemSession *session = document == nullptr ? nullptr : findSession(document->sessionId);
    if (session == nullptr) return;
    for (const XmlMemBlock *block = session->firstBlock; block != nullptr;
         block = block->nextBlock) {
      if (block->remaining > 0) {
        EXPECT_NE(XML_MemSpecialMalloc(document->sessionId, block->remaining), nullptr);
      }
    }
  }

  std::vector<XmlNode *> loose_;  // released with the work
};

// The notes of texts that a session keeps are all that may fail unnoticed: the texts go back early.
template <typename Run>
void everyAllocationFails(const char *text, bool withSession, Run run, size_t notes = 0) {
  for (const bool allAfter : {false, true}) {
    size_t unnoticed = 0;
    bool hasFailed = true;
    for (size_t n = 1; hasFailed; ++n) {
      SCOPED_TRACE(testing::Message() << "allocation " << n << ", all after it " << allAfter);
      {
        Work work(text, withSession);
        {
          const guarded::FailingAllocation failing(n, allAfter);
          run(work);
          hasFailed = failing.happened();
        }
        if (hasFailed && !work.hasFailed) ++unnoticed;
        EXPECT_TRUE(hasFailed || !work.hasFailed);
        EXPECT_TRUE(n > 1 || hasFailed) << "nothing was allocated";
        const XmlNode *document = work.document;
        EXPECT_TRUE(document == nullptr || trees::printed(document).starts_with("<"));
      }
      ASSERT_EQ(guarded::outstanding(), 0U);
      if (testing::Test::HasFailure()) return;
    }
    EXPECT_EQ(unnoticed, allAfter ? 0 : notes);
  }
}

// More attributes than are compared one by one, more text than a session's first block holds.
std::string largeText() {
  std::string text = "<p:a>";
  for (int i = 0; i < 40; ++i) text += "<b x='&lt;' q:y='2'><c>t&amp;</c></b>";
  text += "<d";
  for (int i = 0; i < 80; ++i) text += " n" + std::to_string(i) + "='1'";
  return text + "/></p:a><e/>";
}

uint32_t parseBuffer(const char *text, XmlNode **document) {
  NEB_XML_PARSE_ERROR error;
  return NEB_XML_ParseBuffer(text, std::strlen(text), 0, document, &error);
}

uint32_t parseFileInfo(const char *path, XmlNode **document) {
  NEB_XML_PARSE_ERROR error;
  return NEB_XML_ParseFileInfo(path, NEB_XML_PARSE_SESSION, document, &error);
}

struct Entry {
  uint32_t (*parse)(const char *, XmlNode **);
  bool isFile;
  bool keepsPointer;
};

constexpr Entry kEntries[] = {{NEB_XML_Parse, false, false},      {NEB_XML_ParseEx, false, false},
                              {parseBuffer, false, true},         {NEB_XML_ParseFile, true, true},
                              {NEB_XML_ParseFileEx, true, false}, {parseFileInfo, true, true}};
constexpr std::span<const Entry> kFileEntries = std::span(kEntries).subspan(3);

using Faults = EachKernel;

TEST_P(Faults, Parsing) {
  const std::string text = largeText();
  const std::string path = trees::temporaryFile(text);
  for (const Entry &entry : kEntries) {
    everyAllocationFails(nullptr, false, [&](Work &work) {
      XmlNode *const kept = reinterpret_cast<XmlNode *>(&work);
      XmlNode *document = kept;
      const uint32_t result = entry.parse(entry.isFile ? path.c_str() : text.c_str(), &document);
      if (work.check(result, kNoMemory, kSyntax)) {
        work.document = document;
      } else {
        EXPECT_TRUE(document == (entry.keepsPointer ? kept : nullptr));
      }
    });
  }
}

void create(Work &work) {
  constexpr uint32_t kDocument = NEB_XML_NODE_DOCUMENT;
  const uint32_t session = work.document->sessionId;
  work.make([&](auto node) { return NEB_XML_CreateNode(kElement, "p", "n", kLong, node); });
  work.make([&](auto node) { return NEB_XML_CreateNode(kDocument, "p", "n", "v", node); });
  work.make([&](auto node) { return NEB_XML_CreateNodeEx(0, kDocument, kLong, kLong, "v", node); });
  work.make([&](auto node) {
    return NEB_XML_CreateNodeEx(session, kElement, kLong, kLong, kLong, node);
  });
}

// Strings of known length, and a double.
void changeByLength(Work &work) {
  XmlNode *document = work.document;
  XmlNode *node = NEB_XML_GetNodeFirstChild(document);
  const size_t length = kLongText.size();
  const double number = 0.1;
  for (const uint32_t field : {NEB_XML_STRING_PREFIX, NEB_XML_STRING_NAME, NEB_XML_STRING_VALUE}) {
    work.change([&] { return NEB_XML_SetString(node, field, kLong, length); });
  }
  work.change([&] { return NEB_XML_WriteValue(document, NEB_XML_VALUE_DOUBLE, &number); });
  work.change([&] { return NEB_XML_PutAttr(document, "x", 1, kLong, length, nullptr); });
  const std::string name = "p:" + kLongText;
  XmlNode *const untouched = document;
  XmlNode *made = untouched;
  const auto change = [&](auto call) {
    made = untouched;
    const bool isMade = work.change(call);
    EXPECT_EQ(made != untouched, isMade);
    return isMade;
  };
  change([&] { return NEB_XML_PutAttr(node, name.data(), name.size(), kLong, length, &made); });
  const auto add = [&](XmlNode *reference, uint32_t where) {
    return change(
        [&] { return NEB_XML_NewElement(reference, where, name.data(), name.size(), &made); });
  };
  add(document, NEB_XML_POSITION_FIRST_CHILD);
  add(node, NEB_XML_POSITION_AFTER);
  // In a session's tree, below an element on the heap.
  XmlNode *heapNode =
      work.make([](auto out) { return NEB_XML_CreateNode(kElement, nullptr, "h", "v", out); });
  if (!work.insert(NEB_XML_AppendChildNode, document, heapNode)) return;
  add(heapNode, NEB_XML_POSITION_LAST_CHILD);
  change([&] { return NEB_XML_PutAttr(heapNode, "a", 1, kLong, length, &made); });
  work.change([&] { return NEB_XML_WriteValue(heapNode, NEB_XML_VALUE_DOUBLE, &number); });
}

void change(Work &work) {
  XmlNode *document = work.document;
  XmlNode *node = NEB_XML_GetNodeFirstChild(document);
  const int32_t number = -7;
  constexpr uint32_t kInt = NEB_XML_VALUE_INT32;
  work.change([&] { return NEB_XML_SetNode(node, kLong, kLong, kLong); });
  work.change([&] { return XML_SetNode(document, node, "p", nullptr, kLong); });
  work.change([&] { return NEB_XML_AddAttr(node, kLong, "short", kLong); });
  work.change([&] { return NEB_XML_AddAttr(document, "p", kLong, nullptr); });
  work.change([&] { return NEB_XML_SetAttr(document, nullptr, "x", kLong); });
  work.change([&] { return NEB_XML_SetAttrValueEx(document, "p", "new", kInt, &number); });
  if (!work.check(NEB_XML_SetNode(node, "", kLong, ""))) {
    EXPECT_TRUE(node->prefix == nullptr && node->value == nullptr) << "cleared all the same";
  }
  if (!work.check(NEB_XML_SetNodeValueEx(node, kInt, &number))) {
    EXPECT_TRUE(node->value == nullptr);
  }
  if (!work.check(NEB_XML_SetAttrValueEx(document, nullptr, "y", kInt, &number))) {
    const char *value = "";
    EXPECT_EQ(NEB_XML_GetAttr(document, nullptr, "y", &value), kOk);
    EXPECT_EQ(value, nullptr);
  }
}

// Parts of a document with a session that come from the hooks, and the session's below them.
void mix(Work &work) {
  XmlNode *document = work.document;
  XmlNode *carved = NEB_XML_GetNodeFirstChild(document);
  const auto heapElement = [](XmlNode **node) {
    return NEB_XML_CreateNode(kElement, "p", "heap", "value", node);
  };
  XmlNode *node = work.make(heapElement);
  XmlNode *next = work.make(heapElement);
  if (!work.insert(NEB_XML_AppendChildNode, document, node)) return;
  if (work.insert(NEB_XML_AddNextSiblingNode, carved, next)) {
    work.remove(carved);
    work.insert(NEB_XML_AddFirstChildNode, next, carved);
  }
  work.check(NEB_XML_SetNode(node, "", "renamed", kLong));  // what "" clears stays cleared
  work.change([&] { return NEB_XML_AddAttr(node, "p", "attribute", kLong); });
  work.make([&](auto copy) { return NEB_XML_CloneNode(node, copy); });
  for (const char *name : {"of-heap", "of-session"}) {
    const uint32_t session = name == std::string("of-heap") ? 0 : document->sessionId;
    for (XmlNode *element : {document, node}) {
      XmlNode *attribute = XML_NewNode(session, NEB_XML_NODE_ATTRIBUTE);
      if (!work.check(attribute == nullptr ? kNoMemory : kOk)) continue;
      if (!work.change([&] { return XML_SetNode(attribute, attribute, nullptr, name, kLong); }) ||
          !work.change([&] { return XML_AddAttrNode(attribute, element); })) {
        NEB_XML_FreeNode(attribute);
      }
    }
  }
  EXPECT_EQ(NEB_XML_RemoveNode(node), kOk);
  NEB_XML_FreeNode(node);
}

void copy(Work &work) {
  for (XmlNode *node : {work.document, NEB_XML_GetNodeLastChild(work.document)}) {
    work.change([&] { return NEB_XML_SetNode(node, nullptr, nullptr, kLong); });
  }
  for (const XmlNode *source : {work.document, NEB_XML_GetNodeFirstChild(work.document)}) {
    work.make([&](auto copy) { return NEB_XML_CloneNode(source, copy); });
    work.make([&](auto copy) { return NEB_XML_CloneNodeSelf(source, copy); });
    work.make([&](auto copy) { return NEB_XML_ImportNode(work.document, source, copy); });
  }
}

void printAll(Work &work) {
  char *const untouched = const_cast<char *>("untouched");
  for (const Print print : kPrints) {
    char *text = untouched;
    const bool isPrinted = work.change([&] { return print(work.document, &text); });
    EXPECT_EQ(text != untouched, isPrinted);
    if (isPrinted) NEB_XML_FreeMem(text);
  }
  work.change([&] { return NEB_XML_TransformFile(work.document, "/dev/null"); });
  const std::string path = trees::temporaryFile("old");
  const bool isSaved =
      work.change([&] { return NEB_XML_SaveFile(work.document, path.c_str(), 0); });
  EXPECT_EQ(trees::readFile(path) == "old", !isSaved);
}

TEST(Faults, CallsOnADocument) {
  for (const auto scenario : {create, changeByLength, change, mix, copy, printAll}) {
    for (const bool withSession : {false, true}) {
      const bool keepsTexts = withSession && scenario == mix;
      everyAllocationFails(kText, withSession, scenario, keepsTexts ? 1 : 0);
    }
  }
}

// What goes wrong with a file that is loaded, and the calls that loading makes.
struct File {
  const char *failing;  // the call that fails
  long told;            // as its size; 0: its own
  long given;           // as the count of bytes read, of which there are none; -1: as it is
  uint32_t result;
  std::string calls;
};
const File *g_file;
std::string g_calls;

bool fails(const std::string &call) {
  g_calls += (g_calls.empty() ? "" : " ") + call;
  return call == g_file->failing;
}

FILE *openFile(const char *path, const char *mode) {
  return fails(std::string("open ") + mode) ? nullptr : std::fopen(path, mode);
}

int seekFile(FILE *stream, long offset, int whence) {
  const bool isFailing = fails("seek " + std::to_string(offset) + "," + std::to_string(whence));
  return isFailing ? -1 : std::fseek(stream, offset, whence);
}

long tellFile(FILE *stream) {
  fails("tell");
  return g_file->told != 0 ? g_file->told : std::ftell(stream);
}

size_t readFile(void *buffer, size_t size, size_t count, FILE *stream) {
  fails("read " + std::to_string(size) + "*" + std::to_string(count));
  return g_file->given < 0 ? std::fread(buffer, size, count, stream)
                           : static_cast<size_t>(g_file->given);
}

int closeFile(FILE *stream) {
  const int result = std::fclose(stream);
  return fails("close") ? EOF : result;
}

// Where long has 32 bits, the end of some directories.
constexpr long toldOf(int64_t position) {
  return static_cast<long>(std::clamp<int64_t>(position, LONG_MIN, LONG_MAX));
}

TEST(Faults, FilesThatFailOrLie) {
  constexpr int64_t k4GiB = int64_t{1} << 32;
  constexpr long kLongest = toldOf(k4GiB - 1) - 1;
  const std::string measured = "open rb seek 0,2 tell";
  const std::string all = measured + " seek 0,0 read 1*4 close";
  const File files[] = {
      {"", 0, -1, kOk, all},
      {"open rb", 0, -1, kFileOpen, "open rb"},
      {"seek 0,2", 0, -1, kSyntax, measured + " close"},  // shows in what is told then
      {"seek 0,0", 0, -1, kFileRead, measured + " seek 0,0 close"},
      {"close", 0, -1, kOk, all},
      {"", 5, -1, kFileRead, measured + " seek 0,0 read 1*5 close"},
      {"", 3, -1, kSyntax, measured + " seek 0,0 read 1*3 close"},
      {"", -1, -1, kFileRead, measured + " close"},
      {"", toldOf(-k4GiB), -1, kFileRead, measured + " close"},
      {"", kLongest, -1, kNoMemory, measured + " close"},
      {"", kLongest + 1, -1, kFileRead, measured + " close"},
      {"", toldOf(k4GiB), -1, kFileRead, measured + " close"},
      {"", toldOf(k4GiB + 4), -1, kFileRead, measured + " close"},
      {"", 0, 0, kFileRead, all},
      {"", 0, 3, kFileRead, all},
      {"", 0, 4, kSyntax, all},
      {"", 0, 5, kFileRead, all},
  };
  const std::string path = trees::temporaryFile("<a/>");
  const trees::Held kept{trees::parsed("<kept/>")};
  for (const Entry &entry : kFileEntries) {
    ASSERT_EQ(NEB_XML_RegFileFunc(openFile, seekFile, closeFile, readFile, tellFile), kOk);
    for (const File &file : files) {
      SCOPED_TRACE(testing::Message() << "file " << &file - files);
      g_file = &file;
      g_calls.clear();
      XmlNode *document = kept;
      const size_t ofText = entry.parse == parseFileInfo ? 1 : 2;
      const guarded::FailingAllocation failing(file.result == kNoMemory ? ofText : 0);
      EXPECT_EQ(entry.parse(path.c_str(), &document), file.result);
      EXPECT_EQ(g_calls, file.calls);
      if (file.result == kOk) {
        NEB_XML_FreeNode(document);
      } else {
        EXPECT_TRUE(document == (entry.keepsPointer ? kept.node : nullptr));
      }
    }
    ASSERT_EQ(NEB_XML_RegFileFunc(openFile, seekFile, closeFile, readFile, nullptr), kOk);
    XmlNode *document = nullptr;
    EXPECT_EQ(entry.parse(path.c_str(), &document), kFileRead);
  }
}

INSTANTIATE_TEST_SUITE_P(Kernels, Faults, allKernels(), nameOfKernel);

}  // namespace
