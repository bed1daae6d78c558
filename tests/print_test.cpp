// Strict printing: its layouts, its parts, what it refuses, and that all parsers read it alike. Any
// tree that calls can make, the fuzzer roundtrip prints.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "other_parsers/outline.h"
#include "support/data.h"
#include "support/guarded_hooks.h"
#include "support/tables.h"
#include "support/trees.h"
#include "xml/printer/sink_output.h"

namespace {

using namespace neb::xml::internal;
using other_parsers::outlineOf;
using tables::repeated;

constexpr size_t kLongestChunk = 16384;
const std::string kUnwritten = "unwritable";

NEB_XML_PRINT_OPTIONS with(uint32_t flags, uint32_t indent = 0) {
  return {sizeof(NEB_XML_PRINT_OPTIONS), flags, indent};
}

std::string written(const XmlNode *node, NEB_XML_PRINT_OPTIONS options = {}) {
  std::string whole;
  const uint32_t result = NEB_XML_Print(node, &options, appendTo, &whole);
  return result == kOk ? whole : result == kUnwritable ? kUnwritten : "error";
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
    const std::string document = written(node, options);
    EXPECT_TRUE(!isAsciiOnly || isAscii(document));
    EXPECT_EQ(document == kUnwritten, isAsciiOnly && !hasAsciiNames) << document;
    if (document == kUnwritten) continue;
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

TEST(Print, LaysOutAsTheOptionsSay) {
  const trees::Held document{
      trees::parsed("<r a='\xC3\xA9&#10;'><b><c>1\n\xF0\x9F\x98\x80</c></b><d/><e> </e></r>")};
  const std::string flat =
      "<r a=\"\xC3\xA9&#10;\"><b><c>1\n\xF0\x9F\x98\x80</c></b><d/>"
      "<e>&#32;</e></r>";
  const std::pair<NEB_XML_PRINT_OPTIONS, std::string> cases[] = {
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
      {with(NEB_XML_PRINT_ONE_LINE | NEB_XML_PRINT_CRLF | NEB_XML_PRINT_NO_FINAL_LINE_END), flat},
      {with(NEB_XML_PRINT_ONE_LINE | NEB_XML_PRINT_CRLF), flat + "\r\n"}};
  for (const auto &[options, expected] : cases) EXPECT_EQ(written(document, options), expected);
  expectReadAlike(document);
  EXPECT_EQ(written(NEB_XML_GetNodeFirstChild(document), with(0, 1)).substr(0, 8), "<b>\n <c>");
}

TEST(Print, RefusesOptionsThatItDoesNotKnow) {
  const trees::Held document{trees::parsed("<a/>")};
  const std::pair<NEB_XML_PRINT_OPTIONS, bool> cases[] = {
      {{}, true},
      {{0, NEB_XML_PRINT_ASCII, 0}, false},
      {{0, 0, 2}, false},
      {{sizeof(NEB_XML_PRINT_OPTIONS) - 1, 0, 0}, false},
      {{SIZE_MAX, 0, 0}, false},
      {with(127 - NEB_XML_PRINT_ONE_LINE, 16), true},
      {with(128), false},
      {with(1U << 31), false},
      {with(0, 17), false},
      {with(NEB_XML_PRINT_TABS, 0), false},
      {with(NEB_XML_PRINT_ONE_LINE, 1), false}};
  for (const auto &[options, isKnown] : cases) {
    EXPECT_EQ(written(document, options) != "error", isKnown) << options.flags;
  }
  struct {
    NEB_XML_PRINT_OPTIONS known = {sizeof known + sizeof(long), 0, 0};
    long later = 0;
  } larger;
  std::string whole;
  EXPECT_EQ(NEB_XML_Print(document, &larger.known, appendTo, &whole), kOk);
  larger.later = 1L << 24;
  EXPECT_EQ(NEB_XML_Print(document, &larger.known, appendTo, &whole), kInvalid);
  EXPECT_EQ(NEB_XML_Print(document, nullptr, appendTo, &whole), kOk);
  EXPECT_EQ(whole, "<a/>\n<a/>\n");
}

// Lengths that a difference of two pointers of 32 bits cannot hold.
TEST(Print, HasRoomForNoLengthBeyondIt) {
  Output output;
  SinkOutput sink(appendTo, nullptr);
  const char *end = output.begin() + 4096 + Output::kSlack;  // of both, or before it
  for (const uint32_t length : {uint32_t{1} << 31U, uint32_t{1} << 31U | 1U, UINT32_MAX}) {
    EXPECT_FALSE(output.hasRoom(output.begin(), length) || sink.hasRoom(sink.begin(), length));
    EXPECT_FALSE(output.hasRoom(end, length)) << "in the slack";
  }
}

void expectValue(const std::string &value, bool isValue, bool withSession) {
  const trees::Held node{trees::parsed("<e/>", withSession)};
  EXPECT_EQ(NEB_XML_SetNode(node, nullptr, nullptr, value.c_str()), kOk);
  EXPECT_EQ(written(node) != kUnwritten, isValue) << value;
  EXPECT_EQ(NEB_XML_AddAttr(node, nullptr, "a", value.c_str()), kOk);
  if (isValue) return expectReadAlike(node);
  EXPECT_EQ(NEB_XML_SetNode(node, nullptr, nullptr, ""), kOk);
  for (const uint32_t flags : {0U, uint32_t{NEB_XML_PRINT_ASCII}}) {
    EXPECT_EQ(written(node, with(flags)), kUnwritten) << value;
  }
}

void expectName(const std::string &name, bool isName, bool isAttribute) {
  const size_t colon = name.find(':') == name.npos ? 0 : name.find(':');
  const std::string prefix = name.substr(0, colon);
  const std::string local = name.substr(colon == 0 ? 0 : colon + 1);
  const trees::Held node{trees::parsed("<e>v</e>", name.size() % 2 == 0)};
  if (isAttribute) {
    XmlNode *attribute = XML_NewNode(0, NEB_XML_NODE_ATTRIBUTE);
    EXPECT_EQ(XML_SetNode(nullptr, attribute, prefix.c_str(), local.c_str(), ""), kOk);
    EXPECT_EQ(XML_AddAttrNode(attribute, node), kOk);
  } else {
    EXPECT_EQ(NEB_XML_SetNode(node, prefix.c_str(), local.c_str(), nullptr), kOk);
  }
  EXPECT_EQ(written(node) != kUnwritten, isName) << name;
  if (isName) expectReadAlike(node, isAscii(name));
}

// Values lie behind fillers that end where vectors, slices and characters do.
TEST(Print, WritesWhatAllParsersReadAlikeOrRefuses) {
  for (const std::string &line : tables::linesOf("printed.txt")) {
    const std::string kind = line.substr(0, line.find(' '));
    const std::string text = line.substr(kind.size() + 1);
    if (kind.ends_with("name")) {
      for (const bool isAttribute : {false, true}) expectName(text, kind == "name", isAttribute);
      continue;
    }
    for (const std::string filler : {"x", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"}) {
      for (const size_t count : {0U, 1U, 3U, 15U, 16U, 1023U, 1024U, 4095U}) {
        const std::string before = repeated(filler, count) + text;
        expectValue(before, kind == "value", count % 2 == 0);
        expectValue(before + filler, kind == "value", count % 2 != 0);
      }
    }
  }
}

TEST(Print, RefusesTreesThatXmlCannotHold) {
  const trees::Held twins{trees::parsed("<a p&#58;x='' p:x=''/>", false)};
  EXPECT_EQ(written(twins), kUnwritten);
  const trees::Held mixed{trees::parsed("<a><b/></a>", false)};
  EXPECT_EQ(NEB_XML_SetNode(mixed, nullptr, nullptr, " \t\r\n"), kOk);
  EXPECT_EQ(written(mixed), "<a>\n<b/>\n</a>\n");
  XmlNode *other = XML_NewNode(0, 3);
  EXPECT_EQ(XML_SetNode(nullptr, other, nullptr, "other", nullptr), kOk);
  EXPECT_EQ(written(other), kUnwritten);
  EXPECT_EQ(NEB_XML_AppendChildNode(mixed, other), kOk);
  EXPECT_EQ(written(mixed), kUnwritten);
  NEB_XML_FreeNode(other);
  EXPECT_EQ(NEB_XML_SetNode(mixed, nullptr, nullptr, "x"), kOk);
  EXPECT_EQ(written(mixed), kUnwritten);
  EXPECT_EQ(NEB_XML_SetNode(mixed, nullptr, "", ""), kOk);
  EXPECT_EQ(written(mixed), kUnwritten);
}

// Wherever chunks end, together they are what the exact printer writes.
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

// Receives parts, and ends printing at the n-th.
struct Received {
  size_t failing = 0;
  size_t parts = 0;
  std::string whole = {};

  static uint32_t take(void *context, const char *bytes, size_t length) {
    EXPECT_TRUE(length > 0 && length <= kLongestChunk);
    auto &received = *static_cast<Received *>(context);
    received.whole.append(bytes, length);
    return ++received.parts == received.failing ? 77 : kOk;
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
  for (size_t n = 1; n <= all.parts; ++n) {
    Received some{n};
    EXPECT_EQ(NEB_XML_Print(document, nullptr, Received::take, &some), 77U);
    EXPECT_EQ(some.parts, n);
    EXPECT_TRUE(text.starts_with(some.whole));
  }
}

TEST(Print, AllocatesForLongNamesOnly) {
  for (const size_t length : {15'000U, 16'400U, 100'000U}) {
    const std::string name = "\xC3\xA9" + std::string(length, 'n');
    const trees::Held node{trees::parsed("<" + name + "/>")};
    EXPECT_EQ(NEB_XML_AddAttr(node, name.c_str(), name.c_str(), "v"), kOk);
    const std::string expected = "<" + name + " " + name + ":" + name + "=\"v\"/>\n";
    const size_t outstanding = guarded::outstanding();
    uint32_t result = kNoMemory;
    for (size_t n = 1; result == kNoMemory; ++n) {
      const guarded::FailingAllocation failing(n);
      Received received;
      result = NEB_XML_Print(node, nullptr, Received::take, &received);
      EXPECT_EQ(guarded::outstanding(), outstanding);
      EXPECT_EQ(result == kNoMemory, failing.happened());
      EXPECT_TRUE(result != kOk || received.whole == expected);
    }
    for (const size_t n : {1U, 2U, 3U}) {
      Received some{n};
      EXPECT_EQ(NEB_XML_Print(node, nullptr, Received::take, &some), 77U);
      EXPECT_EQ(some.parts, n);
    }
    EXPECT_EQ(NEB_XML_SetNode(node, nullptr, (name + "\xC3").c_str(), nullptr), kOk);
    EXPECT_EQ(written(node), kUnwritten);
  }
}

}  // namespace
