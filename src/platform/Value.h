// Values of any type: what settings, entry controls and conversions pass around, the portable twin of a VARIANT.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

namespace qev {

struct Empty {
  bool operator==(const Empty&) const = default;
};

struct Null {
  bool operator==(const Null&) const = default;
};

// An OLE Automation date: days since 30 December 1899 00:00 local time; the fraction is the time of day and, for days
// before that date, counts forward within the day all the same (-1.25 is 29 December 1899 06:00).
// Value 0, the zero date, stands for "no date" wherever the schedule says so.
struct Date {
  double days = 0;
  bool operator==(const Date&) const = default;
};

// A fixed-point amount of four decimal places, counted in ten-thousandths, as in the automation type CY.
struct Currency {
  std::int64_t tenThousandths = 0;
  bool operator==(const Currency&) const = default;
};

using Value = std::variant<Empty, Null, bool, std::uint8_t, std::int16_t, std::int32_t, float, double, Currency, Date,
                           std::wstring>;

// True for an empty or a null value.
[[nodiscard]] bool isMissing(const Value& value);

// The leading number of `text`, 0 when it does not begin with one. Blanks, tabs and line ends are skipped; an optional
// sign, digits, "." as the only decimal separator, and an exponent introduced by "E" are read; the rest is ignored.
// A number beyond the range of double is infinite. Independent of the locale.
[[nodiscard]] double numericValue(std::wstring_view text);

// The same for a value of any type: numbers as they are, true as -1, texts by the rule above, empty and null as 0.
[[nodiscard]] double numericValue(const Value& value);

// `text` without leading and trailing blanks (U+0020 only).
[[nodiscard]] std::wstring trimmed(std::wstring_view text);

// `fallback` when `value` is empty or null, else `value`.
[[nodiscard]] Value NzValue(const Value& value, const Value& fallback);

// `fallback` when `value` is empty, null, numerically equal to 0 (as a number or as the text of one), or text that
// trims to nothing; else `value`.
[[nodiscard]] Value NonBlankValue(const Value& value, const Value& fallback);

}  // namespace qev
