// What may overlap: calls on different trees, and reads of one tree.
#include <gtest/gtest.h>
#include <semaphore.h>

#include <atomic>
#include <cstdlib>
#include <ctime>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/system.h"
#include "support/guarded_hooks.h"
#include "support/trees.h"

#if defined(NEB_XML_POSIX)
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {
constexpr int kThreads = 8;
constexpr int kRounds = 100;
constexpr int kHolders = 20000;
constexpr char kText[] = "<c a='1'><s p:x='2'>one</s><s>two &amp; three</s><p:t/></c>";

template <typename Work>
void onThreads(Work work) {
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back(work, i);
  for (std::thread &thread : threads) thread.join();
}

// Each thread loads, changes, copies, moves and writes documents that nobody else knows. More
// sessions are open at a time than the first level of the table has places for.
TEST(Threads, DocumentsOfTheirOwn) {
  onThreads([](int thread) {
    const std::string path = trees::temporaryFile(kText);
    std::vector<std::pair<XmlNode *, std::string>> documents;  // and what they are printed as
    const auto endOldest = [&documents] {
      EXPECT_EQ(trees::printed(documents.front().first), documents.front().second);
      NEB_XML_FreeNode(documents.front().first);
      documents.erase(documents.begin());
    };
    for (int round = 0; round < kRounds; ++round) {
      XmlNode *nodes[2] = {};
      const auto load = (thread + round) % 2 == 0 ? NEB_XML_ParseFileEx : NEB_XML_ParseFile;
      ASSERT_EQ(load(path.c_str(), &nodes[0]), kOk);
      NEB_XML_PARSE_ERROR error = {};
      EXPECT_NE(NEB_XML_ParseBuffer("<a></b>", 7, 0, &nodes[1], &error), kOk);
      XmlNode *moved = NEB_XML_GetNodeLastChild(nodes[0]);
      NEB_XML_RemoveNode(moved);
      EXPECT_EQ(NEB_XML_AddFirstChildNode(nodes[0], moved), kOk);
      EXPECT_EQ(NEB_XML_SetNodeValueEx(moved, NEB_XML_VALUE_INT32, &round), kOk);
      EXPECT_EQ(NEB_XML_RemoveAttr(nodes[0], nullptr, "a"), kOk);
      const std::string name = "n" + std::to_string(thread) + "-" + std::to_string(round);
      EXPECT_EQ(NEB_XML_AddAttr(nodes[0], nullptr, name.c_str(), "v"), kOk);
      ASSERT_EQ(NEB_XML_CloneNode(nodes[0], &nodes[1]), kOk);
      NEB_XML_FreeNode(nodes[round % 2]);
      documents.emplace_back(nodes[1 - round % 2],
                             "<c " + name + "=\"v\">\n<p:t>" + std::to_string(round) +
                                 "</p:t>\n<s p:x=\"2\">one</s>\n<s>two &amp; three</s>\n</c>\n");
      if (round % 3 != 0) endOldest();
    }
    while (!documents.empty()) endOldest();
  });
}

// More than the first level of the table has places for. Those that have ended are refused.
bool opensAndEndsManySessions() {
  constexpr size_t kMany = 300;
  uint32_t sessions[kMany] = {};
  bool works = true;
  for (uint32_t &session : sessions) {
    session = XML_MemSessionBegin(8);
    works = works && XML_MemSpecialMalloc(session, 8) != nullptr;
  }
  for (const uint32_t session : sessions) {
    works = works && XML_MemSessionEnd(session) == 1 && XML_MemSessionEnd(session) == 0 &&
            XML_MemSpecialMalloc(session, 1) == nullptr;
  }
  return works;
}

thread_local bool g_stopsInHooks;
sem_t g_isStopped, g_isSeen;
std::atomic<bool> g_isSeenInTime;

// In each call of a hook, until another thread has seen it there.
void stop() {
  if (!g_stopsInHooks || !g_isSeenInTime) return;
  sem_post(&g_isStopped);
  constexpr time_t kSecondsUntilItHangs = 20;
  const timespec latest = {time(nullptr) + kSecondsUntilItHangs, 0};
  g_isSeenInTime = sem_timedwait(&g_isSeen, &latest) == 0;
}

TEST(Threads, AThreadThatIsHeldUpInAHookHoldsNobodyUp) {
  g_isSeenInTime = sem_init(&g_isStopped, 0, 0) == 0 && sem_init(&g_isSeen, 0, 0) == 0;
  NEB_XML_RegMemFunc(
      std::malloc,
      [](size_t count, size_t size) {
        stop();
        return std::calloc(count, size);
      },
      [](void *memory) {
        stop();
        std::free(memory);
      });
  std::atomic<bool> isOver = false;
  std::thread heldUp([&isOver] {
    g_stopsInHooks = true;
    EXPECT_TRUE(opensAndEndsManySessions());
    isOver = true;
    sem_post(&g_isStopped);
  });
  for (sem_wait(&g_isStopped); !isOver; sem_wait(&g_isStopped)) {
    EXPECT_TRUE(opensAndEndsManySessions());
    sem_post(&g_isSeen);
  }
  heldUp.join();
  EXPECT_TRUE(g_isSeenInTime);
  guarded::registerHooks();
}

// The sanitizers' own locks do not survive a fork, and other systems have none.
#if defined(NEB_XML_POSIX) && !defined(NEB_XML_SANITIZED)
// Whatever the threads were at that a fork leaves behind, the child's sessions open and end.
TEST(Threads, ForkedChildrenOpenSessions) {
  NEB_XML_RegMemFunc(std::malloc, std::calloc, std::free);
  std::atomic<bool> isOver{false};
  const auto keepBusy = [&isOver] {
    while (!isOver) opensAndEndsManySessions();
  };
  std::thread busy[] = {std::thread(keepBusy), std::thread(keepBusy), std::thread(keepBusy)};
  constexpr int kChildren = 100;
  constexpr unsigned kSecondsUntilItHangs = 60;
  for (int i = 0; i < kChildren; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      alarm(kSecondsUntilItHangs);
      _exit(opensAndEndsManySessions() ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  isOver = true;
  for (std::thread &thread : busy) thread.join();
  guarded::registerHooks();
}
#endif

// Nodes that left a document are trees of their own, though their names point into its table.
TEST(Threads, NodesThatLeftADocument) {
  // The hooks of other tests would order the threads by their lock.
  static std::atomic<int> outstanding;
  outstanding = 0;
  NEB_XML_RegMemFunc(
      [](size_t size) {
        outstanding.fetch_add(1, std::memory_order_relaxed);
        return std::malloc(size);
      },
      std::calloc,
      [](void *memory) {
        outstanding.fetch_sub(1, std::memory_order_relaxed);
        std::free(memory);
      });
  XmlNode *document = nullptr;
  EXPECT_EQ(NEB_XML_CreateNode(NEB_XML_NODE_DOCUMENT, nullptr, "d", nullptr, &document), kOk);
  XmlNode *left[kThreads] = {};
  for (XmlNode *&node : left) {
    EXPECT_EQ(NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, nullptr, "left", nullptr, &node), kOk);
    EXPECT_EQ(NEB_XML_AppendChildNode(document, node), kOk);
    EXPECT_EQ(NEB_XML_AddAttr(node, nullptr, "a", "1"), kOk);
    // Many names that hold the document, and that the threads let go of at once.
    for (int i = 0; i < kHolders; ++i) {
      XmlNode *child = nullptr;
      EXPECT_EQ(NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, nullptr, "a", nullptr, &child), kOk);
      EXPECT_EQ(NEB_XML_AppendChildNode(node, child), kOk);
    }
    NEB_XML_RemoveNode(node);
  }
  onThreads([&](int thread) {
    if (thread == 0) {
      for (int name = 0; name < kRounds; ++name) {
        EXPECT_EQ(NEB_XML_AddAttr(document, nullptr, ("n" + std::to_string(name)).c_str(), "1"),
                  kOk);
      }
      NEB_XML_FreeNode(document);
    }
    const char *name = nullptr;
    EXPECT_EQ(NEB_XML_GetNodeValue(left[thread], nullptr, nullptr, &name, nullptr), kOk);
    EXPECT_STREQ(name, "left");
    NEB_XML_FreeNode(left[thread]);
  });
  EXPECT_EQ(outstanding, 0);
  guarded::registerHooks();
}

// Everything that the interface calls reading, on one document.
std::string readAll(const XmlNode *document) {
  std::string text = trees::described(document);
  for (const XmlNode *node = document; node != nullptr; node = NEB_XML_Iterator(node)) {
    uint32_t count = 0;
    EXPECT_EQ(NEB_XML_GetNodeChildNum(node, &count), kOk);
    const char *strings[3] = {};
    XmlNode *cursor = nullptr;
    while (NEB_XML_GetNextSiblingAttrEx(node, &strings[0], &strings[1], &strings[2], &cursor) ==
           kOk) {
      EXPECT_EQ(NEB_XML_GetAttr(node, strings[0], strings[1], &strings[2]), kOk);
      text += strings[2];
    }
  }
  XmlNode *found = nullptr;
  EXPECT_EQ(NEB_XML_GetNodeByUrl(document, "c.s.2", &found), kOk);
  int8_t number = 0;
  EXPECT_EQ(NEB_XML_GetAttrValueEx(document, nullptr, "a", NEB_XML_VALUE_INT8, &number), kOk);
  for (const Print print : kPrints) text += trees::printed(document, print);
  EXPECT_EQ(text.find("error"), text.npos);
  return text;
}

TEST(Threads, ReadingSearchingAndPrintingOneDocument) {
  for (const bool withSession : {true, false}) {
    const trees::Held document{trees::parsed(kText, withSession)};
    const std::string whole = trees::printed(document);
    const std::string expected = readAll(document);
    onThreads([&](int thread) {
      const std::string path = trees::temporaryFile("");
      const trees::Held own{trees::parsed("<own/>", thread % 2 == 0)};
      for (int round = 0; round < kRounds; ++round) {
        EXPECT_EQ(readAll(document), expected);
        XmlNode *copy = nullptr;
        EXPECT_EQ(NEB_XML_ImportNode(own, document, &copy), kOk);
        EXPECT_EQ(NEB_XML_AppendChildNode(own, copy), kOk);
        EXPECT_EQ(trees::printed(copy), whole);
        NEB_XML_FreeNode(copy);
        if (round % 10 != 0) continue;
        EXPECT_EQ(NEB_XML_TransformFile(document, path.c_str()), kOk);
        EXPECT_EQ(NEB_XML_SaveFile(document, path.c_str(), 0), kOk);
        EXPECT_EQ(NEB_XML_Save(document, path.c_str(), nullptr), kOk);
        EXPECT_EQ(trees::readFile(path), whole);
      }
    });
  }
}

}  // namespace
