// What screen readers are told of a window.
#pragma once

#include <string>

namespace qev {

using WindowHandle = void*;  // an HWND

class Accessibility {
 public:
  virtual ~Accessibility() = default;

  // Announces `window` by that name instead of one of its own; where the system cannot, it stays as it is.
  // IAccPropServices::SetHwndPropStr with PROPID_ACC_NAME.
  virtual void setName(WindowHandle window, const std::wstring& name) = 0;

  // Takes the name back, before the window goes. IAccPropServices::ClearHwndProps.
  virtual void clearName(WindowHandle window) = 0;
};

}  // namespace qev
