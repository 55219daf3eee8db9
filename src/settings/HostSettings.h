// What the host has set: one set of values a process, whatever number of objects the host creates.
#pragma once

#include <cstdint>
#include <string>

namespace qev {

// The kind of a backup that is asked for. Any other number is a backup without a name of its own.
enum BackupKindValue : std::uint8_t { kManual = 0, kAutomatic = 1, kScheduled = 2 };

struct HostSettings {
  std::wstring title;         // title text of the library's windows and message boxes
  std::wstring backupFolder;  // automatic backups go here; ends in a backslash
  std::wstring dataFolder;    // the host's data; ends in a backslash
  std::wstring settingsKey;   // key path under HKEY_LOCAL_MACHINE
  std::wstring destination;   // scheduled backups go here; ends in a backslash
};

}  // namespace qev
