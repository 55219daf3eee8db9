#include "automation/TypeLibrary.h"

#include "IMCBackup.h"
#include "platform/Module.h"

namespace qev {

HRESULT loadOwnTypeLibrary(ITypeLib** typeLibrary) {
  return LoadTypeLibEx(modulePath().c_str(), REGKIND_NONE, typeLibrary);
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
