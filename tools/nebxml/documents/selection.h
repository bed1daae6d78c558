// Finding nodes by patterns.
#pragma once

#include <string>
#include <vector>

#include "documents/document.h"
#include "terminal/command_error.h"

namespace nebxml {

// What a command is about: the first node that matches a pattern, or all of them.
struct Selection {
  std::string pattern;
  bool takesAll = false;
  std::string source;  // which option or line of a script asks for it; empty: the command itself
};

// How messages about a selection begin: with its source, if it has one, and the file.
std::string headingOf(const Document &document, const Selection &selection);

// A refusal that names the file and the pattern. The cause ends in words such as "at path", and the
// pattern follows.
CommandError refusal(const Document &document, const Selection &selection,
                     const std::string &cause);

// The nodes in document order: elements, or attributes if the pattern asks for them. Never empty:
// throws CommandError, which says where the search ended, if nothing matches. If only the first of
// several matches is taken, standard error gets a note.
std::vector<XmlNode *> select(const Document &document, const Selection &selection);

// All matches, possibly none.
std::vector<XmlNode *> selectAll(const Document &document, const std::string &pattern);

// The first match of a pattern below a node, or null.
XmlNode *firstMatch(const XmlNode *start, const std::string &pattern);

}  // namespace nebxml
