// The dialog in which the user picks a folder.
#pragma once

#include <optional>
#include <string>

namespace qev {

class FolderChooser {
 public:
  virtual ~FolderChooser() = default;

  // Shows the system's folder chooser, titled `title`, over the active window of the calling thread and waits for the
  // user. It begins in `startFolder`, with or without a last backslash, relative or not; where that does not exist (any
  // more), in the nearest folder above it that does; where it is empty, where the system sees fit.
  //
  // The full path of the chosen folder with exactly one backslash at its end ("C:\Copias\", "D:\"); nothing when the
  // user chose none. Throws an AutomationError when the chooser cannot be shown. IFileOpenDialog.
  virtual std::optional<std::wstring> choose(const std::wstring& title, const std::wstring& startFolder) = 0;
};

}  // namespace qev
