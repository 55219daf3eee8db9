// A dialog with entry fields for tests, made as the library's forms are: from a template that names the window class.
#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "controls/UComboBox.h"
#include "controls/UTextBox.h"
#include "platform/Handle.h"
#include "support/RealInput.h"

namespace qev::test {

class TestForm {
 public:
  static constexpr int kFirstField = 101;
  static constexpr int kButton = IDOK;

  // What stands in one row of the form; ids count from kFirstField in their order.
  struct Item {
    std::wstring_view windowClass = UTextBox::kClassName;
    std::wstring_view text = L"";
    DWORD style = WS_TABSTOP;
  };

  // A form with so many text boxes one below the other and, unless told otherwise, a default button after them. The
  // first control has the focus.
  explicit TestForm(int fields, bool withButton = true)
      : TestForm(std::vector<Item>(static_cast<std::size_t>(fields)), withButton) {}

  // `points`: of the form's font, to whose size the form and its controls are made.
  explicit TestForm(const std::vector<Item>& items, bool withButton = true, int points = 9) {
    UTextBox::registerClass(moduleInstance());
    UComboBox::registerClass(moduleInstance());
    const auto layout = dialogTemplate(items, withButton, points);
    window_ = CreateDialogIndirectParamW(moduleInstance(), reinterpret_cast<const DLGTEMPLATE*>(layout.data()), nullptr,
                                         &procedure, reinterpret_cast<LPARAM>(this));
    if (!window_) throw std::runtime_error("no dialog");
    bringToForeground(window_);
    SetFocus(GetNextDlgTabItem(window_, nullptr, FALSE));
    pumpUntilIdle(window_);
  }
  TestForm(const TestForm&) = delete;
  TestForm& operator=(const TestForm&) = delete;
  ~TestForm() {
    if (window_) DestroyWindow(window_);
    pumpUntilIdle(nullptr);
    UComboBox::unregisterClass(moduleInstance());
    UTextBox::unregisterClass(moduleInstance());
  }

  int commands = 0;  // how often the default button was pressed or the form was asked to close

  HWND window() const { return window_; }
  HWND button() const { return GetDlgItem(window_, kButton); }
  HWND item(int number) const { return GetDlgItem(window_, kFirstField + number - 1); }
  UComboBox& combo(int number) const { return *UComboBox::from(item(number)); }
  UTextBox& field(int number) const { return *UTextBox::from(GetDlgItem(window_, kFirstField + number - 1)); }

  // The number of the field that has the focus, 0 when none has.
  int focused() const {
    const HWND focus = GetFocus();
    for (HWND child = GetWindow(window_, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
      if (child != focus && !IsChild(child, focus)) continue;
      const int id = GetDlgCtrlID(child);
      return id >= kFirstField ? id - kFirstField + 1 : 0;
    }
    return 0;
  }

  void press(WORD key, unsigned modifiers = kNoModifier) const { test::press(window_, key, modifiers); }
  void type(std::wstring_view text) const { test::type(window_, text); }
  void pump() const { pumpUntilIdle(window_); }
  void focus(int number) const {
    SendMessageW(window_, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(item(number)), TRUE);
    pump();
  }
  void clickField(int number, Button button = Button::Left) const { clickOn(window_, item(number), button); }
  void destroy() { DestroyWindow(std::exchange(window_, nullptr)); }

 private:
  static INT_PTR CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) {
      SetWindowLongPtrW(window, DWLP_USER, lParam);
      return FALSE;
    }
    auto* form = reinterpret_cast<TestForm*>(GetWindowLongPtrW(window, DWLP_USER));
    if (message != WM_COMMAND || !form) return FALSE;
    if (LOWORD(wParam) == IDOK || LOWORD(wParam) == IDCANCEL) ++form->commands;
    return TRUE;
  }

  static void put(std::vector<WORD>& out, DWORD value) {
    out.push_back(LOWORD(value));
    out.push_back(HIWORD(value));
  }

  static void put(std::vector<WORD>& out, std::wstring_view text) {
    for (const wchar_t c : text) out.push_back(static_cast<WORD>(c));
    out.push_back(0);
  }

  static void putItem(std::vector<WORD>& out, int id, int row, std::wstring_view windowClass, std::wstring_view text,
                      DWORD style) {
    if (out.size() % 2 != 0) out.push_back(0);
    put(out, DWORD{0});
    put(out, DWORD{0});
    put(out, style | WS_CHILD | WS_VISIBLE);
    for (const int number : {10, 8 + 18 * row, 120, 13}) out.push_back(static_cast<WORD>(number));
    put(out, static_cast<DWORD>(id));
    put(out, windowClass);
    put(out, text);
    out.push_back(0);
  }

  // The binary form of a DIALOGEX resource.
  static std::vector<WORD> dialogTemplate(const std::vector<Item>& items, bool withButton, int points) {
    const int fields = static_cast<int>(items.size());
    std::vector<WORD> out{1, 0xFFFF};
    put(out, DWORD{0});
    put(out, DWORD{0});
    put(out, DWORD{DS_SETFONT | WS_POPUP | WS_CAPTION | WS_SYSMENU});
    out.push_back(static_cast<WORD>(fields + (withButton ? 1 : 0)));
    for (const int number : {20, 20, 140, 40 + 18 * fields}) out.push_back(static_cast<WORD>(number));
    out.push_back(0);
    out.push_back(0);
    put(out, L"Formulario de prueba");
    for (const int number : {points, FW_NORMAL, DEFAULT_CHARSET << 8}) out.push_back(static_cast<WORD>(number));
    put(out, L"Segoe UI");
    int row = 0;
    for (const Item& item : items) {
      putItem(out, kFirstField + row, row, item.windowClass, item.text, item.style);
      ++row;
    }
    if (withButton) putItem(out, kButton, fields, L"BUTTON", L"Aceptar", WS_TABSTOP | BS_DEFPUSHBUTTON);
    return out;
  }

  HWND window_ = nullptr;
};

}  // namespace qev::test
