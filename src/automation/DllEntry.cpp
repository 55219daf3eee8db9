// The exports that COM and regsvr32 call.
#include <windows.h>
#include <wrl/client.h>

#include <initguid.h>

#include "automation/AutomationEdge.h"
#include "automation/MCBackup.h"
#include "automation/Registration.h"

namespace qev {
namespace {

using Microsoft::WRL::ComPtr;

class MCBackupFactory final : public IClassFactory {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
    if (!object) return E_POINTER;
    if (id != IID_IUnknown && id != IID_IClassFactory) {
      *object = nullptr;
      return E_NOINTERFACE;
    }
    *object = static_cast<IClassFactory*>(this);
    AddRef();
    return S_OK;
  }

  ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(InterlockedIncrement(&references_)); }

  ULONG STDMETHODCALLTYPE Release() override {
    const LONG left = InterlockedDecrement(&references_);
    if (left == 0) delete this;
    return static_cast<ULONG>(left);
  }

  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID id, void** object) override {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    ComPtr<MCBackup> made;
    *made.GetAddressOf() = new (std::nothrow) MCBackup;  // born with a reference; mingw-w64's Attach would add one
    return made ? made->QueryInterface(id, object) : E_OUTOFMEMORY;
  }

  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
    lock ? LibraryUse::begin() : LibraryUse::end();
    return S_OK;
  }

 private:
  ~MCBackupFactory() = default;

  LibraryUse use_;
  LONG references_ = 1;
};

}  // namespace
}  // namespace qev

STDAPI DllGetClassObject(REFCLSID classId, REFIID id, void** object) {
  if (!object) return E_POINTER;
  *object = nullptr;
  if (classId != qev::kClassId) return CLASS_E_CLASSNOTAVAILABLE;
  qev::ComPtr<qev::MCBackupFactory> factory;
  *factory.GetAddressOf() = new (std::nothrow) qev::MCBackupFactory;  // as above
  return factory ? factory->QueryInterface(id, object) : E_OUTOFMEMORY;
}

STDAPI DllCanUnloadNow() {
  return qev::LibraryUse::any() ? S_FALSE : S_OK;
}

STDAPI DllRegisterServer() {
  try {
    return qev::registerServer();
  } catch (...) {
    return qev::raiseCurrentToHost();
  }
}

STDAPI DllUnregisterServer() {
  try {
    return qev::unregisterServer();
  } catch (...) {
    return qev::raiseCurrentToHost();
  }
}
