// The nodes of a tree that are looked for in its document.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "record/node.h"
#include "source/heap_array.h"

namespace neb::xml::internal {

// Where an element or an attribute is in its document.
struct Location {
  const char *begin = nullptr;  // of the start tag, or of the name of an attribute
  const char *name = nullptr;
  const char *nameEnd = nullptr;
  const char *lastAttribute = nullptr;  // null: none
  const char *attributesEnd = nullptr;  // of the last attribute or, without any, of the name
  const char *content = nullptr;        // what is between the tags or the quotes
  const char *contentEnd = nullptr;
  const char *end = nullptr;  // null until it has been found

  // Of an element.
  bool isEmptyTag() const { return contentEnd == end; }
};

struct PlannedEdit;

// A node that is looked for, and what is to become of it.
struct Target {
  const XmlNode *node = nullptr;
  Location at;
  const NEB_XML_EDIT *value = nullptr;         // null: it stays
  const NEB_XML_EDIT *rename = nullptr;        // null: the name stays
  const PlannedEdit *newAttributes = nullptr;  // the last one
  size_t edits = 0;                            // that name this node
  size_t newChildren = 0;                      // inserted below it
  size_t lostChildren = 0;
  bool isRemoved = false;
  bool isEmptied = false;    // no child is left
  bool hasNewNames = false;  // attributes that are added or renamed
};

// All of them, found by their node.
class Targets {
 public:
  // Room for so many. False if memory runs out.
  bool make(size_t most) {
    constexpr size_t kSlotsForEach = 2;
    if (most > SIZE_MAX / 4 || !targets_.make(most)) return false;
    const size_t slots = std::bit_ceil(most * kSlotsForEach + 1);
    if (!slots_.make(slots)) return false;
    for (size_t i = 0; i < slots; ++i) slots_.add({nullptr});
    shift_ = 64 - std::countr_zero(slots);
    return true;
  }

  // Added if it is new.
  Target *add(const XmlNode *node) {
    Slot &slot = slotOf(node);
    if (slot.target == nullptr) {
      Target target;
      target.node = node;
      slot.target = targets_.add(target);
    }
    return slot.target;
  }

  // Null if it is none.
  Target *find(const XmlNode *node) { return slotOf(node).target; }

  Target *begin() { return targets_.begin(); }
  Target *end() { return targets_.end(); }

 private:
  struct Slot {
    Target *target;  // null: free
  };

  Slot &slotOf(const XmlNode *node) {
    constexpr uint64_t kSpread = 0x9E3779B97F4A7C15;
    size_t at = static_cast<size_t>(reinterpret_cast<uintptr_t>(node) * kSpread >> shift_);
    while (slots_[at].target != nullptr && slots_[at].target->node != node) {
      at = (at + 1) & (slots_.size() - 1);
    }
    return slots_[at];
  }

  HeapArray<Target> targets_;
  HeapArray<Slot> slots_;
  int shift_ = 0;
};

}  // namespace neb::xml::internal
