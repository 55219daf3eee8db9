// Retention: keeps the backup folder from growing without bound.
#pragma once

#include <string>
#include <vector>

#include "platform/FileSystem.h"
#include "platform/Locale.h"
#include "settings/SettingsStore.h"

namespace qev {

// Deletes all files that lie directly in `backupFolder` but the newest `NCopias` by creation date (10 where the setting
// is missing or empty), whatever their names; of files of the same second, those that the file system lists first count
// as newer. Read-only files go too; subfolders are not looked at. A missing folder is made. What runs are writing
// counts for nothing, and what killed ones left goes first (FileSystem::filesIn, removeLeftOvers).
//
// Throws 13 for an NCopias that is no number, 6 for one beyond 16 bits, 9 for a negative one (no set is deleted in
// these cases; an empty folder is content with any NCopias), and what the registry and the file system throw. When a
// file cannot be deleted, 70 as a rule, it and the files older than it stay.
void CCopias(FileSystem& files, const SettingsStore& settings, const Locale& locale, const std::wstring& backupFolder);

// Puts the newest file first; files of the same second keep their order.
void sortNewestFirst(std::vector<ListedFile>& files);

}  // namespace qev
