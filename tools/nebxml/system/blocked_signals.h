// A time in which nobody can stop the program.
#pragma once

#include "system/system.h"

#if defined(NEBXML_POSIX)
#include <csignal>
#endif

namespace nebxml {

// Until the end of its scope. A signal, or Ctrl+C on Windows, would else end the program between
// the calls that replace a file, and leave a temporary one.
class BlockedSignals {
 public:
  BlockedSignals();
  ~BlockedSignals();
  BlockedSignals(const BlockedSignals &) = delete;
  BlockedSignals &operator=(const BlockedSignals &) = delete;

#if defined(NEBXML_POSIX)
 private:
  sigset_t previous_{};
#endif
};

}  // namespace nebxml
