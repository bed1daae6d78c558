// Where and why a parse fails, for every way it can.
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>

#include "support/guarded_hooks.h"
#include "support/trees.h"
#include "xml/xml_parser_reasons.h"

namespace {

constexpr uint32_t kSyntax = NEB_XML_ERR_SYNTAX;

struct Malformed {
  const char *text;
  size_t line;
  size_t column;
  const char *reason;
};

constexpr Malformed kMalformed[] = {
    {" \n\t ", 2, 3, reasons::kNoElement},
    {"<?xml version='1.0'?><!-- c -->", 1, 32, reasons::kNoElement},
    {"\n<?xml version='1.0'", 2, 1, reasons::kDeclarationOpen},
    {"<!DOCTYPE a [ <!ELEMENT a> ", 1, 1, reasons::kDoctypeOpen},
    {"<!DOCTYPE a \"x>\n<a/>", 1, 13, reasons::kDoctypeQuoteOpen},
    {"<!-- c\n--><!DOCTYPE a <a/>", 2, 4, reasons::kDoctypeOpen},
    {"<a/><!DOCTYPE b><", 1, 15, reasons::kAttributeEquals},
    {"<!-- never closed", 1, 1, reasons::kCommentOpen},
    {"<a>\n  <!-- never closed</a>", 2, 3, reasons::kCommentOpen},
    {"<!--><a/>", 1, 1, reasons::kCommentShort},
    {"<!---><a/>", 1, 1, reasons::kCommentShort},
    {"<!-- c ---><a/>", 1, 1, reasons::kCommentHyphen},
    {"<a><b/><!-- c ---></a>", 1, 8, reasons::kCommentHyphen},
    {"<?pi", 1, 1, reasons::kInstructionOpen},
    {"<a/>\n<?pi", 2, 1, reasons::kInstructionOpen},
    {"<a><?pi ></a>", 1, 4, reasons::kInstructionOpen},
    {"<a><![CDATA[x]]</a>", 1, 4, reasons::kSectionOpen},
    {"<a>x<![CDATA[z]]><![CDATA[y</a>", 1, 18, reasons::kSectionOpen},
    {"<a x='<![CDATA['/>", 1, 7, reasons::kSectionOpen},
    {"<a x='<![CDATA[y'>]]></a>", 1, 7, reasons::kSectionCut},
    {"text", 1, 1, reasons::kTextOutside},
    {"\xEF\xBB\xBF<a/>", 1, 1, reasons::kTextOutside},
    {"<a/>text", 1, 5, reasons::kTextOutside},
    {"<a></a>\n  text", 2, 3, reasons::kTextOutside},
    {">", 1, 1, reasons::kTagEndAlone},
    {"<a/>>", 1, 5, reasons::kTagEndAlone},
    {"/>", 1, 1, reasons::kTagEndAlone},
    {"<a/>/>", 1, 5, reasons::kTagEndAlone},
    {"=", 1, 1, reasons::kTextOutside},
    {"<a/>\n'", 2, 1, reasons::kTextOutside},
    {"<", 1, 1, reasons::kElementName},
    {"<a><", 1, 4, reasons::kElementName},
    {"< /a>", 1, 1, reasons::kElementName},
    {"<]]>", 1, 1, reasons::kElementName},
    {"<:a/>", 1, 1, reasons::kElementNameColon},
    {"<a:/>", 1, 1, reasons::kElementNameColon},
    {"<a><b:></b:></a>", 1, 4, reasons::kElementNameColon},
    {"<a><b>\n<c:/></b></a>", 2, 1, reasons::kElementNameColon},
    {"<a&amp;:b/>", 1, 1, reasons::kElementPrefix},
    {"<a&b/>", 1, 3, reasons::kReferenceUnknown},
    {"<a&#0;/>", 1, 3, reasons::kReferenceCharacter},
    {"<r><a&lt/></r>", 1, 6, reasons::kReferenceUnknown},
    {"<a", 1, 1, reasons::kStartTagOpen},
    {"<r>\n <a", 2, 2, reasons::kStartTagOpen},
    {"<a x", 1, 4, reasons::kAttributeEquals},
    {"<a x=", 1, 4, reasons::kAttributeQuote},
    {"<a x='1'", 1, 1, reasons::kStartTagOpen},
    {"<a x='1' ", 1, 1, reasons::kStartTagOpen},
    {"<a\nx='1'/ >", 1, 1, reasons::kStartTagOpen},
    {"<a/b c>", 1, 6, reasons::kAttributeEquals},
    {"<a x>", 1, 4, reasons::kAttributeEquals},
    {"<a x/>", 1, 4, reasons::kAttributeEquals},
    {"<a x y='1'>", 1, 4, reasons::kAttributeEquals},
    {"<a\n  x='1'\n  y>t</a>", 3, 3, reasons::kAttributeEquals},
    {"<a x=1>", 1, 4, reasons::kAttributeQuote},
    {"<a x=>", 1, 4, reasons::kAttributeQuote},
    {"<a x='1>\n</a>", 1, 6, reasons::kAttributeOpen},
    {"<a x=\"1'>", 1, 6, reasons::kAttributeOpen},
    {"<a x='1'y='2'>", 1, 9, reasons::kAttributeSpace},
    {"<a x='1'\"y='2'>", 1, 9, reasons::kAttributeName},
    {"<a x='1' ='2'>", 1, 10, reasons::kAttributeName},
    {"<a x='1' 'y'='2'>", 1, 10, reasons::kAttributeName},
    {"<a x='1' <b/>", 1, 10, reasons::kAttributeName},
    {"<a :x='1'>", 1, 4, reasons::kAttributeNameColon},
    {"<a x:='1'>", 1, 4, reasons::kAttributeNameColon},
    {"<a x&y='1'>", 1, 5, reasons::kReferenceUnknown},
    {"<a x='1' x='2'>", 1, 10, reasons::kAttributeTwice},
    {"<a\n p:x='1'\n p:x='2'/>", 3, 2, reasons::kAttributeTwice},
    {"<r><a x='&amp;' x=''/></r>", 1, 17, reasons::kAttributeTwice},
    {"<a x='AT&T'/>", 1, 9, reasons::kReferenceUnknown},
    {"<a x='&nbsp;'/>", 1, 7, reasons::kReferenceUnknown},
    {"<a>&AMP;</a>", 1, 4, reasons::kReferenceUnknown},
    {"<a>a & b</a>", 1, 6, reasons::kReferenceUnknown},
    {"<a>&</a>", 1, 4, reasons::kReferenceUnknown},
    {"<a>&#;</a>", 1, 4, reasons::kReferenceCharacter},
    {"<a>&#65</a>", 1, 4, reasons::kReferenceNumber},
    {"<a>&#x;</a>", 1, 4, reasons::kReferenceCharacter},
    {"<a>&#X41;</a>", 1, 4, reasons::kReferenceNumber},
    {"<a>&#12a;</a>", 1, 4, reasons::kReferenceNumber},
    {"<a>&#xD800;</a>", 1, 4, reasons::kReferenceCharacter},
    {"<a>&#1114112;</a>", 1, 4, reasons::kReferenceCharacter},
    {"<a x='&#6'>5;</a>", 1, 7, reasons::kReferenceNumber},
    {"<a x='&lt'>;</a>", 1, 7, reasons::kReferenceUnknown},
    {"<a>\r\n\r\n  <b>&bad;</b>\r\n</a>", 3, 6, reasons::kReferenceUnknown},
    {"<a>\xC3\xA9\xC3\xA9&bad;</a>", 1, 8, reasons::kReferenceUnknown},
    {"<a><b>\xE2\x82\xAC</b><c x='\xE2\x82\xAC' x='1'/></a>", 1, 25, reasons::kAttributeTwice},
    {"</a>", 1, 1, reasons::kEndTagAlone},
    {"<a/></a>", 1, 5, reasons::kEndTagAlone},
    {"<a></a></a>", 1, 8, reasons::kEndTagAlone},
    {"<a></", 1, 4, reasons::kEndTagName},
    {"<a></ ", 1, 4, reasons::kEndTagName},
    {"<a></b>", 1, 4, reasons::kEndTagOther},
    {"<abc>t</ab>", 1, 7, reasons::kEndTagOther},
    {"<a>\n <b>\n </c>\n</a>", 3, 2, reasons::kEndTagOther},
    {"<a><b/></b></a>", 1, 8, reasons::kEndTagOther},
    {"<p:a></a>", 1, 6, reasons::kEndTagOther},
    {"<a><b>t</a></b>", 1, 8, reasons::kEndTagOther},
    {"<a&amp;b></a&amp;b>", 1, 10, reasons::kEndTagOther},
    {"<a></a", 1, 4, reasons::kEndTagOpen},
    {"<a>t</a x>", 1, 5, reasons::kEndTagOpen},
    {"<a></a <", 1, 4, reasons::kEndTagOpen},
    {"<a>t</a <!-- c -->>", 1, 5, reasons::kEndTagOpen},
    {"<a>text", 1, 4, reasons::kTextOpen},
    {"<a>text<b/></a>", 1, 8, reasons::kTextMarkup},
    {"<a>x<!-- c -->y</a>", 1, 5, reasons::kTextMarkup},
    {"<a>x<?pi?><b/></a>", 1, 5, reasons::kTextMarkup},
    {"<r><a/>x</r>", 1, 8, reasons::kTextAfterChild},
    {"<r>\n<a></a>\nx\n</r>", 3, 1, reasons::kTextAfterChild},
    {"<r><a>t</a>&amp;</r>", 1, 12, reasons::kTextAfterChild},
    {"<a>", 1, 1, reasons::kElementOpen},
    {"<a><b>", 1, 4, reasons::kElementOpen},
    {"<a>\n  <b x='1'>\n", 2, 3, reasons::kElementOpen},
    {"<a><b></b><c>", 1, 11, reasons::kElementOpen},
    {"<a/><b>", 1, 5, reasons::kElementOpen},
};

// The bytes as they stand in memory, with nothing behind them that may be read.
std::unique_ptr<char[]> exactCopy(const std::string &text) {
  auto bytes = std::make_unique<char[]>(text.size());
  text.copy(bytes.get(), text.size());
  return bytes;
}

size_t offsetOf(const std::string &text, size_t line, size_t column) {
  size_t start = 0;
  for (; line > 1; --line) start = text.find('\n', start) + 1;
  return start + column - 1;
}

class Report : public testing::TestWithParam<uint32_t> {};

TEST_P(Report, NamesThePlaceAndTheReason) {
  std::set<std::string> reasons;
  for (const Malformed &malformed : kMalformed) {
    SCOPED_TRACE(malformed.text);
    const std::string text = malformed.text;
    const auto bytes = exactCopy(text);
    auto *const untouched = reinterpret_cast<XmlNode *>(&reasons);
    XmlNode *document = untouched;
    NEB_XML_PARSE_ERROR error = {};
    EXPECT_EQ(NEB_XML_ParseBuffer(bytes.get(), text.size(), GetParam(), &document, &error),
              kSyntax);
    EXPECT_EQ(document, untouched);
    EXPECT_EQ(error.code, kSyntax);
    EXPECT_STREQ(error.reason, malformed.reason);
    EXPECT_EQ(error.line, malformed.line);
    EXPECT_EQ(error.column, malformed.column);
    EXPECT_EQ(error.offset, offsetOf(text, malformed.line, malformed.column));
    EXPECT_EQ(error.endNameLength != 0, malformed.reason == reasons::kEndTagOther);
    reasons.insert(error.reason);
    NEB_XML_PARSE_ERROR ofFile = {};
    const std::string path = trees::temporaryFile(text);
    EXPECT_EQ(NEB_XML_ParseFileInfo(path.c_str(), GetParam(), &document, &ofFile), kSyntax);
    EXPECT_TRUE(ofFile.reason == error.reason && ofFile.offset == error.offset);
    EXPECT_EQ(trees::parseBy(trees::Entry::text, text, &document), kSyntax);
  }
  EXPECT_EQ(reasons.size(), 34U) << "every reason that a short text can give";
}

INSTANTIATE_TEST_SUITE_P(Storage, Report, testing::Values(0U, NEB_XML_PARSE_SESSION));

TEST(ReportDetails, MismatchesNameBothTags) {
  const std::string text = "<a>\n  <p:b x='1'>\n    <c/>\n  </p:bb >\n</a>";
  NEB_XML_PARSE_ERROR error = {};
  XmlNode *document = nullptr;
  EXPECT_EQ(NEB_XML_ParseBuffer(text.data(), text.size(), 0, &document, &error), kSyntax);
  EXPECT_EQ(text.substr(error.startNameOffset, error.startNameLength), "p:b");
  EXPECT_EQ(text.substr(error.endNameOffset, error.endNameLength), "p:bb");
  EXPECT_EQ(error.startTagOffset, text.find("<p:b"));
  EXPECT_EQ(error.offset, text.find("</p:bb"));
}

TEST(ReportDetails, TheStartTagIsFoundAtAnyDepth) {
  for (const size_t depth : {63U, 64U, 65U, 200U}) {
    std::string text;
    for (size_t i = 0; i < depth; ++i) text += "<n" + std::to_string(i) + ">";
    NEB_XML_PARSE_ERROR error = {};
    XmlNode *document = nullptr;
    const std::string wrong = text + "<x/></other>";
    EXPECT_EQ(NEB_XML_ParseBuffer(wrong.data(), wrong.size(), 0, &document, &error), kSyntax);
    EXPECT_EQ(error.startTagOffset, text.rfind('<'));
    EXPECT_EQ(wrong.substr(error.startNameOffset, error.startNameLength),
              "n" + std::to_string(depth - 1));
  }
}

TEST(ReportDetails, TextsEndAtTheirLengthOrAtNul) {
  const std::string text("<a>t</a>\0<", 10);
  const auto bytes = exactCopy(text);
  XmlNode *document = nullptr;
  ASSERT_EQ(NEB_XML_ParseBuffer(bytes.get(), text.size(), 0, &document, nullptr), 0U);
  EXPECT_EQ(trees::described(document), "12:a='t'");
  NEB_XML_FreeNode(document);
  for (size_t length = 1; length < 8; ++length) {
    const auto part = exactCopy(text.substr(0, length));
    EXPECT_EQ(NEB_XML_ParseBuffer(part.get(), length, 1, &document, nullptr), kSyntax) << length;
  }
}

TEST(ReportDetails, FailuresWithoutAPlace) {
  constexpr uint32_t kInvalid = NEB_XML_ERR_INVALID_PARAM;
  XmlNode *document = nullptr;
  NEB_XML_PARSE_ERROR error = {};
  const auto expect = [&](uint32_t result, uint32_t code, const char *reason) {
    EXPECT_EQ(result, code);
    EXPECT_EQ(error.code, code);
    EXPECT_STREQ(error.reason, reason);
    EXPECT_EQ(error.line + error.column + error.offset + error.endNameLength, 0U);
    error = {7, "", 7, 7, 7, 7, 7, 7, 7, 7};
  };
  using reasons::kArgument;
  expect(NEB_XML_ParseBuffer(nullptr, 1, 0, &document, &error), kInvalid, kArgument);
  expect(NEB_XML_ParseBuffer("<a/>", 0, 0, &document, &error), kInvalid, kArgument);
  expect(NEB_XML_ParseBuffer("\0<a/>", 5, 0, &document, &error), kInvalid, kArgument);
  expect(NEB_XML_ParseBuffer("<a/>", 4, 2, &document, &error), kInvalid, kArgument);
  expect(NEB_XML_ParseBuffer("<a/>", 4, 0, nullptr, &error), kInvalid, kArgument);
  expect(NEB_XML_ParseFileInfo(nullptr, 0, &document, &error), kInvalid, kArgument);
  const std::string empty = trees::temporaryFile("");
  expect(NEB_XML_ParseFileInfo(empty.c_str(), 0, &document, &error), kSyntax, reasons::kFileEmpty);
  expect(NEB_XML_ParseFileInfo((empty + ".none").c_str(), 0, &document, &error),
         NEB_XML_ERR_FILE_OPEN, reasons::kFileOpen);
  {
    const guarded::FailingFileCall shortRead(5);
    const std::string path = trees::temporaryFile("<a/>");
    expect(NEB_XML_ParseFileInfo(path.c_str(), 0, &document, &error), NEB_XML_ERR_FILE_READ,
           reasons::kFileRead);
    expect(NEB_XML_ParseFileInfo(path.c_str(), 2, &document, &error), kInvalid, kArgument);
    expect(NEB_XML_ParseFileInfo(path.c_str(), 0, nullptr, &error), kInvalid, kArgument);
    EXPECT_EQ(NEB_XML_ParseFileInfo("", 0, &document, nullptr), uint32_t{NEB_XML_ERR_FILE_OPEN});
    const guarded::FailingAllocation noText(1);
    expect(NEB_XML_ParseFileInfo(path.c_str(), 0, &document, &error), NEB_XML_ERR_NO_MEMORY,
           reasons::kNoMemory);
  }
}

// Short memory is told as such, whichever of the two parses meets it, or is not noticed.
TEST(ReportDetails, EveryAllocationFails) {
  const std::string longer(5000, 'n');  // no two fit into a block
  std::string deep = "<c>";
  for (int level = 0; level < 64; ++level) deep.insert(0, "<a>");  // as many as are noted at first
  const std::pair<std::string, std::string> texts[] = {
      {"<p:a x='1'>\n<b/></p:a>", ""},
      {"<a><b><c></b></a>", "c"},
      {deep + "</b>", "c"},
      {"<p:a x='&lt;" + longer + "' q:y='" + longer + "'><b>&amp;" + longer + "</b><p:" + longer +
           "/><d>" + std::string(longer.size(), ' ') + "</d></a>",
       "p:a"}};
  for (const auto &[text, startName] : texts) {
    for (const uint32_t flags : {0U, 1U}) {
      bool hasFailed = true;
      for (size_t n = 1; hasFailed; ++n) {
        XmlNode *document = nullptr;
        NEB_XML_PARSE_ERROR error = {};
        const guarded::FailingAllocation failing(n);
        const uint32_t result =
            NEB_XML_ParseBuffer(text.data(), text.size(), flags, &document, &error);
        hasFailed = failing.happened();
        EXPECT_EQ(result == NEB_XML_OK, document != nullptr);
        EXPECT_EQ(error.code, result);
        EXPECT_STREQ(error.reason, result == NEB_XML_OK ? nullptr
                                   : result == kSyntax  ? reasons::kEndTagOther
                                                        : reasons::kNoMemory);
        if (error.startNameLength != 0) {  // or it is not known
          EXPECT_EQ(text.substr(error.startNameOffset, error.startNameLength), startName);
        }
        NEB_XML_FreeNode(document);
        ASSERT_EQ(guarded::outstanding(), 0U) << n;
      }
    }
  }
}

}  // namespace
