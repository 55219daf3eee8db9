// Whether texts fit their controls, at whatever scale and in whatever font: the tests of the forms at each scale.
#pragma once

#include <windows.h>

#include <string>

namespace qev::test {

// The pixels that a text takes within a width of so many, in the font of its window. DrawTextW with DT_CALCRECT and
// these flags.
SIZE roomForText(HWND window, const std::wstring& text, int width, UINT flags);

// Whether the text of a label, button or check box, with its icon or tick, is no larger than its control, in one line.
bool fitsInOneLine(HWND control);

// Whether the text of an edit box of several lines is no higher than the box.
bool fitsWrapped(HWND edit);

// Expects that each control lies within the form, and that no two that can be seen overlap, frames apart.
void expectNothingOutsideOrOverAnother(HWND form);

}  // namespace qev::test
