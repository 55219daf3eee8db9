// The regional conversions of a Spanish (Spain) user, for tests that run on any system: dates day first, "1.234,56"
// numbers, code page 1252. It stands in for OLE Automation in tests alone; the tests for Windows use the real
// conversions.
#pragma once

#include "platform/Locale.h"

namespace qev::test {

class SpanishLocale : public Locale {
 public:
  // The year that a date without one ("16/11") belongs to.
  int currentYear = 2026;

  // The regional settings that users change: the order of the short date, and what stands between hours and minutes.
  enum class Order { DayFirst, MonthFirst, YearFirst };
  Order order = Order::DayFirst;
  wchar_t timeSeparator = L':';

  // A date of two or three numbers joined by "-" or "/", a time "h:n[:s]", also with ".", or both with a blank between.
  // The numbers are read in the regional order; where that is no date, in another. Years below 30 belong to 2000, those
  // below 100 to 1900.
  Date dateFromText(const std::wstring& text) const override;

  // "dd/mm/yyyy", "m/d/yyyy" or "yyyy/mm/dd".
  std::wstring shortDateText(Date date) const override;

  // Date patterns of d, m, y, h, n and s in any length (names of days and months excepted), "m" after "h" being the
  // minute; number patterns of "#", "0", "," and ".". Everything else stands for itself.
  std::wstring format(const Value& value, const std::wstring& pattern) const override;

  std::int16_t toInt16(const Value& value) const override;
  double toDouble(const Value& value) const override;
  Currency toCurrency(const Value& value) const override;
  bool toBoolean(const Value& value) const override;
  Date toDate(const Value& value) const override;
  std::wstring toText(const Value& value) const override;

  // The letters of Western European languages.
  std::wstring upper(const std::wstring& text) const override;
  bool equalIgnoringCase(const std::wstring& a, const std::wstring& b) const override;

  // Code page 1252, "?" for what it lacks; UTF-8 in such a process.
  std::string ansiFromText(std::wstring_view text) const override;
  std::wstring textFromAnsi(std::string_view bytes) const override;

  // Code page 1252, unless the process's is UTF-8, as a host's manifest can make it; headers are in 1252 all the same.
  bool isUtf8Process = false;
  std::string headerBytes(std::wstring_view text) const override;
  std::wstring textFrom(CodePage page, std::string_view bytes) const override;
};

// UTF-8 of a text, and the text of UTF-8: U+FFFD for each byte that is none.
std::string utf8Of(std::wstring_view text);
std::wstring textOfUtf8(std::string_view bytes);

}  // namespace qev::test
