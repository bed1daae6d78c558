#include "xml_memory_index.h"

#include <algorithm>

// Stands where the data area ends, at any address.
#pragma pack(push, 1)
struct BlockIndex {
  XmlMemBlock *block;
  BlockIndex *root;          // of the tree it is a subtree of; null for a whole tree
  BlockIndex *previousTree;  // of a whole tree
  BlockIndex *older;
  BlockIndex *newer;
  uint32_t blocks;  // in this tree
  int32_t widest;   // the most room in any of them, the session's last block not counted
};
#pragma pack(pop)

namespace {

char *dataOf(XmlMemBlock *block) { return reinterpret_cast<char *>(block + 1); }

BlockIndex *indexOf(XmlMemBlock *block) {
  return reinterpret_cast<BlockIndex *>(dataOf(block) + block->capacity);
}

int32_t widestOf(const BlockIndex *tree) { return tree == nullptr ? 0 : tree->widest; }

void refreshUpwards(const XmlMemSession &session, BlockIndex *tree) {
  for (; tree != nullptr; tree = tree->root) {
    const int32_t own = tree->block == session.lastBlock ? 0 : tree->block->remaining;
    tree->widest = std::max({own, widestOf(tree->older), widestOf(tree->newer)});
  }
}

void refreshWidestEarlier(XmlMemSession &session) {
  int32_t widest = 0;
  XmlMemBlock *block = session.firstBlock;
  for (uint32_t i = 0; i < kWalkedBlocks && block != session.lastBlock; ++i) {
    widest = std::max(widest, block->remaining);
    block = block->nextBlock;
  }
  for (const BlockIndex *tree = session.newestTree; tree != nullptr; tree = tree->previousTree) {
    widest = std::max(widest, widestOf(tree));
  }
  session.widestEarlier = widest;
}

void addToTrees(XmlMemSession &session, XmlMemBlock *block) {
  BlockIndex *place = indexOf(block);
  place->block = block;
  place->blocks = 1;
  BlockIndex *newest = session.newestTree;
  BlockIndex *second = newest == nullptr ? nullptr : newest->previousTree;
  if (second != nullptr && second->blocks == newest->blocks) {
    place->older = second;
    place->newer = newest;
    place->blocks += second->blocks + newest->blocks;
    place->widest = std::max(widestOf(second), widestOf(newest));
    place->previousTree = second->previousTree;
    second->root = place;
    newest->root = place;
  } else {
    place->previousTree = newest;
  }
  session.newestTree = place;
}

BlockIndex *oldestTreeWithRoom(const XmlMemSession &session, int32_t size) {
  BlockIndex *oldest = nullptr;
  for (BlockIndex *tree = session.newestTree; tree != nullptr; tree = tree->previousTree) {
    if (tree->widest >= size) oldest = tree;
  }
  return oldest;
}

BlockIndex *earliestWithRoom(BlockIndex *tree, int32_t size) {
  for (;;) {
    if (widestOf(tree->older) >= size) {
      tree = tree->older;
    } else if (widestOf(tree->newer) >= size) {
      tree = tree->newer;
    } else {
      return tree;
    }
  }
}

XmlMemBlock *walkedBlockWithRoom(const XmlMemSession &session, int32_t size) {
  XmlMemBlock *block = session.firstBlock;
  for (uint32_t i = 0; i < kWalkedBlocks && block != session.lastBlock; ++i) {
    if (block->remaining >= size) return block;
    block = block->nextBlock;
  }
  return nullptr;
}

}  // namespace

size_t indexSizeAfter(uint32_t blockCount) {
  return blockCount < kWalkedBlocks ? 0 : sizeof(BlockIndex);
}

void appendBlock(XmlMemSession &session, XmlMemBlock *block) {
  XmlMemBlock *last = session.lastBlock;
  last->nextBlock = block;
  session.lastBlock = block;
  session.widestEarlier = std::max(session.widestEarlier, last->remaining);
  if (session.blockCount > kWalkedBlocks) refreshUpwards(session, indexOf(last));
  ++session.blockCount;
  if (session.blockCount > kWalkedBlocks) addToTrees(session, block);
}

void *carveFromEarlierBlock(XmlMemSession &session, int32_t size) {
  if (size > session.widestEarlier) return nullptr;
  XmlMemBlock *block = walkedBlockWithRoom(session, size);
  void *piece = nullptr;
  if (block != nullptr) {
    piece = carveFromBlock(*block, size);
  } else {
    BlockIndex *place = earliestWithRoom(oldestTreeWithRoom(session, size), size);
    piece = carveFromBlock(*place->block, size);
    refreshUpwards(session, place);
  }
  refreshWidestEarlier(session);
  return piece;
}
