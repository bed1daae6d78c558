#include "tree/names.h"

#include <cstring>

#include "ownership/bound_session.h"
#include "ownership/name_holders.h"
#include "ownership/strings.h"
#include "platform/bounded_memory.h"
#include "platform/os_adapter.h"

namespace neb::xml::internal {

namespace {

constexpr size_t kLongestInternedName = kNameTableSlotSize - 1;

// The slot that holds the name, or the first empty one with the name put into it; the number of
// slots if there is none.
size_t slotFor(XmlNode *document, const char *name) {
  for (size_t i = 0; i < kNameTableSlots; ++i) {
    char *slot = document->nameTable[i];
    if (slot[0] == '\0') {
      if (platform::KAVO_StrLen(name) > kLongestInternedName) return kNameTableSlots;
      platform::strncpy_s(slot, kNameTableSlotSize, name, kLongestInternedName);
      return i;
    }
    if (std::strcmp(slot, name) == 0) return i;
  }
  return kNameTableSlots;
}

// A record of another session than the document's may outlive the document.
bool mayPointInto(const XmlNode *document, const XmlNode *node) {
  return isOnHeap(node) || node->sessionId == document->sessionId;
}

}  // namespace

void internName(XmlNode *node, XmlNode *topmost) {
  if (topmost->isDocument != 1 || node->nameOwned == 0 || !mayPointInto(topmost, node)) return;
  // A name that was cleared keeps its flag; an empty slot must not become its name.
  if (isMissing(node->name)) return;
  const size_t slot = slotFor(topmost, node->name);
  if (slot == kNameTableSlots) return;
  dropString(node, StringField::name, Storage::ofTopmost(topmost));
  node->nameOwned = 0;
  if (isOnHeap(topmost)) {
    holdSlot(node, topmost, slot);
  } else {
    node->name = topmost->nameTable[slot];
    bindToSession(node, topmost->sessionId);
  }
}

}  // namespace neb::xml::internal
