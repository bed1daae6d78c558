#include "ownership/kept.h"

namespace neb::xml::internal {

void keepString(const Storage &storage, char *string) {
  XmlMemSession *session = storage.session();
  if (session == nullptr) return;
  auto *note = static_cast<KeptString *>(allocateInSession(*session, sizeof(KeptString)));
  if (note == nullptr) {
    g_fnXMLFree(string);  // out of memory: better early than never
    return;
  }
  note->string = string;
  note->next = session->keptStrings;
  session->keptStrings = note;
}

void keepAttribute(XmlMemSession &session, XmlNode *attribute) {
  attribute->next = static_cast<XmlNode *>(session.keptAttributes);
  session.keptAttributes = attribute;
}

}  // namespace neb::xml::internal
