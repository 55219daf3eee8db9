// Retention: which files go, in which order, and what bad settings and undeletable files do.
#include "backup/CCopias.h"

#include <gmock/gmock.h>

#include <chrono>
#include <random>
#include <string>

#include "platform/AutomationError.h"
#include "set/LastSet.h"
#include "support/ErrorOf.h"
#include "support/FakePlatform.h"
#include "support/GoldenSet.h"
#include "support/ZipWriter.h"

#ifdef _WIN32
#include <windows.h>

#include "platform/Handle.h"
#include "platform/SystemServices.h"
#include "support/TemporaryFolder.h"
#endif

namespace qev::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;
using testing::UnorderedElementsAre;

constexpr wchar_t kFolder[] = L"C:\\Prog\\Backup\\";

// The sort that defines the order, word for word.
void exchangeSort(std::vector<ListedFile>& files) {
  for (std::size_t i = 0; i + 1 < files.size(); ++i) {
    if (files[i].created.days < files[i + 1].created.days) {
      std::swap(files[i], files[i + 1]);
      i = static_cast<std::size_t>(-1);
    }
  }
}

std::vector<std::wstring> pathsOf(const std::vector<ListedFile>& files) {
  std::vector<std::wstring> paths;
  for (const auto& file : files) paths.push_back(file.path);
  return paths;
}

TEST(NewestFirst, IsExactlyWhatTheExchangeSortGives) {
  std::mt19937 random(20261121);
  for (int round = 0; round < 600; ++round) {
    std::vector<ListedFile> files(random() % 45);
    const unsigned dates = 1 + random() % 12;  // few: many files share one
    for (std::size_t i = 0; i < files.size(); ++i) {
      files[i] = {std::to_wstring(i), Date{46000 + (random() % dates) / 86400.0}};
    }
    std::vector<ListedFile> expected = files;
    exchangeSort(expected);
    sortNewestFirst(files);
    ASSERT_EQ(pathsOf(expected), pathsOf(files)) << "round " << round;
  }
}

TEST(NewestFirst, SortsFiveThousandFilesWithoutDelay) {
  std::vector<ListedFile> files;  // oldest first: the most exchanges there can be
  for (int i = 0; i < 5000; ++i) files.push_back({std::to_wstring(i), Date{46000.0 + i}});
  const auto start = std::chrono::steady_clock::now();
  sortNewestFirst(files);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
  EXPECT_EQ(L"4999", files.front().path);
  EXPECT_EQ(L"0", files.back().path);
}

class CCopiasTest : public testing::Test {
 protected:
  CCopiasTest() { fake.files.putFolder(kFolder); }

  void put(const std::wstring& name, Date created) {
    fake.files.put(kFolder + name, "PK");
    fake.files.setCreated(kFolder + name, created);
  }

  void NCopias(const Value& value) { fake.registry.put(key, L"NCopias", value); }

  void retain(const std::wstring& folder = kFolder) {
    host.backupFolder = folder;
    CCopias(fake.files, settings, fake.locale, host, lastSet);
  }

  std::int32_t errorOfRetain() {
    return numberOf([this] { retain(); });
  }

  std::vector<std::wstring> left() const {
    std::vector<std::wstring> names;
    for (const auto& path : fake.files.paths()) names.push_back(fileNamePart(path));
    return names;
  }

  // So many sets, the first of them the oldest, a day between each.
  void putSets(int count) {
    for (int i = 0; i < count; ++i) put(L"Backup" + std::to_wstring(10 + i) + L".qev", Date{46000.0 + i});
  }

  FakePlatform fake;
  HostSettings host{L"Gestion", L"", L"", L"", L""};
  std::wstring lastSet;
  std::wstring key = L"Software\\Gestion";
  SettingsStore settings{fake.registry, key};
};

TEST_F(CCopiasTest, TwelveSetsAndNoSettingKeepTheTenNewestByCreationDate) {
  putSets(12);
  retain();
  EXPECT_THAT(left(), SizeIs(10));
  EXPECT_THAT(left(), testing::Not(testing::Contains(L"Backup10.qev")));
  EXPECT_THAT(left(), testing::Not(testing::Contains(L"Backup11.qev")));
}

TEST_F(CCopiasTest, AnyOtherFileOfTheFolderIsCountedAndMayBeDeleted) {
  NCopias(2);
  put(L"carta.doc", moment(2026, 11, 16));
  put(L"Backup15-11-26.qev", moment(2026, 11, 15));
  put(L"Backup14-11-26.qev", moment(2026, 11, 14));
  put(L"nota", moment(2026, 11, 13));
  retain();
  EXPECT_THAT(left(), ElementsAre(L"Backup15-11-26.qev", L"carta.doc"));
}

TEST_F(CCopiasTest, TheCreationDateCountsWhateverTheDateInTheName) {
  NCopias(1);
  put(L"Backup31-12-26.qev", moment(2026, 1, 1));
  put(L"Backup01-01-20.qev", moment(2026, 1, 2));
  retain();
  EXPECT_THAT(left(), ElementsAre(L"Backup01-01-20.qev"));
}

TEST_F(CCopiasTest, OfTheSameSecondTheFirstListedIsKept) {
  NCopias(2);
  for (const wchar_t* name : {L"c.qev", L"a.qev", L"d.qev", L"b.qev"}) put(name, moment(2026, 11, 16, 12));
  retain();
  EXPECT_THAT(left(), ElementsAre(L"a.qev", L"c.qev"));
}

TEST_F(CCopiasTest, ASecondMakesAFileNewer) {
  NCopias(1);
  put(L"a.qev", moment(2026, 11, 16, 12, 0, 0));
  put(L"b.qev", moment(2026, 11, 16, 12, 0, 1));
  retain();
  EXPECT_THAT(left(), ElementsAre(L"b.qev"));
}

TEST_F(CCopiasTest, AMissingFolderIsCreatedAndNothingIsDeleted) {
  putSets(3);
  NCopias(0);
  retain(L"C:\\Prog\\Otra\\");
  EXPECT_TRUE(fake.files.folderExists(L"C:\\Prog\\Otra"));
  EXPECT_THAT(left(), SizeIs(3));
}

TEST_F(CCopiasTest, AFolderThatCannotBeCreatedIsAnError) {
  EXPECT_EQ(kPathNotFound, numberOf([this] { retain(L"C:\\No\\Existe\\"); }));
}

TEST_F(CCopiasTest, ZeroDeletesEveryFile) {
  putSets(4);
  NCopias(0);
  retain();
  EXPECT_THAT(left(), IsEmpty());
  EXPECT_TRUE(fake.files.folderExists(kFolder));
}

TEST_F(CCopiasTest, AsManyAsThereAreOrMoreDeletesNothing) {
  putSets(4);
  for (const std::int32_t kept : {4, 5, 32767}) {
    NCopias(kept);
    retain();
    EXPECT_THAT(left(), SizeIs(4));
  }
}

TEST_F(CCopiasTest, TheNumberMayBeStoredAsText) {
  putSets(4);
  NCopias(std::wstring(L"3"));
  retain();
  EXPECT_THAT(left(), ElementsAre(L"Backup11.qev", L"Backup12.qev", L"Backup13.qev"));
}

TEST_F(CCopiasTest, AnEmptySettingKeepsTen) {
  putSets(12);
  NCopias(std::wstring());
  retain();
  EXPECT_THAT(left(), SizeIs(10));
}

TEST_F(CCopiasTest, ANumberThatIsNoneRaises13AndDeletesNothing) {
  putSets(4);
  for (const wchar_t* text : {L"muchas", L"  ", L"diez"}) {
    NCopias(std::wstring(text));
    EXPECT_EQ(kTypeMismatch, errorOfRetain());
  }
  EXPECT_THAT(left(), SizeIs(4));
}

TEST_F(CCopiasTest, ANumberBeyond16BitsRaises6AndDeletesNothing) {
  putSets(4);
  for (const std::int32_t number : {40000, -40000}) {
    NCopias(number);
    EXPECT_EQ(kOverflow, errorOfRetain());
  }
  EXPECT_THAT(left(), SizeIs(4));
}

TEST_F(CCopiasTest, ANegativeNumberNamesNoEntryAndDeletesNothing) {
  putSets(4);
  NCopias(-1);
  EXPECT_EQ(kSubscriptOutOfRange, errorOfRetain());
  EXPECT_THAT(left(), SizeIs(4));
}

TEST_F(CCopiasTest, AnEmptyFolderIsContentWithAnyNumber) {
  NCopias(std::wstring(L"muchas"));
  EXPECT_EQ(0, errorOfRetain());
}

TEST_F(CCopiasTest, ReadOnlyFilesAreDeleted) {
  putSets(2);
  fake.files.makeReadOnly(kFolder + std::wstring(L"Backup10.qev"));
  NCopias(1);
  retain();
  EXPECT_THAT(left(), ElementsAre(L"Backup11.qev"));
}

TEST_F(CCopiasTest, AFileInUseRaises70AndItAndTheOlderOnesStay) {
  putSets(5);
  const auto open = fake.files.openForReading(kFolder + std::wstring(L"Backup11.qev"));
  NCopias(1);
  EXPECT_EQ(kPermissionDenied, errorOfRetain());
  EXPECT_THAT(left(), ElementsAre(L"Backup10.qev", L"Backup11.qev", L"Backup14.qev"));
}

TEST_F(CCopiasTest, SubfoldersAreNotLookedAt) {
  putSets(1);
  fake.files.put(L"C:\\Prog\\Backup\\Viejas\\Backup01.qev", "PK");
  NCopias(0);
  retain();
  EXPECT_THAT(left(), ElementsAre(L"Backup01.qev"));
}

TEST_F(CCopiasTest, AnErrorOfTheStoreOrOfTheListingDeletesNothing) {
  putSets(3);
  NCopias(0);
  fake.registry.readError = kPermissionDenied;
  EXPECT_EQ(kPermissionDenied, errorOfRetain());
  fake.registry.readError.reset();
  fake.files.failAt(1, kDeviceInputOutput);
  EXPECT_EQ(kDeviceInputOutput, errorOfRetain());
  EXPECT_THAT(left(), SizeIs(3));
}

// `DirMDE` that was not read, as by a host of the other architecture, makes "Backup\".
TEST_F(CCopiasTest, AFolderThatNamesNeitherDriveNorShareRaises76AndNothingIsMadeOrDeleted) {
  NCopias(0);
  for (const wchar_t* folder : {L"", L"Backup\\", L"Backup", L"\\Backup\\", L"/Backup", L".", L"..\\Backup\\", L"C:",
                                L"C:Backup\\", L"\\\\servidor", L"\\\\"}) {
    fake.files.put(folder + std::wstring(L"\\a.qev"), "PK");
    const auto before = fake.files.paths();
    fake.files.failAt(0);
    const AutomationError error = errorOf([&] { retain(folder); });
    EXPECT_EQ(kPathNotFound, error.number());
    EXPECT_EQ(AutomationError(kPathNotFound, folder).description(), error.description());
    EXPECT_EQ(before, fake.files.paths());
    EXPECT_EQ(0u, fake.files.calls());
    EXPECT_THAT(fake.files.leftOversRemovedFrom, IsEmpty());
  }
}

TEST_F(CCopiasTest, FoldersOfDrivesAndSharesAreTaken) {
  NCopias(0);
  for (const wchar_t* folder : {L"C:\\Prog\\Backup", L"c:/Prog/Backup/", L"D:\\", L"\\\\servidor\\copias",
                                L"\\\\servidor\\copias\\a\\", L"\\\\?\\C:\\Prog\\Backup\\"}) {
    const std::wstring set = std::wstring(folder) + L"\\a.qev";
    fake.files.put(set, "PK");
    retain(folder);
    EXPECT_FALSE(fake.files.fileExists(set));
  }
}

TEST_F(CCopiasTest, WithoutSafeModeNoFileIsOpenedAndNoNameAwaited) {
  putSets(12);
  for (const auto& path : fake.files.paths()) fake.files.makeUnreadable(path);
  lastSet = kFolder + std::wstring(L"Backup10.qev");
  retain();
  EXPECT_THAT(left(), SizeIs(10));
  EXPECT_THAT(fake.files.namesNotAwaited,
              ElementsAre(kFolder + std::wstring(L"Backup11.qev"), kFolder + std::wstring(L"Backup10.qev")));
}

// --- Safe mode ---

class SafeRetention : public CCopiasTest {
 protected:
  SafeRetention() {
    fake.registry.put(key, L"Verificar", 1);
    NCopias(1);
  }

  static std::string setOf(const std::string& title = "Gestion") {
    return headerLine("1", "1", "16/11/2026", title) + "\r\n" + zipOf({storedEntry("Prog/Datos/a.db", "datos")});
  }

  // A file with the content of a set unless told otherwise. The higher the day, the newer.
  void put(const std::wstring& name, int day, const std::string& bytes = setOf()) {
    fake.files.put(kFolder + name, bytes);
    fake.files.setCreated(kFolder + name, Date{46000.0 + day});
  }

  static std::string cut(const std::string& set) { return set.substr(0, set.size() - 30); }
};

TEST_F(SafeRetention, OnlySetsOfThisTitleCountAndGoWhateverTheirNames) {
  put(L"carta.doc", 9, "carta");
  put(L"de otra empresa.qev", 8, setOf("Contabilidad"));
  put(L"otra letra.qev", 8, setOf("GESTION"));
  put(L"nueva.qev", 7);
  put(L"vacía.qev", 6, "");
  put(L"vieja.qev", 5);
  put(L"más vieja.dat", 4);
  put(L"nota.txt", 3, "nota");
  retain();
  EXPECT_THAT(left(), UnorderedElementsAre(L"carta.doc", L"de otra empresa.qev", L"otra letra.qev", L"nueva.qev",
                                           L"vacía.qev", L"nota.txt"));
  EXPECT_THAT(fake.files.namesNotAwaited,
              ElementsAre(kFolder + std::wstring(L"vieja.qev"), kFolder + std::wstring(L"más vieja.dat")));
}

TEST_F(SafeRetention, AsManySetsStayAsTheSettingSays) {
  NCopias(3);
  for (int day = 1; day <= 5; ++day) put(std::to_wstring(day) + L".qev", day);
  put(L"nota.txt", 6, "nota");
  retain();
  EXPECT_THAT(left(), UnorderedElementsAre(L"3.qev", L"4.qev", L"5.qev", L"nota.txt"));
}

TEST_F(SafeRetention, ZeroCountsAsOne) {
  NCopias(0);
  put(L"1.qev", 1);
  put(L"2.qev", 2);
  retain();
  EXPECT_THAT(left(), ElementsAre(L"2.qev"));
  retain();
  EXPECT_THAT(left(), ElementsAre(L"2.qev"));
  put(L"3.qev", 3, cut(setOf()));
  retain();
  EXPECT_THAT(left(), ElementsAre(L"2.qev", L"3.qev")) << "the one, and the newest that reads whole";
}

TEST_F(SafeRetention, TheNewestThatReadsWholeStaysHoweverOld) {
  NCopias(2);
  put(L"1.qev", 1);
  put(L"2.qev", 2);
  put(L"3.qev", 3, cut(setOf()));
  put(L"4.qev", 4, headerLine() + "\r\n");
  put(L"5.qev", 5, headerLine() + "\r\n" + zipOf({}));
  retain();
  EXPECT_THAT(left(), UnorderedElementsAre(L"2.qev", L"4.qev", L"5.qev"));
}

TEST_F(SafeRetention, WhereNoneReadsWholeTheNewestStayAllTheSame) {
  for (int day = 1; day <= 3; ++day) put(std::to_wstring(day) + L".qev", day, cut(setOf()));
  retain();
  EXPECT_THAT(left(), ElementsAre(L"3.qev"));
}

// Its creation date can be that of a set which had its name, or the clock was set back.
TEST_F(SafeRetention, TheSetThatThisProcessHasMadeLastStaysHoweverItsFolderIsWritten) {
  put(L"Backup16-11-26.qev", 1);
  put(L"2.qev", 2);
  put(L"3.qev", 3);
  lastSet = L"c:\\PROG\\Datos\\..\\backup\\BACKUP16-11-26.QEV";
  retain();
  EXPECT_THAT(left(), UnorderedElementsAre(L"Backup16-11-26.qev", L"3.qev"));
  lastSet.clear();
  retain();
  EXPECT_THAT(left(), ElementsAre(L"3.qev"));
}

TEST_F(SafeRetention, TheLastSetOfTheProcessIsKnownByTheNameThatTheRunTold) {
  setLastSet(L"C:\\Copias\\a.qev");
  setLastSet(L"C:\\Copias\\b.qev");
  EXPECT_EQ(L"C:\\Copias\\b.qev", qev::lastSet());
  setLastSet(L"");
}

TEST_F(SafeRetention, AFileThatCannotBeReadNowNeitherCountsNorGoes) {
  put(L"1.qev", 1);
  put(L"2.qev", 2);
  put(L"3.qev", 3);
  put(L"rota.qev", 4, "Programa : Gestion;Fecha Creaci\xF3n : nunca;;;;\r\n");
  put(L"corta.qev", 5, "Programa : Gestion");
  fake.files.makeUnreadable(kFolder + std::wstring(L"3.qev"));
  fake.files.makeUnreadable(kFolder + std::wstring(L"1.qev"));
  retain();
  EXPECT_THAT(left(), UnorderedElementsAre(L"1.qev", L"2.qev", L"3.qev", L"rota.qev", L"corta.qev"));
}

TEST_F(SafeRetention, ASetThatWasNeverProvenIsNone) {
  put(L"Backup16-11-26.qev.nueva", 3);
  put(L"2.qev", 2);
  put(L"1.qev", 1);
  retain();
  EXPECT_THAT(left(), UnorderedElementsAre(L"Backup16-11-26.qev.nueva", L"2.qev"));
}

TEST_F(SafeRetention, SetsOfHostsWithAnotherCodePageCount) {
  host.title = L"Gestión";
  put(L"1.qev", 1, setOf("Gesti\xF3n"));
  put(L"2.qev", 2,
      utf8Of(fake.locale.textFromAnsi(headerLine("1", "1", "16/11/2026", "Gesti\xF3n"))) + "\r\n" +
          zipOf({storedEntry("a", "x")}));
  put(L"3.qev", 3, setOf("Gesti\xF3n"));
  retain();
  EXPECT_THAT(left(), ElementsAre(L"3.qev"));
}

TEST_F(SafeRetention, WhereNothingHasToGoNoFileIsOpened) {
  NCopias(3);
  for (int day = 1; day <= 3; ++day) put(std::to_wstring(day) + L".qev", day);
  fake.files.failAt(0);
  retain();
  EXPECT_EQ(1u, fake.files.calls()) << "the listing";
}

TEST_F(SafeRetention, OfEachSetTheBeginningIsReadAndOfTheNewestTheEnd) {
  constexpr unsigned sets = 40;
  std::uint64_t large = std::uint64_t{1} << 30;
  for (unsigned i = 0; i < sets; ++i) {
    FileContent content{golden()};
    content.appendRun('z', large);
    const std::string end = zipOf({storedEntry("a", "x")}, {"", "", true, {}, large});
    content.append(end.substr(end.find("PK\x01\x02")));
    const std::wstring path = kFolder + std::to_wstring(i) + L".qev";
    fake.files.putContent(path, std::move(content));
    fake.files.setCreated(path, Date{46000.0 + i});
  }
  fake.files.failAt(0);
  NCopias(5);
  retain();
  EXPECT_THAT(left(), SizeIs(5));
  EXPECT_LE(fake.files.calls(), 3 * sets + 25);
  EXPECT_LE(fake.files.largestTransfer(), std::size_t{1} << 18);
}

TEST_F(SafeRetention, AFileInUseRaises70AndItAndTheOlderOnesStay) {
  for (int day = 1; day <= 4; ++day) put(std::to_wstring(day) + L".qev", day);
  const auto open = fake.files.openForReading(kFolder + std::wstring(L"2.qev"));
  EXPECT_EQ(kPermissionDenied, errorOfRetain());
  EXPECT_THAT(left(), ElementsAre(L"1.qev", L"2.qev", L"4.qev"));
}

TEST_F(SafeRetention, BadNumbersRaiseWhatTheyRaiseAndDeleteNothing) {
  put(L"1.qev", 1);
  put(L"2.qev", 2);
  const std::pair<Value, int> cases[] = {{std::wstring(L"muchas"), 13}, {40000, 6}, {-1, 9}};
  for (const auto& [number, error] : cases) {
    NCopias(number);
    EXPECT_EQ(error, errorOfRetain());
  }
  EXPECT_THAT(left(), SizeIs(2));
}

// Whatever fails, and whenever: no more goes than would have gone, and the newest whole set never.
TEST_F(SafeRetention, AnErrorAtAnyCallTakesNoSetThatShouldStay) {
  for (std::size_t call = 1; call < 200; ++call) {
    for (int day = 1; day <= 4; ++day) put(std::to_wstring(day) + L".qev", day);
    put(L"5.qev", 5, cut(setOf()));
    fake.files.failAt(call);
    const std::int32_t error = errorOfRetain();
    const bool isOver = fake.files.calls() < call;
    fake.files.failAt(0);
    EXPECT_THAT(left(), Contains(L"5.qev")) << call;
    const bool anotherStays = fake.files.fileExists(kFolder + std::wstring(L"4.qev")) ||
                              fake.files.fileExists(kFolder + std::wstring(L"3.qev"));
    EXPECT_TRUE(anotherStays) << call;
    if (!isOver) continue;
    EXPECT_EQ(0, error);
    EXPECT_THAT(left(), UnorderedElementsAre(L"4.qev", L"5.qev"));
    return;
  }
  FAIL() << "it never ended well";
}

#ifdef _WIN32

class RetentionOnDisk : public testing::Test {
 protected:
  // The file systems that these tests meet may keep no creation time of their own: it follows the last write.
  void write(const std::wstring& relative, Date created, const std::string& bytes = "PK") const {
    folder.write(relative, bytes);
    SYSTEMTIME local{};
    FILETIME localTime{}, time{};
    VariantTimeToSystemTime(created.days, &local);
    ASSERT_TRUE(SystemTimeToFileTime(&local, &localTime) && LocalFileTimeToFileTime(&localTime, &time));
    const auto file = UniqueFile(CreateFileW((folder / relative).c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ,
                                             nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(file);
    ASSERT_TRUE(SetFileTime(file.get(), &time, nullptr, &time));
  }

  void retain(const Value& NCopias, const std::wstring& path) {
    registry.put(key, L"NCopias", NCopias);
    CCopias(files, settings, locale, {L"Gestion", path, L"", L"", L""}, L"");
  }

  TemporaryFolder folder;
  FileSystemWindows files{Patience{.milliseconds = 700}};
  FakeRegistry registry;
  SpanishLocale locale;
  std::wstring key = L"Software\\Gestion";
  SettingsStore settings{registry, key};
};

TEST_F(RetentionOnDisk, KeepsTheNewestByCreationDate) {
  write(L"Copias\\a.qev", moment(2026, 3, 1, 10, 0, 0));
  write(L"Copias\\b.qev", moment(2026, 3, 1, 10, 0, 2));
  write(L"Copias\\c.qev", moment(2025, 7, 30, 23, 59, 58));
  write(L"Copias\\d.qev", moment(2026, 3, 1, 10, 0, 4));
  retain(2, folder / L"Copias");
  EXPECT_THAT(folder.list(L"Copias"), ElementsAre(L"b.qev", L"d.qev"));
}

// What a run is writing is no file of the folder yet, whoever's run it is; what a killed one has left goes.
TEST_F(RetentionOnDisk, WhatRunsAreWritingIsNotCountedAndWhatGoneOnesHaveLeftGoes) {
  write(L"Copias\\a.qev", moment(2026, 3, 1));
  write(L"Copias\\b.qev", moment(2026, 3, 2));
  write(L"Copias\\qev4711-0.tmp", moment(2026, 3, 3));
  folder.write(L"Copias\\qev00000000-7-1111111111111111-0.tmp", "PK");  // of another machine, and new
  write(L"Copias\\qev00000000-7-1111111111111111-1.tmp", moment(2026, 3, 3));
  const auto own = files.replaceFile(folder / L"Copias\\c.qev");
  retain(2, folder / L"Copias");
  EXPECT_THAT(folder.list(L"Copias"),
              UnorderedElementsAre(L"a.qev", L"b.qev", L"qev00000000-7-1111111111111111-0.tmp", StartsWith(L"qev")));
  EXPECT_THAT(files.filesIn(folder / L"Copias"), SizeIs(2));
}

TEST_F(RetentionOnDisk, HiddenAndSystemFilesCountAndGo) {
  write(L"Copias\\a.qev", moment(2026, 3, 3));
  write(L"Copias\\Thumbs.db", moment(2026, 3, 2));
  write(L"Copias\\viejo.sys", moment(2026, 3, 1));
  SetFileAttributesW((folder / L"Copias\\Thumbs.db").c_str(), FILE_ATTRIBUTE_HIDDEN);
  SetFileAttributesW((folder / L"Copias\\viejo.sys").c_str(), FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
  EXPECT_THAT(files.filesIn(folder / L"Copias"), SizeIs(3));
  retain(1, folder / L"Copias\\");
  EXPECT_THAT(folder.list(L"Copias"), ElementsAre(L"a.qev"));
}

TEST_F(RetentionOnDisk, ReadOnlyFilesGoAndSubfoldersStay) {
  write(L"Copias\\a.qev", moment(2026, 3, 3));
  write(L"Copias\\Viejas\\b.qev", moment(2026, 3, 2));
  SetFileAttributesW((folder / L"Copias\\a.qev").c_str(), FILE_ATTRIBUTE_READONLY);
  retain(0, folder / L"Copias\\");
  EXPECT_THAT(folder.list(L"Copias"), ElementsAre(L"Viejas"));
  EXPECT_THAT(folder.list(L"Copias\\Viejas"), ElementsAre(L"b.qev"));
}

TEST_F(RetentionOnDisk, AFileThatAnotherProgramHasOpenStaysAndRaises70) {
  write(L"Copias\\a.qev", moment(2026, 3, 3));
  write(L"Copias\\b.qev", moment(2026, 3, 2));
  write(L"Copias\\c.qev", moment(2026, 3, 1));
  {
    const auto open = UniqueFile(
        CreateFileW((folder / L"Copias\\b.qev").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(open);
    EXPECT_EQ(kPermissionDenied, numberOf([this] { retain(1, folder / L"Copias\\"); }));
  }
  EXPECT_THAT(folder.list(L"Copias"), ElementsAre(L"a.qev", L"b.qev", L"c.qev"));
}

TEST_F(RetentionOnDisk, AMissingFolderIsCreatedAndAFileOfItsNameIsAnError) {
  retain(0, folder / L"Copias\\");
  EXPECT_THAT(folder.list(), ElementsAre(L"Copias"));
  folder.write(L"fichero", "x");
  EXPECT_EQ(kFileExists, numberOf([this] { retain(0, folder / L"fichero"); }));
  EXPECT_EQ("x", folder.bytes(L"fichero"));
}

TEST_F(RetentionOnDisk, AFolderRelativeToTheCurrentOneRaises76AndNothingGoes) {
  write(L"Copias\\a.qev", moment(2026, 3, 3));
  std::wstring before(MAX_PATH, L'\0');
  before.resize(GetCurrentDirectoryW(MAX_PATH, before.data()));
  ASSERT_TRUE(SetCurrentDirectoryW(folder.path().c_str()));
  EXPECT_EQ(kPathNotFound, numberOf([this] { retain(0, L"Copias\\"); }));
  EXPECT_EQ(kPathNotFound, numberOf([this] { retain(0, L"Nueva\\"); }));
  SetCurrentDirectoryW(before.c_str());
  EXPECT_THAT(folder.list(), ElementsAre(L"Copias"));
  EXPECT_THAT(folder.list(L"Copias"), ElementsAre(L"a.qev"));
}

// What lets its file go but holds it open, as scanners do, keeps nobody waiting: the name need not be free.
TEST_F(RetentionOnDisk, AFileThatIsGoneWhenItsReaderClosesItIsNotWaitedFor) {
  write(L"Copias\\a.qev", moment(2026, 3, 3));
  write(L"Copias\\b.qev", moment(2026, 3, 2));
  FileSystemWindows patient(Patience{.milliseconds = 20'000});
  registry.put(key, L"NCopias", 1);
  auto open = UniqueFile(CreateFileW((folder / L"Copias\\b.qev").c_str(), GENERIC_READ,
                                     FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING, 0, nullptr));
  ASSERT_TRUE(open);
  const auto start = std::chrono::steady_clock::now();
  CCopias(patient, settings, locale, {L"Gestion", folder / L"Copias\\", L"", L"", L""}, L"");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  open.reset();
  EXPECT_THAT(folder.list(L"Copias"), ElementsAre(L"a.qev"));
}

TEST_F(RetentionOnDisk, InSafeModeSetsAreToldFromOtherFilesByTheirContent) {
  registry.put(key, L"Verificar", 1);
  const std::string set = golden() + zipOf({storedEntry("a", "x")});
  for (int i = 1; i <= 3; ++i) {
    write(L"Copias\\" + std::to_wstring(i) + L".qev", moment(2026, 3, static_cast<unsigned>(i)), set);
  }
  write(L"Copias\\nota.txt", moment(2026, 3, 9));
  write(L"Copias\\4.qev", moment(2026, 3, 4), set.substr(0, set.size() - 1));
  retain(0, folder / L"Copias\\");
  EXPECT_THAT(folder.list(L"Copias"), UnorderedElementsAre(L"3.qev", L"4.qev", L"nota.txt"));
}

TEST_F(RetentionOnDisk, AnEmptyNameIsNotTheCurrentFolder) {
  write(L"Copias\\a.qev", moment(2026, 3, 3));
  std::wstring before(MAX_PATH, L'\0');
  before.resize(GetCurrentDirectoryW(MAX_PATH, before.data()));
  ASSERT_TRUE(SetCurrentDirectoryW((folder / L"Copias").c_str()));
  EXPECT_EQ(kPathNotFound, numberOf([this] { retain(0, L""); }));
  SetCurrentDirectoryW(before.c_str());
  EXPECT_THAT(folder.list(L"Copias"), ElementsAre(L"a.qev"));
}

TEST_F(RetentionOnDisk, FiveThousandFilesTakeNoTimeToOrder) {
  for (int i = 0; i < 5000; ++i) folder.write(L"Copias\\" + std::to_wstring(i) + L".qev", "");
  const auto start = std::chrono::steady_clock::now();
  retain(4999, folder / L"Copias\\");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
  EXPECT_THAT(folder.list(L"Copias"), SizeIs(4999));
}

TEST_F(RetentionOnDisk, TheListingGivesLocalTimeInWholeSeconds) {
  write(L"Copias\\a.qev", moment(2026, 3, 1, 10, 0, 2));
  const auto listed = files.filesIn(folder / L"Copias");
  ASSERT_THAT(listed, SizeIs(1));
  EXPECT_EQ(folder / L"Copias\\a.qev", listed[0].path);
  EXPECT_NEAR(moment(2026, 3, 1, 10, 0, 2).days, listed[0].created.days, 1e-9);
}

TEST_F(RetentionOnDisk, TheListingOfAFolderThatIsNotThereRaises76) {
  EXPECT_EQ(kPathNotFound, numberOf([this] { files.filesIn(folder / L"Nada"); }));
  EXPECT_THAT(files.filesIn(folder.path()), IsEmpty());
}

#endif

}  // namespace
}  // namespace qev::test
