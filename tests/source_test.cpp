// Where nodes are in their document, and edits of the document.
#include <gtest/gtest.h>

#include <random>

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
  const std::tuple<Text, uint32_t> rows[] = {
      {"<r a='1' b='&#60;'><x><![CDATA[t]]></x><y></y></r>", kOk},
      {"<r a='1' b='&lt;'><x>t</x><y/><y/></r>", kNotFound},
      {"<r a='1' b='&lt;'><x>t</x></r>", kNotFound},
      {"<r a='1' b='&lt;'><x>t</x><z/></r>", kNotFound},
      {"<r a='1' b='&lt;'><x>tt</x><y/></r>", kNotFound},
      {"<r a='1' b='&lt;'><x/><y/></r>", kNotFound},
      {"<r a='1' b='&lt;'><x>t</x><y>t</y></r>", kNotFound},
      {"<r a='1' b='&lt;'><x>t</x><y><z/></y></r>", kNotFound},
      {"<r a='1'><x>t</x><y/></r>", kNotFound},
      {"<r a='1' b='&lt;' c=''><x>t</x><y/></r>", kNotFound},
      {"<r b='&lt;' a='1'><x>t</x><y/></r>", kNotFound},
      {"<r a='1' b='&gt;'><x>t</x><y/></r>", kNotFound},
      {"<r a='1' p:b='&lt;'><x>t</x><y/></r>", kNotFound},
      {"<p:r a='1' b='&lt;'><x>t</x><y/></p:r>", kNotFound},
      {"<r a='1' b='&lt;'><x>t</x><y/></r", kSyntax},
      {"<r a='1' b='&lt;'><x>t</y><y/></r>", kSyntax},
      {"<r a='1' b='&lt;'><x>t</x><y/></r><r/>", kSyntax},
      {"<r a='1' b='&lt;'><x>t</x><y/></r><!--\x01-->", kSyntax},
      {"<?xml version='1.0' encoding='US-ASCII'?><!--\xC3\xA9-->"
       "<r a='1' b='&lt;'><x>t</x><y/></r>",
       kSyntax},
      {"<r a='1' b='&no;'><x>t</x><y/></r>", kSyntax},
      {" ", kSyntax},
  };
  for (const auto &[text, code] : rows) {
    const std::string bytes = text;
    for (const XmlNode *node : source_edits::nodesOf(tree.root)) {
      NEB_XML_LOCATION at = {};
      at.line = 77;
      ASSERT_EQ(NEB_XML_Locate(node, bytes.data(), bytes.size(), &at), code) << text;
      EXPECT_EQ(at.line == 77, code != kOk) << text;
    }
  }
}

// An edit of a node that a path names. The content is a document of its own.
struct Step {
  uint32_t kind;
  Text path;
  Text prefix = nullptr;
  Text name = nullptr;
  Text value = nullptr;
  Text content = nullptr;
};

struct Outcome {
  uint32_t code;
  std::string text;
};

Outcome edited(const std::string &document, const std::vector<Step> &steps) {
  const Tree tree(document);
  EXPECT_TRUE(tree.root != nullptr) << document;
  std::vector<std::unique_ptr<Tree>> contents;
  std::vector<NEB_XML_EDIT> edits;
  for (const Step &step : steps) {
    contents.push_back(std::make_unique<Tree>(step.content != nullptr ? step.content : "<x/>"));
    NEB_XML_EDIT edit = {};
    edit.kind = step.kind;
    edit.node = nodeAt(tree.root, step.path);
    edit.prefix = step.prefix;
    edit.name = step.name;
    edit.value = step.value;
    if (step.content != nullptr) edit.content = contents.back()->root;
    edits.push_back(edit);
  }
  Outcome outcome;
  outcome.code = NEB_XML_EditBytes(document.data(), document.size(), edits.data(), edits.size(),
                                   append, &outcome.text);
  return outcome;
}

constexpr uint32_t kValue = NEB_XML_EDIT_SET_VALUE, kAttr = NEB_XML_EDIT_SET_ATTR;
constexpr uint32_t kDropAttr = NEB_XML_EDIT_REMOVE_ATTR, kRename = NEB_XML_EDIT_RENAME;
constexpr uint32_t kRemove = NEB_XML_EDIT_REMOVE, kFirst = NEB_XML_EDIT_INSERT_FIRST;
constexpr uint32_t kLast = NEB_XML_EDIT_INSERT_LAST, kBefore = NEB_XML_EDIT_INSERT_BEFORE;
constexpr uint32_t kAfter = NEB_XML_EDIT_INSERT_AFTER;

Step insert(uint32_t kind, Text path, Text content) {
  return {kind, path, nullptr, nullptr, nullptr, content};
}
Step value(Text path, Text text) { return {kValue, path, nullptr, nullptr, text}; }
Step remove(Text path) { return {kRemove, path}; }

TEST(Edits, KeepTheRestAndTakeTheLayoutOfTheirNeighbours) {
  struct Row {
    std::string document;
    std::vector<Step> steps;
    std::string expected;
  };
  const Row rows[] = {
      // Values.
      {"<r a='1' b=\"2\">old</r>",
       {value("r@a", "'\t\""), value("r", "a]]>\r&amp;")},
       "<r a='&apos;&#9;&quot;' b=\"2\">a]]&gt;&#13;&amp;amp;</r>"},
      {"<r><!--1-->o<!--2--><![CDATA[l]]>d<?p3?><!--4--></r>",
       {value("r", "new")},
       "<r><!--1-->new<?p3?><!--4--></r>"},
      {"<r><!--1--></r>", {value("r", "v")}, "<r><!--1-->v</r>"},
      {"<r x='' />", {value("r", "v")}, "<r x=''>v</r>"},
      {"<r />", {value("r", "")}, "<r />"},
      {"<r>v</r >", {value("r", ""), {kRename, "r", "p", "q"}}, "<p:q></p:q >"},
      {"<r/>", {value("r", "\n v"), {kRename, "r", nullptr, "q--"}}, "<q-- >&#10; v</q-- >"},
      // Attributes.
      {"<r  a='1'/>",
       {{kAttr, "r", nullptr, "a", "2"},
        {kAttr, "r", "p", "b", "<"},
        {kAttr, "r", nullptr, "c", ""}},
       "<r  a='2'  p:b=\"&lt;\"  c=\"\"/>"},
      {"<r\n  a='1'\n  b='2'>t</r>",
       {{kDropAttr, "r", nullptr, "b"}, {kAttr, "r", nullptr, "c", "3"}},
       "<r\n  a='1'\n  c=\"3\">t</r>"},
      {"<r a='1' b='2' />",
       {{kRename, "r@a", nullptr, "b"}, {kRename, "r@b", "", "a"}},
       "<r b='1' a='2' />"},
      {"<r p:a='1'/>",
       {{kRename, "r@a", "", nullptr}, {kAttr, "r", nullptr, "b", "\xC3\xA9"}},
       "<r a='1' b=\"\xC3\xA9\"/>"},
      {"<?xml version='1.0' encoding='us-ascii'?><r/>",
       {value("r", "a\xC3\xA9\xE2\x82\xAC<")},
       "<?xml version='1.0' encoding='us-ascii'?><r>a&#233;&#8364;&lt;</r>"},
      // Removal.
      {"<r>\n  <a/>\n  <!--c-->\n  <b>\n  </b>  \n  <c/>\n</r>",
       {remove("r.b")},
       "<r>\n  <a/>\n  <!--c-->\n  <c/>\n</r>"},
      {"<r>\n  <a/> <b/>\n</r>", {remove("r.b")}, "<r>\n  <a/> \n</r>"},
      {"<r>\n  <a/> <b/>\n</r>", {remove("r.a")}, "<r>\n   <b/>\n</r>"},
      {"<r>\r\n\t<a><!--a--></a>\r\n</r>", {remove("r.a")}, "<r></r>"},
      {"<r>\n <a/><!--1-->\n <?p2?><b/></r>",
       {remove("r.a"), remove("r.b")},
       "<r><!--1--><?p2?></r>"},
      {"<r>\n  <a/>\n  <b/>\n</r>",
       {remove("r.a"), remove("r.b"), insert(kLast, "r", "<n/>")},
       "<r>\n  <n/>\n</r>"},
      {"<r><a/>\n  <b/>\n</r>",
       {remove("r.a"), insert(kFirst, "r", "<n/>")},
       "<r><n/>\n  <b/>\n</r>"},
      // Insertion on lines.
      {"<r>\r\n\t<a>\r\n\t\t<b/>\r\n\t</a> <!--a-->\r\n</r>\r\n",
       {insert(kAfter, "r.a", "<n><m>1</m></n>"), insert(kBefore, "r.a", "<o k='v'/>")},
       "<r>\r\n\t<o k=\"v\"/>\r\n\t<a>\r\n\t\t<b/>\r\n\t</a> "
       "<!--a-->\r\n\t<n>\r\n\t\t<m>1</m>\r\n\t</n>"
       "\r\n</r>\r\n"},
      {"<r>\n  <a/>\n  <!--end-->\n</r>",
       {insert(kLast, "r", "<n/>"), insert(kFirst, "r", "<m/>")},
       "<r>\n  <m/>\n  <a/>\n  <!--end-->\n  <n/>\n</r>"},
      {"<r>\n<a/>\n</r>", {insert(kLast, "r", "<n><m/></n>")}, "<r>\n<a/>\n<n>\n<m/>\n</n>\n</r>"},
      {"<r>\n   <a/>\n   <b x='1' />\n</r>",
       {insert(kLast, "r.b", "<n/>")},
       "<r>\n   <a/>\n   <b x='1'>\n      <n/>\n   </b>\n</r>"},
      {"<r>\n\t<a></a>\n</r>",
       {insert(kLast, "r.a", "<n/>"), insert(kFirst, "r.a", "<m/>")},
       "<r>\n\t<a>\n\t\t<m/>\n\t\t<n/>\n\t</a>\n</r>"},
      {"<r>\n  <a>\n  </a>\n</r>",
       {insert(kLast, "r.a", "<n/>")},
       "<r>\n  <a>\n    <n/>\n  </a>\n</r>"},
      {"<r>\n</r>", {insert(kFirst, "r", "<n/>")}, "<r>\n  <n/>\n</r>"},
      // On one line.
      {"<r><a/></r>", {insert(kAfter, "r.a", "<n><m/></n>")}, "<r><a/><n><m/></n></r>"},
      {"<r>\n  <a/><b/>\n</r>", {insert(kAfter, "r.a", "<n/>")}, "<r>\n  <a/><n/><b/>\n</r>"},
      {"<r/>", {insert(kLast, "r", "<n>\n</n>")}, "<r><n>&#10;</n></r>"},
      // As if one by one.
      {"<r><a/></r>",
       {insert(kAfter, "r.a", "<n1/>"), insert(kAfter, "r.a", "<n2/>"), insert(kLast, "r", "<n3/>"),
        insert(kFirst, "r", "<n4/>"), insert(kFirst, "r", "<n5/>"), insert(kBefore, "r.a", "<n6/>"),
        insert(kBefore, "r.a", "<n7/>"), insert(kLast, "r", "<n8/>"),
        insert(kLast, "r.a", "<n9/>")},
       "<r><n5/><n4/><n6/><n7/><a><n9/></a><n2/><n1/><n3/><n8/></r>"},
  };
  for (const auto &[document, steps, expected] : rows) {
    for (const std::string mark : {"", "\xEF\xBB\xBF"}) {
      const Outcome outcome = edited(mark + document, steps);
      EXPECT_EQ(outcome.code, kOk) << document;
      EXPECT_EQ(outcome.text, mark + expected);
      EXPECT_TRUE(Tree(outcome.text).root != nullptr) << outcome.text;
    }
  }
}

TEST(Edits, ThatCannotBeMadeWriteNothing) {
  const Text kNothing = nullptr;
  const std::tuple<uint32_t, std::vector<Step>> rows[] = {
      {kInvalid, {value("r.a", "1"), value("r.a", "2")}},
      {kInvalid, {value("r.a@k", "1"), {kAttr, "r.a", kNothing, "k", "2"}}},
      {kInvalid, {{kRename, "r.a", kNothing, "x"}, {kRename, "r.a", "p", kNothing}}},
      {kInvalid, {remove("r.a"), remove("r.a")}},
      {kInvalid, {remove("r.a"), value("r.a", "1")}},
      {kInvalid, {value("r.a", ""), insert(kFirst, "r.a", "<n/>")}},
      {kInvalid, {remove("r.a@k"), value("r.a@k", "1")}},
      {kInvalid, {remove("r.c"), value("r.c.d", "1")}},
      {kInvalid, {value("r.c.e", ""), remove("r.c")}},
      {kInvalid, {remove("r.c"), remove("r.c.d@k")}},
      {kInvalid, {remove("r.c"), insert(kAfter, "r.c", "<n/>")}},
      {kInvalid, {remove("r")}},
      {kInvalid, {insert(kBefore, "r", "<n/>")}},
      {kInvalid, {insert(kAfter, "r", "<n/>")}},
      {kInvalid, {insert(kFirst, "r.a@k", "<n/>")}},
      {kInvalid, {insert(kFirst, "r.a", kNothing)}},
      {kInvalid, {value("r.a", kNothing)}},
      {kInvalid, {{kRename, "r.a"}}},
      {kInvalid, {{kRename, "r.a", kNothing, ""}}},
      {kInvalid, {{kRemove, "r.a", kNothing, "a"}}},
      {kInvalid, {{kAttr, "r.a", kNothing, "k"}}},
      {kInvalid, {{0, "r.a"}}},
      {kInvalid, {{10, "r.a"}}},
      {kNotFound, {{kDropAttr, "r.a", kNothing, "z"}}},
      {kExists, {{kRename, "r.a@k", kNothing, "l"}}},
      {kExists, {{kAttr, "r.a", "p", "m", ""}, {kAttr, "r.a", kNothing, "p:m", ""}}},
      {kExists, {{kRename, "r.a@l", "p", "m"}, {kAttr, "r.a", "p", "m", ""}}},
      {kUnwritable, {value("r", "text")}},
      {kUnwritable, {insert(kLast, "r.b", "<n/>")}},
      {kUnwritable, {insert(kLast, "r.s", "<n/>")}},
      {kUnwritable, {insert(kLast, "r.t", "<n/>")}},
      {kUnwritable, {value("r.a", "\x01")}},
      {kUnwritable, {value("r.a", "1"), value("r.a@k", "\xC3")}},
      {kUnwritable, {{kRename, "r.a", kNothing, "1"}}},
      {kUnwritable, {{kRename, "r.a", "p:", kNothing}, {kAttr, "r.a", kNothing, "a:", ""}}},
      {kUnwritable, {{kAttr, "r.a", kNothing, "a b", ""}}},
  };
  const std::string document =
      "<r><a k='' l=''/><b>t</b><s>&#32;</s><t><![CDATA[]]></t><c><d k=''/><e/></c></r>";
  for (const auto &[code, steps] : rows) {
    const Outcome outcome = edited(document, steps);
    EXPECT_EQ(outcome.code, code) << "row " << &steps - &std::get<1>(rows[0]);
    EXPECT_EQ(outcome.text, "");
  }
  const Outcome ascii =
      edited("<?xml version='1.0' encoding='ASCII'?><r/>", {{kRename, "r", kNothing, "\xC3\xA9"}});
  EXPECT_EQ(ascii.code, kUnwritable);
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
    for (size_t i = 0; i < check.nodes() && i < 40; ++i) ASSERT_EQ(check.locate(i), "");
    applied += check.applied();
  }
  EXPECT_GT(applied, 3000U);
}

// Each allocation fails in turn.
TEST(Edits, ReportMemoryThatRunsOut) {
  const std::string document = "<r>\n  <a k='&lt;'>x&gt;y</a>\n  <b/>\n</r>";
  const Tree tree(document), content("<n/>");
  std::vector<NEB_XML_EDIT> edits(3);
  edits[0] = {kAttr, 0, nodeAt(tree.root, "r.b"), nullptr, "k", "v", nullptr, {}};
  edits[1] = {kLast, 0, tree.root, nullptr, nullptr, nullptr, content.root, {}};
  const std::string longValue = tables::repeated("long ", 2000);
  edits[2] = {kValue,  0, nodeAt(tree.root, "r.a"), nullptr, nullptr, longValue.c_str(),
              nullptr, {}};
  size_t n = 0;
  for (uint32_t result = kNoMemory; result != kOk;) {
    const size_t before = guarded::outstanding();
    std::string text;
    {
      const guarded::FailingAllocation failing(++n);
      result = NEB_XML_EditBytes(document.data(), document.size(), edits.data(), edits.size(),
                                 append, &text);
      if (result == kOk) break;
    }
    ASSERT_EQ(result, kNoMemory) << n;
    EXPECT_TRUE(text.empty() && guarded::outstanding() == before) << n;
  }
  EXPECT_GT(n, 8U);
}

}  // namespace
