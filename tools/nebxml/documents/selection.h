// Finding nodes by patterns.
#pragma once

#include <string>
#include <vector>

#include "documents/document.h"

namespace nebxml {

// What a command is about: the first node that matches a pattern, or all of them.
struct Selection {
  std::string pattern;
  bool takesAll = false;
};

// The nodes in document order: elements, or attributes if the pattern asks for them. Never empty:
// throws CommandError, which says where the search ended, if nothing matches. If only the first of
// several matches is taken, standard error gets a note.
std::vector<XmlNode *> select(const Document &document, const Selection &selection);

// All matches, possibly none.
std::vector<XmlNode *> selectAll(const Document &document, const std::string &pattern);

// The first match of a pattern below a node, or null.
XmlNode *firstMatch(const XmlNode *start, const std::string &pattern);

}  // namespace nebxml
