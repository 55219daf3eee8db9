// Values as VARIANTs and texts as BSTRs, for OLE Automation's conversions and for the automation edge.
#pragma once

#include <windows.h>

#include <oleauto.h>

#include <string>

#include "platform/Value.h"

namespace qev {

class Bstr {
 public:
  Bstr() = default;
  explicit Bstr(const std::wstring& text);  // throws 7 when there is no memory
  Bstr(const Bstr&) = delete;
  Bstr& operator=(const Bstr&) = delete;
  ~Bstr() { SysFreeString(text_); }

  BSTR get() const { return text_; }
  BSTR* put() { return &text_; }  // REQUIRES: empty
  [[nodiscard]] BSTR release();
  std::wstring text() const { return textOf(text_); }

  // The characters of a BSTR; a null one is the empty text.
  [[nodiscard]] static std::wstring textOf(BSTR text);

 private:
  BSTR text_ = nullptr;
};

class Variant {
 public:
  Variant() { VariantInit(&value_); }
  explicit Variant(const Value& value);  // throws 7 when there is no memory
  Variant(const Variant&) = delete;
  Variant& operator=(const Variant&) = delete;
  ~Variant() { VariantClear(&value_); }

  VARIANT* get() { return &value_; }

  // A copy converted to an automation type by the user's locale. Throws 13, 6. VariantChangeTypeEx.
  void convertTo(VARTYPE type);

 private:
  VARIANT value_;
};

}  // namespace qev
