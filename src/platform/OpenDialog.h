// What the choosers of files and folders have in common: one showing of the system's dialog for opening.
#pragma once

#include <windows.h>

#include <shobjidl.h>

#include <functional>
#include <optional>
#include <string>

namespace qev {

// What a chooser wants of the dialog.
struct OpenDialogWishes {
  std::wstring title;
  std::wstring startFolder;  // or the nearest folder above it that exists; empty: as the system sees fit
  FILEOPENDIALOGOPTIONS options = 0;
  std::function<HRESULT(IFileOpenDialog&)> prepare;  // anything else, before it is shown; may be empty
};

// The path that the user chose, nothing when there is none. The dialog is shown over the active window of the calling
// thread; where that thread cannot show dialogs of this kind, by one of its own. Throws an AutomationError, described
// by `failure`, when it cannot be shown. IFileOpenDialog.
std::optional<std::wstring> showOpenDialog(const OpenDialogWishes& wishes, const wchar_t* failure);

}  // namespace qev
