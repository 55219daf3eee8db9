#include "settings/SettingsStore.h"

#include <gtest/gtest.h>

#include "platform/AutomationError.h"
#include "support/FakePlatform.h"

namespace qev::test {
namespace {

Value text(const wchar_t* value) {
  return std::wstring(value);
}

class SettingsStoreTest : public testing::Test {
 protected:
  // What is read under the strict rule, with "otro" as the default, when `stored` is stored.
  Value strict(const Value& stored) {
    registry.put(key, L"Valor", stored);
    return settings.readStrict(L"Valor", text(L"otro"));
  }

  Value plain(const Value& stored) {
    registry.put(key, L"Valor", stored);
    return settings.readPlain(L"Valor", text(L"otro"));
  }

  FakeRegistry registry;
  std::wstring key = L"SOFTWARE\\Gestion";
  SettingsStore settings{registry, key};
};

TEST_F(SettingsStoreTest, AnAbsentValueReadsAsEmpty) {
  EXPECT_EQ(settings.read(L"Estado"), Value{});
}

TEST_F(SettingsStoreTest, WhatIsWrittenReadsBack) {
  settings.write(L"Estado", text(L"Última copia"));
  settings.write(L"NCopias", std::int16_t{7});
  settings.write(L"Copia", std::uint8_t{2});
  EXPECT_EQ(settings.read(L"Estado"), text(L"Última copia"));
  EXPECT_EQ(numericValue(settings.read(L"NCopias")), 7);
  EXPECT_EQ(numericValue(settings.read(L"Copia")), 2);
}

TEST_F(SettingsStoreTest, ValueNamesAreTheSameInAnyLetterCase) {
  settings.write(L"DMes", std::int16_t{15});
  EXPECT_EQ(numericValue(settings.read(L"Dmes")), 15);
}

TEST_F(SettingsStoreTest, TheHostMayNameAnotherKeyAtAnyTime) {
  settings.write(L"Estado", text(L"uno"));
  key = L"SOFTWARE\\Otro";
  EXPECT_EQ(settings.read(L"Estado"), Value{});
  settings.write(L"Estado", text(L"dos"));
  key = L"SOFTWARE\\Gestion";
  EXPECT_EQ(settings.read(L"Estado"), text(L"uno"));
}

TEST_F(SettingsStoreTest, ThePlainRuleTakesTheDefaultForEmptyAndNullOnly) {
  EXPECT_EQ(plain(Value{}), text(L"otro"));
  EXPECT_EQ(plain(Null{}), text(L"otro"));
  EXPECT_EQ(plain(0), Value{0});
  EXPECT_EQ(plain(text(L"")), text(L""));
  EXPECT_EQ(plain(text(L"0")), text(L"0"));
}

TEST_F(SettingsStoreTest, TheStrictRuleTakesTheDefaultForZeroAndBlankTextToo) {
  EXPECT_EQ(strict(Value{}), text(L"otro"));
  EXPECT_EQ(strict(Null{}), text(L"otro"));
  EXPECT_EQ(strict(0), text(L"otro"));
  EXPECT_EQ(strict(text(L"0")), text(L"otro"));
  EXPECT_EQ(strict(text(L" 0 ")), text(L"otro"));
  EXPECT_EQ(strict(text(L"")), text(L"otro"));
  EXPECT_EQ(strict(text(L"   ")), text(L"otro"));
}

TEST_F(SettingsStoreTest, TheStrictRuleKeepsEverythingElse) {
  EXPECT_EQ(strict(1), Value{1});
  EXPECT_EQ(strict(-1), Value{-1});
  EXPECT_EQ(strict(text(L"NNNNNNN")), text(L"NNNNNNN"));
  EXPECT_EQ(strict(text(L"00:00")), text(L"00:00"));
  EXPECT_EQ(strict(text(L"0 dias")), text(L"0 dias"));
  EXPECT_EQ(strict(text(L"C:\\")), text(L"C:\\"));
}

TEST_F(SettingsStoreTest, ErrorsOfTheRegistryReachTheCaller) {
  registry.readError = kPermissionDenied;
  EXPECT_THROW(settings.read(L"Estado"), AutomationError);
  EXPECT_THROW(settings.readPlain(L"Estado", 1), AutomationError);
  EXPECT_THROW(settings.readStrict(L"Estado", 1), AutomationError);
  registry.writeError = kPermissionDenied;
  EXPECT_THROW(settings.write(L"Estado", 1), AutomationError);
}

TEST_F(SettingsStoreTest, SafeModeIsOffWhereNobodyAsksForItOrSaysNo) {
  EXPECT_FALSE(settings.safeMode()) << "absent";
  for (const Value& off : {Value{}, Value{Null{}}, Value{0}, Value{std::int16_t{0}}, Value{0.0}, Value{false}}) {
    registry.put(key, L"Verificar", off);
    EXPECT_FALSE(settings.safeMode());
  }
  for (const wchar_t* off : {L"", L"  ", L"0", L" 0 ", L"0.0", L"00", L"no", L"NO", L" No ", L"N", L"n", L"False",
                             L"FALSE", L"false", L"Falso", L"falso"}) {
    registry.put(key, L"Verificar", text(off));
    EXPECT_FALSE(settings.safeMode()) << ::testing::PrintToString(std::wstring(off));
  }
}

TEST_F(SettingsStoreTest, SafeModeIsOnForEveryOtherValue) {
  for (const Value& on :
       {Value{1}, Value{std::int16_t{1}}, Value{-1}, Value{2}, Value{4294967296.0}, Value{0.5}, Value{true}}) {
    registry.put(key, L"Verificar", on);
    EXPECT_TRUE(settings.safeMode());
  }
  for (const wchar_t* on :
       {L"1",    L" 1 ",  L"-1",   L"sí",        L"Sí",        L"SÍ",  L"si", L"SI",     L"S",     L"s",
        L"True", L"TRUE", L"true", L"verdadero", L"Verdadero", L"yes", L"on", L"0 días", L"nunca", L"abc"}) {
    registry.put(key, L"Verificar", text(on));
    EXPECT_TRUE(settings.safeMode()) << ::testing::PrintToString(std::wstring(on));
  }
}

TEST_F(SettingsStoreTest, ASettingThatCannotBeReadDoesNotTurnSafeModeOff) {
  for (const ErrorNumber error : {kPermissionDenied, kTypeMismatch, kDeviceInputOutput}) {
    registry.readError = error;
    EXPECT_TRUE(settings.safeMode()) << error;
  }
}

}  // namespace
}  // namespace qev::test
