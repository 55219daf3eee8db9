#include "values/MGeneral.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "platform/AutomationError.h"

namespace qev {
namespace {

constexpr std::int16_t kEnter = 13;
constexpr std::int16_t kEscape = 27;
constexpr std::int32_t kMinutesOfDay = 1440;

constexpr std::wstring_view kWrongDate = L"La fecha introducida no es correcta";
constexpr std::wstring_view kWrongYear = L"La Fecha introducida no es correcta";
constexpr std::wstring_view kWrongTime = L"La Hora introducida no es correcta";
constexpr std::wstring_view kWrongDateTime = L"La Fecha/Hora introducida no es correcta";

// How a type filters its characters: those in `replaced` become `replacement`, then only those in `accepted` pass.
struct KeyRule {
  std::wstring_view accepted;
  std::wstring_view replaced = {};
  wchar_t replacement = 0;
  const wchar_t* shortcutPattern = nullptr;  // what "H" puts in place of the text
};

constexpr KeyRule kIntegerKeys{.accepted = L"0123456789-+"};
constexpr KeyRule kDecimalKeys{.accepted = L"0123456789-+,", .replaced = L".", .replacement = L','};
constexpr KeyRule kDateKeys{
    .accepted = L"0123456789-", .replaced = L".,-/\\ ", .replacement = L'-', .shortcutPattern = L"dd-mm-yyyy"};
constexpr KeyRule kTimeKeys{
    .accepted = L"0123456789:-+", .replaced = L"., ", .replacement = L':', .shortcutPattern = L"hh:nn"};
constexpr KeyRule kDateTimeKeys{.accepted = L"0123456789.,-:/\\ ", .shortcutPattern = L"ddddd hh:nn"};

const KeyRule* keyRuleOf(DataType dataType) {
  switch (dataType) {
    case DataType::Integer: return &kIntegerKeys;
    case DataType::Decimal:
    case DataType::Currency: return &kDecimalKeys;
    case DataType::Date: return &kDateKeys;
    case DataType::Time:
    case DataType::Duration:
    case DataType::DayTime: return &kTimeKeys;
    case DataType::DateTime: return &kDateTimeKeys;
    default: return nullptr;
  }
}

bool contains(std::wstring_view set, wchar_t c) {
  return set.find(c) != std::wstring_view::npos;
}

// The character that `c` becomes, 0 when the rule refuses it.
wchar_t filtered(const KeyRule& rule, wchar_t c) {
  if (contains(rule.replaced, c)) c = rule.replacement;
  return contains(rule.accepted, c) ? c : L'\0';
}

std::wstring withoutSign(const std::wstring& text) {
  const bool isSigned = !text.empty() && (text[0] == L'-' || text[0] == L'+');
  return isSigned ? text.substr(1) : text;
}

Value blankValue(DataType dataType) {
  switch (dataType) {
    case DataType::Integer:
    case DataType::Decimal:
    case DataType::Currency:
    case DataType::Number:
    case DataType::Duration:
    case DataType::Hours:
    case DataType::DayTime: return std::int16_t{0};
    case DataType::Date:
    case DataType::Time:
    case DataType::DateTime: return Null{};
    case DataType::YesNo: return false;
    default: return std::wstring();
  }
}

double leadingNumber(std::wstring_view text) {
  return numericValue(text);
}

[[noreturn]] void overflow() {
  throw AutomationError(kOverflow);
}

std::int32_t toInt32(double number) {
  std::int32_t result = 0;
  if (!roundToInt32(number, result)) overflow();
  return result;
}

float toSingle(double number) {
  if (!(std::abs(number) <= std::numeric_limits<float>::max())) overflow();
  return static_cast<float>(number);
}

double finite(double number) {
  if (!std::isfinite(number)) overflow();
  return number;
}

std::wstring twoDigits(std::int32_t number) {
  const std::wstring digits = std::to_wstring(std::abs(number));
  return (number < 0 ? L"-" : L"") + std::wstring(digits.size() < 2 ? 2 - digits.size() : 0, L'0') + digits;
}

// Position of the separator between hours and minutes: of the first of ":., " that occurs at all.
std::size_t minutesSeparator(std::wstring_view text) {
  for (const wchar_t separator : {L':', L'.', L',', L' '}) {
    if (const auto position = text.find(separator); position != std::wstring_view::npos) return position;
  }
  return std::wstring_view::npos;
}

// A day more or less when the day wraps, else the sign of the number, by the first character of the text.
std::int64_t withSign(std::int64_t minutes, wchar_t first, bool wrapDay) {
  if (first == L'-') return wrapDay ? minutes - kMinutesOfDay : -minutes;
  if (first == L'+' && wrapDay) return minutes + kMinutesOfDay;
  return minutes;
}

}  // namespace

bool roundToInt32(double value, std::int32_t& result) {
  if (!std::isfinite(value)) return false;
  const double rounded = value - std::remainder(value, 1.0);  // halves to even, whatever the processor's rounding mode
  if (rounded < std::numeric_limits<std::int32_t>::min() || rounded > std::numeric_limits<std::int32_t>::max())
    return false;
  result = static_cast<std::int32_t>(rounded);
  return true;
}

std::wstring MGeneral::nowAs(const wchar_t* pattern) const {
  try {
    return locale_.format(clock_.now(), pattern);
  } catch (const AutomationError&) {
    return {};
  }
}

std::wstring MGeneral::FilterKey(const std::wstring& text, std::int16_t& keyAscii, DataType dataType) const {
  if (keyAscii == kEnter || keyAscii == kEscape) keyAscii = 0;
  const auto code = static_cast<std::uint16_t>(keyAscii);
  if (code < 32) return text;

  auto character = static_cast<wchar_t>(code);
  if (dataType == DataType::UpperText) {
    const std::wstring capital = locale_.upper(std::wstring(1, character));
    if (capital.size() == 1) character = capital[0];
  } else if (const KeyRule* rule = keyRuleOf(dataType)) {
    if (rule->shortcutPattern && (character == L'H' || character == L'h')) {
      keyAscii = 0;
      return nowAs(rule->shortcutPattern);
    }
    character = filtered(*rule, character);
  }
  keyAscii = static_cast<std::int16_t>(character);
  if (keyAscii == 0) sound_.beep();
  return text;
}

std::wstring MGeneral::textOf(const Value& value) const {
  try {
    return isMissing(value) ? std::wstring() : locale_.toText(value);
  } catch (const AutomationError&) {
    return {};
  }
}

std::wstring MGeneral::ValidateValue(DataType dataType, const Value& value) const {
  const std::wstring text = textOf(value);
  if (trimmed(text).empty()) return {};
  switch (dataType) {
    case DataType::Date: {
      if (!locale_.isDate(text)) return std::wstring(kWrongDate);
      const int year = static_cast<int>(calendarDay(locale_.dateFromText(text)).year());
      return year < 1900 || year > 2100 ? std::wstring(kWrongYear) : std::wstring();
    }
    case DataType::Time: return locale_.isDate(withoutSign(text)) ? std::wstring() : std::wstring(kWrongTime);
    case DataType::DateTime: return locale_.isDate(text) ? std::wstring() : std::wstring(kWrongDateTime);
    case DataType::Duration: {
      const std::wstring rest = withoutSign(text);
      return FormatMinutes(ParseMinutes(rest, false), false) == rest ? std::wstring() : std::wstring(kWrongTime);
    }
    default: return {};
  }
}

Value MGeneral::TextToValue(DataType dataType, const std::wstring& text) const {
  if (trimmed(text).empty()) return blankValue(dataType);
  try {
    return convert(dataType, text);
  } catch (const AutomationError&) {
    return blankValue(dataType);
  }
}

Value MGeneral::convert(DataType dataType, const std::wstring& text) const {
  switch (dataType) {
    case DataType::Integer:
    case DataType::Number:
    case DataType::OptionalNumber: return toInt32(leadingNumber(text));
    case DataType::Decimal: {
      std::wstring number = text;
      std::ranges::replace(number, L',', L'.');
      return toSingle(leadingNumber(number));
    }
    case DataType::Currency: return locale_.toCurrency(text);
    case DataType::Date: return Date{std::trunc(locale_.dateFromText(text).days)};
    case DataType::Time: {
      const double days = locale_.dateFromText(text).days;
      return std::abs(days - std::trunc(days));  // the time of day counts forward on days below zero too
    }
    case DataType::DateTime: return locale_.dateFromText(text);
    case DataType::Password: return text;
    case DataType::UpperText: return trimmed(locale_.upper(text));
    case DataType::Duration: return ParseMinutes(text, false);
    case DataType::DayTime: return ParseMinutes(text, true);
    case DataType::Hours: return finite(leadingNumber(text) * 60);
    case DataType::YesNo: return locale_.toBoolean(text);
    case DataType::Code: return CodeOfItem(text);
    default: return trimmed(text);
  }
}

std::wstring MGeneral::ValueToText(const Value& value, DataType dataType) const {
  if (isMissing(value)) return {};
  try {
    return show(value, dataType);
  } catch (const AutomationError&) {
    return {};
  }
}

// Texts are converted before they are formatted: the formatting call would hand an unconvertible text back as it is.
std::wstring MGeneral::show(const Value& value, DataType dataType) const {
  const bool isText = std::holds_alternative<std::wstring>(value);
  switch (dataType) {
    case DataType::Currency: return locale_.format(isText ? locale_.toCurrency(value) : value, L"#,###.00");
    case DataType::Date: return locale_.format(locale_.toDate(value), L"dd-mm-yyyy");
    case DataType::Time: return locale_.format(locale_.toDate(value), L"hh:nn");
    case DataType::DateTime: return locale_.format(locale_.toDate(value), L"ddddd hh:nn:ss");
    case DataType::Password: return locale_.toText(value);
    case DataType::UpperText: return locale_.upper(trimmed(locale_.toText(value)));
    case DataType::Duration: return FormatMinutes(value, false);
    case DataType::DayTime: return FormatMinutes(value, true);
    case DataType::Hours: return locale_.toText(locale_.toDouble(value) / 60);
    case DataType::YesNo: return locale_.toBoolean(value) ? L"Si" : L"No";
    default: return trimmed(locale_.toText(value));
  }
}

std::int32_t MGeneral::ParseMinutes(std::wstring_view text, bool wrapDay) {
  const std::wstring bare = trimmed(text);
  const auto position = minutesSeparator(bare);
  if (position == std::wstring::npos) return 0;
  const double hours = std::abs(leadingNumber(std::wstring_view(bare).substr(0, position)));
  const double minutes = leadingNumber(std::wstring_view(bare).substr(position + 1, 2));
  std::int32_t total = 0;
  if (!roundToInt32(hours * 60 + minutes, total)) return 0;
  std::int32_t result = 0;
  return roundToInt32(static_cast<double>(withSign(total, bare[0], wrapDay)), result) ? result : 0;
}

bool MGeneral::isNumeric(const Value& value) const {
  if (std::holds_alternative<Null>(value) || std::holds_alternative<Date>(value)) return false;
  if (!std::holds_alternative<std::wstring>(value)) return true;
  try {
    static_cast<void>(locale_.toDouble(value));
    return true;
  } catch (const AutomationError&) {
    return false;
  }
}

std::wstring MGeneral::FormatMinutes(const Value& value, bool wrapDay) const {
  double minutes = 0;
  try {
    minutes = isNumeric(value) ? locale_.toDouble(value) : ParseMinutes(textOf(value), wrapDay);
  } catch (const AutomationError&) {
    return {};
  }
  std::wstring sign;
  if (minutes < 0) {
    sign = L"-";
    minutes = wrapDay ? kMinutesOfDay + minutes : -minutes;
  } else if (wrapDay && minutes >= kMinutesOfDay) {
    sign = L"+";
    minutes -= kMinutesOfDay;
  }
  std::int32_t whole = 0;
  if (!roundToInt32(minutes, whole)) return {};
  return sign + std::to_wstring(whole / 60) + L":" + twoDigits(whole % 60);
}

std::vector<std::wstring> MGeneral::split(const std::wstring& list, const std::wstring& separator) const {
  std::vector<std::wstring> pieces;
  if (list.empty()) return pieces;
  std::size_t start = 0;
  for (std::size_t at = 0; !separator.empty() && at + separator.size() <= list.size();) {
    if (locale_.equalIgnoringCase(list.substr(at, separator.size()), separator)) {
      pieces.push_back(list.substr(start, at - start));
      start = at += separator.size();
    } else {
      ++at;
    }
  }
  pieces.push_back(list.substr(start));
  return pieces;
}

std::wstring MGeneral::ListField(std::int32_t n, const std::wstring& list, const std::wstring& separator) const {
  const auto pieces = split(list, separator);
  return n < 1 || static_cast<std::size_t>(n) > pieces.size() ? std::wstring()
                                                              : pieces[static_cast<std::size_t>(n) - 1];
}

std::vector<std::int16_t> MGeneral::SplitIntegers(const std::wstring& list, const std::wstring& separator) const {
  std::vector<std::int16_t> numbers;
  for (const auto& piece : split(list, separator)) {
    std::int32_t number = 0;
    roundToInt32(leadingNumber(piece), number);
    const bool fits =
        number >= std::numeric_limits<std::int16_t>::min() && number <= std::numeric_limits<std::int16_t>::max();
    numbers.push_back(fits ? static_cast<std::int16_t>(number) : std::int16_t{0});
  }
  return numbers;
}

std::wstring MGeneral::CodeOfItem(const std::wstring& text) {
  auto position = text.find(L" - ");
  if (position == std::wstring::npos) position = text.find(L" -");
  return position == std::wstring::npos ? text : trimmed(std::wstring_view(text).substr(0, position));
}

}  // namespace qev
