#include "platform/FolderChooserWindows.h"

#include <windows.h>

#include <shobjidl.h>

#include <future>
#include <memory>

#include "platform/FileSystem.h"
#include "platform/QuietDriveErrors.h"
#include "platform/Win32Error.h"

namespace qev {
namespace {

struct ComReleaser {
  void operator()(IUnknown* object) const { object->Release(); }
};

template <typename Interface>
using ComPointer = std::unique_ptr<Interface, ComReleaser>;

struct TaskMemory {
  void operator()(wchar_t* text) const { CoTaskMemFree(text); }
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

void require(HRESULT result) {
  if (SUCCEEDED(result)) return;
  if (result == E_OUTOFMEMORY || HRESULT_FACILITY(result) == FACILITY_WIN32) throwHresult(result);
  throw AutomationError(result, L"QevBackup", L"No se puede mostrar el selector de carpetas");
}

ComPointer<IFileOpenDialog> makeDialog() {
  IFileOpenDialog* dialog = nullptr;
  require(CoCreateInstance(CLSID_FileOpenDialog, nullptr, CLSCTX_INPROC_SERVER, IID_IFileOpenDialog,
                           reinterpret_cast<void**>(&dialog)));
  return ComPointer<IFileOpenDialog>(dialog);
}

// A folder that the shell does not know is no reason not to show the dialog.
void beginIn(IFileOpenDialog& dialog, const std::wstring& folder) {
  if (folder.empty()) return;
  IShellItem* item = nullptr;
  if (FAILED(SHCreateItemFromParsingName(folder.c_str(), nullptr, IID_IShellItem, reinterpret_cast<void**>(&item)))) {
    return;
  }
  const ComPointer<IShellItem> owned(item);
  dialog.SetFolder(item);
}

std::wstring chosenFolder(IFileOpenDialog& dialog) {
  IShellItem* item = nullptr;
  require(dialog.GetResult(&item));
  const ComPointer<IShellItem> owned(item);
  wchar_t* path = nullptr;
  require(item->GetDisplayName(SIGDN_FILESYSPATH, &path));
  const std::unique_ptr<wchar_t, TaskMemory> ownedPath(path);
  return withLastBackslash(path);
}

std::optional<std::wstring> chooseHere(const std::wstring& title, const std::wstring& startFolder, HWND owner) {
  const auto dialog = makeDialog();
  FILEOPENDIALOGOPTIONS options = 0;
  require(dialog->GetOptions(&options));
  require(dialog->SetOptions(options | FOS_PICKFOLDERS | FOS_FORCEFILESYSTEM | FOS_PATHMUSTEXIST | FOS_NOCHANGEDIR |
                             FOS_DONTADDTORECENT));
  require(dialog->SetTitle(title.c_str()));
  beginIn(*dialog, nearestExistingFolder(startFolder));
  const HRESULT shown = dialog->Show(owner);
  if (shown == HRESULT_FROM_WIN32(ERROR_CANCELLED)) return std::nullopt;
  require(shown);
  return chosenFolder(*dialog);
}

std::wstring fullPath(const std::wstring& path) {
  std::wstring full(32768, L'\0');
  const DWORD length = GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
  full.resize(length < full.size() ? length : 0);
  return full;
}

bool isFolder(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

}  // namespace

std::optional<std::wstring> FolderChooserWindows::choose(const std::wstring& title, const std::wstring& startFolder) {
  const ComScope com;
  if (com.suitsDialogs()) return chooseHere(title, startFolder, GetActiveWindow());
  // A dialog on a thread of its own, which no window of this one may own, as this one waits.
  return std::async(std::launch::async,
                    [&] {
                      const ComScope own;
                      return chooseHere(title, startFolder, nullptr);
                    })
      .get();
}

std::wstring nearestExistingFolder(const std::wstring& path) {
  if (path.empty()) return {};
  const QuietDriveErrors quiet;
  std::wstring folder = fullPath(path);
  while (!folder.empty() && !isFolder(folder)) folder = parentFolderName(folder);
  return folder;
}

std::wstring withLastBackslash(std::wstring path) {
  while (!path.empty() && (path.back() == L'\\' || path.back() == L'/')) path.pop_back();
  return path + L"\\";
}

}  // namespace qev
