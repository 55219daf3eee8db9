// The module (DLL or program) that this code is linked into.
#pragma once

#include <windows.h>

#include <string>

namespace qev {

// Its handle, for resources and window classes. GetModuleHandleExW.
HINSTANCE moduleInstance();

// Its full path. GetModuleFileNameW.
std::wstring modulePath();

}  // namespace qev
