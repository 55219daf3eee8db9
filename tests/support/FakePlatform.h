// A platform of a test's own: a clock that stands still, a registry, files and drives in memory, message boxes that
// answer what the test says, and a record of what was shown, typed and sounded. With no system behind it, it works
// everywhere.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/AutomationError.h"
#include "platform/Platform.h"
#include "support/FakeFiles.h"
#include "support/SpanishLocale.h"

namespace qev::test {

// A moment of the calendar as an automation date.
Date moment(int year, unsigned month, unsigned day, int hour = 0, int minute = 0, int second = 0);

class FakeClock : public Clock {
 public:
  // 16 November 2026, a Monday, 10:30, until told otherwise.
  Date time = moment(2026, 11, 16, 10, 30);

  void set(int year, unsigned month, unsigned day, int hour = 0, int minute = 0, int second = 0) {
    time = moment(year, month, day, hour, minute, second);
  }

  Date now() const override { return time; }

  // Each look is that much later than the one before.
  mutable std::uint64_t elapsed = 0;
  std::uint64_t millisecondsPerLook = 1000;
  std::uint64_t ticks() const override { return elapsed += millisecondsPerLook; }
};

// Names of keys and values are the same in any letter case. Like the real one it keeps integers and Booleans as 32-bit
// integers and everything else as text.
class FakeRegistry : public Registry {
 public:
  Value read(const std::wstring& keyPath, const std::wstring& name, std::uint32_t root) const override;
  void write(const std::wstring& keyPath, const std::wstring& name, std::uint32_t root, const Value& value) override;

  // Puts a value there as it is, whatever its type, uncounted and never denied.
  void put(const std::wstring& keyPath, const std::wstring& name, const Value& value);

  // Every read, every write throws these from now on, while set.
  std::optional<ErrorNumber> readError;
  std::optional<ErrorNumber> writeError;

  // Every write in its order: value name as given, value as given.
  std::vector<std::pair<std::wstring, Value>> writes;

 private:
  using Address = std::tuple<std::uint32_t, std::wstring, std::wstring>;
  static Address addressOf(std::uint32_t root, const std::wstring& keyPath, const std::wstring& name);

  std::map<Address, Value> values_;
  SpanishLocale locale_;
};

// Answers boxes with the answers that were queued. A box without an answer, and an answer that no box asked for, are
// failures of the test.
class FakeMessages : public Messages {
 public:
  struct Shown {
    std::wstring text;
    std::wstring title;
    std::uint32_t style = 0;
    bool operator==(const Shown&) const = default;
  };

  FakeMessages() = default;
  ~FakeMessages() override;

  void willAnswer(std::vector<Answer> answers);

  // Called while a box is shown, before it is answered.
  std::function<void(const Shown&)> onShow;

  std::vector<Shown> shown;

  Answer show(const std::wstring& text, const std::wstring& title, std::uint32_t style) override;

 private:
  std::vector<Answer> answers_;
  std::size_t next_ = 0;
};

// Answers queries with the answers that were queued, the last of them over and over. A query without any is a failure
// of the test.
class FakeDrives : public Drives {
 public:
  void willReport(std::vector<std::optional<DiskFreeSpace>> answers);

  // A drive of one-byte sectors and clusters with so much room.
  static DiskFreeSpace bytesFree(std::uint32_t bytes) { return {1, 1, bytes}; }

  mutable std::vector<std::wstring> queried;

  // Of every folder; nothing: no volume answers.
  std::optional<VolumeFacts> volume = VolumeFacts{L"NTFS", std::uint64_t{1} << 40};
  std::optional<VolumeFacts> volumeOf(const std::wstring&) const override { return volume; }

  std::optional<DiskFreeSpace> freeSpace(const std::wstring& driveName) const override;

 private:
  std::vector<std::optional<DiskFreeSpace>> answers_;
  mutable std::size_t next_ = 0;
};

// C:\Trabajo, with its "temp".
class FakeWorkFolder : public WorkFolder {
 public:
  explicit FakeWorkFolder(FakeFiles& files) { files.putFolder(folder + L"\\temp"); }
  std::wstring folder = L"C:\\Trabajo";
  std::wstring path() override { return folder; }
};

class FakeSound : public Sound {
 public:
  int beeps = 0;
  void beep() override { ++beeps; }
};

class FakeKeyboard : public Keyboard {
 public:
  std::vector<std::pair<std::uint8_t, bool>> sent;  // virtual key, with Shift
  void sendKey(std::uint8_t virtualKey, bool withShift) override { sent.emplace_back(virtualKey, withShift); }
};

class FakeEventLoop : public EventLoop {
 public:
  int yields = 0;
  std::function<void()> onYield;
  void yield() override {
    ++yields;
    if (onYield) onYield();
  }
  std::uint32_t paused = 0;  // milliseconds in all
  void pause(std::uint32_t milliseconds) override {
    paused += milliseconds;
    yield();
  }
};

// Answers with the folders that were queued, in their order: nothing is a user who chose none. A call without a queued
// answer, and an answer that no call asked for, are failures of the test.
class FakeFolderChooser : public FolderChooser {
 public:
  struct Shown {
    std::wstring title;
    std::wstring startFolder;
    bool operator==(const Shown&) const = default;
  };

  FakeFolderChooser() = default;
  ~FakeFolderChooser() override;

  void willAnswer(std::vector<std::optional<std::wstring>> answers);

  std::vector<Shown> shown;

  std::optional<std::wstring> choose(const std::wstring& title, const std::wstring& startFolder) override;

 private:
  std::vector<std::optional<std::wstring>> answers_;
  std::size_t next_ = 0;
};

// Answers with the texts that were queued, in their order: nothing is a user who cancelled. A call without a queued
// answer, and an answer that no call asked for, are failures of the test.
class FakeTextPrompt : public TextPrompt {
 public:
  struct Shown {
    std::wstring prompt;
    std::wstring title;
    bool operator==(const Shown&) const = default;
  };

  FakeTextPrompt() = default;
  ~FakeTextPrompt() override;

  void willAnswer(std::vector<std::optional<std::wstring>> answers);

  std::vector<Shown> shown;

  std::optional<std::wstring> ask(const std::wstring& prompt, const std::wstring& title) override;

 private:
  std::vector<std::optional<std::wstring>> answers_;
  std::size_t next_ = 0;
};

// The same for a chooser of files.
class FakeFileChooser : public FileChooser {
 public:
  struct Shown {
    std::wstring title;
    std::wstring filter;
    std::wstring startFolder;
    bool operator==(const Shown&) const = default;
  };

  FakeFileChooser() = default;
  ~FakeFileChooser() override;

  void willAnswer(std::vector<std::optional<std::wstring>> answers);

  std::vector<Shown> shown;

  std::optional<std::wstring> choose(const std::wstring& title, const std::wstring& filter,
                                     const std::wstring& startFolder) override;

 private:
  std::vector<std::optional<std::wstring>> answers_;
  std::size_t next_ = 0;
};

// Process 4711. A lock can be had unless somebody has it: one that was given, or, while `busy`, another process.
class FakeProcesses : public Processes {
 public:
  bool busy = false;
  std::set<std::wstring> held;      // names of the locks that are held now
  std::vector<std::wstring> asked;  // names, in the order in which they were asked for

  std::map<std::wstring, std::vector<std::wstring>> users;  // by path

  std::uint32_t id() const override { return 4711; }
  std::vector<std::wstring> usersOf(const std::wstring& path) const override {
    const auto known = users.find(path);
    return known == users.end() ? std::vector<std::wstring>() : known->second;
  }
  std::set<std::wstring> gone;  // names of processes that do not live any more

  std::wstring name() const override { return L"0000feed-1267-0000000000000001"; }
  bool isGone(const std::wstring& name) const override { return gone.contains(name); }
  std::unique_ptr<ProcessLock> lock(const std::wstring& name, std::uint32_t milliseconds) override;
};

// What is kept from being interrupted now, and all that ever was.
class FakeSession : public Session {
 public:
  struct Kept {
    WindowHandle window;
    std::wstring reason;
    bool operator==(const Kept&) const = default;
  };
  std::vector<Kept> now;
  std::vector<Kept> ever;

  std::unique_ptr<Uninterrupted> keep(WindowHandle window, const std::wstring& reason) override;
};

// The names that windows have now, and how many were given and taken back.
class FakeAccessibility : public Accessibility {
 public:
  std::map<WindowHandle, std::wstring> names;
  int given = 0;
  int cleared = 0;

  void setName(WindowHandle window, const std::wstring& name) override {
    names[window] = name;
    ++given;
  }
  void clearName(WindowHandle window) override { cleared += static_cast<int>(names.erase(window)); }
};

namespace replaced {

template <typename Service>
Service& by(Service& present) {
  return present;
}

template <typename Service, typename Other, typename... Others>
Service& by(Service& present, Other& other, Others&... others) {
  if constexpr (std::is_base_of_v<Service, Other>) {
    return other;
  } else {
    return by(present, others...);
  }
}

}  // namespace replaced

// The same platform with other services, each in place of the one that serves for the same.
template <typename... Services>
Platform with(const Platform& platform, Services&... others) {
  return {replaced::by(platform.registry, others...),      replaced::by(platform.files, others...),
          replaced::by(platform.clock, others...),         replaced::by(platform.drives, others...),
          replaced::by(platform.messages, others...),      replaced::by(platform.locale, others...),
          replaced::by(platform.workFolder, others...),    replaced::by(platform.sound, others...),
          replaced::by(platform.keyboard, others...),      replaced::by(platform.eventLoop, others...),
          replaced::by(platform.folderChooser, others...), replaced::by(platform.accessibility, others...),
          replaced::by(platform.textPrompt, others...),    replaced::by(platform.fileChooser, others...),
          replaced::by(platform.processes, others...),     replaced::by(platform.session, others...)};
}

// All of them together; the services are there for the test to set up and to look at.
class FakePlatform {
 public:
  FakeRegistry registry;
  FakeFiles files;
  FakeClock clock;
  FakeDrives drives;
  FakeMessages messages;
  SpanishLocale locale;
  FakeWorkFolder workFolder{files};
  FakeSound sound;
  FakeKeyboard keyboard;
  FakeEventLoop eventLoop;
  FakeFolderChooser folderChooser;
  FakeAccessibility accessibility;
  FakeTextPrompt textPrompt;
  FakeFileChooser fileChooser;
  FakeProcesses processes;
  FakeSession session;

  // The seam that the code under test takes.
  Platform& platform() { return platform_; }

 private:
  Platform platform_{registry, files,     clock,         drives,        messages,   locale,      workFolder, sound,
                     keyboard, eventLoop, folderChooser, accessibility, textPrompt, fileChooser, processes,  session};
};

}  // namespace qev::test
