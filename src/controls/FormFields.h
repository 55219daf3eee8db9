// What the entry controls of one form ask of each other, by registered messages that mean nothing to other windows.
#pragma once

#include <windows.h>

namespace qev {

// Answered with its EntryControl by a control's window.
UINT identityMessage();

// Asks a control whether the focus has gone to another one of the form, and to leave if so. Answered with
// kSettleRefused when the entry was refused then.
UINT settleMessage();
inline constexpr LRESULT kSettleRefused = 0x716576;

// Posts the settle message to every window of a form. PostMessageW.
void postSettle(HWND form);

// Whether `window` is of the same form as `control`, but neither the form, nor the control, nor within it.
bool isOtherControlOfForm(HWND control, HWND window);

// Whether Tab would ever reach a control of the form that keeps the focus: one that is no disabled field. Without one,
// disabled fields would send it around for ever. GetNextDlgTabItem.
bool anotherStopExists(HWND control);

}  // namespace qev
