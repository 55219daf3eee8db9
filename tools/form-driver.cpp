// Watches and uses a window from outside, as the demonstration does: finds a form by its caption and a control by its
// id.
//
//   form-driver shown TITLE            waits until the form is there
//   form-driver enabled TITLE ID       waits until the control can be used
//   form-driver disabled TITLE ID      succeeds when the control cannot be used now
//   form-driver click TITLE ID         clicks on the control with the mouse, once it can be used
//   form-driver type TITLE ID TEXT     clicks on the entry field and types the text over what it holds, key by key
//
// Waits at most two minutes. Exit status 0 when done, 1 when it did not happen, 2 for wrong arguments.
#include <windows.h>

#include <cstdlib>
#include <cwchar>
#include <string>

namespace {

constexpr DWORD kPauseMilliseconds = 100;
constexpr int kTwoMinutes = 1200;  // pauses
constexpr int kTwoSeconds = 20;

template <typename Condition>
bool waitFor(Condition condition, int pauses = kTwoMinutes) {
  for (int i = 0; i < pauses; ++i) {
    if (condition()) return true;
    Sleep(kPauseMilliseconds);
  }
  return false;
}

// The visible window of this title with a control of this id (0: with any), or null.
HWND findForm(const wchar_t* title, int id) {
  HWND form = nullptr;
  do form = FindWindowExW(nullptr, form, nullptr, title);
  while (form && !(IsWindowVisible(form) && (id == 0 || GetDlgItem(form, id))));
  return form;
}

bool canBeUsed(HWND control) {
  return IsWindowVisible(control) && IsWindowEnabled(control) && IsWindowEnabled(GetAncestor(control, GA_ROOT));
}

// Whether the control can be used and stays where it is: a form that has just come up may still be on its way.
bool isSettled(HWND control) {
  RECT before{}, after{};
  if (!canBeUsed(control) || !GetWindowRect(control, &before)) return false;
  Sleep(kPauseMilliseconds);
  return canBeUsed(control) && GetWindowRect(control, &after) && EqualRect(&before, &after);
}

POINT middleOf(HWND control) {
  RECT area{};
  GetWindowRect(control, &area);
  return {(area.left + area.right) / 2, (area.top + area.bottom) / 2};
}

bool isInFront(HWND control) {
  const HWND there = WindowFromPoint(middleOf(control));
  return GetForegroundWindow() == GetAncestor(control, GA_ROOT) && (there == control || IsChild(control, there));
}

// Whether the mouse is on the control and stays there. The display tells of every movement, and the host may hear of an
// earlier one after a later one and take the mouse back.
bool holdsMouse(HWND control) {
  const POINT middle = middleOf(control);
  POINT now{};
  if (!SetCursorPos(middle.x, middle.y)) return false;
  Sleep(2 * kPauseMilliseconds);
  return GetCursorPos(&now) && now.x == middle.x && now.y == middle.y;
}

// A form that does not come to the front is brought there; where the system refuses that, the click does it.
bool click(HWND control) {
  if (!waitFor([&] { return isSettled(control); })) return false;
  if (!waitFor([&] { return isInFront(control); }, kTwoSeconds)) {
    SetForegroundWindow(GetAncestor(control, GA_ROOT));
    waitFor([&] { return isInFront(control); }, kTwoSeconds);
  }
  if (!waitFor([&] { return holdsMouse(control); })) return false;
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

// An entry field is a window around an edit box. What has not arrived whole is typed again.
bool type(HWND field, const std::wstring& text) {
  const HWND edit = GetWindow(field, GW_CHILD);
  if (!edit || !click(edit) || !waitFor([&] { return hasFocus(edit); })) return false;
  for (int tries = 0; tries < 3; ++tries) {
    SendMessageW(edit, EM_SETSEL, 0, -1);
    for (const wchar_t character : text) typeCharacter(character);
    if (waitFor([&] { return textOf(edit) == text; }, 5 * kTwoSeconds)) return true;
  }
  return false;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  if (count < 3) return 2;
  const std::wstring verb = arguments[1];
  const wchar_t* const title = arguments[2];
  const int id = count > 3 ? static_cast<int>(std::wcstol(arguments[3], nullptr, 10)) : 0;
  if (!waitFor([&] { return findForm(title, id) != nullptr; })) return 1;
  if (verb == L"shown") return 0;
  const auto control = [&] { return GetDlgItem(findForm(title, id), id); };
  if (verb == L"enabled") return waitFor([&] { return IsWindowEnabled(control()) != FALSE; }) ? 0 : 1;
  if (verb == L"disabled") return control() && !IsWindowEnabled(control()) ? 0 : 1;
  if (verb == L"click") return click(control()) ? 0 : 1;
  if (verb == L"type" && count > 4) return type(control(), arguments[4]) ? 0 : 1;
  return 2;
}
