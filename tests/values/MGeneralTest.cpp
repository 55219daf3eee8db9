// The data types of the entry controls, with the real regional conversions on Windows and their double elsewhere.
#include "values/MGeneral.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>

#include "support/FakePlatform.h"

namespace qev {
namespace {

using test::moment;

std::string narrow(const std::wstring& text) {
  std::string out;
  for (const wchar_t c : text) out += c >= 32 && c < 127 ? static_cast<char>(c) : '?';
  return out;
}

class MGeneralTest : public ::testing::Test {
 protected:
  test::FakePlatform fakes_;
#ifdef _WIN32
  const Locale& locale_ = systemPlatform().locale;
#else
  const Locale& locale_ = fakes_.locale;
#endif
  const MGeneral general_{locale_, fakes_.clock, fakes_.sound, fakes_.keyboard};

  // The code that a typed character ends up as, the text being left alone.
  int filtered(int key, DataType type) {
    auto code = static_cast<std::int16_t>(key);
    EXPECT_EQ(general_.FilterKey(L"x", code, type), L"x");
    return static_cast<std::uint16_t>(code);
  }

  std::wstring afterShortcut(wchar_t key, DataType type) {
    auto code = static_cast<std::int16_t>(key);
    const std::wstring text = general_.FilterKey(L"12", code, type);
    EXPECT_EQ(code, 0);
    EXPECT_EQ(fakes_.sound.beeps, 0);
    return text;
  }

  std::wstring validated(int type, const std::wstring& text) {
    return general_.ValidateValue(static_cast<DataType>(type), text);
  }

  Value valued(int type, const std::wstring& text) {
    return general_.TextToValue(static_cast<DataType>(type), text);
  }

  std::wstring shown(const Value& value, int type) {
    return general_.ValueToText(value, static_cast<DataType>(type));
  }

  template <typename T>
  void expectValue(int type, const std::wstring& text, const T& expected) {
    EXPECT_EQ(valued(type, text), Value(expected)) << "type " << type << ", text \"" << narrow(text) << '"';
  }
};

using FilterKey = MGeneralTest;
using ValidateValue = MGeneralTest;
using TextToValue = MGeneralTest;
using ValueToText = MGeneralTest;
using Minutes = MGeneralTest;
using Helpers = MGeneralTest;

// What each typed character must become; a character that stands in neither text is refused.
struct KeyTable {
  bool filters;
  std::wstring kept;
  std::map<wchar_t, wchar_t> changed;
  std::wstring shortcuts;
};

const KeyTable kFree{false, L"", {}, L""};
const KeyTable kTimes{true, L"0123456789:-+", {{L'.', L':'}, {L',', L':'}, {L' ', L':'}}, L"Hh"};
const KeyTable kAmounts{true, L"0123456789-+,", {{L'.', L','}}, L""};

// Those of every other type but capitals are free.
const std::map<int, KeyTable> kKeys = {
    {1, {true, L"0123456789-+", {}, L""}},
    {2, kAmounts},
    {3, kAmounts},
    {4, {true, L"0123456789-", {{L'.', L'-'}, {L',', L'-'}, {L'/', L'-'}, {L'\\', L'-'}, {L' ', L'-'}}, L"Hh"}},
    {5, kTimes},
    {6, {true, L"0123456789.,-:/\\ ", {}, L"Hh"}},
    {10, kTimes},
    {14, kTimes},
};

TEST_F(FilterKey, EveryTypeKeepsReplacesAndRefusesTheKeysOfItsTable) {
  for (int type = -1; type <= 16; ++type) {
    if (type == static_cast<int>(DataType::UpperText)) continue;
    const auto found = kKeys.find(type);
    const KeyTable& table = found == kKeys.end() ? kFree : found->second;
    for (int key = 32; key < 0x180; ++key) {
      const auto character = static_cast<wchar_t>(key);
      if (table.shortcuts.find(character) != std::wstring::npos) continue;
      int expected = 0;
      if (!table.filters || table.kept.find(character) != std::wstring::npos) expected = key;
      if (const auto change = table.changed.find(character); change != table.changed.end()) expected = change->second;
      const int beeps = fakes_.sound.beeps;
      EXPECT_EQ(filtered(key, static_cast<DataType>(type)), expected) << "type " << type << ", key " << key;
      EXPECT_EQ(fakes_.sound.beeps - beeps, expected == 0 ? 1 : 0) << "type " << type << ", key " << key;
    }
  }
}

TEST_F(FilterKey, UpperTextTurnsEveryLetterToItsCapital) {
  for (int key = 32; key < 127; ++key) {
    const bool small = key >= 'a' && key <= 'z';
    EXPECT_EQ(filtered(key, DataType::UpperText), small ? key - 32 : key);
  }
  EXPECT_EQ(filtered(L'ñ', DataType::UpperText), L'Ñ');
  EXPECT_EQ(filtered(L'á', DataType::UpperText), L'Á');
  EXPECT_EQ(fakes_.sound.beeps, 0);
}

TEST_F(FilterKey, HPutsTodayIntoADateAndIsSwallowed) {
  EXPECT_EQ(afterShortcut(L'h', DataType::Date), L"16-11-2026");
  EXPECT_EQ(afterShortcut(L'H', DataType::Date), L"16-11-2026");
}

TEST_F(FilterKey, HPutsTheTimeOfDayIntoTimes) {
  fakes_.clock.set(2026, 1, 2, 7, 5, 59);
  for (const DataType type : {DataType::Time, DataType::Duration, DataType::DayTime}) {
    EXPECT_EQ(afterShortcut(L'h', type), L"07:05");
    EXPECT_EQ(afterShortcut(L'H', type), L"07:05");
  }
}

TEST_F(FilterKey, HPutsTheRegionalDateAndTheTimeIntoADateTime) {
  fakes_.clock.set(2026, 11, 16, 7, 5, 59);
  EXPECT_EQ(afterShortcut(L'h', DataType::DateTime), L"16/11/2026 07:05");
}

TEST_F(FilterKey, EnterAndEscapeAreSwallowedInSilenceByEveryType) {
  for (int type = -1; type <= 16; ++type) {
    EXPECT_EQ(filtered(13, static_cast<DataType>(type)), 0);
    EXPECT_EQ(filtered(27, static_cast<DataType>(type)), 0);
  }
  EXPECT_EQ(fakes_.sound.beeps, 0);
}

TEST_F(FilterKey, OtherControlCharactersPassEveryTypeUntouched) {
  for (int type = -1; type <= 16; ++type) {
    for (int key = 0; key < 32; ++key) {
      if (key == 13 || key == 27) continue;
      EXPECT_EQ(filtered(key, static_cast<DataType>(type)), key);
    }
  }
  EXPECT_EQ(fakes_.sound.beeps, 0);
}

TEST_F(FilterKey, CharactersBeyondTheSignedRangeAreCharactersToo) {
  EXPECT_EQ(filtered(0xFF11, DataType::Text), 0xFF11);
  EXPECT_EQ(filtered(0xFF11, DataType::Integer), 0);  // a full-width digit one
}

TEST_F(ValidateValue, ADateBefore1900IsRefusedWithACapitalF) {
  EXPECT_EQ(validated(4, L"31-12-1899"), L"La Fecha introducida no es correcta");
  EXPECT_EQ(validated(4, L"01-01-2101"), L"La Fecha introducida no es correcta");
  EXPECT_EQ(validated(4, L"12:30"), L"La Fecha introducida no es correcta");  // a time belongs to 30 December 1899
}

TEST_F(ValidateValue, ADateFrom1900To2100IsAccepted) {
  EXPECT_EQ(validated(4, L"01-01-1900"), L"");
  EXPECT_EQ(validated(4, L"31-12-2100"), L"");
  EXPECT_EQ(validated(4, L"29-02-2000"), L"");
}

TEST_F(ValidateValue, ADayThatDoesNotExistIsRefusedWithASmallF) {
  EXPECT_EQ(validated(4, L"32-01-2000"), L"La fecha introducida no es correcta");
  EXPECT_EQ(validated(4, L"30-02-2000"), L"La fecha introducida no es correcta");
  EXPECT_EQ(validated(4, L"abc"), L"La fecha introducida no es correcta");
}

TEST_F(ValidateValue, ABlankEntryIsAcceptedByEveryType) {
  for (int type = -1; type <= 16; ++type) {
    EXPECT_EQ(validated(type, L""), L"");
    EXPECT_EQ(validated(type, L"   "), L"");
    EXPECT_EQ(general_.ValidateValue(static_cast<DataType>(type), Empty{}), L"");
    EXPECT_EQ(general_.ValidateValue(static_cast<DataType>(type), Null{}), L"");
  }
}

TEST_F(ValidateValue, OnlyDatesTimesAndDurationsAreChecked) {
  for (int type = -1; type <= 16; ++type) {
    const bool checked = type == 4 || type == 5 || type == 6 || type == 10;
    EXPECT_EQ(validated(type, L"zzz").empty(), !checked) << type;
  }
}

TEST_F(ValidateValue, ATimeIsCheckedWithoutItsSign) {
  EXPECT_EQ(validated(5, L"12:30"), L"");
  EXPECT_EQ(validated(5, L"-12:30"), L"");
  EXPECT_EQ(validated(5, L"+12:30"), L"");
  EXPECT_EQ(validated(5, L"12:61"), L"La Hora introducida no es correcta");
  EXPECT_EQ(validated(5, L"25:61"), L"La Hora introducida no es correcta");
}

TEST_F(ValidateValue, ADateTimeIsRefusedWithItsOwnMessage) {
  EXPECT_EQ(validated(6, L"16/11/2026 10:30"), L"");
  EXPECT_EQ(validated(6, L"16/11/2026 10:61"), L"La Fecha/Hora introducida no es correcta");
}

TEST_F(ValidateValue, ADurationMustBeWrittenInItsCanonicalForm) {
  for (const auto* accepted : {L"1:30", L"-1:30", L"+1:30", L"0:00", L"100:59"})
    EXPECT_EQ(validated(10, accepted), L"");
  for (const auto* refused : {L"01:30", L"1:5", L"1:75", L"1.30", L"90", L" 1:30", L"1:300", L":30"}) {
    EXPECT_EQ(validated(10, refused), L"La Hora introducida no es correcta") << narrow(refused);
  }
}

TEST_F(ValidateValue, ValuesOfOtherTypesAreCheckedAsTheirText) {
  EXPECT_EQ(general_.ValidateValue(DataType::Date, moment(2026, 11, 16)), L"");
  EXPECT_EQ(general_.ValidateValue(DataType::Duration, std::int32_t{90}), L"La Hora introducida no es correcta");
}

TEST_F(Minutes, EachSeparatorIsRead) {
  EXPECT_EQ(MGeneral::ParseMinutes(L"2.15", false), 135);
  EXPECT_EQ(MGeneral::ParseMinutes(L"2:15", false), 135);
  EXPECT_EQ(MGeneral::ParseMinutes(L"2,15", false), 135);
  EXPECT_EQ(MGeneral::ParseMinutes(L" 2 15 ", false), 135);
}

TEST_F(Minutes, AColonAnywhereWinsOverAnEarlierSeparator) {
  EXPECT_EQ(MGeneral::ParseMinutes(L"1 2:30", false), 12 * 60 + 30);  // a blank inside a number is skipped
  EXPECT_EQ(MGeneral::ParseMinutes(L"1.5:10", false), 100);
}

TEST_F(Minutes, WithoutASeparatorThereAreNone) {
  EXPECT_EQ(MGeneral::ParseMinutes(L"90", false), 0);
  EXPECT_EQ(MGeneral::ParseMinutes(L"", false), 0);
  EXPECT_EQ(MGeneral::ParseMinutes(L"-", true), 0);
}

TEST_F(Minutes, ASignMovesTheTimeByADayWhenTheDayWraps) {
  EXPECT_EQ(MGeneral::ParseMinutes(L"-0:30", true), -1410);
  EXPECT_EQ(MGeneral::ParseMinutes(L"-23:30", true), -30);
  EXPECT_EQ(MGeneral::ParseMinutes(L"+01:00", true), 1500);
  EXPECT_EQ(MGeneral::ParseMinutes(L"1:00", true), 60);
}

TEST_F(Minutes, ASignNegatesWhenTheDayDoesNotWrap) {
  EXPECT_EQ(MGeneral::ParseMinutes(L"-0:30", false), -30);
  EXPECT_EQ(MGeneral::ParseMinutes(L"-1:30", false), -90);
  EXPECT_EQ(MGeneral::ParseMinutes(L"+1:30", false), 90);
}

TEST_F(Minutes, MoreMinuteDigitsThanTwoAreIgnored) {
  EXPECT_EQ(MGeneral::ParseMinutes(L"1:305", false), 90);
  EXPECT_EQ(MGeneral::ParseMinutes(L"1:5", false), 65);
  EXPECT_EQ(MGeneral::ParseMinutes(L"1:75", false), 135);
}

TEST_F(Minutes, WhatIsBeyond32BitsIsBlank) {
  EXPECT_EQ(MGeneral::ParseMinutes(L"35791394:07", false), 2147483647);
  EXPECT_EQ(MGeneral::ParseMinutes(L"35791394:08", false), 0);
  EXPECT_EQ(MGeneral::ParseMinutes(L"+35791394:07", true), 0);
  EXPECT_EQ(MGeneral::ParseMinutes(L"1e400:00", false), 0);
}

TEST_F(Minutes, AFractionIsRoundedHalfToEven) {
  EXPECT_EQ(MGeneral::ParseMinutes(L"0.025:00", false), 2);   // 1.5
  EXPECT_EQ(MGeneral::ParseMinutes(L"0.375:00", false), 22);  // 22.5
}

TEST_F(Minutes, AreShownAsHoursAndTwoDigits) {
  EXPECT_EQ(general_.FormatMinutes(std::int32_t{90}, false), L"1:30");
  EXPECT_EQ(general_.FormatMinutes(std::int32_t{0}, false), L"0:00");
  EXPECT_EQ(general_.FormatMinutes(std::int16_t{65}, false), L"1:05");
  EXPECT_EQ(general_.FormatMinutes(std::int32_t{-30}, false), L"-0:30");
  EXPECT_EQ(general_.FormatMinutes(std::int32_t{-30}, true), L"-23:30");
  EXPECT_EQ(general_.FormatMinutes(std::int32_t{1500}, true), L"+1:00");
  EXPECT_EQ(general_.FormatMinutes(std::int32_t{1500}, false), L"25:00");
}

TEST_F(Minutes, AWholeDayIsTheNextDaysMidnightOnlyWhenTheDayWraps) {
  EXPECT_EQ(general_.FormatMinutes(std::int32_t{1440}, true), L"+0:00");
  EXPECT_EQ(general_.FormatMinutes(std::int32_t{1440}, false), L"24:00");
  EXPECT_EQ(general_.FormatMinutes(std::int32_t{1439}, true), L"23:59");
}

TEST_F(Minutes, AValueThatIsNoNumberIsParsedFirst) {
  EXPECT_EQ(general_.FormatMinutes(L"1:5", false), L"1:05");
  EXPECT_EQ(general_.FormatMinutes(L"-23:30", true), L"-23:30");
  EXPECT_EQ(general_.FormatMinutes(L"90", false), L"1:30");
  EXPECT_EQ(general_.FormatMinutes(L"abc", false), L"0:00");
  EXPECT_EQ(general_.FormatMinutes(Null{}, false), L"0:00");
}

TEST_F(Minutes, ANumberBeyond32BitsHasNoText) {
  EXPECT_EQ(general_.FormatMinutes(1e12, false), L"");
  EXPECT_EQ(general_.FormatMinutes(2147483647.0, false), L"35791394:07");
}

TEST_F(Minutes, WhatIsFormattedParsesBackWithoutWrap) {
  for (std::int32_t minutes = -5000; minutes <= 5000; ++minutes) {
    EXPECT_EQ(MGeneral::ParseMinutes(general_.FormatMinutes(minutes, false), false), minutes);
  }
}

TEST_F(Minutes, WhatIsFormattedParsesBackWithWrapWithinADayAround) {
  for (std::int32_t minutes = -1440; minutes < 4320; ++minutes) {
    EXPECT_EQ(MGeneral::ParseMinutes(general_.FormatMinutes(minutes, true), true), minutes) << minutes;
  }
}

TEST_F(Minutes, EveryFormattedDurationIsAnAcceptedEntry) {
  for (std::int32_t minutes = -5000; minutes <= 5000; ++minutes) {
    EXPECT_EQ(validated(10, general_.FormatMinutes(minutes, false)), L"") << minutes;
  }
}

TEST_F(TextToValue, ABlankTextGivesTheBlankValueOfItsType) {
  const std::int16_t zero = 0;
  for (const auto* blank : {L"", L"   "}) {
    for (const int type : {1, 2, 3, 9, 10, 11, 14}) expectValue(type, blank, zero);
    for (const int type : {4, 5, 6}) expectValue(type, blank, Null{});
    expectValue(12, blank, false);
    for (const int type : {-1, 0, 7, 8, 13, 15, 16, 99}) expectValue(type, blank, std::wstring());
  }
}

TEST_F(TextToValue, ABlankOptionalNumberIsEmptyTextWhileABlankNumberIsZero) {
  expectValue(13, L"", std::wstring());
  EXPECT_EQ(numericValue(valued(9, L"")), 0);
}

TEST_F(TextToValue, WholeNumbersAreRoundedHalfToEven) {
  for (const int type : {1, 9, 13}) {
    expectValue(type, L"42", std::int32_t{42});
    expectValue(type, L"-7", std::int32_t{-7});
    expectValue(type, L"2.5", std::int32_t{2});
    expectValue(type, L"3.5", std::int32_t{4});
    expectValue(type, L"12abc", std::int32_t{12});
    expectValue(type, L"abc", std::int32_t{0});
    expectValue(type, L"2147483647", std::int32_t{2147483647});
    expectValue(type, L"-2147483648", std::numeric_limits<std::int32_t>::min());
  }
}

TEST_F(TextToValue, AWholeNumberBeyond32BitsGivesTheBlankValue) {
  expectValue(1, L"2147483648", std::int16_t{0});
  expectValue(9, L"-9999999999", std::int16_t{0});
  expectValue(13, L"1e999", std::wstring());
}

TEST_F(TextToValue, ADecimalTakesCommaAndPoint) {
  expectValue(2, L"1,5", 1.5F);
  expectValue(2, L"-0.25", -0.25F);
  expectValue(2, L"1,5,5", 1.5F);
  expectValue(2, L"1e39", std::int16_t{0});
}

TEST_F(TextToValue, ACurrencyFollowsTheRegionalRules) {
  expectValue(3, L"1.234,56", Currency{12345600});
  expectValue(3, L"-0,0001", Currency{-1});
  expectValue(3, L"abc", std::int16_t{0});
  expectValue(3, L"99999999999999999999", std::int16_t{0});
}

TEST_F(TextToValue, ADateLosesItsTime) {
  expectValue(4, L"16-11-2026", moment(2026, 11, 16));
  expectValue(4, L"16-11-2026 10:30", moment(2026, 11, 16));
  expectValue(4, L"01-01-1800 18:00", moment(1800, 1, 1));
  expectValue(4, L"30-02-2000", Null{});
}

TEST_F(TextToValue, ATimeLosesItsDay) {
  for (const auto* text : {L"18:00", L"16-11-2026 18:00", L"01-01-1800 18:00"}) {
    const Value value = valued(5, text);
    ASSERT_TRUE(std::holds_alternative<double>(value)) << narrow(text);
    EXPECT_NEAR(std::get<double>(value), 0.75, 1e-9) << narrow(text);
  }
  expectValue(5, L"-18:00", Null{});
}

TEST_F(TextToValue, ADateTimeKeepsBoth) {
  expectValue(6, L"16-11-2026", moment(2026, 11, 16));
  const Value value = valued(6, L"16/11/2026 10:30:15");
  ASSERT_TRUE(std::holds_alternative<Date>(value));
  EXPECT_NEAR(std::get<Date>(value).days, moment(2026, 11, 16, 10, 30, 15).days, 1e-7);
  expectValue(6, L"hoy", Null{});
}

TEST_F(TextToValue, TextsAreTrimmedButPasswordsAreNot) {
  expectValue(0, L"  a b ", std::wstring(L"a b"));
  expectValue(99, L"  a b ", std::wstring(L"a b"));
  expectValue(7, L"  a b ", std::wstring(L"  a b "));
  expectValue(8, L"  año ", std::wstring(L"AÑO"));
}

TEST_F(TextToValue, DurationsAndDayTimesAreMinutes) {
  expectValue(10, L"-1:30", std::int32_t{-90});
  expectValue(14, L"-23:30", std::int32_t{-30});
  expectValue(14, L"+01:00", std::int32_t{1500});
  expectValue(10, L"90", std::int32_t{0});
}

TEST_F(TextToValue, HoursBecomeMinutes) {
  expectValue(11, L"1.5", 90.0);
  expectValue(11, L"8", 480.0);
  expectValue(11, L"1e308", std::int16_t{0});
}

TEST_F(TextToValue, ATruthValueIsReadByTheRegionalRules) {
  expectValue(12, L"True", true);
  expectValue(12, L"False", false);
  expectValue(12, L"-1", true);
  expectValue(12, L"0", false);
  expectValue(12, L"quizás", false);
}

TEST_F(TextToValue, ACodeIsWhatStandsBeforeTheHyphen) {
  expectValue(15, L"12 - Ayuntamiento", std::wstring(L"12"));
  expectValue(15, L"12", std::wstring(L"12"));
}

TEST_F(ValueToText, AnEmptyOrNullValueHasNoText) {
  for (int type = -1; type <= 16; ++type) {
    EXPECT_EQ(shown(Empty{}, type), L"");
    EXPECT_EQ(shown(Null{}, type), L"");
  }
}

TEST_F(ValueToText, AValueThatCannotBeConvertedHasNoText) {
  const Value word = std::wstring(L"quizás");
  for (const int type : {3, 4, 5, 6, 11, 12}) EXPECT_EQ(shown(word, type), L"") << type;
}

TEST_F(ValueToText, AnAmountIsGroupedWithTwoDecimals) {
  EXPECT_EQ(shown(Currency{12345678900}, 3), L"1.234.567,89");
  EXPECT_EQ(shown(L"1234,5", 3), L"1.234,50");
  EXPECT_EQ(shown(-2.5, 3), L"-2,50");
}

TEST_F(ValueToText, DatesAndTimesHaveTheirFixedFormats) {
  const Date date = moment(2026, 11, 12, 7, 5, 9);
  EXPECT_EQ(shown(date, 4), L"12-11-2026");
  EXPECT_EQ(shown(date, 5), L"07:05");
  EXPECT_EQ(shown(date, 6), L"12/11/2026 07:05:09");
  EXPECT_EQ(shown(L"2/1/2026", 4), L"02-01-2026");
  EXPECT_EQ(shown(0.75, 5), L"18:00");
}

TEST_F(ValueToText, TextsAreTrimmedButPasswordsAreNot) {
  EXPECT_EQ(shown(L" a ", 0), L"a");
  EXPECT_EQ(shown(L" a ", 15), L"a");
  EXPECT_EQ(shown(L" a ", 7), L" a ");
  EXPECT_EQ(shown(L" año ", 8), L"AÑO");
}

TEST_F(ValueToText, NumbersAreWrittenByTheRegionalRules) {
  EXPECT_EQ(shown(std::int32_t{-42}, 1), L"-42");
  EXPECT_EQ(shown(1.5F, 2), L"1,5");
  EXPECT_EQ(shown(std::int32_t{7}, 13), L"7");
}

TEST_F(ValueToText, DurationsDayTimesAndHoursAreMinutes) {
  EXPECT_EQ(shown(std::int32_t{-30}, 10), L"-0:30");
  EXPECT_EQ(shown(std::int32_t{-30}, 14), L"-23:30");
  EXPECT_EQ(shown(90.0, 11), L"1,5");
}

TEST_F(ValueToText, TrueIsSi) {
  EXPECT_EQ(shown(true, 12), L"Si");
  EXPECT_EQ(shown(false, 12), L"No");
  EXPECT_EQ(shown(std::int16_t{-1}, 12), L"Si");
}

TEST_F(ValueToText, WhatTextToValueReadsIsShownAsItWasWritten) {
  const std::vector<std::pair<int, std::wstring>> canonical = {
      {0, L"texto"},
      {1, L"-15"},
      {2, L"3,25"},
      {3, L"1.234,50"},
      {4, L"29-02-2024"},
      {5, L"23:45"},
      {6, L"16/11/2026 10:30:15"},
      {7, L" clave "},
      {8, L"ÑANDÚ"},
      {9, L"2147483647"},
      {10, L"-1:30"},
      {13, L"0"},
      {14, L"+1:00"},
  };
  for (const auto& [type, text] : canonical) EXPECT_EQ(shown(valued(type, text), type), text) << type;
}

TEST_F(Helpers, NzValueReplacesEmptyAndNull) {
  EXPECT_EQ(NzValue(Empty{}, L"x"), Value(L"x"));
  EXPECT_EQ(NzValue(Null{}, L"x"), Value(L"x"));
  EXPECT_EQ(NzValue(std::int16_t{0}, L"x"), Value(std::int16_t{0}));
}

TEST_F(Helpers, NonBlankValueReplacesZerosAndBlanksToo) {
  for (const Value& blank : {Value(Empty{}), Value(Null{}), Value(std::int32_t{0}), Value(0.0), Value(L"  ")}) {
    EXPECT_EQ(NonBlankValue(blank, L"x"), Value(L"x"));
  }
  EXPECT_EQ(NonBlankValue(std::int32_t{3}, L"x"), Value(std::int32_t{3}));
  EXPECT_EQ(NonBlankValue(L"a", L"x"), Value(L"a"));
}

TEST_F(Helpers, ListFieldCountsFromOne) {
  EXPECT_EQ(general_.ListField(1, L"a;b;c", L";"), L"a");
  EXPECT_EQ(general_.ListField(3, L"a;b;c", L";"), L"c");
  EXPECT_EQ(general_.ListField(2, L"a;;c", L";"), L"");
  EXPECT_EQ(general_.ListField(2, L"uno y dos Y tres", L" Y "), L"dos");
}

TEST_F(Helpers, ListFieldGivesNothingOutsideTheList) {
  for (const std::int32_t n : {-1, 0, 4, 2147483647}) EXPECT_EQ(general_.ListField(n, L"a;b;c", L";"), L"");
  EXPECT_EQ(general_.ListField(1, L"", L";"), L"");
  EXPECT_EQ(general_.ListField(1, L"abc", L""), L"abc");
}

TEST_F(Helpers, SplitIntegersReadsTheNumberOfEachPiece) {
  EXPECT_EQ(general_.SplitIntegers(L"100;-2;x;7cm", L";"), (std::vector<std::int16_t>{100, -2, 0, 7}));
  EXPECT_EQ(general_.SplitIntegers(L"40000;2.5;3.5", L";"), (std::vector<std::int16_t>{0, 2, 4}));
  EXPECT_TRUE(general_.SplitIntegers(L"", L";").empty());
}

TEST_F(Helpers, SafeUBoundOfAnArrayWithoutElementsIsMinusOne) {
  EXPECT_EQ(SafeUBound(std::vector<int>{}, 1), -1);
  EXPECT_EQ(SafeUBound(std::vector<std::vector<int>>{{}, {}}, 1), -1);
  EXPECT_EQ(SafeUBound(std::vector<int>{5, 6, 7}, 1), 2);
  const std::vector<std::vector<Value>> table{{L"a", L"b"}, {L"c", L"d"}, {L"e", L"f"}};
  EXPECT_EQ(SafeUBound(table, 1), 2);
  EXPECT_EQ(SafeUBound(table, 2), 1);
  EXPECT_EQ(SafeUBound(table, 3), -1);
  EXPECT_EQ(SafeUBound(table, 0), -1);
}

TEST_F(Helpers, SumArrayAddsEveryElement) {
  EXPECT_EQ(SumArray(std::vector<std::int16_t>{30000, 30000, -1}), 59999);
  EXPECT_EQ(SumArray(std::vector<std::vector<int>>{{1, 2}, {3, 4}}), 10);
  EXPECT_EQ(SumArray(std::vector<Value>{L"10", std::int32_t{5}, Empty{}}), 15);
  EXPECT_EQ(SumArray(std::vector<int>{}), 0);
  EXPECT_EQ(SumArray(std::vector<std::int32_t>{2147483647, 1}), 0);
}

TEST_F(Helpers, ClampValueKeepsAValueWithinItsBounds) {
  EXPECT_EQ(ClampValue(5, 0, 9), 5);
  EXPECT_EQ(ClampValue(-1, 0, 9), 0);
  EXPECT_EQ(ClampValue(10, 0, 9), 9);
  EXPECT_EQ(ClampValue(3, 5, -1), 5);  // no rows: the lower bound comes first
}

TEST_F(Helpers, CodeOfItemIsWhatStandsBeforeTheHyphen) {
  EXPECT_EQ(MGeneral::CodeOfItem(L" 12 - Sevilla - Sur"), L"12");
  EXPECT_EQ(MGeneral::CodeOfItem(L"12 -Sevilla"), L"12");
  EXPECT_EQ(MGeneral::CodeOfItem(L"1 -2 - 3"), L"1 -2");
  EXPECT_EQ(MGeneral::CodeOfItem(L"12-Sevilla"), L"12-Sevilla");
  EXPECT_EQ(MGeneral::CodeOfItem(L""), L"");
}

TEST_F(Helpers, SendKeyTypesTheKeyWithOrWithoutShift) {
  general_.SendKey(9, false);
  general_.SendKey(9, true);
  EXPECT_EQ(fakes_.keyboard.sent, (std::vector<std::pair<std::uint8_t, bool>>{{9, false}, {9, true}}));
}

TEST_F(Helpers, RoundingToWholeNumbersStopsAtTheirRange) {
  std::int32_t result = 77;
  EXPECT_FALSE(roundToInt32(2147483647.5, result));
  EXPECT_FALSE(roundToInt32(std::numeric_limits<double>::quiet_NaN(), result));
  EXPECT_FALSE(roundToInt32(std::numeric_limits<double>::infinity(), result));
  EXPECT_EQ(result, 77);
  EXPECT_TRUE(roundToInt32(-2147483648.5, result));
  EXPECT_EQ(result, std::numeric_limits<std::int32_t>::min());
}

}  // namespace
}  // namespace qev
