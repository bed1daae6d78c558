// The C++ wrapper: it returns what the C interface returns, owns what it should, and leaks nothing.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <new>
#include <ranges>
#include <sstream>
#include <tuple>
#include <type_traits>
#include <unordered_set>
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

using neb::xml::Attribute;
using neb::xml::ConstAttribute;
using neb::xml::ConstNode;
using neb::xml::DetachedNode;
using neb::xml::Document;
using neb::xml::Node;
using neb::xml::Status;

constexpr char kText[] =
    "<c v='1' p:w=''><s id='1'>one</s><s id='2'><t>two</t></s><e/><p:s id='3'>three</p:s></c>";

// What compiles, and what must not.
template <typename View>
concept Edits = requires(View view) {
  view.set("x");
}
|| requires(View view) { view.remove(); };
template <typename Owner>
concept HandsOutRoot = requires {
  std::declval<Owner>().root();
};
template <typename Made>
concept ReachesRoot = requires {
  std::declval<Made>()->root();
};
template <typename Name>
concept NamesChildren = requires(Node node, Name &&name) {
  node.children(std::forward<Name>(name));
};
template <typename Value>
concept HasValues = requires(Node node, Value value) {
  node.get<Value>();
  node.set(value);
};
template <typename Range>
concept IsView = std::ranges::view<Range> && std::ranges::borrowed_range<Range> &&
    std::ranges::input_range<Range>;
using Parsed = decltype(Document::parse(""));
using Children = decltype(Node().children());

static_assert(!std::is_copy_constructible_v<Document> && std::is_move_constructible_v<Document>);
static_assert(!std::is_copy_constructible_v<DetachedNode>);
static_assert(std::is_trivially_copyable_v<Node> && sizeof(Node) == sizeof(void *));
static_assert(Edits<Node> && Edits<Attribute> && !Edits<ConstNode> && !Edits<ConstAttribute>);
static_assert(std::is_same_v<decltype(std::declval<Document &>().root()), Node>);
static_assert(std::is_same_v<decltype(std::declval<const Document &>().root()), ConstNode>);
static_assert(!HandsOutRoot<Document> && !HandsOutRoot<const Document>);
static_assert(ReachesRoot<Parsed &> && ReachesRoot<const Parsed &> && !ReachesRoot<Parsed>);
static_assert(std::is_convertible_v<Node, ConstNode> && !std::is_convertible_v<ConstNode, Node>);
static_assert(std::is_same_v<decltype(ConstNode().first_attribute().parent()), ConstNode>);
static_assert(std::is_same_v<decltype(ConstNode().info().first_child()), ConstNode>);
static_assert(NamesChildren<const std::string &> && NamesChildren<const char (&)[2]> &&
              NamesChildren<std::string_view> && NamesChildren<const char *>);
static_assert(!NamesChildren<std::string> && !NamesChildren<const std::string>);
static_assert(HasValues<bool> && HasValues<long> && HasValues<long long> && HasValues<double> &&
              !HasValues<char> && !HasValues<float>);
static_assert(IsView<Children> && std::ranges::forward_range<Children> &&
              std::ranges::common_range<Children> && IsView<decltype(Node().children("a"))> &&
              IsView<decltype(Node().attributes())> && IsView<decltype(ConstNode().descendants())>);
static_assert(IsView<decltype(Node().info().children())> &&
              IsView<decltype(Node().info().descendants())>);
static_assert(std::ranges::view<decltype(Node().select("a"))> &&
              std::ranges::input_range<decltype(ConstNode().select<ConstAttribute>("a"))>);

Document parsed(std::string_view text = kText) {
  auto document = Document::parse(text);
  EXPECT_TRUE(document) << document.error().reason;
  return std::move(*document);
}

template <typename Range>
std::string namesOf(Range &&range) {
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
  Document document = parsed();
  const Node root = document.root();
  const auto top = root.info();
  EXPECT_TRUE(top.view().get() == root.get() && !top.parent() && !top.next());
  EXPECT_EQ(answersOf(top.children()), answersOf(root.children()));
  EXPECT_EQ(answersOf(top.descendants()), answersOf(root.descendants()));
  EXPECT_EQ(answersOf(top.attributes()), answersOf(root.attributes()));
  for (const auto &child : top.children()) {
    EXPECT_EQ(child.parent(), root);
    EXPECT_EQ(answersOf(child.descendants()), answersOf(child.view().descendants()));
  }
  const auto none = Node().info();
  EXPECT_FALSE(none || none.name() || none.next() || none.parent());
  EXPECT_TRUE(none.children().empty() && none.attributes().empty() && none.descendants().empty());
}

TEST(Wrapper, RangesWorkWithLoopsAndAlgorithms) {
  const Document document = parsed();
  const ConstNode root = document.root();
  EXPECT_EQ(namesOf(root.children()), "s s e s ");
  EXPECT_EQ(namesOf(root.children("s")), "s s s ");
  EXPECT_EQ(namesOf(root.children("p:s")), "s ");
  EXPECT_EQ(namesOf(root.children("none")) + namesOf(root.children("")), "");
  EXPECT_EQ(namesOf(root.descendants()), "s s t e s ");
  EXPECT_EQ(namesOf(root.at("s.2").descendants()), "t ") << "confined to the subtree";
  const auto nested = Document::parse("<r><a><b><c/></b></a><z/></r>");
  EXPECT_EQ(namesOf(nested->root().at("a.b").descendants()), "c ");
  EXPECT_EQ(namesOf(root.attributes()), "v w ");
  EXPECT_EQ(std::ranges::next(root.children().begin(), 2)->name(), "e");
  EXPECT_TRUE(root.child("e").children().empty());
  auto found = std::ranges::find_if(root.children(),
                                    [](ConstNode node) { return node.attribute("id") == "2"; });
  EXPECT_EQ(found->first_child().value(), "two");
  const auto children = root.children();
  const std::vector<ConstNode> copies(children.begin(), children.end());
  EXPECT_EQ(copies.back().prefix(), "p");
  EXPECT_EQ(copies.front().next().previous(), copies.front());
  EXPECT_NE(root.last_child(), root.first_child());
  EXPECT_EQ(root.last_child().parent(), root);
  const std::unordered_set<ConstNode> set(copies.begin(), copies.end());
  EXPECT_TRUE(set.size() == copies.size() && set.contains(found++->parent().last_child()));
  EXPECT_EQ(found->name(), "e");
  auto infos = root.info().children();
  auto at = infos.begin();
  EXPECT_EQ((at++)->value(), "one");
  EXPECT_TRUE(at->first_child() && at != infos.end());
}

// A node's own name first, or a child's; a name with a colon is a prefix and a local name.
TEST(Wrapper, FindsByNamesAndPaths) {
  constexpr char kNames[] =
      "<p:r a.b='1' p:a='2' a='3'><x.y>1</x.y><p:b>2</p:b><b><c>3</c></b>"
      "<b><c>4</c><q:c>5</q:c></b></p:r>";
  const Document document = parsed(kNames);
  const ConstNode root = document.root();
  constexpr std::pair<const char *, const char *> kPaths[] = {
      {"x\\.y", "1"},   {"b", "2"},   {"p:b", "2"},   {"b.2.c", "3"}, {"b.3.c", "4"},
      {"b.3.q:c", "5"}, {"q:b", "-"}, {"p:r.b", "-"}, {"", "-"},      {"b.0", "-"},
  };
  for (const auto &[path, value] : kPaths) {
    EXPECT_EQ(root.at(path).value().value_or("-"), value) << path;
    EXPECT_EQ(root.find("p:r." + std::string(path)) == root, *path == '\0') << path;
    EXPECT_EQ(root.find("r." + std::string(path)), root.at(path)) << path;
  }
  constexpr std::pair<const char *, const char *> kChildren[] = {
      {"x.y", "1"}, {"b", "2"}, {"p:b", "2"}, {"q:b", "-"}, {"", "-"}, {":b", "-"}, {"p:", "-"}};
  for (const auto &[name, value] : kChildren) {
    EXPECT_EQ(root.child(name).value().value_or("-"), value) << name;
  }
  constexpr std::pair<const char *, const char *> kAttributes[] = {
      {"a.b", "1"}, {"p:a", "2"}, {"a", "3"}, {"b", "-"}, {"q:a", "-"}, {"", "-"}, {":a", "-"}};
  for (const auto &[name, value] : kAttributes) {
    EXPECT_EQ(root.attribute(name).value_or("-"), value) << name;
  }
  const std::string dotted(600, '.');
  const Document odd = parsed("<a.b.c><d>1</d></a.b.c>");
  EXPECT_EQ(odd.root().at("d").value(), "1") << "the dots are part of the name";
  EXPECT_FALSE(odd.root().at(dotted) || odd.root().at(std::string("d\0", 2)));
  EXPECT_FALSE(root.child(std::string("b\0", 2)) || root.find_attribute(std::string("a\0", 2)));
}

TEST(Wrapper, SelectsByPatterns) {
  Document document = parsed("<r><s n='1'><p>80</p></s><t><s n='2'><p a=''>81</p></s></t></r>");
  const Node root = document.root();
  const auto textsOf = [](auto &&range) {
    std::string texts;
    for (const auto &item : range) texts += std::string(item.value().value_or("-")) + " ";
    return texts;
  };
  const std::string pattern = "r.**.p";
  EXPECT_EQ(textsOf(root.select(pattern)), "80 81 ");
  EXPECT_EQ(textsOf(root.select("**.s[@n=2].p")), "81 ");
  EXPECT_EQ(textsOf(root.select<Attribute>("**.@n")), "1 2 ");
  EXPECT_EQ(textsOf(root.select("none")) + textsOf(Node().select("a")), "");
  for (const Node node : root.select("**.p")) EXPECT_TRUE(node.set("82"));
  const ConstNode same = root;
  EXPECT_EQ(textsOf(same.select("**.p")), "82 82 ");
  EXPECT_EQ(std::ranges::distance(root.select(pattern)), 2);
  auto matches = root.select("**.s");
  auto at = matches.begin();
  EXPECT_TRUE((at++)->attribute("n") == "1" && at->attribute("n") == "2" && ++at == matches.end());
  EXPECT_EQ(root.select("r").error().code, kOk);
  EXPECT_EQ(root.select("none").error().code, kNotFound);
  const neb::xml::Error error = root.select("r.[").error();
  EXPECT_TRUE(error.code == NEB_XML_ERR_BAD_PATH && error.offset == 2) << error.offset;
  for (const auto &code :
       {root.select("**.@n").error().code, root.select<Attribute>("**.s").error().code,
        root.select(std::string(600, 'a')).error().code}) {
    EXPECT_EQ(code, kInvalid);
  }
}

TEST(Wrapper, TellsNoTextFromAnEmptyOne) {
  Document document = parsed("<a x=''><b/></a>");
  const Node root = document.root();
  EXPECT_FALSE(root.prefix() || root.first_child().value());
  EXPECT_EQ(root.attribute("x"), "");
  EXPECT_EQ(root.first_attribute().info().value(), "");
  EXPECT_EQ(root.first_attribute().parent(), root);
  EXPECT_FALSE(root.attribute("none") || root.find_attribute("none").value());
  const char *const none = nullptr;
  EXPECT_EQ(root.set_attribute("y", none).code(), kInvalid);
  EXPECT_EQ(root.set(none).code(), kInvalid);
  EXPECT_FALSE(root.attribute("y"));
  Document &same = document;
  document = std::move(same);
  EXPECT_EQ(document.root(), root);
}

template <typename Value>
void expectRoundTrip(Value value) {
  Document document = parsed("<a/>");
  const Node root = document.root();
  EXPECT_TRUE(root.set(value) && root.set_attribute("n", value));
  constexpr bool kIsBool = std::is_same_v<Value, bool>;
  const std::string decimal = kIsBool ? "true" : std::to_string(value);
  EXPECT_EQ(root.value(), std::is_integral_v<Value> ? decimal : "0.1");
  EXPECT_TRUE(*root.get<Value>() == value && *root.get<Value>("n") == value);
  EXPECT_EQ(*root.first_attribute().get<Value>(), value);
}

TEST(Wrapper, ReadsAndWritesTypedValues) {
  expectRoundTrip(true);
  expectRoundTrip(0.1);
  const auto expectLimits = []<typename... Integers>() {
    (expectRoundTrip(std::numeric_limits<Integers>::min()), ...);
    (expectRoundTrip(std::numeric_limits<Integers>::max()), ...);
  };
  expectLimits.
  operator()<int8_t, uint8_t, int16_t, uint16_t, int32_t, uint32_t, int64_t, uint64_t, long long>();
}

// A default stands for what is missing, never for what is wrong.
TEST(Wrapper, ResultsHideNothing) {
  using neb::xml::BadResult;
  Document document = parsed("<a n='3' wide='256' bad='3x' e=''/>");
  const Node root = document.root();
  EXPECT_EQ(root.get<int>("n").value() + root.get<int>("none").value_or(7), 10);
  EXPECT_EQ(*root.get<int>("n").if_missing(7), 3);
  EXPECT_EQ(root.child("none").get<int>().if_missing(7).value_or(8), 7);
  EXPECT_TRUE(root.get<int>("none").is_missing() && !root.get<int>("e").is_missing());
  constexpr std::pair<const char *, std::uint32_t> kWrong[] = {
      {"wide", NEB_XML_ERR_OUT_OF_RANGE},
      {"bad", NEB_XML_ERR_MALFORMED_VALUE},
      {"e", NEB_XML_ERR_EMPTY_VALUE},
  };
  for (const auto &[name, code] : kWrong) {
    const auto result = root.get<std::uint8_t>(name);
    EXPECT_EQ(result.error().code, code) << name;
    EXPECT_STREQ(result.error().reason, Status(code).reason());
    EXPECT_TRUE(!result.has_value() && !result.if_missing(7)) << name;
    EXPECT_THROW((void)result.value(), BadResult) << name;
    EXPECT_THROW((void)result.value_or(7), BadResult) << name;
  }
  const auto doubled = [](int n) { return 2 * n; };
  const auto divided = [&](int n) { return root.get<int>(n == 3 ? "n" : "none"); };
  EXPECT_EQ(*root.get<int>("n").transform(doubled), 6);
  EXPECT_EQ(*root.get<int>("n").and_then(divided).transform(doubled), 6);
  const auto toStatus = [](int value) { return Status(value == 0 ? kInvalid : kOk); };
  EXPECT_TRUE(root.get<int>("n").and_then(toStatus));
  EXPECT_EQ(root.get<int>("none").and_then(toStatus).code(), kNotFound);
  EXPECT_TRUE(root.get<int>("none").transform(doubled).and_then(divided).is_missing());
  EXPECT_EQ(*Document::parse("<b/>").and_then([](const Document &b) { return b.to_string(); }),
            "<b/>\n");
  try {
    (void)Document::parse("<a>\n</b>").value();
    FAIL();
  } catch (const BadResult &bad) {
    EXPECT_TRUE(bad.error().code == kSyntax && bad.error().line == 2) << bad.what();
  }
}

TEST(Wrapper, EditsInTheStorageOfTheTree) {
  Document document = *Document::create("p:config");
  const Node root = document.root();
  const std::string longText(1000, 'x');
  const Node second = *root.append("second");
  EXPECT_TRUE(second.set(longText));
  EXPECT_TRUE(second.insert_before("first")->set("1"));
  EXPECT_TRUE(second.insert_after("q:third")->set_attribute("r:a", "v"));
  EXPECT_TRUE(root.prepend("zeroth")->set_name("nought"));
  EXPECT_TRUE(root.set_attribute("v", "old") && root.set_attribute("v", "new"));
  EXPECT_TRUE(root.set_attribute("p:v", 1) && root.set_attribute("p:v", 2));
  EXPECT_TRUE(second.set(std::string_view()));
  const Document other = parsed();
  EXPECT_TRUE(root.append_copy(other.root().at("s.2")));
  EXPECT_TRUE(root.last_child().remove_attribute("id"));
  EXPECT_EQ(root.last_child().remove_attribute("id").code(), kNotFound);
  Node removed = root.child("first");
  EXPECT_TRUE(removed.remove() && !removed);
  EXPECT_EQ(document.root().remove().code(), kInvalid) << "the document's to free";
  const std::size_t before = guarded::outstanding();
  EXPECT_EQ(*document.to_string(1),
            "<p:config v=\"new\" p:v=\"2\">\n <nought/>\n <second/>\n"
            " <q:third r:a=\"v\"/>\n <s>\n  <t>two</t>\n </s>\n</p:config>\n");
  EXPECT_EQ(guarded::outstanding(), before);
}

// A document on the heap and one with a session: "<r><a/><b><c/></b><d/></r>".
std::vector<Document> lettersOnHeapAndInSession() {
  constexpr char kLetters[] = "<r><a/><b><c/></b><d/></r>";
  XmlNode *onHeap = nullptr;
  EXPECT_EQ(NEB_XML_Parse(kLetters, &onHeap), kOk);
  std::vector<Document> documents;
  documents.emplace_back(onHeap);
  documents.push_back(parsed(kLetters));
  return documents;
}

std::string lettersOf(ConstNode node) {
  std::string letters(node.name().value_or("-"));
  for (const ConstNode child : node.children()) letters += "(" + lettersOf(child) + ")";
  return letters;
}

TEST(Wrapper, MovesNodesOrChangesNothing) {
  const Document other = parsed("<o/>");
  using Move = Status (Node::*)(Node) const noexcept;
  constexpr Move kAppend = &Node::append, kPrepend = &Node::prepend, kAfter = &Node::insert_after,
                 kBefore = &Node::insert_before;
  constexpr struct {
    Move move;
    const char *where, *what, *letters;  // no letters if it is refused
  } kMoves[] = {
      {kAppend, "r", "r.a", "r(b(c))(d)(a)"},
      {kPrepend, "r", "r.d", "r(d)(a)(b(c))"},
      {kAfter, "r.b", "r.a", "r(b(c))(a)(d)"},
      {kBefore, "r.a", "r.b.c", "r(c)(a)(b)(d)"},
      {kAppend, "r.b.c", "r.d", "r(a)(b(c(d)))"},
      {kAppend, "r.b", "r.b.c", "r(a)(b(c))(d)"},
      {kAppend, "r.b.c", "r.b", nullptr},
      {kAfter, "r.b", "r.b", nullptr},
      {kPrepend, "r.b", "r", nullptr},
      {kBefore, "r", "r.d", nullptr},
      {kAppend, "r.none", "r.a", nullptr},
      {kAppend, "r", "r.none", nullptr},
  };
  for (const auto &[move, where, what, letters] : kMoves) {
    for (Document &document : lettersOnHeapAndInSession()) {
      const Node root = document.root();
      const Status status = (root.find(where).*move)(root.find(what));
      EXPECT_EQ(bool(status), letters != nullptr) << where << what;
      EXPECT_EQ(lettersOf(root), letters == nullptr ? "r(a)(b(c))(d)" : letters);
    }
  }
  for (Document &document : lettersOnHeapAndInSession()) {
    Document stranger = parsed("<s><x/><y/></s>");
    for (const Node node : stranger.root().children()) {
      EXPECT_EQ(document.root().append(node).code(), kInvalid) << "of another storage";
    }
    EXPECT_EQ(document.root().append(stranger.root()).code(), kInvalid);
    EXPECT_EQ(lettersOf(document.root()) + lettersOf(stranger.root()), "r(a)(b(c))(d)s(x)(y)");
  }
}

TEST(Wrapper, DetachedNodesAreFreedOrInserted) {
  for (Document &document : lettersOnHeapAndInSession()) {
    const Node root = document.root();
    Document stranger = parsed();
    DetachedNode strange = *stranger.root().child("e").detach();
    EXPECT_FALSE(root.append(std::move(strange)));
    EXPECT_TRUE(strange) << "still its owner's";
    Node taken = root.child("b");
    auto detached = taken.detach();
    ASSERT_TRUE(detached && *detached && !taken);
    EXPECT_EQ(lettersOf(root) + lettersOf(detached->node()), "r(a)(d)b(c)");
    DetachedNode owner = std::move(*detached);
    EXPECT_TRUE(root.insert_after(std::move(owner)).code() == kInvalid && owner);
    EXPECT_TRUE(root.child("a").insert_before(std::move(owner)) && !owner);
    EXPECT_EQ(lettersOf(root), "r(b(c))(a)(d)");
    EXPECT_TRUE(root.child("a").detach()) << "and frees it";
    owner = *root.child("d").detach();
    owner = *root.child("b").detach();
    EXPECT_TRUE(root.append(std::move(owner)));
    EXPECT_EQ(lettersOf(root), "r(b(c))");
    EXPECT_EQ(document.root().detach().error().code, kInvalid);
    XmlNode *released = (*root.child("b").detach()).release();
    NEB_XML_FreeNode(released);
  }
}

TEST(Wrapper, OwnersFreeTheirNodes) {
  XmlNode *nodes[3] = {};
  ASSERT_EQ(NEB_XML_CreateNode(0, nullptr, "e", nullptr, &nodes[0]), kOk);
  ASSERT_EQ(NEB_XML_Parse("<d/>", &nodes[1]), kOk);
  ASSERT_EQ(NEB_XML_Parse("<r/>", &nodes[2]), kOk);
  const DetachedNode detached(nodes[0]);
  Document document(nodes[1]);
  Document freedFirst(nodes[2]);
  for (Node owned : {detached.node(), document.root()}) {
    EXPECT_EQ(freedFirst.root().append(owned).code(), kInvalid);
    EXPECT_EQ(owned.remove().code(), kInvalid);
  }
}

TEST(Wrapper, MovesNothingThatItCouldNotPutBack) {
  XmlNode *first = nullptr;
  ASSERT_EQ(NEB_XML_Parse("<r><e/></r><s/>", &first), kOk);
  Document document(first);
  EXPECT_EQ(document.root().append(document.root().child("e")).code(), kInvalid);
  EXPECT_EQ(namesOf(document.root().children()), "e ");
  EXPECT_EQ(document.root().remove().code(), kInvalid);
  EXPECT_TRUE(document.root().next().remove());
}

TEST(Wrapper, RemovesWhileItIterates) {
  constexpr char kMany[] = "<r x='' y='' z=''><a/><b/><a/><b/><b/></r>";
  XmlNode *onHeap = nullptr;
  ASSERT_EQ(NEB_XML_Parse(kMany, &onHeap), kOk);
  Document heap(onHeap);
  Document session = parsed(kMany);
  for (Document *const document : {&heap, &session}) {
    const Node root = document->root();
    for (Attribute attribute : root.attributes()) {
      if (attribute.name() == "y") continue;
      EXPECT_TRUE(attribute.remove() && !attribute);
    }
    for (Node node : root.children("a")) node.remove();
    EXPECT_EQ(namesOf(root.children()) + namesOf(root.attributes()), "b b b y ");
    for (const auto &item : root.info().children()) Node(item.view()).remove();
    EXPECT_TRUE(root.append("e")->append("f")->append("g"));
    for (const Node node : root.descendants()) {
      for (Node below : node.children()) below.remove();
    }
    EXPECT_EQ(namesOf(root.descendants()), "e ");
    for (Node node : root.children()) node.remove();
    EXPECT_TRUE(root.append("c") && root.append("d"));
    for (const Node node : root.children()) EXPECT_TRUE(root.prepend(node)) << "moves it";
    EXPECT_EQ(namesOf(root.children()), "d c ");
    for (Node node : root.children()) node.remove();
    EXPECT_TRUE(root.children().empty());
  }
}

TEST(Wrapper, ErrorsAreValues) {
  const auto malformed = Document::parse("<a>\n <b></c>\n</a>");
  ASSERT_FALSE(malformed);
  EXPECT_EQ(malformed.error().code, kSyntax);
  EXPECT_TRUE(malformed.error().line == 2 && malformed.error().column == 5);
  EXPECT_STRNE(malformed.error().reason, "");
  EXPECT_EQ(Document::parse_file("none/none.xml").error().code, kFileOpen);
  EXPECT_EQ(Document::parse_file("none/none.xml").error().line, 0U);
  Node empty;
  EXPECT_FALSE(empty || empty.parent() || empty.find("a") || empty.at("a") || empty.child("a"));
  EXPECT_FALSE(empty.first_attribute() || empty.attribute("a") || empty.find_attribute("a"));
  EXPECT_TRUE(empty.children().empty() && empty.descendants().empty());
  for (const Status status :
       {empty.set("x"), empty.set(1), empty.set_attribute("a", "b"), empty.remove_attribute("a"),
        empty.remove(), empty.append(empty), empty.append(DetachedNode()),
        empty.set_attribute("a", 1), Attribute().remove(), Status(empty.detach().error().code),
        Document().save("none")}) {
    EXPECT_EQ(status.code(), kInvalid);
  }
  EXPECT_FALSE(empty.append("a") || empty.append_copy(empty) || empty.to_string());
  EXPECT_FALSE(Document().clone());
  Document document = parsed("<a/>");
  const Node root = document.root();
  const std::string file = trees::temporaryFile("<old/>");
  const std::string nul(1, '\0');
  for (const Status status :
       {root.set(nul), root.set_attribute("v", nul), root.set_attribute("v" + nul, "v"),
        root.set_name("n" + nul), root.set_prefix(nul), root.set_name(""),
        root.set_attribute("", "v"), Status(root.append("").error().code),
        Status(Document::create("").error().code), Status(Document::create(":a").error().code),
        Status(Document::create("p:").error().code), Status(root.append("a" + nul).error().code),
        document.save(file + nul), Status(Document::create("a" + nul).error().code),
        Status(Document::parse_file(file + nul).error().code)}) {
    EXPECT_EQ(status.code(), kInvalid) << "what follows a NUL would be lost";
  }
  for (const Status status :
       {root.set("\x01"), root.set("\xFF"), root.set_attribute("v", "\x01"), root.set_name("a:b"),
        root.set_attribute("p:", 1), Status(root.append("p:").error().code),
        Status(root.append("1").error().code), Status(Document::create("1").error().code)}) {
    EXPECT_EQ(status.code(), NEB_XML_ERR_UNWRITABLE);
  }
  EXPECT_FALSE(root.find("a" + nul) || root.insert_after("beside the root"));
  EXPECT_EQ(*root.to_string() + trees::readFile(file), "<a/>\n<old/>");
  const guarded::FailingAllocation failing(1, true);
  EXPECT_EQ(Document::create("a").error().code, kNoMemory);
  EXPECT_EQ(Document::parse("<a/>").error().code, kNoMemory);
  EXPECT_EQ(root.set(std::string(100'000, 'x')).code(), kNoMemory);
}

TEST(Wrapper, ReadsStrictlyWithOptions) {
  using neb::xml::ReadOptions;
  const struct {
    const char *text;
    ReadOptions options;
    std::uint32_t code;
  } kDocuments[] = {
      {"<!DOCTYPE a><a b='1'><c/></a>", {}, kOk},
      {"<!DOCTYPE a><a/>", {.no_doctype = true}, NEB_XML_ERR_UNSUPPORTED},
      {"<a b='1'><c/></a>", {.max_depth = 2, .max_nodes = 3}, kOk},
      {"<a b='1'><c/></a>", {.max_depth = 1}, NEB_XML_ERR_LIMIT},
      {"<a b='1'><c/></a>", {.max_nodes = 2}, NEB_XML_ERR_LIMIT},
      {"<a/><b/>", {}, kSyntax},
      {"<a>b<c/></a>", {}, NEB_XML_ERR_UNSUPPORTED},
  };
  for (const auto &[text, options, code] : kDocuments) {
    const std::string path = trees::temporaryFile(text);
    for (const auto &document :
         {Document::parse(text, options), Document::parse_file(path, options)}) {
      EXPECT_EQ(document.error().code, code) << text;
      EXPECT_EQ(document.error().message.empty(), code == kOk) << text;
      EXPECT_EQ(document.error().is_well_formed, std::string_view(text) == "<a>b<c/></a>") << text;
    }
  }
  const auto wrong = Document::parse("<first>\n<second></third></first>");
  EXPECT_NE(wrong.error().message.find("second"), std::string::npos) << wrong.error().message;
  EXPECT_EQ(wrong.error().what(), wrong.error().message.c_str());
  EXPECT_EQ(Document::parse_file("none/none.xml").error().system_error, ENOENT);
}

TEST(Wrapper, PrintsIntoAnySink) {
  const Document document = parsed("<a><b>\xC3\xA9</b><c/></a>");
  const neb::xml::PrintOptions kOptions[] = {
      {},
      {.indent = 1, .declaration = true},
      {.indent = 2, .tabs = true, .crlf = true},
      {.ascii = true, .one_line = true, .end_tags = true, .final_line_end = false},
  };
  const char *const kPrinted[] = {
      "<a>\n<b>\xC3\xA9</b>\n<c/>\n</a>\n",
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a>\n <b>\xC3\xA9</b>\n <c/>\n</a>\n",
      "<a>\r\n\t\t<b>\xC3\xA9</b>\r\n\t\t<c/>\r\n</a>\r\n",
      "<a><b>&#233;</b><c></c></a>",
  };
  for (const auto &options : kOptions) {
    const std::string expected = kPrinted[&options - kOptions];
    std::string string, fromCall, fromAnswer;
    std::ostringstream stream;
    EXPECT_TRUE(document.print(string, options) && document.print(stream, options));
    EXPECT_TRUE(document.print([&](std::string_view part) { fromCall += part; }, options));
    EXPECT_TRUE(document.print(
        [&](std::string_view part) { return fromAnswer += part, Status(NEB_XML_OK); }, options));
    for (const std::string &printed : {string, fromCall, fromAnswer, stream.str()}) {
      EXPECT_EQ(printed, expected);
    }
    const std::string path = trees::temporaryFile("old");
    EXPECT_TRUE(document.save(path, options));
    EXPECT_EQ(trees::readFile(path), expected);
  }
  EXPECT_EQ(*document.to_string(1), *document.to_string({.indent = 1}));
  std::ostringstream broken;
  broken.setstate(std::ios::badbit);
  EXPECT_EQ(document.print(broken).code(), kFileWrite);
  EXPECT_EQ(document.print([](std::string_view) { return false; }).code(), kFileWrite);
  EXPECT_EQ(document.print([](std::string_view) { return Status(kNoMemory); }).code(), kNoMemory);
  EXPECT_EQ(document.to_string(17).error().code, kInvalid);
}

TEST(Wrapper, LocatesNodesAndEditsBytes) {
  constexpr std::string_view kBytes = "<!-- c -->\n<a>\n  <b c='1'>x</b>\n</a>";
  const Document document = parsed(kBytes);
  const ConstNode b = document.root().child("b");
  EXPECT_TRUE(b.locate(kBytes)->line == 3 && b.locate(kBytes)->column == 3);
  EXPECT_EQ(b.first_attribute().locate(kBytes)->column, 6U);
  EXPECT_EQ(b.locate("<a/>").error().code, kNotFound);
  const std::vector<ConstNode> both = {b, document.root()};
  const auto found = neb::xml::locate(both, kBytes);
  EXPECT_TRUE(found->at(0).whole.begin == 17 && found->at(1).line == 2 && found->size() == 2);
  EXPECT_EQ(neb::xml::locate(both, "<a/>").error().code, kNotFound);
  EXPECT_EQ(Node().locate(kBytes).error().code, kInvalid);
  std::vector<neb::xml::Edit> edits(1);
  edits[0].kind = NEB_XML_EDIT_SET_VALUE;
  edits[0].node = b.get();
  edits[0].value = "y";
  std::string edited;
  EXPECT_TRUE(neb::xml::edit_bytes(kBytes, edits, edited));
  EXPECT_EQ(edited, "<!-- c -->\n<a>\n  <b c='1'>y</b>\n</a>");
  const std::string path = trees::temporaryFile("");
  EXPECT_TRUE(neb::xml::save_bytes(path, edited));
  EXPECT_EQ(trees::readFile(path), edited);
  EXPECT_EQ(neb::xml::save_bytes(std::string("a\0b", 3), edited).code(), kInvalid);
  const auto throws = [](std::string_view) { throw 1; };
  EXPECT_THROW((void)neb::xml::edit_bytes(kBytes, edits, throws), int);
}

// More than a part that a sink receives, and more than a test's own strings.
TEST(Wrapper, PassesExceptionsOnAndLeaksNothing) {
  Document document = *Document::create("a");
  EXPECT_TRUE(document.root().set(std::string(100'000, 'x')));
  EXPECT_TRUE(document.root().set_attribute("b", std::string(100'000, 'x')));
  const std::size_t before = guarded::outstanding();
  int parts = 0;
  const auto throwsLate = [&](std::string_view) {
    if (++parts == 3) throw parts;
  };
  EXPECT_THROW((void)document.print(throwsLate), int);
  EXPECT_EQ(parts, 3) << "and is not called again";
  std::ofstream closed;
  closed.exceptions(std::ios::badbit | std::ios::failbit);
  EXPECT_THROW((void)document.print(closed), std::ios::failure);
  g_newFails = true;
  EXPECT_THROW((void)document.to_string(), std::bad_alloc);
  g_newFails = false;
  EXPECT_EQ(guarded::outstanding(), before);
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
  EXPECT_EQ(*Document::parse_file(path).value().to_string(), *second.to_string());
}

}  // namespace
