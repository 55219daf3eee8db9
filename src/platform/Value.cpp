#include "platform/Value.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <system_error>
#include <type_traits>

namespace qev {
namespace {

bool isDigit(wchar_t c) {
  return c >= L'0' && c <= L'9';
}

std::size_t digitsEnd(const std::string& text, std::size_t from) {
  while (from < text.size() && text[from] >= '0' && text[from] <= '9') ++from;
  return from;
}

// The characters of a number that begins `text`, in the C locale's notation. A longer text than any finite double needs
// is not copied whole: `text` may come from a broken file.
std::string leadingNumber(std::wstring_view text) {
  constexpr std::size_t longest = 4096;
  std::string plain;
  for (const wchar_t c : text) {
    if (c == L' ' || c == L'\t' || c == L'\r' || c == L'\n') continue;
    const bool ofNumber = isDigit(c) || c == L'+' || c == L'-' || c == L'.' || c == L'e' || c == L'E';
    if (!ofNumber || plain.size() == longest) break;
    plain += static_cast<char>(c);
  }
  std::size_t end = !plain.empty() && (plain[0] == '+' || plain[0] == '-') ? 1 : 0;
  const std::size_t first = end;
  end = digitsEnd(plain, end);
  if (end < plain.size() && plain[end] == '.') end = digitsEnd(plain, end + 1);
  const bool hasDigits = std::any_of(plain.begin() + static_cast<std::ptrdiff_t>(first),
                                     plain.begin() + static_cast<std::ptrdiff_t>(end), [](char c) { return c != '.'; });
  if (!hasDigits) return {};
  if (end < plain.size() && (plain[end] == 'e' || plain[end] == 'E')) {
    std::size_t exponent = end + 1;
    if (exponent < plain.size() && (plain[exponent] == '+' || plain[exponent] == '-')) ++exponent;
    if (const std::size_t after = digitsEnd(plain, exponent); after > exponent) end = after;
  }
  return plain.substr(0, end);
}

// The exponent behind the "e" of a number's characters; 0 without one, the nearest long where it is beyond that.
long explicitExponent(const std::string& number) {
  const auto letter = number.find_first_of("eE");
  if (letter == std::string::npos) return 0;
  const bool negative = number[letter + 1] == '-';
  const char* first = number.data() + letter + (negative || number[letter + 1] == '+' ? 2 : 1);
  long exponent = 0;
  const auto read = std::from_chars(first, number.data() + number.size(), exponent);
  if (read.ec == std::errc::result_out_of_range) exponent = std::numeric_limits<long>::max() / 2;
  return negative ? -exponent : exponent;
}

// Whether a number beyond the range of double is so by its size, not by its smallness.
bool isHuge(const std::string& number) {
  const std::string mantissa = number.substr(0, number.find_first_of("eE"));
  const auto point = static_cast<long>(std::min(mantissa.find('.'), mantissa.size()));
  const auto leading = static_cast<long>(mantissa.find_first_of("123456789"));
  return point - leading + explicitExponent(number) > 0;
}

// What leadingNumber gave, as a number; 0 for none. Not strtod: its decimal separator is the host's, where the host has
// set one for the process.
double numberOf(const std::string& number) {
  if (number.empty()) return 0;
  double value = 0;
  const char* first = number.data() + (number[0] == '+' ? 1 : 0);
  const auto read = std::from_chars(first, number.data() + number.size(), value);
  if (read.ec != std::errc::result_out_of_range) return value;
  return std::copysign(isHuge(number) ? std::numeric_limits<double>::infinity() : 0.0, number[0] == '-' ? -1.0 : 1.0);
}

// The number that the whole of `text` is, if it is one.
std::optional<double> wholeNumber(std::wstring_view text) {
  const std::wstring bare = trimmed(text);
  const std::string number = leadingNumber(bare);
  if (number.empty() || number.size() != bare.size()) return std::nullopt;
  return numberOf(number);
}

}  // namespace

bool isMissing(const Value& value) {
  return std::holds_alternative<Empty>(value) || std::holds_alternative<Null>(value);
}

double numericValue(std::wstring_view text) {
  return numberOf(leadingNumber(text));
}

double numericValue(const Value& value) {
  return std::visit(
      [](const auto& held) -> double {
        using T = std::decay_t<decltype(held)>;
        if constexpr (std::is_same_v<T, Empty> || std::is_same_v<T, Null>)
          return 0;
        else if constexpr (std::is_same_v<T, bool>)
          return held ? -1 : 0;
        else if constexpr (std::is_same_v<T, Currency>)
          return static_cast<double>(held.tenThousandths) / 10000;
        else if constexpr (std::is_same_v<T, Date>)
          return held.days;
        else if constexpr (std::is_same_v<T, std::wstring>)
          return numericValue(std::wstring_view(held));
        else
          return static_cast<double>(held);
      },
      value);
}

std::wstring trimmed(std::wstring_view text) {
  const auto first = text.find_first_not_of(L' ');
  if (first == std::wstring_view::npos) return {};
  return std::wstring(text.substr(first, text.find_last_not_of(L' ') - first + 1));
}

Value NzValue(const Value& value, const Value& fallback) {
  return isMissing(value) ? fallback : value;
}

Value NonBlankValue(const Value& value, const Value& fallback) {
  if (isMissing(value)) return fallback;
  if (const auto* text = std::get_if<std::wstring>(&value)) {
    const bool blank = trimmed(*text).empty() || wholeNumber(*text) == 0.0;
    return blank ? fallback : value;
  }
  return numericValue(value) == 0 ? fallback : value;
}

}  // namespace qev
