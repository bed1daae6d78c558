#include "tree/names.h"

#include <cstring>

#include "ownership/bound_session.h"
#include "ownership/name_holders.h"
#include "ownership/strings.h"
#include "record/node_strings.h"
#include "simd/vector.h"

namespace neb::xml::internal {

namespace {

constexpr size_t kLongestInternedName = kNameTableSlotSize - 1;

// The slot that holds the name, or the first empty one with the name put into it; the number of
// slots if there is none. Behind a name, a slot is zero, and so all of it is compared.
size_t slotFor(XmlNode *document, std::string_view name) {
  const Vector wanted = loadFirst(name.data(), name.size());
  for (size_t i = 0; i < kNameTableSlots; ++i) {
    char *slot = document->nameTable[i];
    if (slot[0] == '\0') std::memcpy(slot, &wanted, kNameTableSlotSize);
    if (std::memcmp(slot, &wanted, kNameTableSlotSize) == 0) return i;
  }
  return kNameTableSlots;
}

// A record of another session than the document's may outlive the document.
bool mayPointInto(const XmlNode *document, const XmlNode *node) {
  return isOnHeap(node) || node->sessionId == document->sessionId;
}

void replaceByInterned(XmlNode *node, std::string_view name, XmlNode *document) {
  const size_t slot = slotFor(document, name);
  if (slot == kNameTableSlots) return;
  dropString<StringField::name>(node, Storage::ofTopmost(document));
  node->nameOwned = 0;
  if (isOnHeap(document)) {
    holdSlot(node, document, slot);
  } else {
    node->name = document->nameTable[slot];
    node->nameLength = notedNameLength(name.size());
    bindToSession(node, document->sessionId);
  }
}

}  // namespace

void internName(XmlNode *node, std::string_view name, XmlNode *topmost) {
  if (topmost->isDocument != 1 || node->nameOwned == 0 || !mayPointInto(topmost, node)) return;
  if (name.size() <= kLongestInternedName) replaceByInterned(node, name, topmost);
}

void internName(XmlNode *node, XmlNode *topmost) {
  // A name that was cleared keeps its flag; an empty slot must not become its name.
  if (topmost->isDocument != 1 || isMissing(node->name)) return;
  internName(node, {node->name, nameLengthOf(node)}, topmost);
}

}  // namespace neb::xml::internal
