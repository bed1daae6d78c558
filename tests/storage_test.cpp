// Trees of mixed storage, which random programs do not come upon every day.
#include <gtest/gtest.h>

#include "support/guarded_hooks.h"
#include "support/trees.h"
#include "xml/xml_node.h"

namespace {

// The commonest edit there is: a node made through the hooks in a document that owns a session.
TEST(Storage, NodeOfTheHooksTakenOutOfADocumentOutlivesIt) {
  for (const bool documentFirst : {false, true}) {
    XmlNode *document = trees::parsed("<doc><x/></doc>");
    XmlNode *node = nullptr;
    XmlNode *child = nullptr;
    NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, nullptr, "node", "text", &node);
    NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, nullptr, "a-name-too-long-to-intern", "t", &child);
    ASSERT_EQ(NEB_XML_AppendChildNode(document, node), uint32_t{NEB_XML_OK});
    ASSERT_EQ(NEB_XML_AppendChildNode(node, child), uint32_t{NEB_XML_OK});
    NEB_XML_AddAttr(child, nullptr, "of-the-session", "1");
    NEB_XML_SetNode(node, "p", "renamed", "other");
    XmlNode *carved = NEB_XML_GetNodeFirstChild(document);
    NEB_XML_RemoveNode(carved);
    ASSERT_EQ(NEB_XML_AppendChildNode(node, carved), uint32_t{NEB_XML_OK});
    NEB_XML_RemoveNode(node);
    NEB_XML_FreeNode(documentFirst ? document : node);
    NEB_XML_FreeNode(documentFirst ? node : document);
    EXPECT_EQ(guarded::outstanding(), 0U);
  }
}

TEST(Storage, NodesLeftInADocumentOrBelowItsDetachedPartsGoWithIt) {
  XmlNode *document = trees::parsed("<doc><kept/><detached/></doc>");
  XmlNode *detached = NEB_XML_GetNodeLastChild(document);
  NEB_XML_RemoveNode(detached);
  for (XmlNode *parent : {document, NEB_XML_GetNodeFirstChild(document), detached}) {
    XmlNode *node = nullptr;
    NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, "p", "node", "value", &node);
    NEB_XML_AddAttr(node, "q", "attribute", "value");
    ASSERT_EQ(NEB_XML_AppendChildNode(parent, node), uint32_t{NEB_XML_OK});
  }
  const size_t released = guarded::releases();
  NEB_XML_SetNode(NEB_XML_GetNodeFirstChild(detached), "", "", "");
  NEB_XML_RemoveAttr(NEB_XML_GetNodeFirstChild(detached), "q", "attribute");
  EXPECT_EQ(guarded::releases(), released);
  NEB_XML_FreeNode(document);
}

// In a chain of top-level elements the hooks serve changes, though the nodes are the session's.
TEST(Storage, TextsOfTheHooksInAChainOfASessionGoWithTheSession) {
  XmlNode *document = trees::parsed("<a x='1'/><b y='2'/><c/>");
  XmlNode *second = NEB_XML_GetNodeNextSibling(document);
  const uint32_t number = 1;
  NEB_XML_SetNode(second, "prefix", "name", "value");
  NEB_XML_SetAttrValueEx(second, nullptr, "y", NEB_XML_VALUE_UINT32, &number);
  NEB_XML_SetNode(NEB_XML_GetNodeNextSibling(second), nullptr, nullptr, "value");
  EXPECT_EQ(guarded::mallocSizes().size(), 6U) << "the parser's record and five texts";
  NEB_XML_FreeNode(document);
}

// Attributes go to an element of any storage. What ends cuts off what it shared with others.
TEST(Storage, AttributesOfAnotherSessionLoseTheirElementWithItsSession) {
  XmlNode *document = trees::parsed("<doc own='1'/>");
  XmlNode *other = trees::parsed("<other/>");
  XmlNode *attributes[2];
  for (XmlNode *&attribute : attributes) {
    attribute =
        XML_NewNode(&attribute == attributes ? 0 : other->sessionId, NEB_XML_NODE_ATTRIBUTE);
    XML_SetNode(attribute, attribute, nullptr, &attribute == attributes ? "hooks" : "other", "2");
    ASSERT_EQ(XML_AddAttrNode(attribute, document), uint32_t{NEB_XML_OK});
  }
  EXPECT_EQ(trees::printed(document), "<doc own=\"1\" hooks=\"2\" other=\"2\"/>\n");
  NEB_XML_FreeNode(document);
  EXPECT_TRUE(attributes[1]->parent == nullptr && attributes[1]->next == nullptr);
  ASSERT_EQ(XML_AddAttrNode(attributes[1], other), uint32_t{NEB_XML_OK});
  EXPECT_EQ(trees::printed(other), "<other other=\"2\"/>\n");
  NEB_XML_FreeNode(other);
}

// What holds something of one session, or once stood in it, is kept out of others: they may end in
// any order.
TEST(Storage, WhatLivedInOneSessionIsRefusedByOthers) {
  const auto element = [] {
    XmlNode *node = nullptr;
    NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, nullptr, "e", nullptr, &node);
    return node;
  };
  XmlNode *first = trees::parsed("<first/>");
  XmlNode *second = trees::parsed("<second/>");
  XmlNode *outer = element();
  XmlNode *inner = element();
  XmlNode *withText = element();
  XmlNode *withBoth = element();
  NEB_XML_AppendChildNode(outer, inner);
  NEB_XML_AppendChildNode(first, outer);
  XmlNode *attribute = XML_NewNode(0, NEB_XML_NODE_ATTRIBUTE);
  XML_SetNode(outer, attribute, nullptr, "a", "text of the first");
  XML_AddAttrNode(attribute, withText);
  NEB_XML_RemoveNode(outer);
  NEB_XML_RemoveNode(inner);
  for (const XmlNode *document : {first, second}) {
    XmlNode *other = XML_NewNode(document->sessionId, NEB_XML_NODE_ATTRIBUTE);
    XML_SetNode(other, other, nullptr, document->name, "");
    EXPECT_EQ(XML_AddAttrNode(other, withBoth), uint32_t{NEB_XML_OK});
  }
  for (XmlNode *node : {outer, inner, withText, withBoth}) {
    EXPECT_EQ(NEB_XML_AppendChildNode(second, node), uint32_t{NEB_XML_ERR_INVALID_PARAM});
  }
  for (XmlNode *node : {outer, inner, withText, withBoth, second, first}) NEB_XML_FreeNode(node);
}

TEST(Storage, AttributesOfASessionLeaveAnElementOfTheHooksWithTheirSession) {
  XmlNode *element = nullptr;
  NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, nullptr, "e", nullptr, &element);
  const uint32_t session = XML_MemSessionBegin(1024);
  const char *const names[] = {"s1", "s2", "h1", "s3", "s4", "h2", "s5"};
  for (const char *name : names) {
    XmlNode *attribute = XML_NewNode(name[0] == 's' ? session : 0, NEB_XML_NODE_ATTRIBUTE);
    XML_SetNode(attribute, attribute, nullptr, name, "");
    ASSERT_EQ(XML_AddAttrNode(attribute, element), uint32_t{NEB_XML_OK});
  }
  EXPECT_EQ(XML_MemSessionEnd(session), 1U);
  EXPECT_EQ(trees::printed(element), "<e h1=\"\" h2=\"\"/>\n");
  NEB_XML_FreeNode(element);
}

}  // namespace
