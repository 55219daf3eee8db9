// Work that takes its time, while the windows of this thread get their messages.
#pragma once

#include <windows.h>

#include <functional>

#include "platform/NewFile.h"

namespace qev {

// Does `work` on a thread of its own, with this thread's error mode (SetThreadErrorMode), and calls
// patience.giveMessages every 50 ms at least until it is done; how long that takes, the patience does not matter.
// Answers what the work answers, a Win32 code. Without giveMessages, or where there can be no thread, the work is done
// on this one. REQUIRES: the work calls nothing but the system, throws nothing, and touches nothing that messages can
// change. CreateThread, MsgWaitForMultipleObjects.
[[nodiscard]] DWORD withMessages(const Patience& patience, const std::function<DWORD()>& work);

}  // namespace qev
