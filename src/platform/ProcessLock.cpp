#include "platform/ProcessLock.h"

namespace qev {

ProcessLock::ProcessLock(const std::wstring& name, std::uint32_t milliseconds)
    : mutex_(CreateMutexW(nullptr, FALSE, (L"Global\\" + name).c_str())) {
  if (!mutex_) return;
  const DWORD result = WaitForSingleObject(mutex_.get(), milliseconds);
  held_ = result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
}

ProcessLock::~ProcessLock() {
  if (held_) ReleaseMutex(mutex_.get());
}

}  // namespace qev
