// Win32 error codes as the errors that automation hosts know.
#pragma once

#include <windows.h>

#include <string>

#include "platform/AutomationError.h"

namespace qev {

// The number for a Win32 code; kDeviceInputOutput (57) for codes without one of their own.
[[nodiscard]] ErrorNumber errorNumberOf(DWORD code);

// Throws the error for `code`. A path on a removable drive whose root cannot be queried is 71 (disk not ready),
// whatever the code says. The path follows the description.
[[noreturn]] void throwWin32(DWORD code, const std::wstring& path);

// The error for a failed HRESULT of a conversion or of OLE: 6, 7, 13, or the Win32 code it carries.
[[noreturn]] void throwHresult(HRESULT result);

}  // namespace qev
