// Trees of mixed storage, which random programs do not come upon every day.
#include <gtest/gtest.h>

#include "support/guarded_hooks.h"
#include "support/trees.h"
#include "xml/record/node.h"

using namespace neb::xml::internal;

namespace {

constexpr uint32_t kOk = NEB_XML_OK;
constexpr uint32_t kElement = NEB_XML_NODE_ELEMENT, kDocument = NEB_XML_NODE_DOCUMENT;

XmlNode *made(const char *name, uint32_t type = kElement, const char *value = nullptr) {
  XmlNode *node = nullptr;
  EXPECT_EQ(NEB_XML_CreateNode(type, nullptr, name, value, &node), kOk);
  return node;
}

XmlNode *appended(XmlNode *parent, XmlNode *node) {
  EXPECT_EQ(NEB_XML_AppendChildNode(parent, node), kOk);
  return node;
}

XmlNode *attached(XmlNode *element, uint32_t session, const char *name, const char *value) {
  XmlNode *attribute = XML_NewNode(session, NEB_XML_NODE_ATTRIBUTE);
  EXPECT_EQ(XML_SetNode(attribute, attribute, nullptr, name, value), kOk);
  EXPECT_EQ(XML_AddAttrNode(attribute, element), kOk);
  return attribute;
}

// The commonest edit there is: a node made through the hooks in a document that owns a session.
TEST(Storage, NodeOfTheHooksTakenOutOfADocumentOutlivesIt) {
  for (const bool documentFirst : {false, true}) {
    XmlNode *document = trees::parsed("<doc><x/></doc>");
    XmlNode *node = appended(document, made("node", kElement, "text"));
    XmlNode *child = appended(node, made("a-name-too-long-to-intern", kElement, "t"));
    EXPECT_EQ(NEB_XML_AddAttr(child, nullptr, "of-the-session", "1"), kOk);
    EXPECT_EQ(NEB_XML_SetNode(node, "p", "renamed", "other"), kOk);
    XmlNode *carved = NEB_XML_GetNodeFirstChild(document);
    NEB_XML_RemoveNode(carved);
    appended(node, carved);
    NEB_XML_RemoveNode(node);
    NEB_XML_FreeNode(documentFirst ? document : node);
    NEB_XML_FreeNode(documentFirst ? node : document);
    EXPECT_EQ(guarded::outstanding(), 0U);
  }
}

// A table of names goes with its document or with the last name in it, whichever is later.
TEST(Storage, InternedNamesOutliveADocumentOfTheHooks) {
  for (const char *destination : {"", "<hooks/>", "<session/>"}) {
    XmlNode *document = made("document", kDocument);
    XmlNode *nested = appended(document, made("nested", kDocument));
    XmlNode *child = appended(nested, made("child"));
    EXPECT_EQ(NEB_XML_AddAttr(child, nullptr, "attribute", "1"), kOk);
    ASSERT_EQ(child->nameOwned + nested->nameOwned + child->firstAttr->nameOwned, 0);
    NEB_XML_RemoveNode(nested);
    XmlNode *other =
        *destination == '\0' ? nullptr : trees::parsed(destination, destination[1] == 's');
    if (other != nullptr) appended(other, nested);
    NEB_XML_FreeNode(document);
    EXPECT_EQ(trees::printed(nested), "<nested>\n<child attribute=\"1\"/>\n</nested>\n");
    EXPECT_EQ(NEB_XML_SetNode(child, nullptr, "renamed", nullptr), kOk);
    NEB_XML_RemoveAttr(child, nullptr, "attribute");
    EXPECT_EQ(trees::printed(nested), "<nested>\n<renamed/>\n</nested>\n");
    NEB_XML_FreeNode(other != nullptr ? other : nested);
  }
}

// Attributes go to an element of any storage. What ends cuts off what it shared with others, and
// the strings of an attribute end with its own session, on whatever tree's behalf they were set.
TEST(Storage, AttributesOfAnotherSessionKeepTheirStrings) {
  for (const bool elementFirst : {true, false}) {
    XmlNode *document = trees::parsed("<doc/>");
    const uint32_t session = XML_MemSessionBegin(1024);
    attached(document, 0, "h", "");
    XmlNode *attribute = attached(document, session, "a", "1");
    const uint32_t number = 2;
    EXPECT_EQ(XML_SetNode(document, attribute, "p", "b", nullptr), kOk);
    EXPECT_EQ(NEB_XML_SetAttrValueEx(document, "p", "b", NEB_XML_VALUE_UINT32, &number), kOk);
    EXPECT_EQ(trees::printed(document), "<doc h=\"\" p:b=\"2\"/>\n");
    EXPECT_EQ(NEB_XML_SetNode(attribute, "q", "c", nullptr), kOk);
    EXPECT_EQ(NEB_XML_SetAttr(document, "q", "c", "3"), kOk);
    if (elementFirst) {
      NEB_XML_FreeNode(document);
      document = made("other");
      EXPECT_EQ(XML_AddAttrNode(attribute, document), kOk);
      EXPECT_EQ(trees::printed(document), "<other q:c=\"3\"/>\n");
    }
    EXPECT_EQ(XML_MemSessionEnd(session), 1U);
    EXPECT_EQ(trees::printed(document), elementFirst ? "<other/>\n" : "<doc h=\"\"/>\n");
    NEB_XML_FreeNode(document);
  }
}

TEST(Storage, ANodeReleasedAloneLeavesTheRestOfItsTreeToBeReleased) {
  XmlNode *first = trees::parsed("<first><carved/></first>");
  XmlNode *second = trees::parsed("<second/>");
  XmlNode *carved = first->firstChild;
  NEB_XML_RemoveNode(carved);
  XmlNode *root = appended(first, made("root"));
  XmlNode *middle = appended(root, made("middle"));
  XmlNode *children[] = {made("h1"), carved, made("h2")};
  for (XmlNode *child : children) appended(middle, child);
  const uint32_t sessions[] = {0, first->sessionId, 0, second->sessionId};
  XmlNode *attributes[] = {
      attached(middle, sessions[0], "0", ""), attached(middle, sessions[1], "1", ""),
      attached(middle, sessions[2], "2", ""), attached(middle, sessions[3], "3", "")};
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

// Printing reads before short strings of a session, but not before one of the hooks in its record.
TEST(Storage, AStringOfTheHooksInARecordOfASessionStandsAlone) {
  const guarded::UnclearedMemory memory;
  XmlNode *document = trees::parsed("<d/>", false);
  const uint32_t session = XML_MemSessionBegin(1024);
  XmlNode *attribute = XML_NewNode(session, NEB_XML_NODE_ATTRIBUTE);
  EXPECT_EQ(XML_SetNode(XML_NewNode(session, kElement), attribute, nullptr, "a", "1"), kOk);
  EXPECT_EQ(XML_AddAttrNode(attribute, document), kOk);
  EXPECT_EQ(NEB_XML_SetAttr(document, nullptr, "a", "v"), kOk);
  EXPECT_EQ(trees::printed(document), "<d a=\"v\"/>\n");
  EXPECT_EQ(XML_MemSessionEnd(session), 1U);
  NEB_XML_FreeNode(document);
}

// A name in the table of a session binds an attribute to it, with or without a value.
TEST(Storage, AnAttributeIsBoundToTheSessionThatHoldsItsName) {
  XmlNode *first = trees::parsed("<first/>");
  XmlNode *second = trees::parsed("<second/>");
  XmlNode *element = appended(first, made("element"));
  XmlNode *attribute = attached(element, 0, "x", "1");
  EXPECT_EQ(NEB_XML_SetAttr(element, nullptr, "x", ""), kOk);
  NEB_XML_RemoveNode(element);
  XML_FreeSingleNode(element);
  element = made("other");
  EXPECT_EQ(XML_AddAttrNode(attribute, element), kOk);
  EXPECT_EQ(NEB_XML_AppendChildNode(second, element), uint32_t{NEB_XML_ERR_INVALID_PARAM});
  for (XmlNode *node : {element, first, second}) NEB_XML_FreeNode(node);
}

}  // namespace
