// What the forms of this process tell one another and the host: one a process.
#pragma once

#include <cstdint>
#include <set>
#include <string>

#include "settings/HostSettings.h"

namespace qev {

struct FormSession {
  std::uint8_t BackupKind = kManual;  // of the backup that the backup window is to make
  bool finished = false;              // a window of the library has closed
  bool accepted = false;              // the manual backup dialog started a backup
  std::set<std::wstring> formsShown;  // names of the modal forms that are open
};

}  // namespace qev
