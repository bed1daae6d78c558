// The one node record and what can be said about a node without touching anything else.
#pragma once

#include <cstddef>
#include <cstdint>

#include "neb_xml.h"

namespace neb::xml::internal {

constexpr size_t kNameTableSlots = 10;
constexpr size_t kNameTableSlotSize = 12;  // 11 characters and a terminator

}  // namespace neb::xml::internal

// Allocations of a session lie back to back, so a record can begin at any address: it has alignment
// 1 and spells its padding out, of which the library keeps some for itself.
#pragma pack(push, 1)
struct XmlNode {
  uint32_t sessionId;   // the session that it was allocated from; 0: the heap
  uint8_t marks;        // NodeMark bits
  uint8_t valueSize;    // with its terminator; 0: not known
  uint16_t nameLength;  // while the parser has the element open, with its prefix; 0: not known;
                        // from kFirstHeldSlot on: a slot, see ownership/name_holders.h
  char *name;
  char *value;
  char *prefix;
  int8_t type;
  uint8_t isDocument;
  uint8_t nameOwned;
  uint8_t valueOwned;
  uint32_t boundSession;  // of a heap record, see ownership/bound_session.h; 0: none
  XmlNode *parent;
  XmlNode *next;
  // An attribute record ends here.
  XmlNode *prev;
  XmlNode *firstChild;
  XmlNode *lastChild;
  XmlNode *firstAttr;
  // An element record ends here.
  char nameTable[neb::xml::internal::kNameTableSlots][neb::xml::internal::kNameTableSlotSize];
};
#pragma pack(pop)

namespace neb::xml::internal {

constexpr size_t kAttributeRecordSize = offsetof(XmlNode, prev);
constexpr size_t kElementRecordSize = offsetof(XmlNode, nameTable);
constexpr size_t kDocumentRecordSize = sizeof(XmlNode);

constexpr size_t kPointerSize = sizeof(void *);
static_assert(offsetof(XmlNode, sessionId) == 0);
static_assert(offsetof(XmlNode, name) == 8);
static_assert(offsetof(XmlNode, value) == 8 + kPointerSize);
static_assert(offsetof(XmlNode, prefix) == 8 + 2 * kPointerSize);
static_assert(offsetof(XmlNode, type) == 8 + 3 * kPointerSize);
static_assert(offsetof(XmlNode, isDocument) == 9 + 3 * kPointerSize);
static_assert(offsetof(XmlNode, nameOwned) == 10 + 3 * kPointerSize);
static_assert(offsetof(XmlNode, valueOwned) == 11 + 3 * kPointerSize);
static_assert(offsetof(XmlNode, parent) == 16 + 3 * kPointerSize);
static_assert(offsetof(XmlNode, next) == 16 + 4 * kPointerSize);
static_assert(offsetof(XmlNode, prev) == 16 + 5 * kPointerSize);
static_assert(offsetof(XmlNode, firstChild) == 16 + 6 * kPointerSize);
static_assert(offsetof(XmlNode, lastChild) == 16 + 7 * kPointerSize);
static_assert(offsetof(XmlNode, firstAttr) == 16 + 8 * kPointerSize);
static_assert(kAttributeRecordSize == 16 + 5 * kPointerSize);
static_assert(kElementRecordSize == 16 + 9 * kPointerSize);
static_assert(kDocumentRecordSize == kElementRecordSize + kNameTableSlots * kNameTableSlotSize);
static_assert(alignof(XmlNode) == 1);

// For "elsewhere" see ownership/storage.h.
enum NodeMark : uint8_t {
  kNameElsewhere = 1,
  kValueElsewhere = 2,
  kPrefixElsewhere = 4,
  kOwnsSession = 8,         // the document that ends the session when it is freed
  kHasCrossReference = 16,  // its session knows, see ownership/cross_references.h
  kNameIsWhole = 32,  // for the parser: until the element is closed, its name holds its prefix
  // An attribute of a session whose strings follow its record in one allocation, without a gap:
  // prefix, if there is one, name and value, each with its terminator. None is empty, the attribute
  // owns them, and the lengths of name and value are noted. Whoever builds the record may set the
  // mark; what changes a string clears it.
  kStringsTogether = 64,
};

constexpr size_t recordSize(uint32_t type) {
  if (type == NEB_XML_NODE_ATTRIBUTE) return kAttributeRecordSize;
  if (type == NEB_XML_NODE_DOCUMENT) return kDocumentRecordSize;
  return kElementRecordSize;
}

inline bool isAttribute(const XmlNode *node) { return node->type == NEB_XML_NODE_ATTRIBUTE; }
inline bool isOnHeap(const XmlNode *node) { return node->sessionId == 0; }
inline bool ownsSession(const XmlNode *node) { return (node->marks & kOwnsSession) != 0; }

// Not for attributes.
inline bool isDetached(const XmlNode *node) {
  return node->parent == nullptr && node->prev == nullptr && node->next == nullptr;
}

// The topmost node of the tree that a node is in; null when the way up ends in an attribute
// or in a node that has siblings but no parent.
inline const XmlNode *topmostNode(const XmlNode *node) {
  while (node->parent != nullptr) node = node->parent;
  if (isAttribute(node) || node->prev != nullptr || node->next != nullptr) return nullptr;
  return node;
}

inline XmlNode *topmostNode(XmlNode *node) {
  return const_cast<XmlNode *>(topmostNode(static_cast<const XmlNode *>(node)));
}

// Lengths are noted where they are at hand. What the record has no room for stays unknown.
constexpr uint16_t kFirstHeldSlot = 0xFFF0;

constexpr uint16_t notedNameLength(size_t length) {
  return static_cast<uint16_t>(length < kFirstHeldSlot ? length : 0);
}

inline bool hasNotedNameLength(const XmlNode *node) {
  return node->nameLength != 0 && node->nameLength < kFirstHeldSlot;
}

inline void noteValueLength(XmlNode *node, size_t length) {
  node->valueSize = static_cast<uint8_t>(length < UINT8_MAX ? length + 1 : 0);
}

inline bool isMissing(const char *text) { return text == nullptr || text[0] == '\0'; }

}  // namespace neb::xml::internal
