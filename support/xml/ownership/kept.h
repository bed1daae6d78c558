// The heap strings and attributes that a session's tree gives up. The session keeps them until it
// ends, so that the free hook does not get parts of a document that lives.
#pragma once

#include "ownership/storage.h"

namespace neb::xml::internal {

// At any address of the session.
#pragma pack(push, 1)
struct KeptString {
  KeptString *next;
  char *string;
};
#pragma pack(pop)

// Takes a heap string that was given up. A session keeps it; if there is no memory for the note, it
// is freed. The heap frees it.
void keepOrFree(const Storage &storage, char *string);

// Keeps a heap attribute that was removed. Its next field links the list.
void keepAttribute(XmlMemSession &session, XmlNode *attribute);

}  // namespace neb::xml::internal
