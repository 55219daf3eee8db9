// The regional conversions of a Spanish (Spain) user: what the system's say, those written for tests say too.
#include "platform/Locale.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cwchar>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>

#include "platform/AutomationError.h"
#include "support/ErrorOf.h"
#include "support/FakePlatform.h"
#ifdef _WIN32
#include "platform/SystemServices.h"
#include "support/RegionalSetting.h"
#endif

namespace qev::test {
namespace {

std::wstring text(const wchar_t* value) {
  return value;
}

template <typename Conversions>
class LocaleContract : public testing::Test {
 protected:
  // Dates to the second: a fraction of a day is no round number.
  void expectDate(const wchar_t* written, Date expected) const {
    EXPECT_NEAR(locale.dateFromText(written).days, expected.days, 1e-6) << name(written);
  }

  // A text for the message of a test.
  static std::string name(const std::wstring& text) { return SpanishLocale().ansiFromText(text); }

#ifdef _WIN32
  void SetUp() override {
    ASSERT_EQ(PRIMARYLANGID(LANGIDFROMLCID(GetUserDefaultLCID())), LANG_SPANISH)
        << "run these tests with a Spanish locale";
    ASSERT_EQ(GetACP(), 1252u);
  }
  RegionalSetting shortDate{LOCALE_SSHORTDATE, L"dd/MM/yyyy"};  // not every system knows Spanish dates so
#endif
  Conversions conversions;
  const Locale& locale = conversions;
};

#ifdef _WIN32
using Locales = testing::Types<SpanishLocale, LocaleWindows>;
#else
using Locales = testing::Types<SpanishLocale>;
#endif
TYPED_TEST_SUITE(LocaleContract, Locales);

// --- Texts as dates ---

TYPED_TEST(LocaleContract, DatesAreReadDayFirst) {
  for (const wchar_t* written : {L"5/11/2026", L"05/11/2026", L"5-11-2026", L"05-11-2026", L"5/11/26"}) {
    this->expectDate(written, moment(2026, 11, 5));
  }
}

TYPED_TEST(LocaleContract, WhereTheDayCannotComeFirstTheMonthDoes) {
  this->expectDate(L"11/16/2026", moment(2026, 11, 16));
  this->expectDate(L"11-16-2026", moment(2026, 11, 16));
}

TYPED_TEST(LocaleContract, AYearInFrontIsReadAsOne) {
  this->expectDate(L"2026-11-05", moment(2026, 11, 5));
}

TYPED_TEST(LocaleContract, DatesAndTimesTogetherAreRead) {
  this->expectDate(L"05-11-2026 22:15", moment(2026, 11, 5, 22, 15));
  this->expectDate(L"16-11-2026 00:00", moment(2026, 11, 16));
  this->expectDate(L"5/11/2026 7:05:09", moment(2026, 11, 5, 7, 5, 9));
}

TYPED_TEST(LocaleContract, ATimeAloneIsATimeOfTheZeroDate) {
  EXPECT_NEAR(this->locale.dateFromText(L"22:15").days, (22 * 60 + 15) / 1440.0, 1e-9);
  EXPECT_EQ(this->locale.dateFromText(L"0:00").days, 0);
}

TYPED_TEST(LocaleContract, ADayThatTheMonthLacksIs13) {
  for (const wchar_t* written : {L"31/4/2026", L"31-04-2026", L"30/2/2026", L"29/2/2026", L"32/1/2026"}) {
    EXPECT_EQ(numberOf([&] { this->locale.dateFromText(written); }), 13) << this->name(written);
    EXPECT_FALSE(this->locale.isDate(written));
  }
  EXPECT_TRUE(this->locale.isDate(L"29/2/2028"));
}

TYPED_TEST(LocaleContract, ATimeThatTheDayLacksIs13) {
  for (const wchar_t* written : {L"25:99", L"24:00", L"12:60", L"16-11-2026 25:99", L"16-11-2026 24:00"}) {
    EXPECT_EQ(numberOf([&] { this->locale.dateFromText(written); }), 13) << this->name(written);
  }
}

TYPED_TEST(LocaleContract, WhatIsNoDateIs13) {
  for (const wchar_t* written : {L"", L" ", L"mañana", L"a/b/c", L"--", L"16-11-2026x"}) {
    EXPECT_EQ(numberOf([&] { this->locale.dateFromText(written); }), 13) << this->name(written);
  }
}

TYPED_TEST(LocaleContract, TheShortDateIsTheRegionalOneWithoutATime) {
  EXPECT_EQ(this->locale.shortDateText(moment(2026, 11, 5)), L"05/11/2026");
  EXPECT_EQ(this->locale.shortDateText(moment(2026, 11, 5, 22, 15)), L"05/11/2026");
  EXPECT_EQ(this->locale.shortDateText(moment(2026, 11, 16)), L"16/11/2026");
}

// --- Patterns ---

TYPED_TEST(LocaleContract, DatePatternsWriteMonthsAndMinutesApart) {
  const Date date = moment(2026, 1, 5, 7, 8);
  EXPECT_EQ(this->locale.format(date, L"dd-mm-yyyy hh:nn"), L"05-01-2026 07:08");
  EXPECT_EQ(this->locale.format(date, L"dd-mm-yyyy"), L"05-01-2026");
  EXPECT_EQ(this->locale.format(date, L"mm-dd-yyyy"), L"01-05-2026");
  EXPECT_EQ(this->locale.format(date, L"dd-mm-yy"), L"05-01-26");
  EXPECT_EQ(this->locale.format(date, L"hh:nn"), L"07:08");
}

TYPED_TEST(LocaleContract, PatternsWriteMidnightAndTheLastMinuteOfTheDay) {
  EXPECT_EQ(this->locale.format(moment(2026, 12, 31, 23, 59), L"dd-mm-yyyy hh:nn"), L"31-12-2026 23:59");
  EXPECT_EQ(this->locale.format(moment(2027, 1, 1), L"dd-mm-yyyy hh:nn"), L"01-01-2027 00:00");
}

TYPED_TEST(LocaleContract, EveryMinuteOfADayIsWrittenAsItself) {
  for (int minute = 0; minute < 1440; ++minute) {
    wchar_t expected[8];
    swprintf(expected, 8, L"%02d:%02d", minute / 60, minute % 60);
    ASSERT_EQ(this->locale.format(moment(2026, 11, 16, minute / 60, minute % 60), L"hh:nn"), expected);
  }
}

TYPED_TEST(LocaleContract, ADateWrittenAndReadBackIsTheSameForEveryDayOfAYear) {
  for (int day = 0; day < 366; ++day) {
    const Date date = addDays(moment(2028, 1, 1, 22, 15), day);
    ASSERT_NEAR(this->locale.dateFromText(this->locale.format(date, L"dd-mm-yyyy hh:nn")).days, date.days, 1e-6) << day;
  }
}

TYPED_TEST(LocaleContract, TheRegionalShortDateHasAPatternOfItsOwn) {
  EXPECT_EQ(this->locale.format(moment(2026, 11, 5), L"ddddd"), L"05/11/2026");
}

TYPED_TEST(LocaleContract, NumberPatternsUseTheRegionalSeparators) {
  EXPECT_EQ(this->locale.format(1234567.891, L"#,###.00"), L"1.234.567,89");
  EXPECT_EQ(this->locale.format(std::int32_t{1457664}, L"###,###,###"), L"1.457.664");
  EXPECT_EQ(this->locale.format(std::int32_t{7}, L"00"), L"07");
}

TYPED_TEST(LocaleContract, ATextThatAPatternWantsAsADateIsConvertedFirst) {
  EXPECT_EQ(this->locale.format(text(L"5/11/2026 7:08"), L"dd-mm-yyyy hh:nn"), L"05-11-2026 07:08");
}

// --- Numbers ---

TYPED_TEST(LocaleContract, SixteenBitConversionsRoundHalvesToTheEvenNeighbour) {
  const std::pair<double, std::int16_t> cases[] = {{0.5, 0},   {1.5, 2},  {2.5, 2},         {-0.5, 0},
                                                   {-1.5, -2}, {2.51, 3}, {32767.4, 32767}, {-32768.4, -32768}};
  for (const auto& [number, expected] : cases) EXPECT_EQ(this->locale.toInt16(number), expected) << number;
}

TYPED_TEST(LocaleContract, SixteenBitConversionsTakeNumbersTextsBooleansAndEmpty) {
  EXPECT_EQ(this->locale.toInt16(text(L"31")), 31);
  EXPECT_EQ(this->locale.toInt16(text(L" 31 ")), 31);
  EXPECT_EQ(this->locale.toInt16(text(L"1.234")), 1234);
  EXPECT_EQ(this->locale.toInt16(std::int32_t{-5}), -5);
  EXPECT_EQ(this->locale.toInt16(std::uint8_t{200}), 200);
  EXPECT_EQ(this->locale.toInt16(true), -1);
  EXPECT_EQ(this->locale.toInt16(Empty{}), 0);
}

TYPED_TEST(LocaleContract, ANumberBeyondSixteenBitsIs6) {
  EXPECT_EQ(numberOf([&] { this->locale.toInt16(text(L"32768")); }), 6);
  EXPECT_EQ(numberOf([&] { this->locale.toInt16(std::int32_t{-32769}); }), 6);
  EXPECT_EQ(numberOf([&] { this->locale.toInt16(1e300); }), 6);
  EXPECT_EQ(numberOf([&] { this->locale.toInt16(text(L"99999999999999999999")); }), 6);
}

TYPED_TEST(LocaleContract, WhatIsNoNumberIs13) {
  for (const wchar_t* written : {L"muchas", L"", L"12x", L"1-2", L"--1"}) {
    EXPECT_EQ(numberOf([&] { this->locale.toInt16(text(written)); }), 13) << this->name(written);
    EXPECT_EQ(numberOf([&] { this->locale.toDouble(text(written)); }), 13) << this->name(written);
  }
  EXPECT_EQ(numberOf([&] { this->locale.toInt16(Null{}); }), 13);
}

TYPED_TEST(LocaleContract, TextsAreNumbersWithTheRegionalSeparators) {
  EXPECT_EQ(this->locale.toDouble(text(L"1.234,5")), 1234.5);
  EXPECT_EQ(this->locale.toDouble(text(L"-0,25")), -0.25);
  EXPECT_EQ(this->locale.toCurrency(text(L"1.234,5678")), Currency{12345678});
  EXPECT_EQ(this->locale.toText(1234.5), L"1234,5");
}

TYPED_TEST(LocaleContract, AmountsHaveFourDecimalsFromBeginningToEnd) {
  const std::pair<const wchar_t*, std::int64_t> cases[] = {{L"0,0001", 1},
                                                           {L"-0,0001", -1},
                                                           {L",5", 5000},
                                                           {L"7", 70000},
                                                           {L"+7,", 70000},
                                                           {L" 1.234,5678 ", 12345678},
                                                           {L"123456789012,3457", 1234567890123457},
                                                           {L"-99999999999,9999", -999999999999999},
                                                           {L"0,00004", 0},
                                                           {L"0,00006", 1},
                                                           {L"1,234549999", 12345},
                                                           {L"1,5E-2", 150},
                                                           {L"1,5e3", 15000000}};
  for (const auto& [written, expected] : cases) {
    EXPECT_EQ(this->locale.toCurrency(text(written)), Currency{expected}) << this->name(written);
  }
  for (const wchar_t* written : {L"922337203685478", L"1e20", L"-1e20"}) {
    EXPECT_EQ(numberOf([&] { this->locale.toCurrency(text(written)); }), 6) << this->name(written);
  }
  for (const wchar_t* written : {L"", L"doce", L"1,2,3"}) {
    EXPECT_EQ(numberOf([&] { this->locale.toCurrency(text(written)); }), 13) << this->name(written);
  }
  EXPECT_EQ(this->locale.toCurrency(1.23456), Currency{12346});
  EXPECT_EQ(this->locale.toCurrency(std::int32_t{-2147483647 - 1}), Currency{-21474836480000});
  EXPECT_EQ(this->locale.toCurrency(true), Currency{-10000});
  EXPECT_EQ(this->locale.toCurrency(Empty{}), Currency{});
  EXPECT_EQ(this->locale.toCurrency(Currency{9007199254740993001}), Currency{9007199254740993001});
  EXPECT_EQ(numberOf([&] { this->locale.toCurrency(1e15); }), 6);
  EXPECT_EQ(this->locale.toText(Currency{9007199254740993001}), L"900719925474099,3001");
  EXPECT_EQ(this->locale.toText(Currency{-5000}), L"-0,5");
}

// As the documentation has them. Not every system that tests run on reads amounts that a double does not hold.
TEST(SpanishLocaleTest, AmountsAreReadDigitByDigit) {
  const SpanishLocale locale;
  EXPECT_EQ(locale.toCurrency(text(L"900719925474099,3001")), Currency{9007199254740993001});
  EXPECT_EQ(locale.toCurrency(text(L"-922337203685477,5807")), Currency{-9223372036854775807});
  EXPECT_EQ(numberOf([&] { locale.toCurrency(text(L"922337203685477,5808")); }), 6);
  EXPECT_EQ(locale.toCurrency(text(L"0,00015")), Currency{2});
  EXPECT_EQ(locale.toCurrency(text(L"0,00025")), Currency{2});
  EXPECT_EQ(locale.toCurrency(text(L"0,000250001")), Currency{3});
  EXPECT_EQ(locale.toCurrency(text(L"1e-400")), Currency{0});
}

TYPED_TEST(LocaleContract, TextsAreBooleansByTheirNumberOrTheirWord) {
  EXPECT_TRUE(this->locale.toBoolean(text(L"1")));
  EXPECT_FALSE(this->locale.toBoolean(text(L"0")));
  EXPECT_TRUE(this->locale.toBoolean(text(L"True")));
  EXPECT_FALSE(this->locale.toBoolean(text(L"False")));
  EXPECT_EQ(numberOf([&] { this->locale.toBoolean(text(L"quizás")); }), 13);
}

TYPED_TEST(LocaleContract, ValuesAreDates) {
  EXPECT_EQ(this->locale.toDate(Empty{}), Date{});
  EXPECT_EQ(this->locale.toDate(text(L"5/11/2026")), moment(2026, 11, 5));
  EXPECT_EQ(this->locale.toDate(std::int32_t{2}), Date{2});
  EXPECT_EQ(numberOf([&] { this->locale.toDate(text(L"31/4/2026")); }), 13);
  EXPECT_EQ(numberOf([&] { this->locale.toDate(Null{}); }), 13);
  EXPECT_NE(numberOf([&] { this->locale.toDate(1e9); }), 0);
}

TYPED_TEST(LocaleContract, ValuesAreTexts) {
  EXPECT_EQ(this->locale.toText(Empty{}), L"");
  EXPECT_EQ(this->locale.toText(text(L"año")), L"año");
  EXPECT_EQ(this->locale.toText(std::int16_t{-7}), L"-7");
  EXPECT_EQ(this->locale.toText(moment(2026, 11, 5)), L"05/11/2026");
  EXPECT_EQ(numberOf([&] { this->locale.toText(Null{}); }), 13);
}

TYPED_TEST(LocaleContract, TextsMayHoldZeros) {
  const std::wstring held(L"a\0b", 3);
  EXPECT_EQ(this->locale.toText(held), held);
}

// --- Letters ---

TYPED_TEST(LocaleContract, SpanishLettersHaveCapitals) {
  EXPECT_EQ(this->locale.upper(L"añ"), L"AÑ");
  EXPECT_EQ(this->locale.upper(L"c:\\prog\\áéíóúüñç ¿1?"), L"C:\\PROG\\ÁÉÍÓÚÜÑÇ ¿1?");
  EXPECT_EQ(this->locale.upper(L""), L"");
  EXPECT_EQ(this->locale.upper(L"ß"), L"ß");
}

TYPED_TEST(LocaleContract, LetterCaseAloneMakesNoDifferenceAndAnythingElseDoes) {
  EXPECT_TRUE(this->locale.equalIgnoringCase(L"C:\\Año\\a.TXT", L"c:\\AÑO\\A.txt"));
  EXPECT_TRUE(this->locale.equalIgnoringCase(L"", L""));
  EXPECT_FALSE(this->locale.equalIgnoringCase(L"año", L"ano"));
  EXPECT_FALSE(this->locale.equalIgnoringCase(L"a-b", L"ab"));
  EXPECT_FALSE(this->locale.equalIgnoringCase(L"a", L""));
  EXPECT_FALSE(this->locale.equalIgnoringCase(L"a", L"a "));
  EXPECT_FALSE(this->locale.equalIgnoringCase(L"canción", L"cancion"));
}

// --- Bytes ---

TYPED_TEST(LocaleContract, SpanishLettersAreOneByteEachAndComeBack) {
  const std::wstring letters = L"áéíóúüñç ÁÉÍÓÚÜÑÇ ¿¡ ªº € «»";
  const std::string bytes = this->locale.ansiFromText(letters);
  EXPECT_EQ(bytes.size(), letters.size());
  EXPECT_EQ(bytes.substr(0, 7), "\xE1\xE9\xED\xF3\xFA\xFC\xF1");
  EXPECT_EQ(this->locale.textFromAnsi(bytes), letters);
}

TYPED_TEST(LocaleContract, EveryByteOfTheCodePageComesBack) {
  for (int byte = 0; byte < 256; ++byte) {
    const std::string one(1, static_cast<char>(byte));
    const std::wstring held = this->locale.textFromAnsi(one);
    ASSERT_EQ(held.size(), 1u) << byte;
    EXPECT_EQ(this->locale.ansiFromText(held), one) << byte;
  }
}

TYPED_TEST(LocaleContract, WhatTheCodePageLacksBecomesItsDefaultCharacter) {
  EXPECT_EQ(this->locale.ansiFromText(L"a\u65E5b"), "a?b");
}

TYPED_TEST(LocaleContract, ALetterThatOnlyLooksLikeOneOfTheCodePageIsNotTakenForIt) {
  EXPECT_EQ(this->locale.ansiFromText(L"\u0101\u0393"), "??");  // a with macron, capital gamma
}

TYPED_TEST(LocaleContract, HeadersAreInTheCodePageOfTheProcess) {
  const std::wstring letters = L"Gestión del Año 2 \u20AC";
  EXPECT_EQ(this->locale.headerBytes(letters), this->locale.ansiFromText(letters));
  EXPECT_EQ(this->locale.headerBytes(L"a\u65E5\u0101b"), "a??b");
  EXPECT_EQ(this->locale.headerBytes(L""), "");
}

TYPED_TEST(LocaleContract, BytesAreReadInTheCodePageThatIsNamed) {
  for (const CodePage page : {CodePage::Sets, CodePage::Process, CodePage::Western}) {
    EXPECT_EQ(this->locale.textFrom(page, "A\xF1o \x80"), L"Año \u20AC");
    EXPECT_EQ(this->locale.textFrom(page, "A\xC3\xB1o"), L"A\u00C3\u00B1o");
  }
  EXPECT_EQ(this->locale.textFrom(CodePage::Utf8, "A\xC3\xB1o \xE2\x82\xAC \xE6\x97\xA5"), L"Año \u20AC \u65E5");
  EXPECT_EQ(this->locale.textFrom(CodePage::Utf8, "\xF0\x9F\x98\x80"), L"\U0001F600");
  for (const char* none : {"A\xF1o", "\xC3", "\xC0\x80", "\xED\xA0\x80", "\xFF"}) {
    EXPECT_NE(this->locale.textFrom(CodePage::Utf8, none).find(L'\uFFFD'), std::wstring::npos);
  }
  EXPECT_EQ(this->locale.textFrom(CodePage::Utf8, ""), L"");
  EXPECT_EQ(this->locale.textFrom(CodePage::Western, std::string_view("a\0b", 3)), std::wstring(L"a\0b", 3));
}

// A program whose manifest asks for UTF-8: what it tells the engines is UTF-8, headers are not.
template <typename Conversions>
Conversions ofUtf8Process() {
#ifdef _WIN32
  if constexpr (std::is_same_v<Conversions, LocaleWindows>) return LocaleWindows(CP_UTF8);
#endif
  if constexpr (std::is_same_v<Conversions, SpanishLocale>) {
    SpanishLocale locale;
    locale.isUtf8Process = true;
    return locale;
  }
}

TYPED_TEST(LocaleContract, InAProcessOfUtf8HeadersAreInTheCodePageOfTheSystem) {
  const auto utf8 = ofUtf8Process<TypeParam>();
  EXPECT_EQ(utf8.ansiFromText(L"Año \u65E5"), "A\xC3\xB1o \xE6\x97\xA5");
  EXPECT_EQ(utf8.textFromAnsi("A\xC3\xB1o"), L"Año");
  EXPECT_EQ(utf8.textFrom(CodePage::Process, "A\xC3\xB1o"), L"Año");
  EXPECT_EQ(utf8.headerBytes(L"Año \u20AC \u65E5"), "A\xF1o \x80 ?");
  EXPECT_EQ(utf8.textFrom(CodePage::Sets, "A\xF1o"), L"Año");
}

#ifdef _WIN32
TEST(CodePageOfSets, IsTheProcesssAndElseTheSystemsAndElse1252) {
  EXPECT_EQ(codePageOfSets(1252, 1252), 1252u);
  EXPECT_EQ(codePageOfSets(1251, 1252), 1251u);
  EXPECT_EQ(codePageOfSets(1250, CP_UTF8), 1250u);
  EXPECT_EQ(codePageOfSets(CP_UTF8, 1251), 1251u);
  EXPECT_EQ(codePageOfSets(CP_UTF8, 0), 1252u);
  EXPECT_EQ(codePageOfSets(CP_UTF8, CP_UTF8), 1252u);
}
#endif

TYPED_TEST(LocaleContract, NoTextIsNoBytes) {
  EXPECT_EQ(this->locale.ansiFromText(L""), "");
  EXPECT_EQ(this->locale.textFromAnsi(""), L"");
}

TYPED_TEST(LocaleContract, ZerosAreBytesLikeOthers) {
  EXPECT_EQ(this->locale.ansiFromText(std::wstring_view(L"a\0b", 3)), std::string("a\0b", 3));
  EXPECT_EQ(this->locale.textFromAnsi(std::string_view("a\0b", 3)), std::wstring(L"a\0b", 3));
}

}  // namespace
}  // namespace qev::test
