// Retention: which files go, in which order, and what bad settings and undeletable files do.
#include "backup/CCopias.h"

#include <gmock/gmock.h>

#include <chrono>
#include <random>
#include <string>

#include "platform/AutomationError.h"
#include "support/ErrorOf.h"
#include "support/FakePlatform.h"

#ifdef _WIN32
#include <windows.h>

#include "platform/Handle.h"
#include "platform/SystemServices.h"
#include "support/TemporaryFolder.h"
#endif

namespace qev::test {
namespace {

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

  void retain(const std::wstring& folder = kFolder) { CCopias(fake.files, settings, fake.locale, folder); }

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

#ifdef _WIN32

class RetentionOnDisk : public testing::Test {
 protected:
  // The file systems that these tests meet may keep no creation time of their own: it follows the last write.
  void write(const std::wstring& relative, Date created) const {
    folder.write(relative, "PK");
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
    CCopias(files, settings, locale, path);
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
  write(L"Copias\\qev00000000-7-1111111111111111-0.tmp", moment(2026, 3, 3));  // of another machine
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

TEST_F(RetentionOnDisk, TheFolderMayBeNamedRelativeToTheCurrentOne) {
  write(L"Copias\\a.qev", moment(2026, 3, 3));
  std::wstring before(MAX_PATH, L'\0');
  before.resize(GetCurrentDirectoryW(MAX_PATH, before.data()));
  ASSERT_TRUE(SetCurrentDirectoryW(folder.path().c_str()));
  retain(0, L"Copias\\");
  SetCurrentDirectoryW(before.c_str());
  EXPECT_THAT(folder.list(L"Copias"), IsEmpty());
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
