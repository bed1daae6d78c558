// A pattern as it is matched: groups of steps that follow each other level by level. Between two
// groups lie any number of levels.
#pragma once

#include <cstddef>
#include <cstdint>

#include "record/node.h"

namespace neb::xml::internal {

constexpr size_t kLongestPattern = 511;                   // bytes
constexpr size_t kMostSteps = (kLongestPattern + 1) / 2;  // "a.a"
constexpr size_t kMostLaterGroups = 16;                   // each begins with "**"
constexpr size_t kMostStepsOfLaterGroup = 32;             // one bit of a StepSet each
constexpr size_t kNoPosition = 0;

// The steps of a later group, the first one in the lowest bit.
using StepSet = uint32_t;

struct NameTest {
  const char *text;
  uint16_t length;
  bool isAny;     // "*"
  bool hasColon;  // then it names a prefix too

  bool accepts(const XmlNode *node) const;
};

enum class Subject : uint8_t { attribute, child, self };

// What an attribute, a child or the node itself must have.
struct Predicate {
  Subject subject;
  NameTest name;      // not of the node itself
  const char *value;  // null: any
};

struct Step {
  NameTest name;
  size_t position;  // among the siblings that the name test accepts, from 1; or kNoPosition
  uint16_t firstPredicate;
  uint16_t predicateCount;
};

struct Group {
  size_t firstStep;
  size_t stepCount;   // 0 only of the first group and of the last one
  StepSet positions;  // of a later group: the steps with a position
};

// A predicate takes more bytes than a step, "[a]", so that there are never more of both together.
union StepOrPredicate {
  Step step;
  Predicate predicate;
};

struct Pattern {
  char text[kLongestPattern + 1];     // the names and values, each with its terminator
  StepOrPredicate parts[kMostSteps];  // steps from the begin on, predicates from the end on
  Group groups[1 + kMostLaterGroups];
  size_t stepCount;
  uint16_t predicateCount;
  size_t groupCount;
  bool findsAttributes;
  NameTest attribute;

  const Step &step(size_t index) const { return parts[index].step; }
  const Predicate &predicate(size_t index) const { return parts[kMostSteps - 1 - index].predicate; }
};

// Parses a pattern of at most kLongestPattern bytes. Returns null, or the first byte that is wrong.
const char *parsePattern(const char *text, Pattern *pattern);

// The number of attributes and children that were looked at is added to *scanned.
bool holdPredicates(const Pattern &pattern, const Step &step, const XmlNode *node, size_t *scanned);

}  // namespace neb::xml::internal
