#include "system/blocked_signals.h"

#if defined(NEBXML_WINDOWS)

#include <windows.h>

namespace nebxml {
namespace {

BOOL WINAPI ignoreStop(DWORD event) { return event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT; }

}  // namespace

BlockedSignals::BlockedSignals() { ::SetConsoleCtrlHandler(ignoreStop, TRUE); }

BlockedSignals::~BlockedSignals() { ::SetConsoleCtrlHandler(ignoreStop, FALSE); }

}  // namespace nebxml

#endif
