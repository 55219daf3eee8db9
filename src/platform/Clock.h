// The present moment, and the calendar of automation dates.
#pragma once

#include <chrono>
#include <cstdint>

#include "platform/Value.h"

namespace qev {

class Clock {
 public:
  virtual ~Clock() = default;

  // Local date and time, to the second. GetLocalTime.
  [[nodiscard]] virtual Date now() const = 0;

  // Milliseconds since the system was started, for measuring how long something takes. GetTickCount64.
  [[nodiscard]] virtual std::uint64_t ticks() const = 0;
};

// The calendar day of a date, its time of day dropped. Throws 6 (overflow) beyond the years 100 to 9999, as do the
// functions below for a result beyond them.
[[nodiscard]] std::chrono::year_month_day calendarDay(Date date);

// Midnight of a calendar day; the day must exist in the calendar.
[[nodiscard]] Date dateOf(std::chrono::year_month_day day);

// `date` a number of days later, which may be negative and have a fraction.
[[nodiscard]] Date addDays(Date date, double days);

// `date` a number of calendar years later, same time of day; 29 February becomes 28 February in a common year.
[[nodiscard]] Date addYears(Date date, int years);

}  // namespace qev
