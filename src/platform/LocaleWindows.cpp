#include "platform/SystemServices.h"

#include "platform/Variant.h"
#include "platform/Win32Error.h"

namespace qev {
namespace {

constexpr UINT kWesternCodePage = 1252;

void check(HRESULT result) {
  if (FAILED(result)) throwHresult(result);
}

// That of programs without Unicode by the system's locale, 0 where it has none.
UINT systemCodePage() {
  DWORD page = 0;
  const int read = GetLocaleInfoEx(LOCALE_NAME_SYSTEM_DEFAULT, LOCALE_IDEFAULTANSICODEPAGE | LOCALE_RETURN_NUMBER,
                                   reinterpret_cast<wchar_t*>(&page), sizeof page / sizeof(wchar_t));
  return read > 0 ? page : 0;
}

std::string bytesIn(UINT page, std::wstring_view text) {
  // A letter that only looks alike would name another file. UTF-8 has every letter and does not take the flag.
  const DWORD flags = page == CP_UTF8 ? 0 : WC_NO_BEST_FIT_CHARS;
  const int length = static_cast<int>(text.size());
  const int needed = WideCharToMultiByte(page, flags, text.data(), length, nullptr, 0, nullptr, nullptr);
  std::string bytes(static_cast<std::size_t>(needed), '\0');
  WideCharToMultiByte(page, flags, text.data(), length, bytes.data(), needed, nullptr, nullptr);
  return bytes;
}

}  // namespace

Date LocaleWindows::dateFromText(const std::wstring& text) const {
  DATE date = 0;
  std::wstring writable = text;  // the SDK declares the text as one that could be written to
  check(VarDateFromStr(writable.data(), LOCALE_USER_DEFAULT, 0, &date));
  return Date{date};
}

std::wstring LocaleWindows::shortDateText(Date date) const {
  Bstr text;
  check(VarBstrFromDate(date.days, LOCALE_USER_DEFAULT, VAR_DATEVALUEONLY, text.put()));
  return text.text();
}

std::wstring LocaleWindows::format(const Value& value, const std::wstring& pattern) const {
  Variant variant(value);
  std::wstring writable = pattern;
  Bstr text;
  check(VarFormat(variant.get(), writable.data(), 0, 0, 0, text.put()));
  return text.text();
}

std::int16_t LocaleWindows::toInt16(const Value& value) const {
  Variant variant(value);
  variant.convertTo(VT_I2);
  return variant.get()->iVal;
}

double LocaleWindows::toDouble(const Value& value) const {
  Variant variant(value);
  variant.convertTo(VT_R8);
  return variant.get()->dblVal;
}

Currency LocaleWindows::toCurrency(const Value& value) const {
  Variant variant(value);
  variant.convertTo(VT_CY);
  return Currency{variant.get()->cyVal.int64};
}

bool LocaleWindows::toBoolean(const Value& value) const {
  Variant variant(value);
  variant.convertTo(VT_BOOL);
  return variant.get()->boolVal != VARIANT_FALSE;
}

Date LocaleWindows::toDate(const Value& value) const {
  Variant variant(value);
  variant.convertTo(VT_DATE);
  return Date{variant.get()->date};
}

std::wstring LocaleWindows::toText(const Value& value) const {
  Variant variant(value);
  variant.convertTo(VT_BSTR);
  return Bstr::textOf(variant.get()->bstrVal);
}

std::wstring LocaleWindows::upper(const std::wstring& text) const {
  if (text.empty()) return text;
  std::wstring upper(text.size(), L'\0');  // mapping letter case keeps the number of UTF-16 units
  const int length = static_cast<int>(text.size());
  const int mapped = LCMapStringEx(LOCALE_NAME_USER_DEFAULT, LCMAP_UPPERCASE | LCMAP_LINGUISTIC_CASING, text.data(),
                                   length, upper.data(), length, nullptr, nullptr, 0);
  return mapped == length ? upper : text;
}

bool LocaleWindows::equalIgnoringCase(const std::wstring& a, const std::wstring& b) const {
  return CompareStringEx(LOCALE_NAME_USER_DEFAULT, NORM_IGNORECASE, a.data(), static_cast<int>(a.size()), b.data(),
                         static_cast<int>(b.size()), nullptr, nullptr, 0) == CSTR_EQUAL;
}

UINT codePageOfSets(UINT ofProcess, UINT ofSystem) {
  if (ofProcess != CP_UTF8) return ofProcess;
  return ofSystem == 0 || ofSystem == CP_UTF8 ? kWesternCodePage : ofSystem;
}

UINT LocaleWindows::pageNumber(CodePage page) const {
  switch (page) {
    case CodePage::Sets: return codePageOfSets(processCodePage_, systemCodePage());
    case CodePage::Process: return processCodePage_;
    case CodePage::Utf8: return CP_UTF8;
    case CodePage::Western: break;
  }
  return kWesternCodePage;
}

std::string LocaleWindows::ansiFromText(std::wstring_view text) const {
  return bytesIn(processCodePage_, text);
}

std::wstring LocaleWindows::textFromAnsi(std::string_view bytes) const {
  return textFrom(CodePage::Process, bytes);
}

std::string LocaleWindows::headerBytes(std::wstring_view text) const {
  return bytesIn(pageNumber(CodePage::Sets), text);
}

std::wstring LocaleWindows::textFrom(CodePage page, std::string_view bytes) const {
  const UINT number = pageNumber(page);
  const int length = static_cast<int>(bytes.size());
  const int needed = MultiByteToWideChar(number, 0, bytes.data(), length, nullptr, 0);
  std::wstring text(static_cast<std::size_t>(needed), L'\0');
  MultiByteToWideChar(number, 0, bytes.data(), length, text.data(), needed);
  return text;
}

}  // namespace qev
