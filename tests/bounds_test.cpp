// Nothing beside a text, a string or a piece is touched, and names are compared to their last byte.
#include <gtest/gtest.h>

#include <bit>
#include <string>
#include <vector>

#include "support/maps.h"
#include "support/page_edge.h"
#include "support/tables.h"
#include "support/trees.h"
#include "xml/xml_node.h"

namespace {

using tables::fieldsOf;
using tables::replaced;

constexpr size_t kLongest = size_t{1} << 18;

// The tree, released with what stands beside it; "rejected" if there is none.
std::string outcomeOf(uint32_t result, XmlNode *document) {
  EXPECT_EQ(result, uint32_t{document == nullptr ? NEB_XML_ERR_SYNTAX : NEB_XML_OK});
  if (document == nullptr) return "rejected";
  const std::string tree = trees::described(document);
  XML_FreeNode(document);
  return tree;
}

// The tree that every entry point makes of a text, which stands between pages that cannot be read;
// its terminator, where it has one, is the last byte.
std::string outcome(const std::string &text) {
  static const guarded::PageEdge edge(kLongest);
  const std::string_view terminated(text.c_str(), text.size() + 1);
  const std::string_view bytes = text;
  std::string outcomes[6];
  NEB_XML_PARSE_ERROR errors[2] = {};
  for (const uint32_t kind : {0U, 1U}) {
    const auto parse = kind == 0 ? NEB_XML_Parse : NEB_XML_ParseEx;
    XmlNode *document = nullptr;
    uint32_t result = parse(edge.before(terminated), &document);
    outcomes[kind] = outcomeOf(result, document);
    result = parse(edge.behind(terminated), &document);
    outcomes[2 + kind] = outcomeOf(result, document);
    document = nullptr;
    result = NEB_XML_ParseBuffer(edge.before(bytes), bytes.size(), kind, &document, &errors[kind]);
    outcomes[4 + kind] = outcomeOf(result, document);
  }
  for (const std::string &each : outcomes) EXPECT_EQ(each, outcomes[0]) << text;
  EXPECT_EQ(errors[0].offset, errors[1].offset) << text;
  EXPECT_EQ(errors[0].reason == nullptr, outcomes[0] != "rejected") << text;
  EXPECT_LE(errors[0].offset, text.size());
  return outcomes[0];
}

using Bounds = Maps;

// '*' stands for a run of a name, '_' for a run of white space.
const std::vector<std::string> kShapes = fieldsOf(
    "<*/> ~ <*></*> ~ <p:*/> ~ <*:p/> ~ <*:p>t</*:p> ~ <r><*>v</*></r> ~ <r><m/><p:*>v</p:*></r> ~ "
    "<r><m/><*/> ~ <r><m/><*></*> ~ <r><m/><*>v</*> ~ <r><m/><a x='1'><*/></a> ~ <_*/> ~ <r_><m_/> "
    "~ "
    "<a *='v'/> ~ <a p:*='v'/> ~ <a *:p='v'/> ~ <r><m/><a *='v'/> ~ <r><m/><a x='*'/> ~ <a "
    "x=\"*\"/> ~ "
    "<r><m/><a x='1'_y='*'/> ~ <a x='*&lt;'/> ~ <a x='*&#1234;'/> ~ <r><m/><a x='*&amp;*'/> ~ "
    "<a>*</a> ~ <r><m/><a>*</a> ~ <r><m/>_<a>_*</a_> ~ <r><m/><a>*&amp;</a> ~ <a>*&#x20AC;</a> ~ "
    "<a>*<![CDATA[&]]></a> ~ <a><![CDATA[*]]></a> ~ <r><m/>_<a/> ~ <a>_</a> ~ <a/>_ ~ _<a/> ~ "
    "<!--*--><a/> ~ <a/><!--*--> ~ <?*?><a/> ~ <?xml *?><a/> ~ <!DOCTYPE *><a/> ~ <r><m/><a></*> "
    "~ ");

// Shapes of just so many bytes, and longer ones that are cut there.
void expectSameOutcomesAt(size_t length, size_t longestCut) {
  for (const std::string &shape : kShapes) {
    const auto runs = static_cast<size_t>(std::count_if(
        shape.begin(), shape.end(), [](char byte) { return byte == '*' || byte == '_'; }));
    const size_t rest = shape.size() - runs;
    for (size_t cut = 0; cut <= longestCut; ++cut) {
      const size_t run = length + cut < rest ? 0 : (length + cut - rest) / runs;
      const std::string text =
          replaced(replaced(shape, "_", std::string(run, ' ')), "*", std::string(run, 'n'))
              .substr(0, length);
      if (!text.empty()) outcome(text);
      // Long enough not to be copied.
      if (length <= 400 && cut % 4 == 0) outcome(std::string(4096, ' ') + text);
    }
  }
}

TEST_P(Bounds, OfTextsOfEveryLengthAreKept) {
  for (size_t length = 0; length <= 130; ++length) expectSameOutcomesAt(length, 12);
  for (size_t length = 131; length <= 400; length += 3) expectSameOutcomesAt(length, 0);
  for (size_t power = 8; power <= 16; ++power) {
    for (size_t length = (size_t{1} << power) - 2; length <= (size_t{1} << power) + 2; ++length) {
      expectSameOutcomesAt(length, 1);
    }
  }
}

// Everything that is copied or compared by vectors is as long as it can be there, at each distance
// from the end.
TEST_P(Bounds, OfTextsThatEndBehindShortMarkupAreKept) {
  const std::string name(31, 'n');
  const std::string value(24, 'v');
  const std::string blanks(32, ' ');
  const std::string markup[] = {
      "<" + name + "/>",
      "<" + name + ">" + value + "</" + name + ">",
      "<a " + name + "='" + value + "'/>",
      "<p:" + name.substr(2) + " x='1'>" + value + "</p:" + name.substr(2) + ">",
      "<a>" + value + value + "</a>",
      "<a x='&lt;" + value + value + "'/>",
      "<" + name + "><b/></" + name + ">",
      "<a" + blanks + name + "='v'/>",
      blanks + "<" + name + ">v</" + name + ">",
      "<a x='1' y='" + value + value + value.substr(0, 10) + "'/>"};
  for (const std::string &each : markup) {
    for (size_t behind = 0; behind <= 200; ++behind) {
      // A text of empty elements is not copied, however short it is.
      const std::string end = std::string(behind % 4, ' ') + tables::repeated("<z/>", behind / 4);
      EXPECT_EQ(outcome("<r><m/>" + each + end).substr(0, 3), "12:");
      outcome("<r><m/>" + each + std::string(behind, ' '));
      outcome("<r><m/>" + each + std::string(behind, 'x'));
    }
  }
}

// The name, and the name with another byte at one place. '$' and '%' stand for them.
void expectTold(const std::vector<std::string> &contexts, const std::string &prefix,
                const std::string &name, const std::string &other, bool isGoodWhenSame) {
  for (const std::string &context : contexts) {
    const std::string first = replaced(context, "$", prefix + name);
    const bool isSame = name == other;
    const std::string text = replaced(first, "%", prefix + other);
    EXPECT_EQ(outcome(text) != "rejected", isSame == isGoodWhenSame) << text;
  }
}

TEST_P(Bounds, OfNamesAreTheirLastBytes) {
  std::string many;
  for (int i = 0; i < 30; ++i) many += " a" + std::to_string(i) + "=''";
  const std::vector<std::string> tags = fieldsOf(
      "<$>v</%> ~ <$></%> ~ <$><b/></%> ~ <$ x='1'>v</%> ~ <r><m/><$>v</%><z/> ~ "
      "<r><m/><$ x='1'>v</%> ~ <r><m/><$></%><z/> ~ <r><m/><$><b/></%><z/> ~ <r><m/><$> <b/> "
      "</%></r> ~ "
      "<r><m/>\n<$ x='1'><b/></% ></r> ~ <r><m/><$>&lt;</%></r>" +
      std::string(150, ' ') + " ~ ");
  const std::vector<std::string> attributes = fieldsOf(
      "<a $='1' %='2'/> ~ <r><m/><a $='1' %='2'>v</a><z/> ~ <r><a x='' $='1' y='&lt;' %='' "
      "></a></r> ~ "
      "<r><m/><a b='1' c='2' $='3' d='4' %='5'/></r>" +
      std::string(150, ' ') + " ~ <a" + many + " $='1' %='2'/> ~ <a $='1' " + many + " %='2'/> ~ ");
  for (size_t length = 1; length <= 70; ++length) {
    const std::string name(length, 'n');
    for (const char *prefix : {"", "p:", "a_prefix_longer_than_a_vector:"}) {
      for (size_t place = 0; place <= length; ++place) {
        if (place > 1 && place + 3 < length && place % 7 != 0 && length > 34) continue;
        std::string other = name;
        if (place < length) other[place] = 'm';
        expectTold(tags, prefix, name, other, true);
        expectTold(attributes, prefix, name, other, false);
      }
    }
    // Prefixes, and names of other lengths.
    for (const std::string &other : {name, name + "n", name.substr(1) + "m"}) {
      expectTold({"<r><m/><$:l>v</%:l><z/>", "<r><m/><$:l x='1'><b/></%:l><z/>"}, "", name, other,
                 true);
      expectTold({"<r><m/><a $:l='1' %:l='2'/>"}, "", name, other, false);
      expectTold(tags, "", name, other, true);
    }
  }
  for (const size_t length : {255U, 256U, 257U, 65534U, 65535U, 65536U, 65540U}) {
    const std::string name(length, 'n');
    for (const std::string &other : {name, name.substr(1) + "m", "m" + name.substr(1)}) {
      expectTold(tags, "", name, other, true);
      expectTold(attributes, "", name, other, false);
    }
  }
}

// Strings, variables and results at the end of memory, for every call that takes some, while what
// the library allocates ends so too.
void expectStringsKept(const std::string &text, bool withSession) {
  static const guarded::PageEdge edges[3] = {
      guarded::PageEdge(kLongest), guarded::PageEdge(kLongest), guarded::PageEdge(kLongest)};
  const char *prefix = edges[0].text(text);
  const char *name = edges[1].text(text);
  const std::string content = text + (text.size() % 2 == 0 ? "" : "<");
  const char *value = edges[2].text(content);
  XmlNode *document = nullptr;
  XmlNode *element = nullptr;
  const uint32_t type = NEB_XML_NODE_ELEMENT;
  (withSession ? NEB_XML_CreateNodeEx(0, NEB_XML_NODE_DOCUMENT, prefix, name, value, &document)
               : NEB_XML_CreateNode(NEB_XML_NODE_DOCUMENT, prefix, name, value, &document));
  NEB_XML_CreateNodeEx(document->sessionId, type, prefix, name, value, &element);
  EXPECT_EQ(NEB_XML_AppendChildNode(document, element), 0U);
  EXPECT_EQ(NEB_XML_SetNode(element, prefix, name, value), 0U);
  EXPECT_EQ(NEB_XML_AddAttr(element, nullptr, "a", value), 0U);
  const bool hasName = !text.empty();
  EXPECT_EQ(NEB_XML_AddAttr(element, prefix, name, value) == 0, hasName);
  EXPECT_EQ(NEB_XML_SetAttr(element, prefix, name, value) == 0, hasName);
  const char *found = "";
  EXPECT_EQ(NEB_XML_GetAttr(element, prefix, name, &found) == 0, hasName);
  EXPECT_EQ(found, hasName ? content : "");
  char *copy = XML_Strdup(element, name);
  EXPECT_EQ(copy == nullptr ? "" : std::string(copy), text);
  XML_Free(element, copy);

  XmlNode *trees[3] = {document};
  ASSERT_TRUE(NEB_XML_CloneNode(document, &trees[1]) == 0);
  ASSERT_TRUE(NEB_XML_ImportNode(document, trees[1], &trees[2]) == 0);
  EXPECT_EQ(trees::described(trees[1]), trees::described(document));
  const std::string whole = text + ":" + text;
  const std::string escaped = replaced(content, "<", "&lt;");
  for (XmlNode *tree : trees) {
    const std::string printed = "<" + whole + ">\n<" + whole + " a=\"" + escaped + "\" " + whole +
                                "=\"" + escaped + "\">" + escaped + "</" + whole + ">\n</" + whole +
                                ">\n";
    if (!hasName) continue;
    EXPECT_EQ(trees::printed(tree), printed);
    EXPECT_EQ(outcome(printed).substr(0, 3), "12:");
    XmlNode *node = nullptr;
    const std::string path = whole + "." + whole + ".1";
    const bool isPath = NEB_XML_GetNodeByUrl(tree, edges[2].text(path), &node) == 0;
    EXPECT_EQ(isPath, path.size() <= 511);
    EXPECT_EQ(node, isPath ? +tree->firstChild : nullptr);
    node = tree->firstChild;
    NEB_XML_SetAttrValueEx(node, prefix, name, NEB_XML_VALUE_UINT8, edges[2].before("\x07"));
    char *number = edges[2].before(".");
    EXPECT_EQ(NEB_XML_GetAttrValueEx(node, prefix, name, NEB_XML_VALUE_UINT8, number), 0U);
    EXPECT_EQ(*number, 7);
    NEB_XML_SetNode(node, nullptr, nullptr, edges[2].text(std::string(text.size(), '0') + "9"));
    EXPECT_EQ(NEB_XML_GetNodeValueEx(node, NEB_XML_VALUE_INT16, edges[2].before("ab")), 0U);
    EXPECT_EQ(NEB_XML_RemoveAttr(node, prefix, name), 0U);
  }
  NEB_XML_FreeNode(trees[2]);
  NEB_XML_FreeNode(trees[1]);
  NEB_XML_FreeNode(document);

  XmlMemBuf buffer;
  XML_MembufInit(&buffer);
  const char *bytes = edges[2].before(text);
  XML_MemBufAssign(&buffer, bytes, static_cast<uint32_t>(text.size()));
  XML_MemBufInsert(&buffer, bytes, static_cast<uint32_t>(text.size()), buffer.length / 2);
  XML_MemBufAppendStr(&buffer, name);
  EXPECT_EQ(hasName ? buffer.data : "", text + text + text);
  XML_MembufDestroy(&buffer);
  const std::string path = "/dev/null/" + text;
  EXPECT_EQ(NEB_XML_ParseFile(edges[2].text(path), &document), uint32_t{NEB_XML_ERR_FILE_OPEN});
}

TEST_P(Bounds, OfStringsOfEveryLengthAreKept) {
  const guarded::PageHooks hooks;
  for (size_t length = 0; length <= 130; ++length) {
    for (const bool withSession : {false, true}) {
      expectStringsKept(std::string(length, 'n'), withSession);
    }
  }
  for (const size_t length : {255U, 256U, 1023U, 1024U, 4095U, 8192U}) {
    expectStringsKept(std::string(length, 'n'), true);
  }
}

INSTANTIATE_TEST_SUITE_P(Maps, Bounds, testing::Bool(), nameOfMaps);

}  // namespace
