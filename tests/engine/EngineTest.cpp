// VANTO5.DLL, called as its hosts call it.
#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "EngineFixture.h"
#include "UnzipFixture.h"
#include "support/ProcessUse.h"
#include "support/ZipWriter.h"

namespace qev::test {
namespace {

class EngineTest : public testing::Test {
 protected:
  // The archived name of a file in the test's folder.
  std::string stored(const std::wstring& relative) const {
    std::string name = utf8(folder.wide(relative)).substr(3);
    std::replace(name.begin(), name.end(), '\\', '/');
    return name;
  }

  std::string everything() const { return folder / "Datos\\*.*"; }
  std::string target() const { return folder / "destino\\copia.zip"; }

  void SetUp() override {
    folder.make(L"destino");
    folder.write(L"Datos\\a.txt", "hola");
    engine.options.fRecurse = 2;
    engine.options.szRootDir = root_;
  }

  // What an entry of the archive holds, by the other engine.
  std::string unpacked(const std::string& name) const {
    UnzipEngine unzip;
    unzip.options.ncflag = 1;
    unzip.options.fQuiet = 2;
    unzip.wanted = {name};
    EXPECT_EQ(unzip.run(target(), folder / "destino"), UZ_OK) << unzip.messages();
    return unzip.messages();
  }

  // The names of what lies in the target folder besides the archive.
  std::vector<std::wstring> leftovers() const {
    std::vector<std::wstring> names = folder.list(L"destino");
    names.erase(std::remove(names.begin(), names.end(), L"copia.zip"), names.end());
    return names;
  }

  Folder folder;
  Engine engine;

 private:
  char root_[2] = "\\";
};

HANDLE openExclusively(const std::wstring& path) {
  return CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
}

// ---- The interface
// ---------------------------------------------------------------------------------------------------

TEST_F(EngineTest, OptionsReadBackAsTheyWereSet) {
  char date[] = "2024-01-31";
  char root[] = "C:\\PROG";
  ZPOPT options{};
  options.fUpdate = 1;
  options.fLevel = 9;
  options.Date = date;
  options.szRootDir = root;
  ASSERT_TRUE(engine.setOptions(&options));
  date[0] = root[0] = '?';  // the engine has its own copies
  const ZPOPT* const answer = engine.getOptions();
  EXPECT_EQ(answer->fUpdate, 1);
  EXPECT_EQ(answer->fLevel, 9);
  EXPECT_STREQ(answer->Date, "2024-01-31");
  EXPECT_STREQ(answer->szRootDir, "C:\\PROG");
  EXPECT_TRUE(answer->fEncryption);
}

TEST_F(EngineTest, NullOptionsAreRefused) {
  EXPECT_FALSE(engine.setOptions(nullptr));
}

TEST_F(EngineTest, RunsWithoutCallbacks) {
  engine.functions = ZIPUSERFUNCTIONS{};
  EXPECT_EQ(engine.run(target(), {everything()}), ZP_OK);
  EXPECT_EQ(entriesOf(target()).size(), 1u);
}

TEST_F(EngineTest, EmptyArchiveNameIsAnswered) {
  EXPECT_EQ(engine.run("", {everything()}), ZP_NAME);
  EXPECT_TRUE(engine.said("zip error")) << engine.messages();
}

TEST_F(EngineTest, ArchiveNameWithoutDotGetsZip) {
  EXPECT_EQ(engine.run(folder / "destino\\copia", {everything()}), ZP_OK);
  EXPECT_EQ(entriesOf(target()).size(), 1u);
}

TEST_F(EngineTest, RelativeArchiveNameIsInTheCurrentFolder) {
  wchar_t before[MAX_PATH];
  GetCurrentDirectoryW(MAX_PATH, before);
  SetCurrentDirectoryW(folder.wide(L"destino").c_str());
  EXPECT_EQ(engine.run("copia.zip", {everything()}), ZP_OK);
  wchar_t after[MAX_PATH];
  GetCurrentDirectoryW(MAX_PATH, after);
  SetCurrentDirectoryW(before);
  EXPECT_EQ(folder.wide(L"destino"), after);
  EXPECT_EQ(entriesOf(target()).size(), 1u);
}

// ---- What is archived
// ------------------------------------------------------------------------------------------------

TEST_F(EngineTest, StoresEveryFileWithSizeAndChecksum) {
  const std::string large = someText(300000);
  folder.write(L"Datos\\grande.db", large);
  folder.write(L"Datos\\SINPUNTO", "x");
  folder.write(L"Datos\\vac\u00edo.db", "");
  folder.write(L"Datos\\Sub A\u00f1o\\b c.mdb", "bb");
  folder.make(L"Datos\\hueca");
  ASSERT_EQ(engine.run(target(), {everything()}), ZP_OK) << engine.messages();
  const auto entries = entriesOf(target());
  EXPECT_EQ(entries.size(), 7u);
  const auto expect = [&](const std::wstring& name, const std::string& content) {
    const auto found = entries.find(stored(name));
    ASSERT_NE(found, entries.end()) << stored(name);
    EXPECT_EQ(found->second.size, content.size());
    EXPECT_EQ(found->second.checksum, checksumOf(content));
  };
  expect(L"Datos\\a.txt", "hola");
  expect(L"Datos\\grande.db", large);
  expect(L"Datos\\SINPUNTO", "x");
  expect(L"Datos\\vac\u00edo.db", "");
  expect(L"Datos\\Sub A\u00f1o\\b c.mdb", "bb");
  EXPECT_EQ(entries.count(stored(L"Datos\\Sub A\u00f1o") + "/"), 1u);
  EXPECT_EQ(entries.count(stored(L"Datos\\hueca") + "/"), 1u);
  EXPECT_LT(entries.at(stored(L"Datos\\grande.db")).packed, large.size() * 3 / 4);
}

TEST_F(EngineTest, NameWithAccentIsMarkedAsUtf8AndPlainNameIsNot) {
  folder.write(L"Datos\\\u00f1and\u00fa.txt", "x");
  ASSERT_EQ(engine.run(target(), {everything()}), ZP_OK);
  const auto entries = entriesOf(target());
  EXPECT_NE(entries.at(stored(L"Datos\\\u00f1and\u00fa.txt")).flags & 0x800, 0);
  EXPECT_EQ(entries.at(stored(L"Datos\\a.txt")).flags & 0x800, 0);
  EXPECT_TRUE(engine.said(ansi(L"\u00f1and\u00fa.txt"))) << "messages are in the ANSI code page";
}

TEST_F(EngineTest, NamesOutsideTheCodePageAreStored) {
  folder.write(L"Datos\\\u65e5\u672c\\\u0101.txt", "uno");
  folder.write(L"Datos\\\u65e5\u672c\\a.txt", "dos");
  ASSERT_EQ(engine.run(target(), {everything()}), ZP_OK) << engine.messages();
  const auto entries = entriesOf(target());
  EXPECT_EQ(entries.at(stored(L"Datos\\\u65e5\u672c\\\u0101.txt")).checksum, checksumOf("uno"));
  EXPECT_EQ(entries.at(stored(L"Datos\\\u65e5\u672c\\a.txt")).checksum, checksumOf("dos"));
  EXPECT_TRUE(engine.said("#U65e5#U672c/#U0101.txt")) << engine.messages();
}

TEST_F(EngineTest, PathsOfMoreThan260CharactersAreStored) {
  std::wstring path = L"Datos";
  for (int depth = 0; depth < 8; ++depth) path += L"\\" + std::wstring(50, static_cast<wchar_t>(L'a' + depth));
  folder.write(path + L"\\hondo.txt", "fondo");
  ASSERT_EQ(engine.run(target(), {everything()}), ZP_OK) << engine.messages();
  EXPECT_EQ(entriesOf(target()).at(stored(path + L"\\hondo.txt")).checksum, checksumOf("fondo"));
}

TEST_F(EngineTest, MissingNameIsReportedAndTheOthersAreStored) {
  EXPECT_EQ(engine.run(target(), {"querty", everything()}), ZP_OK);
  EXPECT_TRUE(engine.said("name not matched: querty")) << engine.messages();
  EXPECT_EQ(entriesOf(target()).size(), 1u);
}

TEST_F(EngineTest, EmptySlotsArePassedOver) {
  EXPECT_EQ(engine.run(target(), {"", everything(), "", ""}), ZP_OK);
  EXPECT_EQ(entriesOf(target()).size(), 1u);
}

TEST_F(EngineTest, NamesThatLookLikeOptionsAreNames) {
  engine.options.fRecurse = 0;
  std::string root = folder / "Datos";
  engine.options.szRootDir = root.data();
  folder.write(L"Datos\\-x.txt", "guion");
  folder.write(L"Datos\\@.txt", "arroba");
  folder.write(L"Datos\\-", "solo");
  ASSERT_EQ(engine.run(target(), {"-x.txt", "@.txt", "-"}), ZP_OK) << engine.messages();
  const auto entries = entriesOf(target());
  EXPECT_EQ(entries.count("-x.txt"), 1u);
  EXPECT_EQ(entries.count("@.txt"), 1u);
  EXPECT_EQ(entries.count("-"), 1u);
}

TEST_F(EngineTest, NothingToArchiveIsCode12AndMakesNoArchive) {
  EXPECT_EQ(engine.run(target(), {"querty", folder / "nada\\*.*"}), ZP_NONE);
  EXPECT_TRUE(folder.list(L"destino").empty());
}

TEST_F(EngineTest, NinetyNineLongNamesThatDoNotExistDoNoHarm) {
  const std::vector<std::string> names(99, "C:\\" + std::string(240, 'x'));
  EXPECT_EQ(engine.run(target(), names), ZP_NONE);
  EXPECT_TRUE(folder.list(L"destino").empty());
}

TEST_F(EngineTest, RelativeNamesStartFromTheRoot) {
  std::string root = folder / "Datos";
  engine.options.szRootDir = root.data();
  folder.write(L"Datos\\sub\\b.txt", "b");
  ASSERT_EQ(engine.run(target(), {"*.*"}), ZP_OK) << engine.messages();
  const auto entries = entriesOf(target());
  EXPECT_EQ(entries.size(), 3u);
  EXPECT_EQ(entries.count("a.txt"), 1u);
  EXPECT_EQ(entries.count("sub/b.txt"), 1u);
}

TEST_F(EngineTest, WithoutRecursionSubfoldersAreNotEntered) {
  engine.options.fRecurse = 0;
  folder.write(L"Datos\\sub\\b.txt", "b");
  ASSERT_EQ(engine.run(target(), {everything()}), ZP_OK);
  const auto entries = entriesOf(target());
  EXPECT_EQ(entries.count(stored(L"Datos\\a.txt")), 1u);
  EXPECT_EQ(entries.count(stored(L"Datos\\sub\\b.txt")), 0u);
}

TEST_F(EngineTest, RecursionOneAndTwoEnterSubfoldersForPathsAndPatterns) {
  folder.write(L"Datos\\uno.mdb", "1");
  folder.write(L"Datos\\sub\\dos.mdb", "2");
  folder.write(L"Datos\\sub\\sub\\tres.mdb", "3");
  folder.write(L"Datos\\sub\\otro.txt", "o");
  for (const int recurse : {1, 2}) {
    engine.options.fRecurse = recurse;
    DeleteFileA(target().c_str());
    ASSERT_EQ(engine.run(target(), {folder / "Datos\\*.mdb"}), ZP_OK) << engine.messages();
    auto entries = entriesOf(target());
    EXPECT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries.count(stored(L"Datos\\sub\\sub\\tres.mdb")), 1u);
    DeleteFileA(target().c_str());
    ASSERT_EQ(engine.run(target(), {folder / "Datos"}), ZP_OK);
    entries = entriesOf(target());
    EXPECT_EQ(entries.count(stored(L"Datos\\sub\\otro.txt")), 1u);
    EXPECT_EQ(entries.count(stored(L"Datos\\a.txt")), 1u);
  }
}

TEST_F(EngineTest, ArchiveInTheArchivedFolderDoesNotHoldItself) {
  const std::string inside = folder / "Datos\\propia.zip";
  for (int run = 0; run < 2; ++run) {
    ASSERT_EQ(engine.run(inside, {everything()}), ZP_OK) << engine.messages();
    const auto entries = entriesOf(inside);
    EXPECT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries.count(stored(L"Datos\\a.txt")), 1u);
  }
}

TEST_F(EngineTest, HiddenAndSystemFilesAreTakenOnlyWhenAskedFor) {
  folder.write(L"Datos\\oculto.txt", "o");
  SetFileAttributesW(folder.wide(L"Datos\\oculto.txt").c_str(), FILE_ATTRIBUTE_HIDDEN);
  ASSERT_EQ(engine.run(target(), {everything()}), ZP_OK);
  EXPECT_EQ(entriesOf(target()).count(stored(L"Datos\\oculto.txt")), 0u);
  engine.options.fSystem = 1;
  ASSERT_EQ(engine.run(target(), {everything()}), ZP_OK);
  EXPECT_EQ(entriesOf(target()).count(stored(L"Datos\\oculto.txt")), 1u);
}

// ---- Options
// ---------------------------------------------------------------------------------------------------------

TEST_F(EngineTest, LevelZeroIsTheDefaultLevelSix) {
  folder.write(L"Datos\\a.txt", someText(200000));
  const auto packedAt = [&](char level) {
    DeleteFileA(target().c_str());
    engine.options.fLevel = level;
    EXPECT_EQ(engine.run(target(), {everything()}), ZP_OK);
    return entriesOf(target()).at(stored(L"Datos\\a.txt")).packed;
  };
  const uint64_t byDefault = packedAt(0);
  EXPECT_EQ(byDefault, packedAt(6));
  EXPECT_EQ(byDefault, packedAt('6'));
  EXPECT_LT(byDefault, packedAt(1));
  EXPECT_EQ(packedAt('0'), 200000u);
}

TEST_F(EngineTest, UpdateTakesOnlyWhatIsNewer) {
  folder.write(L"Datos\\\u00f1.txt", "viejo");
  ASSERT_EQ(engine.run(target(), {everything()}), ZP_OK);
  engine.options.fUpdate = 1;
  EXPECT_EQ(engine.run(target(), {everything()}), ZP_NONE);
  folder.write(L"Datos\\\u00f1.txt", "nuevo");
  folder.write(L"Datos\\b.txt", "b");
  const HANDLE file = CreateFileW(folder.wide(L"Datos\\\u00f1.txt").c_str(), FILE_WRITE_ATTRIBUTES, 0, nullptr,
                                  OPEN_EXISTING, 0, nullptr);
  FILETIME later;
  GetSystemTimeAsFileTime(&later);
  later.dwHighDateTime += 1;  // about seven minutes
  SetFileTime(file, nullptr, nullptr, &later);
  CloseHandle(file);
  ASSERT_EQ(engine.run(target(), {everything()}), ZP_OK) << engine.messages();
  const auto entries = entriesOf(target());
  EXPECT_EQ(entries.size(), 3u);
  EXPECT_EQ(entries.at(stored(L"Datos\\\u00f1.txt")).checksum, checksumOf("nuevo"));
  EXPECT_FALSE(engine.said("a.txt")) << engine.messages();
}

TEST_F(EngineTest, JunkDirStoresNamesWithoutFolders) {
  folder.write(L"Datos\\sub\\b.txt", "b");
  engine.options.fJunkDir = 1;
  ASSERT_EQ(engine.run(target(), {everything()}), ZP_OK);
  const auto entries = entriesOf(target());
  EXPECT_EQ(entries.count("a.txt"), 1u);
  EXPECT_EQ(entries.count("b.txt"), 1u);
}

TEST_F(EngineTest, NoDirEntriesLeavesFoldersOut) {
  folder.make(L"Datos\\hueca");
  engine.options.fNoDirEntries = 1;
  ASSERT_EQ(engine.run(target(), {everything()}), ZP_OK);
  EXPECT_EQ(entriesOf(target()).size(), 1u);
}

TEST_F(EngineTest, QuietPrintsNothing) {
  engine.options.fQuiet = 1;
  ASSERT_EQ(engine.run(target(), {everything()}), ZP_OK);
  EXPECT_EQ(engine.messages(), "");
}

TEST_F(EngineTest, MoveDeletesWhatItArchived) {
  engine.options.fMove = 1;
  ASSERT_EQ(engine.run(target(), {everything()}), ZP_OK) << engine.messages();
  EXPECT_EQ(entriesOf(target()).size(), 1u);
  EXPECT_TRUE(folder.list(L"Datos").empty());
}

TEST_F(EngineTest, DeleteEntriesRemovesThemFromTheArchive) {
  folder.write(L"Datos\\b.txt", "b");
  ASSERT_EQ(engine.run(target(), {everything()}), ZP_OK);
  engine.options.fDeleteEntries = 1;
  engine.options.fRecurse = 0;
  ASSERT_EQ(engine.run(target(), {"*/b.txt"}), ZP_OK) << engine.messages();
  const auto entries = entriesOf(target());
  EXPECT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries.count(stored(L"Datos\\a.txt")), 1u);
}

TEST_F(EngineTest, GrowAppendsToTheArchive) {
  ASSERT_EQ(engine.run(target(), {everything()}), ZP_OK);
  folder.write(L"Datos\\b.txt", "b");
  engine.options.fGrow = 1;
  ASSERT_EQ(engine.run(target(), {folder / "Datos\\b.txt"}), ZP_OK) << engine.messages();
  EXPECT_EQ(entriesOf(target()).size(), 2u);
}

int WINAPI giveComment(char* buffer) {
  strcpy(buffer, "copia de prueba");
  return 0;
}

int WINAPI givePassword(char* buffer, int, const char*, const char*) {
  strcpy(buffer, "secreto");
  return 0;
}

TEST_F(EngineTest, CommentComesFromTheCallback) {
  engine.options.fComment = 1;
  engine.functions.comment = giveComment;
  ASSERT_EQ(engine.run(target(), {everything()}), ZP_OK);
  const std::string bytes = readFile(target());
  ASSERT_GT(bytes.size(), 15u);
  EXPECT_EQ(bytes.substr(bytes.size() - 15), "copia de prueba");
}

TEST_F(EngineTest, PasswordComesFromTheCallbackAndRefusalEndsTheRun) {
  engine.options.fEncrypt = 1;
  EXPECT_EQ(engine.run(target(), {everything()}), ZP_PARMS);
  EXPECT_TRUE(folder.list(L"destino").empty());
  engine.functions.password = givePassword;
  ASSERT_EQ(engine.run(target(), {everything()}), ZP_OK) << engine.messages();
  EXPECT_NE(entriesOf(target()).at(stored(L"Datos\\a.txt")).flags & 1, 0);
}

TEST_F(EngineTest, NothingIsEncryptedUnlessAskedFor) {
  ASSERT_EQ(engine.run(target(), {everything()}), ZP_OK);
  EXPECT_EQ(entriesOf(target()).at(stored(L"Datos\\a.txt")).flags & 1, 0);
}

TEST_F(EngineTest, IncludeDateLeavesOutOlderFiles) {
  char date[] = "2100-01-01";
  engine.options.fIncludeDate = 1;
  engine.options.Date = date;
  EXPECT_EQ(engine.run(target(), {everything()}), ZP_NONE);
  char nonsense[] = "ayer";
  engine.options.Date = nonsense;
  EXPECT_EQ(engine.run(target(), {everything()}), ZP_PARMS);
}

// ---- Messages
// --------------------------------------------------------------------------------------------------------

TEST_F(EngineTest, SmallFileIsOneMessage) {
  engine.options.fExtra = 1;
  ASSERT_EQ(engine.run(target(), {everything()}), ZP_OK);
  ASSERT_EQ(engine.calls.size(), 1u);
  EXPECT_EQ(engine.calls[0], "  adding: " + stored(L"Datos\\a.txt") + " (stored 0%)\r\n");
}

TEST_F(EngineTest, LargeFileIsItsNameThenADotPerMebibyteThenItsResult) {
  engine.options.fExtra = 1;
  folder.write(L"Datos\\a.txt", someText(10 << 20));
  ASSERT_EQ(engine.run(target(), {everything()}), ZP_OK);
  ASSERT_GE(engine.calls.size(), 11u);
  EXPECT_EQ(engine.calls.front(), "  adding: " + stored(L"Datos\\a.txt") + " ");
  EXPECT_EQ(engine.calls.back().rfind(" (deflated ", 0), 0u) << engine.calls.back();
  EXPECT_EQ(engine.calls.back().substr(engine.calls.back().size() - 4), "%)\r\n");
  for (size_t at = 1; at + 1 < engine.calls.size(); ++at) EXPECT_EQ(engine.calls[at], ".");
  EXPECT_NEAR(static_cast<double>(engine.calls.size()), 12.0, 2.0);
}

TEST_F(EngineTest, NoCallBringsMoreThan4096Characters) {
  std::wstring path = L"Datos";
  for (int depth = 0; depth < 18; ++depth) path += L"\\" + std::wstring(60, L'\u65e5');
  folder.write(path + L"\\x", "x");
  engine.run(target(), {everything(), std::string(9000, 'z')});
  EXPECT_TRUE(engine.said(std::string("#U65e5") + "/x")) << "a line of more than 4096 characters comes whole";
  for (const std::string& call : engine.calls) EXPECT_LE(call.size(), static_cast<size_t>(ZP_MAXIMUM_MESSAGE));
}

TEST_F(EngineTest, NothingGoesToTheStandardStreams) {
  const std::wstring path = folder.wide(L"salida.txt");
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited, CREATE_ALWAYS, 0, nullptr);
  const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
  const HANDLE errors = GetStdHandle(STD_ERROR_HANDLE);
  fflush(stdout);
  const int savedOutput = _dup(1);
  const int savedErrors = _dup(2);
  const int descriptor = _open_osfhandle(reinterpret_cast<intptr_t>(file), 0);
  _dup2(descriptor, 1);
  _dup2(descriptor, 2);
  SetStdHandle(STD_OUTPUT_HANDLE, file);
  SetStdHandle(STD_ERROR_HANDLE, file);
  engine.options.fVerbose = 1;
  engine.run(target(), {"querty", everything()});
  engine.run(folder / "nada\\copia.zip", {everything()});
  fflush(stdout);
  _dup2(savedOutput, 1);
  _dup2(savedErrors, 2);
  _close(savedOutput);
  _close(savedErrors);
  SetStdHandle(STD_OUTPUT_HANDLE, output);
  SetStdHandle(STD_ERROR_HANDLE, errors);
  _close(descriptor);
  EXPECT_EQ(readFile(folder / "salida.txt"), "");
}

// ---- Failures
// --------------------------------------------------------------------------------------------------------

TEST_F(EngineTest, FileOpenElsewhereExclusivelyIsSkippedAndNamed) {
  folder.write(L"Datos\\ocupado.db", "no");
  folder.write(L"Datos\\z.txt", "si");
  const HANDLE held = openExclusively(folder.wide(L"Datos\\ocupado.db"));
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_EQ(engine.run(target(), {everything()}), ZP_OPEN);
  CloseHandle(held);
  EXPECT_TRUE(engine.said("could not open for reading: " + stored(L"Datos\\ocupado.db"))) << engine.messages();
  const auto entries = entriesOf(target());
  EXPECT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries.count(stored(L"Datos\\z.txt")), 1u);
}

TEST_F(EngineTest, FileOpenElsewhereForSharedWritingIsArchived) {
  const HANDLE held = CreateFileW(folder.wide(L"Datos\\a.txt").c_str(), GENERIC_READ | GENERIC_WRITE,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_EQ(engine.run(target(), {everything()}), ZP_OK) << engine.messages();
  CloseHandle(held);
  EXPECT_EQ(unpacked(stored(L"Datos\\a.txt")), "hola");
}

TEST_F(EngineTest, PartOfAFileLockedElsewhereIsReported) {
  folder.write(L"Datos\\trozo.db", someText(400000));
  const HANDLE held = CreateFileW(folder.wide(L"Datos\\trozo.db").c_str(), GENERIC_READ | GENERIC_WRITE,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  ASSERT_TRUE(LockFile(held, 200000, 0, 1000, 0));
  const HANDLE probe = CreateFileW(folder.wide(L"Datos\\trozo.db").c_str(), GENERIC_READ,
                                   FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
  char byte;
  DWORD got = 0;
  SetFilePointer(probe, 200100, nullptr, FILE_BEGIN);
  const bool enforced = !ReadFile(probe, &byte, 1, &got, nullptr);
  CloseHandle(probe);
  const int code = engine.run(target(), {everything()});
  CloseHandle(held);
  // Byte locks hold off readers on Windows; Wine keeps them among lockers only, and the file is then read whole.
  const std::string read = unpacked(stored(L"Datos\\trozo.db"));
  if (enforced) {
    EXPECT_EQ(code, ZP_OPEN);
    EXPECT_TRUE(engine.said("could not read to the end")) << engine.messages();
    EXPECT_LE(read.size(), 200000u);
    EXPECT_TRUE(read == someText(400000).substr(0, read.size()));
  } else {
    EXPECT_EQ(code, ZP_OK);
    EXPECT_TRUE(read == someText(400000));
  }
  EXPECT_EQ(unpacked(stored(L"Datos\\a.txt")), "hola");
}

TEST_F(EngineTest, MissingTargetFolderIsCode15) {
  EXPECT_EQ(engine.run(folder / "nada\\copia.zip", {everything()}), ZP_CREAT);
  EXPECT_TRUE(engine.said("zip error")) << engine.messages();
}

TEST_F(EngineTest, TargetThatIsAFolderIsCode15AndStays) {
  folder.write(L"destino\\copia.zip\\dentro.txt", "d");
  EXPECT_EQ(engine.run(target(), {everything()}), ZP_CREAT);
  EXPECT_EQ(folder.list(L"destino\\copia.zip").size(), 1u);
  EXPECT_TRUE(leftovers().empty());
}

TEST_F(EngineTest, ReadOnlyArchiveIsLeftAsItIs) {
  ASSERT_EQ(engine.run(target(), {everything()}), ZP_OK);
  const std::string before = readFile(target());
  SetFileAttributesA(target().c_str(), FILE_ATTRIBUTE_READONLY);
  EXPECT_EQ(engine.run(target(), {everything()}), ZP_CREAT);
  EXPECT_EQ(readFile(target()), before);
  EXPECT_TRUE(leftovers().empty());
}

TEST_F(EngineTest, ArchiveInUseElsewhereIsLeftAsItIs) {
  ASSERT_EQ(engine.run(target(), {everything()}), ZP_OK);
  const std::string before = readFile(target());
  const HANDLE held = openExclusively(folder.wide(L"destino\\copia.zip"));
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_EQ(engine.run(target(), {everything()}), ZP_CREAT);
  CloseHandle(held);
  EXPECT_EQ(readFile(target()), before);
  EXPECT_TRUE(leftovers().empty());
}

TEST_F(EngineTest, WhatAKilledRunLeftBesideTheArchiveGoes) {
  folder.write(L"destino\\qev4711-0.tmp", "a medias");
  ASSERT_EQ(engine.run(target(), {everything()}), ZP_OK);
  EXPECT_TRUE(leftovers().empty());
}

// While the archive is written somebody opens the old one, and lets go of it.
TEST_F(EngineTest, ArchiveThatIsHeldForAMomentIsReplacedWhenItIsFree) {
  ASSERT_EQ(engine.run(target(), {everything()}), ZP_OK);
  const std::string before = readFile(target());
  folder.write(L"Datos\\b.txt", "adiós");
  static std::thread scanner;
  static std::wstring place;
  place = folder.wide(L"destino\\copia.zip");
  engine.whilePrinting = [] {
    if (scanner.joinable()) return;
    scanner = std::thread([held = openExclusively(place)] {
      Sleep(300);
      CloseHandle(held);
    });
  };
  EXPECT_EQ(engine.run(target(), {everything()}), ZP_OK) << engine.messages();
  ASSERT_TRUE(scanner.joinable());
  scanner.join();
  EXPECT_NE(readFile(target()), before);
  EXPECT_TRUE(leftovers().empty());
}

TEST_F(EngineTest, FileThatIsNoArchiveIsNotOverwritten) {
  folder.write(L"destino\\copia.zip", someText(5000));
  const int code = engine.run(target(), {everything()});
  EXPECT_NE(code, ZP_OK);
  EXPECT_EQ(readFile(target()), someText(5000));
  EXPECT_TRUE(leftovers().empty());
}

TEST_F(EngineTest, RootThatDoesNotExistIsCode16) {
  std::string root = folder / "nada";
  engine.options.szRootDir = root.data();
  EXPECT_EQ(engine.run(target(), {everything()}), ZP_PARMS);
  EXPECT_TRUE(engine.said("root folder")) << engine.messages();
  EXPECT_TRUE(folder.list(L"destino").empty());
}

// A disk of a few hundred kilobytes, which the test's surroundings provide: its folder is in QEV_SMALL_DISK.
TEST_F(EngineTest, DiskThatFillsUpIsAnsweredAndTheOldArchiveStays) {
  const char* const disk = getenv("QEV_SMALL_DISK");
  if (disk == nullptr) GTEST_SKIP() << "QEV_SMALL_DISK names no small disk";
  const std::string archive = std::string(disk) + "\\copia.zip";
  ASSERT_EQ(engine.run(archive, {everything()}), ZP_OK) << engine.messages();
  const std::string before = readFile(archive);
  folder.write(L"Datos\\grande.db", someText(8 << 20));
  for (int attempt = 0; attempt < 20; ++attempt) {
    const int code = engine.run(archive, {everything()});
    EXPECT_TRUE(code == ZP_WRITE || code == ZP_TEMP) << code;
    EXPECT_TRUE(engine.said("No space left on device")) << engine.messages();
  }
  EXPECT_EQ(readFile(archive), before);
  WIN32_FIND_DATAA data;
  const HANDLE scan = FindFirstFileA((std::string(disk) + "\\zi*").c_str(), &data);
  EXPECT_EQ(scan, INVALID_HANDLE_VALUE) << "left behind: " << data.cFileName;
  DeleteFileA(archive.c_str());
  EXPECT_EQ(engine.run(target(), {everything()}), ZP_OK);
}

// ---- Called again
// ----------------------------------------------------------------------------------------------------

TEST_F(EngineTest, HundredsOfFailuresLeaveNothingBehindAndTheNextRunSucceeds) {
  folder.write(L"Datos\\ocupado.db", someText(100000));
  folder.write(L"Datos\\\u00f1\\b.txt", "b");
  folder.write(L"destino\\basura.zip", someText(5000));
  const HANDLE held = openExclusively(folder.wide(L"Datos\\ocupado.db"));
  std::string root = folder / "nada";
  char slash[] = "\\";
  wchar_t currentFolder[MAX_PATH];
  GetCurrentDirectoryW(MAX_PATH, currentFolder);
  const auto failInEveryWay = [&] {
    EXPECT_EQ(engine.run(folder / "nada\\copia.zip", {everything()}), ZP_CREAT);
    EXPECT_EQ(engine.run(target(), {"querty"}), ZP_NONE);
    EXPECT_EQ(engine.run(target(), {everything()}), ZP_OPEN);
    EXPECT_NE(engine.run(folder / "destino\\basura.zip", {everything()}), ZP_OK);
    engine.options.szRootDir = root.data();
    EXPECT_EQ(engine.run(target(), {everything()}), ZP_PARMS);
    engine.options.szRootDir = slash;
    DeleteFileA(target().c_str());
  };
  for (int warmUp = 0; warmUp < 5; ++warmUp) failInEveryWay();
  const DWORD handles = handleCount();
  const size_t heap = processHeapInUse();
  const SIZE_T memory = memoryInUse();
  for (int round = 0; round < 60; ++round) failInEveryWay();
  EXPECT_LE(handleCount(), handles + handlesOfTheSystem);
  EXPECT_LT(processHeapInUse(), heap + 4096);
  EXPECT_LT(memoryInUse(), memory + (2u << 20));
  CloseHandle(held);
  EXPECT_EQ(engine.run(target(), {everything()}), ZP_OK) << engine.messages();
  EXPECT_EQ(entriesOf(target()).size(), 4u);
  EXPECT_EQ(folder.list(L"destino"), (std::vector<std::wstring>{L"basura.zip", L"copia.zip"}));
  wchar_t after[MAX_PATH];
  GetCurrentDirectoryW(MAX_PATH, after);
  EXPECT_STREQ(after, currentFolder);
}

TEST_F(EngineTest, AHundredSuccessesAreAlikeToTheByte) {
  folder.write(L"Datos\\b.db", someText(70000));
  ASSERT_EQ(engine.run(target(), {everything()}), ZP_OK);
  const std::string first = engine.messages();
  const auto entries = entriesOf(target());
  const DWORD handles = handleCount();
  for (int round = 0; round < 100; ++round) {
    DeleteFileA(target().c_str());
    ASSERT_EQ(engine.run(target(), {everything()}), ZP_OK);
    ASSERT_EQ(engine.messages(), first);
    ASSERT_EQ(entriesOf(target()).size(), entries.size());
  }
  EXPECT_LE(handleCount(), handles + handlesOfTheSystem);
}

Engine* outer = nullptr;
int innerCode = -1;
int otherThreadCode = -1;

TEST_F(EngineTest, CallDuringARunIsRefusedFromTheCallbackAndFromAnotherThread) {
  outer = &engine;
  engine.whilePrinting = [] {
    char archive[] = "no.zip";
    innerCode = outer->archive(0, archive, nullptr);
    EXPECT_EQ(outer->init(nullptr), 0);
    EXPECT_FALSE(outer->setOptions(&outer->options));
    std::thread([] {
      char name[] = "no.zip";
      otherThreadCode = outer->archive(0, name, nullptr);
    }).join();
  };
  EXPECT_EQ(engine.run(target(), {everything()}), ZP_OK);
  EXPECT_EQ(innerCode, ZP_LOGIC);
  EXPECT_EQ(otherThreadCode, ZP_LOGIC);
  engine.whilePrinting = nullptr;
  EXPECT_EQ(engine.run(target(), {everything()}), ZP_OK);
}

#ifdef _WIN64  // on x86 an exception does not pass from one statically linked module to another
TEST_F(EngineTest, CallbackThatThrowsLeavesTheEngineUsable) {
  const DWORD handles = handleCount();
  for (int round = 0; round < 10; ++round) {
    engine.whilePrinting = [] { throw 42; };
    EXPECT_THROW(engine.run(target(), {everything()}), int);
  }
  engine.whilePrinting = nullptr;
  EXPECT_LE(handleCount(), handles + handlesOfTheSystem);
  EXPECT_TRUE(folder.list(L"destino").empty());
  EXPECT_EQ(engine.run(target(), {everything()}), ZP_OK);
}
#endif

TEST_F(EngineTest, EngineCanBeUnloadedAndLoadedAgain) {
  for (int round = 0; round < 10; ++round) {
    Engine another;
    another.options = engine.options;
    EXPECT_EQ(another.run(target(), {everything()}), ZP_OK);
  }
}

}  // namespace
}  // namespace qev::test
