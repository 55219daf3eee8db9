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

TEST_F(SettingsStoreTest, SafeModeIsAskedForByANumberThatIsNotZeroAndByNothingElse) {
  EXPECT_FALSE(settings.safeMode()) << "absent";
  for (const Value& off : {Value{}, Value{Null{}}, Value{0}, text(L"0"), text(L""), text(L"abc")}) {
    registry.put(key, L"Verificar", off);
    EXPECT_FALSE(settings.safeMode());
  }
  for (const Value& on : {Value{1}, Value{std::int16_t{1}}, Value{-1}, text(L"1")}) {
    registry.put(key, L"Verificar", on);
    EXPECT_TRUE(settings.safeMode());
  }
  registry.readError = kPermissionDenied;
  EXPECT_FALSE(settings.safeMode()) << "settings that cannot be read ask for nothing";
}

}  // namespace
}  // namespace qev::test
