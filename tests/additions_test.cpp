// Importing across documents and indented output.
#include <gtest/gtest.h>

#include <cstring>
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

// Prints in every width, and demands that reading gives the same tree.
void expectExact(const XmlNode *document) {
  for (const uint32_t width : {0U, 1U, 16U}) {
    const std::string text = indented(document, width);
    XmlNode *again = trees::parsed(text);
    EXPECT_EQ(trees::described(again), trees::described(document)) << text;
    NEB_XML_FreeNode(again);
  }
}

void expectRefused(const XmlNode *document, const std::string &what) {
  char *text = nullptr;
  EXPECT_EQ(NEB_XML_TransformIndented(document, 0, &text), kInvalid) << what;
  EXPECT_EQ(text, nullptr);
}

// A document, an element in it, and an attribute of that.
struct Nodes {
  explicit Nodes(bool withSession)
      : document(trees::parsed("<r><e a='v'>v</e></r>", withSession)),
        element(NEB_XML_GetNodeFirstChild(document)) {
    const char *ignored = nullptr;
    NEB_XML_GetFirstAttrEx(element, &ignored, &ignored, &ignored, &attribute);
  }
  ~Nodes() { NEB_XML_FreeNode(document); }
  XmlNode *document, *element, *attribute = nullptr;
};

TEST(Indented, WritesValuesThatReadBack) {
  const char *const cases[][3] = {
      {"&lt;&#65; &", "&amp;lt;&amp;#65; &amp;", "&amp;lt;&amp;#65; &amp;"},
      {"<>\"'", "&lt;&gt;&quot;&apos;", "&lt;&gt;&quot;&apos;"},
      {"x\t\n\r\r\n", "x\t\n&#13;&#13;\n", "x&#9;&#10;&#13;&#13;&#10;"},
      {"  spaces before, and behind ", "  spaces before, and behind ",
       "  spaces before, and behind "},
      {" \n x", "&#32;\n x", " &#10; x"},
      {" \r x", " &#13; x", " &#13; x"},
      {"\t", "&#9;", "&#9;"},
      {"\n ", "&#10; ", "&#10; "},
      {"  ", "&#32; ", "  "},
      {"\x7F\xC3\xA9\xFF", "\x7F\xC3\xA9\xFF", "\x7F\xC3\xA9\xFF"},
  };
  for (const bool withSession : {false, true}) {
    const Nodes nodes(withSession);
    std::string all(5000, 'x');
    for (const auto &[value, inElement, inAttribute] : cases) {
      for (XmlNode *node : {nodes.element, nodes.attribute}) {
        ASSERT_EQ(NEB_XML_SetNode(node, nullptr, nullptr, value), kOk);
      }
      EXPECT_EQ(indented(nodes.element, 2),
                std::string("<e a=\"") + inAttribute + "\">" + inElement + "</e>\n");
      expectExact(nodes.document);
      all += value;
      NEB_XML_SetNode(nodes.element, nullptr, nullptr, all.c_str());
      expectExact(nodes.document);
    }
  }
}

TEST(Indented, RefusesWhatNoTextCanHold) {
  for (const bool withSession : {false, true}) {
    for (const char *before : {"", "ab", "sixteen letters and more"}) {
      for (char control = 1; control < ' '; ++control) {
        if (std::strchr("\t\n\r", control) != nullptr) continue;
        for (const bool isInAttribute : {false, true}) {
          const Nodes nodes(withSession);
          NEB_XML_SetNode(isInAttribute ? nodes.attribute : nodes.element, nullptr, nullptr,
                          (std::string(before) + control + "c").c_str());
          expectRefused(nodes.document, before + std::to_string(control));
        }
      }
    }
  }
  const Nodes nodes(true);
  EXPECT_EQ(NEB_XML_SetNode(nodes.document, nullptr, nullptr, " \t\r\n"), kOk);
  EXPECT_EQ(indented(nodes.document, 0), "<r>\n<e a=\"v\">v</e>\n</r>\n") << "layout";
  NEB_XML_SetNode(nodes.document, nullptr, nullptr, " \n\v");
  expectRefused(nodes.document, "a value beside children");
  NEB_XML_SetNode(nodes.document, nullptr, nullptr, "");
  XmlNode *other = XML_NewNode(0, 5);
  XML_SetNode(other, other, nullptr, "other", nullptr);
  expectRefused(other, "a node of another type");
  ASSERT_EQ(NEB_XML_AppendChildNode(nodes.document, other), kOk);
  expectRefused(nodes.document, "a node of another type below");
}

TEST(Indented, TakesOrRefusesWholeNames) {
  const struct {
    bool isName;
    const char *prefix, *name;
  } cases[] = {
      {true, "", "_"},        {true, "", "AZaz09.-_"},
      {true, "", "a:b"},      {true, "a", "b:c"},
      {true, "a:b", "c"},     {true, "a", "1"},
      {true, "", "\xC3\xA9"}, {true, "", "a--"},
      {true, "p", "--"},      {true, "", "exactly-17-letter"},
      {false, "", "1"},       {false, "", "-a"},
      {false, "", ".a"},      {false, "", ":a"},
      {false, "", "a:"},      {false, "a", "b:"},
      {false, ":", "a"},      {false, "1", "a"},
      {false, "", "a b"},     {false, "", "a\nb"},
      {false, "", "a<"},      {false, "", "a>"},
      {false, "", "a&b;"},    {false, "", "a/"},
      {false, "", "a="},      {false, "", "a'"},
      {false, "", "a\""},     {false, "", "a]"},
      {false, "", "!--a"},    {false, "", "?a"},
      {false, "", "a\x01"},   {false, "", "a@"},
      {false, "", "a["},      {false, "", "a`"},
      {false, "", "a{"},      {false, "", "a\x7F"},
      {false, "a,", "b"},     {false, "", "longer than 16+"},
  };
  for (const auto &[isName, prefix, name] : cases) {
    const std::string whole = *prefix == '\0' ? name : std::string(prefix) + ":" + name;
    const Nodes nodes(true);
    for (XmlNode *node : {nodes.document, nodes.element, nodes.attribute}) {
      NEB_XML_SetNode(node, prefix, name, nullptr);
      if (!isName) {
        expectRefused(nodes.document, whole);
        NEB_XML_SetNode(node, "", "good", nullptr);
        continue;
      }
      const std::string text = indented(nodes.document, 1);
      EXPECT_NE(text.find(whole), text.npos) << text;
      XmlNode *again = trees::parsed(text);
      EXPECT_EQ(indented(again, 1), text);
      NEB_XML_FreeNode(again);
    }
  }
}

TEST(Indented, RefusesAttributesOfOneName) {
  for (const size_t count : {2U, 24U, 25U, 26U, 70U, 1000U}) {
    const Nodes nodes(false);
    for (size_t i = 1; i < count; ++i) {
      const std::string name = "name" + std::to_string(i);
      ASSERT_EQ(NEB_XML_AddAttr(nodes.element, i % 3 == 0 ? "p" : nullptr, name.c_str(), ""), kOk);
    }
    XmlNode *last = nodes.attribute;
    while (NEB_XML_GetNodeNextSibling(last) != nullptr) last = NEB_XML_GetNodeNextSibling(last);
    NEB_XML_SetNode(nodes.attribute, "", "p:x:y", nullptr);
    for (const auto &[prefix, name] : {std::pair("", "p:x:y"), {"p", "x:y"}, {"p:x", "y"}}) {
      NEB_XML_SetNode(last, prefix, name, nullptr);
      expectRefused(nodes.document, name);
    }
    NEB_XML_SetNode(last, "p:x", "z", nullptr);
    const size_t before = guarded::outstanding();
    std::string text = "error";
    for (size_t n = 1; text == "error"; ++n) {
      const guarded::FailingAllocation failing(n);
      char *printed = nullptr;
      const uint32_t result = NEB_XML_TransformIndented(nodes.document, 0, &printed);
      EXPECT_EQ(result, failing.happened() ? uint32_t{NEB_XML_ERR_NO_MEMORY} : kOk);
      if (result == kOk) text = printed;
      NEB_XML_FreeMem(printed);
      ASSERT_EQ(guarded::outstanding(), before);
    }
    EXPECT_NE(text.find(" p:x:z=\""), text.npos);
  }
}

TEST(Indented, StopsGrowingAt128Columns) {
  constexpr size_t kDepth = 5000;
  std::string text;
  for (size_t i = 0; i < kDepth; ++i) text += "<a>";
  text += "<b/>";
  for (size_t i = 0; i < kDepth; ++i) text += "</a>";
  XmlNode *document = trees::parsed(text);
  const std::string printed = indented(document, 16);
  EXPECT_NE(printed.find("\n" + std::string(112, ' ') + "<a>\n" + std::string(128, ' ') + "<a>\n" +
                         std::string(128, ' ') + "<a>\n"),
            printed.npos);
  EXPECT_LT(printed.size(), 2 * kDepth * (128 + 5));
  expectExact(document);
  NEB_XML_FreeNode(document);
}
}  // namespace
