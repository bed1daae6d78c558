// Nodes, names, attributes, insertion and copies.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <random>
#include <tuple>

#include "support/guarded_hooks.h"
#include "support/trees.h"
#include "xml/xml_node.h"

namespace {

using trees::described;
using trees::parsed;

constexpr uint32_t kOk = NEB_XML_OK, kInvalid = NEB_XML_ERR_INVALID_PARAM;
constexpr uint32_t kNotFound = NEB_XML_ERR_NOT_FOUND, kExists = NEB_XML_ERR_ALREADY_EXISTS;
using Text = const char *;
constexpr uint32_t (*kInserts[])(XmlNode *, XmlNode *) = {
    NEB_XML_AddFirstChildNode, NEB_XML_AppendChildNode, NEB_XML_AddNextSiblingNode,
    NEB_XML_AddPrevSiblingNode};

XmlNode *element(Text name, Text value = nullptr, uint32_t session = 0) {
  XmlNode *node = nullptr;
  EXPECT_EQ(NEB_XML_CreateNodeEx(session, NEB_XML_NODE_ELEMENT, nullptr, name, value, &node), kOk);
  return node;
}

XmlNode *child(const XmlNode *node, int index) {
  XmlNode *at = node->firstChild;
  while (index-- > 0) at = at->next;
  return at;
}

std::string bytesOf(const XmlNode *node) {
  return {reinterpret_cast<Text>(node), recordSize(static_cast<uint32_t>(node->type))};
}

TEST(Nodes, AreMadeDetachedInTheirStorage) {
  XmlNode *owner = parsed("<owner/>");
  const uint32_t home = owner->sessionId;
  for (const uint32_t type : {0U, 12U, 1U, 5U, 11U, 13U, 256U, 0xFFFFFFFFU}) {
    for (const uint32_t session : {0U, home}) {
      for (const std::string text : {"s", ""}) {
        Text given = text.empty() && session != 0 ? nullptr : text.c_str();
        XmlNode *nodes[2] = {owner, owner};
        const bool isGood = type == 0 || type == 12;
        const uint32_t result = isGood ? kOk : kInvalid;
        EXPECT_EQ(NEB_XML_CreateNode(type, given, given, given, &nodes[0]), result);
        EXPECT_EQ(NEB_XML_CreateNodeEx(session, type, given, given, given, &nodes[1]), result);
        for (XmlNode *node : nodes) {
          ASSERT_EQ(node == owner, !isGood) << type;
          if (!isGood) continue;
          EXPECT_EQ(described(node), std::to_string(type) + (text.empty() ? ":-=-" : ":s|s='s'"));
          EXPECT_EQ(node->nameOwned + node->valueOwned, text.empty() ? 0 : 2);
          EXPECT_TRUE(isDetached(node) && node->isDocument == (type == 12 ? 1 : 0));
          EXPECT_TRUE(type == 0 || node->nameTable[0][0] == '\0');
          const bool opens = type == 12 && node == nodes[1];
          EXPECT_TRUE(opens ? node->sessionId != 0 && node->sessionId != home
                            : node->sessionId == (node == nodes[0] ? 0 : session));
          NEB_XML_FreeNode(node);
        }
      }
    }
  }
  for (const auto &[type, size] : {std::pair(1U, 56U), {12U, 208U}, {0U, 88U}, {0x180U, 88U}}) {
    XmlNode *node = XML_NewNode(0, type);
    XmlNode *carved = XML_NewNode(home, type);
    const size_t holders = type == 12 ? 4 : 0;
    EXPECT_EQ(guarded::mallocSizes().back(), size + holders);
    EXPECT_EQ(XML_MemSpecialMalloc(home, 1), reinterpret_cast<char *>(carved) + size);
    int32_t read = 0;
    EXPECT_EQ(NEB_XML_GetNodeValue(node, &read, nullptr, nullptr, nullptr), kOk);
    EXPECT_EQ(read, static_cast<int8_t>(type));
    NEB_XML_FreeNode(node);
  }
  NEB_XML_FreeNode(owner);
}

TEST(Nodes, StringsAreReplacedClearedAndMayBeTheirOwn) {
  const std::tuple<Text, Text, Text, Text> rows[] = {{nullptr, nullptr, nullptr, "p|n='v'"},
                                                     {"", nullptr, nullptr, "n='v'"},
                                                     {nullptr, "", nullptr, "p|-='v'"},
                                                     {nullptr, nullptr, "", "p|n=-"},
                                                     {"", "", "", "-=-"},
                                                     {"q", nullptr, nullptr, "q|n='v'"},
                                                     {nullptr, "m", "", "p|m=-"},
                                                     {"", "m", "w", "m='w'"},
                                                     {"N", "V", "P", "n|v='p'"},
                                                     {"", "P", "", "p=-"},
                                                     {"P", "N", "V", "p|n='v'"},
                                                     {"", "", "N", "-='n'"}};
  for (const int kind : {0, 1, 2, 3}) {  // element or attribute, of the hooks or of a session
    XmlNode *document = parsed("<e x='y'/>", kind % 2 == 1);
    for (const auto &[prefix, name, value, expected] : rows) {
      XmlNode *node = kind < 2 ? document : document->firstAttr;
      ASSERT_EQ(NEB_XML_SetNode(node, "p", "n", "v"), kOk);
      const auto own = [node](Text text) -> Text {  // a capital stands for the node's own string
        if (text == nullptr || std::strchr("PNV", text[0]) == nullptr || *text == '\0') return text;
        return text[0] == 'P' ? node->prefix : text[0] == 'N' ? node->name : node->value;
      };
      EXPECT_EQ(NEB_XML_SetNode(node, own(prefix), own(name), own(value)), kOk);
      const std::string whole = described(document);
      EXPECT_NE((whole + " ").find((kind < 2 ? ":" : " ") + std::string(expected) + " "),
                whole.npos)
          << whole << " for " << expected;
    }
    NEB_XML_SetNode(document, "long-prefix", "", nullptr);
    NEB_XML_SetNode(document, document->prefix + 5, document->prefix + 1, document->prefix + 9);
    EXPECT_TRUE(described(document).starts_with("12:prefix|ong-prefix='ix' "));
    NEB_XML_FreeNode(document);
  }
}

TEST(Nodes, AreTakenOutAndReleasedAlone) {
  constexpr Text kLeft[] = {"(0:b=-(0:c='t'),0:d=-)", "(0:a=-,0:d=-)", "(0:a=-,0:b=-(0:c='t'))"};
  for (const bool withSession : {false, true}) {
    for (const int which : {0, 1, 2}) {
      XmlNode *document = parsed("<r><a/><b><c>t</c></b><d/></r>", withSession);
      XmlNode *node = child(document, which);
      EXPECT_EQ(NEB_XML_RemoveNode(node), kOk);
      EXPECT_TRUE(isDetached(node));
      EXPECT_EQ(NEB_XML_RemoveNode(node), kInvalid);
      EXPECT_EQ(described(document), std::string("12:r=-") + kLeft[which]);
      NEB_XML_AppendChildNode(document, node);
      const size_t released = guarded::releases();
      NEB_XML_FreeNode(node);
      EXPECT_EQ(described(document), std::string("12:r=-") + kLeft[which]);
      EXPECT_EQ(guarded::releases() - released, withSession ? 0U : which == 1 ? 4U : 1U);
      EXPECT_EQ(NEB_XML_RemoveNode(document), kInvalid);
      while (document->firstChild != nullptr) NEB_XML_FreeNode(child(document, 0));
      EXPECT_TRUE(document->lastChild == nullptr);
      NEB_XML_FreeNode(document);
    }
  }
  XmlNode *alone = element("alone", "value");
  XmlNode *below = element("below");
  NEB_XML_AppendChildNode(alone, below);
  XmlNode *attribute = XML_NewNode(0, NEB_XML_NODE_ATTRIBUTE);
  XML_SetNode(nullptr, attribute, "p", "n", "v");
  const size_t outstanding = guarded::outstanding();
  below->parent = nullptr;
  XML_FreeSingleNode(alone);
  EXPECT_EQ(guarded::outstanding(), outstanding - 3) << "the child stays";
  XML_FreeSingleNode(below);
  XML_FreeSingleAttrNode(attribute);
  for (auto *const release :
       {XML_FreeSingleNode, XML_FreeSingleAttrNode, XML_FreeNode, NEB_XML_FreeNode}) {
    release(nullptr);
  }
}

// What a session has below a node of the hooks forgets it when the node goes alone.
TEST(Nodes, AreReleasedAloneFromAboveNodesOfASession) {
  XmlNode *document = parsed("<r><a/><b/></r>", true);
  XmlNode *node = element("node");
  ASSERT_EQ(NEB_XML_AppendChildNode(document, node), kOk);
  XmlNode *attribute = XML_NewNode(document->sessionId, NEB_XML_NODE_ATTRIBUTE);
  XML_SetNode(document, attribute, nullptr, "n", "v");
  ASSERT_EQ(XML_AddAttrNode(attribute, node), kOk);
  XmlNode *below[] = {child(document, 0), child(document, 1)};
  for (XmlNode *each : below) {
    NEB_XML_RemoveNode(each);
    ASSERT_EQ(NEB_XML_AppendChildNode(node, each), kOk);
  }
  XML_FreeSingleNode(below[0]);
  EXPECT_EQ(described(document), "12:r=-(0:node=- n='v'(0:a=-,0:b=-))");
  NEB_XML_RemoveNode(node);
  XML_FreeSingleNode(node);
  for (const XmlNode *each : below) EXPECT_TRUE(isDetached(each));
  EXPECT_TRUE(attribute->parent == nullptr && attribute->next == nullptr);
  NEB_XML_FreeNode(document);
}

// A parse of several top-level elements gives a chain of nodes that is nobody's tree.
TEST(Chain, RefusesChangesThatNeedATopmostNode) {
  for (const bool withSession : {false, true}) {
    XmlNode *document = parsed("<a x='1'/><b x='2'><c/></b><d/>", withSession);
    const std::string whole = described(document);
    for (XmlNode *node : {document, document->next, child(document->next, 0)}) {
      const uint32_t number = 1;
      XmlNode *copy = nullptr;
      EXPECT_EQ(NEB_XML_AddAttr(node, nullptr, "y", "1"), kInvalid);
      EXPECT_EQ(NEB_XML_SetAttrValueEx(node, nullptr, "y", NEB_XML_VALUE_BOOL, &number), kInvalid);
      EXPECT_EQ(NEB_XML_SetAttr(node, nullptr, "y", "1"), kNotFound);
      EXPECT_EQ(NEB_XML_SetAttr(node, nullptr, "x", "1"),
                node->firstAttr == nullptr ? kNotFound : kInvalid);
      EXPECT_EQ(NEB_XML_CloneNode(node, &copy), kInvalid);
      EXPECT_TRUE(NEB_XML_CloneNodeSelf(node, &copy) == kInvalid && copy == nullptr);
    }
    EXPECT_EQ(described(document), whole);
    EXPECT_TRUE(NEB_XML_Iterator(child(document->next, 0)) == document->next->next);
    XmlNode *second = document->next;
    XmlNode *third = second->next;
    EXPECT_EQ(NEB_XML_RemoveNode(second), kOk);
    EXPECT_EQ(NEB_XML_AddAttr(second, nullptr, "y", "1"), kOk);
    EXPECT_EQ(described(document), "12:a=- x='1',0:d=-");
    EXPECT_EQ(described(second), "0:b=- x='2' y='1'(0:c=-)");
    if (!withSession) NEB_XML_FreeNode(second);
    NEB_XML_FreeNode(document);
    if (!withSession) NEB_XML_FreeNode(third);
    if (!withSession) XML_FreeNode(parsed("<a/><b c='d'>e</b><f/>", false));
  }
}

TEST(Navigation, VisitsInDocumentOrder) {
  XmlNode *document = parsed("<d x='y'><r><a><a1/></a><b/></r></d><e/>");
  std::string names;
  for (const XmlNode *node = document; node != nullptr; node = NEB_XML_Iterator(node)) {
    const char *strings[3];
    int32_t type = -1;
    EXPECT_EQ(NEB_XML_GetNodeValue(node, &type, &strings[0], &strings[1], &strings[2]), kOk);
    EXPECT_TRUE(strings[0] == nullptr && strings[1] == node->name && strings[2] == nullptr);
    uint32_t count = 0;
    EXPECT_EQ(NEB_XML_GetNodeChildNum(node, &count), kOk);
    names += std::to_string(type) + strings[1] + std::to_string(count) + " ";
    EXPECT_TRUE(NEB_XML_GetNodeParent(node) == node->parent);
    EXPECT_TRUE(NEB_XML_GetNodeFirstChild(node) == node->firstChild);
    EXPECT_TRUE(NEB_XML_GetNodeLastChild(node) == node->lastChild);
    EXPECT_TRUE(NEB_XML_GetNodeNextSibling(node) == node->next);
    EXPECT_TRUE(NEB_XML_GetNodePrevSibling(node) == node->prev);
  }
  EXPECT_EQ(names, "12d1 0r2 0a1 0a10 0b0 0e0 ");
  NEB_XML_FreeNode(document);
}

// Gives a name to the tree in one of seven ways, and the node that bears it.
XmlNode *addNamed(int way, XmlNode *document, Text name) {
  const uint32_t number = 1;
  XmlNode *place = way < 2 ? document : child(document, 0);
  if (way < 4) {
    XmlNode *node = element(name);
    NEB_XML_AddAttr(node, nullptr, "not-interned-with-its-node", nullptr);
    EXPECT_EQ(kInserts[way](place, node), kOk);
    return node;
  }
  NEB_XML_RemoveAttr(place, nullptr, name);
  if (way == 4) {
    XmlNode *attribute = XML_NewNode(document->sessionId, NEB_XML_NODE_ATTRIBUTE);
    XML_SetNode(document, attribute, nullptr, name, "old");
    EXPECT_EQ(XML_AddAttrNode(attribute, place), kOk);
    EXPECT_EQ(attribute->nameOwned, 1);
    EXPECT_EQ(NEB_XML_SetAttr(place, nullptr, name, "new"), kOk);
  } else if (way == 5) {
    EXPECT_EQ(NEB_XML_AddAttr(place, nullptr, name, "new"), kOk);
  } else {
    EXPECT_EQ(NEB_XML_SetAttrValueEx(place, nullptr, name, NEB_XML_VALUE_INT8, &number), kOk);
  }
  XmlNode *attribute = place->firstAttr;
  while (attribute->next != nullptr) attribute = attribute->next;
  return attribute;
}

TEST(NameTable, SharesTenShortNames) {
  std::mt19937 random(6);
  for (int round = 0; round < 100; ++round) {
    const bool withSession = round % 2 == 0;
    XmlNode *document = parsed("<d><first/></d>", withSession);
    std::vector<std::string> slots;
    for (int i = 0; i < 60; ++i) {
      std::string name(random() % 2 == 0 ? 1 + random() % 2 : 10 + random() % 4, 'n');
      name.back() = "abAcdB"[random() % 6];
      const size_t released = guarded::releases();
      const int way = static_cast<int>(random() % 7);
      const XmlNode *node = addNamed(way, document, name.c_str());
      auto slot = std::find(slots.begin(), slots.end(), name);
      if (slot == slots.end() && slots.size() < 10 && name.size() <= 11) {
        slot = slots.insert(slot, name);
      }
      const bool isInterned = slot != slots.end();
      const Text expected = isInterned ? document->nameTable[slot - slots.begin()] : node->name;
      ASSERT_TRUE(node->name == expected && node->name == name) << name << " way " << way;
      ASSERT_EQ(node->nameOwned, isInterned ? 0 : 1) << name << " way " << way;
      const size_t given = guarded::releases() - released;
      ASSERT_TRUE(given == (isInterned && !withSession ? 1U : 0U) || (!withSession && way >= 4));
    }
    NEB_XML_SetNode(child(document, 0), nullptr, "other", nullptr);
    EXPECT_EQ(child(document, 0)->nameOwned, 1);
    for (size_t i = 0; i < slots.size(); ++i) EXPECT_EQ(document->nameTable[i], slots[i]);
    NEB_XML_FreeNode(document);
  }
  XmlNode *document = parsed("<d/>", false);
  XmlNode *cleared = element("cleared");
  NEB_XML_SetNode(cleared, nullptr, "", nullptr);
  NEB_XML_AppendChildNode(document, cleared);
  NEB_XML_AppendChildNode(cleared, element("later"));
  EXPECT_EQ(described(document), "12:d=-(0:-=-(0:later=-))");
  NEB_XML_RemoveNode(cleared);
  NEB_XML_AppendChildNode(cleared, element("apart"));
  EXPECT_EQ(child(cleared, 1)->nameOwned, 1) << "the topmost node is an element";
  NEB_XML_FreeNode(cleared);
  NEB_XML_FreeNode(document);
}

// Of the attributes a, p:a and b: which one an exact prefix finds, which one an empty prefix that
// counts as none, and what adding says.
TEST(Attributes, AreFoundByPrefixAndName) {
  const std::tuple<Text, Text, int, int, uint32_t> rows[] = {
      {nullptr, "a", 0, 0, kExists}, {"", "a", -1, 0, kExists},      {"p", "a", 1, 1, kExists},
      {nullptr, "b", 2, 2, kExists}, {"", "b", -1, 2, kExists},      {"p", "b", -1, -1, kOk},
      {nullptr, "A", -1, -1, kOk},   {"P", "a", -1, -1, kOk},        {"q", "c", -1, -1, kOk},
      {nullptr, "p:a", -1, -1, kOk}, {nullptr, "", -1, -1, kInvalid}};
  constexpr Text kStrings[3][3] = {{nullptr, "a", "1"}, {"p", "a", "2"}, {nullptr, "b", nullptr}};
  for (const auto &[prefix, name, exact, loose, added] : rows) {
    XmlNode *nodes[4];
    for (XmlNode *&node : nodes) {
      node = element("e");
      for (const auto &[p, n, v] : kStrings) EXPECT_EQ(NEB_XML_AddAttr(node, p, n, v), kOk);
    }
    const uint32_t changed = loose < 0 ? kNotFound : kOk;
    const bool hasNext = exact == 0 || exact == 1;
    Text value = "-", next[3] = {"-", "-", "-"};
    EXPECT_EQ(NEB_XML_GetAttr(nodes[0], prefix, name, &value), exact < 0 ? kNotFound : kOk);
    EXPECT_STREQ(value, exact < 0 ? "-" : kStrings[exact][2]);
    EXPECT_EQ(NEB_XML_GetNextSiblingAttr(nodes[0], prefix, name, &next[0], &next[1], &next[2]),
              hasNext ? kOk : kNotFound);
    for (int i : {0, 1, 2}) EXPECT_STREQ(next[i], hasNext ? kStrings[exact + 1][i] : "-");
    EXPECT_EQ(NEB_XML_RemoveAttr(nodes[0], prefix, name), changed);
    EXPECT_EQ(NEB_XML_SetAttr(nodes[1], prefix, name, "new"), changed);
    EXPECT_EQ(NEB_XML_SetAttr(nodes[2], prefix, name, ""), changed);
    EXPECT_EQ(NEB_XML_AddAttr(nodes[3], prefix, name, "3"), added);
    for (const size_t which : {0U, 1U, 2U, 3U}) {
      std::string parts[] = {" a='1'", " p|a='2'", " b=-", ""};
      const std::string label = (prefix == nullptr ? "" : prefix + std::string("|")) + name;
      const std::string shown[] = {"", " " + std::string(loose == 1 ? "p|a" : name) + "='new'",
                                   " " + std::string(loose == 1 ? "p|a" : name) + "=-"};
      if (which < 3 && loose >= 0) parts[loose] = shown[which];
      if (which == 3 && added == kOk) parts[3] = " " + label + "='3'";
      EXPECT_EQ(described(nodes[which]), "0:e=-" + parts[0] + parts[1] + parts[2] + parts[3]);
      NEB_XML_FreeNode(nodes[which]);
    }
  }
}

TEST(Attributes, AreReadWithACursorInOrder) {
  XmlNode *node = element("e");
  Text out[3] = {"kept", "kept", "kept"};
  XmlNode *cursor = nullptr;
  EXPECT_EQ(NEB_XML_GetFirstAttr(node, &out[0], &out[1], &out[2]), kNotFound);
  EXPECT_EQ(NEB_XML_GetNextSiblingAttrEx(node, &out[0], &out[1], &out[2], &cursor), kNotFound);
  cursor = node;
  EXPECT_EQ(NEB_XML_GetNextSiblingAttrEx(node, &out[0], &out[1], &out[2], &cursor), kInvalid);
  for (const Text text : out) EXPECT_STREQ(text, "kept");
  NEB_XML_AddAttr(node, nullptr, "alias", "0123");
  NEB_XML_SetAttr(node, nullptr, node->firstAttr->name, node->firstAttr->value + 2);
  NEB_XML_AddAttr(node, node->firstAttr->name, node->name, node->firstAttr->value);
  EXPECT_EQ(described(node), "0:e=- alias='23' alias|e='23'");
  EXPECT_EQ(NEB_XML_GetFirstAttrEx(node, &out[0], &out[1], &out[2], nullptr), kOk);
  EXPECT_EQ(NEB_XML_GetFirstAttrEx(node, &out[0], &out[1], &out[2], &cursor), kOk);
  EXPECT_TRUE(out[0] == nullptr && out[1] == cursor->name && out[2] == cursor->value);
  EXPECT_TRUE(cursor == node->firstAttr);
  XmlNode *other = element("other");
  EXPECT_EQ(NEB_XML_GetNextSiblingAttrEx(other, &out[0], &out[1], &out[2], &cursor), kInvalid);
  EXPECT_TRUE(cursor == node->firstAttr) << "another element's";
  NEB_XML_FreeNode(other);
  for (XmlNode *start : {cursor, static_cast<XmlNode *>(nullptr)}) {
    cursor = start;
    for (XmlNode *at = start == nullptr ? node->firstAttr : start->next; at != nullptr;) {
      EXPECT_EQ(NEB_XML_GetNextSiblingAttrEx(node, &out[0], &out[1], &out[2], &cursor), kOk);
      EXPECT_TRUE(cursor == at && out[0] == at->prefix && out[1] == at->name);
      EXPECT_TRUE(out[2] == at->value);
      at = at->next;
    }
    EXPECT_EQ(NEB_XML_GetNextSiblingAttrEx(node, &out[0], &out[1], &out[2], &cursor), kNotFound);
    EXPECT_TRUE(cursor == nullptr);
  }
  NEB_XML_FreeNode(node);
}

TEST(Attributes, AreNotRenamedToOneThatIsThere) {
  const std::tuple<Text, Text, uint32_t> rows[] = {
      {nullptr, "b", kExists}, {"", "b", kExists},  {"p", "b", kOk},     {"p", "c", kExists},
      {"p", nullptr, kOk},     {nullptr, "a", kOk}, {nullptr, "d", kOk}, {nullptr, nullptr, kOk}};
  for (const auto &[prefix, name, result] : rows) {
    XmlNode *node = parsed("<e a='1' b='2' p:c='3'/>");
    EXPECT_EQ(NEB_XML_SetNode(node->firstAttr, prefix, name, "new"), result);
    const bool isSame = described(node) == "12:e=- a='1' b='2' p|c='3'";
    EXPECT_EQ(isSame, result == kExists) << described(node);
    NEB_XML_FreeNode(node);
  }
}

// One node of every kind, each under a letter.
struct World {
  std::map<char, XmlNode *> of;
  World() {
    of['S'] = parsed("<S x='y'><s/><d/><t/></S>");
    of['T'] = parsed("<T/>");
    of['E'] = element("E");
    of['C'] = element("C");
    of['G'] = element("G");
    NEB_XML_AppendChildNode(of['E'], of['C']);
    NEB_XML_AppendChildNode(of['C'], of['G']);
    NEB_XML_AddAttr(of['E'], nullptr, "a", "1");
    of['A'] = of['E']->firstAttr;
    of['s'] = child(of['S'], 0);
    of['d'] = child(of['S'], 1);
    NEB_XML_RemoveNode(of['d']);
    of['D'] = element("D");
    of['L'] = element("L");
    NEB_XML_AppendChildNode(of['s'], of['L']);
    NEB_XML_RemoveNode(of['L']);
    NEB_XML_CreateNode(NEB_XML_NODE_DOCUMENT, nullptr, "H", nullptr, &of['H']);
    of['B'] = XML_NewNode(0, NEB_XML_NODE_ATTRIBUTE);
    of['O'] = XML_NewNode(0, 5);
    of['X'] = parsed("<x/><y><k/></y>", false);
    of['Y'] = of['X']->next;
    of['K'] = child(of['Y'], 0);
  }
  ~World() {
    std::string roots;
    for (const char each : std::string("EDHLOBXY")) {
      if (of[each]->parent == nullptr) roots += each;
    }
    for (const char each : roots + "ST") NEB_XML_FreeNode(of[each]);
  }
  std::string bytes() const {
    std::string all;
    for (const auto &[letter, node] : of) all += node == nullptr ? "" : bytesOf(node);
    return all;
  }
};

// Says for each place and node: not at all, as a child, or both as a child and as a sibling. What
// is not in the table is refused, and everything refused leaves every byte of every node as it was.
TEST(Insertion, AcceptsExactlyTheseNodesAtThesePlaces) {
  const std::string nodes = "EDHOdL", others = "CGsSTABXYK-";
  const std::pair<char, std::string> places[] = {
      {'E', " ccc  "}, {'C', " bcb  "}, {'G', " bcb  "}, {'D', "c cc  "}, {'H', "cc c  "},
      {'S', "cccccc"}, {'s', "bbcbbb"}, {'d', "cccc c"}, {'T', "cccc  "}, {'L', "cccc  "}};
  for (const char place : nodes + others) {
    for (const char node : nodes + others) {
      char allowed = ' ';
      for (const auto &[at, row] : places) {
        const size_t column = nodes.find(node);
        if (at == place && column != std::string::npos) allowed = row[column];
      }
      for (const int way : {0, 1, 2, 3}) {
        World world;
        XmlNode *to = world.of[place];
        XmlNode *made = world.of[node];
        const std::string before = world.bytes();
        const bool isAllowed = way < 2 ? allowed != ' ' : allowed == 'b';
        ASSERT_EQ(kInserts[way](to, made), isAllowed ? kOk : kInvalid) << place << node << way;
        ASSERT_EQ(world.bytes() == before, !isAllowed) << place << node << way;
      }
    }
  }
}

TEST(Insertion, PutsNodesWhereAsked) {
  for (const bool withSession : {false, true}) {
    XmlNode *document = parsed("<P/>", withSession);
    const std::tuple<int, int, Text, Text> rows[] = {
        {1, -1, "A", "A"},      {1, -1, "B", "AB"},      {0, -1, "C", "CAB"},
        {2, 2, "D", "CABD"},    {3, 0, "E", "ECABD"},    {2, 0, "F", "EFCABD"},
        {3, 5, "G", "EFCABGD"}, {0, -1, "H", "HEFCABGD"}};
    for (const auto &[way, at, name, order] : rows) {
      XmlNode *place = at < 0 ? document : child(document, at);
      EXPECT_EQ(kInserts[way](place, element(name, nullptr, document->sessionId)), kOk);
      std::string expected = "12:P=-(";
      for (const char each : std::string(order)) expected += std::string("0:") + each + "=-,";
      expected.back() = ')';
      EXPECT_EQ(described(document), expected);
    }
    XmlNode *inner = nullptr;
    NEB_XML_CreateNode(NEB_XML_NODE_DOCUMENT, nullptr, "inner", nullptr, &inner);
    EXPECT_EQ(NEB_XML_AppendChildNode(child(document, 3), inner), kOk);
    EXPECT_EQ(NEB_XML_AppendChildNode(inner, element("x")), kOk);
    EXPECT_TRUE(inner->nameTable[0][0] == '\0') << "names go to the topmost document";
    XmlNode *copy = nullptr;
    EXPECT_EQ(NEB_XML_CloneNode(inner, &copy), kOk);
    EXPECT_TRUE(described(copy) == "12:inner=-(0:x=-)" && copy->isDocument == 1);
    EXPECT_TRUE(copy->sessionId == document->sessionId);
    NEB_XML_FreeNode(copy);
    NEB_XML_FreeNode(inner);
    NEB_XML_FreeNode(child(document, 0));
    EXPECT_EQ(XML_MemSpecialMalloc(document->sessionId, 1) != nullptr, withSession);
    NEB_XML_FreeNode(document);
  }
}

enum class Attributes { refused, accepted };

// Expects a call to be refused, and to change nothing, when any of its pointers is null or any of
// its nodes an attribute. Pointers that may be null are given as null.
class Refusing {
 public:
  Refusing() {
    NEB_XML_AddAttr(node, nullptr, "a", "1");
    NEB_XML_AddAttr(node, nullptr, "b", "2");
    NEB_XML_AppendChildNode(node, element("c"));
    XML_SetNode(nullptr, detached, nullptr, "d", "1");
  }
  ~Refusing() {
    NEB_XML_FreeNode(node);
    NEB_XML_FreeNode(detached);
  }

  template <typename... Arguments>
  void check(Attributes attributes, uint32_t (*call)(Arguments...),
             std::type_identity_t<Arguments>... arguments) {
    ++calls_;
    const auto expectRefused = [&](auto &argument, auto wrong) {
      const auto right = argument;
      const std::string before = bytes();
      const size_t allocations = guarded::allocations();
      argument = wrong;
      EXPECT_EQ(call(arguments...), kInvalid) << "call " << calls_;
      EXPECT_TRUE(bytes() == before && guarded::allocations() == allocations) << "call " << calls_;
      argument = right;
    };
    const auto tryWrong = [&](auto &argument) {
      using Argument = std::remove_reference_t<decltype(argument)>;
      if constexpr (std::is_pointer_v<Argument>) {
        if (argument == nullptr) return;
        expectRefused(argument, static_cast<Argument>(nullptr));
        using Pointed = std::remove_const_t<std::remove_pointer_t<Argument>>;
        if constexpr (std::is_same_v<Pointed, XmlNode>) {
          if (attributes == Attributes::accepted) return;
          expectRefused(argument, node->firstAttr);
          expectRefused(argument, detached);
        }
      }
    };
    (tryWrong(arguments), ...);
  }

  std::string bytes() const {
    std::string all = std::to_string(number) + (text == nullptr && made == nullptr ? "" : "given");
    for (const XmlNode *each : {node, node->firstAttr, node->firstChild, detached}) {
      all += bytesOf(each);
    }
    return all + (printedText == nullptr ? "" : "printed");
  }

  XmlNode *node = element("e");
  XmlNode *detached = XML_NewNode(0, NEB_XML_NODE_ATTRIBUTE);
  XmlNode *made = nullptr;
  Text text = nullptr;
  char *printedText = nullptr;
  uint32_t number = 5;

 private:
  int calls_ = 0;
};

TEST(Arguments, OfTheWrongKindChangeNothing) {
  Refusing with;
  constexpr auto kRefused = Attributes::refused, kAccepted = Attributes::accepted;
  XmlNode *n = with.node, *other = element("other"), *child = with.node->firstChild;
  XmlNode **out = &with.made;
  Text *text = &with.text;
  uint32_t *number = &with.number;
  with.check(kRefused, NEB_XML_Parse, "<a/>", out);
  with.check(kRefused, NEB_XML_ParseEx, "<a/>", out);
  with.check(kRefused, NEB_XML_ParseFile, "no", out);
  with.check(kRefused, NEB_XML_ParseFileEx, "no", out);
  with.check(kRefused, NEB_XML_CreateNode, 0, nullptr, nullptr, nullptr, out);
  with.check(kRefused, NEB_XML_CreateNodeEx, 0, 12, nullptr, nullptr, nullptr, out);
  with.check(kAccepted, NEB_XML_SetNode, n, nullptr, nullptr, nullptr);
  with.check(kRefused, NEB_XML_RemoveNode, child);
  with.check(kRefused, NEB_XML_GetNodeChildNum, n, number);
  with.check(kAccepted, NEB_XML_GetNodeValue, n, nullptr, nullptr, nullptr, nullptr);
  with.check(kRefused, NEB_XML_GetAttr, n, nullptr, "a", text);
  with.check(kRefused, NEB_XML_GetFirstAttr, n, text, text, text);
  with.check(kRefused, NEB_XML_GetFirstAttrEx, n, text, text, text, nullptr);
  with.check(kRefused, NEB_XML_GetNextSiblingAttr, n, nullptr, "a", text, text, text);
  with.check(kRefused, NEB_XML_GetNextSiblingAttrEx, n, text, text, text, out);
  with.check(kRefused, NEB_XML_AddAttr, n, nullptr, "z", nullptr);
  with.check(kRefused, NEB_XML_SetAttr, n, nullptr, "a", nullptr);
  with.check(kRefused, NEB_XML_RemoveAttr, n, nullptr, "a");
  for (const auto insert : kInserts) with.check(kRefused, insert, child, other);
  with.check(kAccepted, NEB_XML_SetNodeValueEx, n, NEB_XML_VALUE_BOOL, number);
  with.check(kAccepted, NEB_XML_GetNodeValueEx, with.detached, NEB_XML_VALUE_BOOL, number);
  with.check(kRefused, NEB_XML_SetAttrValueEx, n, nullptr, "a", NEB_XML_VALUE_BOOL, number);
  with.check(kRefused, NEB_XML_GetAttrValueEx, n, nullptr, "a", NEB_XML_VALUE_BOOL, number);
  with.check(kRefused, NEB_XML_CloneNode, n, out);
  with.check(kRefused, NEB_XML_CloneNodeSelf, n, out);
  with.check(kRefused, NEB_XML_GetNodeByUrl, n, "e", out);
  with.check(kRefused, NEB_XML_Transform, n, &with.printedText);
  with.check(kRefused, NEB_XML_TransformHead, n, &with.printedText);
  with.check(kRefused, NEB_XML_TransformTail, n, &with.printedText);
  with.check(kRefused, NEB_XML_TransformFile, n, "no");
  with.check(kAccepted, XML_AddAttrNode, with.detached, n);
  for (XmlNode *attribute : {n, n->firstAttr}) EXPECT_EQ(XML_AddAttrNode(attribute, n), kInvalid);
  EXPECT_EQ(XML_AddAttrNode(with.detached, with.detached), kInvalid);
  EXPECT_EQ(NEB_XML_SetNodeValueEx(n, 7, number), kInvalid);
  NEB_XML_FreeNode(n->firstAttr);
  NEB_XML_FreeNode(other);
  for (XmlNode *node : {static_cast<XmlNode *>(nullptr), n->firstAttr, with.detached}) {
    for (auto *const get : {NEB_XML_GetNodeFirstChild, NEB_XML_GetNodeLastChild,
                            NEB_XML_GetNodePrevSibling, NEB_XML_Iterator}) {
      EXPECT_TRUE(get(node) == nullptr);
    }
    const bool isAttached = node == n->firstAttr;
    EXPECT_TRUE(NEB_XML_GetNodeParent(node) == (isAttached ? n : nullptr));
    EXPECT_TRUE((NEB_XML_GetNodeNextSibling(node) != nullptr) == isAttached);
    if (node == nullptr) continue;
    EXPECT_EQ(NEB_XML_SetNodeValueEx(node, NEB_XML_VALUE_UINT32, number), kOk);
    EXPECT_EQ(NEB_XML_GetNodeValueEx(node, NEB_XML_VALUE_UINT32, number), kOk);
    EXPECT_EQ(NEB_XML_SetNode(node, "p", nullptr, nullptr), kOk);
    EXPECT_EQ(XML_SetNode(node, node, nullptr, "n", nullptr), kOk);
  }
  EXPECT_EQ(described(n), "0:e=- p|n='5' b='2'(0:c=-)");
}

void expectCopiesInTheStorageOfTheSource() {
  for (const bool withSession : {false, true}) {
    XmlNode *document = parsed(
        "<p:r a='1' q:b='2'><x c='3'><y><z>t</z></y><y d=''/></x><w>u</w></p:r>", withSession);
    NEB_XML_SetAttr(document, nullptr, "a", "1");
    char empty[] = "";
    XmlNode *last = document->lastChild;
    NEB_XML_AddAttr(last, "q", "interned", nullptr);
    last->firstAttr->value = empty;
    const std::string whole = described(document);
    const std::string inner = "0:x=- c='3'(0:y=-(0:z='t'),0:y=- d=-)";
    std::string sources;
    for (const XmlNode *node = document; node != nullptr; node = NEB_XML_Iterator(node)) {
      sources += bytesOf(node);
    }
    XmlNode *copies[3] = {};
    EXPECT_EQ(NEB_XML_CloneNode(document, &copies[0]), kOk);
    EXPECT_EQ(NEB_XML_CloneNode(child(document, 0), &copies[1]), kOk);
    EXPECT_EQ(NEB_XML_CloneNodeSelf(document, &copies[2]), kOk);
    std::string after;
    for (const XmlNode *node = document; node != nullptr; node = NEB_XML_Iterator(node)) {
      after += bytesOf(node);
    }
    EXPECT_TRUE(after == sources) << "the source is not written to";
    std::string copied = whole;
    copied.replace(copied.find("interned=''"), 11, "interned=-");
    EXPECT_EQ(described(copies[0]), copied);
    EXPECT_EQ(described(copies[1]), inner);
    EXPECT_EQ(described(copies[2]), "12:p|r=- a='1' q|b='2'");
    for (XmlNode *copy : copies) {
      EXPECT_TRUE(isDetached(copy));
      const bool isDocument = copy->isDocument == 1;
      EXPECT_EQ(copy->sessionId == document->sessionId, !(withSession && isDocument));
      EXPECT_TRUE(!isDocument || copy->nameTable[0][0] == '\0');
      for (const XmlNode *node = copy; node != nullptr; node = NEB_XML_Iterator(node)) {
        EXPECT_TRUE(node->sessionId == copy->sessionId && node->nameOwned == 1);
        for (const XmlNode *each = node->firstAttr; each != nullptr; each = each->next) {
          EXPECT_TRUE(each->sessionId == copy->sessionId && each->nameOwned == 1);
        }
      }
    }
    last->firstAttr->value = nullptr;
    NEB_XML_FreeNode(copies[1]);
    NEB_XML_FreeNode(document);
    EXPECT_EQ(described(copies[0]), copied) << "lives on";
    NEB_XML_FreeNode(copies[0]);
    NEB_XML_FreeNode(copies[2]);
  }
}

TEST(Clone, CopiesIntoTheStorageOfTheSource) {
  expectCopiesInTheStorageOfTheSource();
  const guarded::UnclearedMemory memory;
  expectCopiesInTheStorageOfTheSource();
}

TEST(Clone, KeepsNamesOfWhichARecordCannotNoteTheLength) {
  for (const size_t length : {65535U, 65536U, 65540U}) {
    XmlNode *document = parsed("<" + std::string(length, 'n') + "/>");
    XmlNode *copy = nullptr;
    EXPECT_EQ(NEB_XML_CloneNode(document, &copy), kOk);
    EXPECT_EQ(described(copy), described(document));
    EXPECT_EQ(trees::printed(copy), trees::printed(document));
    NEB_XML_FreeNode(document);
    NEB_XML_FreeNode(copy);
  }
}

}  // namespace
