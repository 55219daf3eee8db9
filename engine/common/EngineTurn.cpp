// One run at a time.
#include "Engine.h"

namespace qev::engine::turn {

namespace {

volatile LONG taken = 0;
DWORD holder = 0;           // the thread that runs
ULONG_PTR holderFrame = 0;  // stack address of its run

}  // namespace

bool take(ULONG_PTR frame, void (*abandon)()) {
  if (InterlockedCompareExchange(&taken, 1, 0) != 0) {
    const bool abandoned = holder == GetCurrentThreadId() && frame >= holderFrame;
    if (!abandoned) return false;
    abandon();
  }
  holder = GetCurrentThreadId();
  holderFrame = frame;
  return true;
}

void giveBack() {
  InterlockedExchange(&taken, 0);
}

bool isTaken() {
  return taken != 0;
}

}  // namespace qev::engine::turn
