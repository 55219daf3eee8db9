// The typed single-line entry field of the library's dialogs: class "QevUTextBox" in a dialog template.
//
//   UTextBox::registerClass(moduleInstance());           // before the dialog is made
//   UTextBox& field = *UTextBox::from(GetDlgItem(dialog, id));
//   field.setDatatype(DataType::Date);
//   field.AfterUpdate = [&](bool& cancel) { ... };
//
// Its properties, methods and remaining events are in EntryControl.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>

#include "controls/EntryControl.h"

namespace qev {

class UTextBox final : public EntryControl {
 public:
  static constexpr wchar_t kClassName[] = L"QevUTextBox";

  UTextBox() = default;  // for the window class: see create() and from()

  // The window class, to be there before a window of it is made and gone before the module is. Registering twice is no
  // error. Throws 7. RegisterClassExW, UnregisterClassW.
  static void registerClass(HINSTANCE module);
  static void unregisterClass(HINSTANCE module);

  // Makes a field on a form without a template, in pixels. Throws 7 when it cannot be made. CreateWindowExW.
  static UTextBox& create(HWND form, int id, int left, int top, int width, int height);

  // The object of a window of this class, null for any other window. It is destroyed with the window.
  static UTextBox* from(HWND window);

  // Button: 1 left, 2 right, 4 middle; Shift as in KeyDown; X, Y in pixels within the edit box. A field that is not
  // enabled raises no MouseDown.
  std::function<void(std::int16_t Button, std::int16_t Shift, float X, float Y)> MouseDown;
  std::function<void(std::int16_t Button, std::int16_t Shift, float X, float Y)> MouseUp;

 private:
  static LRESULT CALLBACK windowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

  void keyDown(std::int16_t& keyCode, bool repeated) override;
  void mouseDown(std::int16_t button, std::int16_t shift, POINT at) override;
  void mouseUp(std::int16_t button, std::int16_t shift, POINT at) override;
};

}  // namespace qev
