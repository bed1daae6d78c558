// Giving strings and nodes back to where they came from.
#pragma once

#include "xml_memory.h"
#include "xml_node.h"

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
