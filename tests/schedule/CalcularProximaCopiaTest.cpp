#include "schedule/CalcularProximaCopia.h"

#include <gtest/gtest.h>

#include <array>

#include "platform/AutomationError.h"
#include "support/ErrorOf.h"
#include "support/FakePlatform.h"
#ifdef _WIN32
#include "platform/SystemServices.h"
#include "support/RegionalSetting.h"
#endif

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

// --- what is read ---

TEST_F(CalcularProximaCopiaTest, TheSettingsOfEachKindAreRead) {
  EXPECT_EQ(next(daily(L"09:30", 3)), L"19-11-2026 09:30");
  EXPECT_EQ(next(weekly(L"09:30", L"NNSNNNN")), L"18-11-2026 09:30");
  EXPECT_EQ(next(monthly(20, L"SNNNNNNNNNNN", L"15-05-2030 12:00")), L"20-01-2031 12:00");
}

TEST_F(CalcularProximaCopiaTest, DDiasIsReadByItsLeadingNumber) {
  EXPECT_EQ(next(daily(L"09:30", text(L" 2 dias"))), L"18-11-2026 09:30");
  EXPECT_EQ(next(daily(L"09:30", text(L"cada dos"))), L"16-11-2026 09:30");
  EXPECT_EQ(next(daily(L"09:30", Value{})), L"16-11-2026 09:30");
}

TEST_F(CalcularProximaCopiaTest, DMesAsTextIsConverted) {
  EXPECT_EQ(next(monthly(text(L"21"), kAllMonths.c_str(), L"15-05-2026 12:00")), L"21-11-2026 12:00");
}

TEST_F(CalcularProximaCopiaTest, AbsentOrEmptyUltimaCopiaIsTheZeroDate) {
  EXPECT_EQ(next(monthly(25, kAllMonths.c_str(), nullptr)), L"25-11-2026 12:00");
  EXPECT_EQ(next(monthly(25, kAllMonths.c_str(), L"")), L"25-11-2026 12:00");
}

TEST_F(CalcularProximaCopiaTest, AbsentHoraInicioIsNeverAheadAndMeansMidnight) {
  Stored stored = daily(L"", 1);
  stored.HoraInicio = Value{};
  EXPECT_EQ(next(stored), L"17-11-2026 00:00");
}

TEST_F(CalcularProximaCopiaTest, DSemanasDoesNotCount) {
  fake.registry.put(key, L"DSemanas", 4);
  EXPECT_EQ(next(weekly(L"09:00", L"SNNNNNN")), L"23-11-2026 09:00");
}

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

TEST_F(CalcularProximaCopiaTest, DMes31InAShortMonthRaises13) {
  fake.clock.set(2026, 11, 16, 10);
  EXPECT_EQ(errorOf(monthly(31, kAllMonths.c_str(), L"15-05-2026 12:00")), 13);
  EXPECT_EQ(errorOf(monthly(30, L"NSNNNNNNNNNN", L"15-05-2026 12:00")), 13);
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
  for (const wchar_t* days : {L"1e300", L"-1e999", L"2912124"}) {
    EXPECT_EQ(errorOf(daily(L"09:00", text(days))), 6) << days;
  }
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

// --- whatever the user's regional settings ---

struct Region {
  const char* name;
  SpanishLocale::Order order;
  const wchar_t* shortDate;
  wchar_t timeSeparator;
};

constexpr Region kRegions[] = {{"es-ES", SpanishLocale::Order::DayFirst, L"dd/MM/yyyy", L':'},
                               {"en-US", SpanishLocale::Order::MonthFirst, L"M/d/yyyy", L':'},
                               {"eu-ES", SpanishLocale::Order::YearFirst, L"yyyy/MM/dd", L':'},
                               {"with points in times", SpanishLocale::Order::DayFirst, L"dd/MM/yyyy", L'.'}};

// The conversions written for tests.
struct WrittenRegion {
  explicit WrittenRegion(const Region& region) {
    locale.order = region.order;
    locale.timeSeparator = region.timeSeparator;
  }
  SpanishLocale locale;
};

#ifdef _WIN32
// The system's, with the user's settings changed.
struct SystemRegion {
  explicit SystemRegion(const Region& region)
      : shortDate(LOCALE_SSHORTDATE, region.shortDate),
        timeSeparator(LOCALE_STIME, std::wstring(1, region.timeSeparator)),
        time(LOCALE_STIMEFORMAT, std::wstring(L"HH") + region.timeSeparator + L"mm" + region.timeSeparator + L"ss") {}
  RegionalSetting shortDate;
  RegionalSetting timeSeparator;
  RegionalSetting time;
  LocaleWindows locale;
};
using Regions = testing::Types<WrittenRegion, SystemRegion>;
#else
using Regions = testing::Types<WrittenRegion>;
#endif

template <typename RegionInForce>
class InEveryRegion : public CalcularProximaCopiaTest {
 protected:
  void expect(const std::wstring& expected, const Stored& stored) {
    for (const Region& region : kRegions) {
      const RegionInForce inForce(region);
      store(stored);
      EXPECT_EQ(numberOf([&] { CalcularProximaCopia(settings, fake.clock, inForce.locale); }), 0) << region.name;
      EXPECT_EQ(proximaCopia(), Value(expected)) << region.name;
    }
  }
};

TYPED_TEST_SUITE(InEveryRegion, Regions);

TYPED_TEST(InEveryRegion, TheDayStandsFirstAndTimesHaveAColon) {
  this->fake.clock.set(2026, 1, 5, 10, 30);
  this->expect(L"12-01-2026 12:00", monthly(12, kAllMonths.c_str(), L"15-12-2025 12:00"));
  this->expect(L"31-01-2026 12:00", monthly(31, kAllMonths.c_str(), L"15-12-2025 12:00"));
  this->expect(L"06-01-2026 09:30", daily(L"09:30", 1));
  this->expect(L"11-01-2026 10:30", weekly(L"10:30", L"NNNNNNS"));
  this->fake.clock.set(2024, 2, 20, 10, 30);
  this->expect(L"29-02-2024 12:00", monthly(29, L"NSNNNNNNNNNN", L"01-02-2024 10:00"));
  this->fake.clock.set(2026, 2, 20, 10, 30);
  this->expect(L"28-02-2026 12:00", monthly(29, L"NSNNNNNNNNNN", L"01-02-2024 10:00"));
}

TYPED_TEST(InEveryRegion, TheStartIsAheadByTheMinuteAlsoWhereItWasKeptWithAPoint) {
  this->fake.clock.set(2026, 1, 5, 10, 30);
  for (const wchar_t* start : {L"10:31", L"10.31"}) this->expect(L"05-01-2026 10:31", daily(start, 1));
  for (const wchar_t* start : {L"10:30", L"10.30"}) this->expect(L"06-01-2026 10:30", daily(start, 1));
}

TYPED_TEST(InEveryRegion, ADayThatTheMonthLacksIs13) {
  for (const Region& region : kRegions) {
    const TypeParam inForce(region);
    this->fake.clock.set(2026, 4, 5, 10, 30);
    this->store(monthly(31, kAllMonths.c_str(), L"15-12-2025 12:00"));
    EXPECT_EQ(numberOf([&] { CalcularProximaCopia(this->settings, this->fake.clock, inForce.locale); }), 13);
  }
}

// The year of a last backup decides, so that 2031 shows who was read.
TYPED_TEST(InEveryRegion, ALastMomentIsReadByPositionAndElseAsTheRegionWritesIt) {
  this->fake.clock.set(2026, 1, 5, 10, 30);
  for (const wchar_t* moment : {L"12-01-2031 10:30", L"31-12-2031 23.59", L"12-01-2031 10:30:15", L"12-01-2031"}) {
    this->expect(L"20-01-2031 12:00", monthly(20, kAllMonths.c_str(), moment));
  }
  for (const Region& region : kRegions) {
    const TypeParam inForce(region);
    const Date written = moment(2031, 1, 12, 22, 15);
    EXPECT_EQ(momentText(storedMoment(inForce.locale.toText(written), inForce.locale)), L"12-01-2031 22:15");
    EXPECT_EQ(storedMoment(written, inForce.locale), written);
    EXPECT_EQ(storedMoment(Value{}, inForce.locale), Date{});
    EXPECT_EQ(storedMoment(std::wstring(), inForce.locale), Date{});
    EXPECT_EQ(numberOf([&] { storedMoment(std::wstring(L"31-02-2031 10:30"), inForce.locale); }), 13);
  }
}

}  // namespace
}  // namespace qev::test
