// The files of a host that a backup is to hold, as the disk has them now: what its archive is compared with.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/Platform.h"

namespace qev {

// Where a host's files are. The texts are those that the zip engine is handed.
struct DataPlaces {
  std::wstring folder;     // the data folder, with its last backslash
  std::wstring utilities;  // Util.mde, two folders above it
  std::wstring settings;   // the host's .ini beside that

  // Of a host with this data folder, with or without its last backslash, and this title. Throws 76 for a folder that
  // names neither a drive's folder nor a share's: it would be one of whatever folder is current.
  [[nodiscard]] static DataPlaces of(const std::wstring& dataFolder, const std::wstring& title);

  bool operator==(const DataPlaces&) const = default;
};

struct DataFile {
  std::wstring path;
  std::string name;  // in an archive, UTF-8
  std::uint64_t size = 0;
  std::uint64_t written = 0;
  bool isHidden = false;

  bool operator==(const DataFile&) const = default;
};

struct DataFiles {
  std::vector<DataFile> files;
  std::vector<WalkGap> gaps;
  std::uint64_t bytes = 0;   // of all files
  std::size_t inFolder = 0;  // files of the data folder
  std::string targetName;    // that of the set which is about to be replaced, as if it were data
};

// All of them. `target` is no data, wherever it is: the set that the run is about to replace. `step` is called at each
// file and folder, for the windows' messages. Throws nothing of the file system's: what cannot be listed is a gap.
[[nodiscard]] DataFiles findData(Platform& platform, const DataPlaces& places, const std::wstring& target,
                                 const std::function<void()>& step);

// Whether a path lies below a folder, which has its last backslash; letter case does not count.
[[nodiscard]] bool isWithin(const Locale& locale, const std::wstring& path, const std::wstring& folder);

// The files of `after` that were there before and have been written since, by their length or their moment.
[[nodiscard]] std::vector<DataFile> changedBetween(const DataFiles& before, const DataFiles& after);

// The name under which the zip engine stores a file: without drive or share, "/" between folders, in UTF-8.
[[nodiscard]] std::string nameInArchive(const std::wstring& path);

}  // namespace qev
