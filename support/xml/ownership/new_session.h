// A session that is opened for a new document.
#pragma once

#include <cstdint>

#include "memory/allocator.h"
#include "memory/arena.h"
#include "memory/session_table.h"
#include "neb_xml.h"

namespace neb::xml::internal {

// Ends the session with the object unless a document owns it by then.
class NewSession {
 public:
  explicit NewSession(const Allocator &allocator)
      : handle_(beginSession(kDocumentSessionSize, allocator)),
        hasLimit_(allocator.limit != nullptr) {}
  ~NewSession() { XML_MemSessionEnd(handle_); }
  NewSession(const NewSession &) = delete;
  NewSession &operator=(const NewSession &) = delete;

  // 0 if memory has run out.
  uint32_t handle() const { return handle_; }

  // A document owns the session from now on. A limit of its allocator ends here.
  void release() {
    if (hasLimit_) endLimit(*findSession(handle_));
    handle_ = 0;
  }

 private:
  uint32_t handle_;
  bool hasLimit_;
};

}  // namespace neb::xml::internal
