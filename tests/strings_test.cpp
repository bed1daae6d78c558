// Names and values that are given with their lengths. Where elements are inserted, the programs of
// the fuzzer api check.
#include <gtest/gtest.h>

#include <string_view>
#include <vector>

#include "support/page_edge.h"
#include "support/trees.h"
#include "xml/record/node.h"

using namespace neb::xml::internal;
using namespace std::string_view_literals;

namespace {

using trees::described;
using trees::parsed;

constexpr uint32_t kUnwritable = NEB_XML_ERR_UNWRITABLE;
constexpr uint32_t kPrefix = NEB_XML_STRING_PREFIX, kName = NEB_XML_STRING_NAME;
constexpr uint32_t kValue = NEB_XML_STRING_VALUE;

// Strings directly before a page that cannot be read, each on pages of its own.
const guarded::PageEdge kNames(1), kValues(1);

uint32_t setString(XmlNode *node, uint32_t field, std::string_view string) {
  return NEB_XML_SetString(node, field, kValues.before(string), string.size());
}

XmlNode *findAttribute(const XmlNode *element, std::string_view name) {
  return NEB_XML_FindAttr(element, kNames.before(name), name.size());
}

uint32_t putAttribute(XmlNode *element, std::string_view name, std::string_view value,
                      XmlNode **attribute = nullptr) {
  return NEB_XML_PutAttr(element, kNames.before(name), name.size(), kValues.before(value),
                         value.size(), attribute);
}

uint32_t newElement(XmlNode *reference, uint32_t where, std::string_view name, XmlNode **element) {
  return NEB_XML_NewElement(reference, where, kNames.before(name), name.size(), element);
}

TEST(GivenStrings, NamesAreCheckedAndSplit) {
  const struct {
    std::string_view name;
    uint32_t result;
    uint32_t resultAsPart;
    const char *split;
  } rows[] = {{"n", kOk, kOk, "n"},
              {"p:n", kOk, kUnwritable, "p|n"},
              {"p:n:m", kOk, kUnwritable, "p|n:m"},
              {"p::n", kOk, kUnwritable, "p|:n"},
              {"_1-.\xC3\xA9", kOk, kOk, "_1-.\xC3\xA9"},
              {"a-long-name-that-fills-vectors:and-more-of-them-behind-it", kOk, kUnwritable,
               "a-long-name-that-fills-vectors|and-more-of-them-behind-it"},
              {"", kInvalid, kInvalid, ""},
              {"a\0"sv, kInvalid, kInvalid, ""},
              {"a\0b"sv, kInvalid, kInvalid, ""},
              {":", kUnwritable, kUnwritable, ""},
              {":n", kUnwritable, kUnwritable, ""},
              {"p:", kUnwritable, kUnwritable, ""},
              {"1", kUnwritable, kUnwritable, ""},
              {"a b", kUnwritable, kUnwritable, ""},
              {"a\xC3", kUnwritable, kUnwritable, ""},
              {"a<", kUnwritable, kUnwritable, ""}};
  for (const bool withSession : {false, true}) {
    for (const auto &[name, result, resultAsPart, split] : rows) {
      const trees::Held document{parsed("<d/>", withSession)};
      XmlNode *element = nullptr, *attribute = nullptr;
      EXPECT_EQ(newElement(document, NEB_XML_POSITION_LAST_CHILD, name, &element), result) << name;
      EXPECT_EQ(putAttribute(document, name, "v", &attribute), result) << name;
      EXPECT_TRUE((element != nullptr) == (result == kOk));
      EXPECT_TRUE(findAttribute(document, name) == attribute) << name;
      const std::string expected = split;
      EXPECT_EQ(described(document),
                result == kOk ? "12:d=- " + expected + "='v'(0:" + expected + "=-)" : "12:d=-")
          << name;
      EXPECT_EQ(setString(document, kName, name), resultAsPart) << name;
      EXPECT_EQ(setString(document, kPrefix, name), name.empty() ? kOk : resultAsPart) << name;
      const std::string set(resultAsPart == kOk ? name : "");
      EXPECT_TRUE(described(document).starts_with(set.empty() ? "12:d=" : "12:" + set + "|" + set));
    }
  }
}

TEST(GivenStrings, ValuesAreCheckedAndReplaced) {
  const std::pair<std::string_view, uint32_t> rows[] = {{"v", kOk},
                                                        {"\t\r\n ]]>&<", kOk},
                                                        {"\xF0\x9F\x98\x80", kOk},
                                                        {"", kOk},
                                                        {"\0"sv, kInvalid},
                                                        {"ab\0c"sv, kInvalid},
                                                        {"\x01", kUnwritable},
                                                        {"a\xEF\xBF\xBF", kUnwritable},
                                                        {"\xED\xA0\x80", kUnwritable},
                                                        {"a\xE2\x82", kUnwritable}};
  const std::string longValue(70000, 'v');
  for (const bool withSession : {false, true}) {
    const trees::Held document{parsed("<d a='old'>old</d>", withSession)};
    for (const auto &row : rows) {
      const std::string_view value = row.first;
      const uint32_t result = row.second;
      for (XmlNode *node : {document.node, document->firstAttr}) {
        ASSERT_EQ(setString(node, kValue, "old"), kOk);
        const auto set = [&] {
          return node == document ? setString(node, kValue, value)
                                  : putAttribute(document, "a", value);
        };
        EXPECT_EQ(set(), result) << value;
        const char *stored = nullptr;
        EXPECT_EQ(NEB_XML_GetNodeValue(node, nullptr, nullptr, nullptr, &stored), kOk);
        const std::string_view expected = result == kOk ? value : "old";
        EXPECT_EQ(stored == nullptr ? "" : std::string_view(stored), expected);
        EXPECT_EQ(stored == nullptr, expected.empty());
        described(document);
      }
    }
    EXPECT_EQ(NEB_XML_SetString(document, kValue, longValue.data(), longValue.size()), kOk);
    EXPECT_TRUE(document->value == longValue);
  }
}

// Strings of the tree itself, and parts of them.
TEST(GivenStrings, MayBeTheOnesThatAreReplaced) {
  for (const bool withSession : {false, true}) {
    const trees::Held document{parsed("<pre:doc abc='12345'>text</pre:doc>", withSession)};
    const auto part = [&](uint32_t field, const char *bytes, size_t length) {
      EXPECT_EQ(NEB_XML_SetString(document, field, bytes, length), kOk);
    };
    part(kValue, document->value + 1, 2);
    part(kName, document->name + 1, 2);
    part(kPrefix, document->prefix, 2);
    const char *name = document->firstAttr->name, *value = document->firstAttr->value;
    EXPECT_EQ(NEB_XML_PutAttr(document, name, 3, value + 3, 2, nullptr), kOk);
    EXPECT_EQ(NEB_XML_PutAttr(document, name, 2, document->firstAttr->value, 1, nullptr), kOk);
    XmlNode *element = nullptr;
    EXPECT_EQ(
        NEB_XML_NewElement(document, NEB_XML_POSITION_FIRST_CHILD, document->name, 1, &element),
        kOk);
    EXPECT_EQ(described(document), "12:pr|oc='ex' abc='45' ab='4'(0:o=-)");
  }
}

TEST(GivenStrings, FindWholeNamesOfAnyOrigin) {
  for (const bool withSession : {false, true}) {
    const trees::Held document{parsed("<d a='1' p:a='2' ab='' long-prefix:a='4'/>", withSession)};
    ASSERT_EQ(NEB_XML_AddAttr(document, "q", "interned", "5"), kOk);
    ASSERT_EQ(NEB_XML_AddAttr(document, nullptr, "aa", "6"), kOk);
    const std::string_view names[] = {"a", "p:a", "ab", "long-prefix:a", "q:interned", "aa"};
    const XmlNode *expected = document->firstAttr;
    for (const std::string_view name : names) {
      EXPECT_TRUE(findAttribute(document, name) == expected) << name;
      expected = expected->next;
    }
    const std::string_view others[] = {
        "",    ":a",   "a:",   "p",         "p:",       "b",     "A",
        "P:a", "pp:a", "p:ab", "q:interne", "interned", "a\0"sv, "a\0b"sv};
    for (const std::string_view name : others) {
      EXPECT_TRUE(findAttribute(document, name) == nullptr) << name;
    }
    uint32_t number = 9;
    const auto read = [&](std::string_view name) {
      return NEB_XML_ReadValue(findAttribute(document, name), NEB_XML_VALUE_UINT32, &number);
    };
    EXPECT_EQ(read("missing"), kNotFound);
    EXPECT_EQ(read("ab"), NEB_XML_ERR_EMPTY_VALUE);
    EXPECT_EQ(number, 9U);
    EXPECT_EQ(read("long-prefix:a"), kOk);
    EXPECT_EQ(number, 4U);
  }
}

// An attribute does not take the name of another one, and gives its own free.
TEST(GivenStrings, AttributesStayDifferent) {
  const trees::Held document{parsed("<d a='1' p:a='2' p:b='3'/>")};
  XmlNode *first = document->firstAttr, *last = first->next->next;
  EXPECT_EQ(setString(first, kPrefix, "p"), kExists);
  EXPECT_EQ(setString(last, kName, "a"), kExists);
  EXPECT_EQ(setString(first->next, kPrefix, ""), kExists);
  EXPECT_EQ(setString(last, kName, "b"), kOk);
  EXPECT_EQ(setString(last, kPrefix, ""), kOk);
  EXPECT_EQ(setString(last, kPrefix, "q"), kOk);
  EXPECT_EQ(setString(last, kName, "a"), kOk);
  EXPECT_EQ(putAttribute(document, "p:b", "4"), kOk);
  EXPECT_EQ(described(document), "12:d=- a='1' p|a='2' q|a='3' p|b='4'");
}

TEST(GivenStrings, WrongReferencesAreRefused) {
  const trees::Held document{parsed("<d a='1'/><e/>")}, alone{parsed("<d a='1'/>")};
  const trees::Held odd{XML_NewNode(0, 5)};
  XmlNode *untouched = document, *made = document;
  const std::tuple<XmlNode *, uint32_t> rows[] = {{document, NEB_XML_POSITION_LAST_CHILD},
                                                  {document, NEB_XML_POSITION_AFTER},
                                                  {document->next, NEB_XML_POSITION_BEFORE},
                                                  {alone, NEB_XML_POSITION_AFTER},
                                                  {alone, NEB_XML_POSITION_BEFORE},
                                                  {alone, 4},
                                                  {alone, UINT32_MAX},
                                                  {alone->firstAttr, NEB_XML_POSITION_LAST_CHILD},
                                                  {alone->firstAttr, NEB_XML_POSITION_AFTER},
                                                  {odd, NEB_XML_POSITION_FIRST_CHILD}};
  for (const auto &[reference, where] : rows) {
    EXPECT_EQ(newElement(reference, where, "n", &made), kInvalid) << where;
  }
  EXPECT_EQ(putAttribute(document, "b", "2", &made), kInvalid) << "in a chain";
  EXPECT_EQ(NEB_XML_PutAttr(alone, "b", 1, nullptr, 1, &made), kInvalid);
  EXPECT_EQ(NEB_XML_SetString(alone, kValue, nullptr, 1), kInvalid);
  EXPECT_EQ(NEB_XML_SetString(alone, 3, "v", 1), kInvalid);
  EXPECT_TRUE(made == untouched);
  EXPECT_EQ(NEB_XML_PutAttr(alone, "a", 1, nullptr, 0, nullptr), kOk);
  EXPECT_EQ(NEB_XML_SetString(alone, kPrefix, nullptr, 0), kOk);
  EXPECT_EQ(described(alone), "12:d=- a=-");
  EXPECT_EQ(described(document), "12:d=- a='1',0:e=-");
}

}  // namespace
