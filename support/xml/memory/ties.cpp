// Keeping origin and position of a node in agreement: ties, and the pieces that a session keeps.
#include "memory/session_table.h"
#include "memory/sessions.h"
#include "tree/release.h"

namespace neb::xml::internal {

// Both notes are carved from the session, and so stand at any address.
#pragma pack(push, 1)
struct Tie {
  Tie *next;
  XmlNode *record;
};

struct KeptText {
  KeptText *next;
  char *text;
};
#pragma pack(pop)

namespace {

// What outlives the session must not lead into it.
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
    if (isOfHook(attribute)) {
      releaseSingle(attribute, Storage());
    } else {
      attribute->parent = nullptr;
      attribute->next = nullptr;
    }
  }
}

void releaseChildrenOfHook(XmlNode *parent) {
  XmlNode *next = nullptr;
  for (XmlNode *child = parent->firstChild; child != nullptr; child = next) {
    next = child->next;
    if (!isOfHook(child)) continue;
    unlinkNode(child);
    releaseChain(child, Storage());
  }
}

void releaseWhatHangsFrom(XmlNode *record, uint32_t session) {
  const Storage hook;
  dropString(record, StringField::name, hook);
  dropString(record, StringField::value, hook);
  dropString(record, StringField::prefix, hook);
  if (isAttribute(record)) return;
  releaseForeignAttributes(record, session);
  releaseChildrenOfHook(record);
}

void markResident(XmlNode *node, uint32_t handle) {
  if (node->livedIn == handle) return;
  node->livedIn = node->livedIn == 0 ? handle : kSeveralSessions;
}

}  // namespace

bool tieRecord(XmlNode *record) {
  if ((record->marks & kTied) != 0) return true;
  XmlMemSession *session = findSession(record->sessionId);
  if (session == nullptr) return false;
  auto *tie = static_cast<Tie *>(carve(*session, sizeof(Tie)));
  if (tie == nullptr) return false;
  tie->record = record;
  tie->next = session->ties;
  session->ties = tie;
  record->marks |= kTied;
  return true;
}

bool tieChild(XmlNode *child, XmlNode *parent) {
  if (child->sessionId == parent->sessionId) return true;
  if (!isOfHook(child) && !tieRecord(child)) return false;
  return isOfHook(parent) || tieRecord(parent);
}

void settleIn(XmlNode *node, uint32_t handle) {
  if (handle == 0) return;
  for (; node != nullptr && isOfHook(node) && node->livedIn != handle; node = node->parent) {
    markResident(node, handle);
  }
}

void settleTreeIn(XmlNode *top, uint32_t handle) {
  if (handle == 0) return;
  XmlNode *node = top;
  while (node != nullptr) {
    if (isOfHook(node)) markResident(node, handle);
    if (node->firstChild != nullptr) {
      node = node->firstChild;
      continue;
    }
    while (node != top && node->next == nullptr) node = node->parent;
    if (node == top) return;
    node = node->next;
  }
}

void settleTies(XmlMemSession &session) {
  const uint32_t handle = session.handle.load(std::memory_order_relaxed);
  for (Tie *tie = session.ties; tie != nullptr; tie = tie->next) {
    cutFromOtherStorage(tie->record, handle);
  }
  for (Tie *tie = session.ties; tie != nullptr; tie = tie->next) {
    releaseWhatHangsFrom(tie->record, handle);
  }
}

void keepAttribute(XmlMemSession &session, XmlNode *attribute) {
  attribute->next = session.keptAttributes;
  session.keptAttributes = attribute;
}

void Storage::giveUpHookText(char *text) const {
  if (isHook()) {
    g_fnXMLFree(text);
    return;
  }
  if (session_ == nullptr) return;
  auto *note = static_cast<KeptText *>(carve(*session_, sizeof(KeptText)));
  if (note == nullptr) {
    g_fnXMLFree(text);  // out of memory: better early than lost
    return;
  }
  note->text = text;
  note->next = session_->keptTexts;
  session_->keptTexts = note;
}

void releaseKept(XmlMemSession &session) {
  for (KeptText *note = session.keptTexts; note != nullptr; note = note->next) {
    g_fnXMLFree(note->text);
  }
  for (XmlNode *attribute = session.keptAttributes; attribute != nullptr;) {
    XmlNode *next = attribute->next;
    releaseSingle(attribute, Storage());
    attribute = next;
  }
}

}  // namespace neb::xml::internal
