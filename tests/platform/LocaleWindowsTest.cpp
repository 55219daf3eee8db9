// The regional conversions of a Spanish user by the system itself. The tests run with the user's locale set to Spanish
// (Spain).
#include "platform/SystemServices.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <cmath>
#include <string>
#include <vector>

#include "platform/AutomationError.h"
#include "support/ErrorOf.h"
#include "support/FakePlatform.h"

namespace qev::test {
namespace {

std::wstring text(const wchar_t* value) {
  return value;
}

class LocaleWindowsTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(PRIMARYLANGID(LANGIDFROMLCID(GetUserDefaultLCID())), LANG_SPANISH)
        << "run these tests with a Spanish locale";
    ASSERT_EQ(GetACP(), 1252u);
  }

  // Dates to the second: a fraction of a day is no round number.
  void expectDate(const wchar_t* written, Date expected) const {
    EXPECT_NEAR(locale.dateFromText(written).days, expected.days, 1e-6) << written;
  }

  // The short date as the user has set it up: "05/11/2026", or "5/11/2026" where the system knows Spanish dates so.
  static std::wstring regionalShortDate(WORD year, WORD month, WORD day) {
    const SYSTEMTIME time{year, month, 0, day, 0, 0, 0, 0};
    wchar_t written[32] = L"";
    GetDateFormatEx(LOCALE_NAME_USER_DEFAULT, DATE_SHORTDATE, &time, nullptr, written, 32, nullptr);
    return written;
  }

  LocaleWindows locale;
};

// --- Texts as dates ---

TEST_F(LocaleWindowsTest, DatesAreReadDayFirst) {
  for (const wchar_t* written : {L"5/11/2026", L"05/11/2026", L"5-11-2026", L"05-11-2026", L"5/11/26"}) {
    expectDate(written, moment(2026, 11, 5));
  }
}

TEST_F(LocaleWindowsTest, WhereTheDayCannotComeFirstTheMonthDoes) {
  expectDate(L"11/16/2026", moment(2026, 11, 16));
  expectDate(L"11-16-2026", moment(2026, 11, 16));
}

TEST_F(LocaleWindowsTest, AYearInFrontIsReadAsOne) {
  expectDate(L"2026-11-05", moment(2026, 11, 5));
}

TEST_F(LocaleWindowsTest, DatesAndTimesTogetherAreRead) {
  expectDate(L"05-11-2026 22:15", moment(2026, 11, 5, 22, 15));
  expectDate(L"16-11-2026 00:00", moment(2026, 11, 16));
  expectDate(L"5/11/2026 7:05:09", moment(2026, 11, 5, 7, 5, 9));
}

TEST_F(LocaleWindowsTest, ATimeAloneIsATimeOfTheZeroDate) {
  EXPECT_NEAR(locale.dateFromText(L"22:15").days, (22 * 60 + 15) / 1440.0, 1e-9);
  EXPECT_EQ(locale.dateFromText(L"0:00").days, 0);
}

TEST_F(LocaleWindowsTest, ADayThatTheMonthLacksIs13) {
  for (const wchar_t* written : {L"31/4/2026", L"31-04-2026", L"30/2/2026", L"29/2/2026", L"32/1/2026"}) {
    EXPECT_EQ(numberOf([&] { locale.dateFromText(written); }), 13) << std::wstring(written).size();
    EXPECT_FALSE(locale.isDate(written));
  }
  EXPECT_TRUE(locale.isDate(L"29/2/2028"));
}

TEST_F(LocaleWindowsTest, ATimeThatTheDayLacksIs13) {
  for (const wchar_t* written : {L"25:99", L"24:00", L"12:60", L"16-11-2026 25:99", L"16-11-2026 24:00"}) {
    EXPECT_EQ(numberOf([&] { locale.dateFromText(written); }), 13) << locale.ansiFromText(written);
  }
}

TEST_F(LocaleWindowsTest, WhatIsNoDateIs13) {
  for (const wchar_t* written : {L"", L" ", L"mañana", L"a/b/c", L"--", L"16-11-2026x"}) {
    EXPECT_EQ(numberOf([&] { locale.dateFromText(written); }), 13) << locale.ansiFromText(written);
  }
}

TEST_F(LocaleWindowsTest, TheShortDateIsTheRegionalOneWithoutATime) {
  const std::wstring expected = regionalShortDate(2026, 11, 5);
  EXPECT_TRUE(expected == L"5/11/2026" || expected == L"05/11/2026");
  EXPECT_EQ(locale.shortDateText(moment(2026, 11, 5)), expected);
  EXPECT_EQ(locale.shortDateText(moment(2026, 11, 5, 22, 15)), expected);
  EXPECT_EQ(locale.shortDateText(moment(2026, 11, 16)), L"16/11/2026");
}

// --- Patterns ---

TEST_F(LocaleWindowsTest, DatePatternsWriteMonthsAndMinutesApart) {
  const Date date = moment(2026, 1, 5, 7, 8);
  EXPECT_EQ(locale.format(date, L"dd-mm-yyyy hh:nn"), L"05-01-2026 07:08");
  EXPECT_EQ(locale.format(date, L"dd-mm-yyyy"), L"05-01-2026");
  EXPECT_EQ(locale.format(date, L"mm-dd-yyyy"), L"01-05-2026");
  EXPECT_EQ(locale.format(date, L"dd-mm-yy"), L"05-01-26");
  EXPECT_EQ(locale.format(date, L"hh:nn"), L"07:08");
}

TEST_F(LocaleWindowsTest, PatternsWriteMidnightAndTheLastMinuteOfTheDay) {
  EXPECT_EQ(locale.format(moment(2026, 12, 31, 23, 59), L"dd-mm-yyyy hh:nn"), L"31-12-2026 23:59");
  EXPECT_EQ(locale.format(moment(2027, 1, 1), L"dd-mm-yyyy hh:nn"), L"01-01-2027 00:00");
}

TEST_F(LocaleWindowsTest, EveryMinuteOfADayIsWrittenAsItself) {
  for (int minute = 0; minute < 1440; ++minute) {
    wchar_t expected[8];
    swprintf(expected, 8, L"%02d:%02d", minute / 60, minute % 60);
    ASSERT_EQ(locale.format(moment(2026, 11, 16, minute / 60, minute % 60), L"hh:nn"), expected);
  }
}

TEST_F(LocaleWindowsTest, ADateWrittenAndReadBackIsTheSameForEveryDayOfAYear) {
  for (int day = 0; day < 366; ++day) {
    const Date date = addDays(moment(2028, 1, 1, 22, 15), day);
    ASSERT_NEAR(locale.dateFromText(locale.format(date, L"dd-mm-yyyy hh:nn")).days, date.days, 1e-6) << day;
  }
}

TEST_F(LocaleWindowsTest, TheRegionalShortDateHasAPatternOfItsOwn) {
  EXPECT_EQ(locale.format(moment(2026, 11, 5), L"ddddd"), regionalShortDate(2026, 11, 5));
}

TEST_F(LocaleWindowsTest, NumberPatternsUseTheRegionalSeparators) {
  EXPECT_EQ(locale.format(1234567.891, L"#,###.00"), L"1.234.567,89");
  EXPECT_EQ(locale.format(std::int32_t{1457664}, L"###,###,###"), L"1.457.664");
  EXPECT_EQ(locale.format(std::int32_t{7}, L"00"), L"07");
}

TEST_F(LocaleWindowsTest, ATextThatAPatternWantsAsADateIsConvertedFirst) {
  EXPECT_EQ(locale.format(text(L"5/11/2026 7:08"), L"dd-mm-yyyy hh:nn"), L"05-11-2026 07:08");
}

// --- Numbers ---

TEST_F(LocaleWindowsTest, SixteenBitConversionsRoundHalvesToTheEvenNeighbour) {
  const std::vector<std::pair<double, std::int16_t>> cases = {
      {0.5, 0}, {1.5, 2}, {2.5, 2}, {-0.5, 0}, {-1.5, -2}, {2.51, 3}, {32767.4, 32767}, {-32768.4, -32768}};
  for (const auto& [number, expected] : cases) EXPECT_EQ(locale.toInt16(number), expected) << number;
}

TEST_F(LocaleWindowsTest, SixteenBitConversionsTakeNumbersTextsBooleansAndEmpty) {
  EXPECT_EQ(locale.toInt16(text(L"31")), 31);
  EXPECT_EQ(locale.toInt16(text(L" 31 ")), 31);
  EXPECT_EQ(locale.toInt16(text(L"1.234")), 1234);
  EXPECT_EQ(locale.toInt16(std::int32_t{-5}), -5);
  EXPECT_EQ(locale.toInt16(std::uint8_t{200}), 200);
  EXPECT_EQ(locale.toInt16(true), -1);
  EXPECT_EQ(locale.toInt16(Empty{}), 0);
}

TEST_F(LocaleWindowsTest, ANumberBeyondSixteenBitsIs6) {
  EXPECT_EQ(numberOf([&] { locale.toInt16(text(L"32768")); }), 6);
  EXPECT_EQ(numberOf([&] { locale.toInt16(std::int32_t{-32769}); }), 6);
  EXPECT_EQ(numberOf([&] { locale.toInt16(1e300); }), 6);
  EXPECT_EQ(numberOf([&] { locale.toInt16(text(L"99999999999999999999")); }), 6);
}

TEST_F(LocaleWindowsTest, WhatIsNoNumberIs13) {
  for (const wchar_t* written : {L"muchas", L"", L"12x", L"1-2", L"--1"}) {
    EXPECT_EQ(numberOf([&] { locale.toInt16(text(written)); }), 13) << locale.ansiFromText(written);
    EXPECT_EQ(numberOf([&] { locale.toDouble(text(written)); }), 13) << locale.ansiFromText(written);
  }
  EXPECT_EQ(numberOf([&] { locale.toInt16(Null{}); }), 13);
}

TEST_F(LocaleWindowsTest, TextsAreNumbersWithTheRegionalSeparators) {
  EXPECT_EQ(locale.toDouble(text(L"1.234,5")), 1234.5);
  EXPECT_EQ(locale.toDouble(text(L"-0,25")), -0.25);
  EXPECT_EQ(locale.toCurrency(text(L"1.234,5678")), Currency{12345678});
  EXPECT_EQ(locale.toText(1234.5), L"1234,5");
}

TEST_F(LocaleWindowsTest, TextsAreBooleansByTheirNumberOrTheirWord) {
  EXPECT_TRUE(locale.toBoolean(text(L"1")));
  EXPECT_FALSE(locale.toBoolean(text(L"0")));
  EXPECT_TRUE(locale.toBoolean(text(L"True")));
  EXPECT_FALSE(locale.toBoolean(text(L"False")));
  EXPECT_EQ(numberOf([&] { locale.toBoolean(text(L"quizás")); }), 13);
}

TEST_F(LocaleWindowsTest, ValuesAreDates) {
  EXPECT_EQ(locale.toDate(Empty{}), Date{});
  EXPECT_EQ(locale.toDate(text(L"5/11/2026")), moment(2026, 11, 5));
  EXPECT_EQ(locale.toDate(std::int32_t{2}), Date{2});
  EXPECT_EQ(numberOf([&] { locale.toDate(text(L"31/4/2026")); }), 13);
  EXPECT_EQ(numberOf([&] { locale.toDate(Null{}); }), 13);
  EXPECT_NE(numberOf([&] { locale.toDate(1e9); }), 0);
}

TEST_F(LocaleWindowsTest, ValuesAreTexts) {
  EXPECT_EQ(locale.toText(Empty{}), L"");
  EXPECT_EQ(locale.toText(text(L"año")), L"año");
  EXPECT_EQ(locale.toText(std::int16_t{-7}), L"-7");
  EXPECT_EQ(locale.toText(moment(2026, 11, 5)), regionalShortDate(2026, 11, 5));
  EXPECT_EQ(numberOf([&] { locale.toText(Null{}); }), 13);
}

TEST_F(LocaleWindowsTest, TextsMayHoldZeros) {
  const std::wstring held(L"a\0b", 3);
  EXPECT_EQ(locale.toText(held), held);
}

// --- Letters ---

TEST_F(LocaleWindowsTest, SpanishLettersHaveCapitals) {
  EXPECT_EQ(locale.upper(L"añ"), L"AÑ");
  EXPECT_EQ(locale.upper(L"c:\\prog\\áéíóúüñç ¿1?"), L"C:\\PROG\\ÁÉÍÓÚÜÑÇ ¿1?");
  EXPECT_EQ(locale.upper(L""), L"");
  EXPECT_EQ(locale.upper(L"ß"), L"ß");
}

TEST_F(LocaleWindowsTest, LetterCaseAloneMakesNoDifferenceAndAnythingElseDoes) {
  EXPECT_TRUE(locale.equalIgnoringCase(L"C:\\Año\\a.TXT", L"c:\\AÑO\\A.txt"));
  EXPECT_TRUE(locale.equalIgnoringCase(L"", L""));
  EXPECT_FALSE(locale.equalIgnoringCase(L"año", L"ano"));
  EXPECT_FALSE(locale.equalIgnoringCase(L"a-b", L"ab"));
  EXPECT_FALSE(locale.equalIgnoringCase(L"a", L""));
  EXPECT_FALSE(locale.equalIgnoringCase(L"a", L"a "));
  EXPECT_FALSE(locale.equalIgnoringCase(L"canción", L"cancion"));
}

// --- Bytes ---

TEST_F(LocaleWindowsTest, SpanishLettersAreOneByteEachAndComeBack) {
  const std::wstring letters = L"áéíóúüñç ÁÉÍÓÚÜÑÇ ¿¡ ªº € «»";
  const std::string bytes = locale.ansiFromText(letters);
  EXPECT_EQ(bytes.size(), letters.size());
  EXPECT_EQ(bytes.substr(0, 7), "\xE1\xE9\xED\xF3\xFA\xFC\xF1");
  EXPECT_EQ(locale.textFromAnsi(bytes), letters);
}

TEST_F(LocaleWindowsTest, EveryByteOfTheCodePageComesBack) {
  for (int byte = 0; byte < 256; ++byte) {
    const std::string one(1, static_cast<char>(byte));
    const std::wstring held = locale.textFromAnsi(one);
    ASSERT_EQ(held.size(), 1u) << byte;
    EXPECT_EQ(locale.ansiFromText(held), one) << byte;
  }
}

TEST_F(LocaleWindowsTest, WhatTheCodePageLacksBecomesItsDefaultCharacter) {
  EXPECT_EQ(locale.ansiFromText(L"a\u65E5b"), "a?b");
}

TEST_F(LocaleWindowsTest, ALetterThatOnlyLooksLikeOneOfTheCodePageIsNotTakenForIt) {
  EXPECT_EQ(locale.ansiFromText(L"\u0101\u0393"), "??");  // a with macron, capital gamma
}

TEST_F(LocaleWindowsTest, NoTextIsNoBytes) {
  EXPECT_EQ(locale.ansiFromText(L""), "");
  EXPECT_EQ(locale.textFromAnsi(""), L"");
}

TEST_F(LocaleWindowsTest, ZerosAreBytesLikeOthers) {
  EXPECT_EQ(locale.ansiFromText(std::wstring_view(L"a\0b", 3)), std::string("a\0b", 3));
  EXPECT_EQ(locale.textFromAnsi(std::string_view("a\0b", 3)), std::wstring(L"a\0b", 3));
}

}  // namespace
}  // namespace qev::test
