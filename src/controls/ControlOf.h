// What the classes of entry controls have in common: window class, making, finding.
#pragma once

#include "controls/ControlClass.h"
#include "controls/EntryControl.h"

namespace qev {

// REQUIRES: `Control` derives from it, has a default constructor, and the name of its window class as kClassName.
template <typename Control>
class ControlOf : public EntryControl {
 public:
  // The window class, to be there before a window of it is made and gone before the module is. Registering twice is no
  // error. Throws 7. RegisterClassExW, UnregisterClassW.
  static void registerClass(HINSTANCE module) {
    registerControlClass(module, Control::kClassName, &windowProcedure, CS_HREDRAW | CS_VREDRAW);
  }
  static void unregisterClass(HINSTANCE module) { unregisterControlClass(module, Control::kClassName); }

  // Makes a field on a form without a template, in pixels. Throws 7 when it cannot be made. CreateWindowExW.
  static Control& create(HWND form, int id, int left, int top, int width, int height) {
    return *from(createControl(Control::kClassName, form, id, {left, top, left + width, top + height}));
  }

  // The object of a window of this class, null for any other window. It is destroyed with the window.
  static Control* from(HWND window) { return static_cast<Control*>(fromWindow(window, &windowProcedure)); }

 private:
  static LRESULT CALLBACK windowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    return procedure(window, message, wParam, lParam,
                     []() -> std::shared_ptr<EntryControl> { return std::make_shared<Control>(); });
  }
};

}  // namespace qev
