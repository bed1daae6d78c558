// The pieces of a session lie where first fit puts them, however they were made.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "support/guarded_hooks.h"
#include "support/kernels.h"
#include "support/layout.h"
#include "support/trees.h"
#include "xml/memory/session_allocator.h"
#include "xml/memory/session_table.h"

using namespace neb::xml::internal;

namespace {

// Leaves gaps of many sizes behind in the blocks of its session, and fills them in any order with
// smaller pieces.
std::string manyPieces() {
  std::mt19937 random(17);
  std::string text = "<r><s>";
  for (size_t i = 0; i < 600; ++i) {
    const std::string name(14 + random() % 13, 'n');
    text += "<" + name + ">" + std::string(14 + random() % 13, 'v') + "</" + name + ">";
  }
  for (size_t i = 0; i < 3000; ++i) {
    const std::string name = (i % 2 == 0 ? "a" : "p:attribute") + std::to_string(i * i);
    text += "<e" + name + " " + name + "='" + std::string(i % 97, 'v') + "'/>";
    const std::string local(1 + random() % 13, 'l');
    const std::string whole = std::string(1 + random() % (i % 7 == 0 ? 40 : 13), 'p') + ":" + local;
    const std::string value(1 + random() % 13, 'v');
    text += "<" + local + ">" + value + "</" + local + ">";
    text += "<" + whole + " " + whole + "='" + value + "'>" + value + "</" + whole + ">";
  }
  return text + "</s></r>";
}

// Sizes at and around what blocks have left, small ones, and some that need a larger block.
int64_t nextSize(const layout::Model &model, std::mt19937 *random) {
  const auto &blocks = model.blocks();
  const int64_t last = blocks.back().capacity;
  const auto pick = [random](int64_t count) {
    return static_cast<int64_t>((*random)() % static_cast<uint64_t>(count));
  };
  switch (pick(8)) {
    case 0:
    case 1:
      return blocks[(*random)() % blocks.size()].remaining + pick(3) - 1;
    case 2:
      return last + (last < 9000 ? 1 : 0) - pick(3);
    case 3:
      return 1 + pick(last < 4000 ? 3 * last : last);
    case 4:
      return last / 2 + 1 + pick(8);
    default:
      return 1 + pick(100);
  }
}

TEST(Layout, IsFirstFitOverManyBlocks) {
  std::mt19937 random(17);
  size_t mostBlocks = 0;
  for (const int32_t firstSize : {1, 24, 500, 3000, 8192, 8192}) {
    const uint32_t handle = XML_MemSessionBegin(firstSize);
    XmlMemSession &session = *findSession(handle);
    layout::Model model(firstSize);
    for (size_t round = 0; round < 1000; ++round) {
      // One piece, or many in a row.
      SessionAllocator allocator(session);
      const bool isAlone = random() % 2 == 0;
      for (size_t left = isAlone ? 1 : random() % 20; left > 0; --left) {
        const int64_t size = nextSize(model, &random);
        if (size <= 0) continue;
        const guarded::FailingAllocation failing(random() % 8 == 0 ? 1 : 0);
        const void *piece = isAlone ? XML_MemSpecialMalloc(handle, static_cast<int32_t>(size))
                                    : allocator.allocate(static_cast<size_t>(size));
        ASSERT_EQ(layout::locationIn(session, piece), model.allocate(size, !failing.happened()));
        if (!isAlone || piece == nullptr) continue;
        const auto *bytes = static_cast<const char *>(piece);
        ASSERT_TRUE(std::all_of(bytes, bytes + size, [](char byte) { return byte == '\0'; }));
      }
      if (!isAlone) allocator.save();
      int64_t largest = 0;
      for (const auto &block : model.blocks()) {
        if (&block != &model.blocks().back()) largest = std::max(largest, block.remaining);
      }
      ASSERT_EQ(session.largestEarlierGap, largest);
    }
    mostBlocks = std::max(mostBlocks, model.blocks().size());
    XML_MemSessionEnd(handle);
  }
  EXPECT_GT(mostBlocks, 1000U);
}

// Copies a document, and copies of it in other storage, into its own session, and clones it and its
// first child.
void expectCopiesInOrder(XmlNode *document) {
  const XmlMemSession &session = *findSession(document->sessionId);
  const auto expectCopy = [&session](const layout::Model &before, const XmlNode *copy) {
    EXPECT_EQ(layout::misplaced(before, session, layout::inCopyOrder(copy)), "");
  };
  XmlNode *sources[3] = {nullptr, nullptr, document};
  XmlNode *heap = XML_NewNode(0, NEB_XML_NODE_ELEMENT);
  ASSERT_EQ(NEB_XML_ImportNode(heap, document, &sources[0]), 0U);
  NEB_XML_FreeNode(heap);
  ASSERT_EQ(NEB_XML_CloneNode(document, &sources[1]), 0U);
  EXPECT_EQ(layout::misplaced(layout::Model(kDocumentSessionSize),
                              *findSession(sources[1]->sessionId), layout::inCopyOrder(sources[1])),
            "");
  const auto withoutType = [](const XmlNode *node) {
    const std::string tree = trees::described(node);
    return tree.substr(tree.find(':'));
  };
  for (XmlNode *source : sources) {
    const layout::Model before(session);
    XmlNode *copy = nullptr;
    ASSERT_EQ(NEB_XML_ImportNode(document, source, &copy), 0U);
    expectCopy(before, copy);
    EXPECT_EQ(withoutType(copy), withoutType(document));
  }
  const layout::Model before(session);
  XmlNode *copy = nullptr;
  if (NEB_XML_CloneNode(NEB_XML_GetNodeFirstChild(document), &copy) == 0) expectCopy(before, copy);
  for (XmlNode *source : sources) NEB_XML_FreeNode(source);
}

using Layout = EachKernel;

TEST_P(Layout, OfParsedAndCopiedTreesIsThatOfPiecesOneByOne) {
  XmlNode *document = trees::parsed(manyPieces());
  EXPECT_EQ(layout::misplaced(layout::Model(kDocumentSessionSize),
                              *findSession(document->sessionId), layout::inParseOrder(document)),
            "");
  expectCopiesInOrder(document);
  // New strings right behind old ones, which a copy has together with their record.
  struct Change {
    const char *text;
    const char *prefix, *name, *value;
  };
  for (const Change &change :
       {Change{"<r a='1'/>", nullptr, nullptr, "23"}, Change{"<r a='1'/>", nullptr, "b", "2"},
        Change{"<r p:a='1'/>", nullptr, "b", "2"}, Change{"<r p:a='1'/>", nullptr, "b", nullptr},
        Change{"<r a='1'/>", "p", "b", "2"}, Change{"<r a='' b='2'/>", nullptr, nullptr, "3"}}) {
    const trees::Held parsed{trees::parsed(change.text)};
    ASSERT_EQ(NEB_XML_CloneNode(parsed, &document), 0U);
    EXPECT_EQ(XML_SetNode(document, document->firstAttr, change.prefix, change.name, change.value),
              0U);
    expectCopiesInOrder(document);
  }
  // An earlier block has room for the record and for nothing else, or not even for that.
  const std::string attribute = " " + std::string(60, 'n') + "='" + std::string(61, 'v') + "'";
  for (int32_t gap = 50; gap < 110; ++gap) {
    document = trees::parsed("<r" + attribute + "><p:c" + attribute + ">v</p:c></r>");
    const uint32_t session = document->sessionId;
    EXPECT_NE(XML_MemSpecialMalloc(session, findSession(session)->lastBlock->remaining - gap),
              nullptr);
    EXPECT_NE(XML_MemSpecialMalloc(session, kDocumentSessionSize / 2), nullptr);
    expectCopiesInOrder(document);
  }
}

// Most marks are of where a node is, and its copy is elsewhere.
TEST(Layout, HasNoMarksInACopyButForItsStrings) {
  XmlNode *document = trees::parsed("<r a='1'/>");
  XmlNode *element = XML_NewNode(0, NEB_XML_NODE_ELEMENT);
  XmlNode *attribute = document->firstAttr;
  document->firstAttr = nullptr;
  attribute->parent = nullptr;
  ASSERT_EQ(XML_AddAttrNode(attribute, element), 0U);
  EXPECT_NE(attribute->marks & kHasCrossReference, 0);
  XmlNode *copy = nullptr;
  ASSERT_EQ(NEB_XML_ImportNode(document, element, &copy), 0U);
  EXPECT_EQ(copy->firstAttr->marks, kStringsTogether);
  NEB_XML_FreeNode(document);
  NEB_XML_FreeNode(element);
}

INSTANTIATE_TEST_SUITE_P(Kernels, Layout, allKernels(), nameOfKernel);

}  // namespace
