// Retention: keeps the backup folder from growing without bound.
#pragma once

#include <string>
#include <vector>

#include "platform/FileSystem.h"
#include "platform/Locale.h"
#include "settings/HostSettings.h"
#include "settings/SettingsStore.h"

namespace qev {

// Deletes all files that lie directly in the host's backup folder but the newest `NCopias` by creation date (10 where
// the setting is missing or empty), whatever their names; of files of the same second, those that the file system lists
// first count as newer. Read-only files go too; subfolders are not looked at. A missing folder is made. What runs are
// writing counts for nothing, and what killed ones left goes first (FileSystem::filesIn, removeLeftOvers). Nothing is
// waited for: a file that another program has open and lets go is gone when that closes it.
//
// In safe mode (SettingsStore::safeMode) only sets with the host's title count and go, under whatever name: files in
// which checkSet finds a header. A file that cannot be read now is not known to be one. 0 counts as 1. Two sets stay
// whatever their number: the newest that reads whole (set/WholeSet.h), and the one named as `lastSet`, which this
// process has made last (set/LastSet.h). Where there are no more files than are to stay, none is opened; else each is
// read at its beginning, and the newest sets, up to the first that is whole, at their end.
//
// Throws 76 for a folder that is no path from a drive's root or a share, as one is that the host did not set: nothing
// is made or deleted. Throws 13 for an NCopias that is no number, 6 for one beyond 16 bits, 9 for a negative one (no
// set is deleted in these cases; an empty folder is content with any NCopias), and what the registry and the file
// system throw. When a file cannot be deleted, 70 as a rule, it and the files older than it stay.
void CCopias(FileSystem& files, const SettingsStore& settings, const Locale& locale, const HostSettings& host,
             const std::wstring& lastSet);

// Puts the newest file first; files of the same second keep their order.
void sortNewestFirst(std::vector<ListedFile>& files);

}  // namespace qev
