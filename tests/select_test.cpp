// Finding by patterns.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "support/calls.h"
#include "support/data.h"
#include "support/guarded_hooks.h"
#include "support/tables.h"
#include "support/trees.h"

using tables::repeated;
using trees::Held;

namespace {

using Nodes = std::vector<const XmlNode *>;

NEB_XML_NODE_INFO infoOf(const XmlNode *node) {
  NEB_XML_NODE_INFO info = {};
  EXPECT_EQ(NEB_XML_GetNodeInfo(node, &info), kOk);
  return info;
}

std::string stringOf(const char *text) { return text == nullptr ? "" : text; }

Nodes selected(const XmlNode *start, const std::string &pattern) {
  Nodes found;
  NEB_XML_CURSOR cursor = {};
  uint32_t result = kOk;
  while ((result = NEB_XML_Select(start, pattern.c_str(), &cursor)) == kOk) {
    found.push_back(cursor.node);
  }
  EXPECT_EQ(result, kNotFound) << pattern;
  EXPECT_EQ(NEB_XML_Select(start, pattern.c_str(), &cursor), kNotFound) << pattern;
  EXPECT_EQ(cursor.node, nullptr);
  return found;
}

// The values of the matches, with a comma behind each.
std::string valuesOf(const XmlNode *start, const std::string &pattern) {
  std::string values;
  for (const XmlNode *node : selected(start, pattern)) values += stringOf(infoOf(node).value) + ",";
  return values;
}

// ---- What patterns find

constexpr char kDocument[] =
    "<r v='root'><a n='1' p:n='2'>1</a><p:a n='3'>2</p:a><b k='x'><a>3</a><c>4</c><b><a n=' x]'>5"
    "</a><c/></b></b><a.b>6</a.b><q t=\"it's\">7</q></r>";

void expectMistake(const XmlNode *start, std::string pattern) {
  const size_t mistake = pattern.find('^');
  pattern.erase(mistake, 1);
  NEB_XML_CURSOR cursor = {};
  EXPECT_EQ(NEB_XML_Select(start, pattern.c_str(), &cursor), NEB_XML_ERR_BAD_PATH) << pattern;
  EXPECT_EQ(cursor.offset, mistake) << pattern;
}

TEST(Select, FindsInDocumentOrderOrSaysWhereAPatternIsWrong) {
  const Held document{trees::parsed(kDocument)};
  for (const std::string &line : tables::linesOf("patterns.txt")) {
    if (line.find('^') != line.npos) {
      expectMistake(document, line);
      continue;
    }
    const size_t end = std::min(line.find("  "), line.size());
    const std::string values = valuesOf(document, line.substr(0, end));
    EXPECT_EQ((values.empty() ? "" : "  ") + values, line.substr(end)) << line;
  }
}

TEST(Select, FindsNamesThatNoDocumentHolds) {
  XmlNode *root = nullptr, *child = nullptr;
  ASSERT_EQ(NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, nullptr, "*", nullptr, &root), kOk);
  ASSERT_EQ(NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, "p[", "a]@\\", "v", &child), kOk);
  ASSERT_EQ(NEB_XML_AppendChildNode(root, child), kOk);
  ASSERT_EQ(NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, nullptr, nullptr, "w", &child), kOk);
  ASSERT_EQ(NEB_XML_AppendChildNode(root, child), kOk);
  for (const char *pattern : {"\\*.a\\]\\@\\", "\\*.p\\[:a\\]\\@\\", "*[a\\]\\@\\=v].*[1]"}) {
    EXPECT_EQ(valuesOf(root, pattern), "v,") << pattern;
  }
  EXPECT_EQ(valuesOf(root, "*.*"), "v,w,");
  NEB_XML_FreeNode(root);
}

TEST(Select, HasLimits) {
  const std::string name(509, 'n');
  const Held document{trees::parsed("<r><" + name + ">v</" + name + "></r>")};
  EXPECT_EQ(valuesOf(document, "r." + name), "v,");
  NEB_XML_CURSOR cursor = {};
  EXPECT_EQ(NEB_XML_Select(document, ("r.." + name).c_str(), &cursor), kInvalid);
  const Held deep{trees::parsed(repeated("<a>", 256) + "v" + repeated("</a>", 256))};
  EXPECT_EQ(valuesOf(deep, "a" + repeated(".a", 255)), "v,");
  EXPECT_EQ(valuesOf(deep, "a" + repeated(".**", 16) + repeated(".a", 32) + "[.=v]"), "v,");
  EXPECT_EQ(valuesOf(deep, "**" + repeated(".a.**", 15) + repeated(".a", 32) + "[.=v]"), "v,");
  EXPECT_EQ(selected(deep, repeated("[a]", 170).insert(0, "a")).size(), 1U);
  expectMistake(deep, "r.**" + repeated(".a", 32) + ".^a");
  expectMistake(deep, "r." + repeated("**.a.", 16) + "^**");
}

TEST(Select, RefusesAnotherSearchOnTheSameCursor) {
  const Held document{trees::parsed("<r><a>1</a><a>2</a></r>")};
  XmlNode *const child = NEB_XML_GetNodeFirstChild(document);
  NEB_XML_CURSOR cursor = {};
  ASSERT_EQ(NEB_XML_Select(document, "r.a", &cursor), kOk);
  EXPECT_EQ(NEB_XML_Select(document, "r.*", &cursor), kInvalid);
  EXPECT_EQ(NEB_XML_Select(child, "r.a", &cursor), kInvalid);
  EXPECT_EQ(cursor.node, child);
  ASSERT_EQ(NEB_XML_Select(document, std::string("r.a").c_str(), &cursor), kOk);
  EXPECT_EQ(stringOf(infoOf(cursor.node).value), "2");
}

// What a program may do to the tree between two calls.
TEST(Select, GoesOnInAChangedTree) {
  const Held document{trees::parsed(
      "<r><i><k/></i><i><k/></i><i><k/></i><i><k/></i><i><k/></i><i><k/></i></r>", false)};
  NEB_XML_CURSOR cursor = {};
  size_t found = 0;
  for (; NEB_XML_Select(document, "**.i[k]", &cursor) == kOk; ++found) {
    NEB_XML_FreeNode(NEB_XML_GetNodePrevSibling(cursor.node));
    NEB_XML_FreeNode(NEB_XML_GetNodeFirstChild(cursor.node));
    ASSERT_EQ(NEB_XML_SetNode(cursor.node, nullptr, nullptr, "seen"), kOk);
    if (found == 2) NEB_XML_FreeNode(NEB_XML_GetNodeNextSibling(cursor.node));
  }
  EXPECT_EQ(found, 5U);
  EXPECT_EQ(trees::printed(document), "<r>\n<i>seen</i>\n</r>\n");
}

// ---- Against a model

struct Test {
  std::string name;  // "*": any
  bool accepts(const XmlNode *node) const {
    const NEB_XML_NODE_INFO info = infoOf(node);
    if (name == "*") return true;
    if (name.find(':') == name.npos || info.prefix == nullptr) return name == stringOf(info.name);
    return name == std::string(info.prefix) + ":" + stringOf(info.name);
  }
};

struct Condition {
  char subject;  // '@', '/' or '.'
  Test test;
  std::optional<std::string> value;

  std::string text() const {
    const std::string what = subject == '.' ? "." : (subject == '@' ? "@" : "") + test.name;
    return "[" + what + (value ? "='" + *value + "'" : "") + "]";
  }
  bool holds(const XmlNode *node) const {
    const auto hasValue = [&](const XmlNode *each) {
      return !value || stringOf(infoOf(each).value) == *value;
    };
    if (subject == '.') return hasValue(node);
    const NEB_XML_NODE_INFO info = infoOf(node);
    const XmlNode *each = subject == '@' ? info.firstAttribute : info.firstChild;
    while (each != nullptr && !(test.accepts(each) && hasValue(each))) {
      each = NEB_XML_GetNodeNextSibling(each);
    }
    return each != nullptr;
  }
};

struct Segment {
  enum class Kind { name, anyDepth, attribute };
  Kind kind = Kind::name;
  Test test = {};
  size_t position = 0;
  std::vector<Condition> conditions = {};

  std::string text() const {
    if (kind == Kind::anyDepth) return "**";
    if (kind == Kind::attribute) return "@" + test.name;
    std::string text = test.name;
    if (position != 0) text += "[" + std::to_string(position) + "]";
    for (const Condition &each : conditions) text += each.text();
    return text;
  }
  bool accepts(const XmlNode *node, bool isStart) const {
    if (!test.accepts(node)) return false;
    size_t at = 1;
    const XmlNode *before = isStart ? nullptr : NEB_XML_GetNodePrevSibling(node);
    for (; before != nullptr; before = NEB_XML_GetNodePrevSibling(before)) {
      if (test.accepts(before)) ++at;
    }
    if (position != 0 && position != at) return false;
    for (const Condition &each : conditions) {
      if (!each.holds(node)) return false;
    }
    return true;
  }
};

using Segments = std::vector<Segment>;

std::string textOf(const Segments &segments) {
  std::string text;
  for (const Segment &each : segments) text += (text.empty() ? "" : ".") + each.text();
  return text;
}

// Whether the segments from one on match the path from a level on.
bool matches(const Segments &segments, size_t segment, const Nodes &path, size_t level) {
  if (segment == segments.size()) return level == path.size();
  const Segment &first = segments[segment];
  if (first.kind == Segment::Kind::anyDepth) {
    return matches(segments, segment + 1, path, level) ||
           (level < path.size() && matches(segments, segment, path, level + 1));
  }
  return level < path.size() && matches(segments, segment + 1, path, level + 1) &&
         first.accepts(path[level], level == 0);
}

void selectNaively(const Segments &segments, Nodes &path, Nodes &found) {
  const Segment &last = segments.back();
  const bool findsAttributes = last.kind == Segment::Kind::attribute;
  const NEB_XML_NODE_INFO info = infoOf(path.back());
  if (matches({segments.begin(), segments.end() - (findsAttributes ? 1 : 0)}, 0, path, 0)) {
    if (!findsAttributes) found.push_back(path.back());
    const XmlNode *each = findsAttributes ? info.firstAttribute : nullptr;
    for (; each != nullptr; each = NEB_XML_GetNodeNextSibling(each)) {
      if (last.test.accepts(each)) found.push_back(each);
    }
  }
  for (const XmlNode *child = info.firstChild; child != nullptr;
       child = NEB_XML_GetNodeNextSibling(child)) {
    path.push_back(child);
    selectNaively(segments, path, found);
    path.pop_back();
  }
}

void compare(const XmlNode *start, const Segments &segments) {
  Nodes expected, path = {start};
  selectNaively(segments, path, expected);
  const std::string text = textOf(segments);
  ASSERT_EQ(selected(start, text), expected) << text << "\n" << trees::printed(start);
}

class Chance {
 public:
  explicit Chance(unsigned seed) : random_(seed) {}
  size_t below(size_t count) { return random_() % count; }
  bool oneIn(size_t count) { return below(count) == 0; }
  template <typename Container>
  const auto &of(const Container &choices) {
    return choices[below(std::size(choices))];
  }

 private:
  std::mt19937 random_;
};

constexpr const char *kNames[] = {"a", "a", "a", "b", "p:a", "c"};
constexpr const char *kTests[] = {"a", "a", "b", "*", "*", "p:a"};
constexpr const char *kValues[] = {"", "1", "2"};
constexpr const char *kRareValue = "9";  // for which all children must be looked at

XmlNode *randomNode(Chance &chance) {
  const std::string name = chance.of(kNames);
  const bool hasPrefix = name.size() > 1;
  XmlNode *node = nullptr;
  uint32_t result = NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, hasPrefix ? "p" : nullptr,
                                       hasPrefix ? "a" : name.c_str(),
                                       chance.oneIn(30) ? kRareValue : chance.of(kValues), &node);
  if (chance.oneIn(4)) result |= NEB_XML_AddAttr(node, nullptr, "a", chance.of(kValues));
  if (chance.oneIn(8)) result |= NEB_XML_AddAttr(node, "p", "a", chance.of(kValues));
  EXPECT_EQ(result, kOk);
  return node;
}

// A node becomes the child of one of the last ones, or of the same one as others.
XmlNode *randomTree(Chance &chance) {
  const size_t count = 1 + chance.below(chance.oneIn(3) ? 300 : 30);
  const size_t reach = 1 + chance.below(6), width = 1 + chance.below(4);
  std::vector<XmlNode *> nodes = {randomNode(chance)};
  XmlNode *wide = nodes[0];
  while (nodes.size() < count) {
    XmlNode *const near = nodes[nodes.size() - 1 - chance.below(std::min(nodes.size(), reach))];
    if (chance.oneIn(20)) wide = chance.of(nodes);
    nodes.push_back(randomNode(chance));
    XmlNode *const parent = chance.oneIn(1 + width) ? near : wide;
    EXPECT_EQ(NEB_XML_AppendChildNode(parent, nodes.back()), kOk);
  }
  return nodes[0];
}

Condition randomCondition(Chance &chance) {
  const char subject = "@/."[chance.below(3)];
  Condition condition = {subject, {chance.of(kTests)}, {}};
  if (subject == '.' || chance.oneIn(2)) {
    condition.value = chance.oneIn(2) ? kRareValue : chance.of(kValues);
  }
  return condition;
}

// Every other pattern looks for chains of steps that take a look at siblings and children.
Segments randomPattern(Chance &chance) {
  const bool isSteep = chance.oneIn(2);
  Segments segments;
  if (isSteep) segments.push_back({Segment::Kind::anyDepth});
  for (size_t left = 1 + chance.below(isSteep ? 3 : 6); left > 0; --left) {
    if (chance.oneIn(isSteep ? 8 : 3)) {
      segments.push_back({Segment::Kind::anyDepth});
      continue;
    }
    Segment segment = {Segment::Kind::name, {isSteep ? "*" : chance.of(kTests)}};
    if (!segments.empty() && chance.oneIn(isSteep ? 2 : 4)) {
      segment.position = 1 + chance.below(chance.oneIn(3) ? 30 : 4);
    }
    while (chance.oneIn(3)) segment.conditions.push_back(randomCondition(chance));
    segments.push_back(segment);
  }
  if (chance.oneIn(5)) segments.push_back({Segment::Kind::attribute, {chance.of(kTests)}});
  return segments;
}

TEST(Select, EqualsAModelOnRandomTrees) {
  for (unsigned seed = 0; seed < 400; ++seed) {
    Chance chance(seed);
    const Held tree{randomTree(chance)};
    for (int i = 0; i < 60 && !HasFatalFailure(); ++i) compare(tree, randomPattern(chance));
  }
}

// Wide nodes inside each other: some of their many children have many children too.
std::string wideText(size_t levels) {
  const std::string narrow = "<a><b><c/></b><b><c/></b></a>";
  if (levels == 0) return narrow;
  const std::string child = "<a>" + wideText(levels - 1) + "</a>";
  return repeated(narrow, 19) + child + repeated(narrow, 4) + child + narrow;
}

TEST(Select, EqualsAModelOnWideNodes) {
  const Held tree{trees::parsed("<a>" + wideText(3) + "</a>")};
  Segments steps;
  for (const size_t position : {0U, 3U, 20U, 25U}) {
    steps.push_back({Segment::Kind::name, {"*"}, position});
  }
  steps.push_back({Segment::Kind::name, {"*"}, 0, {{'/', {"b"}, {}}}});
  const Segment anyDepth = {Segment::Kind::anyDepth};
  for (const Segment &first : steps) {
    for (const Segment &second : steps) {
      for (const Segment &third : steps) {
        compare(tree, {anyDepth, first, second, third});
        compare(tree, {anyDepth, first, anyDepth, second, third});
      }
    }
  }
}

}  // namespace
