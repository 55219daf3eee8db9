// The real services of this system, each a few lines around the call that its interface names.
#include <windows.h>

#include <knownfolders.h>
#include <shlobj.h>

#include <memory>

#include "platform/AccessibilityWindows.h"
#include "platform/FileChooserWindows.h"
#include "platform/FileSystemWindows.h"
#include "platform/FolderChooserWindows.h"
#include "platform/Handle.h"
#include "platform/LocaleWindows.h"
#include "platform/Platform.h"
#include "platform/RegistryWindows.h"
#include "platform/TextPromptWindows.h"
#include "platform/Win32Error.h"

namespace qev {
namespace {

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
};

class SystemMessages : public Messages {
 public:
  Answer show(const std::wstring& text, const std::wstring& title, std::uint32_t style) override {
    const HWND owner = GetActiveWindow();
    const UINT modality = owner ? MB_APPLMODAL : MB_TASKMODAL | MB_SETFOREGROUND;
    const int answer = MessageBoxW(owner, text.c_str(), title.c_str(), style | modality);
    if (answer == 0) throw AutomationError(kOutOfMemory);
    return static_cast<Answer>(answer);
  }
};

struct TaskMemory {
  void operator()(wchar_t* text) const { CoTaskMemFree(text); }
};

class SystemWorkFolder : public WorkFolder {
 public:
  std::wstring path() override {
    wchar_t* known = nullptr;
    const HRESULT result = SHGetKnownFolderPath(FOLDERID_LocalAppData, KF_FLAG_CREATE, nullptr, &known);
    const std::unique_ptr<wchar_t, TaskMemory> owned(known);
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
    MSG message;
    for (int i = 0; i < most && PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE); ++i) {
      if (message.message == WM_QUIT) {
        PostQuitMessage(static_cast<int>(message.wParam));
        return;
      }
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
  }
};

class SystemLock : public ProcessLock {
 public:
  // Takes over a mutex that this thread owns.
  explicit SystemLock(UniqueHandle<KernelTraits> mutex) : mutex_(std::move(mutex)) {}
  ~SystemLock() override { ReleaseMutex(mutex_.get()); }

 private:
  UniqueHandle<KernelTraits> mutex_;
};

class SystemProcesses : public Processes {
 public:
  std::uint32_t id() const override { return GetCurrentProcessId(); }

  std::unique_ptr<ProcessLock> lock(const std::wstring& name, std::uint32_t milliseconds) override {
    UniqueHandle<KernelTraits> mutex(CreateMutexW(nullptr, FALSE, (L"Global\\" + name).c_str()));
    if (!mutex) return nullptr;
    const DWORD result = WaitForSingleObject(mutex.get(), milliseconds);
    if (result != WAIT_OBJECT_0 && result != WAIT_ABANDONED) return nullptr;
    return std::make_unique<SystemLock>(std::move(mutex));
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
  static AccessibilityWindows accessibility;
  static TextPromptWindows textPrompt;
  static FileChooserWindows fileChooser;
  static SystemProcesses processes;
  static Platform platform{registry,      files,         clock,      drives,      messages,
                           locale,        workFolder,    sound,      keyboard,    eventLoop,
                           folderChooser, accessibility, textPrompt, fileChooser, processes};
  return platform;
}

}  // namespace qev
