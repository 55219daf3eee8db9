// The type library that this module carries as its first TYPELIB resource.
#pragma once

#include <windows.h>

#include <oaidl.h>

namespace qev {

// Loads it, whether the library is registered or not. The caller releases it. LoadTypeLibEx.
HRESULT loadOwnTypeLibrary(ITypeLib** typeLibrary);

// The description of IMCBackup. The caller releases it.
HRESULT interfaceTypeInfo(ITypeInfo** info);

}  // namespace qev
