#include "controls/UTextBox.h"

namespace qev {

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
