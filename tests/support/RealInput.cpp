#ifdef _WIN32
#include "support/RealInput.h"

#include <vector>

namespace qev::test {
namespace {

constexpr DWORD kQuietMilliseconds = 25;

void dispatchWaiting(HWND form) {
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    if (form && IsDialogMessageW(form, &message)) continue;
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

bool anythingComes(DWORD milliseconds) {
  return MsgWaitForMultipleObjectsEx(0, nullptr, milliseconds, QS_ALLINPUT, MWMO_INPUTAVAILABLE) != WAIT_TIMEOUT;
}

INPUT keyInput(WORD key, DWORD flags) {
  INPUT input{};
  input.type = INPUT_KEYBOARD;
  if (flags & KEYEVENTF_UNICODE) {
    input.ki.wScan = key;
  } else {
    input.ki.wVk = key;
    input.ki.wScan = static_cast<WORD>(MapVirtualKeyW(key, MAPVK_VK_TO_VSC));
  }
  input.ki.dwFlags = flags;
  return input;
}

void addModifiers(std::vector<INPUT>& strokes, unsigned modifiers, DWORD flags) {
  if (modifiers & kShift) strokes.push_back(keyInput(VK_SHIFT, flags));
  if (modifiers & kControl) strokes.push_back(keyInput(VK_CONTROL, flags));
  if (modifiers & kAlt) strokes.push_back(keyInput(VK_MENU, flags));
}

void addStroke(std::vector<INPUT>& strokes, WORD key, unsigned modifiers, DWORD flags = 0) {
  addModifiers(strokes, modifiers, 0);
  strokes.push_back(keyInput(key, flags));
  strokes.push_back(keyInput(key, flags | KEYEVENTF_KEYUP));
  addModifiers(strokes, modifiers, KEYEVENTF_KEYUP);
}

void send(std::vector<INPUT>& inputs) {
  SendInput(static_cast<UINT>(inputs.size()), inputs.data(), sizeof(INPUT));
}

INPUT mouseInput(DWORD flags) {
  INPUT input{};
  input.type = INPUT_MOUSE;
  input.mi.dwFlags = flags;
  return input;
}

}  // namespace

bool pumpUntilIdle(HWND form, DWORD deadline) {
  const ULONGLONG end = GetTickCount64() + deadline;
  dispatchWaiting(form);
  while (anythingComes(kQuietMilliseconds)) {
    dispatchWaiting(form);
    if (GetTickCount64() > end) return false;
  }
  return true;
}

bool pumpUntil(HWND form, const std::function<bool()>& condition, DWORD deadline) {
  const ULONGLONG end = GetTickCount64() + deadline;
  while (!condition()) {
    if (GetTickCount64() > end) return false;
    anythingComes(kQuietMilliseconds);
    dispatchWaiting(form);
  }
  return true;
}

void bringToForeground(HWND form) {
  ShowWindow(form, SW_SHOW);
  SetForegroundWindow(form);
  pumpUntil(form, [form] { return GetForegroundWindow() == form && GetActiveWindow() == form; });
  pumpUntilIdle(form);
}

void press(HWND form, WORD virtualKey, unsigned modifiers) {
  std::vector<INPUT> strokes;
  addStroke(strokes, virtualKey, modifiers);
  send(strokes);
  pumpUntilIdle(form);
}

void type(HWND form, std::wstring_view text) {
  for (const wchar_t character : text) {
    std::vector<INPUT> strokes;
    const SHORT key = VkKeyScanW(character);
    if (key == -1) {
      addStroke(strokes, character, kNoModifier, KEYEVENTF_UNICODE);
    } else {
      addStroke(strokes, LOBYTE(key), HIBYTE(key) & (kShift | kControl | kAlt));
    }
    send(strokes);
  }
  pumpUntilIdle(form);
}

void clickAt(HWND form, HWND window, int x, int y, Button button) {
  POINT at{x, y};
  ClientToScreen(window, &at);
  SetCursorPos(at.x, at.y);
  pumpUntilIdle(form);
  const bool left = button == Button::Left;
  const bool right = button == Button::Right;
  std::vector<INPUT> clicks{mouseInput(left    ? MOUSEEVENTF_LEFTDOWN
                                       : right ? MOUSEEVENTF_RIGHTDOWN
                                               : MOUSEEVENTF_MIDDLEDOWN),
                            mouseInput(left    ? MOUSEEVENTF_LEFTUP
                                       : right ? MOUSEEVENTF_RIGHTUP
                                               : MOUSEEVENTF_MIDDLEUP)};
  send(clicks);
  pumpUntilIdle(form);
}

void clickOn(HWND form, HWND window, Button button) {
  RECT client{};
  GetClientRect(window, &client);
  clickAt(form, window, client.right / 2, client.bottom / 2, button);
}

}  // namespace qev::test
#endif
