// The one seam to the system: every service that the library takes from outside, handed down from the edge of the DLL.
// Tests hand down their own.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Clock.h"
#include "platform/FileSystem.h"
#include "platform/Locale.h"

namespace qev {

inline constexpr std::uint32_t kLocalMachine = 0x80000002;  // HKEY_LOCAL_MACHINE

// Named values in the Windows registry, in the 32-bit or 64-bit view that the host process itself sees.
class Registry {
 public:
  virtual ~Registry() = default;

  // The value `name` under `keyPath`, empty when the key or the name does not exist. Texts (REG_SZ; REG_EXPAND_SZ with
  // its variables replaced) come as text, REG_DWORD and REG_QWORD as a 32-bit integer, or as a double where that does
  // not hold it; any other type throws 13. Throws 70 when access is denied. RegOpenKeyExW, RegQueryValueExW.
  [[nodiscard]] virtual Value read(const std::wstring& keyPath, const std::wstring& name, std::uint32_t root) const = 0;

  // Writes a value, creating the key where it is missing. Integers and Booleans are stored as REG_DWORD, all else as
  // REG_SZ text. Throws 70 when access is denied, 13 for a null value. RegCreateKeyExW, RegSetValueExW.
  virtual void write(const std::wstring& keyPath, const std::wstring& name, std::uint32_t root, const Value& value) = 0;
};

// The styles and answers of MessageBoxW, by their published numbers.
namespace message {
inline constexpr std::uint32_t kOk = 0;
inline constexpr std::uint32_t kOkCancel = 1;
inline constexpr std::uint32_t kYesNo = 4;
inline constexpr std::uint32_t kCritical = 16;
inline constexpr std::uint32_t kQuestion = 32;
inline constexpr std::uint32_t kExclamation = 48;
inline constexpr std::uint32_t kInformation = 64;
inline constexpr std::uint32_t kDefaultSecond = 256;
}  // namespace message

enum class Answer : int { Ok = 1, Cancel = 2, Yes = 6, No = 7 };

// Modal message boxes.
class Messages {
 public:
  virtual ~Messages() = default;

  // Shows a message box over the active window of the calling thread and waits for the answer. A box that can be closed
  // without a choice answers Cancel, or No where there is no Cancel button. MessageBoxW.
  [[nodiscard]] virtual Answer show(const std::wstring& text, const std::wstring& title, std::uint32_t style) = 0;

  // The same for a box that has one button only.
  void tell(const std::wstring& text, const std::wstring& title, std::uint32_t style) {
    static_cast<void>(show(text, title, style));
  }
};

// The dialog in which the user picks a folder.
class FolderChooser {
 public:
  virtual ~FolderChooser() = default;

  // Shows the system's folder chooser, titled `title`, over the active window of the calling thread and waits for the
  // user. It begins in `startFolder`, with or without a last backslash, relative or not; where that does not exist (any
  // more), in the nearest folder above it that does; where it is empty, where the system sees fit.
  //
  // The full path of the chosen folder with exactly one backslash at its end ("C:\Copias\", "D:\"); nothing when the
  // user chose none. Throws an AutomationError when the chooser cannot be shown. IFileOpenDialog.
  [[nodiscard]] virtual std::optional<std::wstring> choose(const std::wstring& title,
                                                           const std::wstring& startFolder) = 0;
};

// The dialog in which the user picks a file that exists.
class FileChooser {
 public:
  virtual ~FileChooser() = default;

  // Shows the system's chooser of a file to open, titled `title`, over the active window of the calling thread and
  // waits for the user. `filter` is pairs of a label and a pattern, all separated by "|" ("*.*|*.*"). It begins in
  // `startFolder` as FolderChooser::choose does.
  //
  // The full path of the chosen file, which exists; nothing when the user chose none. Throws an AutomationError when
  // the chooser cannot be shown. IFileOpenDialog.
  [[nodiscard]] virtual std::optional<std::wstring> choose(const std::wstring& title, const std::wstring& filter,
                                                           const std::wstring& startFolder) = 0;
};

// The dialog in which the user types a text that nobody else should read.
class TextPrompt {
 public:
  virtual ~TextPrompt() = default;

  // Asks for a password over the active window of the calling thread and waits for the user: a modal window titled
  // `title` with the text `prompt`, a field that masks what is typed into it, and the buttons "Aceptar" (also the Enter
  // key) and "Cancelar" (also Esc, and closing the window).
  //
  // The text of the field, "" too, on "Aceptar"; nothing on "Cancelar". Throws 7 when the window cannot be shown.
  // DialogBoxParamW.
  [[nodiscard]] virtual std::optional<std::wstring> ask(const std::wstring& prompt, const std::wstring& title) = 0;
};

using WindowHandle = void*;  // an HWND

// What screen readers are told of a window.
class Accessibility {
 public:
  virtual ~Accessibility() = default;

  // Announces `window` by that name instead of one of its own; where the system cannot, it stays as it is.
  // IAccPropServices::SetHwndPropStr with PROPID_ACC_NAME.
  virtual void setName(WindowHandle window, const std::wstring& name) = 0;

  // Takes the name back, before the window goes. IAccPropServices::ClearHwndProps.
  virtual void clearName(WindowHandle window) = 0;
};

// What GetDiskFreeSpace reports of a drive.
struct DiskFreeSpace {
  std::uint32_t sectorsPerCluster = 0;
  std::uint32_t bytesPerSector = 0;
  std::uint32_t freeClusters = 0;
};

// A volume, as far as the system tells.
struct VolumeFacts {
  std::wstring fileSystem;      // "NTFS", "FAT32"
  std::uint64_t freeBytes = 0;  // for this user
};

class Drives {
 public:
  virtual ~Drives() = default;

  // The volume that a folder lies on, a drive or a share; nothing when it does not answer. GetVolumePathNameW,
  // GetVolumeInformationW, GetDiskFreeSpaceExW.
  [[nodiscard]] virtual std::optional<VolumeFacts> volumeOf(const std::wstring& folder) const = 0;

  // Free space of a drive given by name ("A:"), nothing when the query fails (no disk in the drive). GetDiskFreeSpaceA.
  [[nodiscard]] virtual std::optional<DiskFreeSpace> freeSpace(const std::wstring& driveName) const = 0;
};

class WorkFolder {
 public:
  virtual ~WorkFolder() = default;

  // A writable folder of the library's own, without a last backslash, in which a subfolder "temp" exists (both are
  // created when missing). SHGetKnownFolderPath(FOLDERID_LocalAppData) + "\QevBackup".
  virtual std::wstring path() = 0;
};

class Sound {
 public:
  virtual ~Sound() = default;

  // The system's default beep. MessageBeep(MB_OK).
  virtual void beep() = 0;
};

class Keyboard {
 public:
  virtual ~Keyboard() = default;

  // Types a key as the user would: Shift down when `withShift`, key down, key up, Shift up. keybd_event.
  virtual void sendKey(std::uint8_t virtualKey, bool withShift) = 0;
};

class EventLoop {
 public:
  virtual ~EventLoop() = default;

  // Dispatches the messages that wait for the calling thread, 100 at the most, then returns. A quit message is put back
  // for the loop that it was meant for; the others are dispatched all the same. PeekMessageW.
  virtual void yield() = 0;

  // The same for so long. MsgWaitForMultipleObjectsEx.
  virtual void pause(std::uint32_t milliseconds) = 0;
};

// The name of a lock for something that is done with a file: `purpose` and a hash of the path, which is written in one
// letter case.
[[nodiscard]] std::wstring lockName(const std::wstring& purpose, const std::wstring& path);

// Something that one process at a time may do: held while the object lives.
class ProcessLock {
 public:
  virtual ~ProcessLock() = default;
};

class Processes {
 public:
  virtual ~Processes() = default;

  // The number of this process, which no other has while it runs. GetCurrentProcessId.
  [[nodiscard]] virtual std::uint32_t id() const = 0;

  // The programs that have a file open, by the names that they show ("Gestion"), as far as the system knows; none where
  // it does not. The Restart Manager: RmRegisterResources, RmGetList.
  [[nodiscard]] virtual std::vector<std::wstring> usersOf(const std::wstring& path) const = 0;

  // This process as a text that no other process of this or another machine has, or had: <machine>-<process>-<start>,
  // as platform/NewFile.h writes it.
  [[nodiscard]] virtual std::wstring name() const = 0;

  // Whether the process of that name is gone for certain: one of another machine, one that may not be asked and a text
  // that is no such name may live. OpenProcess, GetExitCodeProcess, GetProcessTimes.
  [[nodiscard]] virtual bool isGone(const std::wstring& name) const = 0;

  // Waits until no other thread of any process holds the lock of that name, at most so long. A holder that has died
  // gives it up. Nothing when the wait was in vain, or the lock cannot be had at all. `name` has no backslash and at
  // most 200 characters; users that may not open one another's locks need names of their own. CreateMutexW, in the
  // system's global name space; WaitForSingleObject.
  [[nodiscard]] virtual std::unique_ptr<ProcessLock> lock(const std::wstring& name, std::uint32_t milliseconds) = 0;
};

// Something that is not to be interrupted, while the object lives.
class Uninterrupted {
 public:
  virtual ~Uninterrupted() = default;
};

// The user's session of Windows, which may end, and the machine, which may fall asleep.
class Session {
 public:
  virtual ~Session() = default;

  // From now on the machine does not fall asleep because nobody uses it, and whoever ends the session is shown `reason`
  // as what `window` is waiting for. `window` is a visible window of this thread that answers WM_QUERYENDSESSION with
  // FALSE; it outlives the answer, which belongs to this thread. What the system refuses is no error.
  // SetThreadExecutionState; ShutdownBlockReasonCreate, ShutdownBlockReasonDestroy.
  [[nodiscard]] virtual std::unique_ptr<Uninterrupted> keep(WindowHandle window, const std::wstring& reason) = 0;
};

struct Platform {
  Registry& registry;
  FileSystem& files;
  Clock& clock;
  Drives& drives;
  Messages& messages;
  Locale& locale;
  WorkFolder& workFolder;
  Sound& sound;
  Keyboard& keyboard;
  EventLoop& eventLoop;
  FolderChooser& folderChooser;
  Accessibility& accessibility;
  TextPrompt& textPrompt;
  FileChooser& fileChooser;
  Processes& processes;
  Session& session;
};

// The real services of this system; they live as long as the library is loaded.
[[nodiscard]] Platform& systemPlatform();

}  // namespace qev
