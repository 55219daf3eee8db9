#include "support/SpanishLocale.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <optional>
#include <type_traits>
#include <vector>

#include "platform/AutomationError.h"
#include "platform/Clock.h"
#include "values/Utf8.h"

namespace qev::test {
namespace {

constexpr double kFirstDay = -657434;  // 1 January 100
constexpr double kLastDay = 2958465;   // 31 December 9999

// The characters of code page 1252 from 0x80 to 0x9F; 0 where the page has none and the byte stands for itself.
constexpr std::array<wchar_t, 32> kUpperHalf = {0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                                0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,
                                                0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                                0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

bool isDigit(wchar_t c) {
  return c >= L'0' && c <= L'9';
}

bool isBlank(wchar_t c) {
  return c == L' ' || c == L'\t';
}

// One run of digits or one separator of a date text.
struct Token {
  int number = -1;
  wchar_t separator = 0;
};

std::vector<Token> tokensOf(const std::wstring& text) {
  std::vector<Token> tokens;
  for (std::size_t i = 0; i < text.size();) {
    if (isBlank(text[i])) {
      ++i;
    } else if (isDigit(text[i])) {
      int number = 0;
      std::size_t digits = 0;
      for (; i < text.size() && isDigit(text[i]); ++i) {
        if (++digits > 4) throw AutomationError(kTypeMismatch);
        number = number * 10 + (text[i] - L'0');
      }
      tokens.push_back({number, 0});
    } else {
      tokens.push_back({-1, text[i++]});
    }
    if (tokens.size() > 16) throw AutomationError(kTypeMismatch);
  }
  return tokens;
}

// Reads "number separator number [separator number]" from `at` on, all separators alike and out of `separators`;
// nothing when the tokens begin otherwise.
std::vector<int> joinedNumbers(const std::vector<Token>& tokens, std::size_t& at, std::wstring_view separators) {
  const auto isNumber = [&](std::size_t i) { return i < tokens.size() && tokens[i].number >= 0; };
  const auto isSeparator = [&](std::size_t i, std::wstring_view allowed) {
    return i < tokens.size() && tokens[i].number < 0 && allowed.find(tokens[i].separator) != std::wstring_view::npos;
  };
  if (!isNumber(at) || !isSeparator(at + 1, separators)) return {};
  const std::wstring same(1, tokens[at + 1].separator);
  std::vector<int> numbers{tokens[at++].number};
  while (numbers.size() < 3 && isSeparator(at, same)) {
    if (!isNumber(at + 1)) throw AutomationError(kTypeMismatch);
    numbers.push_back(tokens[at + 1].number);
    at += 2;
  }
  return numbers;
}

std::optional<Date> dateOfNumbers(int day, int month, int year) {
  if (day < 1 || day > 31 || month < 1 || month > 12 || year < 0 || year > 9999) return std::nullopt;
  if (year < 100) year += year < 30 ? 2000 : 1900;
  const auto calendar = std::chrono::year{year} / month / day;
  if (!calendar.ok()) return std::nullopt;
  return dateOf(calendar);
}

std::optional<Date> dateInSomeOrder(std::vector<int> n, int currentYear, SpanishLocale::Order order) {
  using Order = SpanishLocale::Order;
  if (n.size() == 2) n.push_back(currentYear);
  const auto in = [&](Order tried) {
    if (tried == Order::DayFirst) return dateOfNumbers(n[0], n[1], n[2]);
    return tried == Order::MonthFirst ? dateOfNumbers(n[1], n[0], n[2]) : dateOfNumbers(n[2], n[1], n[0]);
  };
  for (const Order tried : {order, Order::MonthFirst, Order::DayFirst, Order::YearFirst}) {
    if (const auto date = in(tried)) return date;
  }
  return std::nullopt;
}

double timeOfNumbers(const std::vector<int>& n) {
  const int seconds = n.size() == 3 ? n[2] : 0;
  if (n[0] > 23 || n[1] > 59 || seconds > 59) throw AutomationError(kTypeMismatch);
  return (n[0] * 3600 + n[1] * 60 + seconds) / 86400.0;
}

struct Moment {
  std::chrono::year_month_day day;
  int hour = 0;
  int minute = 0;
  int second = 0;
};

Moment momentOf(Date date) {
  double midnight = std::trunc(date.days);
  long seconds = std::lround(std::abs(date.days - midnight) * 86400);
  if (seconds == 86400) {
    seconds = 0;
    midnight += 1;
  }
  return {calendarDay(Date{midnight}), static_cast<int>(seconds / 3600), static_cast<int>(seconds / 60 % 60),
          static_cast<int>(seconds % 60)};
}

std::wstring padded(int number, std::size_t width) {
  std::wstring digits = std::to_wstring(number);
  return digits.size() < width ? std::wstring(width - digits.size(), L'0') + digits : digits;
}

wchar_t lowered(wchar_t c) {
  return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

std::wstring formatDate(Date date, const std::wstring& pattern, const SpanishLocale& locale) {
  const Moment moment = momentOf(date);
  const int year = static_cast<int>(moment.day.year());
  std::wstring out;
  bool afterHour = false;
  for (std::size_t i = 0; i < pattern.size();) {
    const wchar_t letter = lowered(pattern[i]);
    std::size_t length = 1;
    while (i + length < pattern.size() && lowered(pattern[i + length]) == letter) ++length;
    const std::size_t width = std::min<std::size_t>(length, 2);
    switch (letter) {
      case L'd':
        out += length == 5 ? locale.shortDateText(date)
                           : padded(static_cast<int>(static_cast<unsigned>(moment.day.day())), width);
        break;
      case L'm':
        out += padded(afterHour ? moment.minute : static_cast<int>(static_cast<unsigned>(moment.day.month())), width);
        break;
      case L'y': out += length > 2 ? padded(year, 4) : padded(year % 100, 2); break;
      case L'h': out += padded(moment.hour, width); break;
      case L'n': out += padded(moment.minute, width); break;
      case L's': out += padded(moment.second, width); break;
      case L':': out.append(length, locale.timeSeparator); break;
      default: out.append(length, pattern[i]); break;
    }
    if (std::wstring_view(L"dmyhns").find(letter) != std::wstring_view::npos) afterHour = letter == L'h';
    i += length;
  }
  return out;
}

// Integer and decimal digits of |value| with exactly `decimals` decimals, halves away from zero.
std::pair<std::string, std::string> roundedDigits(double value, std::size_t decimals) {
  const double scale = std::pow(10.0, static_cast<double>(decimals));
  char text[400];
  std::snprintf(text, sizeof text, "%.0f", std::floor(std::abs(value) * scale + 0.5));
  std::string digits = text;
  if (digits.size() <= decimals) digits.insert(0, decimals + 1 - digits.size(), '0');
  return {digits.substr(0, digits.size() - decimals), digits.substr(digits.size() - decimals)};
}

std::wstring formatNumber(double value, const std::wstring& pattern) {
  const auto point = pattern.find(L'.');
  const std::wstring whole = pattern.substr(0, point);
  const std::wstring fraction = point == std::wstring::npos ? L"" : pattern.substr(point + 1);
  const auto leastDigits = static_cast<std::size_t>(std::count(whole.begin(), whole.end(), L'0'));
  const bool grouped = whole.find(L',') != std::wstring::npos;

  auto [digits, decimals] = roundedDigits(value, fraction.size());
  const bool negative = value < 0 && (digits + decimals).find_first_not_of('0') != std::string::npos;
  if (digits == "0") digits.clear();
  if (digits.size() < leastDigits) digits.insert(0, leastDigits - digits.size(), '0');
  for (std::size_t i = fraction.size(); i > 0 && fraction[i - 1] == L'#' && decimals.back() == '0'; --i) {
    decimals.pop_back();
  }

  std::wstring out = negative ? L"-" : L"";
  for (std::size_t i = 0; i < digits.size(); ++i) {
    if (grouped && i > 0 && (digits.size() - i) % 3 == 0) out += L'.';
    out += static_cast<wchar_t>(digits[i]);
  }
  if (point != std::wstring::npos) out += L',';
  out.append(decimals.begin(), decimals.end());
  return out;
}

// "1.234,56" in the C notation; throws 13 for a text that is no number.
std::string plainNumber(const std::wstring& text) {
  const std::wstring bare = trimmed(text);
  std::string plain;
  std::size_t i = 0;
  bool digits = false;
  if (i < bare.size() && (bare[i] == L'+' || bare[i] == L'-')) plain += static_cast<char>(bare[i++]);
  for (; i < bare.size() && (isDigit(bare[i]) || (bare[i] == L'.' && digits)); ++i) {
    if (bare[i] == L'.') continue;
    plain += static_cast<char>(bare[i]);
    digits = true;
  }
  if (i < bare.size() && bare[i] == L',') {
    plain += '.';
    for (++i; i < bare.size() && isDigit(bare[i]); ++i) {
      plain += static_cast<char>(bare[i]);
      digits = true;
    }
  }
  if (digits && i < bare.size() && (bare[i] == L'e' || bare[i] == L'E')) {
    plain += 'e';
    if (++i < bare.size() && (bare[i] == L'+' || bare[i] == L'-')) plain += static_cast<char>(bare[i++]);
    if (i == bare.size()) throw AutomationError(kTypeMismatch);
    for (; i < bare.size() && isDigit(bare[i]); ++i) plain += static_cast<char>(bare[i]);
  }
  if (!digits || i != bare.size()) throw AutomationError(kTypeMismatch);
  return plain;
}

double numberFromText(const std::wstring& text) {
  const double number = std::strtod(plainNumber(text).c_str(), nullptr);
  if (!std::isfinite(number)) throw AutomationError(kOverflow);
  return number;
}

// Digit by digit: a double does not hold every amount.
Currency currencyFromText(const std::wstring& text) {
  const std::string plain = plainNumber(text);
  const std::size_t exponent = std::min(plain.find('e'), plain.size());
  const std::size_t point = std::min(plain.find('.'), exponent);
  std::string digits = plain.substr(0, point) + (point < exponent ? plain.substr(point + 1, exponent - point - 1) : "");
  digits.erase(0, digits.find_first_of("0123456789"));
  const long power = exponent < plain.size() ? std::strtol(plain.c_str() + exponent + 1, nullptr, 10) : 0;
  const long beyond =
      static_cast<long>(point < exponent ? exponent - point - 1 : 0) - 4 - std::clamp(power, -999L, 999L);
  const auto dropped = static_cast<std::size_t>(std::max(0L, beyond));
  if (beyond < 0) digits.append(static_cast<std::size_t>(-beyond), '0');
  if (digits.size() <= dropped) digits.insert(0, dropped + 1 - digits.size(), '0');
  const std::string rest = digits.substr(digits.size() - dropped);
  digits.resize(digits.size() - dropped);
  std::uint64_t amount = 0;
  for (const char digit : digits) {
    amount = amount * 10 + static_cast<std::uint64_t>(digit - '0');
    if (amount > std::numeric_limits<std::int64_t>::max()) throw AutomationError(kOverflow);
  }
  const std::string half = dropped > 0 ? "5" + std::string(dropped - 1, '0') : "";
  if (rest > half || (dropped > 0 && rest == half && amount % 2 == 1)) ++amount;
  return Currency{plain[0] == '-' ? -static_cast<std::int64_t>(amount) : static_cast<std::int64_t>(amount)};
}

std::wstring textOfDouble(double value, int digits) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*G", digits, value);
  std::wstring out;
  for (const char* c = text; *c != 0; ++c) out += *c == '.' ? L',' : static_cast<wchar_t>(*c);
  return out;
}

std::wstring textOfCurrency(Currency amount) {
  const bool negative = amount.tenThousandths < 0;
  const auto magnitude = negative ? 0 - static_cast<std::uint64_t>(amount.tenThousandths)
                                  : static_cast<std::uint64_t>(amount.tenThousandths);
  std::wstring decimals = padded(static_cast<int>(magnitude % 10000), 4);
  while (!decimals.empty() && decimals.back() == L'0') decimals.pop_back();
  std::wstring out = (negative ? L"-" : L"") + std::to_wstring(magnitude / 10000);
  return decimals.empty() ? out : out + L"," + decimals;
}

std::wstring textOfDate(Date date, const Locale& locale) {
  const Moment moment = momentOf(date);
  const std::wstring time =
      std::to_wstring(moment.hour) + L":" + padded(moment.minute, 2) + L":" + padded(moment.second, 2);
  const bool midnight = moment.hour == 0 && moment.minute == 0 && moment.second == 0;
  if (std::trunc(date.days) == 0) return time;
  return midnight ? locale.shortDateText(date) : locale.shortDateText(date) + L" " + time;
}

bool isCalendarDate(double days) {
  return days >= kFirstDay && days < kLastDay + 1;
}

double halfToEven(double value) {
  const double below = std::floor(value);
  const double rest = value - below;
  if (rest != 0.5) return std::floor(value + 0.5);
  return std::fmod(below, 2) == 0 ? below : below + 1;
}

}  // namespace

Date SpanishLocale::dateFromText(const std::wstring& text) const {
  const auto tokens = tokensOf(text);
  std::optional<Date> day;
  std::optional<double> time;
  for (std::size_t at = 0; at < tokens.size();) {
    if (const auto date = joinedNumbers(tokens, at, L"-/"); !date.empty() && !day) {
      day = dateInSomeOrder(date, currentYear, order);
      if (!day) throw AutomationError(kTypeMismatch);
    } else if (const auto clock = joinedNumbers(tokens, at, L":."); !clock.empty() && !time) {
      time = timeOfNumbers(clock);
    } else {
      throw AutomationError(kTypeMismatch);
    }
  }
  if (!day && !time) throw AutomationError(kTypeMismatch);
  const double midnight = day.value_or(Date{}).days;
  return Date{midnight < 0 ? midnight - time.value_or(0) : midnight + time.value_or(0)};
}

std::wstring SpanishLocale::shortDateText(Date date) const {
  const wchar_t* patterns[] = {L"dd/mm/yyyy", L"m/d/yyyy", L"yyyy/mm/dd"};
  return formatDate(date, patterns[static_cast<int>(order)], *this);
}

std::wstring SpanishLocale::format(const Value& value, const std::wstring& pattern) const {
  if (isMissing(value)) return {};
  const bool wantsDate = std::any_of(pattern.begin(), pattern.end(), [](wchar_t c) {
    return std::wstring_view(L"dmyhns").find(lowered(c)) != std::wstring_view::npos;
  });
  return wantsDate ? formatDate(toDate(value), pattern, *this) : formatNumber(toDouble(value), pattern);
}

std::int16_t SpanishLocale::toInt16(const Value& value) const {
  const double rounded = halfToEven(toDouble(value));
  if (!(rounded >= -32768 && rounded <= 32767)) throw AutomationError(kOverflow);
  return static_cast<std::int16_t>(rounded);
}

double SpanishLocale::toDouble(const Value& value) const {
  if (std::holds_alternative<Null>(value)) throw AutomationError(kTypeMismatch);
  if (const auto* text = std::get_if<std::wstring>(&value)) return numberFromText(*text);
  return numericValue(value);
}

Currency SpanishLocale::toCurrency(const Value& value) const {
  if (const auto* currency = std::get_if<Currency>(&value)) return *currency;
  if (const auto* text = std::get_if<std::wstring>(&value)) return currencyFromText(*text);
  const double scaled = halfToEven(toDouble(value) * 10000);
  if (!(scaled >= -0x1p63 && scaled < 0x1p63)) throw AutomationError(kOverflow);
  return Currency{static_cast<std::int64_t>(scaled)};
}

bool SpanishLocale::toBoolean(const Value& value) const {
  if (const auto* text = std::get_if<std::wstring>(&value)) {
    const std::wstring word = upper(trimmed(*text));
    if (word == L"TRUE" || word == L"VERDADERO" || word == L"#TRUE#") return true;
    if (word == L"FALSE" || word == L"FALSO" || word == L"#FALSE#") return false;
  }
  return toDouble(value) != 0;
}

Date SpanishLocale::toDate(const Value& value) const {
  if (const auto* text = std::get_if<std::wstring>(&value)) return dateFromText(*text);
  const double days = toDouble(value);
  if (!isCalendarDate(days)) throw AutomationError(kOverflow);
  return Date{days};
}

std::wstring SpanishLocale::toText(const Value& value) const {
  return std::visit(
      [this](const auto& held) -> std::wstring {
        using T = std::decay_t<decltype(held)>;
        if constexpr (std::is_same_v<T, Empty>)
          return {};
        else if constexpr (std::is_same_v<T, Null>)
          throw AutomationError(kTypeMismatch);
        else if constexpr (std::is_same_v<T, bool>)
          return held ? L"True" : L"False";
        else if constexpr (std::is_same_v<T, float>)
          return textOfDouble(held, 7);
        else if constexpr (std::is_same_v<T, double>)
          return textOfDouble(held, 15);
        else if constexpr (std::is_same_v<T, Currency>)
          return textOfCurrency(held);
        else if constexpr (std::is_same_v<T, Date>)
          return textOfDate(held, *this);
        else if constexpr (std::is_same_v<T, std::wstring>)
          return held;
        else
          return std::to_wstring(static_cast<int>(held));
      },
      value);
}

std::wstring SpanishLocale::upper(const std::wstring& text) const {
  std::wstring out = text;
  for (wchar_t& c : out) {
    const bool smallLatin1 = c >= 0xE0 && c <= 0xFE && c != 0xF7;
    if ((c >= L'a' && c <= L'z') || smallLatin1)
      c = static_cast<wchar_t>(c - 32);
    else if (c == 0xFF)
      c = 0x178;
  }
  return out;
}

bool SpanishLocale::equalIgnoringCase(const std::wstring& a, const std::wstring& b) const {
  return upper(a) == upper(b);
}

std::string utf8Of(std::wstring_view text) {
  return utf8(text);
}

std::wstring textOfUtf8(std::string_view bytes) {
  return textFromUtf8(bytes);
}

namespace {

std::string bytesIn1252(std::wstring_view text) {
  std::string bytes;
  for (const wchar_t c : text) {
    const auto special = std::find(kUpperHalf.begin(), kUpperHalf.end(), c);
    if (c != 0 && special != kUpperHalf.end()) {
      bytes += static_cast<char>(0x80 + (special - kUpperHalf.begin()));
    } else {
      const auto code = static_cast<std::uint32_t>(c);
      const bool hasByte = code < 0x80 || (code < 0x100 && (code >= 0xA0 || kUpperHalf[code - 0x80] == 0));
      bytes += hasByte ? static_cast<char>(static_cast<unsigned char>(code)) : '?';
    }
  }
  return bytes;
}

std::wstring textOf1252(std::string_view bytes) {
  std::wstring text;
  for (const char c : bytes) {
    const auto code = static_cast<unsigned char>(c);
    const bool special = code >= 0x80 && code < 0xA0 && kUpperHalf[code - 0x80u] != 0;
    text += special ? kUpperHalf[code - 0x80u] : static_cast<wchar_t>(code);
  }
  return text;
}

}  // namespace

std::string SpanishLocale::ansiFromText(std::wstring_view text) const {
  return isUtf8Process ? utf8Of(text) : bytesIn1252(text);
}

std::wstring SpanishLocale::textFromAnsi(std::string_view bytes) const {
  return textFrom(CodePage::Process, bytes);
}

std::string SpanishLocale::headerBytes(std::wstring_view text) const {
  return bytesIn1252(text);
}

std::wstring SpanishLocale::textFrom(CodePage page, std::string_view bytes) const {
  const bool isUtf8 = page == CodePage::Utf8 || (page == CodePage::Process && isUtf8Process);
  return isUtf8 ? textOfUtf8(bytes) : textOf1252(bytes);
}

}  // namespace qev::test
