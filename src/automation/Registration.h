// What COM finds the library by: class, ProgID and type library under HKEY_LOCAL_MACHINE\Software\Classes.
#pragma once

#include <windows.h>

namespace qev {

// Writes the entries; on failure takes back what was written and answers why.
HRESULT registerServer();

// Removes every entry; those that are missing do not matter.
HRESULT unregisterServer();

}  // namespace qev
