// The real services of this system, each a few lines around the call that its interface names.
#include <windows.h>

#include <knownfolders.h>
#include <restartmanager.h>
#include <shlobj.h>
#include <wrl/client.h>

#include <initguid.h>
#include <oleacc.h>

#include "platform/Handle.h"
#include "platform/QuitMessage.h"
#include "platform/SystemServices.h"
#include "platform/Win32Error.h"
#include "resources/resource.h"

namespace qev {
namespace {

using Microsoft::WRL::ComPtr;

class SystemClock : public Clock {
 public:
  Date now() const override {
    SYSTEMTIME local{};
    GetLocalTime(&local);
    local.wMilliseconds = 0;
    double days = 0;
    SystemTimeToVariantTime(&local, &days);
    return Date{days};
  }

  std::uint64_t ticks() const override { return GetTickCount64(); }
};

class SystemDrives : public Drives {
 public:
  std::optional<DiskFreeSpace> freeSpace(const std::wstring& drive) const override {
    const std::string root = LocaleWindows().ansiFromText(drive) + "\\";
    DWORD sectors = 0, bytes = 0, freeClusters = 0, clusters = 0;
    if (!GetDiskFreeSpaceA(root.c_str(), &sectors, &bytes, &freeClusters, &clusters)) return std::nullopt;
    return DiskFreeSpace{sectors, bytes, freeClusters};
  }

  std::optional<VolumeFacts> volumeOf(const std::wstring& folder) const override {
    const QuietDriveErrors quiet;
    std::wstring root(folder.size() + MAX_PATH, L'\0');
    wchar_t fileSystem[MAX_PATH + 1] = L"";
    ULARGE_INTEGER available{};
    if (!GetVolumePathNameW(folder.c_str(), root.data(), static_cast<DWORD>(root.size())) ||
        !GetVolumeInformationW(root.c_str(), nullptr, 0, nullptr, nullptr, nullptr, fileSystem, MAX_PATH + 1) ||
        !GetDiskFreeSpaceExW(root.c_str(), &available, nullptr, nullptr)) {
      return std::nullopt;
    }
    return VolumeFacts{fileSystem, available.QuadPart};
  }
};

class SystemMessages : public Messages {
 public:
  Answer show(const std::wstring& text, const std::wstring& title, std::uint32_t style) override {
    PutOffQuit quit;
    int answer = 0;
    do {
      const HWND owner = GetActiveWindow();
      const UINT modality = owner ? MB_APPLMODAL : MB_TASKMODAL | MB_SETFOREGROUND;
      answer = MessageBoxW(owner, text.c_str(), title.c_str(), style | modality);
    } while (quit.take());  // it has closed the box: nobody has answered
    if (answer == 0) throw AutomationError(kOutOfMemory);
    return static_cast<Answer>(answer);
  }
};

class SystemWorkFolder : public WorkFolder {
 public:
  std::wstring path() override {
    wchar_t* known = nullptr;
    const HRESULT result = SHGetKnownFolderPath(FOLDERID_LocalAppData, KF_FLAG_CREATE, nullptr, &known);
    const UniqueTaskText owned(known);
    if (FAILED(result)) throwHresult(result);
    const std::wstring folder = std::wstring(known) + L"\\QevBackup";
    makeFolder(folder);
    makeFolder(folder + L"\\temp");
    return folder;
  }

 private:
  static void makeFolder(const std::wstring& path) {
    if (CreateDirectoryW(path.c_str(), nullptr) || GetLastError() == ERROR_ALREADY_EXISTS) return;
    throwWin32(GetLastError(), path);
  }
};

class SystemSound : public Sound {
 public:
  void beep() override { MessageBeep(MB_OK); }
};

class SystemKeyboard : public Keyboard {
 public:
  void sendKey(std::uint8_t virtualKey, bool withShift) override {
    if (withShift) stroke(VK_SHIFT, 0);
    stroke(virtualKey, 0);
    stroke(virtualKey, KEYEVENTF_KEYUP);
    if (withShift) stroke(VK_SHIFT, KEYEVENTF_KEYUP);
  }

 private:
  static void stroke(std::uint8_t key, DWORD flags) {
    keybd_event(key, static_cast<BYTE>(MapVirtualKeyW(key, MAPVK_VK_TO_VSC)), flags, 0);
  }
};

class SystemEventLoop : public EventLoop {
 public:
  void yield() override {
    constexpr int most = 100;  // a window that keeps posting to itself must not hold up the caller
    PutOffQuit quit;           // it would come before timers and painting, every time
    MSG message;
    for (int i = 0; i < most && PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE); ++i) {
      if (message.message == WM_QUIT) {
        quit.keep(message);
        continue;
      }
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
  }

  void pause(std::uint32_t milliseconds) override {
    PutOffQuit quit;  // one that waits would end every wait at once
    const ULONGLONG end = GetTickCount64() + milliseconds;
    for (ULONGLONG now = GetTickCount64(); now < end; now = GetTickCount64()) {
      const DWORD event = MsgWaitForMultipleObjectsEx(0, nullptr, static_cast<DWORD>(end - now), QS_ALLINPUT, 0);
      if (event == WAIT_FAILED) Sleep(static_cast<DWORD>(end - now));
      yield();
      quit.take();
    }
  }
};

class SystemAccessibility : public Accessibility {
 public:
  void setName(WindowHandle window, const std::wstring& name) override {
    if (const auto services = annotationService())
      services->SetHwndPropStr(static_cast<HWND>(window), kClient, CHILDID_SELF, PROPID_ACC_NAME, name.c_str());
  }

  void clearName(WindowHandle window) override {
    MSAAPROPID properties[] = {PROPID_ACC_NAME};
    if (const auto services = annotationService())
      services->ClearHwndProps(static_cast<HWND>(window), kClient, CHILDID_SELF, properties, 1);
  }

 private:
  static constexpr auto kClient = static_cast<DWORD>(OBJID_CLIENT);

  // The service of this thread, which must be in an apartment, as a host's user-interface thread is. None where the
  // system has none.
  static ComPtr<IAccPropServices> annotationService() {
    ComPtr<IAccPropServices> services;
    CoCreateInstance(CLSID_AccPropServices, nullptr, CLSCTX_INPROC_SERVER, IID_IAccPropServices,
                     reinterpret_cast<void**>(services.GetAddressOf()));
    return services;
  }
};

struct Prompt {
  const std::wstring& text;
  const std::wstring& title;
  std::wstring typed;
};

std::wstring textOf(HWND field) {
  std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(field)) + 1, L'\0');
  text.resize(static_cast<std::size_t>(GetWindowTextW(field, text.data(), static_cast<int>(text.size()))));
  return text;
}

INT_PTR CALLBACK dialogProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_INITDIALOG) {
    const auto& prompt = *reinterpret_cast<const Prompt*>(lParam);
    SetWindowLongPtrW(window, DWLP_USER, lParam);
    SetWindowTextW(window, prompt.title.c_str());
    SetDlgItemTextW(window, TextPrompt_Prompt, prompt.text.c_str());
    return TRUE;
  }
  if (message != WM_COMMAND) return FALSE;
  const int id = LOWORD(wParam);
  if (id != TextPrompt_Accept && id != TextPrompt_Cancel) return FALSE;
  auto& prompt = *reinterpret_cast<Prompt*>(GetWindowLongPtrW(window, DWLP_USER));
  if (id == TextPrompt_Accept) prompt.typed = textOf(GetDlgItem(window, TextPrompt_Text));
  EndDialog(window, id);
  return TRUE;
}

class SystemTextPrompt : public TextPrompt {
 public:
  std::optional<std::wstring> ask(const std::wstring& prompt, const std::wstring& title) override {
    Prompt asked{prompt, title, {}};
    const INT_PTR pressed = DialogBoxParamW(moduleInstance(), L"TEXTPROMPT", GetActiveWindow(), &dialogProcedure,
                                            reinterpret_cast<LPARAM>(&asked));
    if (pressed == TextPrompt_Accept) return asked.typed;
    if (pressed == TextPrompt_Cancel) return std::nullopt;
    throw AutomationError(kOutOfMemory);
  }
};

class SystemLock : public ProcessLock {
 public:
  // Takes over a mutex that this thread owns.
  explicit SystemLock(UniqueKernelHandle mutex) : mutex_(std::move(mutex)) {}
  ~SystemLock() override { ReleaseMutex(mutex_.get()); }

 private:
  UniqueKernelHandle mutex_;
};

// A session of the Restart Manager. Its library is there since Windows Vista; without it nobody is known.
class RestartManager {
 public:
  RestartManager() : library_(LoadLibraryExW(L"rstrtmgr.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32)) {
    wchar_t key[CCH_RM_SESSION_KEY + 1] = L"";
    const auto start = function<decltype(&RmStartSession)>("RmStartSession");
    isOpen_ = start && start(&session_, 0, key) == ERROR_SUCCESS;
  }
  RestartManager(const RestartManager&) = delete;
  RestartManager& operator=(const RestartManager&) = delete;
  ~RestartManager() {
    if (const auto end = function<decltype(&RmEndSession)>("RmEndSession"); isOpen_ && end) end(session_);
  }

  std::vector<std::wstring> usersOf(const std::wstring& path) const {
    constexpr UINT most = 10;
    const auto add = function<decltype(&RmRegisterResources)>("RmRegisterResources");
    const auto list = function<decltype(&RmGetList)>("RmGetList");
    const wchar_t* files[] = {path.c_str()};
    if (!isOpen_ || !add || !list || add(session_, 1, files, 0, nullptr, 0, nullptr) != ERROR_SUCCESS) return {};
    RM_PROCESS_INFO found[most];
    UINT needed = 0, count = most;
    DWORD reasons = 0;
    if (list(session_, &needed, &count, found, &reasons) != ERROR_SUCCESS) return {};
    std::vector<std::wstring> names;
    for (UINT i = 0; i < count && i < most; ++i) names.emplace_back(found[i].strAppName);
    return names;
  }

 private:
  template <typename Function>
  Function function(const char* name) const {
    if (!library_) return nullptr;
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library_.get(), name)));
  }

  UniqueModule library_;
  DWORD session_ = 0;
  bool isOpen_ = false;
};

class SystemProcesses : public Processes {
 public:
  std::uint32_t id() const override { return GetCurrentProcessId(); }
  std::wstring name() const override { return processName().text; }
  bool isGone(const std::wstring& name) const override { return isProcessGone(name.c_str()); }

  std::vector<std::wstring> usersOf(const std::wstring& path) const override {
    const RestartManager manager;
    return manager.usersOf(path);
  }

  std::unique_ptr<ProcessLock> lock(const std::wstring& name, std::uint32_t milliseconds) override {
    UniqueKernelHandle mutex(CreateMutexW(nullptr, FALSE, (L"Global\\" + name).c_str()));
    if (!mutex) return nullptr;
    const DWORD result = WaitForSingleObject(mutex.get(), milliseconds);
    if (result != WAIT_OBJECT_0 && result != WAIT_ABANDONED) return nullptr;
    return std::make_unique<SystemLock>(std::move(mutex));
  }
};

class SystemUninterrupted : public Uninterrupted {
 public:
  SystemUninterrupted(HWND window, const std::wstring& reason) : window_(window) {
    const EXECUTION_STATE now = SetThreadExecutionState(ES_CONTINUOUS | ES_SYSTEM_REQUIRED);
    constexpr EXECUTION_STATE lasting = ES_SYSTEM_REQUIRED | ES_DISPLAY_REQUIRED | ES_AWAYMODE_REQUIRED;
    if (now & ES_CONTINUOUS) before_ |= now & lasting;
    SetThreadExecutionState(before_ | ES_SYSTEM_REQUIRED);
    isBlocking_ = ShutdownBlockReasonCreate(window_, reason.c_str());
  }
  ~SystemUninterrupted() override {
    if (isBlocking_) ShutdownBlockReasonDestroy(window_);
    SetThreadExecutionState(before_);
  }

 private:
  HWND window_;
  EXECUTION_STATE before_ = ES_CONTINUOUS;  // what the host wants of this thread
  bool isBlocking_ = false;
};

class SystemSession : public Session {
 public:
  std::unique_ptr<Uninterrupted> keep(WindowHandle window, const std::wstring& reason) override {
    return std::make_unique<SystemUninterrupted>(static_cast<HWND>(window), reason);
  }
};

void WINAPI giveMessages(void*) {
  SystemEventLoop().yield();
}

}  // namespace

Patience systemPatience() {
  return {.giveMessages = giveMessages};
}

Platform& systemPlatform() {
  static RegistryWindows registry;
  static FileSystemWindows files(systemPatience());
  static SystemClock clock;
  static SystemDrives drives;
  static SystemMessages messages;
  static LocaleWindows locale;
  static SystemWorkFolder workFolder;
  static SystemSound sound;
  static SystemKeyboard keyboard;
  static SystemEventLoop eventLoop;
  static FolderChooserWindows folderChooser;
  static SystemAccessibility accessibility;
  static SystemTextPrompt textPrompt;
  static FileChooserWindows fileChooser;
  static SystemProcesses processes;
  static SystemSession session;
  static Platform platform{registry,   files,       clock,     drives,    messages,      locale,
                           workFolder, sound,       keyboard,  eventLoop, folderChooser, accessibility,
                           textPrompt, fileChooser, processes, session};
  return platform;
}

HINSTANCE moduleInstance() {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<LPCWSTR>(&moduleInstance), &module);
  return module;
}

std::wstring modulePath() {
  std::wstring path(MAX_PATH, L'\0');
  while (true) {
    const DWORD length = GetModuleFileNameW(moduleInstance(), path.data(), static_cast<DWORD>(path.size()));
    if (length < path.size()) return path.substr(0, length);
    path.resize(path.size() * 2);  // the path was cut
  }
}

}  // namespace qev
