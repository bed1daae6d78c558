// The table of open sessions: from a handle to its session.
#pragma once

#include "memory/sessions.h"

namespace neb::xml::internal {

// Each open session has a handle that no other has had since 2^32 sessions ago. A handle points at
// one place in each level of the table, by its low bits. The first level is static, so that an
// ordinary program's sessions cost no allocation; larger levels come through the hooks when the
// smaller ones fill up, never move, and go back when they are empty. Nothing here takes a lock or
// waits for another thread.

// Null when the handle's session has ended or never was.
XmlMemSession *findSession(uint32_t handle);

// Takes a free place and gives it a handle; its other fields are zero. Null when memory runs out.
XmlMemSession *openPlace();

// Frees the place of a session.
void closePlace(XmlMemSession &session);

}  // namespace neb::xml::internal
