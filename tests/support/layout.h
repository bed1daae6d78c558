// Where the allocations of a session must lie: each in the first block with room, back to back.
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

// One that was asked for; the start is null where nobody knows it.
struct Piece {
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

  // Goes on from what a session holds.
  explicit Model(const XmlMemSession &session) {
    for (const XmlMemBlock *block = session.firstBlock; block; block = block->nextBlock) {
      blocks_.push_back({block->capacity, block->remaining});
    }
  }

  // The number of the block, and the offset in it; "-" if there is none with room and none to come.
  std::string take(int64_t size, bool mayGrow = true) {
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

// Where in its session's blocks a piece lies, as the model tells it.
inline std::string placeIn(const XmlMemSession &session, const void *piece) {
  size_t number = 0;
  for (const XmlMemBlock *block = session.firstBlock; block; block = block->nextBlock) {
    const auto offset =
        static_cast<const char *>(piece) - reinterpret_cast<const char *>(block + 1);
    if (offset >= 0 && offset < block->capacity) {
      return std::to_string(number) + "+" + std::to_string(offset);
    }
    ++number;
  }
  return piece == nullptr ? "-" : "elsewhere";
}

// The first piece that lies elsewhere than in the model; empty if there is none.
inline std::string misplaced(Model model, const XmlMemSession &session,
                             const std::vector<Piece> &pieces) {
  for (const Piece &piece : pieces) {
    const std::string wanted = model.take(static_cast<int64_t>(piece.size));
    const std::string found = placeIn(session, piece.start);
    if (piece.start != nullptr && wanted != found) {
      return "piece " + std::to_string(&piece - pieces.data()) + " at " + found + ", not " + wanted;
    }
  }
  return "";
}

inline void addString(const char *string, std::vector<Piece> *pieces) {
  if (string != nullptr) pieces->push_back({string, std::strlen(string) + 1});
}

// What a copy consists of, in the order in which it is asked for.
inline void addCopied(const XmlNode *node, std::vector<Piece> *pieces) {
  pieces->push_back({node, recordSize(static_cast<uint32_t>(node->type))});
  for (const char *string : {+node->prefix, +node->name, +node->value}) addString(string, pieces);
  if (isAttribute(node)) return;
  for (const XmlNode *each = node->firstAttr; each; each = each->next) addCopied(each, pieces);
  for (const XmlNode *each = node->firstChild; each; each = each->next) addCopied(each, pieces);
}

// What a parse has allocated from an element on, whose record is the only one not known yet. After
// a start tag comes the record of the next element. Sizes are those of values without references.
inline void addParsed(const XmlNode *element, std::vector<Piece> *pieces) {
  std::find_if(pieces->rbegin(), pieces->rend(), [](const Piece &piece) {
    return piece.start == nullptr;
  })->start = element;
  const size_t prefixSize = element->prefix != nullptr ? std::strlen(element->prefix) + 1 : 0;
  pieces->push_back({element->name, prefixSize + std::strlen(element->name) + 1});
  for (const XmlNode *each = element->firstAttr; each; each = each->next) addCopied(each, pieces);
  const bool isEmpty = element->valueOwned == 0 && element->firstChild == nullptr;
  if (isEmpty) addString(element->prefix, pieces);
  pieces->push_back({nullptr, kElementRecordSize});
  for (const XmlNode *each = element->firstChild; each; each = each->next) addParsed(each, pieces);
  const char *value = element->value;
  // White space is only known to be the value once the end tag has been read.
  const bool isBlank = value != nullptr && value[std::strspn(value, " \t\r\n")] == '\0';
  if (!isBlank) addString(value, pieces);
  if (!isEmpty) addString(element->prefix, pieces);
  if (isBlank) addString(value, pieces);
}

inline std::vector<Piece> piecesAsParsed(const XmlNode *document) {
  std::vector<Piece> pieces = {{nullptr, kDocumentRecordSize}};
  for (const XmlNode *each = document; each; each = each->next) addParsed(each, &pieces);
  return pieces;
}

inline std::vector<Piece> piecesAsCopied(const XmlNode *copy) {
  std::vector<Piece> pieces;
  addCopied(copy, &pieces);
  return pieces;
}

}  // namespace layout
