// A time without signals.
#pragma once

#include <csignal>

namespace nebxml {

// Until the end of its scope. A signal would else end the program between the calls that replace a
// file, and leave a temporary one.
class BlockedSignals {
 public:
  BlockedSignals() {
    sigset_t all;
    sigfillset(&all);
    sigprocmask(SIG_BLOCK, &all, &previous_);
  }
  ~BlockedSignals() { sigprocmask(SIG_SETMASK, &previous_, nullptr); }
  BlockedSignals(const BlockedSignals &) = delete;
  BlockedSignals &operator=(const BlockedSignals &) = delete;

 private:
  sigset_t previous_{};
};

}  // namespace nebxml
