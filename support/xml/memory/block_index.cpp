#include "memory/block_index.h"

#include <algorithm>

namespace neb::xml::internal {

// Begins where the data area ends, at any address.
#pragma pack(push, 1)
struct BlockIndex {
  XmlMemBlock *block;
  BlockIndex *root;          // of the tree it is a subtree of; null for a whole tree
  BlockIndex *previousTree;  // of a whole tree
  BlockIndex *older;
  BlockIndex *newer;
  uint32_t blocks;     // in this tree
  int32_t largestGap;  // in any of them, the session's last block not counted
};
#pragma pack(pop)

namespace {

char *dataOf(XmlMemBlock *block) { return reinterpret_cast<char *>(block + 1); }

BlockIndex *indexOf(XmlMemBlock *block) {
  return reinterpret_cast<BlockIndex *>(dataOf(block) + block->capacity);
}

int32_t largestGapOf(const BlockIndex *tree) { return tree == nullptr ? 0 : tree->largestGap; }

int32_t ownGap(const XmlMemSession &session, const BlockIndex *tree) {
  return tree->block == session.lastBlock ? 0 : tree->block->remaining;
}

void refreshUpwards(const XmlMemSession &session, BlockIndex *tree) {
  for (; tree != nullptr; tree = tree->root) {
    tree->largestGap =
        std::max({ownGap(session, tree), largestGapOf(tree->older), largestGapOf(tree->newer)});
  }
}

void refreshLargestEarlierGap(XmlMemSession &session) {
  int32_t largest = 0;
  XmlMemBlock *block = session.firstBlock;
  for (uint32_t i = 0; i < kWalkedBlocks && block != session.lastBlock; ++i) {
    largest = std::max(largest, block->remaining);
    block = block->nextBlock;
  }
  for (const BlockIndex *tree = session.newestTree; tree != nullptr; tree = tree->previousTree) {
    largest = std::max(largest, largestGapOf(tree));
  }
  session.largestEarlierGap = largest;
}

void addToTrees(XmlMemSession &session, XmlMemBlock *block) {
  BlockIndex *added = indexOf(block);
  *added = {};
  added->block = block;
  added->blocks = 1;
  BlockIndex *newest = session.newestTree;
  BlockIndex *second = newest == nullptr ? nullptr : newest->previousTree;
  if (second != nullptr && second->blocks == newest->blocks) {
    added->older = second;
    added->newer = newest;
    added->blocks += second->blocks + newest->blocks;
    added->largestGap = std::max(largestGapOf(second), largestGapOf(newest));
    added->previousTree = second->previousTree;
    second->root = added;
    newest->root = added;
  } else {
    added->previousTree = newest;
  }
  session.newestTree = added;
}

BlockIndex *oldestTreeWithRoom(const XmlMemSession &session, int32_t size) {
  BlockIndex *oldest = nullptr;
  for (BlockIndex *tree = session.newestTree; tree != nullptr; tree = tree->previousTree) {
    if (tree->largestGap >= size) oldest = tree;
  }
  return oldest;
}

BlockIndex *earliestWithRoom(BlockIndex *tree, int32_t size) {
  for (;;) {
    if (largestGapOf(tree->older) >= size) {
      tree = tree->older;
    } else if (largestGapOf(tree->newer) >= size) {
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
  session.largestEarlierGap = std::max(session.largestEarlierGap, last->remaining);
  if (session.blockCount > kWalkedBlocks) refreshUpwards(session, indexOf(last));
  ++session.blockCount;
  if (session.blockCount > kWalkedBlocks) addToTrees(session, block);
}

void *allocateFromEarlierBlock(XmlMemSession &session, int32_t size) {
  if (size > session.largestEarlierGap) return nullptr;
  XmlMemBlock *block = earliestBlockWithRoom(session, size);
  void *allocation = allocateFromBlock(*block, size);
  refreshBlock(session, block);
  refreshLargestEarlierGap(session);
  return allocation;
}

OpenGap openGap(const XmlMemSession &session, int32_t size) {
  OpenGap gap = {earliestBlockWithRoom(session, size), 0, 0};
  const auto count = [&gap](bool isBefore, int32_t room) {
    int32_t &largest = isBefore ? gap.largestBefore : gap.largestAfter;
    largest = std::max(largest, room);
  };
  bool isBefore = true;
  XmlMemBlock *block = session.firstBlock;
  for (uint32_t i = 0; i < kWalkedBlocks && block != session.lastBlock; ++i) {
    if (block == gap.block) {
      isBefore = false;
    } else {
      count(isBefore, block->remaining);
    }
    block = block->nextBlock;
  }
  const BlockIndex *tree = nullptr;  // that the gap is in
  if (isBefore) {
    tree = indexOf(gap.block);
    count(true, std::max(largestGapOf(tree->older), largestGapOf(tree->newer)));
    for (; tree->root != nullptr; tree = tree->root) {
      const BlockIndex *root = tree->root;
      count(false, ownGap(session, root));
      const bool isNewer = root->newer == tree;
      count(isNewer, largestGapOf(isNewer ? root->older : root->newer));
    }
  }
  isBefore = false;
  for (const BlockIndex *other = session.newestTree; other != nullptr;
       other = other->previousTree) {
    if (other == tree) {
      isBefore = true;
    } else {
      count(isBefore, other->largestGap);
    }
  }
  return gap;
}

void closeGap(XmlMemSession &session, const OpenGap &gap) {
  refreshBlock(session, gap.block);
  session.largestEarlierGap =
      std::max({gap.largestBefore, int32_t{gap.block->remaining}, gap.largestAfter});
}

}  // namespace neb::xml::internal
