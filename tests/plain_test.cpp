// The fast way through ordinary markup builds what the general steps build, piece by piece.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "support/guarded_hooks.h"
#include "support/layout.h"
#include "support/maps.h"
#include "support/page_edge.h"
#include "support/tables.h"
#include "support/trees.h"
#include "xml/xml_memory_table.h"
#include "xml/xml_parser.h"

namespace {

// Good and bad markup inside of an element.
const std::vector<std::string> kGood = tables::fieldsOf(
    "<b/> ~ <b x='1'/> ~ <p:b x=\"1\" p:y='two'></p:b> ~ <c>text</c> ~ <c>  a &amp; b </c> ~ "
    "<c><![CDATA[<]]></c> ~ <!-- c --> ~ <?pi?> ~   ~ \n\t ~ <c> \n</c > ~ <a-- /> ~ "
    "<d x = '1'/> ~ <d\tx='1'\ny='a>b'>\t&#9;</d> ~ <e x='<![CDATA[y]]>' &amp;='2'/> ~ <f\n/> ~ "
    "<g- x='1'>t</g-> ~ <h>/usr/lib</h> ~ <c>a&#65;b</c> ~ "
    "<i x='&gt;&#65;' y='&quot;' z='2' p:z='3'>&apos;t</i> ~ <p:i/> ~ <p:i a='1'>t</p:i> ~ "
    "<p:i><j/></p:i> ~ <p:i?k/> ~ <p:i/k></p:i/k> ~ <c></c> ~ <c>t</c > ~ <c a='1'>t</c > ~ "
    "<c><d/></c > ~ <c><d/></c\n> ~ <k p:q='1' r:q='2' q='3'/> ~ <k x='' y=''></k> ~ "
    "<k a='1'> t </k> ~ <k a='1'>\n\tt</k> ~ <k a='1'> </k> ~ "
    "<k a='&lt;' b=\"&amp;'\" c='\"&gt;'>&lt;&amp;t</k> ~ <p:b:c x='1'>t</p:b:c> ~ "
    "<p:b:c><j/></p:b:c> ~ <p:b:c p:y:z='1'/> ~ <p:name_that_is_longer_than_two_vectors/> ~ ");
const std::vector<std::string> kBad = tables::fieldsOf(
    "text ~ <a x='1' x='2'/> ~ </p:b> ~ <a ~ & ~ <a b='&c;'/> ~ <a-- x='1'>t</a--> ~ "
    "<p:a-->t</p:a--> ~ <p:a--></p:a--> ~ <p:a-- x='1'>t</p:a--> ~ <a>t</a-- ~ <a>></a> ~ "
    "<a>/></a> ~ <a x='1'>></a> ~ <a x='1'>/></a> ~ <a><b></b>t</b> ~ <a>t</ab> ~ <a><b/></ab> ~ "
    "<a>t</a ~ <a x='1'>t</a ~ <a><b/></a ~ <first_vector_same_1>t</first_vector_same_2> ~ "
    "<1_last_vector_is_same>t</2_last_vector_is_same> ~ "
    "<first_vector_same_1><b/></first_vector_same_2> ~ "
    "<1_last_vector_is_same><b/></2_last_vector_is_same> ~ "
    "<the_first_vector_1_and_the_last_vector a='' b='1'>t</the_first_vector_2_and_the_last_vector> "
    "~ "
    "<the_first_vector_1_and_the_last_vector><b/></the_first_vector_2_and_the_last_vector> ~ "
    "<a:/> ~ <:a/> ~ <:a x='1'/> ~ <a: x='1'/> ~ <a :x='1'/> ~ <a x:='1'/> ~ <a x='1'y='2'/> ~ "
    "<ax='1'/> ~ <a\vx='1'/> ~ <a x='1\"/> ~ <a x=1/> ~ <a x1'/> ~ <a x '1'/> ~ <a x=&y&/> ~ "
    "<a&amp;b><c/></> ~ <a x='1'/ > ~ <a x='1'/b ~ <a p:x='1' y='' p:x='2'/> ~ ");

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

// The tree, where its pieces lie, and that what is carved next is zero.
std::string laidOut(const std::string &text, ParseProblem *problem) {
  static const guarded::PageEdge edge(size_t{1} << 18);
  XmlNode *document = nullptr;
  if (Parser_parseText(edge.text(text), true, problem, &document) != NEB_XML_OK) return "rejected";
  const XmlMemSession &session = *findSession(document->sessionId);
  EXPECT_EQ(std::string(document->nameTable[0], sizeof document->nameTable),
            std::string(sizeof document->nameTable, '\0'));
  std::vector<layout::Piece> pieces = layout::piecesAsParsed(document);
  const bool isVerbatim = text.find('&') == text.npos && text.find("<![") == text.npos;
  if (isVerbatim) {
    EXPECT_EQ(layout::misplaced(layout::Model(kDocumentSessionSize), session, pieces), "") << text;
  }
  const void *next = XML_MemSpecialMalloc(document->sessionId, 100);
  EXPECT_EQ(std::string(static_cast<const char *>(next), 100), std::string(100, '\0'));
  pieces.push_back({next, 100});
  std::string layout = trees::described(document);
  for (const auto &piece : pieces) layout += " " + layout::placeIn(session, piece.start);
  for (const XmlNode *node = document; node != nullptr; node = NEB_XML_Iterator(node)) {
    layout += std::to_string(node->nameOwned) + std::to_string(node->valueOwned);
  }
  NEB_XML_FreeNode(document);
  return layout;
}

// Whether both accept the text. Behind an empty element it is not copied.
bool expectAgreement(const std::string &text) {
  for (const char *end : {"<z/>", ""}) {
    ParseProblem problem;
    const std::string layout = laidOut(text + end, nullptr);
    EXPECT_EQ(layout, laidOut(text + end, &problem)) << text + end;
    if (*end != '\0') continue;
    const guarded::UnclearedMemory memory;
    EXPECT_EQ(layout, laidOut(text, nullptr)) << text;
    return layout != "rejected";
  }
  return false;
}

using Plain = Maps;

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
    for (const std::string &good : kGood) EXPECT_TRUE(isAccepted(good)) << good;
    for (const std::string &bad : kBad) EXPECT_FALSE(isAccepted(bad)) << bad;
    // As the last of a text that leaves an element open.
    for (const std::string &good : kGood) expectAgreement(begin + good);
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

INSTANTIATE_TEST_SUITE_P(Maps, Plain, testing::Bool(), nameOfMaps);

}  // namespace
