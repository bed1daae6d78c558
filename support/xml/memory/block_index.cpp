#include "memory/block_index.h"

#include <algorithm>

namespace neb::xml::internal {

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

int32_t ownRoom(const XmlMemSession &session, const BlockIndex *tree) {
  return tree->block == session.lastBlock ? 0 : tree->block->remaining;
}

void refreshUpwards(const XmlMemSession &session, BlockIndex *tree) {
  for (; tree != nullptr; tree = tree->root) {
    tree->widest = std::max({ownRoom(session, tree), widestOf(tree->older), widestOf(tree->newer)});
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
  *place = {};
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

XmlMemBlock *earliestBlockWithRoom(const XmlMemSession &session, int32_t size) {
  if (XmlMemBlock *block = walkedBlockWithRoom(session, size)) return block;
  return earliestWithRoom(oldestTreeWithRoom(session, size), size)->block;
}

bool isWalked(const XmlMemSession &session, const XmlMemBlock *block) {
  const XmlMemBlock *walked = session.firstBlock;
  for (uint32_t i = 1; i < kWalkedBlocks && walked != block && walked != nullptr; ++i) {
    walked = walked->nextBlock;
  }
  return walked == block;
}

// After a change of the block's room.
void refreshBlock(const XmlMemSession &session, XmlMemBlock *block) {
  if (!isWalked(session, block)) refreshUpwards(session, indexOf(block));
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
  XmlMemBlock *block = earliestBlockWithRoom(session, size);
  void *piece = carveFromBlock(*block, size);
  refreshBlock(session, block);
  refreshWidestEarlier(session);
  return piece;
}

OpenHole openHole(const XmlMemSession &session, int32_t size) {
  OpenHole hole = {earliestBlockWithRoom(session, size), 0, 0};
  const auto see = [&hole](bool isBefore, int32_t room) {
    int32_t &widest = isBefore ? hole.before : hole.after;
    widest = std::max(widest, room);
  };
  bool isBefore = true;
  XmlMemBlock *block = session.firstBlock;
  for (uint32_t i = 0; i < kWalkedBlocks && block != session.lastBlock; ++i) {
    if (block == hole.block) {
      isBefore = false;
    } else {
      see(isBefore, block->remaining);
    }
    block = block->nextBlock;
  }
  const BlockIndex *tree = nullptr;  // that the hole is in
  if (isBefore) {
    tree = indexOf(hole.block);
    see(true, std::max(widestOf(tree->older), widestOf(tree->newer)));
    for (; tree->root != nullptr; tree = tree->root) {
      const BlockIndex *root = tree->root;
      see(false, ownRoom(session, root));
      const bool isNewer = root->newer == tree;
      see(isNewer, widestOf(isNewer ? root->older : root->newer));
    }
  }
  isBefore = false;
  for (const BlockIndex *other = session.newestTree; other != nullptr;
       other = other->previousTree) {
    if (other == tree) {
      isBefore = true;
    } else {
      see(isBefore, other->widest);
    }
  }
  return hole;
}

void closeHole(XmlMemSession &session, const OpenHole &hole) {
  refreshBlock(session, hole.block);
  session.widestEarlier = std::max({hole.before, int32_t{hole.block->remaining}, hole.after});
}

}  // namespace neb::xml::internal
