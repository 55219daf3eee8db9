// VANTO6.DLL, called as its hosts call it: what it lists, what it restores, what it says. What hostile archives make of
// it is in UnzipSafetyTest.cpp.
#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "UnzipFixture.h"
#include "support/ProcessUse.h"
#include "support/ZipWriter.h"

namespace qev::test {
namespace {

class UnzipEngineTest : public testing::Test {
 protected:
  void SetUp() override { folder.make(L"destino"); }

  std::string archive() const { return folder / "copia.zip"; }
  std::string target() const { return folder / "destino"; }
  std::wstring restored(const std::wstring& name) const { return folder.wide(L"destino\\" + name); }

  void put(const std::vector<ZipEntry>& entries, const ZipLayout& layout = {}) const {
    folder.write(L"copia.zip", zipOf(entries, layout));
  }

  int extract(const std::vector<ZipEntry>& entries, const ZipLayout& layout = {}) {
    put(entries, layout);
    return engine.run(archive(), target());
  }

  Folder folder;
  UnzipEngine engine;
};

HANDLE openExclusively(const std::wstring& path) {
  return CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
}

FILETIME writtenAt(const std::wstring& path) {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  EXPECT_TRUE(GetFileAttributesExW((L"\\\\?\\" + path).c_str(), GetFileExInfoStandard, &data)) << utf8(path);
  return data.ftLastWriteTime;
}

SYSTEMTIME local(const FILETIME& time) {
  SYSTEMTIME utc{};
  SYSTEMTIME result{};
  FileTimeToSystemTime(&time, &utc);
  SystemTimeToTzSpecificLocalTime(nullptr, &utc, &result);
  return result;
}

std::uint32_t dosTime(int year, int month, int day, int hour, int minute, int second) {
  return static_cast<std::uint32_t>((year - 1980) << 25 | month << 21 | day << 16 | hour << 11 | minute << 5 |
                                    second / 2);
}

std::string universalTime(std::uint32_t seconds) {
  return extraField(0x5455, '\1' + littleEndian(seconds, 4));
}

// ---- The interface
// ---------------------------------------------------------------------------------------------------

TEST_F(UnzipEngineTest, VersionFillsTheRecordAndRefusesOneOfAnotherSize) {
  UZPVER version{};
  version.structlen = sizeof version;
  EXPECT_EQ(engine.version(&version), 0);
  EXPECT_EQ(version.unzip.major, 6);
  EXPECT_NE(std::string(version.date, 20).find("2009"), std::string::npos);
  version.structlen = 60;
  version.unzip.major = 99;
  EXPECT_EQ(engine.version(&version), 1);
  EXPECT_EQ(version.unzip.major, 99);
  EXPECT_EQ(engine.version(nullptr), 1);
}

TEST_F(UnzipEngineTest, NullRecordsAreAnswered) {
  EXPECT_EQ(engine.unzip(0, nullptr, 0, nullptr, nullptr, &engine.functions), UZ_NOZIP);
  EXPECT_EQ(engine.unzip(0, nullptr, 0, nullptr, &engine.options, nullptr), UZ_NOZIP);
  EXPECT_EQ(engine.unzip(0, nullptr, 0, nullptr, &engine.options, &engine.functions), UZ_NOZIP) << "null texts";
}

TEST_F(UnzipEngineTest, RunsWithoutCallbacks) {
  engine.functions = USERFUNCTION{};
  EXPECT_EQ(extract({storedEntry("a.txt", "hola"), encryptedEntry("b.txt", "x", "clave")}), UZ_BADPWD);
  EXPECT_EQ(contentOf(restored(L"a.txt")), "hola");
  EXPECT_EQ(engine.list(archive()), UZ_OK);
}

TEST_F(UnzipEngineTest, MissingArchiveIsCode9AndNamed) {
  EXPECT_EQ(engine.run(folder / "nada.zip", target()), UZ_NOZIP);
  EXPECT_TRUE(engine.said("nada.zip")) << engine.messages();
  EXPECT_EQ(engine.run("", target()), UZ_NOZIP);
  EXPECT_EQ(engine.run(folder / "copias [1]*?.zip", target()), UZ_NOZIP);
  EXPECT_EQ(engine.run(target(), target()), UZ_NOZIP) << "a folder is no archive";
}

TEST_F(UnzipEngineTest, AnotherFileWithZipBehindItsNameIsNotTakenForTheArchive) {
  folder.write(L"copia.qev.zip", zipOf({storedEntry("a.txt", "otra")}));
  EXPECT_EQ(engine.run(folder / "copia.qev", target()), UZ_NOZIP);
  folder.write(L"copia.qev", "no es un archivo zip");
  EXPECT_EQ(engine.run(folder / "copia.qev", target()), UZ_NOZIP);
  EXPECT_TRUE(folder.list(L"destino").empty());
}

TEST_F(UnzipEngineTest, ArchiveOfAnyNameIsRead) {
  for (const wchar_t* name : {L"copia [1].qev", L"A\u00f1o 50% (2).qev", L"sin extension", L"x.zip.zip"}) {
    folder.write(name, zipOf({storedEntry("a.txt", "hola")}));
    EXPECT_EQ(engine.run(ansi(folder.wide(name)), target()), UZ_OK) << utf8(name) << engine.messages();
  }
}

TEST_F(UnzipEngineTest, RelativeNamesStartFromTheCurrentFolderWhichStays) {
  put({storedEntry("a.txt", "hola")});
  wchar_t before[MAX_PATH];
  GetCurrentDirectoryW(MAX_PATH, before);
  SetCurrentDirectoryW(folder.wide(L"").c_str());
  EXPECT_EQ(engine.run("copia.zip", "destino"), UZ_OK) << engine.messages();
  SetCurrentDirectoryW(restored(L"").c_str());
  EXPECT_EQ(engine.run("..\\copia.zip", ""), UZ_OK) << engine.messages();
  wchar_t after[MAX_PATH];
  GetCurrentDirectoryW(MAX_PATH, after);
  SetCurrentDirectoryW(before);
  EXPECT_EQ(restored(L"").substr(0, restored(L"").size() - 1), after);
  EXPECT_EQ(folder.list(L"destino"), std::vector<std::wstring>{L"a.txt"});
}

// ---- Listing
// ---------------------------------------------------------------------------------------------------------

TEST_F(UnzipEngineTest, ListingReportsEachEntryInOrderAndTheTotals) {
  ZipEntry first = runEntry("Datos/a.db", 'x', 100000);
  first.dosTime = dosTime(2005, 1, 5, 9, 7, 30);
  put({first, storedEntry("b.txt", "hola"), encryptedEntry("c.txt", "secreto", "clave"), folderEntry("hueca/")},
      {"", "un comentario", false, {}, {}});
  ASSERT_EQ(engine.list(archive()), UZ_OK) << engine.messages();
  ASSERT_EQ(engine.listed.size(), 4u);
  const Listed& a = engine.listed[0];
  EXPECT_EQ(a.name, "Datos/a.db");
  EXPECT_EQ(a.size, 100000u);
  EXPECT_EQ(a.packedSize, first.packed.size());
  EXPECT_EQ(a.factor, 99u);
  EXPECT_EQ((std::vector<unsigned>{a.month, a.day, a.year, a.hour, a.minute}), (std::vector<unsigned>{1, 5, 5, 9, 7}));
  EXPECT_EQ(a.method, "Defl:N");
  EXPECT_EQ(a.checksum, first.checksum);
  EXPECT_EQ(a.check, ' ');
  EXPECT_EQ(a.encrypted, ' ');
  EXPECT_EQ(engine.listed[1].method, "Stored");
  EXPECT_EQ(engine.listed[2].encrypted, 'E');
  EXPECT_EQ(engine.listed[2].packedSize, 7u);
  EXPECT_EQ(engine.listed[3].name, "hueca/");
  EXPECT_EQ(engine.functions.NumMembers, 4u);
  EXPECT_EQ(engine.functions.TotalSize, 100011u);
  EXPECT_EQ(engine.functions.cchComment, 13u);
  EXPECT_TRUE(engine.passwordQuestions.empty());
  EXPECT_TRUE(folder.list(L"destino").empty());
}

TEST_F(UnzipEngineTest, ListingShowsTheLocalTimeOfAUtcTimeAndTheOtherwiseStoredOne) {
  ZipEntry entry = storedEntry("a.txt", "x");
  entry.directoryExtra = universalTime(1104914820);  // 5 January 2005, 8:47 UTC
  put({entry});
  ASSERT_EQ(engine.list(archive()), UZ_OK);
  const FILETIME time = [] {
    const ULONGLONG ticks = 1104914820ull * 10000000 + 116444736000000000ull;
    return FILETIME{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
  }();
  ASSERT_EQ(engine.listed.size(), 1u);
  EXPECT_EQ(engine.listed[0].hour, local(time).wHour);
  EXPECT_EQ(engine.listed[0].minute, 47u);
  EXPECT_EQ(engine.listed[0].year, 5u);
}

TEST_F(UnzipEngineTest, ListingGivesNamesInTheCodePageAndWhatItLacksAsQuestionMarks) {
  ZipEntry entry = storedEntry(utf8(L"\u00d1and\u00fa \u65e5.txt"), "x");
  entry.flags = 0x800;
  put({entry});
  ASSERT_EQ(engine.list(archive()), UZ_OK);
  ASSERT_EQ(engine.listed.size(), 1u);
  EXPECT_EQ(engine.listed[0].name, ansi(L"\u00d1and\u00fa ?.txt"));
}

TEST_F(UnzipEngineTest, SizesBeyond32BitsAreListedAsTheLargestNumber) {
  ZipEntry entry = storedEntry("grande.db", "");
  entry.isZip64 = true;
  entry.size = entry.packedSize = 5ull << 30;
  put({entry});
  ASSERT_EQ(engine.list(archive()), UZ_OK) << engine.messages();
  ASSERT_EQ(engine.listed.size(), 1u);
  EXPECT_EQ(engine.listed[0].size, 0xFFFFFFFFu);
  EXPECT_EQ(engine.functions.TotalSize, 0xFFFFFFFFu);
}

TEST_F(UnzipEngineTest, EmptyArchiveListsNothingAndWarns) {
  put({});
  EXPECT_EQ(engine.list(archive()), UZ_WARN);
  EXPECT_TRUE(engine.listed.empty());
  EXPECT_TRUE(engine.said("empty")) << engine.messages();
  EXPECT_EQ(engine.run(archive(), target()), UZ_WARN);
}

// ---- What is restored
// ------------------------------------------------------------------------------------------------

TEST_F(UnzipEngineTest, RestoresFilesAndFoldersEmptyOnesToo) {
  const std::string text = someText(300000);
  ASSERT_EQ(extract({folderEntry("Datos/"), deflatedEntry("Datos/a.db", text), storedEntry("Datos/vacio.db", ""),
                     storedEntry("Datos/Sub/hondo/b.txt", "b"), folderEntry("hueca/"), deflatedEntry("c", "")}),
            UZ_OK)
      << engine.messages();
  EXPECT_EQ(contentOf(restored(L"Datos\\a.db")), text);
  EXPECT_EQ(contentOf(restored(L"Datos\\vacio.db")), "");
  EXPECT_EQ(contentOf(restored(L"Datos\\Sub\\hondo\\b.txt")), "b");
  EXPECT_EQ(contentOf(restored(L"c")), "");
  EXPECT_EQ(folder.list(L"destino"), (std::vector<std::wstring>{L"Datos", L"c", L"hueca"}));
  EXPECT_TRUE(folder.list(L"destino\\hueca").empty());
}

TEST_F(UnzipEngineTest, MakesTheExtractionFolderAndThoseAboveIt) {
  put({storedEntry("a.txt", "hola")});
  EXPECT_EQ(engine.run(archive(), folder / "uno\\dos\\tres\\"), UZ_OK) << engine.messages();
  EXPECT_EQ(contentOf(folder.wide(L"uno\\dos\\tres\\a.txt")), "hola");
}

TEST_F(UnzipEngineTest, BrokenArchiveMakesNoFolder) {
  folder.write(L"copia.zip", "nada");
  EXPECT_EQ(engine.run(archive(), folder / "nueva"), UZ_NOZIP);
  EXPECT_FALSE(exists(folder.wide(L"nueva")));
}

TEST_F(UnzipEngineTest, NamesOfEveryMakerAreRestored) {
  const std::wstring accented = L"A\u00f1o \u00c1\u00c9.txt";
  ZipEntry flagged = storedEntry(utf8(L"1 " + accented + L"\u65e5\U0001F600"), "x");
  flagged.flags = 0x800;
  ZipEntry field = storedEntry("2 A_o.txt", "x");
  field.localExtra = field.directoryExtra =
      extraField(0x7075, '\1' + littleEndian(checksumOf(field.name), 4) + utf8(L"2 " + accented));
  std::string oem(64, '\0');
  oem.resize(static_cast<size_t>(
                 WideCharToMultiByte(CP_OEMCP, 0, (L"3 " + accented).c_str(), -1, oem.data(), 64, nullptr, nullptr)) -
             1);
  const ZipEntry dos = storedEntry(oem, "x");
  ZipEntry windows = storedEntry(ansi(L"4 " + accented), "x");
  windows.madeBy = 0x0B14;
  ZipEntry plain = storedEntry(utf8(L"5 " + accented), "x");
  plain.madeBy = 0x0314;
  ASSERT_EQ(extract({flagged, field, dos, windows, plain}), UZ_OK) << engine.messages();
  for (const std::wstring& name : {L"1 " + accented + L"\u65e5\U0001F600", L"2 " + accented, L"3 " + accented,
                                   L"4 " + accented, L"5 " + accented}) {
    EXPECT_TRUE(exists(restored(name))) << utf8(name);
  }
}

TEST_F(UnzipEngineTest, UnicodePathFieldOfAnotherNameIsNotUsed) {
  ZipEntry entry = storedEntry("cierto.txt", "x");
  entry.localExtra = entry.directoryExtra = extraField(0x7075, '\1' + littleEndian(12345, 4) + "falso.txt");
  extract({entry});
  EXPECT_EQ(folder.list(L"destino"), std::vector<std::wstring>{L"cierto.txt"}) << engine.messages();
}

TEST_F(UnzipEngineTest, PathsOfMoreThan260CharactersAreRestored) {
  std::string path;
  std::wstring wide;
  for (int depth = 0; depth < 8; ++depth) {
    path += std::string(60, static_cast<char>('a' + depth)) + "/";
    wide += std::wstring(60, static_cast<wchar_t>(L'a' + depth)) + L"\\";
  }
  ASSERT_EQ(extract({folderEntry(path), storedEntry(path + "x.txt", "hondo"), folderEntry(path + "hueca/")}), UZ_OK)
      << engine.messages();
  EXPECT_EQ(contentOf(restored(wide + L"x.txt")), "hondo");
  EXPECT_TRUE(exists(restored(wide + L"hueca")));
}

TEST_F(UnzipEngineTest, DatesAreRestoredToTwoSecondsInSummerAndWinter) {
  ZipEntry summer = storedEntry("verano.txt", "x");
  summer.dosTime = dosTime(2004, 7, 15, 13, 45, 58);
  ZipEntry winter = storedEntry("invierno.txt", "x");
  winter.dosTime = dosTime(2025, 1, 31, 23, 59, 2);
  ASSERT_EQ(extract({summer, winter}), UZ_OK);
  const SYSTEMTIME first = local(writtenAt(restored(L"verano.txt")));
  EXPECT_EQ((std::vector<int>{first.wYear, first.wMonth, first.wDay, first.wHour, first.wMinute, first.wSecond}),
            (std::vector<int>{2004, 7, 15, 13, 45, 58}));
  const SYSTEMTIME second = local(writtenAt(restored(L"invierno.txt")));
  EXPECT_EQ((std::vector<int>{second.wYear, second.wMonth, second.wDay, second.wHour, second.wMinute, second.wSecond}),
            (std::vector<int>{2025, 1, 31, 23, 59, 2}));
}

TEST_F(UnzipEngineTest, TheUtcTimeCountsBeforeTheLocalOne) {
  ZipEntry entry = storedEntry("a.txt", "x");
  entry.localExtra = universalTime(1000000001);
  entry.directoryExtra = universalTime(1000000001);
  ASSERT_EQ(extract({entry}), UZ_OK);
  const FILETIME time = writtenAt(restored(L"a.txt"));
  const ULONGLONG ticks = static_cast<ULONGLONG>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
  EXPECT_EQ((ticks - 116444736000000000ull) / 10000000, 1000000001u);
}

TEST_F(UnzipEngineTest, ADateThatIsNoneLeavesTheFileAsWrittenNow) {
  ZipEntry entry = storedEntry("a.txt", "x");
  entry.dosTime = 0;
  EXPECT_EQ(extract({entry}), UZ_OK) << engine.messages();
  SYSTEMTIME now{};
  GetLocalTime(&now);
  EXPECT_EQ(local(writtenAt(restored(L"a.txt"))).wYear, now.wYear);
}

TEST_F(UnzipEngineTest, FoldersGetTheirDatesAfterTheirFiles) {
  ZipEntry outer = folderEntry("Datos/");
  outer.dosTime = dosTime(2001, 2, 3, 4, 5, 6);
  ASSERT_EQ(extract({outer, storedEntry("Datos/a.txt", "x")}), UZ_OK) << engine.messages();
  const SYSTEMTIME time = local(writtenAt(restored(L"Datos")));
  EXPECT_EQ((std::vector<int>{time.wYear, time.wMonth, time.wDay, time.wHour}), (std::vector<int>{2001, 2, 3, 4}));
}

TEST_F(UnzipEngineTest, AttributesAreRestored) {
  ZipEntry readOnly = storedEntry("solo.txt", "x");
  readOnly.attributes = 0x21;
  ZipEntry hidden = storedEntry("oculto.txt", "x");
  hidden.attributes = 0x22;
  ZipEntry system = storedEntry("sistema.txt", "x");
  system.attributes = 0x26;
  ZipEntry unix = storedEntry("unix.txt", "x");
  unix.madeBy = 0x0314;
  unix.attributes = 0100444u << 16;
  ZipEntry writable = storedEntry("escribible.txt", "x");
  writable.madeBy = 0x0314;
  writable.attributes = 0100644u << 16;
  ASSERT_EQ(extract({readOnly, hidden, system, unix, writable}), UZ_OK) << engine.messages();
  const auto attributes = [&](const wchar_t* name) {
    return GetFileAttributesW(restored(name).c_str()) &
           (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
  };
  EXPECT_EQ(attributes(L"solo.txt"), static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
  EXPECT_EQ(attributes(L"oculto.txt"), static_cast<DWORD>(FILE_ATTRIBUTE_HIDDEN));
  EXPECT_EQ(attributes(L"sistema.txt"), static_cast<DWORD>(FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM));
  EXPECT_EQ(attributes(L"unix.txt"), static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
  EXPECT_EQ(attributes(L"escribible.txt"), 0u);
  for (const wchar_t* name : {L"solo.txt", L"oculto.txt", L"sistema.txt", L"unix.txt"}) {
    SetFileAttributesW(restored(name).c_str(), FILE_ATTRIBUTE_NORMAL);
  }
}

TEST_F(UnzipEngineTest, DataDescriptorsAreRead) {
  ZipEntry first = deflatedEntry("a.txt", someText(5000));
  first.descriptorFollows = true;
  ZipEntry second = runEntry("b.txt", 'b', 3000);
  second.descriptorFollows = true;
  ASSERT_EQ(extract({first, second, storedEntry("c.txt", "c")}), UZ_OK) << engine.messages();
  EXPECT_EQ(contentOf(restored(L"a.txt")), someText(5000));
  EXPECT_EQ(contentOf(restored(L"b.txt")), std::string(3000, 'b'));
}

TEST_F(UnzipEngineTest, DataDescriptorsBesideUnicodePathsAreNotTakenForOverlaps) {
  std::vector<ZipEntry> entries;
  for (const char* name : {"a.txt", "b.txt", "c.txt"}) {
    ZipEntry entry = runEntry(name, 'x', 3000);
    entry.descriptorFollows = true;
    entry.localExtra = entry.directoryExtra =
        extraField(0x7075, '\1' + littleEndian(checksumOf(entry.name), 4) + utf8(L"\u00f1") + name);
    entries.push_back(entry);
  }
  EXPECT_EQ(extract(entries), UZ_OK) << engine.messages();
  EXPECT_TRUE(exists(restored(L"\u00f1c.txt")));
}

TEST_F(UnzipEngineTest, Zip64EntriesAndEndRecordsAreRead) {
  ZipEntry first = deflatedEntry("a.txt", "hola");
  first.isZip64 = true;
  ZipEntry second = runEntry("b.txt", 'b', 3000);
  second.isZip64 = second.descriptorFollows = true;
  ASSERT_EQ(extract({first, second, storedEntry("c.txt", "c")}, {"", "", true, {}, {}}), UZ_OK) << engine.messages();
  EXPECT_EQ(contentOf(restored(L"a.txt")), "hola");
  EXPECT_EQ(contentOf(restored(L"b.txt")), std::string(3000, 'b'));
  EXPECT_EQ(contentOf(restored(L"c.txt")), "c");
}

TEST_F(UnzipEngineTest, BytesBeforeTheArchiveAreAWarning) {
  EXPECT_EQ(extract({storedEntry("a.txt", "hola")}, {"Programa : X\r\n", "", false, {}, {}}), UZ_WARN);
  EXPECT_EQ(contentOf(restored(L"a.txt")), "hola") << engine.messages();
}

TEST_F(UnzipEngineTest, SizesAroundTheBuffersAreRestoredToTheByte) {
  std::vector<ZipEntry> entries;
  const std::vector<size_t> sizes = {1, 8191, 8192, 65535, 65536, 1048575, 1048576, 1048577, 2097152, 3000001};
  const std::string text = someText(sizes.back());
  for (const size_t size : sizes) {
    entries.push_back(storedEntry("s" + std::to_string(size), text.substr(0, size)));
    entries.push_back(deflatedEntry("d" + std::to_string(size), text.substr(0, size)));
  }
  ASSERT_EQ(extract(entries), UZ_OK) << engine.messages();
  for (const size_t size : sizes) {
    EXPECT_TRUE(contentOf(restored(L"s" + std::to_wstring(size))) == text.substr(0, size)) << size;
    EXPECT_TRUE(contentOf(restored(L"d" + std::to_wstring(size))) == text.substr(0, size)) << size;
  }
  EXPECT_EQ(folder.list(L"destino").size(), 2 * sizes.size());
}

TEST_F(UnzipEngineTest, WithoutFoldersAllFilesGoToTheExtractionFolder) {
  engine.options.ndflag = 0;
  EXPECT_EQ(extract({folderEntry("Datos/"), storedEntry("Datos/a.txt", "a"), storedEntry("Datos/Sub/b.txt", "b")}),
            UZ_OK)
      << engine.messages();
  EXPECT_EQ(folder.list(L"destino"), (std::vector<std::wstring>{L"a.txt", L"b.txt"}));
}

TEST_F(UnzipEngineTest, OnlyWantedEntriesAreRestoredAndUnwantedOnesLeftOut) {
  const std::vector<ZipEntry> entries = {storedEntry("Datos/a.txt", "a"), storedEntry("Datos/b.db", "b"),
                                         storedEntry("c.TXT", "c")};
  engine.wanted = {"*.txt", "", "nada"};
  EXPECT_EQ(extract(entries), UZ_FIND) << "one name matches nothing";
  EXPECT_TRUE(engine.said("nada")) << engine.messages();
  EXPECT_EQ(folder.list(L"destino"), std::vector<std::wstring>{L"Datos"});
  engine.wanted = {"*.txt"};
  engine.options.C_flag = 1;
  EXPECT_EQ(extract(entries), UZ_OK);
  EXPECT_TRUE(exists(restored(L"c.TXT")));
  engine.wanted.clear();
  engine.unwanted = {"*.txt"};
  EXPECT_EQ(extract(entries), UZ_OK);
  EXPECT_TRUE(exists(restored(L"Datos\\b.db")));
}

TEST_F(UnzipEngineTest, EmptySlotsOfTheListsAreNoNames) {
  engine.wanted.assign(100, "");
  engine.unwanted.assign(100, "");
  EXPECT_EQ(extract({storedEntry("a.txt", "a")}), UZ_OK) << engine.messages();
  EXPECT_TRUE(exists(restored(L"a.txt")));
}

TEST_F(UnzipEngineTest, BlanksBecomeUnderscoresWhenAskedFor) {
  engine.options.SpaceToUnderscore = 1;
  EXPECT_EQ(extract({storedEntry("mi carpeta/mi fichero.txt", "a")}), UZ_OK);
  EXPECT_TRUE(exists(restored(L"mi_carpeta\\mi_fichero.txt")));
}

TEST_F(UnzipEngineTest, TestingUnpacksAndWritesNothing) {
  engine.options.ntflag = 1;
  EXPECT_EQ(extract({deflatedEntry("a.txt", "hola")}), UZ_OK) << engine.messages();
  ZipEntry broken = deflatedEntry("b.txt", "hola");
  broken.checksum ^= 1;
  EXPECT_EQ(extract({broken}), UZ_ERR);
  EXPECT_TRUE(engine.said("bad CRC")) << engine.messages();
  EXPECT_TRUE(folder.list(L"destino").empty());
}

TEST_F(UnzipEngineTest, ExtractionToThePrintCallbackBringsTheBytes) {
  engine.options.ncflag = 1;
  engine.options.fQuiet = 2;
  const std::string content = std::string("uno\0dos\n\xc3\xb1\xff", 12) + someText(100000);
  EXPECT_EQ(extract({deflatedEntry("a.bin", content)}), UZ_OK);
  EXPECT_TRUE(engine.messages() == content);
  EXPECT_TRUE(folder.list(L"destino").empty());
}

TEST_F(UnzipEngineTest, CommentIsPrintedWhenAskedFor) {
  engine.options.nzflag = 1;
  extract({storedEntry("a.txt", "a")}, {"", "hecho ayer", false, {}, {}});
  EXPECT_TRUE(engine.said("hecho ayer")) << engine.messages();
  EXPECT_TRUE(folder.list(L"destino").empty());
}

TEST_F(UnzipEngineTest, EndsOfLinesOfTextAreConvertedWhenAskedFor) {
  engine.options.naflag = 1;
  std::string archiveBytes = zipOf({deflatedEntry("a.txt", "uno\ndos\n")});
  archiveBytes[archiveBytes.find("PK\1\2") + 36] = 1;  // marked as text
  folder.write(L"copia.zip", archiveBytes);
  EXPECT_EQ(engine.run(archive(), target()), UZ_OK) << engine.messages();
  EXPECT_EQ(contentOf(restored(L"a.txt")), "uno\r\ndos\r\n");
}

// ---- Existing files
// --------------------------------------------------------------------------------------------------

TEST_F(UnzipEngineTest, ExistingFilesAreReplacedReadOnlyOnesTooAndNothingIsAsked) {
  folder.write(L"destino\\a.txt", "viejo y largo");
  folder.write(L"destino\\b.txt", "viejo");
  SetFileAttributesW(restored(L"b.txt").c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
  ASSERT_EQ(extract({storedEntry("a.txt", "nuevo"), runEntry("b.txt", 'n', 3000000)}), UZ_OK) << engine.messages();
  EXPECT_EQ(contentOf(restored(L"a.txt")), "nuevo");
  EXPECT_EQ(contentOf(restored(L"b.txt")), std::string(3000000, 'n'));
  EXPECT_EQ(GetFileAttributesW(restored(L"b.txt").c_str()) & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN), 0u);
  EXPECT_TRUE(engine.replaceQuestions.empty());
  EXPECT_EQ(folder.list(L"destino"), (std::vector<std::wstring>{L"a.txt", L"b.txt"}));
}

TEST_F(UnzipEngineTest, WithoutNoflagTheReplaceCallbackDecides) {
  const std::vector<ZipEntry> entries = {storedEntry("a.txt", "nuevo"), storedEntry("b.txt", "nuevo")};
  const auto contents = [&](int answer) {
    folder.write(L"destino\\a.txt", "viejo");
    folder.write(L"destino\\b.txt", "viejo");
    engine.options.noflag = 0;
    engine.replaceAnswer = answer;
    EXPECT_EQ(extract(entries), UZ_OK) << engine.messages();
    return contentOf(restored(L"a.txt")) + " " + contentOf(restored(L"b.txt")) + " " +
           std::to_string(engine.replaceQuestions.size());
  };
  EXPECT_EQ(contents(UZ_REPLACE_YES), "nuevo nuevo 2");
  EXPECT_EQ(contents(UZ_REPLACE_ALL), "nuevo nuevo 1");
  EXPECT_EQ(contents(UZ_REPLACE_NO), "viejo viejo 2");
  EXPECT_EQ(contents(UZ_REPLACE_NONE), "viejo viejo 1");
  EXPECT_EQ(contents(77), "viejo viejo 2");
}

TEST_F(UnzipEngineTest, OnlyNewerLeavesFilesThatAreAsNew) {
  ZipEntry older = storedEntry("a.txt", "archivo");
  older.dosTime = dosTime(2005, 1, 5, 9, 7, 30);
  ZipEntry newer = storedEntry("b.txt", "archivo");
  newer.dosTime = dosTime(2100, 1, 5, 9, 7, 30);
  folder.write(L"destino\\a.txt", "disco");
  folder.write(L"destino\\b.txt", "disco");
  engine.options.ExtractOnlyNewer = 1;
  EXPECT_EQ(extract({older, newer}), UZ_OK) << engine.messages();
  EXPECT_EQ(contentOf(restored(L"a.txt")), "disco");
  EXPECT_EQ(contentOf(restored(L"b.txt")), "archivo");
  EXPECT_EQ(extract({newer}), UZ_OK);
  EXPECT_TRUE(engine.said("Skipping")) << "a second time it is as new: " << engine.messages();
}

TEST_F(UnzipEngineTest, FileInUseIsCode50NamedAndTheOthersAreRestored) {
  folder.write(L"destino\\b.txt", "ocupado");
  const HANDLE held = openExclusively(restored(L"b.txt"));
  EXPECT_EQ(extract({storedEntry("a.txt", "a"), storedEntry("b.txt", "b"), storedEntry("c.txt", "c")}), UZ_DISK);
  CloseHandle(held);
  EXPECT_TRUE(engine.said("error:  b.txt:  cannot replace the file")) << engine.messages();
  EXPECT_EQ(contentOf(restored(L"b.txt")), "ocupado");
  EXPECT_EQ(contentOf(restored(L"c.txt")), "c");
  EXPECT_EQ(folder.list(L"destino").size(), 3u) << "nothing is left beside it";
}

void WINAPI count(void* calls) {
  ++*static_cast<int*>(calls);
}

TEST_F(UnzipEngineTest, FileThatIsHeldForAMomentIsReplacedWhenItIsFree) {
  folder.write(L"destino\\b.txt", "vigilado");
  const HANDLE held = openExclusively(restored(L"b.txt"));
  std::thread scanner([held] {
    Sleep(300);
    CloseHandle(held);
  });
  int messagesGiven = 0;
  engine.setPatience(20'000, count, &messagesGiven);
  EXPECT_EQ(extract({storedEntry("b.txt", "b")}), UZ_OK) << engine.messages();
  scanner.join();
  EXPECT_EQ(contentOf(restored(L"b.txt")), "b");
  EXPECT_GT(messagesGiven, 2);
}

TEST_F(UnzipEngineTest, WhatAKilledRunLeftInAFolderGoesWithTheNextFileThatIsReplacedThere) {
  folder.write(L"destino\\b.txt", "viejo");
  folder.write(L"destino\\qev4711-0.tmp", "a medias");
  folder.write(L"destino\\~qev0123abcd.tmp", "a medias");
  EXPECT_EQ(extract({storedEntry("b.txt", "b")}), UZ_OK) << engine.messages();
  EXPECT_EQ(folder.list(L"destino"), (std::vector<std::wstring>{L"b.txt"}));
}

TEST_F(UnzipEngineTest, FolderInThePlaceOfAFileAndFileInThePlaceOfAFolderAreNamed) {
  folder.make(L"destino\\a.txt");
  folder.write(L"destino\\Datos", "un fichero");
  EXPECT_EQ(extract({storedEntry("a.txt", "a"), storedEntry("Datos/b.txt", "b"), folderEntry("Datos/Sub/"),
                     storedEntry("c.txt", "c")}),
            UZ_DISK);
  EXPECT_TRUE(engine.said("a.txt:  a folder is in the place of the file")) << engine.messages();
  EXPECT_TRUE(engine.said("Datos/b.txt:  a file is in the place of the folder")) << engine.messages();
  EXPECT_EQ(contentOf(restored(L"Datos")), "un fichero");
  EXPECT_EQ(contentOf(restored(L"c.txt")), "c");
}

TEST_F(UnzipEngineTest, ExtractionFolderThatIsAFileIsCode50) {
  folder.write(L"fichero", "x");
  put({storedEntry("a.txt", "a")});
  EXPECT_EQ(engine.run(archive(), folder / "fichero"), UZ_DISK);
  EXPECT_TRUE(engine.said("cannot create the extraction folder")) << engine.messages();
  EXPECT_EQ(engine.run(archive(), folder / "fichero\\dentro"), UZ_DISK);
  EXPECT_EQ(engine.run(archive(), "Q:\\no\\hay"), UZ_DISK);
  EXPECT_EQ(contentOf(folder.wide(L"fichero")), "x");
}

// A disk of a few hundred kilobytes, which the test's surroundings provide: its folder is in QEV_SMALL_DISK.
TEST_F(UnzipEngineTest, DiskThatFillsUpIsCode50TheOldFileStaysAndWhatFitsIsRestored) {
  const char* const disk = getenv("QEV_SMALL_DISK");
  if (disk == nullptr) GTEST_SKIP() << "QEV_SMALL_DISK names no small disk";
  const std::string small = std::string(disk) + "\\restaurado";
  put({storedEntry("a.db", "antes")});
  ASSERT_EQ(engine.run(archive(), small), UZ_OK) << engine.messages();
  put({runEntry("a.db", 'x', 8 << 20), runEntry("mediano.db", 'y', 900000), storedEntry("z.txt", "cabe")});
  for (int attempt = 0; attempt < 10; ++attempt) {
    EXPECT_EQ(engine.run(archive(), small), UZ_DISK);
    EXPECT_TRUE(engine.said("error:  a.db:  cannot write")) << engine.messages();
    EXPECT_TRUE(engine.said("error:  mediano.db:  cannot write")) << engine.messages();
  }
  EXPECT_EQ(readFile(small + "\\a.db"), "antes");
  EXPECT_EQ(readFile(small + "\\z.txt"), "cabe");
  EXPECT_EQ(readFile(small + "\\mediano.db"), "");
  DeleteFileA((small + "\\a.db").c_str());
  DeleteFileA((small + "\\z.txt").c_str());
  EXPECT_TRUE(RemoveDirectoryA(small.c_str())) << "something was left behind";
}

// ---- Passwords
// -------------------------------------------------------------------------------------------------------

TEST_F(UnzipEngineTest, EncryptedEntriesAreRestoredWithThePasswordWhichIsAskedOnce) {
  engine.password = "cl\xe1ve";
  ZipEntry described = encryptedEntry("c.txt", "tres", "cl\xe1ve");
  described.descriptorFollows = true;
  described.packed = encrypted("tres", "cl\xe1ve", static_cast<std::uint8_t>(described.dosTime >> 8));
  EXPECT_EQ(
      extract({encryptedEntry("a.txt", "uno", "cl\xe1ve"), encryptedEntry("b.txt", "dos", "cl\xe1ve"), described}),
      UZ_OK)
      << engine.messages();
  EXPECT_EQ(contentOf(restored(L"a.txt")), "uno");
  EXPECT_EQ(contentOf(restored(L"b.txt")), "dos");
  EXPECT_EQ(contentOf(restored(L"c.txt")), "tres");
  EXPECT_EQ(engine.passwordQuestions, std::vector<std::string>{"a.txt"});
}

TEST_F(UnzipEngineTest, PasswordOfAnotherCodePageFits) {
  engine.password = ansi(L"contrase\u00f1a");
  EXPECT_EQ(extract({encryptedEntry("a.txt", "uno", utf8(L"contrase\u00f1a"))}), UZ_OK) << engine.messages();
  EXPECT_EQ(contentOf(restored(L"a.txt")), "uno");
}

TEST_F(UnzipEngineTest, WrongPasswordIsReportedAskedOnceAndTheOthersAreRestored) {
  engine.password = "otra";
  EXPECT_EQ(extract({encryptedEntry("a.txt", "uno", "clave"), encryptedEntry("b.txt", "dos", "clave"),
                     storedEntry("c.txt", "c")}),
            UZ_BADPWD);
  EXPECT_TRUE(engine.said("a.txt")) << engine.messages();
  EXPECT_TRUE(engine.said("incorrect password")) << engine.messages();
  EXPECT_EQ(engine.passwordQuestions.size(), 1u);
  EXPECT_EQ(folder.list(L"destino"), std::vector<std::wstring>{L"c.txt"});
}

TEST_F(UnzipEngineTest, NoPasswordIsAskedOnceAndTheEntriesAreSkipped) {
  folder.write(L"destino\\a.txt", "antes");
  EXPECT_EQ(extract({encryptedEntry("a.txt", "uno", "clave"), encryptedEntry("b.txt", "dos", "clave")}), UZ_BADPWD);
  EXPECT_EQ(engine.passwordQuestions.size(), 1u);
  EXPECT_EQ(contentOf(restored(L"a.txt")), "antes");
}

TEST_F(UnzipEngineTest, PasswordIsForgottenAfterTheRun) {
  engine.password = "clave";
  const std::vector<ZipEntry> entries = {encryptedEntry("a.txt", "uno", "clave")};
  EXPECT_EQ(extract(entries), UZ_OK);
  engine.password.reset();
  EXPECT_EQ(extract(entries), UZ_BADPWD);
}

// ---- Messages
// --------------------------------------------------------------------------------------------------------

TEST_F(UnzipEngineTest, EachEntryIsOneLine) {
  ASSERT_EQ(extract({folderEntry("Datos/"), deflatedEntry("Datos/a.txt", "hola"),
                     storedEntry("un nombre bastante largo.txt", "b")}),
            UZ_OK);
  EXPECT_EQ(engine.messages(),
            "   creating: Datos/\r\n  inflating: Datos/a.txt\r\n extracting: un nombre bastante "
            "largo.txt\r\n");
  EXPECT_EQ(engine.calls.size(), 3u);
}

TEST_F(UnzipEngineTest, LargeFileIsItsNameThenADotPerMebibyte) {
  ASSERT_EQ(extract({runEntry("grande.db", 'x', 10 << 20), storedEntry("b", "b")}), UZ_OK);
  ASSERT_EQ(engine.calls.size(), 13u) << engine.messages();
  EXPECT_EQ(engine.calls[0], "  inflating: grande.db ");
  for (size_t at = 1; at <= 10; ++at) EXPECT_EQ(engine.calls[at], ".");
  EXPECT_EQ(engine.calls[11], "\r\n");
  EXPECT_EQ(engine.calls[12], " extracting: b\r\n");
}

TEST_F(UnzipEngineTest, QuietRunsSayOnlyWhatIsWrong) {
  engine.options.fQuiet = 2;
  ZipEntry broken = deflatedEntry("b.txt", "hola");
  broken.checksum ^= 1;
  EXPECT_EQ(extract({deflatedEntry("a.txt", "hola"), runEntry("g.db", 'x', 3 << 20)}), UZ_OK);
  EXPECT_EQ(engine.messages(), "");
  EXPECT_EQ(extract({broken}), UZ_ERR);
  EXPECT_TRUE(engine.said("b.txt")) << engine.messages();
}

TEST_F(UnzipEngineTest, MessagesAreInTheCodePage) {
  ZipEntry entry = storedEntry(utf8(L"\u00f1and\u00fa \u20ac \u65e5.txt"), "x");
  entry.flags = 0x800;
  EXPECT_EQ(extract({entry}), UZ_OK);
  EXPECT_TRUE(engine.said(ansi(L" extracting: \u00f1and\u00fa \u20ac ?.txt\r\n"))) << engine.messages();
}

TEST_F(UnzipEngineTest, DamagedEntryHasItsReasonOnItsLineAndThenItsError) {
  ZipEntry broken = deflatedEntry("a.txt", "hola");
  broken.checksum ^= 1;
  EXPECT_EQ(extract({broken, storedEntry("b.txt", "b")}), UZ_ERR);
  const std::string said = engine.messages();
  EXPECT_EQ(said.rfind("  inflating: a.txt  ", 0), 0u) << said;
  EXPECT_LT(said.find(" bad CRC "), said.find("\r\n")) << said;
  EXPECT_NE(said.find("\r\nerror:  a.txt:  not restored: it is damaged\r\n extracting: b.txt\r\n"), std::string::npos)
      << said;
}

TEST_F(UnzipEngineTest, NoCallBringsMoreThan4096Characters) {
  extract({storedEntry(std::string(60000, 'x'), "x"), storedEntry(std::string(9000, 'y') + "/z", "x")});
  EXPECT_FALSE(engine.calls.empty());
  for (const std::string& call : engine.calls) EXPECT_LE(call.size(), static_cast<size_t>(UZ_MAXIMUM_MESSAGE));
}

TEST_F(UnzipEngineTest, ServiceCallbackHearsOfEachFileRestoredOrTestedAndCanEndTheRun) {
  ZipEntry folderByAttribute = folderEntry("e");
  folderByAttribute.attributes = FILE_ATTRIBUTE_DIRECTORY;
  const std::vector<ZipEntry> entries = {folderEntry("d/"), deflatedEntry("d/a.txt", someText(70000)),
                                         folderByAttribute, storedEntry("vacio", ""),
                                         encryptedEntry("clave.txt", "secreto", "clave")};
  engine.password = "clave";
  for (const bool isTest : {false, true}) {
    SCOPED_TRACE(isTest ? "tested" : "restored");
    engine.options.ntflag = isTest;
    engine.serviceAnswer = 0;
    EXPECT_EQ(extract(entries), UZ_OK) << engine.messages();
    EXPECT_EQ(engine.served, Served({{"d/a.txt", 70000}, {"vacio", 0}, {"clave.txt", 7}}));
    engine.serviceAnswer = 1;
    EXPECT_EQ(extract(entries), UZ_STOPPED);
    EXPECT_EQ(engine.served, Served({{"d/a.txt", 70000}}));
    EXPECT_EQ(extract({storedEntry("sola.txt", "x")}), UZ_STOPPED) << "the last entry can end the run, too";
  }
  engine.options.ntflag = 0;
  engine.options.ncflag = 1;
  EXPECT_EQ(extract(entries), UZ_OK);
  EXPECT_EQ(engine.served, Served()) << "printed";
}

TEST_F(UnzipEngineTest, ServiceCallbackDoesNotHearOfEntriesThatAreNotWhole) {
  ZipEntry wrongSum = deflatedEntry("suma.txt", "hola");
  wrongSum.checksum ^= 1;
  ZipEntry garbage = deflatedEntry("basura.db", someText(100000));
  garbage.packed.replace(40000, 100, std::string(100, '\xff'));
  ZipEntry tooLong = deflatedEntry("larga.txt", someText(70000));
  tooLong.size -= 1;
  ZipEntry tooShort = deflatedEntry("corta.txt", someText(70000));
  tooShort.size += 1;
  ZipEntry unknown = storedEntry("raro.db", "x");
  unknown.method = 99;
  for (const bool isTest : {false, true}) {
    SCOPED_TRACE(isTest ? "tested" : "restored");
    engine.options.ntflag = isTest;
    for (const ZipEntry& entry : {wrongSum, garbage, tooLong, tooShort}) {
      EXPECT_EQ(extract({entry, storedEntry("b.txt", "b")}), UZ_ERR) << engine.messages();
      EXPECT_TRUE(engine.said(entry.name)) << engine.messages();
      EXPECT_EQ(engine.served, Served({{"b.txt", 1}})) << engine.messages();
    }
    EXPECT_EQ(extract({unknown, encryptedEntry("clave.txt", "x", "clave")}), UZ_BADPWD);
    EXPECT_EQ(engine.served, Served());
    EXPECT_EQ(extract({tooLong, tooShort, tooLong}), UZ_ERR);
    const std::string said = engine.messages();
    const std::string word = isTest ? "damaged" : "not restored";
    const size_t first = said.find("error:  larga.txt:  " + word + ": it is longer than it says");
    const size_t second = said.find("error:  corta.txt:  " + word + ": it is shorter than it says");
    EXPECT_LT(first, second) << said;
    EXPECT_LT(second, said.rfind("error:  larga.txt:")) << "each entry is named: " << said;
  }
}

// ---- Called again
// ----------------------------------------------------------------------------------------------------

TEST_F(UnzipEngineTest, HundredsOfFailuresLeaveNothingBehindAndTheNextRunSucceeds) {
  folder.make(L"destino\\ocupado.db");
  ZipEntry broken = runEntry("roto.db", 'x', 3 << 20);
  broken.checksum ^= 1;
  ZipEntry garbage = deflatedEntry("basura.db", someText(100000));
  garbage.packed.replace(40000, 100, std::string(100, '\xff'));
  ZipEntry unknown = storedEntry("raro.db", "x");
  unknown.method = 99;
  const std::string whole = zipOf({broken, garbage, unknown, encryptedEntry("clave.txt", "x", "clave"),
                                   storedEntry("ocupado.db", "nuevo"), storedEntry("../fuera", "x")});
  const auto failInEveryWay = [&] {
    folder.write(L"copia.zip", whole);
    EXPECT_EQ(engine.run(archive(), target()), UZ_BADPWD) << engine.messages();
    folder.write(L"copia.zip", whole.substr(0, whole.size() / 2));
    EXPECT_EQ(engine.run(archive(), target()), UZ_NOZIP);
    folder.write(L"copia.zip", whole.substr(whole.size() / 2));
    EXPECT_NE(engine.run(archive(), target()), UZ_OK);
    folder.write(L"copia.zip", zipOf({storedEntry("a", "a")}));
    EXPECT_EQ(engine.run(archive(), folder / "copia.zip"), UZ_DISK);
  };
  for (int warmUp = 0; warmUp < 5; ++warmUp) failInEveryWay();
  const DWORD handles = handleCount();
  const size_t heap = processHeapInUse();
  const SIZE_T memory = memoryInUse();
  for (int round = 0; round < 60; ++round) failInEveryWay();
  EXPECT_LE(handleCount(), handles + handlesOfTheSystem);
  EXPECT_LT(processHeapInUse(), heap + 4096);
  EXPECT_LT(memoryInUse(), memory + (2u << 20));
  EXPECT_EQ(folder.list(L"destino"), std::vector<std::wstring>{L"ocupado.db"});
  RemoveDirectoryW(restored(L"ocupado.db").c_str());
  EXPECT_EQ(extract({storedEntry("ocupado.db", "nuevo")}), UZ_OK) << engine.messages();
}

TEST_F(UnzipEngineTest, AHundredSuccessesSayTheSame) {
  const std::vector<ZipEntry> entries = {deflatedEntry("a.db", someText(70000)), folderEntry("d/"),
                                         storedEntry("d/b", "b")};
  ASSERT_EQ(extract(entries), UZ_OK);
  const DWORD handles = handleCount();
  ASSERT_EQ(extract(entries), UZ_OK);
  const std::string second = engine.messages();
  for (int round = 0; round < 100; ++round) {
    ASSERT_EQ(engine.run(archive(), target()), UZ_OK);
    ASSERT_EQ(engine.messages(), second);
    ASSERT_EQ(engine.list(archive()), UZ_OK);
    ASSERT_EQ(engine.listed.size(), 3u);
  }
  EXPECT_LE(handleCount(), handles + handlesOfTheSystem);
}

TEST_F(UnzipEngineTest, CallDuringARunIsRefusedFromTheCallbackAndFromAnotherThread) {
  int inner = -1;
  int otherThread = -1;
  DCL options{};
  USERFUNCTION functions{};
  engine.whilePrinting = [&] {
    inner = engine.unzip(0, nullptr, 0, nullptr, &options, &functions);
    std::thread([&] { otherThread = engine.unzip(0, nullptr, 0, nullptr, &options, &functions); }).join();
  };
  EXPECT_EQ(extract({storedEntry("a.txt", "a")}), UZ_OK);
  EXPECT_EQ(inner, UZ_BUSY);
  EXPECT_EQ(otherThread, UZ_BUSY);
}

#ifdef _WIN64  // on x86 an exception does not pass from one statically linked module to another
TEST_F(UnzipEngineTest, CallbackThatThrowsLeavesTheEngineUsable) {
  put({runEntry("grande.db", 'x', 3 << 20), storedEntry("a.txt", "a")});
  const DWORD handles = handleCount();
  for (int round = 0; round < 10; ++round) {
    int calls = 0;
    engine.whilePrinting = [&] {
      if (++calls == 2 + round % 3) throw 42;
    };
    EXPECT_THROW(engine.run(archive(), target()), int);
  }
  engine.whilePrinting = nullptr;
  EXPECT_LE(handleCount(), handles + handlesOfTheSystem);
  EXPECT_TRUE(folder.list(L"destino").empty()) << "no unfinished file stays";
  EXPECT_EQ(engine.run(archive(), target()), UZ_OK);
}
#endif

TEST_F(UnzipEngineTest, EngineCanBeUnloadedAndLoadedAgain) {
  put({storedEntry("a.txt", "a")});
  for (int round = 0; round < 10; ++round) {
    UnzipEngine another;
    EXPECT_EQ(another.run(archive(), target()), UZ_OK);
  }
}

// ---- With the zip engine
// ---------------------------------------------------------------------------------------------

TEST_F(UnzipEngineTest, WhatTheZipEngineArchivesComesBackInTheSameProcessAgainAndAgain) {
  const std::string large = someText(3000000);
  folder.write(L"Datos\\grande.db", large);
  folder.write(L"Datos\\Sub A\u00f1o\\\u65e5\u672c.txt", "nombre");
  folder.write(L"Datos\\vac\u00edo", "");
  folder.make(L"Datos\\hueca");
  for (int round = 0; round < 3; ++round) {
    {
      Engine zip;
      char root[] = "\\";
      zip.options.fRecurse = 2;
      zip.options.szRootDir = root;
      ASSERT_EQ(zip.run(archive(), {folder / "Datos\\*.*"}), ZP_OK) << zip.messages();
    }
    ASSERT_EQ(engine.run(archive(), target()), UZ_OK) << engine.messages();
    const std::wstring base = restored(folder.wide(L"Datos").substr(3) + L"\\");
    EXPECT_TRUE(contentOf(base + L"grande.db") == large);
    EXPECT_EQ(contentOf(base + L"Sub A\u00f1o\\\u65e5\u672c.txt"), "nombre");
    EXPECT_EQ(contentOf(base + L"vac\u00edo"), "");
    EXPECT_TRUE(exists(base + L"hueca"));
    const FILETIME before = writtenAt(folder.wide(L"Datos\\grande.db"));
    const FILETIME after = writtenAt(base + L"grande.db");
    EXPECT_LE(std::abs(static_cast<long>(before.dwLowDateTime / 10000000) -
                       static_cast<long>(after.dwLowDateTime / 10000000)),
              2);
  }
}

}  // namespace
}  // namespace qev::test
