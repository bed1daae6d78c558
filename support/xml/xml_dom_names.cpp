#include "xml_dom_names.h"

#include <cstring>

#include "platform/bounded_memory.h"
#include "platform/os_adapter.h"
#include "xml_dom_release.h"

namespace {

constexpr size_t kLongestInternedName = kNameTableSlotSize - 1;

// The slot that holds the name, or the first empty one with the name put into it; null if none.
char *slotFor(XmlNode *document, const char *name) {
  for (char *slot : document->nameTable) {
    if (slot[0] == '\0') {
      if (platform::KAVO_StrLen(name) > kLongestInternedName) return nullptr;
      platform::strncpy_s(slot, kNameTableSlotSize, name, kLongestInternedName);
      return slot;
    }
    if (std::strcmp(slot, name) == 0) return slot;
  }
  return nullptr;
}

}  // namespace

void internName(XmlNode *node, XmlNode *topmost) {
  if (topmost->isDocument != 1 || node->nameOwned == 0) return;
  // A name that was cleared keeps its flag; an empty slot must not become its name.
  if (isMissing(node->name)) return;
  char *slot = slotFor(topmost, node->name);
  if (slot == nullptr) return;
  const Storage storage = Storage::ofTopmost(topmost);
  dropString(node, StringField::name, storage);
  node->name = slot;
  node->nameOwned = 0;
}
