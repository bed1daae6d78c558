// The table of open sessions: from a handle to its session.
#pragma once

#include "memory/arena.h"

namespace neb::xml::internal {

// Handles count upwards and start again after 2^32. Until then, an ended handle is recognised as
// ended. The low bits of a handle select one entry in each level of the table. The first level is
// static, so that an ordinary program's sessions cost no allocation. Larger levels are allocated on
// the heap when the smaller ones fill up, and never move. They are freed when they are empty,
// except one, while sessions are open in larger levels. Nothing here takes a lock or waits for
// another thread.

// Null when the handle's session has ended or never was.
XmlMemSession *findSession(uint32_t handle);

// Takes a free entry and gives it a handle; its other fields are zero. Null when memory runs out.
XmlMemSession *openSession();

// Frees the entry of a session.
void closeSession(XmlMemSession &session);

}  // namespace neb::xml::internal
