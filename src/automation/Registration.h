// What COM finds the library by: class, ProgID and type library under HKEY_LOCAL_MACHINE\Software\Classes.
#pragma once

#include <windows.h>

namespace qev {

// Writes the entries; on failure takes back what was written and answers why.
HRESULT registerServer();

// Removes every entry; those that are missing do not matter. The ProgID is shared with the library of the other
// architecture, and stays while that is registered (Microsoft: "Registry Keys Affected by WOW64").
HRESULT unregisterServer();

}  // namespace qev
