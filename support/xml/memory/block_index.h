// First fit over many blocks without walking them.
#pragma once

#include "memory/sessions.h"

namespace neb::xml::internal {

// A session's first blocks are walked. Each block from the ninth on carries, behind its data area,
// a place in a search tree that knows the most room in any block of a subtree. Blocks are only
// ever appended, so the trees are perfect ones: a new block becomes the root of the two newest
// trees when they are of one size, else a tree of its own. A subtree's order is older subtree,
// newer subtree, root.

constexpr uint32_t kWalkedBlocks = 8;

// Bytes to allocate behind the data area of the block that follows blockCount others.
size_t indexSizeAfter(uint32_t blockCount);

// Links a fresh block behind the last one; its room is taken into account from now on.
void appendBlock(XmlMemSession &session, XmlMemBlock *block);

// Carves from the earliest block but the last that has room; null if there is none.
void *carveFromEarlierBlock(XmlMemSession &session, int32_t size);

// For one who carves many pieces: an earlier block that small pieces fit in, with the most room in
// any block before it and in any between it and the last one. Both stay true until something else
// carves from the session; the block's own room is told when its turn is over.
struct OpenHole {
  XmlMemBlock *block;
  int32_t before;
  int32_t after;
};

// Of the earliest block but the last that has room for size; there must be one.
OpenHole openHole(const XmlMemSession &session, int32_t size);
void closeHole(XmlMemSession &session, const OpenHole &hole);

}  // namespace neb::xml::internal
