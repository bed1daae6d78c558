// Memory sessions, and where the pieces of a tree come from and go back to.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "tree/hooks.h"
#include "tree/node.h"

namespace neb::xml::internal {

// One allocation: this header and, directly behind it, a data area of capacity bytes.
struct XmlMemBlock {
  char *cursor;       // next free byte of the data area
  int32_t remaining;  // bytes not yet carved
  int32_t capacity;
  XmlMemBlock *nextBlock;
};

static_assert(offsetof(XmlMemBlock, cursor) == 0);
static_assert(offsetof(XmlMemBlock, remaining) == 8);
static_assert(offsetof(XmlMemBlock, capacity) == 12);
static_assert(offsetof(XmlMemBlock, nextBlock) == 16);
static_assert(sizeof(XmlMemBlock) == 24);

struct BlockIndex;
struct Tie;
struct KeptText;

constexpr int32_t kDocumentSessionSize = 8192;
constexpr size_t kCacheLine = 64;

// An open session. Its neighbours in the table may belong to other threads, so it fills a line.
struct XmlMemSession {
  std::atomic<uint32_t> handle;  // 0 while the place in the table is free
  uint32_t blockCount;
  XmlMemBlock *firstBlock;
  XmlMemBlock *lastBlock;
  BlockIndex *newestTree;   // see block_index.h
  int32_t widestEarlier;    // the most room in any block but the last
  uint8_t tableLevel;       // see session_table.h
  bool hasDocument;         // a document has been made that will end the session
  Tie *ties;                // records of the session that hang together with other storage
  KeptText *keptTexts;      // texts of the hook that go back when the session ends
  XmlNode *keptAttributes;  // likewise, a list through next
};

static_assert(sizeof(XmlMemSession) == kCacheLine);

// Slow path of carve; size is positive.
void *carveBeyondLastBlock(XmlMemSession &session, int32_t size);

// Takes a piece from a block that has room for it.
inline void *carveFromBlock(XmlMemBlock &block, int32_t size) {
  char *piece = block.cursor;
  block.cursor += size;
  block.remaining -= size;
  return piece;
}

// First fit; null for a size that is not positive. The bytes of the piece are not set.
inline void *carve(XmlMemSession &session, int32_t size) {
  if (size > session.widestEarlier && size <= session.lastBlock->remaining && size > 0) {
    return carveFromBlock(*session.lastBlock, size);
  }
  return carveBeyondLastBlock(session, size);
}

// Where the pieces made on behalf of a tree come from: one session, or the allocation hooks.
class Storage {
 public:
  // The allocation hooks.
  Storage() = default;

  // The session of a handle; a handle whose session has ended gives and takes nothing.
  explicit Storage(uint32_t handle);

  // By the membership rule: the session of the topmost node, else the hooks.
  static Storage of(const XmlNode *node);
  static Storage ofTopmost(const XmlNode *topmost) { return Storage(topmost->sessionId); }

  uint32_t handle() const { return handle_; }
  bool isHook() const { return handle_ == 0; }
  XmlMemSession *session() const { return session_; }

  // Null when memory runs out. The bytes are not set.
  void *obtain(size_t size) const;

  // A terminated copy of length bytes.
  char *copyText(const char *text, size_t length) const;

  // For a piece that obtain gave and that nothing refers to yet.
  void giveBackOwn(void *piece) const {
    if (isHook()) g_fnXMLFree(piece);
  }

  // For a text of the hook that a node of this storage's tree gives up. A session keeps it until
  // it ends, so that nothing reaches the free hook while its document lives.
  void giveUpHookText(char *text) const;

 private:
  uint32_t handle_ = 0;
  XmlMemSession *session_ = nullptr;
};

// Ties. Nodes of the hook may hang in a session's tree, and nodes of a session below nodes of the
// hook. A session notes each of its own records that hangs together with other storage; its
// records live as long as it does, so the notes never dangle. Settling them cuts the session's
// records off nodes that outlive it, and releases the hook's nodes and strings that hang from it.

// Notes a record of a session; false when memory runs out.
[[nodiscard]] bool tieRecord(XmlNode *record);

// Notes what must be noted before child is linked below parent (or an attribute to its element).
[[nodiscard]] bool tieChild(XmlNode *child, XmlNode *parent);

// Marks a node of the hook, and those above it, as holding something of a session. No effect on
// records of a session, or with handle 0.
void settleIn(XmlNode *node, uint32_t handle);

// Marks all nodes of the hook in a tree that leaves the tree of a session.
void settleTreeIn(XmlNode *top, uint32_t handle);

// Keeps a removed attribute of the hook until the session ends.
void keepAttribute(XmlMemSession &session, XmlNode *attribute);

void settleTies(XmlMemSession &session);
void releaseKept(XmlMemSession &session);

}  // namespace neb::xml::internal
