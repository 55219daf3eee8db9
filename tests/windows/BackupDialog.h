// The configuration dialog for a test: the real dialog with real conversions, keys and focus, on settings, messages,
// clock and folder chooser of the test's own. The test plays the user inside the dialog's own message loop.
#pragma once

#include <gtest/gtest.h>

#include <windows.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "controls/EntryControl.h"
#include "platform/SystemServices.h"
#include "resources/resource.h"
#include "schedule/Backup.h"
#include "settings/SettingsStore.h"
#include "support/FakePlatform.h"
#include "support/RealInput.h"
#include "support/Screenshot.h"

namespace qev::test {

class BackupDialog : public testing::Test {
 protected:
  static constexpr wchar_t kKey[] = L"Software\\Gestion";
  static constexpr wchar_t kTitle[] = L"Gestion de prueba";
  static constexpr int kWeekdays = 7;
  static constexpr int kMonths = 12;

  void SetUp() override {
    SetThreadDpiAwarenessContext(DPI_AWARENESS_CONTEXT_SYSTEM_AWARE);  // at the scale of the system, whatever it is
    host_.title = kTitle;
    host_.settingsKey = kKey;
    host_.backupFolder = L"C:\\Gestion\\Backup\\";
  }

  // Opens the dialog, lets `user` act on it, and closes it if that did not.
  void show(std::function<void()> user) {
    user_ = std::move(user);
    current_ = this;
    const UINT_PTR timer = SetTimer(nullptr, 0, 10, &tick);
    Backup dialog(platform_, host_, session_);
    dialog.showModal();
    KillTimer(nullptr, timer);
    form_ = nullptr;
  }

  HWND form() const { return form_; }
  HWND control(int id) const { return GetDlgItem(form_, id); }
  HWND editOf(int id) const { return GetWindow(control(id), GW_CHILD); }
  bool open() const { return form_ && IsWindow(form_) && IsWindowVisible(form_); }

  // What the user sees of a control.
  std::wstring text(int id) const {
    wchar_t text[2048] = L"";
    GetWindowTextW(control(id), text, 2048);
    return text;
  }
  bool visible(int id) const { return IsWindowVisible(control(id)) != FALSE; }
  bool checked(int id) const { return IsDlgButtonChecked(form_, id) == BST_CHECKED; }
  bool enabled(int id) const {
    const HWND edit = editOf(id);
    return IsWindowEnabled(edit ? edit : control(id)) != FALSE;
  }
  bool focused(int id) const {
    const HWND focus = GetFocus();
    return focus && (focus == control(id) || IsChild(control(id), focus));
  }
  std::wstring flags(int firstId, int count) const {
    std::wstring flags;
    for (int i = 0; i < count; ++i) flags += checked(firstId + i) ? L'S' : L'N';
    return flags;
  }
  int mode() const {
    for (int i = 0; i < 3; ++i) {
      if (checked(Backup_Copia0 + i)) return i;
    }
    return -1;
  }

  // What the user does.
  void click(int id) const { clickOn(form_, control(id)); }
  void press(WORD key, unsigned modifiers = kNoModifier) const { test::press(form_, key, modifiers); }
  void type(std::wstring_view keys) const { test::type(form_, keys); }
  void pump() const { pumpUntilIdle(form_); }
  void focus(int id) const {
    SendMessageW(form_, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(control(id)), TRUE);
    pump();
  }
  void enter(int id, std::wstring_view entry) const {  // over what was there, and on to the next control
    focus(id);
    if (entry.empty()) press(VK_DELETE);
    type(entry);
    press(VK_TAB);
  }

  // The settings.
  void put(const wchar_t* name, const Value& value) { fake_.registry.put(kKey, name, value); }
  void put(const wchar_t* name, const wchar_t* value) { put(name, Value(std::wstring(value))); }
  Value stored(const wchar_t* name) const { return fake_.registry.read(kKey, name, kLocalMachine); }
  std::wstring storedText(const wchar_t* name) const { return locale_.toText(stored(name)); }
  void forgetWrites() { fake_.registry.writes.clear(); }
  std::vector<std::wstring> writtenNames() const {
    std::vector<std::wstring> names;
    for (const auto& [name, value] : fake_.registry.writes) names.push_back(name);
    return names;
  }

  // The names that saving everything writes, in their order, after those of `first`.
  static std::vector<std::wstring> savedAfter(std::vector<std::wstring> first) {
    for (const wchar_t* name : {L"Copia", L"Programar", L"HoraInicio", L"DDias", L"DSemanas", L"DMes", L"ProximaCopia",
                                L"Destino", L"DSem", L"Meses", L"ProximaCopia"}) {
      first.push_back(name);
    }
    return first;
  }

  const std::vector<FakeMessages::Shown>& messages() const { return fake_.messages.shown; }

  FakePlatform fake_;
  LocaleWindows locale_;
  Platform platform_ = with(fake_.platform(), locale_, systemPlatform().keyboard, systemPlatform().eventLoop);
  HostSettings host_;
  FormSession session_;
  bool realKeys_ = true;  // false: the test sends messages to the controls, and need not wait for the keyboard

 private:
  static void CALLBACK tick(HWND, UINT, UINT_PTR timer, DWORD) {
    BackupDialog& test = *current_;
    const HWND form = FindWindowW(L"#32770", L"Configuración");
    if (!form || !IsWindowVisible(form) || test.form_) return;
    KillTimer(nullptr, timer);
    test.form_ = form;
    if (test.realKeys_) bringToForeground(form);
    test.user_();
    if (test.open()) SendMessageW(form, WM_COMMAND, IDCANCEL, 0);
  }

  static inline BackupDialog* current_ = nullptr;
  std::function<void()> user_;
  HWND form_ = nullptr;
};

}  // namespace qev::test
