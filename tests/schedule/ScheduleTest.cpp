#include "schedule/Schedule.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <compare>
#include <random>

#include "platform/Clock.h"
#include "support/ErrorOf.h"
#include "support/FakePlatform.h"

namespace qev::test {
namespace {

using Kind = Schedule::Kind;

constexpr wchar_t kAllMonths[] = L"SSSSSSSSSSSS";

Schedule daily(const wchar_t* start, double days) {
  return {.kind = Kind::Daily, .startTime = start, .everyDays = days};
}

Schedule weekly(const wchar_t* start, const wchar_t* days) {
  return {.kind = Kind::Weekly, .startTime = start, .weekdays = days};
}

Schedule monthly(int day, const wchar_t* months, const wchar_t* lastBackup) {
  return {.kind = Kind::Monthly,
          .startTime = L"12:00",
          .dayOfMonth = static_cast<std::int16_t>(day),
          .months = months,
          .lastBackup = lastBackup ? momentFromText(lastBackup).value() : Date{}};
}

// The next moment as it would be written, "" for none.
std::wstring dueAfter(const Schedule& schedule, Date now) {
  const auto moment = next(schedule, now);
  return moment ? momentText(*moment) : L"";
}

const Date kNow = moment(2026, 11, 16, 10, 30);  // a Monday

// The number of the error that the rule ends in.
std::int32_t errorOf(const Schedule& schedule, Date now = kNow) {
  return numberOf([&] { static_cast<void>(next(schedule, now)); });
}

TEST(ScheduleTest, WithoutAKindNothingIsDue) {
  EXPECT_EQ(next(Schedule{}, kNow), std::nullopt);
  EXPECT_EQ(next({.startTime = L"no es hora"}, kNow), std::nullopt);
}

// --- daily ---

struct DailyCase {
  const char* name;
  Date now;
  const wchar_t* start;
  double days;
  const wchar_t* next;
};

class DailyRule : public testing::TestWithParam<DailyCase> {};

TEST_P(DailyRule, Gives) {
  EXPECT_EQ(dueAfter(daily(GetParam().start, GetParam().days), GetParam().now), GetParam().next);
}

INSTANTIATE_TEST_SUITE_P(
    Schedule, DailyRule,
    testing::Values(
        DailyCase{"StartAheadAt2359GivesToday", moment(2026, 11, 16, 10), L"23:59", 3, L"16-11-2026 23:59"},
        DailyCase{"At2359ExactlyGivesTodayPlusDDias", moment(2026, 11, 16, 23, 59), L"23:59", 3, L"19-11-2026 23:59"},
        DailyCase{"StartPassedGivesTodayPlusDDias", moment(2026, 11, 16, 10), L"09:30", 1, L"17-11-2026 09:30"},
        DailyCase{"OneMinuteAheadIsAhead", moment(2026, 11, 16, 10, 29, 59), L"10:30", 1, L"16-11-2026 10:30"},
        DailyCase{"SecondsOfThePresentMinuteDoNotCount", moment(2026, 11, 16, 10, 30, 59), L"10:30", 1,
                  L"17-11-2026 10:30"},
        DailyCase{"DDiasZeroIsDueAtOnce", moment(2026, 11, 16, 10), L"09:30", 0, L"16-11-2026 09:30"},
        DailyCase{"NegativeDDiasLiesInThePast", moment(2026, 11, 16, 10), L"09:30", -1, L"15-11-2026 09:30"},
        DailyCase{"AcrossTheEndOfAMonth", moment(2026, 11, 30, 10), L"09:30", 1, L"01-12-2026 09:30"},
        DailyCase{"AcrossTheEndOfAYear", moment(2026, 12, 31, 10), L"09:30", 1, L"01-01-2027 09:30"},
        DailyCase{"IntoLeapDay", moment(2028, 2, 28, 10), L"09:30", 1, L"29-02-2028 09:30"},
        DailyCase{"PastFebruaryOfACommonYear", moment(2026, 2, 28, 10), L"09:30", 1, L"01-03-2026 09:30"},
        DailyCase{"PastFebruaryOfACenturyYear", moment(2100, 2, 28, 10), L"09:30", 1, L"01-03-2100 09:30"},
        DailyCase{"AYearOfDaysOn", moment(2027, 3, 1, 10), L"09:30", 366, L"01-03-2028 09:30"},
        DailyCase{"EmptyStartIsNeverAheadAndMeansMidnight", moment(2026, 11, 16, 0, 0), L"", 1, L"17-11-2026 00:00"},
        DailyCase{"MidnightStartIsNeverAhead", moment(2026, 11, 16, 0, 0), L"00:00", 1, L"17-11-2026 00:00"},
        DailyCase{"StartIsComparedAsText", moment(2026, 11, 16, 10), L"9:30", 1, L"16-11-2026 09:30"}),
    [](const auto& tested) { return tested.param.name; });

// --- weekly ---

struct WeeklyCase {
  const char* name;
  Date now;
  const wchar_t* start;
  const wchar_t* days;
  const wchar_t* next;
};

class WeeklyRule : public testing::TestWithParam<WeeklyCase> {};

TEST_P(WeeklyRule, Gives) {
  EXPECT_EQ(dueAfter(weekly(GetParam().start, GetParam().days), GetParam().now), GetParam().next);
}

// 16 November 2026 is a Monday.
INSTANTIATE_TEST_SUITE_P(
    Schedule, WeeklyRule,
    testing::Values(
        WeeklyCase{"OnlyMondayOnAMondayBeforeTheStartGivesToday", moment(2026, 11, 16, 10), L"12:00", L"SNNNNNN",
                   L"16-11-2026 12:00"},
        WeeklyCase{"OnlyMondayOnAMondayAfterTheStartGivesTheNextMonday", moment(2026, 11, 16, 13), L"12:00", L"SNNNNNN",
                   L"23-11-2026 12:00"},
        WeeklyCase{"OnlyMondayOnASundayGivesTheNextDay", moment(2026, 11, 22, 13), L"12:00", L"SNNNNNN",
                   L"23-11-2026 12:00"},
        WeeklyCase{"OnlyMondayOnASundayBeforeTheStartGivesTheNextDay", moment(2026, 11, 22, 10), L"12:00", L"SNNNNNN",
                   L"23-11-2026 12:00"},
        WeeklyCase{"NoWeekdayYieldsEmpty", moment(2026, 11, 16, 10), L"12:00", L"NNNNNNN", L""},
        WeeklyCase{"EmptyFlagsYieldEmpty", moment(2026, 11, 16, 10), L"12:00", L"", L""},
        WeeklyCase{"OnlyCapitalSSelects", moment(2026, 11, 16, 10), L"12:00", L"s1YsNsN", L""},
        WeeklyCase{"SundayIsTheLastOfTheWeek", moment(2026, 11, 16, 10), L"12:00", L"NNNNNNS", L"22-11-2026 12:00"},
        WeeklyCase{"SundayOnASundayAfterTheStart", moment(2026, 11, 22, 13), L"12:00", L"NNNNNNS", L"29-11-2026 12:00"},
        WeeklyCase{"EveryDayAfterTheStartGivesTomorrow", moment(2026, 11, 18, 13), L"12:00", L"SSSSSSS",
                   L"19-11-2026 12:00"},
        WeeklyCase{"TheNearestDayOfThisWeekComesFirst", moment(2026, 11, 17, 13), L"12:00", L"SNNSNSN",
                   L"19-11-2026 12:00"},
        WeeklyCase{"PassedDaysWaitForTheNextWeek", moment(2026, 11, 20, 13), L"12:00", L"NSNSNNN", L"24-11-2026 12:00"},
        WeeklyCase{"FlagsShorterThanAWeekLeaveTheRestUnselected", moment(2026, 11, 18, 10), L"12:00", L"NS",
                   L"24-11-2026 12:00"},
        WeeklyCase{"FlagsBeyondTheWeekAreNotRead", moment(2026, 11, 18, 10), L"12:00", L"NNNNNNNSSS", L""},
        WeeklyCase{"AcrossTheEndOfAYear", moment(2026, 12, 31, 13), L"12:00", L"NNNSNNN", L"07-01-2027 12:00"},
        WeeklyCase{"AcrossLeapDay", moment(2028, 2, 28, 13), L"12:00", L"SNNNNNN", L"06-03-2028 12:00"},
        WeeklyCase{"OntoLeapDay", moment(2028, 2, 28, 13), L"12:00", L"NSNNNNN", L"29-02-2028 12:00"}),
    [](const auto& tested) { return tested.param.name; });

// --- monthly ---

struct MonthlyCase {
  const char* name;
  Date now;
  int day;
  const wchar_t* months;
  const wchar_t* lastBackup;
  const wchar_t* next;
};

class MonthlyRule : public testing::TestWithParam<MonthlyCase> {};

TEST_P(MonthlyRule, Gives) {
  EXPECT_EQ(dueAfter(monthly(GetParam().day, GetParam().months, GetParam().lastBackup), GetParam().now),
            GetParam().next);
}

INSTANTIATE_TEST_SUITE_P(
    Schedule, MonthlyRule,
    testing::Values(MonthlyCase{"TodaysDayIsNeverThisMonthEvenWithTheStartAhead", moment(2026, 11, 16, 10), 16,
                                kAllMonths, L"01-11-2026 10:00", L"16-12-2026 12:00"},
                    MonthlyCase{"TodaysDayOfTheOnlyMonthIsAYearOn", moment(2026, 11, 16, 10), 16, L"NNNNNNNNNNSN",
                                L"01-11-2026 10:00", L"16-11-2027 12:00"},
                    MonthlyCase{"AllMonthsOnThe20thWith15GivesThe15thOfNextMonth", moment(2026, 6, 20, 10), 15,
                                kAllMonths, L"15-06-2026 12:00", L"15-07-2026 12:00"},
                    MonthlyCase{"InDecemberThe15thOfJanuaryAfterTheLastBackupsYear", moment(2026, 12, 20, 10), 15,
                                kAllMonths, L"15-12-2026 12:00", L"15-01-2027 12:00"},
                    MonthlyCase{"InDecemberAnOldLastBackupIsPushedByWholeYears", moment(2026, 12, 20, 10), 15,
                                kAllMonths, L"15-12-2019 12:00", L"15-01-2027 12:00"},
                    MonthlyCase{"EmptyLastBackupClimbsFromTheZeroDatesYear", moment(2026, 6, 20, 10), 25, kAllMonths,
                                nullptr, L"25-06-2026 12:00"},
                    MonthlyCase{"TheZeroDateItselfIsPushedToo", moment(2026, 6, 20, 10), 30, L"NNNNNNNNNNNS", nullptr,
                                L"30-12-2026 12:00"},
                    MonthlyCase{"DayAheadInThisMonth", moment(2026, 6, 20, 10), 21, kAllMonths, L"15-05-2026 12:00",
                                L"21-06-2026 12:00"},
                    MonthlyCase{"TheNextSelectedMonthOfThisYear", moment(2026, 6, 20, 10), 21, L"NNNNNNNNSNNN",
                                L"15-05-2026 12:00", L"21-09-2026 12:00"},
                    MonthlyCase{"OnlyAPassedMonthIsNextYear", moment(2026, 6, 20, 10), 21, L"NNSNNNNNNNNN",
                                L"15-05-2026 12:00", L"21-03-2027 12:00"},
                    MonthlyCase{"ThisVeryMomentIsNotLaterThanNow", moment(2026, 11, 16), 16, L"NNNNNNNNNNSN",
                                L"01-11-2025 10:00", L"16-11-2027 12:00"},
                    MonthlyCase{"NoMonthYieldsEmpty", moment(2026, 6, 20, 10), 21, L"NNNNNNNNNNNN", L"15-05-2026 12:00",
                                L""},
                    MonthlyCase{"AbsentFlagsYieldEmpty", moment(2026, 6, 20, 10), 21, L"", nullptr, L""},
                    MonthlyCase{"FlagsShorterThanAYearLeaveTheRestUnselected", moment(2026, 6, 20, 10), 21, L"NNS",
                                L"15-05-2026 12:00", L"21-03-2027 12:00"},
                    MonthlyCase{"OnlyCapitalSSelects", moment(2026, 6, 20, 10), 21, L"sssssssssssS",
                                L"15-05-2026 12:00", L"21-12-2026 12:00"},
                    MonthlyCase{"ALastBackupInTheFutureIsKept", moment(2026, 6, 20, 10), 21, kAllMonths,
                                L"15-05-2031 12:00", L"21-06-2031 12:00"},
                    MonthlyCase{"ThirtyFirstInALongMonth", moment(2026, 7, 20, 10), 31, kAllMonths, L"15-05-2026 12:00",
                                L"31-07-2026 12:00"},
                    MonthlyCase{"LeapDayInALeapYear", moment(2028, 2, 20, 10), 29, L"NSNNNNNNNNNN", L"15-05-2028 12:00",
                                L"29-02-2028 12:00"},
                    MonthlyCase{"LeapDayPushedIntoACommonYearIsThe28th", moment(2026, 2, 20, 10), 29, L"NSNNNNNNNNNN",
                                L"15-05-2024 12:00", L"28-02-2026 12:00"},
                    MonthlyCase{"LeapDayPushedPastACommonYearStaysThe28th", moment(2028, 2, 20, 10), 29,
                                L"NSNNNNNNNNNN", L"15-05-2024 12:00", L"28-02-2028 12:00"},
                    MonthlyCase{"TheLastDayOfTheYear", moment(2026, 12, 30, 10), 31, kAllMonths, L"15-05-2026 12:00",
                                L"31-12-2026 12:00"},
                    MonthlyCase{"OnTheLastDayOfTheYear", moment(2026, 12, 31, 10), 31, kAllMonths, L"15-05-2026 12:00",
                                L"31-01-2027 12:00"}),
    [](const auto& tested) { return tested.param.name; });

// --- errors ---

TEST(ScheduleTest, AStartThatIsNoTimeIs13WhereSomethingIsDue) {
  for (const wchar_t* start : {L"25:99", L"24:00", L"12:60", L"pronto", L"12", L"1:2"}) {
    EXPECT_EQ(errorOf(daily(start, 1)), 13);
    EXPECT_EQ(errorOf(weekly(start, L"SSSSSSS")), 13);
    EXPECT_EQ(dueAfter(weekly(start, L"NNNNNNN"), kNow), L"");
  }
  Schedule schedule = monthly(25, kAllMonths, nullptr);
  schedule.startTime = L"12:60";
  EXPECT_EQ(errorOf(schedule), 13);
}

TEST(ScheduleTest, ADayThatTheMonthLacksIs13) {
  EXPECT_EQ(errorOf(monthly(31, kAllMonths, L"15-05-2026 12:00")), 13);
  EXPECT_EQ(errorOf(monthly(30, L"NSNNNNNNNNNN", L"15-05-2026 12:00")), 13);
  for (const int day : {0, -5, 32, 257, 300, 32767, -32768}) EXPECT_EQ(errorOf(monthly(day, kAllMonths, nullptr)), 13);
}

TEST(ScheduleTest, LeapDayOfACommonYearIs13EvenWhenALeapYearIsNear) {
  const Date now = moment(2028, 2, 20, 10);
  EXPECT_EQ(errorOf(monthly(29, L"NSNNNNNNNNNN", L"15-05-2026 12:00"), now), 13);
  EXPECT_EQ(errorOf(monthly(29, L"NSNNNNNNNNNN", nullptr), now), 13);
}

TEST(ScheduleTest, DaysBeyondTheCalendarAre6AndTheLastOneIsReached) {
  for (const double days : {1e300, -1e300, HUGE_VAL, -HUGE_VAL, 2912124.0, -704000.0}) {
    EXPECT_EQ(errorOf(daily(L"09:00", days)), 6) << days;
  }
  EXPECT_EQ(dueAfter(daily(L"09:00", 2912123), kNow), L"31-12-9999 09:00");
}

TEST(ScheduleTest, AYearBeyondTheCalendarIsAnError) {
  EXPECT_EQ(errorOf(monthly(1, L"SNNNNNNNNNNN", L"15-05-9999 12:00")), 13);
  EXPECT_EQ(errorOf(monthly(1, L"NNNNNNNNNNNS", L"15-05-9997 12:00"), moment(9999, 12, 31)), 6);
}

// --- against a slow rule of the tests' own, which walks the calendar day by day ---

struct Day {
  int year = 0;
  int month = 0;
  int day = 0;
  auto operator<=>(const Day&) const = default;
};

int daysInMonth(int year, int month) {
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  if (month == 2) return leap ? 29 : 28;
  return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

Day following(Day day) {
  if (++day.day <= daysInMonth(day.year, day.month)) return day;
  day.day = 1;
  if (++day.month <= 12) return day;
  return {day.year + 1, 1, 1};
}

struct RandomSchedule {
  Day today;
  int weekday = 1;  // 1 Monday … 7 Sunday
  int minutesNow = 0;
  int minutesStart = 0;
  int everyDays = 0;
  int dayOfMonth = 1;
  std::wstring weekdays;
  std::wstring months;
  int lastYear = 2026;
};

// What the rules promise, without the text in which it is written; nothing where no backup is due, day 0 for an error.
std::optional<Day> slowDaily(const RandomSchedule& schedule) {
  Day day = schedule.today;
  if (schedule.minutesStart > schedule.minutesNow) return day;
  for (int i = 0; i < schedule.everyDays; ++i) day = following(day);
  return day;
}

std::optional<Day> slowWeekly(const RandomSchedule& schedule) {
  Day day = schedule.today;
  int weekday = schedule.weekday;
  for (int ahead = 0; ahead <= 7; ++ahead) {
    const bool counts = ahead > 0 || schedule.minutesStart > schedule.minutesNow;
    if (counts && schedule.weekdays[static_cast<std::size_t>(weekday - 1)] == L'S') return day;
    day = following(day);
    weekday = weekday % 7 + 1;
  }
  return std::nullopt;
}

std::optional<Day> slowMonthly(const RandomSchedule& schedule) {
  const Day& today = schedule.today;
  Day first{schedule.lastYear, today.month, schedule.dayOfMonth};
  for (int tried = 0;; ++tried, first.month == 12 ? (first.month = 1, ++first.year) : ++first.month) {
    if (tried == 13) return std::nullopt;
    if (tried == 0 && schedule.dayOfMonth <= today.day) continue;
    if (schedule.months[static_cast<std::size_t>(first.month - 1)] == L'S') break;
  }
  if (first.day > daysInMonth(first.year, first.month)) return Day{};
  while (first <= today) {
    ++first.year;
    first.day = std::min(first.day, daysInMonth(first.year, first.month));
  }
  return first;
}

TEST(ScheduleTest, AgreesWithASlowRuleOnRandomSchedules) {
  std::mt19937 random(20261116);
  const auto below = [&random](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
  RandomSchedule schedule;
  schedule.today = {2023, 1, 1};
  schedule.weekday = 7;
  // Six years, leap day included, some schedules on each day.
  for (; schedule.today < Day{2029, 1, 1}; schedule.today = following(schedule.today)) {
    for (int rule = 0; rule < 3; ++rule) {
      schedule.minutesNow = below(1440);
      schedule.minutesStart = below(4) == 0 ? schedule.minutesNow : below(1440);
      schedule.everyDays = below(500);
      schedule.dayOfMonth = 1 + below(31);
      schedule.lastYear = below(3) == 0 ? 1900 + below(135) : 2020 + below(10);
      schedule.weekdays.clear();
      schedule.months.clear();
      for (int i = 0; i < 7; ++i) schedule.weekdays += below(5) == 0 ? L'S' : L'N';
      for (int i = 0; i < 12; ++i) schedule.months += below(4) == 0 ? L'S' : L'N';

      const auto dateOn = [](Day day, int minutes, int seconds) {
        return moment(day.year, static_cast<unsigned>(day.month), static_cast<unsigned>(day.day), minutes / 60,
                      minutes % 60, seconds);
      };
      const Date now = dateOn(schedule.today, schedule.minutesNow, below(60));
      const Schedule stored{
          .kind = rule == 0   ? Kind::Daily
                  : rule == 1 ? Kind::Weekly
                              : Kind::Monthly,
          .startTime = timeText(moment(2026, 1, 1, schedule.minutesStart / 60, schedule.minutesStart % 60)),
          .everyDays = static_cast<double>(schedule.everyDays),
          .weekdays = schedule.weekdays,
          .dayOfMonth = static_cast<std::int16_t>(schedule.dayOfMonth),
          .months = schedule.months,
          .lastBackup = moment(schedule.lastYear, 10, 10, 8)};
      const std::optional<Day> due = rule == 0   ? slowDaily(schedule)
                                     : rule == 1 ? slowWeekly(schedule)
                                                 : slowMonthly(schedule);

      SCOPED_TRACE(testing::Message() << schedule.today.day << "-" << schedule.today.month << "-" << schedule.today.year
                                      << " rule " << rule);
      if (due == Day{}) {
        ASSERT_EQ(errorOf(stored, now), 13);
      } else {
        ASSERT_EQ(dueAfter(stored, now), due ? momentText(dateOn(*due, schedule.minutesStart, 0)) : L"");
      }
    }
    schedule.weekday = schedule.weekday % 7 + 1;
  }
}

}  // namespace
}  // namespace qev::test
