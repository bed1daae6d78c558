#include "ownership/cross_references.h"

#include "memory/session_table.h"

namespace neb::xml::internal {

bool noteCrossReference(XmlNode *record) {
  if ((record->marks & kHasCrossReference) != 0) return true;
  XmlMemSession *session = findSession(record->sessionId);
  if (session == nullptr) return false;
  auto *note = static_cast<CrossReference *>(allocateInSession(*session, sizeof(CrossReference)));
  if (note == nullptr) return false;
  note->record = record;
  note->next = session->crossReferences;
  session->crossReferences = note;
  record->marks |= kHasCrossReference;
  return true;
}

}  // namespace neb::xml::internal
