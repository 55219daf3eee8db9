// Version 6 of the common controls for the windows made while one lives, whatever the host's own manifest says.
#pragma once

#include <windows.h>

#include "platform/Handle.h"

namespace qev {

class VisualStyles {
 public:
  // Activates the manifest in this module; without effect where it cannot. CreateActCtxW, ActivateActCtx.
  VisualStyles();
  VisualStyles(const VisualStyles&) = delete;
  VisualStyles& operator=(const VisualStyles&) = delete;
  ~VisualStyles();

 private:
  UniqueActivationContext context_;
  ULONG_PTR cookie_ = 0;
};

}  // namespace qev
