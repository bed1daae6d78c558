// Small helpers that build and compare trees.
#pragma once

#include <string>
#include <vector>

#include "support/calls.h"

namespace trees {

// Parses with NEB_XML_ParseEx, or with NEB_XML_Parse; null if that fails.
XmlNode *parsed(const std::string &text, bool withSession = true);

// Frees a tree at the end of its scope, with the siblings after it.
struct Held {
  XmlNode *node;
  ~Held() { XML_FreeNode(node); }
  operator XmlNode *() const { return node; }
  XmlNode *operator->() const { return node; }
};

// Describes the whole tree and the siblings after it in one line, see links::described. Fails the
// test if a link or an ownership flag is wrong.
std::string described(const XmlNode *node);

// What a function prints; "error N" if it fails.
std::string printed(const XmlNode *node, Print print = NEB_XML_Transform);

std::string readFile(const std::string &path);

// The samples, and what other packages of the system install, by their paths.
std::vector<std::string> realFiles();

// A new file in the program's temporary folder that holds a text.
std::string temporaryFile(const std::string &text);

}  // namespace trees
