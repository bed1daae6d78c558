// First fit over many blocks without walking all of them.
#pragma once

#include "memory/arena.h"
#include "platform/compiler.h"

namespace neb::xml::internal {

// First fit walks the first eight blocks and searches trees for the others. Each block from the
// ninth on carries, behind its data area, a node of a search tree. The node knows the largest gap
// in any block of its subtree. Blocks are only ever appended, so the trees are perfect: a new block
// becomes the root of the two newest trees if they are of one size, else a tree of its own. The
// order in a subtree is: older subtree, newer subtree, root.

constexpr uint32_t kWalkedBlocks = 8;

// Bytes to allocate behind the data area of the block that follows blockCount others.
size_t indexSizeAfter(uint32_t blockCount);

// Links a fresh block behind the last one; its room is taken into account from now on.
void appendBlock(XmlMemSession &session, XmlMemBlock *block);

// From the earliest block but the last that has room; null if there is none.
void *allocateFromEarlierBlock(XmlMemSession &session, int32_t size);

// For many allocations in a row: an earlier block that small ones fit in, with the largest gap in
// any block before it and in any between it and the last one. Both stay true until something else
// allocates from the session. What is left of the block itself is counted when the gap is closed.
struct OpenGap {
  XmlMemBlock *block;
  int32_t largestBefore;
  int32_t largestAfter;
};

// In the earliest block but the last that has room for size; there must be one.
NEB_XML_NOINLINE OpenGap openGap(const XmlMemSession &session, int32_t size);
NEB_XML_NOINLINE void closeGap(XmlMemSession &session, const OpenGap &gap);

}  // namespace neb::xml::internal
