// The restore dialog and its window for a test: real windows, keys, conversions, files and engine, on settings,
// messages and choosers of the test's own, and a drive A: whose disks the test inserts. A second thread plays the user
// while the first is inside showModal().
#pragma once

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "backup/SetFormat.h"
#include "platform/Handle.h"
#include "platform/LocaleWindows.h"
#include "resources/resource.h"
#include "restore/FRestaurar.h"
#include "support/FakePlatform.h"
#include "support/RealInput.h"
#include "support/Screenshot.h"
#include "support/TemporaryFolder.h"
#include "support/ZipWriter.h"

namespace qev::test {

inline bool waitFor(const std::function<bool()>& condition,
                    std::chrono::milliseconds limit = std::chrono::seconds(20)) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return true;
}

// Forwards to the system's files, but for drive A:, which holds the folder of files that was inserted, or no disk.
class DiskDrive : public FileSystem {
 public:
  explicit DiskDrive(FileSystem& files) : files_(files) {}

  void insert(const std::wstring& folder) { disk_ = folder; }
  void takeOut() { disk_.reset(); }

  // Copies to a path that contains this text throw the numbers one after another.
  void failCopiesTo(const std::wstring& part, std::vector<ErrorNumber> numbers) {
    failures_[part] = std::move(numbers);
  }

  bool fileExists(const std::wstring& path) const override {
    return absent(path) ? false : files_.fileExists(at(path));
  }
  bool folderExists(const std::wstring& path) const override { return files_.folderExists(path); }
  void createFolder(const std::wstring& path) override { files_.createFolder(path); }
  void deleteFile(const std::wstring& path, bool force) override { files_.deleteFile(path, force); }
  void copyFile(const std::wstring& from, const std::wstring& to) override {
    requireDisk(from);
    for (auto& [part, numbers] : failures_) {
      if (to.find(part) == std::wstring::npos || numbers.empty()) continue;
      const ErrorNumber number = numbers.front();
      numbers.erase(numbers.begin());
      throw AutomationError(number, to);
    }
    requireDisk(to);
    files_.copyFile(at(from), at(to));
  }
  void moveFile(const std::wstring& from, const std::wstring& to) override { files_.moveFile(from, to); }
  std::unique_ptr<FileReader> openForReading(const std::wstring& path) override {
    requireDisk(path);
    return files_.openForReading(at(path));
  }
  std::unique_ptr<FileReplacement> replaceFile(const std::wstring& path) override {
    if (denied && path.find(*denied) != std::wstring::npos) throw AutomationError(kDiskFull, path);
    return files_.replaceFile(path);
  }
  void walkFiles(const std::wstring& folder,
                 const std::function<void(const std::wstring& path, std::uint64_t size)>& visit) const override {
    files_.walkFiles(folder, visit);
  }
  std::vector<ListedFile> filesIn(const std::wstring& folder) const override { return files_.filesIn(folder); }
  std::uint64_t fileSize(const std::wstring& path) const override {
    return absent(path) ? 0 : files_.fileSize(at(path));
  }

  std::optional<std::wstring> denied;  // the disk is full for files whose path contains this text

 private:
  static bool onDrive(const std::wstring& path) { return driveName(path) == L"A:"; }
  bool absent(const std::wstring& path) const { return onDrive(path) && !disk_; }
  void requireDisk(const std::wstring& path) const {
    if (absent(path)) throw AutomationError(kDiskNotReady, path);
  }
  std::wstring at(const std::wstring& path) const { return onDrive(path) ? *disk_ + path.substr(2) : path; }

  FileSystem& files_;
  std::optional<std::wstring> disk_;
  std::map<std::wstring, std::vector<ErrorNumber>> failures_;
};

// Drive R:, empty at first and left empty: a place that data may come from and go back to. tools/test-disks.sh makes
// it.
class OriginalDrive {
 public:
  OriginalDrive() { empty(); }
  OriginalDrive(const OriginalDrive&) = delete;
  OriginalDrive& operator=(const OriginalDrive&) = delete;
  ~OriginalDrive() { empty(); }

  bool isThere() const { return GetFileAttributesW(L"R:\\") != INVALID_FILE_ATTRIBUTES; }

 private:
  void empty() const {
    if (!isThere()) return;
    std::error_code ignored;  // listing a root folder without entries fails
    for (const auto& entry : std::filesystem::recursive_directory_iterator(L"R:\\", ignored)) {
      SetFileAttributesW(entry.path().c_str(), FILE_ATTRIBUTE_NORMAL);
    }
    for (const auto& entry : std::filesystem::directory_iterator(L"R:\\", ignored)) {
      std::filesystem::remove_all(entry.path(), ignored);
    }
  }
};

class RestoreForms : public testing::Test {
 protected:
  static constexpr wchar_t kTitle[] = L"Gestion de prueba";
  static constexpr wchar_t kKey[] = L"Software\\Gestion";
  static constexpr wchar_t kCaption[] = L"Restaurar Copia";
  static constexpr wchar_t kOriginal[] = L"  Carpeta Origen";
  static constexpr std::uint32_t kYesNoInformationNo = 324;

  void SetUp() override {
    SetThreadDpiAwarenessContext(DPI_AWARENESS_CONTEXT_SYSTEM_AWARE);  // at the scale of the system, whatever it is
    state_.title = kTitle;
    state_.settingsKey = kKey;
    state_.dataFolder = folder_ / L"Datos\\Emp01\\";
    emptyWorkFolder();
  }

  void TearDown() override { emptyWorkFolder(); }

  // --- sets ---

  static std::string header(const std::string& program = "Gestion de prueba", const std::string& date = "16/11/2026",
                            const std::string& total = "1", const std::string& number = "1",
                            const std::string& directory = "C:") {
    return "Programa : " + program + ";Fecha Creaci\xF3n : " + date + ";Total de Vol\xFAmenes :" + total +
           ";N\xFAmero de Vol\xFAmen :" + number + ";Directorio : " + directory + ";\r\n";
  }

  // Two files, one of them in a folder, of January 2005.
  static std::string archive() {
    return zipOf({storedEntry("clientes.txt", "clientes"), deflatedEntry("Datos/facturas.txt", "facturas de enero")});
  }

  std::wstring putSet(const std::string& bytes, const std::wstring& name = L"copia.qev") const {
    folder_.write(name, bytes);
    return folder_ / name;
  }

  std::wstring target() const { return folder_ / L"destino"; }

  // --- the dialog ---

  static HWND findForm(const std::wstring& caption) {
    const HWND window = FindWindowW(L"#32770", caption.c_str());
    return window && IsWindowVisible(window) ? window : nullptr;
  }

  // Runs the dialog, and the window after it, while `user` does what a user would.
  void run(const std::function<void(HWND form)>& user) { runOn(platform_, user); }

  void runOn(Platform& platform, const std::function<void(HWND form)>& user) {
    std::atomic<bool> over = false;
    const DWORD thread = GetCurrentThreadId();
    std::thread hands([&] {
      SetThreadDpiAwarenessContext(DPI_AWARENESS_CONTEXT_SYSTEM_AWARE);
      EXPECT_TRUE(waitFor([] { return findForm(kCaption) != nullptr; }));
      const HWND form = findForm(kCaption);
      waitFor([form] { return focusOf(form) != 0 && GetForegroundWindow() == form; });
      user(form);
      EXPECT_TRUE(waitFor([&] { return over.load(); }, std::chrono::seconds(10))) << "a window is still open";
      while (!over) {
        EnumThreadWindows(
            thread,
            [](HWND window, LPARAM) CALLBACK -> BOOL {
              PostMessageW(window, WM_COMMAND, IDCANCEL, 0);
              return TRUE;
            },
            0);
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
      }
    });
    try {
      FRestaurar(platform, state_, loadEngine_).showModal();
    } catch (const AutomationError& error) {
      ADD_FAILURE() << error.what();
    }
    over = true;
    hands.join();
  }

  // Loads a set, and another folder in place of its own when one is given.
  void load(HWND form, const std::wstring& set) {
    fake_.fileChooser.willAnswer({set});
    press(form, 'C', kAlt);
    const auto isTaken = [&] { return textOf(form, FRestaurar_TNombre) == set; };
    const auto isTyped = [&] { return textOf(form, FRestaurar_TNombre).size() == 1; };
    waitFor([&] { return isTaken() || isTyped(); });
    if (isTyped()) {
      // The display tells a window that has just got the focus which keys are down, and does not know of the Alt that a
      // program presses: the letter has gone to the field.
      press(form, VK_BACK);
      const HWND button = GetDlgItem(form, FRestaurar_BCargar);
      PostMessageW(form, WM_COMMAND, MAKEWPARAM(FRestaurar_BCargar, BN_CLICKED), reinterpret_cast<LPARAM>(button));
    }
    EXPECT_TRUE(waitFor(isTaken)) << "the set is not taken";
  }

  void chooseFolder(HWND form, const std::wstring& folder) {
    enter(form, FRestaurar_TTipo, L"Ubicación Alternativa");
    EXPECT_TRUE(waitFor([&] { return IsWindowEnabled(GetDlgItem(form, FRestaurar_BCarpeta)) != FALSE; }));
    fake_.folderChooser.willAnswer({folder});
    click(form, FRestaurar_BCarpeta);
    EXPECT_TRUE(waitFor([&] { return textOf(form, FRestaurar_TDestino) == folder; }));
  }

  // The restore window, when its run has ended.
  static HWND ended() {
    HWND form = nullptr;
    EXPECT_TRUE(waitFor([&form] {
      form = findForm(kTitle);
      return form && GetDlgItem(form, FPRestaura_TResultado) && IsWindowEnabled(GetDlgItem(form, FPRestaura_BAceptar));
    })) << "the run has not ended";
    return form;
  }

  // Restores a set to a folder, or to where it came from without one, and returns what the window said.
  std::wstring restore(
      const std::wstring& set, const std::optional<std::wstring>& folder,
      const std::function<void(HWND)>& look = [](HWND) {}, bool keepFolders = true) {
    std::wstring result;
    run([&](HWND form) {
      load(form, set);
      if (folder) chooseFolder(form, *folder);
      if (!keepFolders) click(form, FRestaurar_TEstructura);
      click(form, FRestaurar_BRestaurar);
      const HWND window = ended();
      if (!window) return;
      result = textOf(window, FPRestaura_TResultado);
      look(window);
      click(window, FPRestaura_BAceptar);
      if (result.empty()) leave(form);
    });
    return result;
  }

  // The dialog is there again: closes it.
  static void leave(HWND form) {
    EXPECT_TRUE(waitFor([form] { return IsWindowVisible(form) && IsWindowEnabled(form); }))
        << "no dialog to go back to";
    click(form, FRestaurar_BCancelar);
  }

  static std::wstring success(const std::wstring& set, const std::wstring& destination) {
    return L"La copia de seguridad se ha restaurado correctamente.\r\n\r\nOrigen:" + set + L"\r\nDestino: " +
           destination;
  }

  // --- controls ---

  static std::wstring windowText(HWND window) {
    wchar_t text[4096];
    const auto length = SendMessageW(window, WM_GETTEXT, 4096, reinterpret_cast<LPARAM>(text));
    return std::wstring(text, static_cast<std::size_t>(length));
  }

  static HWND editOf(HWND form, int id) { return GetWindow(GetDlgItem(form, id), GW_CHILD); }

  // The text of a control; of an entry control, that of its edit box.
  static std::wstring textOf(HWND form, int id) {
    const HWND edit = editOf(form, id);
    return windowText(edit ? edit : GetDlgItem(form, id));
  }

  static bool readOnly(HWND form, int id) {
    return (GetWindowLongPtrW(editOf(form, id), GWL_STYLE) & ES_READONLY) != 0;
  }

  // The number of the control that has the focus, itself or in its edit box.
  static int focusOf(HWND form) {
    GUITHREADINFO info{};
    info.cbSize = sizeof info;
    GetGUIThreadInfo(GetWindowThreadProcessId(form, nullptr), &info);
    if (!info.hwndFocus) return 0;
    return GetDlgCtrlID(GetParent(info.hwndFocus) == form ? info.hwndFocus : GetParent(info.hwndFocus));
  }

  static void click(HWND form, int id) { clickOn(form, GetDlgItem(form, id)); }

  static void focus(HWND form, int id) {
    clickOn(form, editOf(form, id));
    EXPECT_TRUE(waitFor([&] { return focusOf(form) == id; }, std::chrono::seconds(2))) << "control " << id;
  }

  // Types over what a field holds and leaves it.
  static void enter(HWND form, int id, const std::wstring& text) {
    focus(form, id);
    press(form, 'A', kControl);
    SendMessageW(editOf(form, id), EM_SETSEL, 0, -1);
    if (text.empty()) press(form, VK_DELETE);
    type(form, text);
    press(form, VK_TAB);
    waitFor([&] { return focusOf(form) != id; }, std::chrono::seconds(2));
    std::this_thread::sleep_for(std::chrono::milliseconds(100));  // the field deals with its entry after that
  }

  static bool closed(HWND form) {
    return waitFor([form] { return !IsWindow(form); }, std::chrono::seconds(5));
  }

  bool told(std::size_t messages) {
    return waitFor([&] { return shown_ >= messages; }, std::chrono::seconds(10));
  }

  std::vector<std::wstring> texts() const {
    std::vector<std::wstring> all;
    for (const auto& shown : fake_.messages.shown) all.push_back(shown.text);
    return all;
  }

  // --- the work folder ---

  static std::wstring temp() { return systemPlatform().workFolder.path() + L"\\temp"; }

  static std::vector<std::wstring> workFiles() {
    std::vector<std::wstring> names;
    for (const auto& entry : std::filesystem::directory_iterator(temp())) names.push_back(entry.path().filename());
    return names;
  }

  static void emptyWorkFolder() {
    for (const auto& entry : std::filesystem::directory_iterator(temp())) std::filesystem::remove(entry.path());
  }

  static std::string contentOf(const std::wstring& path) {
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  // Counts what FakeMessages shows, for the other thread to see.
  class CountedMessages : public Messages {
   public:
    CountedMessages(FakeMessages& messages, std::atomic<std::size_t>& count) : messages_(messages), count_(count) {}
    Answer show(const std::wstring& text, const std::wstring& title, std::uint32_t style) override {
      const Answer answer = messages_.show(text, title, style);
      ++count_;
      return answer;
    }

   private:
    FakeMessages& messages_;
    std::atomic<std::size_t>& count_;
  };

  TemporaryFolder folder_;
  FakePlatform fake_;
  std::atomic<std::size_t> shown_ = 0;
  CountedMessages messages_{fake_.messages, shown_};
  Platform& system_ = systemPlatform();
  DiskDrive files_{system_.files};
  Platform platform_{fake_.registry,      files_,
                     system_.clock,       system_.drives,
                     messages_,           system_.locale,
                     system_.workFolder,  fake_.sound,
                     system_.keyboard,    system_.eventLoop,
                     fake_.folderChooser, system_.accessibility,
                     fake_.textPrompt,    fake_.fileChooser};
  LibraryState state_;
  CUnzipFiles::EngineLoader loadEngine_ = loadUnzipEngine;
};

}  // namespace qev::test
