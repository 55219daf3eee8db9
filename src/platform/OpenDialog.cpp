#include "platform/OpenDialog.h"

#include <future>
#include <memory>

#include "platform/FolderChooserWindows.h"
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

// One showing of the dialog.
class OpenDialog {
 public:
  OpenDialog(const OpenDialogWishes& wishes, const wchar_t* failure) : wishes_(wishes), failure_(failure) {}

  std::optional<std::wstring> show(HWND owner) const {
    const auto dialog = make();
    FILEOPENDIALOGOPTIONS options = 0;
    require(dialog->GetOptions(&options));
    require(dialog->SetOptions(options | wishes_.options | FOS_FORCEFILESYSTEM | FOS_PATHMUSTEXIST | FOS_NOCHANGEDIR |
                               FOS_DONTADDTORECENT));
    require(dialog->SetTitle(wishes_.title.c_str()));
    if (wishes_.prepare) require(wishes_.prepare(*dialog));
    beginIn(*dialog, nearestExistingFolder(wishes_.startFolder));
    const HRESULT shown = dialog->Show(owner);
    if (shown == HRESULT_FROM_WIN32(ERROR_CANCELLED)) return std::nullopt;
    require(shown);
    return chosen(*dialog);
  }

 private:
  void require(HRESULT result) const {
    if (SUCCEEDED(result)) return;
    if (result == E_OUTOFMEMORY || HRESULT_FACILITY(result) == FACILITY_WIN32) throwHresult(result);
    throw AutomationError(result, L"QevBackup", failure_);
  }

  ComPointer<IFileOpenDialog> make() const {
    IFileOpenDialog* dialog = nullptr;
    require(CoCreateInstance(CLSID_FileOpenDialog, nullptr, CLSCTX_INPROC_SERVER, IID_IFileOpenDialog,
                             reinterpret_cast<void**>(&dialog)));
    return ComPointer<IFileOpenDialog>(dialog);
  }

  // A folder that the shell does not know is no reason not to show the dialog.
  static void beginIn(IFileOpenDialog& dialog, const std::wstring& folder) {
    if (folder.empty()) return;
    IShellItem* item = nullptr;
    if (FAILED(SHCreateItemFromParsingName(folder.c_str(), nullptr, IID_IShellItem, reinterpret_cast<void**>(&item)))) {
      return;
    }
    const ComPointer<IShellItem> owned(item);
    dialog.SetFolder(item);
  }

  std::wstring chosen(IFileOpenDialog& dialog) const {
    IShellItem* item = nullptr;
    require(dialog.GetResult(&item));
    const ComPointer<IShellItem> owned(item);
    wchar_t* path = nullptr;
    require(item->GetDisplayName(SIGDN_FILESYSPATH, &path));
    const std::unique_ptr<wchar_t, TaskMemory> ownedPath(path);
    return path;
  }

  const OpenDialogWishes& wishes_;
  const wchar_t* failure_;
};

}  // namespace

std::optional<std::wstring> showOpenDialog(const OpenDialogWishes& wishes, const wchar_t* failure) {
  const ComScope com;
  const OpenDialog dialog(wishes, failure);
  if (com.suitsDialogs()) return dialog.show(GetActiveWindow());
  // A dialog on a thread of its own, which no window of this one may own, as this one waits.
  return std::async(std::launch::async,
                    [&dialog] {
                      const ComScope own;
                      return dialog.show(nullptr);
                    })
      .get();
}

}  // namespace qev
