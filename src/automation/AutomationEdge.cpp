#include "automation/AutomationEdge.h"

#include <oleauto.h>

#include "IMCBackup.h"

namespace qev {
namespace {

template <typename Interface>
class ComPointer {
 public:
  ComPointer() = default;
  ComPointer(const ComPointer&) = delete;
  ComPointer& operator=(const ComPointer&) = delete;
  ~ComPointer() {
    if (pointer_) pointer_->Release();
  }
  Interface* operator->() const { return pointer_; }
  Interface* get() const { return pointer_; }
  Interface** put() { return &pointer_; }

 private:
  Interface* pointer_ = nullptr;
};

void setErrorObject(const AutomationError& error) {
  ComPointer<ICreateErrorInfo> made;
  if (FAILED(CreateErrorInfo(made.put()))) return;
  std::wstring source = error.source();
  std::wstring description = error.description();
  made->SetGUID(IID_IMCBackup);
  made->SetSource(source.data());
  made->SetDescription(description.data());
  ComPointer<IErrorInfo> info;
  if (SUCCEEDED(made->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(info.put()))))
    SetErrorInfo(0, info.get());
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
