#include "platform/Clock.h"

#include <gtest/gtest.h>

#include <cmath>
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

}  // namespace
}  // namespace qev::test
