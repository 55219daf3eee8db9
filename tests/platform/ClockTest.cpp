#include "platform/Clock.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cwchar>
#include <limits>

#include "platform/AutomationError.h"
#include "support/ErrorOf.h"
#include "support/FakePlatform.h"

namespace qev::test {
namespace {

using std::chrono::year_month_day;

year_month_day day(int year, unsigned month, unsigned dayOfMonth) {
  return std::chrono::year{year} / static_cast<int>(month) / static_cast<int>(dayOfMonth);
}

constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(ClockTest, TheZeroDateIs30December1899) {
  EXPECT_EQ(calendarDay(Date{}), day(1899, 12, 30));
  EXPECT_EQ(dateOf(day(1899, 12, 30)), Date{});
}

TEST(ClockTest, KnownDaysHaveTheirNumbers) {
  EXPECT_EQ(dateOf(day(1900, 1, 1)).days, 2);
  EXPECT_EQ(dateOf(day(2000, 1, 1)).days, 36526);
  EXPECT_EQ(dateOf(day(100, 1, 1)).days, -657434);
  EXPECT_EQ(dateOf(day(9999, 12, 31)).days, 2958465);
}

TEST(ClockTest, TheTimeOfDayIsDroppedOnBothSidesOfTheZeroDate) {
  EXPECT_EQ(calendarDay(Date{1.99}), day(1899, 12, 31));
  EXPECT_EQ(calendarDay(Date{0.75}), day(1899, 12, 30));
  EXPECT_EQ(calendarDay(Date{-0.75}), day(1899, 12, 30));
  EXPECT_EQ(calendarDay(Date{-1.25}), day(1899, 12, 29));
}

TEST(ClockTest, EveryDayOfFourCenturiesGoesThereAndBack) {
  for (double days = -100'000; days < 50'000; ++days) ASSERT_EQ(dateOf(calendarDay(Date{days})).days, days);
}

TEST(ClockTest, DaysBeyondTheCalendarOverflow) {
  EXPECT_EQ(calendarDay(Date{-657434.999}), day(100, 1, 1));
  EXPECT_EQ(calendarDay(Date{2958465.999}), day(9999, 12, 31));
  for (const double days : {-657435.0, 2958466.0, 1e300, -1e300, kInfinity, -kInfinity, std::nan("")}) {
    EXPECT_EQ(numberOf([=] { calendarDay(Date{days}); }), 6) << days;
    EXPECT_EQ(numberOf([=] { addYears(Date{days}, 0); }), 6) << days;
    EXPECT_EQ(numberOf([=] { addDays(Date{days}, 0); }), 6) << days;
    EXPECT_EQ(numberOf([=] { addDays(Date{}, days); }), 6) << days;
  }
}

TEST(ClockTest, AddingDaysKeepsTheTimeOfDay) {
  EXPECT_EQ(addDays(moment(2026, 11, 16, 12), 20), moment(2026, 12, 6, 12));
  EXPECT_EQ(addDays(moment(2028, 2, 28, 6), 1), moment(2028, 2, 29, 6));
  EXPECT_EQ(addDays(moment(2026, 1, 1, 18), -1), moment(2025, 12, 31, 18));
  EXPECT_EQ(addDays(moment(2026, 1, 1, 18), 0.5), moment(2026, 1, 2, 6));
}

TEST(ClockTest, AddingDaysCrossesTheZeroDateAsTheCalendarDoes) {
  EXPECT_EQ(addDays(Date{1.25}, -2), Date{-1.25});
  EXPECT_EQ(addDays(Date{-1.25}, 2), Date{1.25});
  EXPECT_EQ(addDays(Date{-3.75}, 1), Date{-2.75});
}

TEST(ClockTest, AddingYearsKeepsDayAndTime) {
  EXPECT_EQ(addYears(moment(2026, 11, 16, 12), 1), moment(2027, 11, 16, 12));
  EXPECT_EQ(addYears(moment(2026, 11, 16, 12), -27), moment(1999, 11, 16, 12));
  EXPECT_EQ(addYears(Date{-1.25}, 1), moment(1900, 12, 29, 6));
  EXPECT_EQ(addYears(moment(1900, 12, 29, 6), -1), Date{-1.25});
}

TEST(ClockTest, LeapDayBecomesThe28thInACommonYear) {
  EXPECT_EQ(addYears(moment(2024, 2, 29), 1), moment(2025, 2, 28));
  EXPECT_EQ(addYears(moment(2024, 2, 29), 4), moment(2028, 2, 29));
  EXPECT_EQ(addYears(moment(2096, 2, 29), 4), moment(2100, 2, 28));
  EXPECT_EQ(addYears(moment(2025, 2, 28), 3), moment(2028, 2, 28));
}

TEST(ClockTest, YearsBeyondTheCalendarOverflow) {
  EXPECT_EQ(addYears(moment(9998, 6, 1), 1), moment(9999, 6, 1));
  EXPECT_EQ(numberOf([] { addYears(moment(9999, 6, 1), 1); }), 6);
  EXPECT_EQ(numberOf([] { addYears(moment(100, 6, 1), -1); }), 6);
  EXPECT_EQ(numberOf([] { addYears(Date{}, std::numeric_limits<int>::max()); }), 6);
  EXPECT_EQ(numberOf([] { addYears(Date{}, std::numeric_limits<int>::min()); }), 6);
}

// --- moments in texts ---

TEST(ClockTest, EveryPartOfAMomentHasItsPlace) {
  const Date early = moment(2026, 1, 5, 7, 8, 9);
  EXPECT_EQ(dayText(early), L"05-01-2026");
  EXPECT_EQ(fileDayText(early), L"05-01-26");
  EXPECT_EQ(timeText(early), L"07:08");
  EXPECT_EQ(momentText(early), L"05-01-2026 07:08");
  EXPECT_EQ(secondMomentText(early), L"05-01-2026 07:08:09");
  EXPECT_EQ(secondMomentText(moment(9999, 12, 31, 23, 59, 59)), L"31-12-9999 23:59:59");
  EXPECT_EQ(secondMomentText(moment(100, 1, 1)), L"01-01-0100 00:00:00");
  EXPECT_EQ(secondMomentText(Date{-1.25}), L"29-12-1899 06:00:00");
  EXPECT_EQ(fileDayText(moment(2100, 3, 1)), L"01-03-00");
}

TEST(ClockTest, AFractionOfASecondIsRoundedIntoTheNextDayToo) {
  constexpr double second = 1.0 / 86400;
  EXPECT_EQ(secondMomentText(Date{moment(2026, 12, 31, 23, 59, 59).days + 0.4 * second}), L"31-12-2026 23:59:59");
  EXPECT_EQ(secondMomentText(Date{moment(2026, 12, 31, 23, 59, 59).days + 0.6 * second}), L"01-01-2027 00:00:00");
}

TEST(ClockTest, AMomentBeyondTheCalendarIs6) {
  for (const double days : {-657435.0, 2958466.0, 1e300, kInfinity}) {
    EXPECT_EQ(numberOf([&] { momentText(Date{days}); }), 6) << days;
  }
}

TEST(ClockTest, EveryMinuteOfADayAndEveryDayOfALeapYearReadBack) {
  for (int minute = 0; minute < 1440; ++minute) {
    const Date written = moment(2026, 11, 16, minute / 60, minute % 60);
    ASSERT_EQ(momentFromText(momentText(written)), written) << minute;
    ASSERT_EQ(momentFromText(secondMomentText(addDays(written, 59 / 86400.0))),
              moment(2026, 11, 16, minute / 60, minute % 60, 59));
  }
  for (int day = 0; day < 366; ++day) {
    const Date written = addDays(moment(2028, 1, 1), day);
    ASSERT_EQ(momentFromText(dayText(written)), written) << day;
  }
  EXPECT_EQ(momentFromText(L"01-01-0100 06:00"), moment(100, 1, 1, 6));
}

TEST(ClockTest, WhatIsWrittenOtherwiseIsNoMoment) {
  for (const wchar_t* text : {L"",
                              L"05-01-26",
                              L"5-01-2026 07:08",
                              L"05/01/2026 07:08",
                              L"2026-01-05 07:08",
                              L"05-01-2026 ",
                              L"05-01-2026x",
                              L"05-01-2026  07:08",
                              L"05-01-2026T07:08",
                              L"05-01-2026 07:08 ",
                              L"05-01-2026 0708",
                              L"+5-01-2026 07:08",
                              L"31-04-2026 07:08",
                              L"29-02-2026 07:08",
                              L"00-01-2026 07:08",
                              L"05-13-2026 07:08",
                              L"05-00-2026 07:08",
                              L"05-01-0099 07:08",
                              L"05-01-2026 24:00",
                              L"05-01-2026 07:60",
                              L"05-01-2026 07:08:60",
                              L"05-01-2026 07:08:9",
                              L"05-01-2026 07:08.09",
                              L"05-01-2026 123:08"}) {
    EXPECT_EQ(momentFromText(text), std::nullopt) << std::string(text, text + std::wcslen(text));
  }
}

TEST(ClockTest, TimesAreReadWithAColonOrAPoint) {
  EXPECT_EQ(timeFromText(L"22:30"), Date{0.9375});
  EXPECT_EQ(timeFromText(L"22.30"), Date{0.9375});
  EXPECT_EQ(timeFromText(L"9:30"), timeFromText(L"09:30:00"));
  for (const wchar_t* text : {L"", L":", L"12", L":30", L"1:2", L"24:00", L"12:60", L"12:30:", L"12:30:1", L"112:30"}) {
    EXPECT_EQ(timeFromText(text), std::nullopt);
  }
}

TEST(ClockTest, TheTimeOfOneDateIsPutOnTheDayOfAnother) {
  EXPECT_EQ(onDay(moment(2026, 11, 16, 10), Date{0.25}), moment(2026, 11, 16, 6));
  EXPECT_EQ(onDay(Date{-1.5}, moment(2026, 11, 16, 6)), Date{-1.25});
}

}  // namespace
}  // namespace qev::test
