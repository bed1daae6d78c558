// A session that is opened for a new document.
#pragma once

#include <cstdint>

#include "memory/arena.h"
#include "neb_xml.h"

namespace neb::xml::internal {

// Ends the session with the object unless a document owns it by then.
class NewSession {
 public:
  NewSession() : handle_(XML_MemSessionBegin(kDocumentSessionSize)) {}
  ~NewSession() { XML_MemSessionEnd(handle_); }
  NewSession(const NewSession &) = delete;
  NewSession &operator=(const NewSession &) = delete;

  // 0 if memory has run out.
  uint32_t handle() const { return handle_; }

  // A document owns the session from now on.
  void release() { handle_ = 0; }

 private:
  uint32_t handle_;
};

}  // namespace neb::xml::internal
