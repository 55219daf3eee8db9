#include "automation/TypeLibrary.h"

#include <exception>

#include "IMCBackup.h"
#include "platform/Module.h"

namespace qev {

HRESULT loadOwnTypeLibrary(ITypeLib** typeLibrary) {
  try {
    return LoadTypeLibEx(modulePath().c_str(), REGKIND_NONE, typeLibrary);
  } catch (const std::exception&) {
    return E_OUTOFMEMORY;
  }
}

HRESULT interfaceTypeInfo(ITypeInfo** info) {
  ITypeLib* typeLibrary = nullptr;
  HRESULT result = loadOwnTypeLibrary(&typeLibrary);
  if (FAILED(result)) return result;
  result = typeLibrary->GetTypeInfoOfGuid(IID_IMCBackup, info);
  typeLibrary->Release();
  return result;
}

}  // namespace qev
