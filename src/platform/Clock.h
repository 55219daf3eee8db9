// The present moment, and the calendar of automation dates.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

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

// The day of one date with the time of day of another.
Date onDay(Date day, Date time);

// Moments as settings, file names and the log keep them: every part in its place, the day first, whatever the regional
// settings. Rounded to whole seconds; what the text has no place for is dropped.
std::wstring dayText(Date date);           // "16-11-2026"
std::wstring fileDayText(Date date);       // "16-11-26"
std::wstring timeText(Date date);          // "22:30"
std::wstring momentText(Date date);        // "16-11-2026 22:30"
std::wstring secondMomentText(Date date);  // "16-11-2026 22:30:05"

// The same read back: "dd-mm-yyyy", alone or with a blank and a time. Nothing for a text of another form, and for a day
// or a time that there is none of.
std::optional<Date> momentFromText(std::wstring_view text);

// A time of the zero date: "h:nn" or "hh:nn", with seconds or without. "." serves as well as ":".
std::optional<Date> timeFromText(std::wstring_view text);

}  // namespace qev
