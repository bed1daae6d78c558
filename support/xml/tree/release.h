// Giving strings and nodes back to where they came from.
#pragma once

#include "memory/sessions.h"
#include "tree/node.h"

namespace neb::xml::internal {

enum class StringField { name, value, prefix };

// A node's string; null if it has none.
char *stringOf(const XmlNode *node, StringField field);

// Points a field at a copy that the node owns from now on. The old string is not looked at.
void putString(XmlNode *node, StringField field, char *copy, bool copyIsOfHook);

// Gives up a string if the node owns it, and makes the field null. The ownership flag stays.
void dropString(XmlNode *node, StringField field, const Storage &storage);

// Releases a node's strings and then its record; in the tree of a session nothing.
void releaseSingle(XmlNode *node, const Storage &storage);

// Releases a node with its attributes and subtree, and every sibling after it, up to the first
// document that owns a session, which ends the session. In the tree of a session nothing else is
// released, not even what comes from the hooks: it goes with the session. Constant stack.
void releaseChain(XmlNode *node, const Storage &storage);

// Takes a node that is no attribute from its parent and siblings.
void unlinkNode(XmlNode *node);

// Takes an attribute from its element, which need not know it any more.
void unlinkAttribute(XmlNode *attribute);

// Takes those attributes from an element that leave it.
template <typename Leaves>
void cutAttributes(XmlNode *element, Leaves leaves) {
  XmlNode *kept = nullptr;
  XmlNode *next = nullptr;
  for (XmlNode *attribute = element->firstAttr; attribute != nullptr; attribute = next) {
    next = attribute->next;
    if (!leaves(attribute)) {
      kept = attribute;
      continue;
    }
    if (kept == nullptr) {
      element->firstAttr = next;
    } else {
      kept->next = next;
    }
    attribute->parent = nullptr;
    attribute->next = nullptr;
  }
}

// Takes a node out from between all that it is linked to. Its attributes stand alone then. Children
// that came through the hooks stay a chain; those of a session, which may end before the chain does,
// stand alone as well.
void isolateNode(XmlNode *node);

}  // namespace neb::xml::internal
