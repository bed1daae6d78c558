// Edits that cannot all be made.
#pragma once

#include <optional>
#include <vector>

#include "neb_xml.h"

namespace nebxml {

struct Conflict {
  size_t edit;  // the indexes of the two edits
  size_t other;
  const char *cause;  // about the first of them, in words that end in "at path"
};

// The first conflict of edits of one tree, if there is one. Cost: linear in the edits and in the
// ancestors of their nodes, each counted once.
std::optional<Conflict> findConflict(const std::vector<NEB_XML_EDIT> &edits);

}  // namespace nebxml
