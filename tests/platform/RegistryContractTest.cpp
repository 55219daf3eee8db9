// What is written to a registry reads back, from that of the machine as from the one in memory that tests use; and what
// other programs have stored in that of the machine.
#include "platform/Platform.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "platform/AutomationError.h"
#include "settings/SettingsStore.h"
#include "support/ErrorOf.h"
#include "support/FakePlatform.h"
#ifdef _WIN32
#include "platform/Handle.h"
#include "platform/SystemServices.h"
#endif

namespace qev::test {
namespace {

constexpr wchar_t kKey[] = L"Software\\QevBackupTest";
constexpr std::uint32_t kCurrentUser = 0x80000001;

template <typename Kept>
class RegistryContract : public testing::Test {
 protected:
  Value read(const wchar_t* name) const { return registry.read(kKey, name, kLocalMachine); }
  void write(const wchar_t* name, const Value& value) { registry.write(kKey, name, kLocalMachine, value); }

  Value afterWriting(const Value& value) {
    write(L"Valor", value);
    return read(L"Valor");
  }

  Kept registry;
};

#ifdef _WIN32
// The machine's, with the key of these tests gone before and after.
struct SystemRegistry : RegistryWindows {
  SystemRegistry() { removeKeys(); }
  ~SystemRegistry() override { removeKeys(); }
  static void removeKeys() {
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, kKey);
    RegDeleteTreeW(HKEY_CURRENT_USER, kKey);
  }
};
using Registries = testing::Types<FakeRegistry, SystemRegistry>;
#else
using Registries = testing::Types<FakeRegistry>;
#endif
TYPED_TEST_SUITE(RegistryContract, Registries);

// --- What is written reads back ---

TYPED_TEST(RegistryContract, TextReadsBackWithEveryLetter) {
  const std::wstring text = L"Última copia: año, ¿señor? \u20AC \u65E5\u672C\r\n\tlínea";
  EXPECT_EQ(this->afterWriting(text), Value(text));
}

TYPED_TEST(RegistryContract, EmptyTextReadsBackAsEmptyTextAndNotAsNoValue) {
  EXPECT_EQ(this->afterWriting(std::wstring()), Value(std::wstring()));
}

TYPED_TEST(RegistryContract, AnEmptyValueIsKeptAsEmptyText) {
  EXPECT_EQ(this->afterWriting(Empty{}), Value(std::wstring()));
}

TYPED_TEST(RegistryContract, IntegersOfEverySizeReadBackAs32BitIntegers) {
  EXPECT_EQ(this->afterWriting(std::uint8_t{255}), Value(std::int32_t{255}));
  EXPECT_EQ(this->afterWriting(std::int16_t{-1}), Value(std::int32_t{-1}));
  EXPECT_EQ(this->afterWriting(std::int16_t{32767}), Value(std::int32_t{32767}));
  EXPECT_EQ(this->afterWriting(std::int32_t{-2147483647 - 1}), Value(std::int32_t{-2147483647 - 1}));
  EXPECT_EQ(this->afterWriting(std::int32_t{0}), Value(std::int32_t{0}));
}

TYPED_TEST(RegistryContract, BooleansReadBackAsMinusOneAndZero) {
  EXPECT_EQ(this->afterWriting(true), Value(std::int32_t{-1}));
  EXPECT_EQ(this->afterWriting(false), Value(std::int32_t{0}));
}

TYPED_TEST(RegistryContract, OtherTypesAreKeptAsTheirRegionalText) {
  EXPECT_EQ(this->afterWriting(1.5), Value(std::wstring(L"1,5")));
  EXPECT_EQ(this->afterWriting(Currency{12'3400}), Value(std::wstring(L"12,34")));
  EXPECT_EQ(this->afterWriting(Date{46342}), Value(std::wstring(L"16/11/2026")));
}

TYPED_TEST(RegistryContract, ANullValueIs13AndTheOldValueStays) {
  this->write(L"Valor", std::wstring(L"antes"));
  EXPECT_EQ(numberOf([&] { this->write(L"Valor", Null{}); }), 13);
  EXPECT_EQ(this->read(L"Valor"), Value(std::wstring(L"antes")));
}

TYPED_TEST(RegistryContract, TextTwoAndNumberTwoAreToldApart) {
  this->write(L"Texto", std::wstring(L"2"));
  this->write(L"Numero", std::int32_t{2});
  EXPECT_EQ(this->read(L"Texto"), Value(std::wstring(L"2")));
  EXPECT_EQ(this->read(L"Numero"), Value(std::int32_t{2}));
  EXPECT_EQ(numericValue(this->read(L"Texto")), numericValue(this->read(L"Numero")));
}

TYPED_TEST(RegistryContract, AValueTakesThePlaceOfOneOfAnotherType) {
  this->write(L"Valor", std::wstring(L"siete"));
  this->write(L"Valor", std::int16_t{7});
  EXPECT_EQ(this->read(L"Valor"), Value(std::int32_t{7}));
  this->write(L"Valor", std::wstring(L"siete"));
  EXPECT_EQ(this->read(L"Valor"), Value(std::wstring(L"siete")));
}

TYPED_TEST(RegistryContract, TextOfAnyLengthReadsBackWhole) {
  for (const std::size_t length : {126u, 127u, 128u, 129u, 5'000u, 100'000u}) {
    const std::wstring text(length, L'ñ');
    EXPECT_EQ(this->afterWriting(text), Value(text)) << length;
  }
}

TYPED_TEST(RegistryContract, NamesAreTheSameInAnyLetterCase) {
  this->write(L"UltimaCopia", std::wstring(L"hoy"));
  EXPECT_EQ(this->read(L"ULTIMACOPIA"), Value(std::wstring(L"hoy")));
  EXPECT_EQ(this->registry.read(L"SOFTWARE\\qevbackuptest", L"ultimacopia", kLocalMachine),
            Value(std::wstring(L"hoy")));
}

// --- Keys ---

TYPED_TEST(RegistryContract, WritingCreatesTheKeyAndThoseAboveIt) {
  const std::wstring deep = std::wstring(kKey) + L"\\Año\\Uno\\Dos";
  this->registry.write(deep, L"Valor", kLocalMachine, std::wstring(L"hondo"));
  EXPECT_EQ(this->registry.read(deep, L"Valor", kLocalMachine), Value(std::wstring(L"hondo")));
}

TYPED_TEST(RegistryContract, AMissingPathOfKeysReadsAsEmpty) {
  EXPECT_EQ(this->registry.read(L"Software\\QevBackupTest\\No\\Está", L"Valor", kLocalMachine), Value{});
}

TYPED_TEST(RegistryContract, AMissingNameInAKeyThatExistsReadsAsEmpty) {
  this->write(L"Otro", std::int32_t{1});
  EXPECT_EQ(this->read(L"Valor"), Value{});
}

TYPED_TEST(RegistryContract, AnEmptyKeyPathIsTheRootAndReadsAsEmptyForANameThatItLacks) {
  EXPECT_EQ(this->registry.read(L"", L"QevBackupTestValor", kLocalMachine), Value{});
}

TYPED_TEST(RegistryContract, TheRootIsTheOneThatIsNamed) {
  this->registry.write(kKey, L"Valor", kCurrentUser, std::wstring(L"del usuario"));
  EXPECT_EQ(this->read(L"Valor"), Value{});
  EXPECT_EQ(this->registry.read(kKey, L"Valor", kCurrentUser), Value(std::wstring(L"del usuario")));
}

TYPED_TEST(RegistryContract, ARootThatIsNoneIsAnErrorOfReadingAndOfWriting) {
  EXPECT_EQ(numberOf([&] { this->registry.read(kKey, L"Valor", 0x12345); }), 57);
  EXPECT_EQ(numberOf([&] { this->registry.write(kKey, L"Valor", 0x12345, std::int32_t{1}); }), 57);
}

#ifdef _WIN32
// --- The registry of the machine ---

class RegistryWindowsTest : public RegistryContract<SystemRegistry> {
 protected:
  // The number of the error that reading a value throws, 0 when it throws none.
  std::int32_t readError(const wchar_t* name) const {
    try {
      read(name);
      return 0;
    } catch (const AutomationError& error) {
      EXPECT_NE(error.description().find(name), std::wstring::npos) << "the description does not name the value";
      return error.number();
    }
  }

  // Stores bytes as another program would.
  static void store(const wchar_t* name, DWORD type, const void* bytes, std::size_t size) {
    HKEY opened = nullptr;
    ASSERT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, kKey, 0, nullptr, 0, KEY_SET_VALUE, nullptr, &opened, nullptr),
              ERROR_SUCCESS);
    const UniqueKey key(opened);
    ASSERT_EQ(RegSetValueExW(key.get(), name, 0, type, static_cast<const BYTE*>(bytes), static_cast<DWORD>(size)),
              ERROR_SUCCESS);
  }

  // The type under which a value is stored; nothing when there is none.
  static std::optional<DWORD> storedType(const wchar_t* name) {
    DWORD type = 0;
    if (RegGetValueW(HKEY_LOCAL_MACHINE, kKey, name, RRF_RT_ANY | RRF_NOEXPAND, &type, nullptr, nullptr) !=
        ERROR_SUCCESS) {
      return std::nullopt;
    }
    return type;
  }
};

// --- What other programs have stored ---

TEST_F(RegistryWindowsTest, NumbersAndTextsHaveTheirTypes) {
  write(L"Numero", std::uint8_t{255});
  write(L"Verdad", true);
  write(L"Texto", std::wstring(L"2"));
  write(L"Importe", Currency{12'3400});
  EXPECT_EQ(storedType(L"Numero"), DWORD{REG_DWORD});
  EXPECT_EQ(storedType(L"Verdad"), DWORD{REG_DWORD});
  EXPECT_EQ(storedType(L"Texto"), DWORD{REG_SZ});
  EXPECT_EQ(storedType(L"Importe"), DWORD{REG_SZ});
}

TEST_F(RegistryWindowsTest, ReadingDoesNotMakeAKey) {
  EXPECT_EQ(read(L"Valor"), Value{});
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, kKey, 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryWindowsTest, TextWithVariablesComesWithTheirValues) {
  SetEnvironmentVariableW(L"QevBackupTest", L"C:\\Año");
  const wchar_t text[] = L"%QevBackupTest%\\Datos\\ y %NoExisteEsta%";
  store(L"Valor", REG_EXPAND_SZ, text, sizeof text);
  EXPECT_EQ(read(L"Valor"), Value(std::wstring(L"C:\\Año\\Datos\\ y %NoExisteEsta%")));
  SetEnvironmentVariableW(L"QevBackupTest", nullptr);
}

TEST_F(RegistryWindowsTest, VariablesInPlainTextAreLeftAlone) {
  write(L"Valor", std::wstring(L"%PATH%"));
  EXPECT_EQ(read(L"Valor"), Value(std::wstring(L"%PATH%")));
}

TEST_F(RegistryWindowsTest, TextWithoutItsEndingZeroIsTakenWhole) {
  store(L"Valor", REG_SZ, L"C:\\Datos\\", 9 * sizeof(wchar_t));
  EXPECT_EQ(read(L"Valor"), Value(std::wstring(L"C:\\Datos\\")));
  const std::wstring filling(128, L'x');  // as many bytes as the first buffer has
  store(L"Valor", REG_SZ, filling.data(), filling.size() * sizeof(wchar_t));
  EXPECT_EQ(read(L"Valor"), Value(filling));
}

TEST_F(RegistryWindowsTest, TextEndsAtItsFirstZero) {
  const wchar_t text[] = L"uno\0dos";
  store(L"Valor", REG_SZ, text, sizeof text);
  EXPECT_EQ(read(L"Valor"), Value(std::wstring(L"uno")));
}

TEST_F(RegistryWindowsTest, TextOfAnOddNumberOfBytesLosesTheHalfLetter) {
  store(L"Valor", REG_SZ, L"abc", 5);
  EXPECT_EQ(read(L"Valor"), Value(std::wstring(L"ab")));
}

TEST_F(RegistryWindowsTest, TextOfNoBytesIsEmptyText) {
  store(L"Valor", REG_SZ, L"", 0);
  EXPECT_EQ(read(L"Valor"), Value(std::wstring()));
}

TEST_F(RegistryWindowsTest, ValuesOfOtherTypesAre13) {
  const std::uint64_t number = 2;
  store(L"Binario", REG_BINARY, &number, 4);
  store(L"Lista", REG_MULTI_SZ, L"uno\0", 10);
  store(L"Nada", REG_NONE, &number, 4);
  for (const wchar_t* name : {L"Binario", L"Lista", L"Nada"}) EXPECT_EQ(readError(name), 13);
}

TEST_F(RegistryWindowsTest, NumbersOf64BitsAreIntegersOf32WhereTheyFitAndDoublesElsewhere) {
  const auto read64 = [&](std::int64_t number) {
    store(L"Largo", REG_QWORD, &number, sizeof number);
    return read(L"Largo");
  };
  EXPECT_EQ(read64(0), Value(std::int32_t{0}));
  EXPECT_EQ(read64(2), Value(std::int32_t{2}));
  EXPECT_EQ(read64(-1), Value(std::int32_t{-1}));
  EXPECT_EQ(read64(2147483647), Value(std::int32_t{2147483647}));
  EXPECT_EQ(read64(2147483648), Value(2147483648.0));
  EXPECT_EQ(read64(std::int64_t{1} << 40), Value(1099511627776.0));
}

// What a host's set-up or an administrator may have written.
TEST_F(RegistryWindowsTest, SafeModeIsAskedForByAnyTypeAndNotTurnedOffByOneThatCannotBeRead) {
  const std::wstring key = kKey;
  const SettingsStore settings(registry, key);
  const std::uint64_t one = 1, none = 0;
  EXPECT_FALSE(settings.safeMode()) << "no key";
  const auto stored = [&](DWORD type, const void* bytes, std::size_t size) {
    store(L"Verificar", type, bytes, size);
    return settings.safeMode();
  };
  EXPECT_TRUE(stored(REG_DWORD, &one, 4));
  EXPECT_FALSE(stored(REG_DWORD, &none, 4));
  EXPECT_TRUE(stored(REG_QWORD, &one, 8));
  EXPECT_FALSE(stored(REG_QWORD, &none, 8));
  EXPECT_TRUE(stored(REG_SZ, L"Sí", sizeof L"Sí"));
  EXPECT_FALSE(stored(REG_SZ, L"No", sizeof L"No"));
  EXPECT_FALSE(stored(REG_SZ, L"", 0));
  EXPECT_TRUE(stored(REG_EXPAND_SZ, L"1", sizeof L"1"));
  for (const DWORD type : {REG_BINARY, REG_NONE, REG_MULTI_SZ}) EXPECT_TRUE(stored(type, &none, 4)) << type;
  EXPECT_TRUE(stored(REG_DWORD, &none, 2)) << "half a number";
  EXPECT_TRUE(stored(REG_QWORD, &none, 4)) << "half a number";
}

TEST_F(RegistryWindowsTest, ANumberThatDoesNotHaveItsBitsIs13) {
  const std::uint64_t number = 2;
  store(L"Corto", REG_DWORD, &number, 2);
  store(L"Vacio", REG_DWORD, &number, 0);
  store(L"Medio", REG_QWORD, &number, 4);
  EXPECT_EQ(readError(L"Corto"), 13);
  EXPECT_EQ(readError(L"Medio"), 13);
  EXPECT_EQ(readError(L"Vacio"), 13);
}
#endif

}  // namespace
}  // namespace qev::test
