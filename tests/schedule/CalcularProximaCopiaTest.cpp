#include "schedule/CalcularProximaCopia.h"

#include <gtest/gtest.h>

#include <array>
#include <compare>
#include <optional>
#include <random>

#include "platform/AutomationError.h"
#include "support/ErrorOf.h"
#include "support/FakePlatform.h"

namespace qev::test {
namespace {

const std::wstring kAllMonths = L"SSSSSSSSSSSS";

// A stored schedule; what is not named is absent from the store.
struct Stored {
  Value Copia = 2;
  Value Programar = {};
  Value HoraInicio = std::wstring(L"12:00");
  Value DDias = {};
  Value DSem = {};
  Value DMes = {};
  Value Meses = {};
  Value UltimaCopia = {};
};

Value text(const wchar_t* value) {
  return std::wstring(value);
}

Stored daily(const wchar_t* start, const Value& days) {
  return {.Programar = text(L"Diariamente"), .HoraInicio = text(start), .DDias = days};
}

Stored weekly(const wchar_t* start, const wchar_t* days) {
  return {.Programar = text(L"Semanalmente"), .HoraInicio = text(start), .DSem = text(days)};
}

Stored monthly(const Value& day, const wchar_t* months, const wchar_t* lastBackup) {
  return {.Programar = text(L"Mensualmente"),
          .DMes = day,
          .Meses = text(months),
          .UltimaCopia = lastBackup ? text(lastBackup) : Value{}};
}

class CalcularProximaCopiaTest : public testing::Test {
 protected:
  void store(const Stored& stored) {
    const std::array<std::pair<const wchar_t*, Value>, 8> values = {{{L"Copia", stored.Copia},
                                                                     {L"Programar", stored.Programar},
                                                                     {L"HoraInicio", stored.HoraInicio},
                                                                     {L"DDias", stored.DDias},
                                                                     {L"DSem", stored.DSem},
                                                                     {L"Dmes", stored.DMes},
                                                                     {L"Meses", stored.Meses},
                                                                     {L"UltimaCopia", stored.UltimaCopia}}};
    for (const auto& [name, value] : values) fake.registry.put(key, name, value);
    fake.registry.put(key, L"ProximaCopia", std::wstring(L"antes"));
  }

  Value proximaCopia() { return settings.read(L"ProximaCopia"); }

  std::wstring next(const Stored& stored) {
    store(stored);
    CalcularProximaCopia(settings, fake.clock, fake.locale);
    return std::get<std::wstring>(proximaCopia());
  }

  // The number of the error that the computation ends in; `ProximaCopia` must keep its value.
  std::int32_t errorOf(const Stored& stored) {
    store(stored);
    const auto error = test::errorOf([this] { CalcularProximaCopia(settings, fake.clock, fake.locale); });
    EXPECT_EQ(proximaCopia(), text(L"antes"));
    EXPECT_TRUE(fake.registry.writes.empty());
    return error.number();
  }

  FakePlatform fake;
  const std::wstring key = L"SOFTWARE\\Gestion";
  SettingsStore settings{fake.registry, key};
};

// --- the gate ---

TEST_F(CalcularProximaCopiaTest, CopiaZeroOrOneYieldsEmptyWhateverTheScheduleSays) {
  for (const Value& copia : {Value{0}, Value{1}, text(L"0"), text(L"1"), Value{-5}}) {
    for (Stored stored : {daily(L"23:59", 1), weekly(L"23:59", L"SSSSSSS"), monthly(28, kAllMonths.c_str(), nullptr),
                          daily(L"25:99", 1), monthly(text(L"abc"), L"S", L"ayer")}) {
      stored.Copia = copia;
      EXPECT_EQ(next(stored), L"");
    }
  }
}

TEST_F(CalcularProximaCopiaTest, AbsentCopiaCountsAsOne) {
  Stored stored = daily(L"23:59", 1);
  stored.Copia = Value{};
  EXPECT_EQ(next(stored), L"");
  stored.Copia = text(L"");
  EXPECT_EQ(next(stored), L"");
}

TEST_F(CalcularProximaCopiaTest, CopiaOfTwoOrMoreAsNumberOrTextSchedules) {
  for (const Value& copia : {Value{2}, text(L"2"), Value{3}, text(L" 7 ")}) {
    Stored stored = daily(L"23:59", 1);
    stored.Copia = copia;
    EXPECT_EQ(next(stored), L"16-11-2026 23:59");
  }
}

// --- the choice of the rule ---

TEST_F(CalcularProximaCopiaTest, ProgramarInLowerCaseMatchesNoRuleAndYieldsEmpty) {
  for (const wchar_t* kind : {L"diariamente", L"semanalmente", L"mensualmente", L"DIARIAMENTE", L"Diariamente ", L""}) {
    Stored stored = daily(L"23:59", 1);
    stored.Programar = text(kind);
    EXPECT_EQ(next(stored), L"");
  }
}

TEST_F(CalcularProximaCopiaTest, AbsentProgramarYieldsEmpty) {
  Stored stored = daily(L"23:59", 1);
  stored.Programar = Value{};
  EXPECT_EQ(next(stored), L"");
}

TEST_F(CalcularProximaCopiaTest, WritesOnlyProximaCopiaAndAsText) {
  next(daily(L"23:59", 1));
  ASSERT_EQ(fake.registry.writes.size(), 1u);
  EXPECT_EQ(fake.registry.writes[0].first, L"ProximaCopia");
  EXPECT_EQ(fake.registry.writes[0].second, text(L"16-11-2026 23:59"));
}

// --- daily ---

struct DailyCase {
  const char* name;
  Date now;
  const wchar_t* start;
  Value days;
  const wchar_t* next;
};

class DailyRule : public CalcularProximaCopiaTest, public testing::WithParamInterface<DailyCase> {};

TEST_P(DailyRule, Gives) {
  fake.clock.time = GetParam().now;
  EXPECT_EQ(next(daily(GetParam().start, GetParam().days)), GetParam().next);
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
        DailyCase{"AbsentDDiasIsDueAtOnce", moment(2026, 11, 16, 10), L"09:30", {}, L"16-11-2026 09:30"},
        DailyCase{"TextDDiasIsReadByItsLeadingNumber", moment(2026, 11, 16, 10), L"09:30", text(L" 2 dias"),
                  L"18-11-2026 09:30"},
        DailyCase{"TextThatIsNoNumberCountsAsZero", moment(2026, 11, 16, 10), L"09:30", text(L"cada dos"),
                  L"16-11-2026 09:30"},
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

TEST_F(CalcularProximaCopiaTest, AbsentHoraInicioIsNeverAheadAndMeansMidnight) {
  Stored stored = daily(L"", 1);
  stored.HoraInicio = Value{};
  EXPECT_EQ(next(stored), L"17-11-2026 00:00");
}

// --- weekly ---

struct WeeklyCase {
  const char* name;
  Date now;
  const wchar_t* start;
  const wchar_t* days;
  const wchar_t* next;
};

class WeeklyRule : public CalcularProximaCopiaTest, public testing::WithParamInterface<WeeklyCase> {};

TEST_P(WeeklyRule, Gives) {
  fake.clock.time = GetParam().now;
  EXPECT_EQ(next(weekly(GetParam().start, GetParam().days)), GetParam().next);
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

TEST_F(CalcularProximaCopiaTest, DSemanasDoesNotCount) {
  fake.registry.put(key, L"DSemanas", 4);
  EXPECT_EQ(next(weekly(L"09:00", L"SNNNNNN")), L"23-11-2026 09:00");
}

// --- monthly ---

struct MonthlyCase {
  const char* name;
  Date now;
  Value day;
  const wchar_t* months;
  const wchar_t* lastBackup;
  const wchar_t* next;
};

class MonthlyRule : public CalcularProximaCopiaTest, public testing::WithParamInterface<MonthlyCase> {};

TEST_P(MonthlyRule, Gives) {
  fake.clock.time = GetParam().now;
  EXPECT_EQ(next(monthly(GetParam().day, GetParam().months, GetParam().lastBackup)), GetParam().next);
}

INSTANTIATE_TEST_SUITE_P(
    Schedule, MonthlyRule,
    testing::Values(MonthlyCase{"TodaysDayIsNeverThisMonthEvenWithTheStartAhead", moment(2026, 11, 16, 10), 16,
                                kAllMonths.c_str(), L"01-11-2026 10:00", L"16-12-2026 12:00"},
                    MonthlyCase{"TodaysDayOfTheOnlyMonthIsAYearOn", moment(2026, 11, 16, 10), 16, L"NNNNNNNNNNSN",
                                L"01-11-2026 10:00", L"16-11-2027 12:00"},
                    MonthlyCase{"AllMonthsOnThe20thWith15GivesThe15thOfNextMonth", moment(2026, 6, 20, 10), 15,
                                kAllMonths.c_str(), L"15-06-2026 12:00", L"15-07-2026 12:00"},
                    MonthlyCase{"InDecemberThe15thOfJanuaryAfterTheLastBackupsYear", moment(2026, 12, 20, 10), 15,
                                kAllMonths.c_str(), L"15-12-2026 12:00", L"15-01-2027 12:00"},
                    MonthlyCase{"InDecemberAnOldLastBackupIsPushedByWholeYears", moment(2026, 12, 20, 10), 15,
                                kAllMonths.c_str(), L"15-12-2019 12:00", L"15-01-2027 12:00"},
                    MonthlyCase{"EmptyLastBackupClimbsFromTheZeroDatesYear", moment(2026, 6, 20, 10), 25,
                                kAllMonths.c_str(), nullptr, L"25-06-2026 12:00"},
                    MonthlyCase{"EmptyTextOfLastBackupIsNone", moment(2026, 6, 20, 10), 25, kAllMonths.c_str(), L"",
                                L"25-06-2026 12:00"},
                    MonthlyCase{"TheZeroDateItselfIsPushedToo", moment(2026, 6, 20, 10), 30, L"NNNNNNNNNNNS", nullptr,
                                L"30-12-2026 12:00"},
                    MonthlyCase{"DayAheadInThisMonth", moment(2026, 6, 20, 10), 21, kAllMonths.c_str(),
                                L"15-05-2026 12:00", L"21-06-2026 12:00"},
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
                    MonthlyCase{"ALastBackupInTheFutureIsKept", moment(2026, 6, 20, 10), 21, kAllMonths.c_str(),
                                L"15-05-2031 12:00", L"21-06-2031 12:00"},
                    MonthlyCase{"ThirtyFirstInALongMonth", moment(2026, 7, 20, 10), 31, kAllMonths.c_str(),
                                L"15-05-2026 12:00", L"31-07-2026 12:00"},
                    MonthlyCase{"LeapDayInALeapYear", moment(2028, 2, 20, 10), 29, L"NSNNNNNNNNNN", L"15-05-2028 12:00",
                                L"29-02-2028 12:00"},
                    MonthlyCase{"LeapDayPushedIntoACommonYearIsThe28th", moment(2026, 2, 20, 10), 29, L"NSNNNNNNNNNN",
                                L"15-05-2024 12:00", L"28-02-2026 12:00"},
                    MonthlyCase{"LeapDayPushedPastACommonYearStaysThe28th", moment(2028, 2, 20, 10), 29,
                                L"NSNNNNNNNNNN", L"15-05-2024 12:00", L"28-02-2028 12:00"},
                    MonthlyCase{"DayAsTextIsConverted", moment(2026, 6, 20, 10), text(L"21"), kAllMonths.c_str(),
                                L"15-05-2026 12:00", L"21-06-2026 12:00"},
                    MonthlyCase{"TheLastDayOfTheYear", moment(2026, 12, 30, 10), 31, kAllMonths.c_str(),
                                L"15-05-2026 12:00", L"31-12-2026 12:00"},
                    MonthlyCase{"OnTheLastDayOfTheYear", moment(2026, 12, 31, 10), 31, kAllMonths.c_str(),
                                L"15-05-2026 12:00", L"31-01-2027 12:00"}),
    [](const auto& tested) { return tested.param.name; });

// --- errors ---

TEST_F(CalcularProximaCopiaTest, CopiaThatIsNoNumberRaises13AndTheStoreKeepsItsValues) {
  Stored stored = daily(L"23:59", 1);
  stored.Copia = text(L"abc");
  EXPECT_EQ(errorOf(stored), 13);
  EXPECT_EQ(settings.read(L"Copia"), text(L"abc"));
}

TEST_F(CalcularProximaCopiaTest, HoraInicioThatIsNoTimeRaises13) {
  EXPECT_EQ(errorOf(daily(L"25:99", 1)), 13);
  EXPECT_EQ(errorOf(daily(L"24:00", 1)), 13);
  EXPECT_EQ(errorOf(weekly(L"pronto", L"SSSSSSS")), 13);
  fake.clock.set(2026, 6, 20);
  Stored stored = monthly(25, kAllMonths.c_str(), nullptr);
  stored.HoraInicio = text(L"12:60");
  EXPECT_EQ(errorOf(stored), 13);
}

TEST_F(CalcularProximaCopiaTest, HoraInicioThatIsNoTimeDoesNotMatterWhereNothingIsDue) {
  EXPECT_EQ(next(weekly(L"25:99", L"NNNNNNN")), L"");
}

TEST_F(CalcularProximaCopiaTest, DMes31InAShortMonthRaises13) {
  fake.clock.set(2026, 11, 16, 10);
  EXPECT_EQ(errorOf(monthly(31, kAllMonths.c_str(), L"15-05-2026 12:00")), 13);
  EXPECT_EQ(errorOf(monthly(30, L"NSNNNNNNNNNN", L"15-05-2026 12:00")), 13);
}

TEST_F(CalcularProximaCopiaTest, LeapDayOfACommonYearRaises13EvenWhenALeapYearIsNear) {
  fake.clock.set(2028, 2, 20, 10);
  EXPECT_EQ(errorOf(monthly(29, L"NSNNNNNNNNNN", L"15-05-2026 12:00")), 13);
  EXPECT_EQ(errorOf(monthly(29, L"NSNNNNNNNNNN", nullptr)), 13);
}

TEST_F(CalcularProximaCopiaTest, AbsentOrImpossibleDMesRaises13) {
  EXPECT_EQ(errorOf(monthly({}, kAllMonths.c_str(), L"15-05-2026 12:00")), 13);
  EXPECT_EQ(errorOf(monthly(0, kAllMonths.c_str(), L"15-05-2026 12:00")), 13);
  EXPECT_EQ(errorOf(monthly(-5, kAllMonths.c_str(), L"15-05-2026 12:00")), 13);
  EXPECT_EQ(errorOf(monthly(32, kAllMonths.c_str(), L"15-05-2026 12:00")), 13);
}

TEST_F(CalcularProximaCopiaTest, DMesOrLastBackupThatCannotBeConvertedRaisesUnderEveryRule) {
  for (Stored stored : {daily(L"23:59", 1), weekly(L"23:59", L"SSSSSSS"), monthly(25, kAllMonths.c_str(), nullptr)}) {
    stored.DMes = text(L"abc");
    EXPECT_EQ(errorOf(stored), 13);
    stored.DMes = 40000;
    EXPECT_EQ(errorOf(stored), 6);
    stored.DMes = 25;
    stored.UltimaCopia = text(L"ayer");
    EXPECT_EQ(errorOf(stored), 13);
  }
}

TEST_F(CalcularProximaCopiaTest, AbsentDMesDoesNotMatterToTheOtherRules) {
  EXPECT_EQ(next(daily(L"23:59", 1)), L"16-11-2026 23:59");
  Stored stored = daily(L"23:59", 1);
  stored.DMes = text(L"");
  EXPECT_EQ(next(stored), L"16-11-2026 23:59");
}

TEST_F(CalcularProximaCopiaTest, DDiasBeyondTheCalendarRaises6) {
  for (const wchar_t* days : {L"1e300", L"-1e300", L"1e999", L"-1e999", L"2912124", L"-704000"}) {
    EXPECT_EQ(errorOf(daily(L"09:00", text(days))), 6) << days;
  }
}

TEST_F(CalcularProximaCopiaTest, TheLastDayOfTheCalendarIsStillReached) {
  EXPECT_EQ(next(daily(L"09:00", text(L"2912123"))), L"31-12-9999 09:00");
}

TEST_F(CalcularProximaCopiaTest, AYearBeyondTheCalendarRaises) {
  EXPECT_EQ(errorOf(monthly(1, L"SNNNNNNNNNNN", L"15-05-9999 12:00")), 13);
  fake.clock.set(9999, 12, 31);
  EXPECT_EQ(errorOf(monthly(1, L"NNNNNNNNNNNS", L"15-05-9997 12:00")), 6);
}

TEST_F(CalcularProximaCopiaTest, StoreErrorsReachTheCaller) {
  store(daily(L"23:59", 1));
  fake.registry.writeError = kPermissionDenied;
  try {
    CalcularProximaCopia(settings, fake.clock, fake.locale);
    FAIL() << "no error";
  } catch (const AutomationError& error) {
    EXPECT_EQ(error.number(), 70);
  }
  fake.registry.writeError.reset();
  fake.registry.readError = kPermissionDenied;
  EXPECT_THROW(CalcularProximaCopia(settings, fake.clock, fake.locale), AutomationError);
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

std::wstring timeText(int minutes) {
  std::wstring out;
  for (const int digit : {minutes / 600, minutes / 60 % 10, -1, minutes % 60 / 10, minutes % 10}) {
    out += digit < 0 ? L':' : static_cast<wchar_t>(L'0' + digit);
  }
  return out;
}

std::wstring padded(int number) {
  return (number < 10 ? L"0" : L"") + std::to_wstring(number);
}

TEST_F(CalcularProximaCopiaTest, AgreesWithASlowRuleOnRandomSchedules) {
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

      fake.clock.set(schedule.today.year, static_cast<unsigned>(schedule.today.month),
                     static_cast<unsigned>(schedule.today.day), schedule.minutesNow / 60, schedule.minutesNow % 60,
                     below(60));
      Stored stored{.HoraInicio = timeText(schedule.minutesStart),
                    .DDias = schedule.everyDays,
                    .DSem = schedule.weekdays,
                    .DMes = schedule.dayOfMonth,
                    .Meses = schedule.months,
                    .UltimaCopia = L"10-10-" + std::to_wstring(schedule.lastYear) + L" 08:00"};
      stored.Programar = text(rule == 0 ? L"Diariamente" : rule == 1 ? L"Semanalmente" : L"Mensualmente");
      const std::optional<Day> due = rule == 0   ? slowDaily(schedule)
                                     : rule == 1 ? slowWeekly(schedule)
                                                 : slowMonthly(schedule);

      SCOPED_TRACE(testing::Message() << schedule.today.day << "-" << schedule.today.month << "-" << schedule.today.year
                                      << " rule " << rule);
      fake.registry.writes.clear();
      if (due == Day{}) {
        ASSERT_EQ(errorOf(stored), 13);
      } else if (!due) {
        ASSERT_EQ(next(stored), L"");
      } else {
        ASSERT_EQ(next(stored), padded(due->day) + L"-" + padded(due->month) + L"-" + std::to_wstring(due->year) +
                                    L" " + timeText(schedule.minutesStart));
      }
    }
    schedule.weekday = schedule.weekday % 7 + 1;
  }
}

}  // namespace
}  // namespace qev::test
