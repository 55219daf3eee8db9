#include "automation/AutomationEdge.h"

#include <oleauto.h>
#include <wrl/client.h>

#include "IMCBackup.h"

namespace qev {
namespace {

using Microsoft::WRL::ComPtr;

void setErrorObject(const AutomationError& error) {
  ComPtr<ICreateErrorInfo> made;
  if (FAILED(CreateErrorInfo(made.GetAddressOf()))) return;
  std::wstring source = error.source();
  std::wstring description = error.description();
  made->SetGUID(IID_IMCBackup);
  made->SetSource(source.data());
  made->SetDescription(description.data());
  ComPtr<IErrorInfo> info;
  if (SUCCEEDED(made.As(&info))) SetErrorInfo(0, info.Get());
}

}  // namespace

HRESULT hresultOf(const AutomationError& error) {
  constexpr HRESULT knownNumbers = static_cast<HRESULT>(0x800A0000u);
  return error.number() < 0 ? error.number() : knownNumbers | error.number();
}

HRESULT raiseToHost(const AutomationError& error) noexcept {
  try {
    setErrorObject(error);
  } catch (const std::exception&) {  // the number alone must do
  }
  return hresultOf(error);
}

HRESULT raiseCurrentToHost() noexcept {
  try {
    throw;
  } catch (const AutomationError& error) {
    return raiseToHost(error);
  } catch (...) {
    SetErrorInfo(0, nullptr);
    return E_OUTOFMEMORY;
  }
}

}  // namespace qev
