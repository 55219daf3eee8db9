// Names for screen readers, by the system's annotation service.
#pragma once

#include "platform/Accessibility.h"

namespace qev {

class AccessibilityWindows : public Accessibility {
 public:
  void setName(WindowHandle window, const std::wstring& name) override;
  void clearName(WindowHandle window) override;
};

}  // namespace qev
