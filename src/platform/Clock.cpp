#include "platform/Clock.h"

#include <cmath>

#include "platform/AutomationError.h"

namespace qev {
namespace {

constexpr std::chrono::sys_days kZeroDay = std::chrono::year{1899} / std::chrono::December / 30;
constexpr double kFirstDay = -657434;  // 1 January 100
constexpr double kLastDay = 2958465;   // 31 December 9999

double timeOfDay(Date date) {
  return std::abs(date.days - std::trunc(date.days));
}

Date joined(double midnight, double time) {
  if (!(midnight >= kFirstDay && midnight <= kLastDay)) throw AutomationError(kOverflow);
  return Date{midnight < 0 ? midnight - time : midnight + time};
}

std::wstring inPlaces(unsigned number, std::size_t places) {
  std::wstring digits(places, L'0');
  for (; places > 0; number /= 10) digits[--places] = static_cast<wchar_t>(L'0' + number % 10);
  return digits;
}

// The number that takes up all of `text`, which has `places` digits.
std::optional<unsigned> numberIn(std::wstring_view text, std::size_t places) {
  unsigned number = 0;
  for (const wchar_t c : text) {
    if (c < L'0' || c > L'9') return std::nullopt;
    number = number * 10 + static_cast<unsigned>(c - L'0');
  }
  return text.size() == places ? std::optional(number) : std::nullopt;
}

struct WholeSeconds {
  std::chrono::year_month_day day;
  unsigned ofDay = 0;
};

WholeSeconds wholeSeconds(Date date) {
  constexpr long day = 86400;
  const long seconds = std::lround(timeOfDay(date) * day);
  return {calendarDay(Date{std::trunc(date.days) + (seconds == day ? 1 : 0)}), static_cast<unsigned>(seconds % day)};
}

std::wstring dayAndMonth(const WholeSeconds& moment) {
  return inPlaces(static_cast<unsigned>(moment.day.day()), 2) + L"-" +
         inPlaces(static_cast<unsigned>(moment.day.month()), 2) + L"-";
}

unsigned yearOf(const WholeSeconds& moment) {
  return static_cast<unsigned>(static_cast<int>(moment.day.year()));
}

}  // namespace

std::chrono::year_month_day calendarDay(Date date) {
  const Date midnight = joined(std::trunc(date.days), 0);
  return kZeroDay + std::chrono::days{static_cast<int>(midnight.days)};
}

Date dateOf(std::chrono::year_month_day day) {
  return Date{static_cast<double>((std::chrono::sys_days{day} - kZeroDay).count())};
}

Date addDays(Date date, double days) {
  const double sum = std::trunc(date.days) + timeOfDay(date) + days;
  const double midnight = std::floor(sum);
  return joined(midnight, sum - midnight);
}

Date addYears(Date date, int years) {
  auto day = calendarDay(date);
  const std::int64_t year = std::int64_t{static_cast<int>(day.year())} + years;
  if (year < 100 || year > 9999) throw AutomationError(kOverflow);
  day = std::chrono::year{static_cast<int>(year)} / day.month() / day.day();
  if (!day.ok()) day = day.year() / day.month() / std::chrono::last;
  return joined(dateOf(day).days, timeOfDay(date));
}

Date onDay(Date day, Date time) {
  return joined(std::trunc(day.days), timeOfDay(time));
}

std::wstring dayText(Date date) {
  const WholeSeconds moment = wholeSeconds(date);
  return dayAndMonth(moment) + inPlaces(yearOf(moment), 4);
}

std::wstring fileDayText(Date date) {
  const WholeSeconds moment = wholeSeconds(date);
  return dayAndMonth(moment) + inPlaces(yearOf(moment), 2);
}

std::wstring timeText(Date date) {
  const unsigned seconds = wholeSeconds(date).ofDay;
  return inPlaces(seconds / 3600, 2) + L":" + inPlaces(seconds / 60 % 60, 2);
}

std::wstring momentText(Date date) {
  return dayText(date) + L" " + timeText(date);
}

std::wstring secondMomentText(Date date) {
  return momentText(date) + L":" + inPlaces(wholeSeconds(date).ofDay % 60, 2);
}

std::optional<Date> momentFromText(std::wstring_view text) {
  if (text.size() < 10 || text[2] != L'-' || text[5] != L'-') return std::nullopt;
  const auto day = numberIn(text.substr(0, 2), 2);
  const auto month = numberIn(text.substr(3, 2), 2);
  const auto year = numberIn(text.substr(6, 4), 4);
  if (!day || !month || !year || *year < 100) return std::nullopt;
  const auto date = std::chrono::year{static_cast<int>(*year)} / static_cast<int>(*month) / static_cast<int>(*day);
  if (!date.ok()) return std::nullopt;
  if (text.size() == 10) return dateOf(date);
  const auto time = text[10] == L' ' ? timeFromText(text.substr(11)) : std::nullopt;
  return time ? std::optional(onDay(dateOf(date), *time)) : std::nullopt;
}

std::optional<Date> timeFromText(std::wstring_view text) {
  const std::size_t first = text.find_first_of(L":.");
  if (first != 1 && first != 2) return std::nullopt;
  const bool hasSeconds = text.size() == first + 6 && text[first + 3] == text[first];
  const auto hours = numberIn(text.substr(0, first), first);
  const auto minutes = numberIn(text.substr(first + 1, hasSeconds ? 2 : text.npos), 2);
  const auto seconds = hasSeconds ? numberIn(text.substr(first + 4), 2) : std::optional(0u);
  if (!hours || !minutes || !seconds || *hours > 23 || *minutes > 59 || *seconds > 59) return std::nullopt;
  return Date{(*hours * 3600 + *minutes * 60 + *seconds) / 86400.0};
}

}  // namespace qev
