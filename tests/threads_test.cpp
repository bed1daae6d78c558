// What may overlap: calls on different trees, and reads of one tree.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "support/guarded_hooks.h"
#include "support/trees.h"

namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 100;
constexpr char kText[] = "<c a='1'><s p:x='2'>one</s><s>two &amp; three</s><p:t/></c>";

template <typename Work>
void onThreads(Work work) {
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back(work, i);
  for (std::thread &thread : threads) thread.join();
}

// More sessions are open at a time than the first level of the table has places for.
TEST(Threads, DocumentsOfTheirOwn) {
  onThreads([](int thread) {
    std::vector<XmlNode *> documents;
    for (int round = 0; round < kRounds; ++round) {
      XmlNode *document = nullptr;
      ASSERT_EQ(NEB_XML_ParseEx(kText, &document), uint32_t{NEB_XML_OK});
      const std::string name = "n" + std::to_string(thread) + "-" + std::to_string(round);
      NEB_XML_AddAttr(document, nullptr, name.c_str(), "value");
      documents.push_back(document);
      if (round % 3 == 0) continue;
      XmlNode *oldest = documents.front();
      documents.erase(documents.begin());
      NEB_XML_FreeNode(oldest);
    }
    for (int round = 0; XmlNode * document : documents) {
      EXPECT_NE(trees::printed(document).find("n" + std::to_string(thread)), std::string::npos)
          << round++;
      NEB_XML_FreeNode(document);
    }
  });
}

TEST(Threads, EndedSessionsAreRefusedWhileOthersComeAndGo) {
  onThreads([](int) {
    for (int round = 0; round < kRounds; ++round) {
      uint32_t sessions[kThreads] = {};
      for (uint32_t &session : sessions) {
        session = XML_MemSessionBegin(64);
        ASSERT_NE(XML_MemSpecialMalloc(session, 100), nullptr);
      }
      for (const uint32_t session : sessions) {
        EXPECT_EQ(XML_MemSessionEnd(session), 1U);
        EXPECT_EQ(XML_MemSpecialMalloc(session, 1), nullptr);
        EXPECT_EQ(XML_MemSessionEnd(session), 0U);
      }
    }
  });
}

// More than the first level of the table has places for.
bool opensAndEndsManySessions() {
  constexpr size_t kMany = 300;
  uint32_t sessions[kMany] = {};
  bool works = true;
  for (uint32_t &session : sessions) works = works && (session = XML_MemSessionBegin(8)) != 0;
  for (const uint32_t session : sessions) works = works && XML_MemSessionEnd(session) == 1;
  return works;
}

// Stops a thread in each call of a hook, until another one has seen it there.
class Gate {
 public:
  void stop() {
    std::unique_lock lock(mutex_);
    if (!isSeenInTime_) return;
    isStopped_ = true;
    changed_.notify_all();
    const auto isSeen = [this] { return !isStopped_; };
    isSeenInTime_ = changed_.wait_for(lock, std::chrono::seconds(20), isSeen);
    isStopped_ = false;
  }

  // False when nobody will stop there any more.
  bool waitForStop() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return isStopped_ || isOver_; });
    return !isOver_;
  }

  void letGoOn() { set(isStopped_, false); }
  void end() { set(isOver_, true); }
  bool isSeenInTime() const { return isSeenInTime_; }

 private:
  void set(bool &flag, bool value) {
    const std::lock_guard lock(mutex_);
    flag = value;
    changed_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  bool isStopped_ = false;
  bool isOver_ = false;
  bool isSeenInTime_ = true;
};

Gate *g_gate;
thread_local bool t_stopsInHooks;

TEST(Threads, AThreadThatIsHeldUpInAHookHoldsNobodyUp) {
  Gate gate;
  g_gate = &gate;
  NEB_XML_RegMemFunc(
      std::malloc,
      [](size_t count, size_t size) {
        if (t_stopsInHooks) g_gate->stop();
        return std::calloc(count, size);
      },
      [](void *memory) {
        if (t_stopsInHooks) g_gate->stop();
        std::free(memory);
      });
  std::thread heldUp([&gate] {
    t_stopsInHooks = true;
    EXPECT_TRUE(opensAndEndsManySessions());
    gate.end();
  });
  while (gate.waitForStop()) {
    EXPECT_TRUE(opensAndEndsManySessions());
    gate.letGoOn();
  }
  heldUp.join();
  EXPECT_TRUE(gate.isSeenInTime());
  guarded::registerHooks();
}

#if !defined(__SANITIZE_THREAD__)
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
  XmlNode *document = nullptr;
  NEB_XML_CreateNode(NEB_XML_NODE_DOCUMENT, nullptr, "d", nullptr, &document);
  XmlNode *left[kThreads] = {};
  for (XmlNode *&node : left) {
    NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, nullptr, "left", nullptr, &node);
    NEB_XML_AppendChildNode(document, node);
    NEB_XML_AddAttr(node, nullptr, "a", "1");
    NEB_XML_RemoveNode(node);
  }
  onThreads([&](int thread) {
    if (thread == 0) {
      for (int name = 0; name < kRounds; ++name) {
        NEB_XML_AddAttr(document, nullptr, ("n" + std::to_string(name)).c_str(), "1");
      }
      NEB_XML_FreeNode(document);
    }
    EXPECT_EQ(trees::printed(left[thread]), "<left a=\"1\"/>\n");
    NEB_XML_FreeNode(left[thread]);
  });
}

// Everything that the interface calls reading, on one document.
std::string readAll(const XmlNode *document) {
  std::string text = trees::described(document);
  uint32_t count = 0;
  for (const XmlNode *node = document; node != nullptr; node = NEB_XML_Iterator(node)) {
    EXPECT_EQ(NEB_XML_GetNodeChildNum(node, &count), uint32_t{NEB_XML_OK});
    const char *strings[3] = {};
    XmlNode *cursor = nullptr;
    while (NEB_XML_GetNextSiblingAttrEx(node, &strings[0], &strings[1], &strings[2], &cursor) ==
           NEB_XML_OK) {
      const char *value = nullptr;
      EXPECT_EQ(NEB_XML_GetAttr(node, strings[0], strings[1], &value), uint32_t{NEB_XML_OK});
      text += value;
    }
  }
  XmlNode *found = nullptr;
  EXPECT_EQ(NEB_XML_GetNodeByUrl(document, "c.s.2", &found), uint32_t{NEB_XML_OK});
  int8_t number = 0;
  EXPECT_EQ(NEB_XML_GetAttrValueEx(document, nullptr, "a", NEB_XML_VALUE_INT8, &number),
            uint32_t{NEB_XML_OK});
  constexpr auto kIndented = [](const XmlNode *node, char **out) {
    return NEB_XML_TransformIndented(node, 4, out);
  };
  for (const auto print :
       {NEB_XML_Transform, NEB_XML_TransformHead, NEB_XML_TransformTail, +kIndented}) {
    for (const XmlNode *start : {document, static_cast<const XmlNode *>(found)}) {
      char *printed = nullptr;
      EXPECT_EQ(print(start, &printed), uint32_t{NEB_XML_OK});
      text += printed == nullptr ? "" : printed;
      NEB_XML_FreeMem(printed);
    }
  }
  return text;
}

TEST(Threads, ReadingSearchingAndPrintingOneDocument) {
  for (const bool withSession : {true, false}) {
    XmlNode *document = trees::parsed(kText, withSession);
    const std::string whole = trees::printed(document);
    const std::string expected = readAll(document);
    onThreads([&](int thread) {
      const std::string path = trees::temporaryFile("", thread);
      XmlNode *own = trees::parsed("<own/>", thread % 2 == 0);
      for (int round = 0; round < kRounds; ++round) {
        EXPECT_EQ(readAll(document), expected);
        XmlNode *copy = nullptr;
        EXPECT_EQ(NEB_XML_ImportNode(own, document, &copy), uint32_t{NEB_XML_OK});
        EXPECT_EQ(NEB_XML_AppendChildNode(own, copy), uint32_t{NEB_XML_OK});
        EXPECT_EQ(trees::printed(copy), whole);
        NEB_XML_FreeNode(copy);
        if (round % 10 != 0) continue;
        EXPECT_EQ(NEB_XML_TransformFile(document, path.c_str()), uint32_t{NEB_XML_OK});
        EXPECT_EQ(trees::readFile(path), whole);
        EXPECT_EQ(NEB_XML_SaveFile(document, path.c_str(), 0), uint32_t{NEB_XML_OK});
        EXPECT_EQ(trees::readFile(path), whole);
      }
      NEB_XML_FreeNode(own);
    });
    NEB_XML_FreeNode(document);
  }
}

// Each thread loads, changes, copies, moves and writes documents that nobody else knows.
TEST(Threads, WholeLivesOfDocuments) {
  onThreads([](int thread) {
    const std::string path = trees::temporaryFile(kText, thread);
    for (int round = 0; round < kRounds; ++round) {
      XmlNode *document = nullptr;
      XmlNode *other = nullptr;
      const auto load = (thread + round) % 2 == 0 ? NEB_XML_ParseFileEx : NEB_XML_ParseFile;
      ASSERT_EQ(load(path.c_str(), &document), uint32_t{NEB_XML_OK});
      NEB_XML_PARSE_ERROR error = {};
      EXPECT_EQ(NEB_XML_ParseBuffer("<a></b>", 7, 0, &other, &error), uint32_t{NEB_XML_ERR_SYNTAX});
      ASSERT_EQ(NEB_XML_CloneNode(document, &other), uint32_t{NEB_XML_OK});
      XmlNode *moved = NEB_XML_GetNodeLastChild(document);
      NEB_XML_RemoveNode(moved);
      EXPECT_EQ(NEB_XML_AddFirstChildNode(document, moved), uint32_t{NEB_XML_OK});
      EXPECT_EQ(NEB_XML_SetNodeValueEx(moved, NEB_XML_VALUE_INT32, &round), uint32_t{NEB_XML_OK});
      EXPECT_EQ(NEB_XML_RemoveAttr(document, nullptr, "a"), uint32_t{NEB_XML_OK});
      const std::string text = trees::printed(document);
      EXPECT_EQ(text.find(">" + std::to_string(round) + "<"), text.find("<p:t>") + 4);
      NEB_XML_FreeNode(round % 2 == 0 ? document : other);
      EXPECT_EQ(trees::printed(round % 2 == 0 ? other : document).empty(), false);
      NEB_XML_FreeNode(round % 2 == 0 ? other : document);
    }
  });
}

}  // namespace
