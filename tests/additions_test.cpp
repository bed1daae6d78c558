// Exact output. That edited trees read back or are refused, the fuzzer roundtrip checks.
#include <gtest/gtest.h>

#include <cstring>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "support/guarded_hooks.h"
#include "support/tables.h"
#include "support/trees.h"

namespace {

constexpr uint32_t kOk = NEB_XML_OK;
constexpr uint32_t kInvalid = NEB_XML_ERR_INVALID_PARAM;

std::string indented(const XmlNode *node, uint32_t width) {
  char *text = nullptr;
  if (NEB_XML_TransformIndented(node, width, &text) != NEB_XML_OK) return "error";
  std::string copy = text;
  NEB_XML_FreeMem(text);
  return copy;
}

TEST(Indented, PutsSpacesBeforeLinesAndNowhereElse) {
  XmlNode *document = trees::parsed("<r a='1'><b><c>x  y</c><d/></b><e>t\tt</e></r>");
  EXPECT_EQ(indented(document, 0), trees::printed(document));
  EXPECT_EQ(indented(document, 2),
            "<r a=\"1\">\n  <b>\n    <c>x  y</c>\n    <d/>\n  </b>\n  <e>t\tt</e>\n</r>\n");
  EXPECT_EQ(indented(NEB_XML_GetNodeFirstChild(document), 1), "<b>\n <c>x  y</c>\n <d/>\n</b>\n");
  EXPECT_EQ(indented(document, 16).find("<b>"), indented(document, 0).find("<b>") + 16);
  XmlNode *other = XML_NewNode(0, 5);
  EXPECT_EQ(XML_SetNode(other, other, nullptr, "other", nullptr), kOk);
  EXPECT_EQ(NEB_XML_AppendChildNode(document, other), kOk);
  EXPECT_EQ(indented(document, 0), "error") << "a node of another type";
  NEB_XML_FreeNode(other);
  for (const auto &[value, isLayout] : {std::pair(" \t\n\r", true), {" \v", false}, {"x", false}}) {
    EXPECT_EQ(NEB_XML_SetNode(document, nullptr, nullptr, value), kOk);
    EXPECT_EQ(indented(document, 0) != "error", isLayout) << "beside children";
  }
  NEB_XML_FreeNode(document);
}

// What a lenient parse gives is printed so that it reads back, or is refused.
TEST(Indented, PrintsExactlyOrRefuses) {
  const std::string error = "error";
  std::vector<std::pair<std::string, std::string>> cases = {
      {"<a x='&amp;lt;\t\n\r'>&amp;lt;\t\n\r</a>",
       "<a x=\"&amp;lt;&#9;&#10;&#13;\">&amp;lt;\t\n&#13;</a>"},
      {"<a x='&lt;&gt;&quot;&apos;\x7F\xFF'>&amp;#65; &gt;</a>",
       "<a x=\"&lt;&gt;&quot;&apos;\x7F\xFF\">&amp;#65; &gt;</a>"},
      {"<a x=' \n x'>&#32;\n x</a>", "<a x=\" &#10; x\">&#32;\n x</a>"},
      {"<a x='  '>&#32; </a>", "<a x=\"  \">&#32; </a>"},
      {"<a>  x\n </a>", "<a>  x\n </a>"},
      {"<a> &#13; x</a>", "<a> &#13; x</a>"},
      {"<a><b>&#9;</b></a>", "<a>\n<b>&#9;</b>\n</a>"},
      {"<a><b>&#10; </b></a>", "<a>\n<b>&#10; </b>\n</a>"},
      {"<a x=''><b><![CDATA[]]></b></a>", "<a x=\"\">\n<b/>\n</a>"},
      {"<a><b></b>\n</a>", "<a>\n<b/>\n</a>"},  // a value of a, beside its child
      {"<_><AZaz09.-_/><a:b:c/><a:1/></_>", "<_>\n<AZaz09.-_/>\n<a:b:c/>\n<a:1/>\n</_>"},
      {"<\xC3\xA9 exactly-seventeen='' a&#58;b=''/>",
       "<\xC3\xA9 exactly-seventeen=\"\" a:b=\"\"/>"},
      // Reading takes "-->" for markup.
      {"<a-- ><p:-- >t</p:-- ><b-- c--=''/></a-- >",
       "<a-- >\n<p:-- >t</p:-- >\n<b-- c--=\"\"/>\n</a-- >"},
      {"<a x='' x&#58;x='' x:y=''/>", "<a x=\"\" x:x=\"\" x:y=\"\"/>"},
      {"<a p:x:y='' p&#58;x&#58;y=''/>", error},
      {"<a p:x&#58;y='' p&#58;x:y=''/>", error}};
  std::string names =
      "1 -a .a 1:a <![CDATA[]]> a&#32;b a&#10;b a&lt; a] a&amp; a&#47; a@ a[ a` a{ a; ";
  for (std::istringstream each(names + "a\x7F a\x01 a!b more-than-sixteen!"); each >> names;) {
    cases.insert(cases.end(), {{"<a " + names + "=''/>", error}, {"<" + names + " />", error}});
  }
  cases.insert(cases.end(), {{"<a &#58;b=''/>", error}, {"<a b&#58;=''/>", error}});
  for (char control = 1; control < ' '; ++control) {
    if (std::strchr("\t\n\r", control) != nullptr) continue;
    for (const std::string &value : {control + std::string("a"), std::string(20, 'b') + control}) {
      cases.insert(cases.end(),
                   {{"<a x='" + value + "'/>", error}, {"<a>" + value + "</a>", error}});
    }
  }
  for (const auto &[input, expected] : cases) {
    for (const bool withSession : {false, true}) {
      XmlNode *document = trees::parsed(input, withSession);
      const std::string whole = indented(document, 0);
      EXPECT_EQ(whole, expected == error ? error : expected + "\n") << input;
      XmlNode *again = trees::parsed(expected == error ? input : indented(document, 16));
      EXPECT_EQ(indented(again, 0), whole);
      NEB_XML_FreeNode(again);
      NEB_XML_FreeNode(document);
    }
  }
}

// The last of many is the first's twin when its prefix is that of the first, printed with a name.
TEST(Indented, RefusesAttributesOfOneNameAndShortMemory) {
  for (const size_t count : {2U, 24U, 25U, 26U, 70U, 1000U}) {
    for (const bool isTwin : {false, true}) {
      std::string text = "<a p&#58;x&#58;y=''";
      for (size_t i = 2; i < count; ++i) text += " name" + std::to_string(i) + "=''";
      XmlNode *document = trees::parsed(text + (isTwin ? " p:x&#58;y=''/>" : " p:x&#58;z=''/>"));
      const size_t before = guarded::outstanding();
      uint32_t result = NEB_XML_ERR_NO_MEMORY;
      for (size_t n = 1; result == NEB_XML_ERR_NO_MEMORY; ++n) {
        const guarded::FailingAllocation failing(n);
        char *printed = nullptr;
        result = NEB_XML_TransformIndented(document, 0, &printed);
        NEB_XML_FreeMem(printed);
        EXPECT_EQ(guarded::outstanding(), before);
        EXPECT_EQ(result == NEB_XML_ERR_NO_MEMORY, failing.happened());
      }
      EXPECT_EQ(result, isTwin ? kInvalid : kOk);
      NEB_XML_FreeNode(document);
    }
  }
}

TEST(Indented, StopsGrowingAt128Columns) {
  using tables::repeated;
  XmlNode *document = trees::parsed(repeated("<a>", 5000) + "<b/>" + repeated("</a>", 5000));
  const std::string printed = indented(document, 16);
  const std::string widest = std::string(128, ' ') + "<a>\n";
  EXPECT_NE(printed.find("\n" + std::string(112, ' ') + "<a>\n" + widest + widest), printed.npos);
  EXPECT_LT(printed.size(), 10000 * (widest.size() + 1));
  NEB_XML_FreeNode(document);
}
}  // namespace
