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

}  // namespace qev
