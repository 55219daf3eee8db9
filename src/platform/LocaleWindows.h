// The user's regional conversions by OLE Automation.
#pragma once

#include "platform/Locale.h"

namespace qev {

class LocaleWindows : public Locale {
 public:
  Date dateFromText(const std::wstring& text) const override;
  std::wstring shortDateText(Date date) const override;
  std::wstring format(const Value& value, const std::wstring& pattern) const override;
  std::int16_t toInt16(const Value& value) const override;
  double toDouble(const Value& value) const override;
  Currency toCurrency(const Value& value) const override;
  bool toBoolean(const Value& value) const override;
  Date toDate(const Value& value) const override;
  std::wstring toText(const Value& value) const override;
  std::wstring upper(const std::wstring& text) const override;
  bool equalIgnoringCase(const std::wstring& a, const std::wstring& b) const override;
  std::string ansiFromText(std::wstring_view text) const override;
  std::wstring textFromAnsi(std::string_view bytes) const override;
};

}  // namespace qev
