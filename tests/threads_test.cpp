// What may overlap: calls on different trees, and reads of one tree.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

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

TEST(Threads, ReadingAndPrintingOneDocument) {
  XmlNode *document = trees::parsed(kText);
  const std::string whole = trees::printed(document);
  const std::string described = trees::described(document);
  onThreads([&](int) {
    for (int round = 0; round < kRounds; ++round) {
      EXPECT_EQ(trees::printed(document), whole);
      EXPECT_EQ(trees::described(document), described);
      XmlNode *found = nullptr;
      EXPECT_EQ(NEB_XML_GetNodeByUrl(document, "c.s.2", &found), uint32_t{NEB_XML_OK});
      EXPECT_EQ(trees::printed(found), "<s>two &amp; three</s>\n");
      int8_t number = 0;
      EXPECT_EQ(NEB_XML_GetAttrValueEx(document, nullptr, "a", NEB_XML_VALUE_INT8, &number),
                uint32_t{NEB_XML_OK});
    }
  });
  NEB_XML_FreeNode(document);
}

}  // namespace
