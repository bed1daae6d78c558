// Where nodes are in their document, and edits of the document.
#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <sstream>

#include "support/data.h"
#include "support/guarded_hooks.h"
#include "support/source_edits.h"
#include "support/tables.h"
#include "support/trees.h"

using namespace neb::xml::internal;

namespace {

using source_edits::append;
using source_edits::Tree;
using Text = const char *;

// A node by its path, or an attribute: "r.a@id".
XmlNode *nodeAt(XmlNode *root, const std::string &path) {
  const size_t at = path.find('@');
  XmlNode *node = nullptr;
  EXPECT_EQ(NEB_XML_GetNodeByUrl(root, path.substr(0, at).c_str(), &node), kOk) << path;
  if (at == path.npos || node == nullptr) return node;
  XmlNode *attribute = node->firstAttr;
  while (attribute != nullptr && path.substr(at + 1) != attribute->name) {
    attribute = attribute->next;
  }
  EXPECT_NE(attribute, nullptr) << path;
  return attribute;
}

std::string shown(const NEB_XML_RANGE &range) {
  return std::to_string(range.begin) + "-" + std::to_string(range.end);
}

TEST(Locations, AreLinesColumnsAndRangesOfBytes) {
  const std::string document =
      "\xEF\xBB\xBF<?xml version='1.0'?>\r\n<r>\n <p:a  x = '&lt;'\n\ty=\"\"/>\n<!--c--></r>";
  const Tree tree(document);
  const std::tuple<Text, Text> rows[] = {
      {"r", "2:1 26-68 27-28 29-64 26-29 64-68"},
      {"r.a", "3:2 31-55 32-35 55-55 31-55 55-55"},
      {"r.a@x", "3:8 37-47 37-38 42-46 47-47 47-47"},
      {"r.a@y", "4:2 49-53 49-50 52-52 53-53 53-53"},
  };
  for (const auto &[path, expected] : rows) {
    NEB_XML_LOCATION at;
    std::memset(&at, 0xAA, sizeof at);
    const XmlNode *node = nodeAt(tree.root, path);
    ASSERT_EQ(NEB_XML_Locate(node, document.data(), document.size(), &at), kOk) << path;
    std::string actual = std::to_string(at.line) + ":" + std::to_string(at.column);
    for (const auto &range : {at.whole, at.name, at.content, at.startTag, at.endTag}) {
      actual += " " + shown(range);
    }
    EXPECT_EQ(actual, expected) << path;
    for (const size_t reserved : at.reserved) EXPECT_EQ(reserved, 0U);
  }
}

// Bytes that the tree was not read from are refused, whatever differs.
TEST(Locations, AreNotFoundInAnotherDocument) {
  const Tree tree("<r a='1' b='&lt;'><x>t</x><y/></r>");
  for (const std::string &line : tables::linesOf("other_documents.txt")) {
    const uint32_t code = line[0] == '=' ? kOk : line[0] == '-' ? kNotFound : kSyntax;
    const std::string bytes = line.substr(2);
    for (const XmlNode *node : source_edits::nodesOf(tree.root)) {
      NEB_XML_LOCATION at = {};
      at.line = 77;
      ASSERT_EQ(NEB_XML_Locate(node, bytes.data(), bytes.size(), &at), code) << bytes;
      EXPECT_EQ(at.line == 77, code != kOk) << bytes;
    }
  }
}

// With lines that have one node each, and with one line that has them all.
TEST(Locations, OfManyNodesTakeOneReading) {
  constexpr size_t kMany = 100'000;
  for (const std::string node : {"<a/>", "<a/>\n"}) {
    const std::string document = "<r>\n" + tables::repeated(node, kMany) + "</r>";
    const Tree tree(document);
    const std::vector<XmlNode *> nodes = source_edits::nodesOf(tree.root);
    std::vector<NEB_XML_LOCATION> at(nodes.size());
    const size_t allocations = guarded::allocations();
    ASSERT_EQ(NEB_XML_LocateNodes(nodes.data(), nodes.size(), document.data(), document.size(),
                                  at.data()),
              kOk);
    EXPECT_LT(guarded::allocations() - allocations, 6U) << "the document was copied once";
    const size_t columns = node.size() == 4 ? 4 : 0, lines = node.size() == 4 ? 0 : 1;
    for (size_t i = 0; i < kMany; ++i) {
      ASSERT_TRUE(at[1 + i].line == 2 + i * lines && at[1 + i].column == 1 + i * columns) << i;
    }
  }
}

TEST(Locations, OfManyNodesAreAllFoundOrNone) {
  const std::string document = "<r><a b='1'/></r>";
  const Tree tree(document), other(document);
  const XmlNode *a = nodeAt(tree.root, "r.a");
  XmlNode *const beside = XML_NewNode(0, NEB_XML_NODE_ELEMENT);
  const struct {
    std::vector<const XmlNode *> nodes;
    uint32_t code;
  } rows[] = {
      {{}, kOk},
      {{a, nullptr}, kInvalid},
      {{nullptr, a}, kInvalid},
      {{a, a}, kOk},
      {{a, other.root}, kNotFound},
      {{other.root, a}, kNotFound},
      {{a, beside}, kNotFound},
      {{a, a->firstAttr, tree.root}, kOk},
  };
  for (const auto &[nodes, code] : rows) {
    NEB_XML_LOCATION at[3] = {};
    EXPECT_EQ(NEB_XML_LocateNodes(nodes.data(), nodes.size(), document.data(), document.size(), at),
              code);
    for (size_t i = 0; i < 3; ++i) {
      EXPECT_EQ(at[i].line != 0, code == kOk && i < nodes.size()) << i;
    }
  }
  NEB_XML_FreeNode(beside);
  const char *bytes = document.data();
  EXPECT_EQ(NEB_XML_LocateNodes(nullptr, 0, bytes, 1, nullptr), kOk);
  EXPECT_EQ(NEB_XML_LocateNodes(nullptr, 0, nullptr, 1, nullptr), kInvalid);
  EXPECT_EQ(NEB_XML_LocateNodes(&a, 1, bytes, 0, nullptr), kInvalid);
}

constexpr uint32_t kValue = NEB_XML_EDIT_SET_VALUE, kAttr = NEB_XML_EDIT_SET_ATTR;
constexpr uint32_t kRemove = NEB_XML_EDIT_REMOVE, kFirst = NEB_XML_EDIT_INSERT_FIRST;
constexpr uint32_t kLast = NEB_XML_EDIT_INSERT_LAST, kAfter = NEB_XML_EDIT_INSERT_AFTER;

// The kinds of edits, each at its number, between two numbers that are none.
const std::vector<std::string> kKinds = {"none",  "value", "attr",   "drop",  "rename", "remove",
                                         "first", "last",  "before", "after", "beyond"};
const std::map<std::string, uint32_t> kRefusals = {{"invalid", kInvalid},
                                                   {"missing", kNotFound},
                                                   {"exists", kExists},
                                                   {"unwritable", kUnwritable}};

std::optional<std::string> nextWord(std::istream &words, char end = ' ') {
  std::string word;
  if (!std::getline(words, word, end) || word == "-") return std::nullopt;
  return word == "''" ? std::string() : word;
}

// An edit of the table, with the strings and the content that it refers to.
struct Step {
  Step(const std::string &line, XmlNode *root) {
    std::istringstream words(line);
    const auto kind = std::find(kKinds.begin(), kKinds.end(), nextWord(words));
    EXPECT_TRUE(kind != kKinds.end()) << line;
    edit.kind = static_cast<uint32_t>(kind - kKinds.begin());
    edit.node = nodeAt(root, nextWord(words).value_or(""));
    const bool isNamed = edit.kind >= kAttr && edit.kind <= kRemove;
    for (auto &string : strings) {
      const bool isText = &string == &strings[2];
      if (isText || isNamed) string = nextWord(words, isText ? '\0' : ' ');
    }
    const auto given = [](const auto &string) { return string ? string->c_str() : nullptr; };
    edit.prefix = given(strings[0]);
    edit.name = given(strings[1]);
    const bool isInsertion = edit.kind >= kFirst && edit.kind <= kAfter;
    if (!isInsertion) edit.value = given(strings[2]);
    if (isInsertion && strings[2]) content = std::make_unique<Tree>(*strings[2]);
    if (content != nullptr) edit.content = content->root;
  }

  std::optional<std::string> strings[3];  // prefix, name and text
  std::unique_ptr<Tree> content;
  NEB_XML_EDIT edit = {};
};

void expectEdited(const std::string &document, const std::vector<std::string> &lines, uint32_t code,
                  const std::string &expected) {
  SCOPED_TRACE(testing::PrintToString(lines));
  const Tree tree(document);
  ASSERT_TRUE(tree.root != nullptr) << document;
  std::list<Step> steps;
  std::vector<NEB_XML_EDIT> edits;
  for (const std::string &line : lines) edits.push_back(steps.emplace_back(line, tree.root).edit);
  std::string text;
  EXPECT_EQ(NEB_XML_EditBytes(document.data(), document.size(), edits.data(), edits.size(), append,
                              &text),
            code)
      << document;
  EXPECT_EQ(text, expected);
  EXPECT_TRUE(code != kOk || Tree(text).root != nullptr) << text;
}

TEST(Edits, KeepTheRestAndTakeTheLayoutOfTheirNeighboursOrAreRefused) {
  std::string document;
  std::vector<std::string> steps;
  for (const std::string &line : tables::linesOf("edits.txt")) {
    const std::string rest = line.substr(std::min(line.size(), size_t{2}));
    if (line[0] == ':') {
      document = rest;
    } else if (line[0] != '>' && line[0] != '!') {
      steps.push_back(line);
    } else {
      const bool isMade = line[0] == '>';
      for (const std::string mark : {"", "\xEF\xBB\xBF"}) {
        expectEdited(mark + document, steps, isMade ? kOk : kRefusals.at(rest),
                     isMade ? mark + rest : "");
      }
      steps.clear();
    }
  }
}

// Content that no document can hold.
TEST(Edits, RefuseContentThatCannotBeWritten) {
  const std::string document = "<r/>";
  const Tree tree(document), other(document);
  for (const Text value : {"mixed", "\x02"}) {
    const Tree content(value[0] == 'm' ? "<n><m/></n>" : "<n/>");
    EXPECT_EQ(NEB_XML_SetNode(content.root, nullptr, nullptr, value), kOk);
    NEB_XML_EDIT edit = {};
    edit.kind = kLast;
    edit.node = tree.root;
    edit.content = content.root;
    std::string text;
    const auto call = [&](const NEB_XML_EDIT *edits, size_t count) {
      return NEB_XML_EditBytes(document.data(), document.size(), edits, count, append, &text);
    };
    EXPECT_EQ(call(&edit, 1), kUnwritable);
    NEB_XML_EDIT edits[2] = {edit, edit};
    for (NEB_XML_EDIT &each : edits) {
      each = {kValue, 0, tree.root, nullptr, nullptr, "", nullptr, {}};
    }
    edits[1].node = other.root;
    EXPECT_EQ(call(edits, 2), kNotFound);
    edits[1] = edits[0];
    edits[1].flags = 1;
    EXPECT_EQ(call(edits, 2), kInvalid);
    edits[1] = edits[0];
    edits[1].reserved[1] = 1;
    EXPECT_EQ(call(edits, 2), kInvalid);
    EXPECT_EQ(text, "");
    EXPECT_EQ(call(nullptr, 0), kOk);
    EXPECT_EQ(text, document);
  }
}

// The first failure of the function of the caller ends the call.
TEST(Edits, StopWhenTheSinkFails) {
  const std::string document =
      "<r>" + tables::repeated("<!-- a comment -->", 5000) + "<a/><b>t</b></r>";
  const Tree tree(document);
  const NEB_XML_EDIT edit = {kValue,  0, nodeAt(tree.root, "r.a"), nullptr, nullptr, "v",
                             nullptr, {}};
  struct Sink {
    size_t left;
    static uint32_t take(void *context, const char * /*bytes*/, size_t length) {
      auto &sink = *static_cast<Sink *>(context);
      EXPECT_TRUE(length > 0 && length <= 16384);
      return sink.left-- == 0 ? 4711 : kOk;
    }
  };
  size_t calls = 0;
  for (uint32_t result = 4711; result != kOk; ++calls) {
    Sink sink = {calls};
    result = NEB_XML_EditBytes(document.data(), document.size(), &edit, 1, Sink::take, &sink);
    ASSERT_TRUE(result == kOk || result == 4711);
  }
  EXPECT_EQ(calls, 5000 * 18 / 16384 + 4U);
}

std::vector<std::string> documentsToEdit() {
  std::vector<std::string> documents;
  for (const Text name : {"device.xml", "inventory.xml", "measurements.xml"}) {
    documents.push_back(trees::readFile(std::string(NEB_XML_SAMPLES_DIR "/") + name));
    documents.push_back(tables::replaced(documents.back(), "\n", "\r\n"));
  }
  // Parts in any order, at any depth.
  constexpr Text kParts[] = {
      "\n",       "\n  ",     "\r\n\t",        " ",
      "<!--c-->", "<?p q?>",  "<a/>",          "<a k='1'/>",
      "<b>t</b>", "<b> </b>", "<b></b>",       "<a\n x=\"\" />",
      "(",        ")",        "<n-->\r</n-->", "<b><![CDATA[x]]>y<!--c--> </b>"};
  std::mt19937 random(2026);
  for (size_t i = 0; i < 200; ++i) {
    std::string document = i % 3 == 0 ? "\xEF\xBB\xBF<?xml version='1.0'?>\n<r>" : "<r>";
    size_t depth = 0;
    for (size_t left = random() % 20; left > 0 || depth > 0; left -= left > 0 ? 1 : 0) {
      const std::string part = left == 0 ? ")" : kParts[random() % std::size(kParts)];
      if (part == ")" && depth == 0) continue;
      if (part == "(") ++depth;
      if (part == ")") --depth;
      document += part == "(" ? "<e>" : part == ")" ? "</e>" : part;
    }
    documents.push_back(document + "</r>\n");
  }
  return documents;
}

TEST(Edits, AreThoseOfTheTreeAndTouchNothingElse) {
  size_t applied = 0;
  for (const std::string &document : documentsToEdit()) {
    std::mt19937 random(static_cast<unsigned>(document.size()));
    source_edits::Check check(document, [&](size_t count) { return random() % count; });
    ASSERT_TRUE(check.isReadable()) << document;
    for (size_t i = 0; i < 20; ++i) ASSERT_EQ(check.edit(1), "");
    for (size_t i = 0; i < 10; ++i) ASSERT_EQ(check.edit(2 + i % 4), "");
    for (size_t i = 0; i < check.nodes(); ++i) ASSERT_EQ(check.locate(i), "");
    applied += check.applied();
  }
  EXPECT_GT(applied, 3000U);
}

// Large files take longer for each edit.
TEST(Edits, OfRealFilesAreThoseOfTheTree) {
  constexpr size_t kBytesForEach = 500'000;
  size_t applied = 0;
  for (const std::string &path : trees::realFiles()) {
    const std::string document = trees::readFile(path);
    std::mt19937 random(static_cast<unsigned>(document.size()));
    source_edits::Check check(document, [&](size_t count) { return random() % count; });
    const size_t edits = check.isReadable() ? 2 + kBytesForEach / document.size() : 0;
    for (size_t i = 0; i < edits; ++i) ASSERT_EQ(check.edit(i % 2 == 0 ? 1 : 4), "") << path;
    applied += check.applied();
  }
  EXPECT_GT(applied, 5U);
}

// Each allocation fails in turn. A call returns what it wrote.
template <typename Call>
void expectMemoryReported(Call call, size_t fewest) {
  for (size_t n = 1;; ++n) {
    const size_t before = guarded::outstanding();
    const guarded::FailingAllocation failing(n);
    size_t written = 0;
    const uint32_t result = call(&written);
    if (result == kOk) {
      EXPECT_GT(n, fewest);
      return;
    }
    ASSERT_EQ(result, kNoMemory) << n;
    EXPECT_TRUE(written == 0 && guarded::outstanding() == before) << n;
  }
}

TEST(Edits, ReportMemoryThatRunsOut) {
  const std::string document = "<r>\n  <a k='&lt;'>x&gt;y</a>\n  <b/>\n</r>";
  const Tree tree(document), content("<n/>");
  std::vector<NEB_XML_EDIT> edits(3);
  edits[0] = {kAttr, 0, nodeAt(tree.root, "r.b"), nullptr, "k", "v", nullptr, {}};
  edits[1] = {kLast, 0, tree.root, nullptr, nullptr, nullptr, content.root, {}};
  const std::string longValue = tables::repeated("long ", 2000);
  edits[2] = {kValue,  0, nodeAt(tree.root, "r.a"), nullptr, nullptr, longValue.c_str(),
              nullptr, {}};
  const auto edit = [&](size_t *written) {
    std::string text;
    const uint32_t result = NEB_XML_EditBytes(document.data(), document.size(), edits.data(),
                                              edits.size(), append, &text);
    *written = text.size();
    return result;
  };
  expectMemoryReported(edit, 8);
  const XmlNode *const nodes[] = {edits[2].node, tree.root};
  const auto locate = [&](size_t *written) {
    NEB_XML_LOCATION at[2] = {};
    const uint32_t result = NEB_XML_LocateNodes(nodes, 2, document.data(), document.size(), at);
    *written = at[0].line + at[1].line;
    return result;
  };
  expectMemoryReported(locate, 4);
}

}  // namespace
