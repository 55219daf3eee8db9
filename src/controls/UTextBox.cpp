#include "controls/UTextBox.h"

#include "controls/ControlClass.h"

namespace qev {

void UTextBox::registerClass(HINSTANCE module) {
  registerControlClass(module, kClassName, &windowProcedure, CS_HREDRAW | CS_VREDRAW);
}

void UTextBox::unregisterClass(HINSTANCE module) {
  unregisterControlClass(module, kClassName);
}

LRESULT CALLBACK UTextBox::windowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  return procedure(window, message, wParam, lParam,
                   []() -> std::shared_ptr<EntryControl> { return std::make_shared<UTextBox>(); });
}

UTextBox& UTextBox::create(HWND form, int id, int left, int top, int width, int height) {
  return *from(createControl(kClassName, form, id, {left, top, left + width, top + height}));
}

UTextBox* UTextBox::from(HWND window) {
  return static_cast<UTextBox*>(fromWindow(window, &windowProcedure));
}

void UTextBox::keyDown(std::int16_t& keyCode, bool) {
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
  if (Enabled()) raise(MouseDown, button, shift, static_cast<float>(at.x), static_cast<float>(at.y));
}

void UTextBox::mouseUp(std::int16_t button, std::int16_t shift, POINT at) {
  raise(MouseUp, button, shift, static_cast<float>(at.x), static_cast<float>(at.y));
}

}  // namespace qev
