// The data types of the entry controls: which keys each accepts, how a typed text becomes a value and a value a text,
// which entries are refused, and the small value helpers that the controls share. NzValue and NonBlankValue stand with
// the values themselves, in platform/Value.h.
//
// Nothing here throws for what a user may type or a value may hold: a conversion that fails gives the blank value of
// its type.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Clock.h"
#include "platform/Locale.h"
#include "platform/Platform.h"
#include "platform/Value.h"

namespace qev {

// What an entry control holds, by its persisted number. Any other number behaves as Text.
enum class DataType : std::int32_t {
  Text = 0,             // free text; value: trimmed text
  Integer = 1,          // whole number; value: 32-bit integer
  Decimal = 2,          // number with decimal comma; value: single-precision number
  Currency = 3,         // amount with decimal comma; value: fixed-point currency
  Date = 4,             // day-month-year; value: date without a time
  Time = 5,             // hour:minute of a day; value: fraction of a day (double)
  DateTime = 6,         // date and time; value: date
  Password = 7,         // free text shown as "*"; value: text exactly as typed
  UpperText = 8,        // free text forced to capitals; value: trimmed text in capitals
  Number = 9,           // whole number, keys not filtered; value: 32-bit integer
  Duration = 10,        // [sign]hours:minutes; value: whole minutes (32-bit integer)
  Hours = 11,           // a number of hours; value: minutes (double)
  YesNo = 12,           // a truth value; value: Boolean
  OptionalNumber = 13,  // whole number, keys not filtered; value: 32-bit integer, or "" when blank
  DayTime = 14,         // [sign]hours:minutes around a day; value: whole minutes, see ParseMinutes
  Code = 15,            // code - description; value: the code
};

// `value` rounded to the nearest 32-bit integer, halves to the even one. False, and `result` untouched, when it is not
// finite or beyond the range.
bool roundToInt32(double value, std::int32_t& result);

class MGeneral {
 public:
  // The services are kept by reference and must outlive the object.
  MGeneral(const Locale& locale, const Clock& clock, Sound& sound, Keyboard& keyboard)
      : locale_(locale), clock_(clock), sound_(sound), keyboard_(keyboard) {}

  // The key filter, called for every character typed: `keyAscii` is the character's UTF-16 code, 0 on return when it is
  // swallowed or refused. Enter (13) and Escape (27) are swallowed in silence, a refused character beeps. Returns the
  // text the box must hold afterwards: `text`, or the present date or time when the key was the shortcut "H" of the
  // type.
  std::wstring FilterKey(const std::wstring& text, std::int16_t& keyAscii, DataType dataType) const;

  // The message that refuses an entry, "" when it is acceptable. Blank entries always are. Only Date, Time, DateTime
  // and Duration are checked; dates must lie in the years 1900 to 2100, durations be written as FormatMinutes writes
  // them.
  std::wstring ValidateValue(DataType dataType, const Value& value) const;

  // The typed value of an edited text. Blank or unconvertible text gives the blank value of the type: a 16-bit 0 for
  // the numbers, null for the dates and times, false for YesNo, "" for all else.
  Value TextToValue(DataType dataType, const std::wstring& text) const;

  // How a value is shown. "" for an empty or null value and for one that cannot be converted.
  std::wstring ValueToText(const Value& value, DataType dataType) const;

  // Minutes that "[sign]hours<separator>minutes" names; the separator is the first of ":", ".", ",", " " that occurs
  // anywhere. 0 without a separator or beyond 32 bits. With `wrapDay` a leading "-" takes a day (1440 minutes) off the
  // minutes and a leading "+" puts one on; without it "-" negates and "+" does nothing.
  static std::int32_t ParseMinutes(std::wstring_view text, bool wrapDay);

  // Minutes as "[sign]hours:minutes", hours unpadded, minutes of two digits. A value that is not a number is parsed
  // with ParseMinutes first. With `wrapDay` negative minutes are written as a time of the day before ("-23:30" for
  // -30), those from 1440 on as a time of the day after ("+1:00" for 1500). "" for a number of minutes beyond 32 bits.
  std::wstring FormatMinutes(const Value& value, bool wrapDay) const;

  // Piece `n`, counted from 1, of `list` split at `separator`; "" when there is none. Letter case of the separator does
  // not matter; an empty separator leaves the list whole.
  std::wstring ListField(std::int32_t n, const std::wstring& list, const std::wstring& separator) const;

  // The numeric value of each piece of `list`, rounded; 0 for a piece beyond 16 bits. An empty list has no pieces.
  std::vector<std::int16_t> SplitIntegers(const std::wstring& list, const std::wstring& separator) const;

  // The trimmed text left of the first " - ", or of the first " -" where there is none; the whole text without either.
  static std::wstring CodeOfItem(const std::wstring& text);

  // Types a key as the user would, with Shift down around it when `withShift`. `virtualKey`: 9 is Tab.
  void SendKey(std::uint8_t virtualKey, bool withShift) const { keyboard_.sendKey(virtualKey, withShift); }

 private:
  std::wstring nowAs(const wchar_t* pattern) const;
  std::wstring textOf(const Value& value) const;
  Value convert(DataType dataType, const std::wstring& text) const;
  std::wstring show(const Value& value, DataType dataType) const;
  bool isNumeric(const Value& value) const;
  std::vector<std::wstring> split(const std::wstring& list, const std::wstring& separator) const;

  const Locale& locale_;
  const Clock& clock_;
  Sound& sound_;
  Keyboard& keyboard_;
};

// `min` if `value` is below it, else `max` if `value` is above that, else `value`.
template <std::totally_ordered T>
T ClampValue(T value, T min, T max) {
  if (value < min) return min;
  return value > max ? max : value;
}

namespace detail {

inline double asNumber(const Value& element) {
  return numericValue(element);
}

template <typename T>
requires std::is_arithmetic_v<T>
double asNumber(T element) {
  return static_cast<double>(element);
}

template <typename T>
bool hasElements(const T&) {
  return true;
}

template <typename T>
bool hasElements(const std::vector<T>& array) {
  for (const auto& element : array) {
    if (hasElements(element)) return true;
  }
  return false;
}

template <typename T>
std::int32_t upperBound(const T&, std::int32_t) {
  return -1;
}

template <typename T>
std::int32_t upperBound(const std::vector<T>& array, std::int32_t dimension) {
  if (dimension == 1) return static_cast<std::int32_t>(array.size()) - 1;
  return dimension < 1 || array.empty() ? -1 : upperBound(array.front(), dimension - 1);
}

template <typename T>
double sum(const T& element) {
  return asNumber(element);
}

template <typename T>
double sum(const std::vector<T>& array) {
  double total = 0;
  for (const auto& element : array) total += sum(element);
  return total;
}

}  // namespace detail

// Upper bound, counted from 0, of a (nested) array in `dimension`, counted from 1 for the outermost; -1 when the array
// has no elements at all or not that many dimensions.
template <typename T>
std::int32_t SafeUBound(const std::vector<T>& array, std::int32_t dimension) {
  return detail::hasElements(array) ? detail::upperBound(array, dimension) : -1;
}

// Sum of all elements of a (nested) array of numbers or values, rounded to a 32-bit integer; 0 when it is beyond that.
template <typename T>
std::int32_t SumArray(const std::vector<T>& array) {
  std::int32_t total = 0;
  roundToInt32(detail::sum(array), total);
  return total;
}

}  // namespace qev
