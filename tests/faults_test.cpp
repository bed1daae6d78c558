// Every allocation and every file call of a scenario fails in turn: some call tells so, each keeps
// its promises, and what is left can be used and given back.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "support/guarded_hooks.h"
#include "support/trees.h"
#include "xml/xml_memory_table.h"
#include "xml/xml_node.h"

namespace {

constexpr uint32_t kOk = NEB_XML_OK;
constexpr uint32_t kNoMemory = NEB_XML_ERR_NO_MEMORY;
constexpr uint32_t kElement = NEB_XML_NODE_ELEMENT;

constexpr char kText[] = "<doc x='1' y='2'><b q:z='&lt;'>t</b><c/></doc>";

// Too long for two of them to fit into one block of a session.
const std::string kLongText(5000, 'v');
const char *const kLong = kLongText.c_str();

// A document and the calls on it, of which any may fail for want of memory.
class Work {
 public:
  Work(const char *text, bool withSession) {
    if (text == nullptr) return;
    document_ = trees::parsed(text, withSession);
    fillBlocks();
  }
  ~Work() {
    for (XmlNode *node : loose_) NEB_XML_FreeNode(node);
    XML_FreeNode(document_);
  }
  Work(const Work &) = delete;
  Work &operator=(const Work &) = delete;

  XmlNode *document() const { return document_; }
  void setDocument(XmlNode *document) { document_ = document; }
  bool hasFailed() const { return hasFailed_; }

  bool check(uint32_t result, uint32_t failure = kNoMemory, uint32_t otherFailure = kNoMemory) {
    EXPECT_TRUE(result == kOk || result == failure || result == otherFailure) << result;
    hasFailed_ |= result != kOk;
    fillBlocks();
    return result == kOk;
  }

  // A call that changes all it is to change, or nothing.
  template <typename Call>
  bool change(Call call, uint32_t failure = kNoMemory) {
    const std::string before = trees::described(document_);
    if (check(call(), failure)) return true;
    EXPECT_EQ(trees::described(document_), before);
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
              uint32_t failure = NEB_XML_ERR_INVALID_PARAM) {
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
    XmlMemSession *session = document_ == nullptr ? nullptr : findSession(document_->sessionId);
    if (session == nullptr) return;
    for (const XmlMemBlock *block = session->firstBlock; block != nullptr;
         block = block->nextBlock) {
      if (block->remaining > 0) {
        EXPECT_NE(XML_MemSpecialMalloc(document_->sessionId, block->remaining), nullptr);
      }
    }
  }

  XmlNode *document_ = nullptr;
  std::vector<XmlNode *> loose_;  // released with the work
  bool hasFailed_ = false;
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
        if (hasFailed && !work.hasFailed()) ++unnoticed;
        EXPECT_TRUE(hasFailed || !work.hasFailed());
        EXPECT_TRUE(n > 1 || hasFailed) << "nothing was allocated";
        const XmlNode *document = work.document();
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

TEST(Faults, Parsing) {
  const std::string text = largeText();
  const std::string path = trees::temporaryFile(text);
  for (const Entry &entry : kEntries) {
    everyAllocationFails(nullptr, false, [&](Work &work) {
      XmlNode *const kept = reinterpret_cast<XmlNode *>(&work);
      XmlNode *document = kept;
      const uint32_t result = entry.parse(entry.isFile ? path.c_str() : text.c_str(), &document);
      if (work.check(result, kNoMemory, NEB_XML_ERR_SYNTAX)) {
        work.setDocument(document);
      } else {
        EXPECT_TRUE(document == (entry.keepsPointer ? kept : nullptr));
      }
    });
  }
}

void create(Work &work) {
  constexpr uint32_t kDocument = NEB_XML_NODE_DOCUMENT;
  const uint32_t session = work.document()->sessionId;
  work.make([&](auto node) { return NEB_XML_CreateNode(kElement, "p", "n", kLong, node); });
  work.make([&](auto node) { return NEB_XML_CreateNode(kDocument, "p", "n", "v", node); });
  work.make([&](auto node) { return NEB_XML_CreateNodeEx(0, kDocument, kLong, kLong, "v", node); });
  work.make([&](auto node) {
    return NEB_XML_CreateNodeEx(session, kElement, kLong, kLong, kLong, node);
  });
}

void change(Work &work) {
  XmlNode *document = work.document();
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
  XmlNode *document = work.document();
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
  for (XmlNode *node : {work.document(), NEB_XML_GetNodeLastChild(work.document())}) {
    work.change([&] { return NEB_XML_SetNode(node, nullptr, nullptr, kLong); });
  }
  for (const XmlNode *source : {work.document(), NEB_XML_GetNodeFirstChild(work.document())}) {
    work.make([&](auto copy) { return NEB_XML_CloneNode(source, copy); });
    work.make([&](auto copy) { return NEB_XML_CloneNodeSelf(source, copy); });
    work.make([&](auto copy) { return NEB_XML_ImportNode(work.document(), source, copy); });
  }
}

void print(Work &work) {
  char *const untouched = const_cast<char *>("untouched");
  constexpr auto kIndented = [](const XmlNode *node, char **text) {
    return NEB_XML_TransformIndented(node, 2, text);
  };
  for (const auto transform :
       {NEB_XML_Transform, NEB_XML_TransformHead, NEB_XML_TransformTail, +kIndented}) {
    char *text = untouched;
    const bool isPrinted = work.change([&] { return transform(work.document(), &text); });
    EXPECT_EQ(text != untouched, isPrinted);
    if (isPrinted) NEB_XML_FreeMem(text);
  }
  work.change([&] { return NEB_XML_TransformFile(work.document(), "/dev/null"); });
  const std::string path = trees::temporaryFile("old");
  const bool isSaved =
      work.change([&] { return NEB_XML_SaveFile(work.document(), path.c_str(), 0); });
  EXPECT_EQ(trees::readFile(path) == "old", !isSaved);
}

TEST(Faults, CallsOnADocument) {
  for (const auto scenario : {create, change, mix, copy, print}) {
    for (const bool withSession : {false, true}) {
      const bool keepsTexts = withSession && scenario == mix;
      everyAllocationFails(kText, withSession, scenario, keepsTexts ? 1 : 0);
    }
  }
}

TEST(Faults, FileCalls) {
  // In order: open, seek to the end (which shows in what is told then), tell, rewind, read, close.
  constexpr uint32_t kResults[] = {NEB_XML_ERR_FILE_OPEN,
                                   NEB_XML_ERR_SYNTAX,
                                   NEB_XML_ERR_FILE_READ,
                                   NEB_XML_ERR_FILE_READ,
                                   NEB_XML_ERR_FILE_READ,
                                   kOk,
                                   kOk};
  const std::string path = trees::temporaryFile(kText);
  for (size_t n = 1; n <= std::size(kResults); ++n) {
    for (const Entry &entry : kFileEntries) {
      XmlNode *const kept = reinterpret_cast<XmlNode *>(&n);
      XmlNode *document = kept;
      const guarded::FailingFileCall failing(n);
      const uint32_t result = entry.parse(path.c_str(), &document);
      EXPECT_EQ(result, kResults[n - 1]) << n;
      EXPECT_EQ(failing.happened(), n < std::size(kResults)) << n;
      EXPECT_EQ(guarded::openStreams(), 0U);
      if (result == kOk) {
        NEB_XML_FreeNode(document);
      } else {
        EXPECT_TRUE(document == (entry.keepsPointer ? kept : nullptr)) << n;
      }
    }
  }
}

std::string g_path;

// What happens to a file between its measuring and its reading, and reads that do not do as told.
TEST(Faults, FilesThatChangeAndReadsThatFail) {
  using Tell = long (*)(FILE *);
  using Read = size_t (*)(void *, size_t, size_t, FILE *);
  constexpr uint32_t kRead = NEB_XML_ERR_FILE_READ;
  const struct {
    const char *what;
    uint32_t result;
    Tell tell;
    Read read;
  } cases[] = {
      {"shrinks", kRead,
       [](FILE *stream) {
         const long size = std::ftell(stream);
         return truncate(g_path.c_str(), size / 2) == 0 ? size : 0;
       },
       std::fread},
      {"is emptied", kRead,
       [](FILE *stream) {
         const long size = std::ftell(stream);
         return truncate(g_path.c_str(), 0) == 0 ? size : 0;
       },
       std::fread},
      {"grows, which is not seen", kOk,
       [](FILE *stream) {
         const long size = std::ftell(stream);
         std::ofstream(g_path, std::ios::app) << "<more>";
         return size;
       },
       std::fread},
      {"cannot be read from its middle on", kRead, std::ftell,
       [](void *buffer, size_t size, size_t count, FILE *stream) {
         return std::fread(buffer, size, count / 2, stream);
       }},
      {"cannot be read at all", kRead, std::ftell,
       [](void *, size_t, size_t, FILE *) { return size_t{0}; }},
      {"gives more than was asked for", kRead, std::ftell,
       [](void *, size_t, size_t count, FILE *) { return count + 1; }},
      {"gives nothing but says it did", NEB_XML_ERR_SYNTAX, std::ftell,
       [](void *buffer, size_t, size_t count, FILE *) {
         std::memset(buffer, 0, count);
         return count;
       }},
  };
  for (const auto &[what, result, tell, read] : cases) {
    for (const Entry &entry : kFileEntries) {
      g_path =
          trees::temporaryFile("<a>" + kLongText + kLongText + "</a>");  // more than is buffered
      ASSERT_EQ(NEB_XML_RegFileFunc(std::fopen, std::fseek, std::fclose, read, tell), kOk);
      XmlNode *document = nullptr;
      EXPECT_EQ(entry.parse(g_path.c_str(), &document), result) << what;
      NEB_XML_FreeNode(document);
      EXPECT_EQ(guarded::outstanding(), 0U) << what;
    }
  }
}

// A limit on the size of files is met as a full disk is.
TEST(Faults, ADiskThatFillsAtAnyByte) {
  XmlNode *document = trees::parsed(kText);
  const std::string text = trees::printed(document);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  rlimit before = {};
  getrlimit(RLIMIT_FSIZE, &before);
  for (size_t room = 0; room <= text.size(); ++room) {
    const uint32_t expected = room < text.size() ? uint32_t{NEB_XML_ERR_FILE_WRITE} : kOk;
    for (const bool isSaved : {true, false}) {
      const std::string path = trees::temporaryFile("old");
      const rlimit full = {room, before.rlim_max};
      setrlimit(RLIMIT_FSIZE, &full);
      const uint32_t result = isSaved ? NEB_XML_SaveFile(document, path.c_str(), 0)
                                      : NEB_XML_TransformFile(document, path.c_str());
      setrlimit(RLIMIT_FSIZE, &before);
      EXPECT_EQ(result, expected) << room;
      const std::string partial = isSaved ? "old" : text.substr(0, room);
      EXPECT_EQ(trees::readFile(path), expected == kOk ? text : partial) << room;
    }
  }
  std::signal(SIGXFSZ, handler);
  NEB_XML_FreeNode(document);
}

std::string g_fileCalls;
long g_told;

long tell(FILE *stream) {
  g_fileCalls += " tell";
  return g_told == 0 ? std::ftell(stream) : g_told;
}

// The calls that loading makes, for files of any size that may be told.
TEST(Faults, SizesOfFiles) {
  const std::string path = trees::temporaryFile("<a/>");
  const auto open = [](const char *name, const char *mode) {
    g_fileCalls = std::string("open ") + mode;
    return std::fopen(name, mode);
  };
  const auto seek = [](FILE *stream, long offset, int whence) {
    g_fileCalls += " seek " + std::to_string(offset) + "," + std::to_string(whence);
    return std::fseek(stream, offset, whence);
  };
  const auto close = [](FILE *stream) {
    g_fileCalls += " close";
    return std::fclose(stream);
  };
  const auto read = [](void *buffer, size_t size, size_t count, FILE *stream) {
    g_fileCalls += " read " + std::to_string(size) + "*" + std::to_string(count);
    return std::fread(buffer, size, count, stream);
  };
  constexpr long k4GiB = 1L << 32;
  const struct {
    long told;  // 0: as the file has it
    uint32_t result;
    std::string calls;
  } cases[] = {
      {0, kOk, "open rb seek 0,2 tell seek 0,0 read 1*4 close"},
      {5, NEB_XML_ERR_FILE_READ, "open rb seek 0,2 tell seek 0,0 read 1*5 close"},
      {3, NEB_XML_ERR_SYNTAX, "open rb seek 0,2 tell seek 0,0 read 1*3 close"},
      {-1, NEB_XML_ERR_FILE_READ, "open rb seek 0,2 tell close"},
      {-k4GiB, NEB_XML_ERR_FILE_READ, "open rb seek 0,2 tell close"},
      {k4GiB - 2, kNoMemory, "open rb seek 0,2 tell close"},
      {k4GiB - 1, NEB_XML_ERR_FILE_READ, "open rb seek 0,2 tell close"},
      {k4GiB, NEB_XML_ERR_FILE_READ, "open rb seek 0,2 tell close"},
      {k4GiB + 4, NEB_XML_ERR_FILE_READ, "open rb seek 0,2 tell close"},
  };
  for (const auto parse : {NEB_XML_ParseFile, NEB_XML_ParseFileEx}) {
    XmlNode *document = nullptr;
    ASSERT_EQ(NEB_XML_RegFileFunc(open, seek, close, read, tell), kOk);
    for (const auto &[told, result, calls] : cases) {
      g_told = told;
      const guarded::FailingAllocation failing(result == kNoMemory ? 2 : 1000);
      EXPECT_EQ(parse(path.c_str(), &document), result) << told;
      EXPECT_EQ(g_fileCalls, calls) << told;
      if (result == kOk) NEB_XML_FreeNode(document);
    }
    ASSERT_EQ(NEB_XML_RegFileFunc(open, seek, close, read, nullptr), kOk);
    EXPECT_EQ(parse(path.c_str(), &document), uint32_t{NEB_XML_ERR_FILE_READ});
    EXPECT_TRUE(g_fileCalls.ends_with("close")) << g_fileCalls;
    const auto failingSeek = [](FILE *stream, long offset, int whence) {
      std::fseek(stream, offset, whence);
      return -1;
    };
    ASSERT_EQ(NEB_XML_RegFileFunc(open, failingSeek, close, read, tell), kOk);
    g_told = 0;
    EXPECT_EQ(parse(path.c_str(), &document), uint32_t{NEB_XML_ERR_FILE_READ});
    EXPECT_EQ(g_fileCalls, "open rb tell close");
  }
}

}  // namespace
