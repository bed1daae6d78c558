#include "tree/pattern_walk.h"

#include <bit>

namespace neb::xml::internal {

namespace {

constexpr size_t kFewScanned = 16;  // are scanned again rather than kept
constexpr size_t kMostRemade = (1 + kKeptLevels) * kMostStepsOfLaterGroup;

// By powers of four.
size_t slotFor(size_t scanned) {
  constexpr auto kFirstWidth = static_cast<size_t>(std::bit_width(kFewScanned));
  const size_t slot = (static_cast<size_t>(std::bit_width(scanned)) - kFirstWidth) / 2;
  return slot < kKeptLevels ? slot : kKeptLevels - 1;
}

StepSet firstSteps(size_t count) { return static_cast<StepSet>((uint64_t{1} << count) - 1); }
bool holdsStep(StepSet steps, size_t step) { return ((steps >> step) & 1) != 0; }

// Calls action with the index of each bit.
template <typename Action>
void forEach(uint32_t bits, Action action) {
  for (; bits != 0; bits &= bits - 1) action(static_cast<size_t>(std::countr_zero(bits)));
}

// The steps whose position the node has.
StepSet positionsAt(const Level &parent, const XmlNode *node) {
  return parent.target == node ? parent.targetSteps : 0;
}

// Levels that are made again, the lowest first. The set of a level takes as many of them, from it
// on, as the group has steps.
struct Climb {
  Level lowest = {};
  StepSet matched[kMostRemade];  // of each level
  size_t span;                   // the steps of the group
  size_t needed = span;
  size_t nextSlot = 0;

  explicit Climb(size_t steps) : span(steps) {}

  // Returns whether a level is to be kept. Then its set must be whole. A level that took less
  // scanning than one below it is not kept: it is not needed before that one is lost.
  bool noteScanned(size_t index, size_t scanned) {
    if (scanned < kFewScanned || slotFor(scanned) < nextSlot) return false;
    nextSlot = slotFor(scanned) + 1;
    needed = index + span;
    return true;
  }
};

class Search {
 public:
  Search(const Pattern &pattern, Walk *walk) : pattern_(pattern), walk_(*walk) {}

  XmlNode *next() {
    if (walk_.attribute != nullptr && findAttribute(walk_.attribute->next)) return walk_.attribute;
    while (moveOn()) {
      if (!visit()) continue;
      if (!pattern_.findsAttributes) return walk_.node;
      if (findAttribute(walk_.node->firstAttr)) return walk_.attribute;
    }
    return nullptr;
  }

 private:
  const Group &group() const { return pattern_.groups[walk_.group]; }
  const Step &step(size_t index) const { return pattern_.step(group().firstStep + index); }
  bool isInFirstGroup() const { return walk_.group == 0; }
  bool isInLastGroup() const { return walk_.group + 1 == pattern_.groupCount; }

  bool findAttribute(XmlNode *from) {
    while (from != nullptr && !pattern_.attribute.accepts(from)) from = from->next;
    walk_.attribute = from;
    return from != nullptr;
  }

  // ---- Moving

  bool moveOn() {
    if (walk_.hasBegun == 0) return begin();
    if (walk_.node == nullptr) return false;
    if (moveDown()) return true;
    while (!moveAcross()) {
      if (walk_.depth == 1) {
        walk_.node = nullptr;
        return false;
      }
      walk_.node = walk_.node->parent;
      --walk_.depth;
      walk_.knowsParent = 0;
    }
    return true;
  }

  bool begin() {
    walk_.hasBegun = 1;
    walk_.depth = 1;
    auto *start = const_cast<XmlNode *>(walk_.start);
    if (group().stepCount == 0) {
      beginGroup(0);
      walk_.parent = aboveStart();
      walk_.knowsParent = 1;
      walk_.node = start;
    } else if (accepts(step(0), start)) {
      walk_.node = start;
    }
    return walk_.node != nullptr;
  }

  bool moveDown() {
    XmlNode *child = isInFirstGroup() ? firstAccepted(walk_.node->firstChild, walk_.depth)
                                      : +walk_.node->firstChild;
    if (child == nullptr) return false;
    if (!isInFirstGroup()) enterLevel();
    walk_.node = child;
    ++walk_.depth;
    return true;
  }

  // Leaves the node for the next sibling, if the start's subtree has one to visit.
  bool moveAcross() {
    dropLevel(walk_.depth);
    if (!isInFirstGroup() && walk_.ends[walk_.group - 1] == walk_.depth) --walk_.group;
    if (walk_.depth == 1) return false;
    XmlNode *sibling = isInFirstGroup() ? nextAccepted() : +walk_.node->next;
    if (sibling == nullptr) return false;
    if (!isInFirstGroup() && group().positions != 0) passTarget(sibling);
    walk_.node = sibling;
    return true;
  }

  // ---- The first group, whose steps bind one level each

  bool accepts(const Step &step, const XmlNode *node) const {
    size_t scanned = 0;  // once for each node: nothing needs to be kept
    return step.name.accepts(node) && holdPredicates(pattern_, step, node, &scanned);
  }

  // The first sibling from a node on that the step of a level accepts.
  XmlNode *firstAccepted(XmlNode *node, size_t level) const {
    if (level == group().stepCount) return nullptr;
    const Step &wanted = step(level);
    if (wanted.position != kNoPosition) return acceptedByPosition(node, wanted);
    while (node != nullptr && !accepts(wanted, node)) node = node->next;
    return node;
  }

  XmlNode *acceptedByPosition(XmlNode *node, const Step &wanted) const {
    size_t passed = 0;
    for (; node != nullptr; node = node->next) {
      if (wanted.name.accepts(node) && ++passed == wanted.position) break;
    }
    return node != nullptr && accepts(wanted, node) ? node : nullptr;
  }

  XmlNode *nextAccepted() const {
    const size_t level = walk_.depth - 1;
    const bool hasPosition = step(level).position != kNoPosition;
    return hasPosition ? nullptr : firstAccepted(walk_.node->next, level);
  }

  // ---- Matching

  // Whether the pattern matches the node.
  bool visit() {
    if (isInFirstGroup()) return walk_.depth == group().stepCount && endGroup();
    if (group().stepCount == 0) return true;
    walk_.scanned = 0;
    walk_.matched = matchedAt(walk_.node, parentLevel());
    return holdsStep(walk_.matched, group().stepCount - 1) && endGroup();
  }

  // The group ends at the node. Returns whether the pattern does.
  bool endGroup() {
    if (isInLastGroup()) return true;
    beginGroup(walk_.depth);
    return group().stepCount == 0;
  }

  void beginGroup(size_t depth) {
    walk_.ends[walk_.group++] = depth;
    walk_.matched = 0;
    walk_.scanned = 0;
  }

  StepSet matchedAt(const XmlNode *node, const Level &parent) {
    const StepSet expected = (parent.matched << 1 | 1) & firstSteps(group().stepCount);
    const StepSet inPosition = ~group().positions | positionsAt(parent, node);
    return accepted(node, expected & inPosition, &walk_.scanned);
  }

  // Those of the steps that accept the node, whatever its position.
  StepSet accepted(const XmlNode *node, StepSet steps, size_t *scanned) const {
    StepSet result = 0;
    forEach(steps, [&](size_t index) {
      const Step &each = step(index);
      const bool isAccepted =
          each.name.accepts(node) && holdPredicates(pattern_, each, node, scanned);
      if (isAccepted) result |= StepSet{1} << index;
    });
    return result;
  }

  // ---- Levels

  // The steps of which a child must know whether they matched.
  StepSet continued() const { return firstSteps(group().stepCount) >> 1; }
  bool needsLevels() const { return (continued() | group().positions) != 0; }

  // The start has the position 1.
  Level aboveStart() const {
    Level level = {0, walk_.start, 0, 0};
    forEach(group().positions, [&](size_t index) {
      if (step(index).position == 1) level.targetSteps |= StepSet{1} << index;
    });
    return level;
  }

  // Sets the target to the first child at or behind from that has the position of some step.
  void findTarget(const XmlNode *node, const XmlNode *from, Level *level, size_t *scanned) const {
    level->target = nullptr;
    level->targetSteps = 0;
    if (from == nullptr) return;
    size_t passed[kMostStepsOfLaterGroup] = {};
    StepSet left = group().positions;
    bool isReached = false;
    for (const XmlNode *child = node->firstChild; child != nullptr && left != 0;
         child = child->next) {
      ++*scanned;
      isReached = isReached || child == from;
      StepSet here = 0;
      forEach(left, [&](size_t index) {
        const bool isInPosition =
            step(index).name.accepts(child) && ++passed[index] == step(index).position;
        if (isInPosition) here |= StepSet{1} << index;
      });
      left &= ~here;
      if (!isReached || here == 0) continue;
      level->target = child;
      level->targetSteps = here;
      return;
    }
  }

  // The children of the node come next.
  void enterLevel() {
    walk_.knowsParent = 0;
    if (!needsLevels()) return;
    walk_.knowsParent = 1;
    walk_.parent = {walk_.depth, nullptr, 0, walk_.matched};
    findTarget(walk_.node, walk_.node->firstChild, &walk_.parent, &walk_.scanned);
    if (walk_.scanned >= kFewScanned) keep(walk_.parent, walk_.scanned);
  }

  void passTarget(const XmlNode *sibling) {
    Level *kept = findKept(walk_.depth - 1);
    if (walk_.knowsParent == 0 && kept == nullptr) return;
    if (walk_.knowsParent == 0) walk_.parent = *kept;
    walk_.knowsParent = 1;
    if (walk_.parent.target != walk_.node) return;
    size_t scanned = 0;
    findTarget(walk_.node->parent, sibling, &walk_.parent, &scanned);
    if (kept != nullptr) *kept = walk_.parent;
  }

  void keep(const Level &level, size_t scanned) {
    const size_t slot = slotFor(scanned);
    walk_.kept[slot] = level;
    walk_.keptSlots |= 1U << slot;
  }

  Level *findKept(size_t depth) {
    Level *found = nullptr;
    forEach(walk_.keptSlots, [&](size_t slot) {
      if (walk_.kept[slot].depth == depth) found = &walk_.kept[slot];
    });
    return found;
  }

  void dropLevel(size_t depth) {
    forEach(walk_.keptSlots, [&](size_t slot) {
      if (walk_.kept[slot].depth == depth) walk_.keptSlots &= ~(1U << slot);
    });
  }

  const Level &parentLevel() {
    static constexpr Level kUnneeded = {};
    if (!needsLevels()) return kUnneeded;
    if (walk_.knowsParent == 0) remakeParent();
    walk_.knowsParent = 1;
    return walk_.parent;
  }

  // Makes the level of the parent again, and those above it that it takes.
  void remakeParent() {
    Climb climb(group().stepCount);
    size_t last = 0;
    for (const XmlNode *child = walk_.node; !readLevel(&climb, last, child); ++last) {
      child = child->parent;
    }
    for (size_t i = last; i > 0; --i) {
      climb.matched[i - 1] &= climb.matched[i] << 1 | 1;
      Level *kept = findKept(depthAbove(i - 1));
      if (kept != nullptr) kept->matched = climb.matched[i - 1];
    }
    walk_.parent = climb.lowest;
    walk_.parent.matched = climb.matched[0];
  }

  // The depth of a level of a climb.
  size_t depthAbove(size_t index) const { return walk_.depth - 1 - index; }

  // Reads the level above a child. The set of steps is that of the node alone, unless it is whole.
  // Returns whether no level above that is needed.
  bool readLevel(Climb *climb, size_t index, const XmlNode *child) {
    Level level;
    const bool isLast =
        isKnown(depthAbove(index), &level) || remakeLevel(climb, index, child, &level);
    climb->matched[index] = level.matched;
    if (index == 0) climb->lowest = level;
    if (index > 0) climb->matched[index - 1] &= ~group().positions | positionsAt(level, child);
    return isLast;
  }

  bool isKnown(size_t depth, Level *level) {
    const Level *kept = findKept(depth);
    if (kept != nullptr) *level = *kept;
    if (depth == 0) *level = aboveStart();
    return kept != nullptr || depth == 0;
  }

  bool remakeLevel(Climb *climb, size_t index, const XmlNode *child, Level *level) {
    *level = {depthAbove(index), nullptr, 0, 0};
    size_t scanned = 0;
    findTarget(child->parent, child, level, &scanned);
    bool isToBeKept = climb->noteScanned(index, scanned);
    const bool isGroupEnd = level->depth == walk_.ends[walk_.group - 1];
    if (!isGroupEnd && index + 1 < climb->needed) {
      level->matched = accepted(child->parent, continued(), &scanned);
      isToBeKept = climb->noteScanned(index, scanned) || isToBeKept;
    }
    if (isToBeKept) keep(*level, scanned);
    return isGroupEnd || index + 1 == climb->needed;
  }

  const Pattern &pattern_;
  Walk &walk_;
};

}  // namespace

XmlNode *findNext(const Pattern &pattern, Walk *walk) { return Search(pattern, walk).next(); }

}  // namespace neb::xml::internal
