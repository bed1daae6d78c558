// Texts made to harm: whatever they are, no file is touched, what is held stays in proportion to
// what was given, and it all goes back.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "support/guarded_hooks.h"
#include "support/tables.h"
#include "support/trees.h"

namespace {

using tables::repeated;

// The most bytes that a parse holds at once, with what the entry point copies, and then none.
size_t mostHeld(const std::string &text, uint32_t flags, bool withReport, uint32_t expected) {
  guarded::begin();
  XmlNode *document = nullptr;
  NEB_XML_PARSE_ERROR error;
  NEB_XML_PARSE_ERROR *const wanted = withReport ? &error : nullptr;
  EXPECT_EQ(NEB_XML_ParseBuffer(text.data(), text.size(), flags, &document, wanted), expected);
  XML_FreeNode(document);
  EXPECT_EQ(guarded::outstanding() + guarded::fileCalls(), 0U);
  return guarded::mostHeld();
}

TEST(Hostile, TextsTakeMemoryInProportionAndNoFiles) {
  std::string laughs = "<!DOCTYPE a [<!ENTITY e0 'ha'>";
  for (int i = 1; i < 30; ++i) {
    const std::string inner = "&e" + std::to_string(i - 1) + ";";
    laughs += "<!ENTITY e" + std::to_string(i) + " '" + inner + inner + "'>";
  }
  std::string attributes = "<a";
  for (int i = 0; i < 32'769; ++i) attributes += " a" + std::to_string(i) + "=''";
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
       "<a xmlns:i='http://www.w3.org/2001/XInclude'><i:include href='/etc/passwd'/></a>", kOk},
      {"depth", repeated("<a>", 100'000), kSyntax},
      {"depth that is not closed", repeated("<a>", 100'000) + "<a/>", kOk},
      {"depth when what notes it has grown", repeated("<a>", (size_t{64} << 11) + 1), kSyntax},
      {"the same of little", repeated("<a>", 129), kSyntax},
      {"elements of four bytes", repeated("<a/>", 100'000), kOk},
      {"an element", "<a/>", kOk},
      {"attributes", attributes + "/>", kOk},
      {"a repeated attribute", attributes + " a0=''/>", kSyntax},
      {"a value for which a block is twice as large", "<a>" + std::string(8192, 'v') + "</a>", kOk},
      {"a long name", "<" + std::string(1'000'000, 'n') + "/>", kOk},
      {"an overlong bracket", "<a>\xc0\xbc/\xc0\xbe</a>", kOk},
      {"half a character", "<a b='\xf0\x9f'>\xe2\x82</a>", kOk},
      {"UTF-16", std::string("\xff\xfe<\0a\0/\0>\0", 10), kSyntax},
      {"UTF-7", "+ADw-a/+AD4-", kSyntax},
  };
  // The most is taken by elements that stand in each other: a record and a name for three bytes of
  // the document. One that is copied takes a byte more for each; checking it after a failure takes
  // less.
  constexpr size_t kForAByte = (18 + 9 * sizeof(void *)) / 3 + 2;
  constexpr size_t kForAFailedByte = sizeof(void *) == 8 ? 33 : 20, kAnyway = 9'000;
  double most[2] = {};
  for (const auto &[what, text, result] : rows) {
    for (const uint32_t kind : {0U, 1U, 2U, 3U}) {
      SCOPED_TRACE(what);
      const size_t held = mostHeld(text, kind % 2, kind >= 2, result);
      const size_t perByte = result != kOk ? kForAFailedByte : kForAByte;
      EXPECT_LE(held, perByte * text.size() + kAnyway);
      const double share = static_cast<double>(held) - static_cast<double>(kAnyway);
      double &each = most[result == kOk ? 0 : 1];
      each = std::max(each, share / static_cast<double>(text.size()));
    }
  }
  EXPECT_GT(most[0], kForAByte - 1) << "the limits are told";
  EXPECT_GT(most[1], kForAFailedByte - 1);
}

}  // namespace
