// Importing across documents and indented output.
#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "support/guarded_hooks.h"
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

TEST(Import, WorksBetweenAnyTwoStorages) {
  const char *kSource = "<s:r a='1' s:b='&amp;'><x>t</x><y><z/></y></s:r>";
  for (const bool sourceSession : {false, true}) {
    for (const bool targetSession : {false, true}) {
      XmlNode *source = trees::parsed(kSource, sourceSession);
      XmlNode *target = trees::parsed("<t><u/></t>", targetSession);
      const std::string before = trees::described(source);
      XmlNode *copy = nullptr;
      ASSERT_EQ(NEB_XML_ImportNode(NEB_XML_GetNodeFirstChild(target), source, &copy), kOk);
      EXPECT_EQ(trees::described(copy), "0" + before.substr(2)) << "a document becomes an element";
      EXPECT_EQ(trees::described(source), before);
      EXPECT_EQ(NEB_XML_AppendChildNode(target, copy), kOk);
      NEB_XML_FreeNode(source);
      EXPECT_EQ(trees::described(target), "12:t=-(0:u=-,0" + before.substr(2) + ")");
      NEB_XML_FreeNode(target);
    }
  }
}

TEST(Import, IsTheWayForANodeThatInsertionRefuses) {
  XmlNode *from = trees::parsed("<a><b>text</b></a>");
  XmlNode *to = trees::parsed("<c/>");
  XmlNode *node = NEB_XML_GetNodeFirstChild(from);
  NEB_XML_RemoveNode(node);
  EXPECT_EQ(NEB_XML_AppendChildNode(to, node), kInvalid);
  XmlNode *copy = nullptr;
  ASSERT_EQ(NEB_XML_ImportNode(to, node, &copy), kOk);
  EXPECT_EQ(NEB_XML_AppendChildNode(to, copy), kOk);
  NEB_XML_FreeNode(from);
  EXPECT_EQ(trees::printed(to), "<c>\n<b>text</b>\n</c>\n");
  NEB_XML_FreeNode(to);
}

TEST(Import, RefusesAndGivesEverythingBack) {
  XmlNode *chain = trees::parsed("<a/><b/>");
  XmlNode *source = trees::parsed("<s x='1'><t u='2'>v</t></s>", false);
  XmlNode *target = trees::parsed("<t/>", false);
  XmlNode *attribute = XML_NewNode(0, NEB_XML_NODE_ATTRIBUTE);
  XmlNode *copy = source;
  for (auto [to, from, out] :
       {std::tuple(static_cast<XmlNode *>(nullptr), source, &copy),
        std::tuple(target, static_cast<XmlNode *>(nullptr), &copy),
        std::tuple(target, source, static_cast<XmlNode **>(nullptr)),
        std::tuple(attribute, source, &copy), std::tuple(target, attribute, &copy),
        std::tuple(chain, source, &copy)}) {
    EXPECT_EQ(NEB_XML_ImportNode(to, from, out), kInvalid);
  }
  const size_t before = guarded::outstanding();
  bool hasFailed = true;
  for (size_t n = 1; hasFailed; ++n) {
    const guarded::FailingAllocation failing(n);
    const uint32_t result = NEB_XML_ImportNode(target, source, &copy);
    hasFailed = failing.happened();
    EXPECT_EQ(result, hasFailed ? uint32_t{NEB_XML_ERR_NO_MEMORY} : kOk);
    if (!hasFailed) NEB_XML_FreeNode(copy);
    ASSERT_EQ(guarded::outstanding(), before);
  }
  for (XmlNode *node : {attribute, target, source, chain}) NEB_XML_FreeNode(node);
}

TEST(Indented, PutsSpacesBeforeLinesAndNowhereElse) {
  XmlNode *document = trees::parsed("<r a='1'><b><c>x  y</c><d/></b><e>t\tt</e></r>");
  EXPECT_EQ(indented(document, 0), trees::printed(document));
  EXPECT_EQ(indented(document, 2),
            "<r a=\"1\">\n  <b>\n    <c>x  y</c>\n    <d/>\n  </b>\n  <e>t\tt</e>\n</r>\n");
  XmlNode *inner = NEB_XML_GetNodeFirstChild(document);
  EXPECT_EQ(indented(inner, 1), "<b>\n <c>x  y</c>\n <d/>\n</b>\n");
  EXPECT_EQ(indented(document, 16).find("<b>"), indented(document, 0).find("<b>") + 16);
  char *text = nullptr;
  EXPECT_EQ(NEB_XML_TransformIndented(document, 17, &text), kInvalid);
  EXPECT_EQ(NEB_XML_TransformIndented(nullptr, 2, &text), kInvalid);
  NEB_XML_FreeNode(document);
}

// White space behind an element that holds only white space would be read as a value.
TEST(Indented, ParsesToTheTreeOfThePlainText) {
  for (const char *text :
       {"<r><a><b> </b></a></r>", "<r><a><b><![CDATA[]]></b></a><c/></r>",
        "<r><a><b>&#32;</b></a><c>\r\n</c></r>", "<r><a>\n\n</a><b/><c><d>t</d></c></r>",
        "<r><a><b>\r</b></a></r>", "<r><a><b>\t</b></a></r>", "<r><a><b>\v</b></a></r>"}) {
    XmlNode *document = trees::parsed(text);
    XmlNode *plain = trees::parsed(trees::printed(document));
    for (const uint32_t width : {1U, 2U, 16U}) {
      XmlNode *again = trees::parsed(indented(document, width));
      EXPECT_EQ(trees::described(again), trees::described(plain)) << text;
      NEB_XML_FreeNode(again);
    }
    NEB_XML_FreeNode(plain);
    NEB_XML_FreeNode(document);
  }
}

}  // namespace
