// All ways through a text agree, piece by piece, and touch nothing beside it.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "support/data.h"
#include "support/kernels.h"
#include "support/parses.h"
#include "support/tables.h"

namespace {

using parses::outcome;
using tables::repeated;
using tables::replaced;

// Good and bad markup inside of an element.
const std::vector<std::string> kGood = tables::linesOf("good_markup.txt");
const std::vector<std::string> kBad = tables::linesOf("bad_markup.txt");

// Mostly well-formed.
std::string randomMarkup(std::mt19937 *random) {
  std::string text = "<r>";
  size_t depth = 0;
  for (size_t left = (*random)() % 40; left > 0; --left) {
    const auto choice = (*random)() % 128;
    if (choice == 0) {
      text += kBad[(*random)() % std::size(kBad)];
    } else if (choice < 20) {
      text += "<q:a z='9'>";
      ++depth;
    } else if (choice < 40 && depth > 0) {
      text += "</q:a>";
      --depth;
    } else {
      text += kGood[(*random)() % std::size(kGood)];
    }
  }
  for (; depth > 0; --depth) text += "</q:a>";
  return text + "</r>";
}

// Whether the text is accepted. Behind an empty element it is not copied.
bool isAccepted(const std::string &text) {
  outcome(text + "<z/>");
  return outcome(text) != "rejected";
}

using Scanning = EachKernel;

TEST_P(Scanning, AgreesOnRandomMarkup) {
  std::mt19937 random(17);
  size_t accepted = 0;
  for (int round = 0; round < 3000; ++round) {
    if (isAccepted(randomMarkup(&random))) ++accepted;
  }
  EXPECT_GT(accepted, 2000U);
}

// Each kind of markup with text enough behind it, and as the last of a text.
TEST_P(Scanning, AgreesOnEachMarkup) {
  for (const std::string begin : {"<r>", "<r><longer.than.a.vector/>"}) {
    const std::string end = "<m/>" + std::string(200, ' ') + "</r>";
    for (const std::string &bad : kBad) EXPECT_FALSE(isAccepted(begin + bad + end)) << bad;
    for (const std::string &good : kGood) {
      EXPECT_TRUE(isAccepted(begin + good + end)) << good;
      outcome(begin + good);
    }
  }
}

// A piece is as long as what it was made from.
TEST_P(Scanning, LeavesZerosBehindWhatReferencesBecome) {
  const std::string text =
      "<r><n x='&lt;&lt;&lt;&lt;'>&amp;&amp;&amp;&amp;t</n>" + std::string(200, '\n') + "</r>";
  XmlNode *document = trees::parsed(text);
  const XmlNode *element = NEB_XML_GetNodeFirstChild(document);
  EXPECT_EQ(std::string(element->firstAttr->value, 17), "<<<<" + std::string(13, '\0'));
  EXPECT_EQ(std::string(element->value, 22), "&&&&t" + std::string(17, '\0'));
  NEB_XML_FreeNode(document);
}

// '*' stands for a run of a name, '_' for a run of white space.
const std::vector<std::string> kShapes = tables::linesOf("shapes.txt");

// What is longer than the others is cut in fewer places.
void expectAgreement(const std::string &shape, size_t run, bool isCut) {
  const std::string begun = replaced(shape, "<r><m/>", "<r><longer.than.a.vector/>");
  const std::string letters = repeated("abcdefghijklmnopqrstuvwxyz-", run / 27 + 1).substr(0, run);
  const std::string text = replaced(replaced(begun, "_", std::string(run, ' ')), "*", letters);
  outcome(text + std::string(200, ' '));
  outcome(std::string(4096, ' ') + text);  // too long to be copied
  for (const size_t cut : {0U, 1U, 2U, 3U, 5U, 8U}) {
    if (cut == 0 || (isCut && cut < text.size())) outcome(text.substr(0, text.size() - cut));
  }
}

// Texts of every length, with what follows a run at every place in a word of the maps and on both
// sides of a stretch, and of the lengths around which numbers become longer.
TEST_P(Scanning, AgreesAtEveryLength) {
  for (const std::string &shape : kShapes) {
    for (size_t run = 0; run <= 200; ++run) expectAgreement(shape, run, run <= 70);
    const auto runs = static_cast<size_t>(std::count_if(
        shape.begin(), shape.end(), [](char byte) { return byte == '*' || byte == '_'; }));
    for (size_t power = 8; power <= 16; ++power) {
      const size_t run = ((size_t{1} << power) - shape.size() + runs) / runs;
      for (const size_t less : {2U, 1U, 0U}) expectAgreement(shape, run - less, power < 12);
      for (const size_t more : {1U, 2U}) expectAgreement(shape, run + more, false);
    }
    for (size_t run = 4000; run < 4200; run += 13) expectAgreement(shape, run, false);
  }
  outcome("<r><" + std::string(UINT16_MAX + 4, 'n') + "><m/></nnn></r>");
}

// The name, and the name with another byte at one place. '$' and '%' stand for them.
void expectTold(const std::vector<std::string> &contexts, const std::string &prefix,
                const std::string &name, const std::string &other, bool isGoodWhenSame) {
  for (const std::string &context : contexts) {
    const std::string begun = replaced(context, "<m/>", "<longer.than.a.vector/>");
    const std::string first = replaced(begun, "$", prefix + name);
    const bool isSame = name == other;
    const std::string text = replaced(first, "%", prefix + other);
    EXPECT_EQ(outcome(text) != "rejected", isSame == isGoodWhenSame) << text;
  }
}

TEST_P(Scanning, ComparesNamesToTheirLastBytes) {
  std::string many;
  for (int i = 0; i < 30; ++i) many += " a" + std::to_string(i) + "=''";
  const std::string spaces(150, ' ');
  const std::vector<std::string> tags = {"<$>v</%>",
                                         "<$></%>",
                                         "<$><b/></%>",
                                         "<$ x='1'>v</%>",
                                         "<r><m/><$>v</%><z/>",
                                         "<r><m/><$ x='1'>v</%>",
                                         "<r><m/><$></%><z/>",
                                         "<r><m/><$><b/></%><z/>",
                                         "<r><m/><$> <b/> </%></r>",
                                         "<r><m/>\n<$ x='1'><b/></% ></r>",
                                         "<r><m/><$>&lt;</%></r>" + spaces};
  const std::vector<std::string> attributes = {
      "<a $='1' %='2'/>",
      "<r><m/><a $='1' %='2'>v</a><z/>",
      "<r><a x='' $='1' y='&lt;' %='' ></a></r>",
      "<r><m/><a b='1' c='2' $='3' d='4' %='5'/></r>" + spaces,
      "<a" + many + " $='1' %='2'/>",
      "<a $='1' " + many + " %='2'/>"};
  for (size_t length = 1; length <= 70; ++length) {
    const std::string name(length, 'n');
    for (const char *prefix : {"", "p:", "a_prefix_longer.than.a.vector:"}) {
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

// References at every place in what is decoded at once, against what they stand for.
TEST_P(Scanning, DecodesEachReferenceWhereItStands) {
  constexpr const char *kMeanings[][2] = {{"&amp;", "&"},
                                          {"&lt;", "<"},
                                          {"&gt;", ">"},
                                          {"&apos;", "'"},
                                          {"&quot;", "\""},
                                          {"&#65;", "A"},
                                          {"&#x20AC;", "\xE2\x82\xAC"},
                                          {"<![CDATA[&lt;]]>", "&lt;"}};
  std::mt19937 random(17);
  for (int round = 0; round < 4000; ++round) {
    std::string text, meaning;
    for (size_t left = 1 + random() % 8; left > 0; --left) {
      // Unlike ones, so that none can stand in for another.
      std::string letters(random() % 70, '\0');
      for (size_t i = 0; i < letters.size(); ++i) letters[i] = static_cast<char>('a' + i % 26);
      const auto &[reference, character] = kMeanings[random() % std::size(kMeanings)];
      text += letters + reference;
      meaning += letters + character;
    }
    const std::string tail(random() % 200, ' ');
    XmlNode *document =
        trees::parsed("<r><n x=\"" + text + "\">" + text + "</n>" + tail + "</r>", round % 2 == 0);
    const XmlNode *node = NEB_XML_GetNodeFirstChild(document);
    EXPECT_EQ(+node->value, meaning);
    EXPECT_EQ(+node->firstAttr->value, meaning);
    NEB_XML_FreeNode(document);
  }
}

INSTANTIATE_TEST_SUITE_P(Kernels, Scanning, allKernels(), nameOfKernel);

}  // namespace
