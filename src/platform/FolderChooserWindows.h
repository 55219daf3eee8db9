// The folder chooser of this system: its dialog for opening files, told to pick folders.
#pragma once

#include "platform/FolderChooser.h"

namespace qev {

class FolderChooserWindows : public FolderChooser {
 public:
  std::optional<std::wstring> choose(const std::wstring& title, const std::wstring& startFolder) override;
};

// The full path of `path`, or of the nearest folder above it when no such folder exists; "" for an empty path and where
// not even its drive is there. GetFullPathNameW, GetFileAttributesW.
std::wstring nearestExistingFolder(const std::wstring& path);

// `path` with exactly one backslash at its end. REQUIRES: not empty.
std::wstring withLastBackslash(std::wstring path);

}  // namespace qev
