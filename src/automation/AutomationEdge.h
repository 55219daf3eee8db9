// Where errors leave the library: inside they are exceptions, outside HRESULT and IErrorInfo.
#pragma once

#include <windows.h>

#include "automation/Library.h"
#include "platform/AutomationError.h"
#include "platform/Handle.h"

namespace qev {

// The HRESULT of a number: as it is when negative, else 0x800A0000 + number.
HRESULT hresultOf(const AutomationError& error);

// Leaves `error` as the thread's error object, where there is memory for it, and returns its HRESULT. CreateErrorInfo,
// SetErrorInfo.
HRESULT raiseToHost(const AutomationError& error) noexcept;

// The answer for an exception that is being handled.
HRESULT raiseCurrentToHost() noexcept;

// Runs the body of a member: the library stays loaded meanwhile, drives without a disk answer with codes instead of
// system dialogs, and no exception passes.
template <typename Body>
HRESULT automationMember(Body body) {
  const LibraryUse use;
  const QuietDriveErrors quiet;
  try {
    body();
    return S_OK;
  } catch (...) {
    return raiseCurrentToHost();
  }
}

}  // namespace qev
