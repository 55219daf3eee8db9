#include "controls/UTextBox.h"

#include "platform/AutomationError.h"
#include "platform/Module.h"

namespace qev {

void UTextBox::registerClass(HINSTANCE module) {
  registerWindowClass(module, kClassName, &windowProcedure);
}

void UTextBox::unregisterClass(HINSTANCE module) {
  unregisterWindowClass(module, kClassName);
}

LRESULT CALLBACK UTextBox::windowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  return procedure(window, message, wParam, lParam,
                   []() -> std::shared_ptr<EntryControl> { return std::make_shared<UTextBox>(); });
}

UTextBox& UTextBox::create(HWND form, int id, int left, int top, int width, int height) {
  const HWND window =
      CreateWindowExW(0, kClassName, L"", WS_CHILD | WS_VISIBLE | WS_TABSTOP, left, top, width, height, form,
                      reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), moduleInstance(), nullptr);
  if (!window) throw AutomationError(kOutOfMemory, kClassName);
  SendMessageW(window, WM_SETFONT, static_cast<WPARAM>(SendMessageW(form, WM_GETFONT, 0, 0)), FALSE);
  return *from(window);
}

UTextBox* UTextBox::from(HWND window) {
  return static_cast<UTextBox*>(fromWindow(window, &windowProcedure));
}

void UTextBox::keyDown(std::int16_t keyCode) {
  switch (keyCode) {
    case VK_RETURN:
    case VK_DOWN: focusNext(false); break;
    case VK_UP: focusNext(true); break;
    case VK_ESCAPE: edit().setText(savedText()); break;
    case VK_DELETE: typing_ = true; break;
    default: break;
  }
}

void UTextBox::mouseDown(std::int16_t button, std::int16_t shift, POINT at) {
  EntryControl::mouseDown(button, shift, at);
  if (Enabled() && MouseDown) MouseDown(button, shift, static_cast<float>(at.x), static_cast<float>(at.y));
}

void UTextBox::mouseUp(std::int16_t button, std::int16_t shift, POINT at) {
  if (MouseUp) MouseUp(button, shift, static_cast<float>(at.x), static_cast<float>(at.y));
}

}  // namespace qev
