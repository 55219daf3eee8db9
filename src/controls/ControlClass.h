// Window classes of the controls, and windows of them.
#pragma once

#include <windows.h>

namespace qev {

// Registers a window class whose windows each keep one pointer, at offset 0. Registering twice is no error. `style`:
// CS_. Throws 7 when it cannot be registered. RegisterClassExW.
void registerControlClass(HINSTANCE module, const wchar_t* name, WNDPROC procedure, UINT style);

// Takes a class back when no window of it is left. UnregisterClassW.
void unregisterControlClass(HINSTANCE module, const wchar_t* name);

// Makes a control on `form`, with the form's font. Throws 7 when it cannot be made. CreateWindowExW.
HWND createControl(const wchar_t* name, HWND form, int id, const RECT& area);

}  // namespace qev
