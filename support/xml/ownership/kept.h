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

// Takes a heap string that was given up in a session's tree. If there is no memory for the note, it
// is freed.
void keepString(const Storage &storage, char *string);

// Takes a heap string that was given up. A session keeps it, the heap frees it.
inline void keepOrFree(const Storage &storage, char *string) {
  if (storage.isHeap()) {
    g_fnXMLFree(string);
  } else {
    keepString(storage, string);
  }
}

// Keeps a heap attribute that was removed. Its next field links the list.
void keepAttribute(XmlMemSession &session, XmlNode *attribute);

}  // namespace neb::xml::internal
