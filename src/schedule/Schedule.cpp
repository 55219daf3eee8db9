#include "schedule/Schedule.h"

#include "platform/AutomationError.h"
#include "platform/Clock.h"

namespace qev {
namespace {

constexpr unsigned kSunday = 7;
constexpr unsigned kDecember = 12;

// The first selected place of first … last, places counted from 1.
std::optional<unsigned> firstSelected(const std::wstring& flags, unsigned first, unsigned last) {
  for (unsigned place = first; place <= last && place <= flags.size(); ++place) {
    if (flags[place - 1] == L'S') return place;
  }
  return std::nullopt;
}

// Both texts are "hh:nn", so their order as texts is the order of the times.
bool startIsAhead(const Schedule& schedule, Date now) {
  return schedule.startTime > timeText(now);
}

Date startOf(const Schedule& schedule) {
  if (trimmed(schedule.startTime).empty()) return {};
  const auto time = timeFromText(schedule.startTime);
  if (!time) throw AutomationError(kTypeMismatch);
  return *time;
}

Date daily(const Schedule& schedule, Date now) {
  return startIsAhead(schedule, now) ? now : addDays(now, schedule.everyDays);
}

std::optional<Date> weekly(const Schedule& schedule, Date now) {
  const unsigned today = std::chrono::weekday(calendarDay(now)).iso_encoding();
  if (const auto day = firstSelected(schedule.weekdays, startIsAhead(schedule, now) ? today : today + 1, kSunday)) {
    return addDays(now, *day - today);
  }
  if (const auto day = firstSelected(schedule.weekdays, 1, kSunday)) return addDays(now, kSunday - today + *day);
  return std::nullopt;
}

Date dayInMonth(int day, unsigned month, int year) {
  const auto date = std::chrono::year{year} / static_cast<int>(month) / day;
  if (day < 1 || day > 31 || !date.ok() || year > 9999) throw AutomationError(kTypeMismatch);
  return dateOf(date);
}

std::optional<Date> monthly(const Schedule& schedule, Date now) {
  const auto today = calendarDay(now);
  const auto thisMonth = static_cast<unsigned>(today.month());
  const bool dayIsAhead = schedule.dayOfMonth > static_cast<int>(static_cast<unsigned>(today.day()));
  int year = static_cast<int>(calendarDay(schedule.lastBackup).year());
  auto month = firstSelected(schedule.months, dayIsAhead ? thisMonth : thisMonth + 1, kDecember);
  if (!month) {
    month = firstSelected(schedule.months, 1, kDecember);
    ++year;
  }
  if (!month) return std::nullopt;
  // Year by year on purpose: a 29 February that has once become the 28th stays so.
  Date candidate = dayInMonth(schedule.dayOfMonth, *month, year);
  while (candidate.days <= now.days) candidate = addYears(candidate, 1);
  return candidate;
}

std::optional<Date> nextDay(const Schedule& schedule, Date now) {
  switch (schedule.kind) {
    case Schedule::Kind::Daily: return daily(schedule, now);
    case Schedule::Kind::Weekly: return weekly(schedule, now);
    case Schedule::Kind::Monthly: return monthly(schedule, now);
    default: return std::nullopt;
  }
}

}  // namespace

std::optional<Date> next(const Schedule& schedule, Date now) {
  const std::optional<Date> day = nextDay(schedule, now);
  if (!day || *day == Date{}) return std::nullopt;
  return onDay(*day, startOf(schedule));
}

}  // namespace qev
