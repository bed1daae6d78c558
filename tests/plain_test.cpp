// The fast way through ordinary markup builds what the general steps build, piece by piece.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "support/guarded_hooks.h"
#include "support/trees.h"
#include "xml/xml_memory_carver.h"
#include "xml/xml_memory_table.h"
#include "xml/xml_parser.h"
#include "xml/xml_parser_map.h"

namespace {

constexpr const char *kGood[] = {"<b/>",
                                 "<b x='1'/>",
                                 "<p:b x=\"1\" p:y='two'></p:b>",
                                 "<c>text</c>",
                                 "<c>  a &amp; b </c>",
                                 "<c><![CDATA[<]]></c>",
                                 "<!-- c -->",
                                 "<?pi?>",
                                 " ",
                                 "\n\t",
                                 "<c> \n</c >",
                                 "<a-- />",
                                 "<d x = '1'/>",
                                 "<d\tx='1'\ny='a>b'>\t&#9;</d>",
                                 "<e x='<![CDATA[y]]>' &amp;='2'/>",
                                 "<f\n/>",
                                 "<g- x='1'>t</g->",
                                 "<h>/usr/lib</h>",
                                 "<c>a&#65;b</c>",
                                 "<i x='&gt;&#65;' y='&quot;' z='2' p:z='3'>&apos;t</i>",
                                 "<p:i/>",
                                 "<p:i a='1'>t</p:i>",
                                 "<p:i><j/></p:i>",
                                 "<p:i?k/>",
                                 "<p:i/k></p:i/k>",
                                 "<c></c>",
                                 "<c>t</c >",
                                 "<c a='1'>t</c >",
                                 "<c><d/></c >",
                                 "<c><d/></c\n>",
                                 "<k p:q='1' r:q='2' q='3'/>",
                                 "<k x='' y=''></k>",
                                 "<k a='1'> t </k>",
                                 "<k a='1'>\n\tt</k>",
                                 "<k a='1'> </k>",
                                 "<k a='&lt;' b=\"&amp;'\" c='\"&gt;'>&lt;&amp;t</k>",
                                 "<p:b:c x='1'>t</p:b:c>",
                                 "<p:b:c><j/></p:b:c>",
                                 "<p:b:c p:y:z='1'/>",
                                 "<p:name_that_is_longer_than_two_vectors/>"};
constexpr const char *kBad[] = {"text",
                                "<a x='1' x='2'/>",
                                "</p:b>",
                                "<a",
                                "&",
                                "<a b='&c;'/>",
                                "<a-- x='1'>t</a-->",
                                "<p:a-->t</p:a-->",
                                "<p:a--></p:a-->",
                                "<p:a-- x='1'>t</p:a-->",
                                "<a>t</a--",
                                "<a>></a>",
                                "<a>/></a>",
                                "<a x='1'>></a>",
                                "<a x='1'>/></a>",
                                "<a><b></b>t</b>",
                                "<a>t</ab>",
                                "<a><b/></ab>",
                                "<a>t</a",
                                "<a x='1'>t</a",
                                "<a><b/></a",
                                "<first_vector_same_1>t</first_vector_same_2>",
                                "<1_last_vector_is_same>t</2_last_vector_is_same>",
                                "<first_vector_same_1><b/></first_vector_same_2>",
                                "<1_last_vector_is_same><b/></2_last_vector_is_same>",
                                "<the_first_vector_1_and_the_last_vector a='' b='1'>t"
                                "</the_first_vector_2_and_the_last_vector>",
                                "<the_first_vector_1_and_the_last_vector><b/>"
                                "</the_first_vector_2_and_the_last_vector>",
                                "<a:/>",
                                "<:a/>",
                                "<:a x='1'/>",
                                "<a: x='1'/>",
                                "<a :x='1'/>",
                                "<a x:='1'/>",
                                "<a x='1'y='2'/>",
                                "<ax='1'/>",
                                "<a\vx='1'/>",
                                "<a x='1\"/>",
                                "<a x=1/>",
                                "<a x1'/>",
                                "<a x '1'/>",
                                "<a x=&y&/>",
                                "<a&amp;b><c/></>",
                                "<a x='1'/ >",
                                "<a x='1'/b",
                                "<a p:x='1' y='' p:x='2'/>"};

// Mostly well-formed.
std::string randomMarkup(std::mt19937 *random) {
  std::string text = "<r>";
  size_t depth = 0;
  for (size_t left = (*random)() % 40; left > 0; --left) {
    const auto choice = (*random)() % 128;
    if (choice == 0) {
      text += kBad[(*random)() % std::size(kBad)];
    } else if (choice < 20) {
      text += "<q:a z='9'>";
      ++depth;
    } else if (choice < 40 && depth > 0) {
      text += "</q:a>";
      --depth;
    } else {
      text += kGood[(*random)() % std::size(kGood)];
    }
  }
  for (; depth > 0; --depth) text += "</q:a>";
  return text + "</r>";
}

// Where in its session's blocks a piece lies.
std::string placeOf(const XmlMemSession &session, const void *piece) {
  size_t number = 0;
  for (const XmlMemBlock *block = session.firstBlock; block != nullptr; block = block->nextBlock) {
    const auto *data = reinterpret_cast<const char *>(block + 1);
    const auto *byte = static_cast<const char *>(piece);
    if (byte >= data && byte < data + block->capacity) {
      return std::to_string(number) + "+" + std::to_string(byte - data) + " ";
    }
    ++number;
  }
  return piece == nullptr ? "- " : "elsewhere ";
}

std::string placesOf(const XmlMemSession &session, const XmlNode *node) {
  return placeOf(session, node) + placeOf(session, node->prefix) + placeOf(session, node->name) +
         placeOf(session, node->value) + std::to_string(node->nameOwned) +
         std::to_string(node->valueOwned) + " ";
}

// The tree, where its pieces lie, and that what is carved next is zero.
std::string laidOut(const std::string &text, ParseProblem *problem) {
  // Without spare bytes behind the terminator, so that reading them is noticed.
  const std::vector<char> exact(text.c_str(), text.c_str() + text.size() + 1);
  XmlNode *document = nullptr;
  if (Parser_parseText(exact.data(), true, problem, &document) != NEB_XML_OK) return "rejected";
  const XmlMemSession &session = *findSession(document->sessionId);
  EXPECT_EQ(std::string(document->nameTable[0], sizeof document->nameTable),
            std::string(sizeof document->nameTable, '\0'));
  std::string layout = trees::described(document) + " ";
  for (const XmlNode *node = document; node != nullptr; node = NEB_XML_Iterator(node)) {
    layout += placesOf(session, node);
    for (const XmlNode *attribute = node->firstAttr; attribute != nullptr;
         attribute = attribute->next) {
      layout += placesOf(session, attribute);
    }
  }
  const void *next = XML_MemSpecialMalloc(document->sessionId, 100);
  EXPECT_EQ(std::string(static_cast<const char *>(next), 100), std::string(100, '\0'));
  layout += placeOf(session, next);
  NEB_XML_FreeNode(document);
  return layout;
}

// Whether both accept the text.
bool expectAgreement(const std::string &text) {
  ParseProblem problem;
  const std::string layout = laidOut(text, nullptr);
  EXPECT_EQ(layout, laidOut(text, &problem)) << text;
  const guarded::UnclearedMemory memory;
  EXPECT_EQ(layout, laidOut(text, nullptr)) << text;
  return layout != "rejected";
}

// Leaves holes of many sizes behind in the blocks of its session, and fills them in any order with
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
    const std::string prefix(1 + random() % (i % 7 == 0 ? 40 : 13), 'p');
    const std::string value(1 + random() % 13, 'v');
    const std::string qualified = prefix + ":" + local;
    text += "<" + local + ">" + value + "</" + local + ">";
    text +=
        "<" + qualified + " " + qualified + "='" + value + "'>" + value + "</" + qualified + ">";
  }
  return text + "</s></r>";
}

class Plain : public testing::TestWithParam<bool> {
 protected:
  void SetUp() override {
    const MarkupMap::Mapper vector = MarkupMap::vectorMapper();
    if (GetParam() && vector == nullptr) GTEST_SKIP() << "no wide vectors on this machine";
    MarkupMap::use(GetParam() ? vector : MarkupMap::scalarMapper());
  }
};

TEST_P(Plain, AgreesOnRandomMarkup) {
  std::mt19937 random(17);
  size_t accepted = 0;
  for (int round = 0; round < 3000; ++round) {
    if (expectAgreement(randomMarkup(&random))) ++accepted;
  }
  EXPECT_GT(accepted, 2000U);
}

// Each kind of markup with text enough behind it.
TEST_P(Plain, AgreesOnEachMarkup) {
  for (const std::string begin : {"<r>", "<r><longer_than_a_vector/>"}) {
    const auto isAccepted = [&begin](const std::string &markup) {
      return expectAgreement(begin + markup + "<m/>" + std::string(200, ' ') + "</r>");
    };
    for (const char *good : kGood) EXPECT_TRUE(isAccepted(good)) << good;
    for (const char *bad : kBad) EXPECT_FALSE(isAccepted(bad)) << bad;
    // As the last of a text that leaves an element open.
    for (const char *good : kGood) expectAgreement(begin + good);
  }
  for (const char *root : {"<r x='1' y='2'/>", "<r x='1' y='2'>t</r>",
                           "<r><longer_than_a_vector/></r>", "<longer_than_a_vector x='1' y='2'/>",
                           "<longer_than_a_vector x='1' y='2'>t</longer_than_a_vector>"}) {
    EXPECT_TRUE(expectAgreement(root + std::string("<s/>") + std::string(200, ' '))) << root;
  }
}

// A piece is as long as what it was made from.
TEST_P(Plain, LeavesZerosBehindWhatReferencesBecome) {
  const std::string text =
      "<r><n x='&lt;&lt;&lt;&lt;'>&amp;&amp;&amp;&amp;t</n>" + std::string(200, '\n') + "</r>";
  XmlNode *document = trees::parsed(text);
  const XmlNode *element = NEB_XML_GetNodeFirstChild(document);
  EXPECT_EQ(std::string(element->firstAttr->value, 17), "<<<<" + std::string(13, '\0'));
  EXPECT_EQ(std::string(element->value, 22), "&&&&t" + std::string(17, '\0'));
  NEB_XML_FreeNode(document);
}

// Names, values and white space of every length around those at which one step becomes two, with
// what follows them at every place in a word of the maps and on both sides of a stretch.
TEST_P(Plain, AgreesAtEveryLength) {
  const auto expectBoth = [](const std::string &text) {
    expectAgreement(text);
    expectAgreement(text + std::string(200, ' '));
  };
  const auto expectAt = [&expectBoth](size_t length) {
    const std::string run(length, 'n');
    const std::string blank(length, ' ');
    expectBoth("<r><n" + run + ">" + run + "</n" + run + ">" + blank + "<m x='" + run + "' n" +
               run + "=\"v\"/></r>");
    expectBoth("<r" + blank + " a='b' c='" + run + "&lt;'>" + blank + run + "</r>");
    expectBoth("<r><p" + run + ":n" + run + " x='v'/></r>");
    expectBoth("<r><n>" + std::string(50, 'n') + "&lt;x</n>" + blank + "</r>");
    expectBoth("<r>" + blank + "<m/><n>" + std::string(58, 'n') + "&lt;</n></r>");
    // A colon as far behind an end tag's name as one would be looked for.
    expectBoth("<r>" + blank + "<nnnnnnnnnnnn><m/></nnnnnnnnnnnn>" + std::string(49, ' ') +
               "<p:m/></r>");
  };
  for (size_t length = 0; length < 200; ++length) expectAt(length);
  for (size_t length = 4000; length < 4200; length += 3) expectAt(length);
  expectAgreement(manyPieces());
  const std::string longest(UINT16_MAX + 4, 'n');
  expectAgreement("<r><" + longest + "><m/></nnn></r>");
  expectAgreement("<r><p:" + longest + " x='v'/>" + std::string(200, ' ') + "</r>");
}

// Runs that reach beyond what is mapped, and what follows them at every place in a word.
TEST_P(Plain, AgreesBehindLongRuns) {
  std::mt19937 random(17);
  const auto markup = [&random](size_t length) {
    std::string text;
    while (text.size() < length) text += kGood[random() % std::size(kGood)];
    return text;
  };
  const char *const pieces[] = {"", "&quot;", "<", "\"", "<![CDATA[<]]>", "&#65;", "&none;"};
  for (size_t round = 0; round < 500; ++round) {
    const std::string begin = "<r>" + markup(random() % 5000) + std::string(random() % 64, ' ');
    const std::string end = markup(1000) + "</r>";
    std::string value(1500 + random() % 9000, 'v');
    value.insert(random() % value.size(), pieces[random() % std::size(pieces)]);
    expectAgreement(begin + "<n>" + value + "</n>" + end);
    expectAgreement(begin + "<n x='" + value + "'/>" + end);
    for (const char *open : {"<n>", "<n x='", "<n x=\"", "<n>&amp;"}) {
      EXPECT_FALSE(expectAgreement(begin + open + value));
    }
  }
}

// References at every place in what is decoded at once, against what they stand for.
TEST_P(Plain, DecodesEachReferenceWhereItStands) {
  struct Piece {
    const char *text, *meaning;
  };
  const Piece pieces[] = {{"&amp;", "&"},
                          {"&lt;", "<"},
                          {"&gt;", ">"},
                          {"&apos;", "'"},
                          {"&quot;", "\""},
                          {"&#65;", "A"},
                          {"&#x20AC;", "\xE2\x82\xAC"},
                          {"<![CDATA[&lt;]]>", "&lt;"}};
  std::mt19937 random(17);
  for (int round = 0; round < 4000; ++round) {
    std::string text;
    std::string meaning;
    for (size_t left = 1 + random() % 8; left > 0; --left) {
      // Unlike letters, so that none can stand in for another.
      for (size_t plain = random() % 70; plain > 0; --plain) {
        const char letter = static_cast<char>('a' + text.size() % 26);
        text += letter;
        meaning += letter;
      }
      const Piece &piece = pieces[random() % std::size(pieces)];
      text += piece.text;
      meaning += piece.meaning;
    }
    const std::string tail(random() % 200, ' ');
    XmlNode *document =
        trees::parsed("<r><n x=\"" + text + "\">" + text + "</n>" + tail + "</r>", round % 2 == 0);
    const XmlNode *node = NEB_XML_GetNodeFirstChild(document);
    EXPECT_EQ(+node->value, meaning);
    EXPECT_EQ(+node->firstAttr->value, meaning);
    NEB_XML_FreeNode(document);
  }
}

INSTANTIATE_TEST_SUITE_P(Maps, Plain, testing::Bool(),
                         [](const auto &kind) { return kind.param ? "Vector" : "Scalar"; });

// Copies the first of two documents that have been made alike into itself, as an element, and carves
// what the copy consists of from the session of the second.
void expectCopyOfPiecesCarvedOneByOne(XmlNode *const (&documents)[2]) {
  const XmlMemSession *sessions[2];
  for (const size_t i : {0U, 1U}) sessions[i] = findSession(documents[i]->sessionId);
  XmlNode *copy = nullptr;
  ASSERT_EQ(NEB_XML_ImportNode(documents[0], documents[0], &copy), 0U);
  const auto withoutType = [](const std::string &tree) { return tree.substr(tree.find(':')); };
  EXPECT_EQ(withoutType(trees::described(copy)), withoutType(trees::described(documents[0])));
  const auto expectCarved = [&](const void *piece, size_t size) {
    const void *carved = XML_MemSpecialMalloc(documents[1]->sessionId, static_cast<int32_t>(size));
    EXPECT_EQ(placeOf(*sessions[0], piece), placeOf(*sessions[1], carved));
  };
  const auto expectNode = [&](const XmlNode *node) {
    expectCarved(node, recordSize(static_cast<uint32_t>(node->type)));
    for (const char *text : {+node->prefix, +node->name, +node->value}) {
      if (text != nullptr) expectCarved(text, std::strlen(text) + 1);
    }
  };
  for (const XmlNode *node = copy; node != nullptr; node = NEB_XML_Iterator(node)) {
    expectNode(node);
    if (node->firstAttr != nullptr) expectNode(node->firstAttr);
  }
  for (XmlNode *document : documents) NEB_XML_FreeNode(document);
}

// A copy is carved in one go where that makes no difference.
TEST(Layout, OfACopyIsThatOfPiecesCarvedOneByOne) {
  expectCopyOfPiecesCarvedOneByOne({trees::parsed(manyPieces()), trees::parsed(manyPieces())});
  // New strings right behind old ones.
  struct Change {
    const char *text;
    const char *prefix, *name, *value;
  };
  for (const Change &change :
       {Change{"<r a='1'/>", nullptr, nullptr, "23"}, Change{"<r a='1'/>", nullptr, "b", "2"},
        Change{"<r p:a='1'/>", nullptr, "b", "2"}, Change{"<r p:a='1'/>", nullptr, "b", nullptr},
        Change{"<r a='1'/>", "p", "b", "2"}, Change{"<r a='' b='2'/>", nullptr, nullptr, "3"}}) {
    XmlNode *documents[2];
    for (XmlNode *&document : documents) {
      document = trees::parsed(change.text);
      XML_SetNode(document, document->firstAttr, change.prefix, change.name, change.value);
    }
    expectCopyOfPiecesCarvedOneByOne({documents[0], documents[1]});
  }
  // An earlier block has room for the record and for nothing else, or not even for that.
  for (int32_t hole = 50; hole < 70; ++hole) {
    XmlNode *documents[2];
    for (XmlNode *&document : documents) {
      document = trees::parsed("<r " + std::string(60, 'n') + "='" + std::string(61, 'v') + "'/>");
      const uint32_t session = document->sessionId;
      XML_MemSpecialMalloc(session, findSession(session)->lastBlock->remaining - hole);
      XML_MemSpecialMalloc(session, kDocumentSessionSize / 2);
    }
    expectCopyOfPiecesCarvedOneByOne({documents[0], documents[1]});
  }
}

// What is known of earlier blocks stays true when a new one cannot be had.
TEST(Layout, IsKnownWhenMemoryRunsOut) {
  std::mt19937 random(17);
  for (size_t round = 0; round < 300; ++round) {
    const uint32_t handle = XML_MemSessionBegin(500);
    XmlMemSession &session = *findSession(handle);
    {
      SessionCarver carver(session);
      const guarded::FailingAllocation failing(1 + random() % 10);
      for (int i = 0; i < 200; ++i) carver.carvePiece(1 + random() % (i % 8 == 0 ? 2000 : 100));
      carver.save();
    }
    int32_t widest = 0;
    for (const XmlMemBlock *block = session.firstBlock; block != session.lastBlock;
         block = block->nextBlock) {
      widest = std::max(widest, block->remaining);
    }
    EXPECT_EQ(session.widestEarlier, widest);
    XML_MemSessionEnd(handle);
  }
}

// A mark tells of where a node stands, and its copy stands elsewhere.
TEST(Layout, HasNoMarksInACopy) {
  XmlNode *document = trees::parsed("<r a='1'/>");
  XmlNode *element = nullptr;
  ASSERT_EQ(NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, nullptr, "e", nullptr, &element), 0U);
  XmlNode *attribute = document->firstAttr;
  document->firstAttr = nullptr;
  attribute->parent = nullptr;
  ASSERT_EQ(XML_AddAttrNode(attribute, element), 0U);
  EXPECT_NE(attribute->marks, 0);
  XmlNode *copy = nullptr;
  ASSERT_EQ(NEB_XML_ImportNode(document, element, &copy), 0U);
  EXPECT_EQ(copy->firstAttr->marks, 0);
  NEB_XML_FreeNode(document);
  NEB_XML_FreeNode(element);
}

}  // namespace
