// The walk of NEB_XML_Select through a subtree, in document order.
//
// The steps of the first group bind the levels below the start one by one, so the walk enters only
// nodes that match. For a later group the first match on the way down is as good as any other.
// So the walk remembers the depth where each group ended, and looks for the next group below that.
// Which steps of that group have matched on the path from there to a node is one set of bits, made
// from the set of its parent.
//
// A cursor cannot hold a set for each level. When the walk comes back to a level, the sets of the
// last few levels are made again. Where that takes a look at many children or attributes, the
// results are kept: of each power of four of such nodes, those of the deepest level. To lose a
// result, the walk must thus pass as many nodes as making it again takes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tree/pattern.h"

namespace neb::xml::internal {

// What is known of a node on the path to the current one, for its children.
struct Level {
  size_t depth;
  const XmlNode *target;  // the next child that has the position of some step, if any is left
  StepSet targetSteps;    // those steps
  StepSet matched;        // the steps that end at the node, with all steps before them
};

constexpr size_t kKeptLevels = 13;

// The state of the walk between two calls. Zeroed, the walk has not begun.
struct Walk {
  const XmlNode *start;
  uint64_t patternHash;
  XmlNode *node;  // the current one; null at the end
  XmlNode *attribute;
  size_t depth;                   // of the node; that of the start is 1
  size_t group;                   // the group to be matched at the node's level
  size_t scanned;                 // attributes and children that the predicates looked at
  size_t ends[kMostLaterGroups];  // the depth where each group before it ended
  Level parent;                   // of the node's parent
  Level kept[kKeptLevels];
  StepSet matched;     // the steps of the group that end at the node
  uint32_t keptSlots;  // bits of the slots in use
  uint8_t hasBegun;
  uint8_t knowsParent;
};

// Moves a walk on to the next match and returns it; null at the end.
XmlNode *findNext(const Pattern &pattern, Walk *walk);

}  // namespace neb::xml::internal
