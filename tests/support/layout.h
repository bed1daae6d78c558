// A model of where a session's allocations lie: each in the first block with room, back to back.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "xml/memory/arena.h"
#include "xml/record/node.h"

namespace layout {

using namespace neb::xml::internal;

// An allocation of a session. The start is null if it is unknown.
struct Allocation {
  const void *start;
  size_t size;
};

class Model {
 public:
  struct Block {
    int64_t capacity;
    int64_t remaining;
  };

  explicit Model(int64_t firstSize) : blocks_{{firstSize, firstSize}} {}

  // Continues from what a session holds.
  explicit Model(const XmlMemSession &session) {
    for (const XmlMemBlock *block = session.firstBlock; block; block = block->nextBlock) {
      blocks_.push_back({block->capacity, block->remaining});
    }
  }

  // Returns the number of the block and the offset in it; "-" if no block has room or may be added.
  std::string allocate(int64_t size, bool mayGrow = true) {
    auto block = std::find_if(blocks_.begin(), blocks_.end(),
                              [size](const Block &each) { return each.remaining >= size; });
    if (block == blocks_.end()) {
      if (!mayGrow) return "-";
      int64_t capacity = blocks_.back().capacity;
      while (capacity < size) capacity *= 2;
      block = blocks_.insert(block, {capacity, capacity});
    }
    const int64_t offset = block->capacity - block->remaining;
    block->remaining -= size;
    return std::to_string(block - blocks_.begin()) + "+" + std::to_string(offset);
  }

  const std::vector<Block> &blocks() const { return blocks_; }

 private:
  std::vector<Block> blocks_;
};

// Where an allocation lies in the blocks of its session, in the form of Model::allocate.
inline std::string locationIn(const XmlMemSession &session, const void *start) {
  size_t number = 0;
  for (const XmlMemBlock *block = session.firstBlock; block; block = block->nextBlock) {
    const auto offset =
        static_cast<const char *>(start) - reinterpret_cast<const char *>(block + 1);
    if (offset >= 0 && offset < block->capacity) {
      return std::to_string(number) + "+" + std::to_string(offset);
    }
    ++number;
  }
  return start == nullptr ? "-" : "elsewhere";
}

// Describes the first allocation that the model has elsewhere; empty if there is none.
inline std::string misplaced(Model model, const XmlMemSession &session,
                             const std::vector<Allocation> &list) {
  for (const Allocation &each : list) {
    const std::string wanted = model.allocate(static_cast<int64_t>(each.size));
    const std::string found = locationIn(session, each.start);
    if (each.start != nullptr && wanted != found) {
      return "number " + std::to_string(&each - list.data()) + " at " + found + ", not " + wanted;
    }
  }
  return "";
}

inline void addString(const char *string, std::vector<Allocation> *list) {
  if (string != nullptr) list->push_back({string, std::strlen(string) + 1});
}

// The allocations of a copy, in their order.
inline void addCopied(const XmlNode *node, std::vector<Allocation> *list) {
  list->push_back({node, recordSize(static_cast<uint32_t>(node->type))});
  for (const char *string : {+node->prefix, +node->name, +node->value}) addString(string, list);
  if (isAttribute(node)) return;
  for (const XmlNode *each = node->firstAttr; each; each = each->next) addCopied(each, list);
  for (const XmlNode *each = node->firstChild; each; each = each->next) addCopied(each, list);
}

// The allocations of a parse from an element on. Only the start of its own record is still unknown.
// The record of the next element follows a start tag. Sizes hold for values without references.
inline void addParsed(const XmlNode *element, std::vector<Allocation> *list) {
  std::find_if(list->rbegin(), list->rend(), [](const Allocation &each) {
    return each.start == nullptr;
  })->start = element;
  const size_t prefixSize = element->prefix != nullptr ? std::strlen(element->prefix) + 1 : 0;
  list->push_back({element->name, prefixSize + std::strlen(element->name) + 1});
  for (const XmlNode *each = element->firstAttr; each; each = each->next) addCopied(each, list);
  const bool isEmpty = element->valueOwned == 0 && element->firstChild == nullptr;
  if (isEmpty) addString(element->prefix, list);
  list->push_back({nullptr, kElementRecordSize});
  for (const XmlNode *each = element->firstChild; each; each = each->next) addParsed(each, list);
  const char *value = element->value;
  // Only the end tag shows that white space is the value.
  const bool isWhitespace = value != nullptr && value[std::strspn(value, " \t\r\n")] == '\0';
  if (!isWhitespace) addString(value, list);
  if (!isEmpty) addString(element->prefix, list);
  if (isWhitespace) addString(value, list);
}

inline std::vector<Allocation> inParseOrder(const XmlNode *document) {
  std::vector<Allocation> allocations = {{nullptr, kDocumentRecordSize}};
  for (const XmlNode *each = document; each; each = each->next) addParsed(each, &allocations);
  return allocations;
}

inline std::vector<Allocation> inCopyOrder(const XmlNode *copy) {
  std::vector<Allocation> allocations;
  addCopied(copy, &allocations);
  return allocations;
}

}  // namespace layout
