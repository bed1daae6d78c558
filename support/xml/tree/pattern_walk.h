// The walk of NEB_XML_Select through a subtree, in document order.
//
// Each step of the first group is for one level below the start, so the walk enters only nodes that
// match. For a later group, the first match on the way down is as good as any other: the walk notes
// the depth where the group ended, and below that looks for the next one. Which steps of that group
// match the path from there to a node is a set of bits, and it follows from the set of the parent.
//
// A cursor cannot hold a set for each level. When the walk comes back to a level, it makes the sets
// of the last few levels again. That can take a look at many children or attributes. So what took
// much scanning is kept: for each power of four, that of the deepest level. Before it is lost, the
// walk scans about as many nodes as it takes to make it again.
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
