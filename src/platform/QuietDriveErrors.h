// Keeps the system's own dialogs for critical errors ("there is no disk in the drive") away.
#pragma once

#include <windows.h>

namespace qev {

// While one lives, what would bring up such a dialog on this thread answers with its error code. SetThreadErrorMode.
class QuietDriveErrors {
 public:
  QuietDriveErrors() { SetThreadErrorMode(GetThreadErrorMode() | SEM_FAILCRITICALERRORS, &old_); }
  QuietDriveErrors(const QuietDriveErrors&) = delete;
  QuietDriveErrors& operator=(const QuietDriveErrors&) = delete;
  ~QuietDriveErrors() { SetThreadErrorMode(old_, nullptr); }

 private:
  DWORD old_ = 0;
};

}  // namespace qev
