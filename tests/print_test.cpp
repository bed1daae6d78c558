// Strict printing: its layouts, what it refuses, its parts, and that all parsers read it alike. Any
// tree that calls can make, the fuzzer roundtrip prints.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "other_parsers/outline.h"
#include "support/guarded_hooks.h"
#include "support/tables.h"
#include "support/trees.h"

namespace {

using other_parsers::outlineBy;
using other_parsers::outlineOf;
using tables::repeated;

constexpr size_t kLongestChunk = 16384;

NEB_XML_PRINT_OPTIONS with(uint32_t flags, uint32_t indent = 0) {
  return {sizeof(NEB_XML_PRINT_OPTIONS), flags, indent};
}

// The whole, or the result that is not NEB_XML_OK.
std::string written(const XmlNode *node, NEB_XML_PRINT_OPTIONS options = {}) {
  std::string whole;
  const uint32_t result = NEB_XML_Print(node, &options, appendTo, &whole);
  return result == kOk ? whole : result == kUnwritable ? "unwritable" : "error";
}

bool isAscii(const std::string &text) {
  return std::all_of(text.begin(), text.end(), [](char byte) { return (byte & 0x80) == 0; });
}

// In every layout, by every parser. The fourth edition of XML knew fewer names beyond ASCII.
void expectReadAlike(const XmlNode *node, bool hasAsciiNames = true) {
  const std::string expected = outlineOf(node);
  for (const NEB_XML_PRINT_OPTIONS &options :
       {with(0), with(NEB_XML_PRINT_ASCII | NEB_XML_PRINT_CRLF | NEB_XML_PRINT_DECLARATION, 2),
        with(NEB_XML_PRINT_ONE_LINE | NEB_XML_PRINT_END_TAGS | NEB_XML_PRINT_DECLARATION)}) {
    const bool isAsciiOnly = (options.flags & NEB_XML_PRINT_ASCII) != 0;
    if (isAsciiOnly && !hasAsciiNames) continue;
    const std::string document = written(node, options);
    EXPECT_TRUE(!isAsciiOnly || isAscii(document));
    for (const other_parsers::OtherParser *parser : other_parsers::kOtherParsers) {
      if (!parser->knowsFifthEdition && !hasAsciiNames) continue;
      EXPECT_EQ(outlineBy(*parser, document), expected) << parser->name << document;
    }
    for (const uint32_t flags : kParseFlags) {
      XmlNode *again = nullptr;
      EXPECT_EQ(NEB_XML_ParseBuffer(document.data(), document.size(), flags, &again, nullptr), kOk);
      EXPECT_EQ(outlineOf(again), expected) << document;
      XML_FreeNode(again);
    }
  }
}

// An element with an attribute, in the heap or a session.
XmlNode *element(const std::string &name, const std::string &value, bool withSession = false) {
  XmlNode *node = trees::parsed("<e a='x'/>", withSession);
  EXPECT_EQ(NEB_XML_SetNode(node, nullptr, name.c_str(), value.c_str()), kOk);
  EXPECT_EQ(NEB_XML_SetAttr(node, nullptr, "a", value.c_str()), kOk);
  return node;
}

TEST(Print, LaysOutAsTheOptionsSay) {
  const trees::Held document{
      trees::parsed("<r a='\xC3\xA9&#10;'><b><c>1\n\xF0\x9F\x98\x80</c></b><d/><e> </e></r>")};
  const struct {
    NEB_XML_PRINT_OPTIONS options;
    std::string expected;
  } cases[] = {
      {{},
       "<r a=\"\xC3\xA9&#10;\">\n<b>\n<c>1\n\xF0\x9F\x98\x80</c>\n</b>\n<d/>\n"
       "<e>&#32;</e>\n</r>\n"},
      {with(NEB_XML_PRINT_DECLARATION | NEB_XML_PRINT_NO_FINAL_LINE_END, 2),
       "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<r a=\"\xC3\xA9&#10;\">\n  <b>\n"
       "    <c>1\n\xF0\x9F\x98\x80</c>\n  </b>\n  <d/>\n  <e>&#32;</e>\n</r>"},
      {with(NEB_XML_PRINT_ASCII | NEB_XML_PRINT_DECLARATION | NEB_XML_PRINT_ONE_LINE),
       "<?xml version=\"1.0\" encoding=\"US-ASCII\"?><r a=\"&#233;&#10;\"><b><c>1\n&#128512;</c>"
       "</b><d/><e>&#32;</e></r>\n"},
      {with(NEB_XML_PRINT_TABS | NEB_XML_PRINT_CRLF | NEB_XML_PRINT_END_TAGS, 1),
       "<r a=\"\xC3\xA9&#10;\">\r\n\t<b>\r\n\t\t<c>1\n\xF0\x9F\x98\x80</c>\r\n\t</b>\r\n\t<d></d>"
       "\r\n\t<e>&#32;</e>\r\n</r>\r\n"},
      {with(NEB_XML_PRINT_ONE_LINE | NEB_XML_PRINT_CRLF | NEB_XML_PRINT_NO_FINAL_LINE_END),
       "<r a=\"\xC3\xA9&#10;\"><b><c>1\n\xF0\x9F\x98\x80</c></b><d/><e>&#32;</e></r>"},
      {with(NEB_XML_PRINT_ONE_LINE | NEB_XML_PRINT_CRLF),
       "<r a=\"\xC3\xA9&#10;\"><b><c>1\n\xF0\x9F\x98\x80</c></b><d/><e>&#32;</e></r>\r\n"},
  };
  for (const auto &[options, expected] : cases) EXPECT_EQ(written(document, options), expected);
  expectReadAlike(document);
  EXPECT_EQ(written(NEB_XML_GetNodeFirstChild(document), with(0, 1)).substr(0, 8), "<b>\n <c>");
}

TEST(Print, RefusesOptionsThatItDoesNotKnow) {
  const trees::Held document{trees::parsed("<a/>")};
  const struct {
    NEB_XML_PRINT_OPTIONS options;
    bool isRefused;
  } cases[] = {{{}, false},
               {{0, NEB_XML_PRINT_ASCII, 0}, true},
               {{0, 0, 2}, true},
               {{sizeof(NEB_XML_PRINT_OPTIONS) - 1, 0, 0}, true},
               {{SIZE_MAX, 0, 0}, true},
               {with(127 - NEB_XML_PRINT_ONE_LINE, 16), false},
               {with(128), true},
               {with(1U << 31), true},
               {with(0, 17), true},
               {with(NEB_XML_PRINT_TABS, 0), true},
               {with(NEB_XML_PRINT_ONE_LINE, 1), true}};
  for (const auto &[options, isRefused] : cases) {
    EXPECT_EQ(written(document, options) == "error", isRefused) << options.flags;
  }
  struct {
    NEB_XML_PRINT_OPTIONS known = {sizeof(NEB_XML_PRINT_OPTIONS) + sizeof(long), 0, 0};
    long later = 0;
  } larger;
  std::string whole;
  EXPECT_EQ(NEB_XML_Print(document, &larger.known, appendTo, &whole), kOk);
  larger.later = 1L << 40;
  EXPECT_EQ(NEB_XML_Print(document, &larger.known, appendTo, &whole), kInvalid);
  EXPECT_EQ(NEB_XML_Print(document, nullptr, appendTo, &whole), kOk);
  EXPECT_EQ(whole, "<a/>\n<a/>\n");
}

// Behind fillers that end where vectors, slices and characters do.
TEST(Print, WritesValuesThatAllParsersReadAlike) {
  const std::string values[] = {"",
                                " ",
                                "\t",
                                "\n",
                                "\r",
                                "\r\n",
                                " \n ",
                                "\n x",
                                " \t x",
                                "  x ",
                                "\r x",
                                "x\r\ny",
                                "]]>",
                                "-->",
                                "<!--",
                                "&lt;&#65;",
                                "\"'<>&",
                                "\x7F",
                                "\xC2\x80",
                                "\xC2\x85",
                                "\xE2\x80\xA8",
                                "\xC3\xA9",
                                "\xEF\xBB\xBF",
                                "\xED\x9F\xBF",
                                "\xEE\x80\x80",
                                "\xEF\xBF\xBD",
                                "\xF0\x90\x80\x80",
                                "\xF4\x8F\xBF\xBF",
                                "a\xC3\xA9"
                                "b\xE2\x82\xAC"
                                "c\xF0\x9F\x98\x80 d"};
  for (const std::string filler : {"x", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"}) {
    for (const size_t count : {0U, 3U, 4U, 15U, 16U, 17U, 1024U, 4095U}) {
      for (const std::string &value : values) {
        if (filler != "x" && count == 4095 && value.size() > 1) continue;  // to save time
        const trees::Held node{
            element("e", repeated(filler, count) + value + filler, count % 2 == 0)};
        expectReadAlike(node);
        EXPECT_EQ(NEB_XML_SetNode(node, nullptr, nullptr, value.c_str()), kOk);
        if (count < 2) expectReadAlike(node);
      }
    }
  }
}

TEST(Print, RefusesValuesThatXmlCannotHold) {
  std::vector<std::string> values = {"\x80",
                                     "\xFF",
                                     "\xC3",
                                     "\xC3(",
                                     "\xC0\x80",
                                     "\xC1\x81",
                                     "\xE2\x82",
                                     "\xE2\x82(",
                                     "\xE0\x9F\xBF",
                                     "\xED\xA0\x80",
                                     "\xED\xBF\xBF",
                                     "\xEF\xBF\xBE",
                                     "\xEF\xBF\xBF",
                                     "\xF0\x9F\x98",
                                     "\xF0\x8F\xBF\xBF",
                                     "\xC3\xA9\x80",
                                     "\xF8\x88\x80",
                                     "\x80\x80\x80\x80\x80",
                                     "\xF4\x90\x80\x80"};
  for (char control = 1; control < ' '; ++control) {
    if (std::strchr("\t\n\r", control) == nullptr) values.emplace_back(1, control);
  }
  for (const std::string filler : {"x", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"}) {
    for (const size_t count : {0U, 1U, 15U, 16U, 1023U, 1024U, 4095U}) {
      for (const std::string &value : values) {
        for (const std::string &behind : {std::string(), filler}) {
          const std::string whole = repeated(filler, count) + value + behind;
          const trees::Held node{trees::parsed("<r><e/></r>", count % 2 == 0)};
          XmlNode *child = NEB_XML_GetNodeFirstChild(node);
          EXPECT_EQ(NEB_XML_AddAttr(child, nullptr, "a", whole.c_str()), kOk);
          EXPECT_EQ(written(node), "unwritable") << whole;
          EXPECT_EQ(written(node, with(NEB_XML_PRINT_ASCII)), "unwritable") << whole;
          EXPECT_EQ(NEB_XML_SetAttr(child, nullptr, "a", ""), kOk);
          EXPECT_EQ(written(node), "<r>\n<e a=\"\"/>\n</r>\n");
          EXPECT_EQ(NEB_XML_SetNode(child, nullptr, nullptr, whole.c_str()), kOk);
          EXPECT_EQ(written(node), "unwritable") << whole;
        }
      }
    }
  }
}

TEST(Print, WritesNamesOfXmlOnly) {
  struct Case {
    std::string prefix, name;
    bool isName;
  };
  std::vector<Case> cases = {{"", "a-._:9", true},
                             {"a", "1", true},
                             {"a", "b:c", true},
                             {"", "--", false},
                             {"", "a--", true},
                             {"a:", "b", true},
                             {"", "a:", false},
                             {"", ":a", false},
                             {":", "a", false},
                             {":a", "b", false},
                             {"1", "a", false},
                             {"a b", "c", false},
                             {"", "a b", false},
                             {"", "a\n", false},
                             {"", "a>", false},
                             {"\xC3\xA9", "\xCC\x80", true},
                             {"\xCC\x80", "a", false},
                             {"a", "b\xC3", false},
                             {"a\xC3", "\xA9", false},
                             {"", "seventeen-letters\xC3\xA9", true},
                             {"", "seventeen-letters\xC3\x97", false}};
  // The first and last that begin names, and those beside them.
  for (const char *begins :
       {"\xC3\x80", "\xCB\xBF", "\xCD\xB0", "\xCD\xBF", "\xE1\xBF\xBF", "\xE2\x80\x8C",
        "\xE2\x81\xB0", "\xE3\x80\x81", "\xED\x9F\xBF", "\xEF\xA4\x80", "\xEF\xBF\xBD",
        "\xF0\x90\x80\x80", "\xF3\xAF\xBF\xBF"}) {
    cases.insert(cases.end(), {{"", begins, true}, {"p", std::string("a") + begins, true}});
  }
  for (const char *continues : {"\xC2\xB7", "\xCC\x80", "\xCD\xAF", "\xE2\x80\xBF"}) {
    cases.insert(cases.end(), {{"", continues, false}, {"", std::string("a") + continues, true}});
  }
  for (const char *never : {"\xC2\xB6", "\xC3\x97", "\xC3\xB7", "\xCD\xBE", "\xE2\x80\x8B",
                            "\xE2\x86\x90", "\xE3\x80\x80", "\xEF\xBF\xBE", "\xF3\xB0\x80\x80"}) {
    cases.push_back({"", std::string("a") + never, false});
  }
  for (const auto &[prefix, name, isName] : cases) {
    for (const bool isAttribute : {false, true}) {
      const trees::Held node{element("e", "v", name.size() % 2 == 0)};
      if (isAttribute) {
        EXPECT_EQ(NEB_XML_AddAttr(node, prefix.c_str(), name.c_str(), ""), kOk);
      } else {
        EXPECT_EQ(NEB_XML_SetNode(node, prefix.c_str(), name.c_str(), nullptr), kOk);
      }
      EXPECT_EQ(written(node) != "unwritable", isName) << prefix << ":" << name;
      const bool isWritableAscii = isName && isAscii(prefix + name);
      EXPECT_EQ(written(node, with(NEB_XML_PRINT_ASCII)) != "unwritable", isWritableAscii) << name;
      if (isName) expectReadAlike(node, isWritableAscii);
    }
  }
}

TEST(Print, RefusesTreesThatXmlCannotHold) {
  const trees::Held twins{trees::parsed("<a p&#58;x='' p:x=''/>", false)};
  EXPECT_EQ(written(twins), "unwritable");
  const trees::Held mixed{trees::parsed("<a><b/></a>", false)};
  EXPECT_EQ(NEB_XML_SetNode(mixed, nullptr, nullptr, " \t\r\n"), kOk);
  EXPECT_EQ(written(mixed), "<a>\n<b/>\n</a>\n");
  XmlNode *other = XML_NewNode(0, 3);
  EXPECT_EQ(XML_SetNode(nullptr, other, nullptr, "other", nullptr), kOk);
  EXPECT_EQ(written(other), "unwritable");
  EXPECT_EQ(NEB_XML_AppendChildNode(mixed, other), kOk);
  EXPECT_EQ(written(mixed), "unwritable");
  NEB_XML_FreeNode(other);
  EXPECT_EQ(NEB_XML_SetNode(mixed, nullptr, nullptr, "x"), kOk);
  EXPECT_EQ(written(mixed), "unwritable");
  EXPECT_EQ(NEB_XML_SetNode(mixed, nullptr, "", ""), kOk);
  EXPECT_EQ(written(mixed), "unwritable");
}

// Wherever chunks end, the parts are those that the exact printer writes as a whole.
TEST(Print, WritesTheSameWhereverChunksEnd) {
  const std::string markup =
      "<long-name-of-markup first='' second='sixteen letters '>sixteen lett"
      "ers</long-name-of-markup><p:c-- ><p:d a='&lt;' b--=''/></p:c-- >"
      "<e>\n</e><f>&#13;</f><g/>";
  for (size_t filler = kLongestChunk - 350; filler < kLongestChunk + 50; ++filler) {
    const std::string before = "<r><f>" + std::string(filler, 'f') + "</f>";
    const trees::Held document{trees::parsed(before + markup + "</r>", filler % 2 == 0)};
    char *expected = nullptr;
    ASSERT_EQ(NEB_XML_TransformIndented(document, 3, &expected), kOk);
    EXPECT_EQ(written(document, with(0, 3)), expected);
    NEB_XML_FreeMem(expected);
  }
}

// What a sink has received, and what it returns at its n-th call.
struct Received {
  size_t failing = 0;
  std::vector<size_t> lengths = {};
  std::string whole = {};

  static uint32_t take(void *context, const char *bytes, size_t length) {
    auto &received = *static_cast<Received *>(context);
    received.lengths.push_back(length);
    received.whole.append(bytes, length);
    return received.lengths.size() == received.failing ? 77 : kOk;
  }
};

TEST(Print, GivesPartsOfBoundedLengthAndEndsWhenToldTo) {
  const std::string text = "<a>\n<b>" + std::string(300'000, 'v') + "</b>\n" +
                           repeated("<c d=\"e\"/>\n", 9000) + "</a>\n";
  const trees::Held document{trees::parsed(text)};
  const size_t before = guarded::allocations();
  Received all;
  EXPECT_EQ(NEB_XML_Print(document, nullptr, Received::take, &all), kOk);
  EXPECT_EQ(guarded::allocations(), before);
  EXPECT_EQ(all.whole, text);
  for (const size_t length : all.lengths) EXPECT_TRUE(length > 0 && length <= kLongestChunk);
  for (size_t n = 1; n <= all.lengths.size(); ++n) {
    Received some{n};
    EXPECT_EQ(NEB_XML_Print(document, nullptr, Received::take, &some), 77U);
    EXPECT_EQ(some.lengths.size(), n);
    EXPECT_TRUE(text.starts_with(some.whole));
  }
}

TEST(Print, AllocatesForLongNamesOnly) {
  for (const size_t length : {15'000U, 16'400U, 100'000U}) {
    const std::string name = "\xC3\xA9" + std::string(length, 'n');
    const trees::Held node{element(name, "v")};
    EXPECT_EQ(NEB_XML_AddAttr(node, name.c_str(), name.c_str(), "v"), kOk);
    const std::string twice = name + ":" + name;
    const std::string expected = "<" + name + " a=\"v\" " + twice + "=\"v\">v</" + name + ">\n";
    const size_t outstanding = guarded::outstanding();
    uint32_t result = kNoMemory;
    for (size_t n = 1; result == kNoMemory; ++n) {
      const guarded::FailingAllocation failing(n);
      Received received;
      result = NEB_XML_Print(node, nullptr, Received::take, &received);
      EXPECT_EQ(guarded::outstanding(), outstanding);
      EXPECT_EQ(result == kNoMemory, failing.happened());
      EXPECT_TRUE(result != kOk || received.whole == expected);
      for (const size_t chunk : received.lengths) EXPECT_LE(chunk, kLongestChunk);
    }
    EXPECT_EQ(NEB_XML_SetNode(node, nullptr, (name + "\xC3").c_str(), nullptr), kOk);
    EXPECT_EQ(written(node), "unwritable");
  }
}

}  // namespace
