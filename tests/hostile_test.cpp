// Texts made to harm: whatever they are, no file is touched, what is held stays in proportion to
// what was given, and it all goes back.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <numeric>
#include <string>

#include "support/guarded_hooks.h"
#include "support/tables.h"
#include "support/trees.h"

namespace {

using tables::repeated;

constexpr uint32_t kOk = NEB_XML_OK;
constexpr uint32_t kSyntax = NEB_XML_ERR_SYNTAX;

size_t sum(const std::vector<size_t> &sizes) {
  return std::accumulate(sizes.begin(), sizes.end(), size_t{0});
}

TEST(Hostile, TextsTakeMemoryInProportionAndNoFiles) {
  constexpr size_t kBytesForAByte = 40;  // the most is asked by an element of four
  constexpr size_t kBytesAnyway = 20'000;
  std::string laughs = "<!DOCTYPE a [<!ENTITY e0 'ha'>";
  for (int i = 1; i < 30; ++i) {
    const std::string inner = "&e" + std::to_string(i - 1) + ";";
    laughs += "<!ENTITY e" + std::to_string(i) + " '" + inner + inner + "'>";
  }
  const struct {
    const char *what;
    std::string text;
    uint32_t result;
  } rows[] = {
      {"nested entities", laughs + "]><a>&e29;</a>", kSyntax},
      {"nested entities that are not used", laughs + "]><a/>", kOk},
      {"a long entity used often",
       "<!DOCTYPE a [<!ENTITY e '" + std::string(10000, 'x') + "'>]><a>" + repeated("&e;", 1000) +
           "</a>",
       kSyntax},
      {"an external entity", "<!DOCTYPE a [<!ENTITY e SYSTEM '/etc/passwd'>]><a>&e;</a>", kSyntax},
      {"an external subset", "<!DOCTYPE a SYSTEM 'file:///etc/passwd'><a/>", kOk},
      {"a parameter entity", "<!DOCTYPE a [<!ENTITY % p SYSTEM '/etc/passwd'> %p;]><a/>", kOk},
      {"default attributes", "<!DOCTYPE a [<!ATTLIST a b CDATA '&e;'>]><a/>", kOk},
      {"an inclusion",
       "<a xmlns:i='http://www.w3.org/2001/XInclude'><i:include href='/etc/passwd'/>"
       "</a>",
       kOk},
      {"depth", repeated("<a>", 100'000), kSyntax},
      {"elements of four bytes", repeated("<a/>", 100'000), kOk},
      {"attributes",
       "<a" +
           [] {
             std::string text;
             for (int i = 0; i < 20'000; ++i) text += " a" + std::to_string(i) + "=''";
             return text;
           }() +
           "/>",
       kOk},
      {"a long name", "<" + std::string(1'000'000, 'n') + "/>", kOk},
      {"an overlong bracket",
       "<a>\xc0\xbc"
       "b/\xc0\xbe</a>",
       kOk},
      {"half a character", "<a b='\xf0\x9f'>\xe2\x82</a>", kOk},
      {"UTF-16", std::string("\xff\xfe<\0a\0/\0>\0", 10), kSyntax},
      {"UTF-7", "+ADw-a/+AD4-", kSyntax},
      {"numbers too large", "<a>&#4294967361;</a>", kSyntax},
      {"a surrogate", "<a>&#xD83D;&#xDE00;</a>", kSyntax},
  };
  for (const auto &[what, text, result] : rows) {
    for (const bool withSession : {false, true}) {
      SCOPED_TRACE(what);
      const size_t before = sum(guarded::mallocSizes()) + sum(guarded::callocSizes());
      XmlNode *document = nullptr;
      const auto parse = withSession ? NEB_XML_ParseEx : NEB_XML_Parse;
      EXPECT_EQ(parse(text.c_str(), &document), result);
      const size_t after = sum(guarded::mallocSizes()) + sum(guarded::callocSizes());
      EXPECT_LE(after - before, kBytesForAByte * text.size() + kBytesAnyway);
      XML_FreeNode(document);
      EXPECT_EQ(guarded::outstanding(), 0U);
    }
  }
  EXPECT_EQ(guarded::fileCalls(), 0U);
}

// No part of a text is read beyond its end, and what is left out is never made up.
TEST(Hostile, TextsThatAreCutAnywhere) {
  const std::string text =
      "<?xml version='1.0'?><!-- c --><!DOCTYPE a [<!ENTITY e \"v\">]><p:a b='1' "
      "q:c=\"&lt;\"><d>&#65;"
      "<![CDATA[t]]></d><e> </e><?p i?><f/></p:a>";
  for (size_t length = 1; length <= text.size(); ++length) {
    const auto part = std::make_unique<char[]>(length);
    std::memcpy(part.get(), text.data(), length);
    XmlNode *document = nullptr;
    const uint32_t result = NEB_XML_ParseBuffer(part.get(), length, 0, &document, nullptr);
    // Behind a closed element a text may end, whatever is still open around it.
    const std::string kept = text.substr(0, length);
    const bool mayEnd = kept.ends_with("</d>") || kept.ends_with("</e>") || kept.ends_with("?>") ||
                        kept.ends_with("<f/>") || kept == text;
    EXPECT_EQ(result, mayEnd && kept.find("</d>") != std::string::npos ? kOk : kSyntax) << kept;
    NEB_XML_FreeNode(document);
  }
}

}  // namespace
