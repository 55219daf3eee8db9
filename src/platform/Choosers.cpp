// The choosers of files and folders: one showing of the system's dialog for opening.
#include <windows.h>

#include <shobjidl.h>
#include <wrl/client.h>

#include <algorithm>
#include <functional>
#include <future>

#include "platform/Handle.h"
#include "platform/SystemServices.h"
#include "platform/Win32Error.h"

namespace qev {
namespace {

using Microsoft::WRL::ComPtr;

// What a chooser wants of the dialog.
struct Wishes {
  std::wstring title;
  std::wstring startFolder;  // or the nearest folder above it that exists; empty: as the system sees fit
  FILEOPENDIALOGOPTIONS options = 0;
  std::function<HRESULT(IFileOpenDialog&)> prepare;  // anything else, before it is shown; may be empty
};

// COM for the length of a scope, in the kind of apartment that dialogs need. The thread of a host has it already as a
// rule; one that has the other kind keeps that.
class ComScope {
 public:
  ComScope() : result_(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE)) {}
  ComScope(const ComScope&) = delete;
  ComScope& operator=(const ComScope&) = delete;
  ~ComScope() {
    if (SUCCEEDED(result_)) CoUninitialize();
  }

  bool suitsDialogs() const { return SUCCEEDED(result_); }

 private:
  HRESULT result_;
};

// One showing of the dialog. Throws an AutomationError, described by `failure`, when it cannot be shown.
class OpenDialog {
 public:
  OpenDialog(const Wishes& wishes, const wchar_t* failure) : wishes_(wishes), failure_(failure) {}

  // The path that the user chose, nothing when there is none.
  std::optional<std::wstring> show(HWND owner) const {
    const auto dialog = make();
    FILEOPENDIALOGOPTIONS options = 0;
    require(dialog->GetOptions(&options));
    require(dialog->SetOptions(options | wishes_.options | FOS_FORCEFILESYSTEM | FOS_PATHMUSTEXIST | FOS_NOCHANGEDIR |
                               FOS_DONTADDTORECENT));
    require(dialog->SetTitle(wishes_.title.c_str()));
    if (wishes_.prepare) require(wishes_.prepare(*dialog.Get()));
    beginIn(*dialog.Get(), nearestExistingFolder(wishes_.startFolder));
    const HRESULT shown = dialog->Show(owner);
    if (shown == HRESULT_FROM_WIN32(ERROR_CANCELLED)) return std::nullopt;
    require(shown);
    return chosen(*dialog.Get());
  }

 private:
  void require(HRESULT result) const {
    if (SUCCEEDED(result)) return;
    if (result == E_OUTOFMEMORY || HRESULT_FACILITY(result) == FACILITY_WIN32) throwHresult(result);
    throw AutomationError(result, L"QevBackup", failure_);
  }

  ComPtr<IFileOpenDialog> make() const {
    ComPtr<IFileOpenDialog> dialog;
    require(CoCreateInstance(CLSID_FileOpenDialog, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(dialog.GetAddressOf())));
    return dialog;
  }

  // A folder that the shell does not know is no reason not to show the dialog.
  static void beginIn(IFileOpenDialog& dialog, const std::wstring& folder) {
    if (folder.empty()) return;
    ComPtr<IShellItem> item;
    if (FAILED(SHCreateItemFromParsingName(folder.c_str(), nullptr, IID_PPV_ARGS(item.GetAddressOf())))) return;
    dialog.SetFolder(item.Get());
  }

  std::wstring chosen(IFileOpenDialog& dialog) const {
    ComPtr<IShellItem> item;
    require(dialog.GetResult(item.GetAddressOf()));
    wchar_t* path = nullptr;
    require(item->GetDisplayName(SIGDN_FILESYSPATH, &path));
    const UniqueTaskText owned(path);
    return path;
  }

  const Wishes& wishes_;
  const wchar_t* failure_;
};

// Over the active window of the calling thread; where that thread cannot show dialogs of this kind, by one of its own,
// which no window of this one may own, as this one waits.
std::optional<std::wstring> showOpenDialog(const Wishes& wishes, const wchar_t* failure) {
  const ComScope com;
  const OpenDialog dialog(wishes, failure);
  if (com.suitsDialogs()) return dialog.show(GetActiveWindow());
  return std::async(std::launch::async,
                    [&dialog] {
                      const ComScope own;
                      return dialog.show(nullptr);
                    })
      .get();
}

std::wstring fullPath(const std::wstring& path) {
  std::wstring full(32768, L'\0');
  const DWORD length = GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
  full.resize(length < full.size() ? length : 0);
  return full;
}

}  // namespace

std::optional<std::wstring> FileChooserWindows::choose(const std::wstring& title, const std::wstring& filter,
                                                       const std::wstring& startFolder) {
  const auto pairs = filterPairs(filter);
  std::vector<COMDLG_FILTERSPEC> types;
  for (const auto& [label, pattern] : pairs) types.push_back({label.c_str(), pattern.c_str()});
  const auto setTypes = [&types](IFileOpenDialog& dialog) {
    return types.empty() ? S_OK : dialog.SetFileTypes(static_cast<UINT>(types.size()), types.data());
  };
  return showOpenDialog({title, startFolder, FOS_FILEMUSTEXIST, setTypes},
                        L"No se puede mostrar el selector de archivos");
}

std::optional<std::wstring> FolderChooserWindows::choose(const std::wstring& title, const std::wstring& startFolder) {
  auto folder =
      showOpenDialog({title, startFolder, FOS_PICKFOLDERS, nullptr}, L"No se puede mostrar el selector de carpetas");
  if (folder) folder = withLastBackslash(*std::move(folder));
  return folder;
}

std::vector<std::pair<std::wstring, std::wstring>> filterPairs(const std::wstring& filter) {
  std::vector<std::pair<std::wstring, std::wstring>> pairs;
  std::size_t begin = 0;
  while (begin < filter.size()) {
    const auto labelEnd = filter.find(L'|', begin);
    if (labelEnd == std::wstring::npos) break;
    const auto patternEnd = std::min(filter.find(L'|', labelEnd + 1), filter.size());
    pairs.emplace_back(filter.substr(begin, labelEnd - begin), filter.substr(labelEnd + 1, patternEnd - labelEnd - 1));
    begin = patternEnd + 1;
  }
  return pairs;
}

std::wstring nearestExistingFolder(const std::wstring& path) {
  if (path.empty()) return {};
  const QuietDriveErrors quiet;
  std::wstring folder = fullPath(path);
  while (!folder.empty() && !FileSystemWindows().folderExists(folder)) folder = parentFolderName(folder);
  return folder;
}

std::wstring withLastBackslash(std::wstring path) {
  while (!path.empty() && (path.back() == L'\\' || path.back() == L'/')) path.pop_back();
  return path + L"\\";
}

}  // namespace qev
