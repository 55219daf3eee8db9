#include "platform/AccessibilityWindows.h"

#include <windows.h>

#include <initguid.h>
#include <oleacc.h>

#include "platform/Handle.h"

namespace qev {
namespace {

struct ComTraits {
  using Type = IAccPropServices*;
  static void close(IAccPropServices* services) { services->Release(); }
};

// The service of this thread, which must be in an apartment, as a host's user-interface thread is. None where the
// system has none.
UniqueHandle<ComTraits> annotationService() {
  IAccPropServices* services = nullptr;
  const HRESULT result = CoCreateInstance(CLSID_AccPropServices, nullptr, CLSCTX_INPROC_SERVER, IID_IAccPropServices,
                                          reinterpret_cast<void**>(&services));
  return UniqueHandle<ComTraits>(SUCCEEDED(result) ? services : nullptr);
}

constexpr auto kClient = static_cast<DWORD>(OBJID_CLIENT);

}  // namespace

void AccessibilityWindows::setName(WindowHandle window, const std::wstring& name) {
  if (const auto services = annotationService())
    services.get()->SetHwndPropStr(static_cast<HWND>(window), kClient, CHILDID_SELF, PROPID_ACC_NAME, name.c_str());
}

void AccessibilityWindows::clearName(WindowHandle window) {
  MSAAPROPID properties[] = {PROPID_ACC_NAME};
  if (const auto services = annotationService())
    services.get()->ClearHwndProps(static_cast<HWND>(window), kClient, CHILDID_SELF, properties, 1);
}

}  // namespace qev
