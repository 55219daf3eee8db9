// Where errors leave the library: inside they are exceptions, outside HRESULT and IErrorInfo.
#pragma once

#include <windows.h>

#include <new>

#include "automation/Library.h"
#include "platform/AutomationError.h"

namespace qev {

// The HRESULT of a number: as it is when negative, else 0x800A0000 + number.
HRESULT hresultOf(const AutomationError& error);

// Leaves `error` as the thread's error object and returns its HRESULT. CreateErrorInfo, SetErrorInfo.
HRESULT raiseToHost(const AutomationError& error);

// Runs the body of a member: the library stays loaded meanwhile, and no exception passes.
template <typename Body>
HRESULT automationMember(Body body) {
  const LibraryUse use;
  try {
    body();
    return S_OK;
  } catch (const AutomationError& error) {
    return raiseToHost(error);
  } catch (const std::bad_alloc&) {
    return raiseToHost(AutomationError(kOutOfMemory));
  } catch (const std::exception&) {
    return raiseToHost(AutomationError(kInvalidCall));
  }
}

}  // namespace qev
