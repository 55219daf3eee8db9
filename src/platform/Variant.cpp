#include "platform/Variant.h"

#include <utility>

#include "platform/Win32Error.h"

namespace qev {

Bstr::Bstr(const std::wstring& text) : text_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {
  if (!text_) throw AutomationError(kOutOfMemory);
}

BSTR Bstr::release() {
  return std::exchange(text_, nullptr);
}

std::wstring Bstr::textOf(BSTR text) {
  return text ? std::wstring(text, SysStringLen(text)) : std::wstring();
}

Variant::Variant(const Value& value) : Variant() {
  struct Fill {
    VARIANT& to;
    void operator()(const Empty&) const {}
    void operator()(const Null&) const { to.vt = VT_NULL; }
    void operator()(bool held) const { to.vt = VT_BOOL, to.boolVal = held ? VARIANT_TRUE : VARIANT_FALSE; }
    void operator()(std::uint8_t held) const { to.vt = VT_UI1, to.bVal = held; }
    void operator()(std::int16_t held) const { to.vt = VT_I2, to.iVal = held; }
    void operator()(std::int32_t held) const { to.vt = VT_I4, to.lVal = held; }
    void operator()(float held) const { to.vt = VT_R4, to.fltVal = held; }
    void operator()(double held) const { to.vt = VT_R8, to.dblVal = held; }
    void operator()(const Currency& held) const { to.vt = VT_CY, to.cyVal.int64 = held.tenThousandths; }
    void operator()(const Date& held) const { to.vt = VT_DATE, to.date = held.days; }
    void operator()(const std::wstring& held) const { to.bstrVal = Bstr(held).release(), to.vt = VT_BSTR; }
  };
  std::visit(Fill{value_}, value);
}

void Variant::convertTo(VARTYPE type) {
  const HRESULT result = VariantChangeTypeEx(&value_, &value_, LOCALE_USER_DEFAULT, 0, type);
  if (FAILED(result)) throwHresult(result);
}

}  // namespace qev
