#include "automation/TypeLibrary.h"

#include <wrl/client.h>

#include <exception>

#include "IMCBackup.h"
#include "platform/Handle.h"

namespace qev {

HRESULT loadOwnTypeLibrary(ITypeLib** typeLibrary) {
  try {
    return LoadTypeLibEx(modulePath().c_str(), REGKIND_NONE, typeLibrary);
  } catch (const std::exception&) {
    return E_OUTOFMEMORY;
  }
}

HRESULT interfaceTypeInfo(ITypeInfo** info) {
  Microsoft::WRL::ComPtr<ITypeLib> typeLibrary;
  const HRESULT result = loadOwnTypeLibrary(typeLibrary.GetAddressOf());
  return FAILED(result) ? result : typeLibrary->GetTypeInfoOfGuid(IID_IMCBackup, info);
}

}  // namespace qev
