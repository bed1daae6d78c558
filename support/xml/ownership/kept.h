// What a session's tree gives up of the heap. The session keeps it until it ends, so that nothing
// reaches the free hook while the document lives.
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

// A heap string that a node of this storage's tree gives up: a session keeps it, the heap frees it.
void keepOrFree(const Storage &storage, char *string);

// A heap attribute that was removed. The list goes through next.
void keepAttribute(XmlMemSession &session, XmlNode *attribute);

}  // namespace neb::xml::internal
