#include "system/blocked_signals.h"

#if defined(NEBXML_POSIX)

namespace nebxml {

BlockedSignals::BlockedSignals() {
  sigset_t all;
  sigfillset(&all);
  sigprocmask(SIG_BLOCK, &all, &previous_);
}

BlockedSignals::~BlockedSignals() { sigprocmask(SIG_SETMASK, &previous_, nullptr); }

}  // namespace nebxml

#endif
