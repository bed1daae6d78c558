// The C++ wrapper: it returns what the C interface returns, owns what it should, and leaks nothing.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <new>
#include <tuple>
#include <type_traits>
#include <vector>

#include "neb_xml.hpp"
#include "support/guarded_hooks.h"
#include "support/trees.h"

namespace {

constexpr std::size_t kLongText = 2000;  // longer than all that the hooks of the tests need
bool g_newFails = false;                 // for long texts

}  // namespace

// Inlined, they would look like mismatched calls of the C library's.
[[gnu::noinline]] void *operator new(std::size_t size) {
  void *memory = g_newFails && size > kLongText ? nullptr : std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

[[gnu::noinline]] void operator delete(void *memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void *memory, std::size_t) noexcept { std::free(memory); }

namespace {

using neb::xml::Document;
using neb::xml::Node;
using neb::xml::Status;

constexpr char kText[] =
    "<c v='1' p:w=''><s id='1'>one</s><s id='2'><t>two</t></s><e/><p:s id='3'>three</p:s></c>";

static_assert(!std::is_copy_constructible_v<Document> && std::is_move_constructible_v<Document>);
static_assert(std::is_trivially_copyable_v<Node> && sizeof(Node) == sizeof(void *));

Document parsed(std::string_view text = kText) {
  auto document = Document::parse(text);
  EXPECT_TRUE(document) << document.error().reason;
  return std::move(*document);
}

template <typename Range>
std::string namesOf(const Range &range) {
  std::string names;
  for (const auto &item : range) names += std::string(item.name().value_or("-")) + " ";
  return names;
}

// What views or infos answer: strings, and the node behind.
template <typename Range>
auto answersOf(const Range &range) {
  std::vector<std::tuple<neb::xml::Text, neb::xml::Text, neb::xml::Text, XmlNode *>> answers;
  for (const auto &item : range) {
    const neb::xml::Strings strings = item.strings();
    EXPECT_TRUE(item.prefix() == strings.prefix && item.name() == strings.name);
    EXPECT_EQ(item.value(), strings.value);
    answers.emplace_back(strings.prefix, strings.name, strings.value, item.next().get());
  }
  return answers;
}

TEST(Wrapper, InfosAnswerAsViewsDo) {
  const Document document = parsed();
  const Node root = document.root();
  const auto top = root.info();
  EXPECT_TRUE(top.view().get() == root.get() && !top.parent() && !top.next());
  EXPECT_EQ(answersOf(top.children()), answersOf(root.children()));
  EXPECT_EQ(answersOf(top.descendants()), answersOf(root.descendants()));
  EXPECT_EQ(answersOf(top.attributes()), answersOf(root.attributes()));
  for (const auto &child : top.children()) {
    EXPECT_EQ(child.parent().get(), root.get());
    EXPECT_EQ(answersOf(child.descendants()), answersOf(child.view().descendants()));
  }
  const auto none = Node().info();
  EXPECT_FALSE(none || none.name() || none.next() || none.parent());
  EXPECT_TRUE(none.children().empty() && none.attributes().empty() && none.descendants().empty());
}

TEST(Wrapper, RangesWorkWithLoopsAndAlgorithms) {
  const Document document = parsed();
  const Node root = document.root();
  EXPECT_EQ(namesOf(root.children()), "s s e s ");
  EXPECT_EQ(namesOf(root.children("s")), "s s s ");
  EXPECT_EQ(namesOf(root.children("none")), "");
  EXPECT_EQ(namesOf(root.descendants()), "s s t e s ");
  EXPECT_EQ(namesOf(root.find("c.s.2").descendants()), "t ") << "confined to the subtree";
  auto nested = Document::parse("<r><a><b><c/></b></a><z/></r>");
  EXPECT_EQ(namesOf(nested->root().find("r.a.b").descendants()), "c ");
  EXPECT_EQ(namesOf(root.attributes()), "v w ");
  EXPECT_TRUE(root.find("c.e").children().empty());
  const auto children = root.children();
  const auto found = std::find_if(children.begin(), children.end(),
                                  [](Node node) { return node.attribute("id") == "2"; });
  EXPECT_EQ(found->first_child().value(), "two");
  const std::vector<Node> copies(children.begin(), children.end());
  EXPECT_EQ(copies.back().prefix(), "p");
  EXPECT_EQ(copies.front().next().previous().get(), copies.front().get());
  EXPECT_EQ(root.last_child().parent().get(), root.get());
}

TEST(Wrapper, TellsNoTextFromAnEmptyOne) {
  Document document = parsed("<a x=''><b/><c><![CDATA[]]></c></a>");
  const Node root = document.root();
  EXPECT_FALSE(root.prefix() || root.first_child().value());
  EXPECT_EQ(root.last_child().value(), "");
  EXPECT_FALSE(root.attribute("x") || root.attribute("none"));
  const char *const none = nullptr;
  EXPECT_TRUE(document.root().set_attribute("x", none) && !root.attribute("x"));
  Document &same = document;
  document = std::move(same);
  EXPECT_EQ(document.root().get(), root.get());
}

template <typename Value>
void expectRoundTrip(Value value) {
  Document document = parsed("<a/>");
  Node root = document.root();
  EXPECT_TRUE(root.set(value) && root.set_attribute("n", value));
  constexpr bool kIsBool = std::is_same_v<Value, bool>;
  EXPECT_EQ(root.value(), kIsBool ? "true" : std::to_string(value));
  EXPECT_TRUE(*root.get<Value>() == value && *root.get<Value>("n") == value);
  EXPECT_EQ(*root.first_attribute().get<Value>(), value);
}

TEST(Wrapper, ReadsAndWritesTypedValues) {
  expectRoundTrip(true);
  const auto expectLimits = []<typename... Integers>() {
    (expectRoundTrip(std::numeric_limits<Integers>::min()), ...);
    (expectRoundTrip(std::numeric_limits<Integers>::max()), ...);
  };
  expectLimits.operator()<int8_t, uint8_t, int16_t, uint16_t, int32_t, uint32_t>();
  const Document document = parsed("<a x='256'>no</a>");
  EXPECT_EQ(document.root().get<std::uint8_t>("x").error().code, kInvalid);
  EXPECT_EQ(document.root().get<int>("y").error().code, kNotFound);
  EXPECT_EQ(document.root().get<int>().value_or(7), 7);
}

TEST(Wrapper, EditsInTheStorageOfTheTree) {
  Document document = *Document::create("config");
  Node root = document.root();
  const std::string longText(1000, 'x');
  Node second = *root.append("second");
  EXPECT_TRUE(second.set(longText));
  EXPECT_TRUE(second.insert_before("first")->set("1"));
  EXPECT_TRUE(second.insert_after("third")->set_attribute("a", "v"));
  EXPECT_TRUE(root.prepend("zeroth")->set_name("nought"));
  EXPECT_TRUE(root.set_attribute("v", "old") && root.set_attribute("v", "new"));
  EXPECT_TRUE(root.set_prefix("p") && second.set(std::string_view()));
  const Document other = parsed();
  EXPECT_TRUE(root.append_copy(other.root().find("c.s.2")));
  EXPECT_TRUE(root.last_child().remove_attribute("id"));
  EXPECT_TRUE(root.find("config.third").remove());
  EXPECT_EQ(root.remove().code(), kInvalid) << "the document's to release";
  const std::size_t before = guarded::outstanding();
  EXPECT_EQ(*document.to_string(1),
            "<p:config v=\"new\">\n <nought/>\n <first>1</first>\n <second/>\n <s>\n  <t>two</t>\n"
            " </s>\n</p:config>\n");
  EXPECT_EQ(guarded::outstanding(), before);
}

TEST(Wrapper, ErrorsAreValues) {
  const auto malformed = Document::parse("<a>\n <b></c>\n</a>");
  ASSERT_FALSE(malformed);
  EXPECT_EQ(malformed.error().code, kSyntax);
  EXPECT_TRUE(malformed.error().line == 2 && malformed.error().column == 5);
  EXPECT_STRNE(malformed.error().reason, "");
  EXPECT_EQ(Document::parse("").error().code, kInvalid);
  EXPECT_EQ(Document::parse_file("none/none.xml").error().code, kFileOpen);
  Node empty;
  EXPECT_FALSE(empty || empty.parent() || empty.find("a") || empty.first_attribute());
  EXPECT_TRUE(empty.children().empty() && empty.descendants().empty());
  for (const Status status :
       {empty.set("x"), empty.set(1), empty.set_attribute("a", "b"), empty.remove_attribute("a"),
        empty.remove(), Document().save("none")}) {
    EXPECT_EQ(status.code(), kInvalid);
  }
  EXPECT_FALSE(empty.append("a") || empty.append_copy(empty) || empty.to_string());
  EXPECT_FALSE(Document().clone());
  Document document = parsed("<a/>");
  Node root = document.root();
  const std::string file = trees::temporaryFile("<old/>");
  const std::string nul(1, '\0');
  for (const Status status :
       {root.set(nul), root.set_attribute("v", nul), root.set_name("n" + nul), root.set_prefix(nul),
        Status(root.append("a" + nul).error().code), document.save(file + nul),
        Status(Document::create("a" + nul).error().code),
        Status(Document::parse_file(file + nul).error().code)}) {
    EXPECT_EQ(status.code(), kInvalid) << "what follows a NUL would be lost";
  }
  EXPECT_FALSE(root.find("a" + nul) || root.insert_after("beside the root"));
  EXPECT_EQ(*root.to_string() + trees::readFile(file), "<a/>\n<old/>");
  const guarded::FailingAllocation failing(1, true);
  EXPECT_EQ(Document::create("a").error().code, kNoMemory);
  EXPECT_EQ(Document::parse("<a/>").error().code, kNoMemory);
  EXPECT_EQ(root.append("b").error().code, kNoMemory);
}

// Texts of up to 255 bytes are handed over in a buffer, longer ones in a string.
TEST(Wrapper, HandsTextsOverWholeOrLeaksNothing) {
  for (const std::size_t length : {255U, 256U, 257U}) {
    const std::string text(length, 'x');
    Document document = *Document::create(text);
    Node root = document.root();
    EXPECT_TRUE(root.set_prefix(text) && root.set_attribute("a", text) &&
                root.append(text)->set(text));
    const std::string tag = text + ":" + text;
    EXPECT_EQ(*root.to_string(), "<" + tag + " a=\"" + text + "\">\n<" + text + ">" + text + "</" +
                                     text + ">\n</" + tag + ">\n");
    const std::size_t before = guarded::outstanding();
    g_newFails = true;
    EXPECT_THROW(root.to_string(), std::bad_alloc);
    g_newFails = false;
    EXPECT_EQ(guarded::outstanding(), before);
  }
}

TEST(Wrapper, DocumentsMoveCloneAndSave) {
  Document first = parsed();
  const XmlNode *node = first.root().get();
  Document second = std::move(first);
  EXPECT_TRUE(second.root().get() == node && !first);
  first = *second.clone();
  EXPECT_EQ(*first.to_string(), *second.to_string());
  second = std::move(first);
  const std::string path = trees::temporaryFile("old");
  EXPECT_TRUE(second.save(path, 2));
  EXPECT_EQ(*Document::parse_file(path)->to_string(), *second.to_string());
}

}  // namespace
