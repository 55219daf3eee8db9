// The typed single-line entry field of the library's dialogs: class "QevUTextBox" in a dialog template.
//
//   UTextBox::registerClass(moduleInstance());           // before the dialog is made
//   UTextBox& field = *UTextBox::from(GetDlgItem(dialog, id));
//   field.setDatatype(DataType::Date);
//   field.AfterUpdate = [&](bool& cancel) { ... };
//
// Its properties, methods and remaining events are in EntryControl and ControlOf.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>

#include "controls/ControlOf.h"

namespace qev {

class UTextBox final : public ControlOf<UTextBox> {
 public:
  static constexpr wchar_t kClassName[] = L"QevUTextBox";

  UTextBox() = default;  // for the window class: see create() and from()

  // Button: 1 left, 2 right, 4 middle; Shift as in KeyDown; X, Y in pixels within the edit box. A field that is not
  // enabled raises no MouseDown.
  std::function<void(std::int16_t Button, std::int16_t Shift, float X, float Y)> MouseDown;
  std::function<void(std::int16_t Button, std::int16_t Shift, float X, float Y)> MouseUp;

 private:
  void keyDown(std::int16_t& keyCode, bool repeated) override;
  void mouseDown(std::int16_t button, std::int16_t shift, POINT at) override;
  void mouseUp(std::int16_t button, std::int16_t shift, POINT at) override;
};

}  // namespace qev
