// The table of open sessions: from a handle to its session.
#pragma once

#include "memory/arena.h"

namespace neb::xml::internal {

// Each open session has a handle that no other has had since 2^32 sessions ago. A handle points at
// one entry in each level of the table, by its low bits. The first level is static, so that an
// ordinary program's sessions cost no allocation. Larger levels are allocated on the heap when the
// smaller ones fill up, never move, and are freed when they are empty. Nothing here takes a lock or
// waits for another thread.

// Null when the handle's session has ended or never was.
XmlMemSession *findSession(uint32_t handle);

// Takes a free entry and gives it a handle; its other fields are zero. Null when memory runs out.
XmlMemSession *openSession();

// Frees the entry of a session.
void closeSession(XmlMemSession &session);

}  // namespace neb::xml::internal
