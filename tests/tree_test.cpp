// Nodes, attributes, wrong arguments and copies. What calls make of trees in any order
// and storage, the programs of the fuzzer api compare with a model, which the tests replay.
#include <gtest/gtest.h>

#include <tuple>

#include "support/guarded_hooks.h"
#include "support/links.h"
#include "support/tables.h"
#include "support/trees.h"
#include "xml/record/node.h"

using namespace neb::xml::internal;

namespace {

using trees::described;
using trees::parsed;
using Text = const char *;

XmlNode *element(Text name) {
  XmlNode *node = nullptr;
  EXPECT_EQ(NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, nullptr, name, nullptr, &node), kOk);
  return node;
}

std::string bytesOf(const XmlNode *node) {
  return {reinterpret_cast<Text>(node), recordSize(static_cast<uint32_t>(node->type))};
}

TEST(Nodes, HaveTheSizeOfTheirKind) {
  const trees::Held owner{parsed("<owner/>")};
  constexpr size_t kLinks = sizeof(void *), kAttribute = 16 + 5 * kLinks,
                   kElement = 16 + 9 * kLinks;
  for (const auto &[type, size] :
       {std::pair(1U, kAttribute), {12U, kElement + 120}, {0U, kElement}, {0x180U, kElement}}) {
    XmlNode *node = XML_NewNode(0, type);
    XmlNode *carved = XML_NewNode(owner->sessionId, type);
    const size_t holders = type == 12 ? 4 : 0;
    EXPECT_EQ(guarded::mallocSizes().back(), size + holders);
    EXPECT_EQ(XML_MemSpecialMalloc(owner->sessionId, 1), reinterpret_cast<char *>(carved) + size);
    int32_t read = 0;
    EXPECT_EQ(NEB_XML_GetNodeValue(node, &read, nullptr, nullptr, nullptr), kOk);
    EXPECT_EQ(read, static_cast<int8_t>(type));
    NEB_XML_FreeNode(node);
  }
}

// An empty place of the table is not the name of a node whose name is empty.
TEST(NameTable, HoldsNoEmptyName) {
  const trees::Held document{parsed("<d><<![CDATA[]]>/></d>")};
  XmlNode *nameless = document->firstChild;
  EXPECT_EQ(NEB_XML_RemoveNode(nameless), kOk);
  for (XmlNode *each : {nameless, element("x")}) {
    EXPECT_EQ(NEB_XML_AppendChildNode(document, each), kOk);
  }
  EXPECT_EQ(described(document), "12:d=-(0:=-,0:x=-)");
}

// Of the attributes a, p:a and ab: which one prefix and name find.
TEST(Attributes, AreReadByPrefixAndNameAndInOrder) {
  const std::tuple<Text, Text, int> rows[] = {
      {nullptr, "a", 0},    {"", "a", -1},      {"p", "a", 1},  {nullptr, "ab", 2},
      {"", "ab", -1},       {nullptr, "A", -1}, {"P", "a", -1}, {"p", "ab", -1},
      {nullptr, "p:a", -1}, {nullptr, "", -1},  {"pp", "a", -1}};
  constexpr Text kStrings[3][3] = {{nullptr, "a", "1"}, {"p", "a", "2"}, {nullptr, "ab", nullptr}};
  const trees::Held node{element("e")};
  XmlNode *cursor = node;
  Text out[3] = {"kept", "kept", "kept"};
  EXPECT_EQ(NEB_XML_GetFirstAttrEx(node, &out[0], &out[1], &out[2], &cursor), kNotFound);
  EXPECT_TRUE(cursor == node);
  for (const Text text : out) EXPECT_STREQ(text, "kept");
  for (const auto &[p, n, v] : kStrings) EXPECT_EQ(NEB_XML_AddAttr(node, p, n, v), kOk);
  for (const auto &[prefix, name, found] : rows) {
    const bool hasNext = found == 0 || found == 1;
    Text value = "-", next[3] = {"-", "-", "-"};
    EXPECT_EQ(NEB_XML_GetAttr(node, prefix, name, &value), found < 0 ? kNotFound : kOk);
    EXPECT_STREQ(value, found < 0 ? "-" : kStrings[found][2]);
    EXPECT_EQ(NEB_XML_GetNextSiblingAttr(node, prefix, name, &next[0], &next[1], &next[2]),
              hasNext ? kOk : kNotFound);
    for (int i : {0, 1, 2}) EXPECT_STREQ(next[i], hasNext ? kStrings[found + 1][i] : "-");
  }
  EXPECT_EQ(NEB_XML_GetFirstAttr(node, &out[0], &out[1], &out[2]), kOk);
  EXPECT_EQ(NEB_XML_GetFirstAttrEx(node, &out[0], &out[1], &out[2], &cursor), kOk);
  EXPECT_TRUE(cursor == node->firstAttr && out[0] == nullptr && out[1] == cursor->name);
  EXPECT_STREQ(out[2], "1");
  XmlNode *first = node->firstAttr;
  EXPECT_EQ(NEB_XML_AddAttr(node, first->name, node->name, first->value), kOk);
  EXPECT_EQ(NEB_XML_SetAttr(node, "", first->name, first->next->value), kOk);
  EXPECT_EQ(NEB_XML_SetAttr(node, "p", "a", first->next->value + 1), kOk);
  EXPECT_EQ(described(node), "0:e=- a='2' p|a=- ab=- a|e='1'") << "strings of the tree itself";
  EXPECT_EQ(NEB_XML_RemoveAttr(node, "", "a"), kOk);
  EXPECT_EQ(described(node), "0:e=- p|a=- ab=- a|e='1'");
}

// Each node and attribute as one call reads it: strings with lengths, and neighbours by name.
std::string infosOf(const XmlNode *node) {
  if (node == nullptr) return "";
  NEB_XML_NODE_INFO info;
  EXPECT_EQ(NEB_XML_GetNodeInfo(node, &info), kOk);
  std::string line = std::to_string(info.type);
  line += " " + links::quoted(info.prefix) + std::to_string(info.prefixLength);
  line += " " + links::quoted(info.name) + std::to_string(info.nameLength);
  line += " " + links::quoted(info.value) + std::to_string(info.valueLength);
  for (const XmlNode *near :
       {info.parent, info.nextSibling, info.firstChild, info.firstAttribute}) {
    line += std::string(" ") + (near == nullptr ? "-" : near->name);
  }
  line += "\n" + infosOf(info.firstAttribute) + infosOf(info.firstChild);
  return line + infosOf(info.nextSibling);
}

// That it agrees with the single calls, described() checks of the trees of all tests.
TEST(Info, HoldsStringsWithTheirLengthsAndNeighbours) {
  constexpr Text kText = "<r p:a='1' b=''><e><![CDATA[]]></e><q:e c='&lt;'>ab</q:e></r><s/>";
  constexpr Text kInfos =
      "12 -0 'r'1 -0 - s e a\n1 'p'1 'a'1 '1'1 r b - -\n1 -0 'b'1 -0 r - - -\n"
      "0 -0 'e'1 ''0 r e - -\n0 'q'1 'e'1 'ab'2 r - - c\n1 -0 'c'1 '<'1 e - - -\n"
      "0 -0 's'1 -0 - - - -\n";
  constexpr int8_t kNumber = -100;
  for (const bool withSession : {false, true}) {
    const trees::Held document{parsed(kText, withSession)};
    EXPECT_EQ(infosOf(document), kInfos);
    const trees::Held root{parsed("<r a='1' p:b='22'>333</r>", withSession)};
    EXPECT_EQ(NEB_XML_SetAttrValueEx(root, "p", "b", NEB_XML_VALUE_INT8, &kNumber), kOk);
    EXPECT_EQ(NEB_XML_SetAttr(root, nullptr, "a", ""), kOk) << "interns the name";
    EXPECT_EQ(NEB_XML_SetNode(root->firstAttr->next, "pp", nullptr, nullptr), kOk);
    EXPECT_EQ(NEB_XML_SetNode(root, nullptr, "root", nullptr), kOk);
    EXPECT_EQ(infosOf(root),
              "12 -0 'root'4 '333'3 - - - a\n1 -0 'a'1 -0 root b - -\n"
              "1 'pp'2 'b'1 '-100'4 root - - -\n");
    for (const size_t length : {254U, 255U, 65519U, 65520U, 65536U, 70000U}) {
      const std::string text(length, 'x');
      EXPECT_EQ(NEB_XML_SetNode(root, text.c_str(), text.c_str(), text.c_str()), kOk);
      XmlNode *copied = nullptr;
      EXPECT_EQ(NEB_XML_CloneNode(root, &copied), kOk);
      const trees::Held copy{copied}, again{parsed(trees::printed(copy))};
      for (const XmlNode *each : {root.node, copy.node, again.node}) trees::described(each);
    }
  }
}

// Names of every length that begin alike or differ in one byte, of which some are interned.
TEST(Attributes, AreToldApartByEveryByte) {
  constexpr size_t kLongest = 40;
  for (const bool withSession : {false, true}) {
    const trees::Held document{parsed("<d/>", withSession)};
    for (size_t length = kLongest; length > 0; --length) {
      std::string name(length, 'n');
      EXPECT_EQ(NEB_XML_AddAttr(document, nullptr, name.c_str(), name.c_str()), kOk);
      EXPECT_EQ(NEB_XML_AddAttr(document, nullptr, name.c_str(), nullptr), kExists);
      for (char &byte : name) {
        Text value = nullptr;
        byte = 'm';
        EXPECT_EQ(NEB_XML_GetAttr(document, nullptr, name.c_str(), &value), kNotFound);
        byte = 'n';
        EXPECT_EQ(NEB_XML_GetAttr(document, nullptr, name.c_str(), &value), kOk);
        EXPECT_EQ(value, name);
      }
    }
  }
}

// Expects a call to be refused and to change nothing if any of its pointers is null, or if the call
// is not for attributes and any of its nodes is one. Pointers that may be null are given as null.
class Refusing {
 public:
  Refusing() {
    EXPECT_EQ(NEB_XML_AddAttr(node, nullptr, "a", "1"), kOk);
    EXPECT_EQ(NEB_XML_AddAttr(node, nullptr, "b", "2"), kOk);
    EXPECT_EQ(NEB_XML_AppendChildNode(node, element("c")), kOk);
    EXPECT_EQ(XML_SetNode(nullptr, detached, nullptr, "d", "1"), kOk);
  }
  ~Refusing() {
    NEB_XML_FreeNode(node);
    NEB_XML_FreeNode(detached);
  }

  template <typename... Arguments>
  void check(uint32_t (*call)(Arguments...), std::type_identity_t<Arguments>... arguments) {
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
          if (areForAttributes) return;
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

  bool areForAttributes = false;
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
  XmlNode *n = with.node, *other = element("other"), *child = with.node->firstChild;
  XmlNode **out = &with.made;
  Text *text = &with.text;
  uint32_t *number = &with.number;
  NEB_XML_NODE_INFO info = {};
  NEB_XML_LOCATION location = {};
  NEB_XML_CURSOR cursor = {};
  with.check(NEB_XML_Parse, "<a/>", out);
  with.check(NEB_XML_ParseEx, "<a/>", out);
  with.check(NEB_XML_ParseFile, "no", out);
  with.check(NEB_XML_ParseFileEx, "no", out);
  with.check(NEB_XML_Read, "<a/>", 4, nullptr, out, nullptr);
  with.check(NEB_XML_Load, "no", nullptr, out, nullptr);
  with.check(NEB_XML_CreateNode, 0, nullptr, nullptr, nullptr, out);
  with.check(NEB_XML_CreateNodeEx, 0, 12, nullptr, nullptr, nullptr, out);
  with.check(NEB_XML_RemoveNode, child);
  with.check(NEB_XML_GetNodeChildNum, n, number);
  with.check(NEB_XML_GetAttr, n, nullptr, "a", text);
  with.check(NEB_XML_GetFirstAttr, n, text, text, text);
  with.check(NEB_XML_GetFirstAttrEx, n, text, text, text, nullptr);
  with.check(NEB_XML_GetNextSiblingAttr, n, nullptr, "a", text, text, text);
  with.check(NEB_XML_GetNextSiblingAttrEx, n, text, text, text, out);
  with.check(NEB_XML_AddAttr, n, nullptr, "z", nullptr);
  with.check(NEB_XML_SetAttr, n, nullptr, "a", nullptr);
  with.check(NEB_XML_RemoveAttr, n, nullptr, "a");
  with.check(NEB_XML_PutAttr, n, "z", 1, nullptr, 0, nullptr);
  with.check(NEB_XML_NewElement, n, NEB_XML_POSITION_LAST_CHILD, "z", 1, out);
  for (const auto insert : {NEB_XML_AddFirstChildNode, NEB_XML_AppendChildNode,
                            NEB_XML_AddNextSiblingNode, NEB_XML_AddPrevSiblingNode}) {
    with.check(insert, child, other);
  }
  with.check(NEB_XML_SetAttrValueEx, n, nullptr, "a", NEB_XML_VALUE_BOOL, number);
  with.check(NEB_XML_GetAttrValueEx, n, nullptr, "a", NEB_XML_VALUE_BOOL, number);
  with.check(NEB_XML_CloneNode, n, out);
  with.check(NEB_XML_CloneNodeSelf, n, out);
  with.check(NEB_XML_GetNodeByUrl, n, "e", out);
  with.check(NEB_XML_Select, n, "e", &cursor);
  with.check(NEB_XML_Transform, n, &with.printedText);
  with.check(NEB_XML_TransformHead, n, &with.printedText);
  with.check(NEB_XML_TransformTail, n, &with.printedText);
  with.check(NEB_XML_TransformFile, n, "no");
  with.check(NEB_XML_ImportNode, n, other, out);
  with.check(NEB_XML_TransformIndented, n, 2, &with.printedText);
  with.check(NEB_XML_SaveFile, n, "no", 2);
  NEB_XML_EDIT edit = {};
  with.check(NEB_XML_EditBytes, "<e/>", 4, &edit, 1, appendTo, nullptr);
  with.check(NEB_XML_Print, n, nullptr, appendTo, nullptr);
  with.check(NEB_XML_Save, n, "no", nullptr);
  with.areForAttributes = true;
  with.check(NEB_XML_SetNode, n, nullptr, nullptr, nullptr);
  with.check(NEB_XML_GetNodeValue, n, nullptr, nullptr, nullptr, nullptr);
  with.check(NEB_XML_GetNodeInfo, n, &info);
  with.check(NEB_XML_Locate, n, "<e/>", 4, &location);
  const XmlNode *const nodes[] = {n};
  with.check(NEB_XML_LocateNodes, nodes, 1, "<e/>", 4, &location);
  EXPECT_EQ(NEB_XML_Locate(n, "<e/>", 0, &location), kInvalid);
  EXPECT_EQ(NEB_XML_SaveBytes(nullptr, "x", 1), kInvalid);
  EXPECT_EQ(NEB_XML_SaveBytes("x", nullptr, 1), kInvalid);
  EXPECT_EQ(NEB_XML_SaveBytes("x", "", 0), kInvalid);
  EXPECT_EQ(NEB_XML_EditBytes("<e/>", 0, nullptr, 0, appendTo, nullptr), kInvalid);
  with.check(NEB_XML_SetNodeValueEx, n, NEB_XML_VALUE_BOOL, number);
  with.check(NEB_XML_GetNodeValueEx, with.detached, NEB_XML_VALUE_BOOL, number);
  with.check(NEB_XML_WriteValue, n, NEB_XML_VALUE_BOOL, number);
  with.check(NEB_XML_SetString, n, NEB_XML_STRING_NAME, "z", 1);
  with.check(XML_AddAttrNode, with.detached, n);
  for (XmlNode *attribute : {n, n->firstAttr}) EXPECT_EQ(XML_AddAttrNode(attribute, n), kInvalid);
  EXPECT_EQ(XML_AddAttrNode(with.detached, with.detached), kInvalid);
  for (const uint32_t type : {7U, 9U, 10U, UINT32_MAX}) {
    EXPECT_EQ(NEB_XML_SetNodeValueEx(n, type, number), kInvalid);
    EXPECT_EQ(NEB_XML_SetAttrValueEx(n, nullptr, "z", type, number), kInvalid);
    EXPECT_EQ(NEB_XML_GetAttrValueEx(n, nullptr, "a", type, number), kInvalid);
    if (type < 10) continue;
    EXPECT_EQ(NEB_XML_WriteValue(n, type, number), kInvalid);
    EXPECT_EQ(NEB_XML_ReadValue(n->firstAttr, type, number), kInvalid);
  }
  EXPECT_EQ(NEB_XML_ReadValue(nullptr, NEB_XML_VALUE_BOOL, number), kNotFound);
  EXPECT_EQ(NEB_XML_ReadValue(nullptr, NEB_XML_VALUE_BOOL, nullptr), kInvalid);
  for (XmlNode *node : {static_cast<XmlNode *>(nullptr), n->firstAttr}) {
    EXPECT_TRUE(NEB_XML_FindAttr(node, "a", 1) == nullptr);
  }
  EXPECT_TRUE(NEB_XML_FindAttr(n, nullptr, 0) == nullptr);
  EXPECT_EQ(NEB_XML_GetAttrValueEx(n, "", "a", 0, number), kNotFound);
  EXPECT_EQ(NEB_XML_TransformIndented(n, 17, &with.printedText), kInvalid);
  for (const uint32_t type : {1U, 5U, 11U, 13U, 256U, 0xFFFFFFFFU}) {
    EXPECT_EQ(NEB_XML_CreateNode(type, nullptr, nullptr, nullptr, out), kInvalid);
    EXPECT_EQ(NEB_XML_CreateNodeEx(0, type, nullptr, nullptr, nullptr, out), kInvalid);
  }
  for (auto *const release :
       {XML_FreeSingleNode, XML_FreeSingleAttrNode, XML_FreeNode, NEB_XML_FreeNode}) {
    release(nullptr);
  }
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

TEST(Clone, CopiesIntoMemoryThatIsNotCleared) {
  const guarded::UnclearedMemory memory;
  for (const bool withSession : {false, true}) {
    XmlNode *document =
        parsed("<p:r a='1' q:b='2'><x c='3'><y><z>t</z></y><y d=''/></x><w><![CDATA[]]></w></p:r>",
               withSession);
    EXPECT_EQ(NEB_XML_SetAttr(document, nullptr, "a", "interned"), kOk);
    const std::string whole = described(document);
    const std::string expected[] = {
        tables::replaced(whole, "w=''", "w=-"), "0:x=- c='3'(0:y=-(0:z='t'),0:y=- d=-)",
        "12:p|r=- a='interned' q|b='2'",
        "0:p|r=- a='interned' q|b='2'(0:x=- c='3'(0:y=-(0:z='t'),0:y=- d=-),0:w=-)"};
    XmlNode *copies[4] = {};
    EXPECT_EQ(NEB_XML_CloneNode(document, &copies[0]), kOk);
    EXPECT_EQ(NEB_XML_CloneNode(document->firstChild, &copies[1]), kOk);
    EXPECT_EQ(NEB_XML_CloneNodeSelf(document, &copies[2]), kOk);
    EXPECT_EQ(NEB_XML_ImportNode(document, document, &copies[3]), kOk);
    EXPECT_EQ(described(document), whole);
    if (withSession) {
      constexpr size_t kSize = 2000;
      const auto *piece = static_cast<Text>(XML_Malloc(document, kSize));
      EXPECT_EQ(std::string(piece, kSize), std::string(kSize, '\0'));
    }
    for (const size_t i : {0U, 1U, 2U, 3U}) {
      EXPECT_EQ(described(copies[i]), expected[i]);
      EXPECT_TRUE(isDetached(copies[i]) && copies[i]->firstAttr->nameOwned == 1);
      EXPECT_TRUE(i % 2 == 1 || copies[i]->nameTable[0][0] == '\0');
    }
    for (XmlNode *node : {copies[1], copies[3], document}) NEB_XML_FreeNode(node);
    EXPECT_EQ(described(copies[0]), expected[0]) << "lives on";
    NEB_XML_FreeNode(copies[0]);
    NEB_XML_FreeNode(copies[2]);
  }
}

// ---- Trees of mixed storage, which random programs do not come upon every day

XmlNode *appended(XmlNode *parent, XmlNode *node) {
  EXPECT_EQ(NEB_XML_AppendChildNode(parent, node), kOk);
  return node;
}

XmlNode *attached(XmlNode *holder, uint32_t session, const char *name, const char *value) {
  XmlNode *attribute = XML_NewNode(session, NEB_XML_NODE_ATTRIBUTE);
  EXPECT_EQ(XML_SetNode(attribute, attribute, nullptr, name, value), kOk);
  EXPECT_EQ(XML_AddAttrNode(attribute, holder), kOk);
  return attribute;
}

TEST(Storage, ANodeReleasedAloneLeavesTheRestOfItsTreeToBeReleased) {
  XmlNode *first = parsed("<first><carved/></first>");
  XmlNode *second = parsed("<second/>");
  XmlNode *carved = first->firstChild;
  NEB_XML_RemoveNode(carved);
  XmlNode *root = appended(first, element("root"));
  XmlNode *middle = appended(root, element("middle"));
  XmlNode *children[] = {element("h1"), carved, element("h2")};
  for (XmlNode *child : children) appended(middle, child);
  XmlNode *attributes[] = {
      attached(middle, 0, "0", ""), attached(middle, first->sessionId, "1", ""),
      attached(middle, 0, "2", ""), attached(middle, second->sessionId, "3", "")};
  const size_t released = guarded::releases();
  XML_FreeSingleNode(middle);  // nothing in the tree of a session
  NEB_XML_RemoveNode(root);
  for (XmlNode *node : {root, attributes[0], attributes[1]}) XML_FreeSingleAttrNode(node);
  EXPECT_EQ(guarded::releases(), released);
  XML_FreeSingleNode(middle);
  EXPECT_TRUE(children[0]->next == children[2] && isDetached(carved));
  XML_FreeSingleAttrNode(attributes[2]);
  for (XmlNode *attribute : {attributes[0], attributes[1], attributes[3]}) {
    EXPECT_EQ(XML_AddAttrNode(attribute, root), kOk);
  }
  EXPECT_EQ(trees::printed(root), "<root 0=\"\" 1=\"\" 3=\"\"/>\n");
  XML_FreeNode(children[0]);
  for (XmlNode *node : {second, root, first}) NEB_XML_FreeNode(node);
}

// A name in the table of a session binds an attribute to it, with or without a value.
TEST(Storage, AnAttributeIsBoundToTheSessionThatHoldsItsName) {
  XmlNode *first = parsed("<first/>");
  XmlNode *second = parsed("<second/>");
  XmlNode *holder = appended(first, element("element"));
  XmlNode *attribute = attached(holder, 0, "x", "1");
  EXPECT_EQ(NEB_XML_SetAttr(holder, nullptr, "x", ""), kOk);
  NEB_XML_RemoveNode(holder);
  XML_FreeSingleNode(holder);
  holder = element("other");
  EXPECT_EQ(XML_AddAttrNode(attribute, holder), kOk);
  EXPECT_EQ(NEB_XML_AppendChildNode(second, holder), kInvalid);
  for (XmlNode *node : {holder, first, second}) NEB_XML_FreeNode(node);
}

}  // namespace
