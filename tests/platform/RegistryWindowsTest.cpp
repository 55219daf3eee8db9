// The registry of the machine: what is written, what stands there by other hands, and what does not.
#include "platform/SystemServices.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "platform/AutomationError.h"
#include "platform/Handle.h"
#include "support/ErrorOf.h"

namespace qev::test {
namespace {

constexpr wchar_t kKey[] = L"Software\\QevBackupTest";
constexpr std::uint32_t kCurrentUser = 0x80000001;

class RegistryWindowsTest : public testing::Test {
 protected:
  RegistryWindowsTest() { removeKeys(); }
  ~RegistryWindowsTest() override { removeKeys(); }

  static void removeKeys() {
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, kKey);
    RegDeleteTreeW(HKEY_CURRENT_USER, kKey);
  }

  Value read(const wchar_t* name) const { return registry.read(kKey, name, kLocalMachine); }
  void write(const wchar_t* name, const Value& value) { registry.write(kKey, name, kLocalMachine, value); }

  Value afterWriting(const Value& value) {
    write(L"Valor", value);
    return read(L"Valor");
  }

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

  RegistryWindows registry;
};

// --- What is written reads back ---

TEST_F(RegistryWindowsTest, TextReadsBackWithEveryLetter) {
  const std::wstring text = L"Última copia: año, ¿señor? \u20AC \u65E5\u672C\r\n\tlínea";
  EXPECT_EQ(afterWriting(text), Value(text));
  EXPECT_EQ(storedType(L"Valor"), DWORD{REG_SZ});
}

TEST_F(RegistryWindowsTest, EmptyTextReadsBackAsEmptyTextAndNotAsNoValue) {
  EXPECT_EQ(afterWriting(std::wstring()), Value(std::wstring()));
}

TEST_F(RegistryWindowsTest, AnEmptyValueIsKeptAsEmptyText) {
  EXPECT_EQ(afterWriting(Empty{}), Value(std::wstring()));
}

TEST_F(RegistryWindowsTest, IntegersOfEverySizeReadBackAs32BitIntegers) {
  EXPECT_EQ(afterWriting(std::uint8_t{255}), Value(std::int32_t{255}));
  EXPECT_EQ(afterWriting(std::int16_t{-1}), Value(std::int32_t{-1}));
  EXPECT_EQ(afterWriting(std::int16_t{32767}), Value(std::int32_t{32767}));
  EXPECT_EQ(afterWriting(std::int32_t{-2147483647 - 1}), Value(std::int32_t{-2147483647 - 1}));
  EXPECT_EQ(afterWriting(std::int32_t{0}), Value(std::int32_t{0}));
  EXPECT_EQ(storedType(L"Valor"), DWORD{REG_DWORD});
}

TEST_F(RegistryWindowsTest, BooleansReadBackAsMinusOneAndZero) {
  EXPECT_EQ(afterWriting(true), Value(std::int32_t{-1}));
  EXPECT_EQ(afterWriting(false), Value(std::int32_t{0}));
}

TEST_F(RegistryWindowsTest, OtherTypesAreKeptAsTheirRegionalText) {
  EXPECT_EQ(afterWriting(1.5), Value(std::wstring(L"1,5")));
  EXPECT_EQ(afterWriting(Currency{12'3400}), Value(std::wstring(L"12,34")));
  EXPECT_EQ(afterWriting(Date{46342}), Value(std::wstring(L"16/11/2026")));
}

TEST_F(RegistryWindowsTest, ANullValueIs13AndTheOldValueStays) {
  write(L"Valor", std::wstring(L"antes"));
  EXPECT_EQ(numberOf([this] { write(L"Valor", Null{}); }), 13);
  EXPECT_EQ(read(L"Valor"), Value(std::wstring(L"antes")));
}

TEST_F(RegistryWindowsTest, TextTwoAndNumberTwoAreToldApart) {
  write(L"Texto", std::wstring(L"2"));
  write(L"Numero", std::int32_t{2});
  EXPECT_EQ(read(L"Texto"), Value(std::wstring(L"2")));
  EXPECT_EQ(read(L"Numero"), Value(std::int32_t{2}));
  EXPECT_EQ(numericValue(read(L"Texto")), numericValue(read(L"Numero")));
}

TEST_F(RegistryWindowsTest, AValueTakesThePlaceOfOneOfAnotherType) {
  write(L"Valor", std::wstring(L"siete"));
  write(L"Valor", std::int16_t{7});
  EXPECT_EQ(read(L"Valor"), Value(std::int32_t{7}));
  write(L"Valor", std::wstring(L"siete"));
  EXPECT_EQ(read(L"Valor"), Value(std::wstring(L"siete")));
}

TEST_F(RegistryWindowsTest, TextOfAnyLengthReadsBackWhole) {
  for (const std::size_t length : {126u, 127u, 128u, 129u, 5'000u, 100'000u}) {
    const std::wstring text(length, L'ñ');
    EXPECT_EQ(afterWriting(text), Value(text)) << length;
  }
}

TEST_F(RegistryWindowsTest, NamesAreTheSameInAnyLetterCase) {
  write(L"UltimaCopia", std::wstring(L"hoy"));
  EXPECT_EQ(read(L"ULTIMACOPIA"), Value(std::wstring(L"hoy")));
  EXPECT_EQ(registry.read(L"SOFTWARE\\qevbackuptest", L"ultimacopia", kLocalMachine), Value(std::wstring(L"hoy")));
}

// --- Keys ---

TEST_F(RegistryWindowsTest, WritingCreatesTheKeyAndThoseAboveIt) {
  const std::wstring deep = std::wstring(kKey) + L"\\Año\\Uno\\Dos";
  registry.write(deep, L"Valor", kLocalMachine, std::wstring(L"hondo"));
  EXPECT_EQ(registry.read(deep, L"Valor", kLocalMachine), Value(std::wstring(L"hondo")));
}

TEST_F(RegistryWindowsTest, AMissingKeyReadsAsEmptyAndReadingDoesNotMakeIt) {
  EXPECT_EQ(read(L"Valor"), Value{});
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, kKey, 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryWindowsTest, AMissingPathOfKeysReadsAsEmpty) {
  EXPECT_EQ(registry.read(L"Software\\QevBackupTest\\No\\Está", L"Valor", kLocalMachine), Value{});
}

TEST_F(RegistryWindowsTest, AMissingNameInAKeyThatExistsReadsAsEmpty) {
  write(L"Otro", std::int32_t{1});
  EXPECT_EQ(read(L"Valor"), Value{});
}

TEST_F(RegistryWindowsTest, AnEmptyKeyPathIsTheRootAndReadsAsEmptyForANameThatItLacks) {
  EXPECT_EQ(registry.read(L"", L"QevBackupTestValor", kLocalMachine), Value{});
}

TEST_F(RegistryWindowsTest, TheRootIsTheOneThatIsNamed) {
  registry.write(kKey, L"Valor", kCurrentUser, std::wstring(L"del usuario"));
  EXPECT_EQ(read(L"Valor"), Value{});
  EXPECT_EQ(registry.read(kKey, L"Valor", kCurrentUser), Value(std::wstring(L"del usuario")));
}

TEST_F(RegistryWindowsTest, ARootThatIsNoneIsAnErrorOfReadingAndOfWriting) {
  EXPECT_THROW(registry.read(kKey, L"Valor", 0x12345), AutomationError);
  EXPECT_THROW(registry.write(kKey, L"Valor", 0x12345, std::int32_t{1}), AutomationError);
}

// --- What other programs have stored ---

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
  store(L"Largo", REG_QWORD, &number, sizeof number);
  store(L"Nada", REG_NONE, &number, 4);
  for (const wchar_t* name : {L"Binario", L"Lista", L"Largo", L"Nada"}) EXPECT_EQ(readError(name), 13);
}

TEST_F(RegistryWindowsTest, ANumberThatDoesNotHave32BitsIs13) {
  const std::uint64_t number = 2;
  store(L"Corto", REG_DWORD, &number, 2);
  store(L"Vacio", REG_DWORD, &number, 0);
  EXPECT_EQ(readError(L"Corto"), 13);
  EXPECT_EQ(readError(L"Vacio"), 13);
}

}  // namespace
}  // namespace qev::test
