// The one seam to the system: every service that the library takes from outside, handed down from the edge of the DLL.
// Tests hand down their own.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/Accessibility.h"
#include "platform/Clock.h"
#include "platform/FileChooser.h"
#include "platform/FileSystem.h"
#include "platform/FolderChooser.h"
#include "platform/Locale.h"
#include "platform/Messages.h"
#include "platform/Registry.h"
#include "platform/TextPrompt.h"

namespace qev {

// What GetDiskFreeSpace reports of a drive.
struct DiskFreeSpace {
  std::uint32_t sectorsPerCluster = 0;
  std::uint32_t bytesPerSector = 0;
  std::uint32_t freeClusters = 0;
};

class Drives {
 public:
  virtual ~Drives() = default;

  // Free space of a drive given by name ("A:"), nothing when the query fails (no disk in the drive). GetDiskFreeSpaceA.
  virtual std::optional<DiskFreeSpace> freeSpace(const std::wstring& driveName) const = 0;
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
  // for the loop that it was meant for. PeekMessageW.
  virtual void yield() = 0;
};

// Something that one process at a time may do: held while the object lives.
class ProcessLock {
 public:
  virtual ~ProcessLock() = default;
};

class Processes {
 public:
  virtual ~Processes() = default;

  // The number of this process, which no other has while it runs. GetCurrentProcessId.
  virtual std::uint32_t id() const = 0;

  // Waits until no other thread of any process holds the lock of that name, at most so long. A holder that has died
  // gives it up. Nothing when the wait was in vain, or the lock cannot be had at all. `name` has no backslash and at
  // most 200 characters; users that may not open one another's locks need names of their own. CreateMutexW, in the
  // system's global name space; WaitForSingleObject.
  [[nodiscard]] virtual std::unique_ptr<ProcessLock> lock(const std::wstring& name, std::uint32_t milliseconds) = 0;
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
};

// The real services of this system; they live as long as the library is loaded.
Platform& systemPlatform();

}  // namespace qev
