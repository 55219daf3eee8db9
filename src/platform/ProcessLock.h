// Something that one process at a time may do.
#pragma once

#include <cstdint>
#include <string>

#include "platform/Handle.h"

namespace qev {

class ProcessLock {
 public:
  // Waits until no other thread of any process holds the lock of that name, at most so long. A holder that has died
  // gives it up. `name` has no backslash and at most 200 characters; users that may not open one another's locks need
  // names of their own. CreateMutexW, in the system's global name space; WaitForSingleObject.
  ProcessLock(const std::wstring& name, std::uint32_t milliseconds);
  ProcessLock(const ProcessLock&) = delete;
  ProcessLock& operator=(const ProcessLock&) = delete;
  ~ProcessLock();

  // False when the wait was in vain, or the lock cannot be had at all.
  bool held() const { return held_; }

 private:
  UniqueHandle<KernelTraits> mutex_;
  bool held_ = false;
};

}  // namespace qev
