#include "controls/VisualStyles.h"

#include <commctrl.h>

#include "platform/Handle.h"

namespace qev {

VisualStyles::VisualStyles() {
  ACTCTXW request{};
  request.cbSize = sizeof request;
  request.dwFlags = ACTCTX_FLAG_HMODULE_VALID | ACTCTX_FLAG_RESOURCE_NAME_VALID;
  request.hModule = moduleInstance();
  request.lpResourceName = MAKEINTRESOURCEW(2);  // ISOLATIONAWARE_MANIFEST_RESOURCE_ID
  context_ = UniqueActivationContext(CreateActCtxW(&request));
  if (context_ && !ActivateActCtx(context_.get(), &cookie_)) context_.reset();
  INITCOMMONCONTROLSEX classes{sizeof classes, ICC_STANDARD_CLASSES | ICC_PROGRESS_CLASS};
  InitCommonControlsEx(&classes);
}

VisualStyles::~VisualStyles() {
  // Forced: a host that our message loop called may have left a context of its own on top.
  if (context_) DeactivateActCtx(DEACTIVATE_ACTCTX_FLAG_FORCE_EARLY_DEACTIVATION, cookie_);
}

}  // namespace qev
