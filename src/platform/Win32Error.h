// Win32 error codes as the errors that automation hosts know.
#pragma once

#include <windows.h>

#include <string>

#include "platform/AutomationError.h"

namespace qev {

// The number for a Win32 code; kDeviceInputOutput (57) for codes without one of their own. 76 stands for a network that
// does not lead to the folder, 70 for a user who may not, and for a file that a virus scanner keeps (53 would say that
// there is none), 61 for a quota and for a file system that holds no file of that size.
[[nodiscard]] ErrorNumber errorNumberOf(DWORD code);

// The Spanish description of a Win32 code: of a virus scanner, of a quota, of a file too large for its disk and of a
// cloud service one of its own, else that of its number.
[[nodiscard]] std::wstring describeWin32(DWORD code);

// Throws the error for `code`. A path on a removable drive whose root cannot be queried is 71 (disk not ready),
// whatever the code says. The path follows the description.
[[noreturn]] void throwWin32(DWORD code, const std::wstring& path);

// The error for a failed HRESULT of a conversion or of OLE: 6, 7, 13, or the Win32 code it carries.
[[noreturn]] void throwHresult(HRESULT result);

}  // namespace qev
