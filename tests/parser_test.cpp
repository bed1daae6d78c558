// The accepted language, the results of the entry points, and what a parse leaves in the nodes.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "support/data.h"
#include "support/guarded_hooks.h"
#include "support/kernels.h"
#include "support/parses.h"
#include "support/tables.h"
#include "support/trees.h"
#include "xml/record/node.h"
#include "xml/tree/duplicates.h"

using namespace neb::xml::internal;

namespace {

constexpr char kRejected[] = "rejected";

// Trees and their texts.
std::vector<std::pair<std::string, std::string>> language() {
  std::vector<std::pair<std::string, std::string>> cases;
  std::string tree;
  for (const std::string &field : tables::linesOf("language.txt")) {
    const bool isTree = field.starts_with("12:") || field == kRejected;
    if (isTree) tree = field;
    if (!isTree) cases.push_back({tree, field});
  }
  for (const std::string &bad : tables::linesOf("bad_references.txt")) {
    for (const std::string &text :
         {"<a>" + bad + "</a>", "<a>x<![CDATA[;]]>" + bad + "</a>", "<a x='" + bad + "' y=';'/>",
          "<" + bad + "/>", "<a " + bad + "=''/>", "<a " + bad + ":x=''/>"}) {
      cases.push_back({kRejected, text});
    }
  }
  return cases;
}

using Parser = EachKernel;

TEST_P(Parser, AcceptsItsLanguageAndNothingElse) {
  for (const auto &[tree, text] : language()) {
    EXPECT_EQ(parses::outcome(text), tree);
    const std::string path = trees::temporaryFile(text);
    for (const auto parse : {NEB_XML_ParseFile, NEB_XML_ParseFileEx}) {
      XmlNode *document = nullptr;
      const uint32_t result = parse(path.c_str(), &document);
      EXPECT_EQ(parses::outcomeOf(result, document), tree) << text << ", from a file";
    }
  }
}

// All beginnings and all ends of every text.
TEST_P(Parser, ReadsNothingOutsideTheText) {
  for (const auto &[tree, text] : language()) {
    for (size_t cut = 1; cut < text.size(); ++cut) {
      for (const std::string &part : {text.substr(cut), text.substr(0, cut)}) {
        if (part[0] != '\0') parses::outcome(part);
      }
    }
  }
}

// Repeated attributes are found by other means once there are many.
TEST_P(Parser, RefusesARepeatedAttributeAmongAnyNumber) {
  for (const size_t count : {1U, 2U, 23U, 24U, 25U, 26U, 63U, 64U, 65U, 300U}) {
    std::vector<std::string> attributes;
    std::string text;
    for (size_t i = 0; i < count; ++i) {
      const std::string prefix = i % 3 == 0 ? "" : "p" + std::to_string(i % 3) + ":";
      attributes.push_back(prefix + "n" + std::to_string(i / 3) + "='" + std::to_string(i) + "'");
      text += " " + attributes.back();
    }
    const std::string tree = "12:a=-" + tables::replaced(text, ":", "|");
    text.insert(0, "<a");
    EXPECT_EQ(parses::outcome(text + " p9:n0=''/><b n0=''/>"), tree + " p9|n0=-,0:b=- n0=-");
    for (const std::string &repeated : attributes) {
      EXPECT_EQ(parses::outcome(text + " " + repeated + "/>"), kRejected) << repeated;
    }
  }
}

// Names that collide in one table do not collide in another.
TEST(Parser, HashesTheNamesOfEachTableByAKeyOfItsOwn) {
  constexpr size_t kMany = 50;
  std::set<uint64_t> hashes;
  DuplicateDetector detectors[3];
  for (DuplicateDetector &detector : detectors) {
    DuplicateDetector::Seen seen;
    std::vector<std::string> names(kMany);
    std::vector<XmlNode> attributes(kMany);
    for (size_t i = 0; i < kMany; ++i) {
      names[i] = "n" + std::to_string(i);
      attributes[i].name = names[i].data();
      if (i != 0) attributes[i - 1].next = &attributes[i];
      EXPECT_EQ(detector.add(NameKey::of(&attributes[i]), attributes.data(), &attributes[i], &seen),
                kOk);
    }
    // Its first member behind the keys.
    constexpr size_t kOffset = DuplicateDetector::kKeyedAttributes * sizeof(uint64_t);
    const uint64_t *table =
        reinterpret_cast<uint64_t *const *>(&detector)[kOffset / sizeof(uint64_t *)];
    hashes.insert(table, table + guarded::mallocSizes().back() / sizeof *table);
    detector.beginTag();
  }
  EXPECT_EQ(hashes.size(), std::size(detectors) * kMany + 1) << "with what stands in free places";
}

TEST(Parser, EntryPointsTellWhatFailedAndWriteTheirResultAsPromised) {
  const std::string empty = trees::temporaryFile("");
  const std::string malformed = trees::temporaryFile("<a>");
  const std::string within = empty + "/a.xml";
  const trees::Held kept{trees::parsed("<kept/>")};
  using Row = std::tuple<bool, const char *, uint32_t>;
  for (const auto &[isFile, input, result] :
       {Row(false, nullptr, kInvalid), Row(false, "", kInvalid), Row(false, " ", kSyntax),
        Row(true, nullptr, kInvalid), Row(true, "", kFileOpen),
        Row(true, within.c_str(), kFileOpen), Row(true, empty.c_str(), kSyntax),
        Row(true, malformed.c_str(), kSyntax)}) {
    for (const bool isEx : {false, true}) {
      const auto parse = isFile ? (isEx ? NEB_XML_ParseFileEx : NEB_XML_ParseFile)
                                : (isEx ? NEB_XML_ParseEx : NEB_XML_Parse);
      XmlNode *document = kept;
      EXPECT_EQ(parse(input, &document), result) << isFile << isEx;
      EXPECT_TRUE(document == (result == kInvalid || (isFile && !isEx) ? kept.node : nullptr));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Kernels, Parser, allKernels(), nameOfKernel);

}  // namespace
