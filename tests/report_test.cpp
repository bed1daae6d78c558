// Where and why a parse fails, for every way it can.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "support/data.h"
#include "support/guarded_hooks.h"
#include "support/kernels.h"
#include "support/parses.h"
#include "support/tables.h"
#include "support/trees.h"
#include "xml/parser/reasons.h"

using namespace neb::xml::internal;

namespace {

using parses::kEdge;

// The report of a malformed text, which has nothing behind it that may be read.
NEB_XML_PARSE_ERROR reportOf(const std::string &text, uint32_t flags) {
  XmlNode *document = nullptr;
  NEB_XML_PARSE_ERROR error = {};
  const char *bytes = kEdge.before(text);
  EXPECT_EQ(NEB_XML_ParseBuffer(bytes, text.size(), flags, &document, &error), kSyntax) << text;
  return error;
}

using Report = EachKernel;

TEST_P(Report, NamesThePlaceAndTheReason) {
  std::string reason;
  size_t count = 0;
  for (std::string text : tables::linesOf("malformed.txt")) {
    if (text.starts_with(": ")) {
      reason = text.substr(2);
      ++count;
      continue;
    }
    SCOPED_TRACE(text);
    const size_t offset = text.find('^');
    text.erase(offset, 1);
    const std::string path = trees::temporaryFile(text);
    for (const uint32_t flags : {0U, 1U}) {
      const NEB_XML_PARSE_ERROR error = reportOf(text, flags);
      EXPECT_EQ(error.reason, reason);
      EXPECT_EQ(error.offset, offset);
      EXPECT_EQ(error.endNameLength != 0, reason == reasons::kEndTagOther);
      NEB_XML_PARSE_ERROR ofFile = {};
      XmlNode *document = nullptr;
      EXPECT_EQ(NEB_XML_ParseFileInfo(path.c_str(), flags, &document, &ofFile), kSyntax);
      EXPECT_TRUE(ofFile.reason == error.reason && ofFile.offset == error.offset);
    }
  }
  EXPECT_EQ(count, 34U) << "every reason that a short document can give";
}

// The names are marked by a '^' on either side.
TEST(Report, MismatchesNameBothTags) {
  const std::vector<std::string> starts = {
      "<^a^>",         "< ^a^>", "<\n ^a^ b='1'>", "<\t^p:a^\n>", "<<!-- > -->^a^ b='</a>' >",
      "<<?p a?>\n^a^>"};
  const std::vector<std::string> ends = {"</^b^>",           "</ ^b^ >",  "</\n\t^p:b^>",
                                         "</<!-- a -->^A^>", "</^ab^\n>", "</^a:p^>"};
  std::vector<std::string> begins;
  for (const char *begin : {"", "<r>", "<r>\n <q x='<'>\n", "<!-- <a> -->\n<r><q/><?p?>",
                            "<r> <q>t</q>\n", "<a/>\n<a>t</a>"}) {
    begins.emplace_back(begin);
  }
  for (const size_t depth : {63U, 64U, 65U, 200U}) begins.push_back(tables::repeated("<r>", depth));
  for (const std::string &begin : begins) {
    for (const std::string &start : starts) {
      for (const std::string content : {"", "t", " ", "\n t", "<x/>", "<x></x>", "<x>t</x>\n",
                                        "<x><y/> </x>", "\n<!-- <a> -->\n", "<![CDATA[<]]>"}) {
        for (const std::string &end : ends) {
          std::string text = begin + start + content + end + "\n</r>";
          SCOPED_TRACE(text);
          size_t marks[4] = {};  // where the names begin and end
          for (size_t &mark : marks) text.erase(mark = text.find('^'), 1);
          const NEB_XML_PARSE_ERROR error = reportOf(text, 0);
          EXPECT_EQ(error.reason, reasons::kEndTagOther);
          EXPECT_EQ(error.startTagOffset, begin.size());
          EXPECT_EQ(error.startNameOffset, marks[0]);
          EXPECT_EQ(error.startNameLength, marks[1] - marks[0]);
          EXPECT_EQ(error.offset, (begin + start + content).size() - 2);
          EXPECT_EQ(error.endNameOffset, marks[2]);
          EXPECT_EQ(error.endNameLength, marks[3] - marks[2]);
        }
      }
    }
  }
}

TEST(Report, FailuresWithoutAPlace) {
  XmlNode *document = nullptr;
  NEB_XML_PARSE_ERROR error = {};
  const auto expect = [&](uint32_t result, uint32_t code, const char *reason,
                          size_t systemError = 0) {
    EXPECT_EQ(result, code);
    EXPECT_EQ(error.code, code);
    EXPECT_STREQ(error.reason, reason);
    EXPECT_EQ(error.systemError, systemError);
    EXPECT_EQ(error.line + error.column + error.offset + error.endNameLength + error.isWellFormed,
              0U);
    for (const size_t field : error.reserved) EXPECT_EQ(field, 0U);
    error = {7, "", 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, {7, 7}};
  };
  const auto expectOfFile = [&](const char *path, uint32_t code, const char *reason,
                                size_t systemError = 0) {
    errno = EDOM;  // of an earlier call
    expect(NEB_XML_ParseFileInfo(path, 0, &document, &error), code, reason, systemError);
  };
  using reasons::kArgument;
  expect(NEB_XML_ParseBuffer(nullptr, 1, 0, &document, &error), kInvalid, kArgument);
  expect(NEB_XML_ParseBuffer("<a/>", 0, 0, &document, &error), kInvalid, kArgument);
  expect(NEB_XML_ParseBuffer("\0 <a/>", 6, 0, &document, &error), kInvalid, kArgument);
  for (const uint32_t unknown : {uint32_t{NEB_XML_PARSE_NO_DOCTYPE}, 8U}) {
    expect(NEB_XML_ParseBuffer("<a/>", 4, unknown, &document, &error), kInvalid, kArgument);
  }
  expect(NEB_XML_ParseBuffer("<a/>", 4, 0, nullptr, &error), kInvalid, kArgument);
  const std::string empty = trees::temporaryFile("");
  const std::string path = trees::temporaryFile("<a/>");
  expectOfFile(nullptr, kInvalid, kArgument);
  expectOfFile(empty.c_str(), kSyntax, reasons::kFileEmpty);
  expectOfFile((empty + ".none").c_str(), kFileOpen, reasons::kFileOpen, ENOENT);
  const auto readNothing = [](void *, size_t, size_t, FILE *) { return size_t{0}; };
  NEB_XML_RegFileFunc(std::fopen, std::fseek, std::fclose, readNothing, std::ftell);
  expectOfFile(path.c_str(), kFileRead, reasons::kFileRead);
  expect(NEB_XML_ParseFileInfo(path.c_str(), 8, &document, &error), kInvalid, kArgument);
  expect(NEB_XML_ParseFileInfo(path.c_str(), 0, nullptr, &error), kInvalid, kArgument);
  EXPECT_EQ(NEB_XML_ParseFileInfo("", 0, &document, nullptr), kFileOpen);
  const guarded::FailingAllocation noText(1);
  expectOfFile(path.c_str(), kNoMemory, reasons::kNoMemory);
}

// Short memory is told as such, whichever of the two parses meets it, or is not noticed.
TEST_P(Report, EveryAllocationFails) {
  const std::string longer(5000, 'n');                           // no two fit into a block
  const std::string deep = tables::repeated("<a>", 64) + "<c>";  // as many as are noted at first
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
        EXPECT_EQ(result == kOk, document != nullptr);
        EXPECT_EQ(error.code, result);
        EXPECT_STREQ(error.reason, result == kOk       ? nullptr
                                   : result == kSyntax ? reasons::kEndTagOther
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

INSTANTIATE_TEST_SUITE_P(Kernels, Report, allKernels(), nameOfKernel);

}  // namespace
