// The values that the whole library shares: one set a process, whatever number of objects the host creates. A leaf that
// everything above settings/ may read.
#pragma once

#include <cstdint>
#include <set>
#include <string>

namespace qev {

enum BackupKindValue : std::uint8_t { kManual = 0, kAutomatic = 1, kScheduled = 2 };

struct LibraryState {
  std::wstring title;         // title text of the library's windows and message boxes
  std::wstring backupFolder;  // automatic backups go here; ends in a backslash
  std::wstring dataFolder;    // the host's data; ends in a backslash
  std::wstring settingsKey;   // key path under HKEY_LOCAL_MACHINE
  std::wstring destination;   // scheduled backups go here; ends in a backslash
  std::uint8_t BackupKind = kManual;
  bool finished = false;              // a window of the library has closed
  bool accepted = false;              // the manual backup dialog started a backup
  std::set<std::wstring> formsShown;  // names of the modal forms that are open
};

}  // namespace qev
