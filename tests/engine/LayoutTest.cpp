// The engines' records and calls as programs of their generation lay them out: every offset is written down here by
// hand, for both architectures, and compared with what the compiler makes of the headers. On x86 fields follow one
// another in steps of 4 bytes; on x64 addresses take 8 and start at a multiple of 8.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "Vanto5.h"
#include "Vanto6.h"

namespace {

struct Field {
  const char* name;
  std::size_t actual;
  std::size_t x86;
  std::size_t x64;
};

constexpr bool is64Bit = sizeof(void*) == 8;

void expectLayout(const std::vector<Field>& fields) {
  for (const Field& field : fields) EXPECT_EQ(field.actual, is64Bit ? field.x64 : field.x86) << field.name;
}

#define AT(record, field) #field, offsetof(record, field)

TEST(Layout, ZipCallbacksStandAsPrintPasswordComment) {
  expectLayout({{AT(ZIPUSERFUNCTIONS, print), 0, 0},
                {AT(ZIPUSERFUNCTIONS, password), 4, 8},
                {AT(ZIPUSERFUNCTIONS, comment), 8, 16},
                {"size", sizeof(ZIPUSERFUNCTIONS), 12, 24}});
}

TEST(Layout, ZipOptionsAre27FlagsALevelAndTwoTexts) {
  expectLayout({{AT(ZPOPT, fSuffix), 0, 0},
                {AT(ZPOPT, fEncrypt), 4, 4},
                {AT(ZPOPT, fSystem), 8, 8},
                {AT(ZPOPT, fVolume), 12, 12},
                {AT(ZPOPT, fExtra), 16, 16},
                {AT(ZPOPT, fNoDirEntries), 20, 20},
                {AT(ZPOPT, fExcludeDate), 24, 24},
                {AT(ZPOPT, fIncludeDate), 28, 28},
                {AT(ZPOPT, fVerbose), 32, 32},
                {AT(ZPOPT, fQuiet), 36, 36},
                {AT(ZPOPT, fCRLF_LF), 40, 40},
                {AT(ZPOPT, fLF_CRLF), 44, 44},
                {AT(ZPOPT, fJunkDir), 48, 48},
                {AT(ZPOPT, fRecurse), 52, 52},
                {AT(ZPOPT, fGrow), 56, 56},
                {AT(ZPOPT, fForce), 60, 60},
                {AT(ZPOPT, fMove), 64, 64},
                {AT(ZPOPT, fDeleteEntries), 68, 68},
                {AT(ZPOPT, fUpdate), 72, 72},
                {AT(ZPOPT, fFreshen), 76, 76},
                {AT(ZPOPT, fJunkSFX), 80, 80},
                {AT(ZPOPT, fLatestTime), 84, 84},
                {AT(ZPOPT, fComment), 88, 88},
                {AT(ZPOPT, fOffsets), 92, 92},
                {AT(ZPOPT, fPrivilege), 96, 96},
                {AT(ZPOPT, fEncryption), 100, 100},
                {AT(ZPOPT, fRepair), 104, 104},
                {AT(ZPOPT, fLevel), 108, 108},
                {AT(ZPOPT, Date), 112, 112},
                {AT(ZPOPT, szRootDir), 116, 120},
                {"size of ZPOPT", sizeof(ZPOPT), 120, 128}});
  EXPECT_EQ(sizeof(ZPOPT::fLevel), 1u);
}

TEST(Layout, UnzipOptionsAre15FlagsAndTwoTexts) {
  expectLayout({{AT(DCL, ExtractOnlyNewer), 0, 0},
                {AT(DCL, SpaceToUnderscore), 4, 4},
                {AT(DCL, PromptToOverwrite), 8, 8},
                {AT(DCL, fQuiet), 12, 12},
                {AT(DCL, ncflag), 16, 16},
                {AT(DCL, ntflag), 20, 20},
                {AT(DCL, nvflag), 24, 24},
                {AT(DCL, nUflag), 28, 28},
                {AT(DCL, nzflag), 32, 32},
                {AT(DCL, ndflag), 36, 36},
                {AT(DCL, noflag), 40, 40},
                {AT(DCL, naflag), 44, 44},
                {AT(DCL, nZIflag), 48, 48},
                {AT(DCL, C_flag), 52, 52},
                {AT(DCL, fPrivilege), 56, 56},
                {AT(DCL, lpszZipFN), 60, 64},
                {AT(DCL, lpszExtractDir), 64, 72},
                {"size of DCL", sizeof(DCL), 68, 80}});
}

TEST(Layout, UnzipCallbacksAreSixAddressesAndFiveTotals) {
  expectLayout({{AT(USERFUNCTION, print), 0, 0},
                {AT(USERFUNCTION, sound), 4, 8},
                {AT(USERFUNCTION, replace), 8, 16},
                {AT(USERFUNCTION, password), 12, 24},
                {AT(USERFUNCTION, SendApplicationMessage), 16, 32},
                {AT(USERFUNCTION, ServCallBk), 20, 40},
                {AT(USERFUNCTION, TotalSizeComp), 24, 48},
                {AT(USERFUNCTION, TotalSize), 28, 52},
                {AT(USERFUNCTION, CompFactor), 32, 56},
                {AT(USERFUNCTION, NumMembers), 36, 60},
                {AT(USERFUNCTION, cchComment), 40, 64},
                {"size", sizeof(USERFUNCTION), 44, 72}});
}

TEST(Layout, TheVersionRecordHas64BytesOnBoth) {
  expectLayout({{AT(UZPVER, structlen), 0, 0},
                {AT(UZPVER, flag), 4, 4},
                {AT(UZPVER, betalevel), 8, 8},
                {AT(UZPVER, date), 18, 18},
                {AT(UZPVER, zlib_version), 38, 38},
                {AT(UZPVER, unzip), 48, 48},
                {AT(UZPVER, zipinfo), 52, 52},
                {AT(UZPVER, os2dll), 56, 56},
                {AT(UZPVER, windll), 60, 60},
                {"size", sizeof(UZPVER), 64, 64}});
}

TEST(Layout, CallsAndCallbacksAreStdcall) {
  EXPECT_TRUE((std::is_same_v<ZPPRINT, int(__stdcall*)(char*, unsigned long)>));
  EXPECT_TRUE((std::is_same_v<ZPPASSWORD, int(__stdcall*)(char*, int, const char*, const char*)>));
  EXPECT_TRUE((std::is_same_v<ZPCOMMENT, int(__stdcall*)(char*)>));
  EXPECT_TRUE((std::is_same_v<decltype(&ZpArchive), int(__stdcall*)(int, char*, char**)>));
  EXPECT_TRUE((std::is_same_v<UZPRINT, int(__stdcall*)(char*, unsigned long)>));
  EXPECT_TRUE((std::is_same_v<UZSOUND, int(__stdcall*)()>));
  EXPECT_TRUE((std::is_same_v<UZREPLACE, int(__stdcall*)(char*)>));
  EXPECT_TRUE((std::is_same_v<UZSERVICE, int(__stdcall*)(const char*, unsigned long)>));
  EXPECT_TRUE((
      std::is_same_v<decltype(&Wiz_SingleEntryUnzip), int(__stdcall*)(int, char**, int, char**, DCL*, USERFUNCTION*)>));
}

// A record made of bytes, with everything at the places written down above: the engine finds it there.
TEST(Layout, TheEngineReadsTheRecordsFromTheseOffsets) {
  const HMODULE engine = LoadLibraryW(L"VANTO5.DLL");
  ASSERT_NE(engine, nullptr);
  const auto setOptions =
      reinterpret_cast<BOOL(__stdcall*)(void*)>(reinterpret_cast<void*>(GetProcAddress(engine, "ZpSetOptions")));
  const auto getOptions =
      reinterpret_cast<void*(__stdcall*)()>(reinterpret_cast<void*>(GetProcAddress(engine, "ZpGetOptions")));
  ASSERT_NE(setOptions, nullptr);
  ASSERT_NE(getOptions, nullptr);

  char date[] = "2024-02-29";
  char root[] = "C:\\DATOS";
  alignas(8) unsigned char record[is64Bit ? 128 : 120] = {};
  const auto put = [&](std::size_t offset, const auto& value) { std::memcpy(record + offset, &value, sizeof value); };
  put(36, 1);                          // fQuiet
  put(52, 2);                          // fRecurse
  put(108, '9');                       // fLevel
  put(112, &date[0]);                  // Date
  put(is64Bit ? 120 : 116, &root[0]);  // szRootDir
  ASSERT_TRUE(setOptions(record));

  const auto* const kept = static_cast<const unsigned char*>(getOptions());
  ASSERT_NE(kept, nullptr);
  const auto number = [&](std::size_t offset) {
    int value;
    std::memcpy(&value, kept + offset, sizeof value);
    return value;
  };
  const auto text = [&](std::size_t offset) {
    const char* value;
    std::memcpy(&value, kept + offset, sizeof value);
    return std::string(value ? value : "");
  };
  EXPECT_EQ(number(36), 1);
  EXPECT_EQ(number(40), 0);
  EXPECT_EQ(number(52), 2);
  EXPECT_EQ(kept[108], '9');
  EXPECT_EQ(text(112), "2024-02-29");
  EXPECT_EQ(text(is64Bit ? 120 : 116), "C:\\DATOS");
  FreeLibrary(engine);
}

}  // namespace
