// Ending a session: resolves its cross-references, frees what it has kept, and frees its blocks.
#include "memory/session_table.h"
#include "ownership/cross_references.h"
#include "ownership/kept.h"
#include "ownership/release.h"
#include "ownership/strings.h"
#include "record/links.h"

namespace neb::xml::internal {

namespace {

// Unlinks a record from a parent that outlives the session.
void cutFromOtherStorage(XmlNode *record, uint32_t session) {
  XmlNode *parent = record->parent;
  if (parent == nullptr || parent->sessionId == session) return;
  if (isAttribute(record)) {
    cutAttributes(parent, [=](const XmlNode *other) { return other->sessionId == session; });
  } else {
    unlinkNode(record);
  }
}

void releaseForeignAttributes(XmlNode *element, uint32_t session) {
  XmlNode *next = nullptr;
  for (XmlNode *attribute = element->firstAttr; attribute != nullptr; attribute = next) {
    next = attribute->next;
    if (attribute->sessionId == session) continue;
    if (isOnHeap(attribute)) {
      releaseSingle(attribute, Storage());
    } else {
      attribute->parent = nullptr;
      attribute->next = nullptr;
    }
  }
}

void releaseHeapChildren(XmlNode *parent) {
  XmlNode *next = nullptr;
  for (XmlNode *child = parent->firstChild; child != nullptr; child = next) {
    next = child->next;
    if (!isOnHeap(child)) continue;
    unlinkNode(child);
    releaseChain(child, Storage());
  }
}

void releaseWhatIsAttached(XmlNode *record, uint32_t session) {
  dropStrings(record, Storage());
  if (isAttribute(record)) return;
  releaseForeignAttributes(record, session);
  releaseHeapChildren(record);
}

// In two passes. The heap subtrees that the second pass frees may contain subtrees of the session,
// which it would walk record by record. The first pass unlinks those. So the cost is that of the
// cross-references and of what is freed, whatever the order of the list.
void resolveCrossReferences(XmlMemSession &session) {
  const uint32_t handle = session.handle.load(std::memory_order_relaxed);
  for (CrossReference *each = session.crossReferences; each != nullptr; each = each->next) {
    cutFromOtherStorage(each->record, handle);
  }
  for (CrossReference *each = session.crossReferences; each != nullptr; each = each->next) {
    releaseWhatIsAttached(each->record, handle);
  }
}

void freeKept(const XmlMemSession &session) {
  for (KeptString *note = session.keptStrings; note != nullptr; note = note->next) {
    g_fnXMLFree(note->string);
  }
  for (auto *attribute = static_cast<XmlNode *>(session.keptAttributes); attribute != nullptr;) {
    XmlNode *next = attribute->next;
    releaseSingle(attribute, Storage());
    attribute = next;
  }
}

}  // namespace

}  // namespace neb::xml::internal

using namespace neb::xml::internal;

uint32_t XML_MemSessionEnd(uint32_t handle) {
  XmlMemSession *session = findSession(handle);
  if (session == nullptr) return 0;
  resolveCrossReferences(*session);
  freeKept(*session);
  freeSession(*session);
  return 1;
}
