#include "controls/ControlClass.h"

#include "platform/AutomationError.h"
#include "platform/Handle.h"

namespace qev {

void registerControlClass(HINSTANCE module, const wchar_t* name, WNDPROC procedure, UINT style) {
  WNDCLASSEXW definition{};
  definition.cbSize = sizeof definition;
  definition.style = style;
  definition.lpfnWndProc = procedure;
  definition.cbWndExtra = sizeof(void*);
  definition.hInstance = module;
  definition.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  definition.lpszClassName = name;
  if (!RegisterClassExW(&definition) && GetLastError() != ERROR_CLASS_ALREADY_EXISTS)
    throw AutomationError(kOutOfMemory, name);
}

void unregisterControlClass(HINSTANCE module, const wchar_t* name) {
  UnregisterClassW(name, module);
}

HWND createControl(const wchar_t* name, HWND form, int id, const RECT& area) {
  const HWND window = CreateWindowExW(0, name, L"", WS_CHILD | WS_VISIBLE | WS_TABSTOP, area.left, area.top,
                                      area.right - area.left, area.bottom - area.top, form,
                                      reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), moduleInstance(), nullptr);
  if (!window) throw AutomationError(kOutOfMemory, name);
  SendMessageW(window, WM_SETFONT, static_cast<WPARAM>(SendMessageW(form, WM_GETFONT, 0, 0)), FALSE);
  return window;
}

}  // namespace qev
