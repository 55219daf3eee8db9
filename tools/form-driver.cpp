// Watches and uses a window from outside, as the demonstration does: finds a form by its caption and a control by its
// id.
//
//   form-driver shown TITLE            waits until the form is there
//   form-driver enabled TITLE ID       waits until the control can be used
//   form-driver disabled TITLE ID      succeeds when the control cannot be used now
//   form-driver click TITLE ID         clicks on the control with the mouse
//   form-driver type TITLE ID TEXT     clicks on the entry field and types the text, key by key
//
// Waits at most two minutes. Exit status 0 when done, 1 when it did not happen, 2 for wrong arguments.
#include <windows.h>

#include <cstdlib>
#include <cwchar>
#include <string>

namespace {

constexpr int kTries = 1200;
constexpr DWORD kPauseMilliseconds = 100;

template <typename Condition>
bool waitFor(Condition condition) {
  for (int i = 0; i < kTries; ++i) {
    if (condition()) return true;
    Sleep(kPauseMilliseconds);
  }
  return false;
}

HWND findForm(const wchar_t* title) {
  const HWND form = FindWindowW(nullptr, title);
  return form && IsWindowVisible(form) ? form : nullptr;
}

bool click(HWND control) {
  RECT area{};
  if (!GetWindowRect(control, &area)) return false;
  SetCursorPos((area.left + area.right) / 2, (area.top + area.bottom) / 2);
  INPUT strokes[2]{};
  strokes[0].type = strokes[1].type = INPUT_MOUSE;
  strokes[0].mi.dwFlags = MOUSEEVENTF_LEFTDOWN;
  strokes[1].mi.dwFlags = MOUSEEVENTF_LEFTUP;
  return SendInput(2, strokes, sizeof strokes[0]) == 2;
}

void typeCharacter(wchar_t character) {
  INPUT strokes[2]{};
  strokes[0].type = strokes[1].type = INPUT_KEYBOARD;
  strokes[0].ki.wScan = strokes[1].ki.wScan = character;
  strokes[0].ki.dwFlags = KEYEVENTF_UNICODE;
  strokes[1].ki.dwFlags = KEYEVENTF_UNICODE | KEYEVENTF_KEYUP;
  SendInput(2, strokes, sizeof strokes[0]);
}

std::wstring textOf(HWND window) {
  std::wstring text(4096, L'\0');
  text.resize(
      static_cast<std::size_t>(SendMessageW(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()))));
  return text;
}

bool hasFocus(HWND edit) {
  GUITHREADINFO info{};
  info.cbSize = sizeof info;
  return GetGUIThreadInfo(GetWindowThreadProcessId(edit, nullptr), &info) && info.hwndFocus == edit;
}

// An entry field is a window around an edit box.
bool type(HWND field, const std::wstring& text) {
  const HWND edit = GetWindow(field, GW_CHILD);
  if (!edit || !click(edit) || !waitFor([&] { return hasFocus(edit); })) return false;
  for (const wchar_t character : text) typeCharacter(character);
  return waitFor([&] { return textOf(edit) == text; });
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  if (count < 3) return 2;
  const std::wstring verb = arguments[1];
  const wchar_t* const title = arguments[2];
  const int id = count > 3 ? static_cast<int>(std::wcstol(arguments[3], nullptr, 10)) : 0;
  if (!waitFor([&] { return findForm(title) != nullptr; })) return 1;
  if (verb == L"shown") return 0;
  const auto control = [&] { return GetDlgItem(findForm(title), id); };
  if (verb == L"enabled") return waitFor([&] { return IsWindowEnabled(control()) != FALSE; }) ? 0 : 1;
  if (verb == L"disabled") return control() && !IsWindowEnabled(control()) ? 0 : 1;
  if (verb == L"click") return control() && click(control()) ? 0 : 1;
  if (verb == L"type" && count > 4) return control() && type(control(), arguments[4]) ? 0 : 1;
  return 2;
}
