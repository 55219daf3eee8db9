// The dialog in which the user picks a file that exists.
#pragma once

#include <optional>
#include <string>

namespace qev {

class FileChooser {
 public:
  virtual ~FileChooser() = default;

  // Shows the system's chooser of a file to open, titled `title`, over the active window of the calling thread and
  // waits for the user. `filter` is pairs of a label and a pattern, all separated by "|" ("*.*|*.*"). It begins in
  // `startFolder` as FolderChooser::choose does.
  //
  // The full path of the chosen file, which exists; nothing when the user chose none. Throws an AutomationError when
  // the chooser cannot be shown. IFileOpenDialog.
  virtual std::optional<std::wstring> choose(const std::wstring& title, const std::wstring& filter,
                                             const std::wstring& startFolder) = 0;
};

}  // namespace qev
