// What a file system does: that of the machine, and the one in memory that tests use. And what only that of the machine
// can show.
#include "platform/FileSystem.h"

#include <gmock/gmock.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/AutomationError.h"
#include "support/ErrorOf.h"
#include "support/FakeFiles.h"
#include "support/FakePlatform.h"
#ifdef _WIN32
#include <windows.h>

#include <chrono>
#include <thread>

#include "platform/Handle.h"
#include "platform/SystemServices.h"
#include "support/SmallDisk.h"
#include "support/TemporaryFolder.h"
#endif

namespace qev::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

std::span<const std::byte> asBytes(std::string_view text) {
  return std::as_bytes(std::span(text.data(), text.size()));
}

// A folder of the file system in memory, and what tests do there behind its back.
class FolderInMemory {
 public:
  FolderInMemory() { files.putFolder(path()); }

  std::wstring path() const { return L"C:\\Prueba"; }
  std::wstring operator/(const std::wstring& relative) const { return path() + L"\\" + relative; }
  void write(const std::wstring& relative, std::string_view bytes) { files.put(*this / relative, bytes); }
  void makeFolder(const std::wstring& relative) { files.putFolder(*this / relative); }
  std::string bytes(const std::wstring& relative) const { return files.bytes(*this / relative); }
  std::vector<std::wstring> list() const { return files.list(path()); }
  void makeReadOnly(const std::wstring& relative) { files.makeReadOnly(*this / relative); }
  bool isReadOnly(const std::wstring& relative) const { return files.isReadOnly(*this / relative); }
  void setCreated(const std::wstring& relative, Date created) { files.setCreated(*this / relative, created); }
  Date written(const std::wstring&) const { return {}; }
  static void passTime() {}
  Date now() {
    files.now = moment(2026, 11, 16, 10, 30);
    return files.now;
  }

  FakeFiles files;
};

#ifdef _WIN32
class FolderOnDisk : public TemporaryFolder {
 public:
  void makeReadOnly(const std::wstring& relative) const {
    EXPECT_TRUE(SetFileAttributesW((*this / relative).c_str(), FILE_ATTRIBUTE_READONLY));
  }
  bool isReadOnly(const std::wstring& relative) const {
    return GetFileAttributesW((*this / relative).c_str()) & FILE_ATTRIBUTE_READONLY;
  }
  void setCreated(const std::wstring& relative, Date created) const {
    SYSTEMTIME local{};
    FILETIME localTime{}, time{};
    EXPECT_TRUE(VariantTimeToSystemTime(created.days, &local) && SystemTimeToFileTime(&local, &localTime) &&
                LocalFileTimeToFileTime(&localTime, &time));
    EXPECT_TRUE(SetFileTime(openExclusively(relative).get(), &time, nullptr, nullptr));
  }
  // So much that a file that is written after it has another time.
  static void passTime() { std::this_thread::sleep_for(std::chrono::milliseconds(50)); }
  // When it was last written, in the form of a creation date.
  Date written(const std::wstring& relative) const {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    FILETIME local{};
    SYSTEMTIME fields{};
    double days = 0;
    EXPECT_TRUE(GetFileAttributesExW((*this / relative).c_str(), GetFileExInfoStandard, &data));
    FileTimeToLocalFileTime(&data.ftLastWriteTime, &local);
    FileTimeToSystemTime(&local, &fields);
    fields.wMilliseconds = 0;
    SystemTimeToVariantTime(&fields, &days);
    return Date{days};
  }
  static Date now() { return systemPlatform().clock.now(); }
  // Opened as another program would, which lets no one else in.
  UniqueFile openExclusively(const std::wstring& relative) const {
    return UniqueFile(CreateFileW((*this / relative).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
  }

  FileSystemWindows files{Patience{.milliseconds = 700}};  // no test holds a file as long as the product waits
};
using Folders = testing::Types<FolderInMemory, FolderOnDisk>;
#else
using Folders = testing::Types<FolderInMemory>;
#endif

template <typename Folder>
class FileSystemContract : public testing::Test {
 protected:
  void replace(const std::wstring& relative, std::string_view bytes) {
    const auto replacement = files.replaceFile(folder / relative);
    replacement->write(asBytes(bytes));
    replacement->commit();
  }

  std::string readAll(const std::wstring& relative) {
    const auto reader = files.openForReading(folder / relative);
    std::string all;
    std::string buffer(7, '\0');
    while (const std::size_t count = reader->read(std::as_writable_bytes(std::span(buffer)))) {
      all.append(buffer, 0, count);
    }
    return all;
  }

  void makeReadOnly(const std::wstring& relative) { folder.makeReadOnly(relative); }
  bool isReadOnly(const std::wstring& relative) const { return folder.isReadOnly(relative); }

  Folder folder;
  FileSystem& files = folder.files;
};

TYPED_TEST_SUITE(FileSystemContract, Folders);

// --- Replacing ---

TYPED_TEST(FileSystemContract, UntilItIsCommittedAReplacementLeavesTheOldBytesUnderTheName) {
  this->folder.write(L"a.qev", "viejo");
  const auto replacement = this->files.replaceFile(this->folder / L"a.qev");
  replacement->write(asBytes("nuevo contenido"));
  EXPECT_EQ(this->folder.bytes(L"a.qev"), "viejo");
  replacement->commit();
  EXPECT_EQ(this->folder.bytes(L"a.qev"), "nuevo contenido");
  EXPECT_THAT(this->folder.list(), ElementsAre(L"a.qev"));
}

TYPED_TEST(FileSystemContract, AReplacementThatIsNotCommittedLeavesNothingBehind) {
  this->folder.write(L"a.qev", "viejo");
  { this->files.replaceFile(this->folder / L"a.qev")->write(asBytes("nuevo")); }
  EXPECT_EQ(this->folder.bytes(L"a.qev"), "viejo");
  EXPECT_THAT(this->folder.list(), ElementsAre(L"a.qev"));
}

TYPED_TEST(FileSystemContract, AReplacementOfNothingMakesTheFileAtCommitAndNotBefore) {
  const auto replacement = this->files.replaceFile(this->folder / L"a.qev");
  EXPECT_FALSE(this->files.fileExists(this->folder / L"a.qev"));
  replacement->commit();
  EXPECT_EQ(this->folder.bytes(L"a.qev"), "");
}

TYPED_TEST(FileSystemContract, WritesFollowOneAnother) {
  const auto replacement = this->files.replaceFile(this->folder / L"a.qev");
  replacement->write(asBytes("uno "));
  replacement->write({});
  replacement->write(asBytes(std::string("dos\0tres", 8)));
  replacement->commit();
  EXPECT_EQ(this->folder.bytes(L"a.qev"), std::string("uno dos\0tres", 12));
}

TYPED_TEST(FileSystemContract, AReadOnlyFileIsReplaced) {
  this->folder.write(L"a.qev", "viejo");
  this->makeReadOnly(L"a.qev");
  this->replace(L"a.qev", "nuevo");
  EXPECT_EQ(this->folder.bytes(L"a.qev"), "nuevo");
  EXPECT_THAT(this->folder.list(), ElementsAre(L"a.qev"));
}

TYPED_TEST(FileSystemContract, TwoReplacementsOfOneFileDoNotMixAndTheLastCommitStands) {
  const auto first = this->files.replaceFile(this->folder / L"a.qev");
  const auto second = this->files.replaceFile(this->folder / L"a.qev");
  first->write(asBytes("primero"));
  second->write(asBytes("segundo"));
  second->commit();
  EXPECT_EQ(this->folder.bytes(L"a.qev"), "segundo");
  first->commit();
  EXPECT_EQ(this->folder.bytes(L"a.qev"), "primero");
}

TYPED_TEST(FileSystemContract, AFolderIsNotReplacedByAFile) {
  this->folder.makeFolder(L"carpeta");
  EXPECT_EQ(numberOf([&] { this->replace(L"carpeta", "nuevo"); }), 70);
  EXPECT_TRUE(this->files.folderExists(this->folder / L"carpeta"));
  EXPECT_THAT(this->folder.list(), ElementsAre(L"carpeta"));
}

TYPED_TEST(FileSystemContract, AReplacementInAFolderThatIsMissingIs76AtOnce) {
  EXPECT_EQ(numberOf([&] { this->files.replaceFile(this->folder / L"no\\a.qev"); }), 76);
}

// Copies are sorted by their creation times. Where the file system keeps none, that of the last write stands for it.
TYPED_TEST(FileSystemContract, AReplacedFileKeepsItsCreationTime) {
  const Date longAgo = moment(2001, 2, 3, 4, 5, 6);
  const auto created = [&] { return this->files.filesIn(this->folder.path()).at(0).created; };
  this->folder.write(L"a.qev", "viejo");
  this->folder.setCreated(L"a.qev", longAgo);
  const bool isKept = std::abs(created().days - longAgo.days) < 1e-6;
  EXPECT_NEAR(created().days, isKept ? longAgo.days : this->folder.written(L"a.qev").days, 1e-6);
  this->replace(L"a.qev", "nuevo");
  EXPECT_NEAR(created().days, isKept ? longAgo.days : this->folder.written(L"a.qev").days, 1e-6);
}

// Else it would have that of a file which had its name a moment before.
TYPED_TEST(FileSystemContract, ANewFileIsCreatedNowWhateverHadItsName) {
  const Date now = this->folder.now();
  for (const bool isSealed : {false, true}) {
    this->folder.write(L"a.qev", "viejo");
    this->folder.setCreated(L"a.qev", moment(2001, 2, 3, 4, 5, 6));
    const auto replacement = this->files.replaceFile(this->folder / L"a.qev");
    replacement->write(asBytes("nuevo"));
    if (isSealed) replacement->seal();
    replacement->commit({}, CreationTime::Now);
    const auto listed = this->files.filesIn(this->folder.path());
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_GE(listed[0].created.days, now.days - 1e-9);
    EXPECT_LE(listed[0].created.days, now.days + 1.0 / 24);
    EXPECT_EQ(this->folder.bytes(L"a.qev"), "nuevo");
  }
}

TYPED_TEST(FileSystemContract, NamesWithAccentsAndOutsideTheAnsiCodePageAreReplaced) {
  for (const wchar_t* name : {L"Año pasado.qev", L"\u65E5\u672C.qev"}) {
    this->folder.write(name, "viejo");
    this->replace(name, "nuevo");
    EXPECT_EQ(this->folder.bytes(name), "nuevo");
  }
}

// --- Moving ---

TYPED_TEST(FileSystemContract, AFileTakesTheNameOfAnotherReadOnlyOnesToo) {
  this->folder.write(L"nueva", "nuevo");
  this->files.moveFile(this->folder / L"nueva", this->folder / L"a.qev");
  EXPECT_EQ(this->folder.bytes(L"a.qev"), "nuevo");
  this->folder.write(L"nueva", "más nuevo");
  this->makeReadOnly(L"a.qev");
  this->files.moveFile(this->folder / L"nueva", this->folder / L"a.qev");
  EXPECT_EQ(this->folder.bytes(L"a.qev"), "más nuevo");
  EXPECT_THAT(this->folder.list(), ElementsAre(L"a.qev"));
}

TYPED_TEST(FileSystemContract, AMoveThatFailsLeavesBothFilesAsTheyWere) {
  this->folder.write(L"nueva", "nuevo");
  this->folder.write(L"a.qev", "viejo");
  this->makeReadOnly(L"a.qev");
  {
    const auto reader = this->files.openForReading(this->folder / L"a.qev");
    EXPECT_EQ(numberOf([&] { this->files.moveFile(this->folder / L"nueva", this->folder / L"a.qev"); }), 70);
  }
  EXPECT_TRUE(this->isReadOnly(L"a.qev"));
  EXPECT_EQ(this->folder.bytes(L"a.qev"), "viejo");
  EXPECT_EQ(this->folder.bytes(L"nueva"), "nuevo");
  EXPECT_EQ(numberOf([&] { this->files.moveFile(this->folder / L"no está", this->folder / L"b.qev"); }), 53);
  EXPECT_EQ(numberOf([&] { this->files.moveFile(this->folder / L"nueva", this->folder / L"no está\\b.qev"); }), 76);
}

// --- Existence, folders ---

TYPED_TEST(FileSystemContract, FilesAndFoldersAreToldApart) {
  this->folder.write(L"año.txt", "x");
  this->folder.makeFolder(L"carpeta");
  EXPECT_TRUE(this->files.fileExists(this->folder / L"año.txt"));
  EXPECT_TRUE(this->files.fileExists(this->folder / L"AÑO.TXT"));
  EXPECT_FALSE(this->files.folderExists(this->folder / L"año.txt"));
  EXPECT_TRUE(this->files.folderExists(this->folder / L"carpeta"));
  EXPECT_TRUE(this->files.folderExists(this->folder / L"carpeta\\"));
  EXPECT_FALSE(this->files.fileExists(this->folder / L"carpeta"));
  EXPECT_FALSE(this->files.fileExists(this->folder / L"no.txt"));
  EXPECT_FALSE(this->files.folderExists(this->folder / L"no"));
  EXPECT_FALSE(this->files.fileExists(L""));
  EXPECT_FALSE(this->files.folderExists(L""));
}

TYPED_TEST(FileSystemContract, AFolderIsCreatedOnceAndItsParentMustExist) {
  this->files.createFolder(this->folder / L"nueva");
  EXPECT_TRUE(this->files.folderExists(this->folder / L"nueva"));
  EXPECT_EQ(numberOf([&] { this->files.createFolder(this->folder / L"nueva"); }), 58);
  this->folder.write(L"archivo", "x");
  EXPECT_EQ(numberOf([&] { this->files.createFolder(this->folder / L"archivo"); }), 58);
  EXPECT_EQ(numberOf([&] { this->files.createFolder(this->folder / L"no\\está"); }), 76);
}

TYPED_TEST(FileSystemContract, AnErrorNamesThePath) {
  const auto error = errorOf([&] { this->files.openForReading(this->folder / L"no.txt"); });
  EXPECT_EQ(error.description(), describeError(53) + L": " + (this->folder / L"no.txt"));
}

// --- Deleting ---

TYPED_TEST(FileSystemContract, AFileIsDeleted) {
  this->folder.write(L"a.txt", "x");
  this->files.deleteFile(this->folder / L"a.txt", false);
  EXPECT_THAT(this->folder.list(), IsEmpty());
}

TYPED_TEST(FileSystemContract, AReadOnlyFileIsDeletedOnlyByForce) {
  this->folder.write(L"a.txt", "x");
  this->makeReadOnly(L"a.txt");
  EXPECT_EQ(numberOf([&] { this->files.deleteFile(this->folder / L"a.txt", false); }), 70);
  EXPECT_EQ(this->folder.bytes(L"a.txt"), "x");
  EXPECT_TRUE(this->isReadOnly(L"a.txt"));
  this->files.deleteFile(this->folder / L"a.txt", true);
  EXPECT_THAT(this->folder.list(), IsEmpty());
}

TYPED_TEST(FileSystemContract, WhatIsMissingIs53AndInAMissingFolder76) {
  for (const bool force : {false, true}) {
    EXPECT_EQ(numberOf([&] { this->files.deleteFile(this->folder / L"no.txt", force); }), 53);
    EXPECT_EQ(numberOf([&] { this->files.deleteFile(this->folder / L"no\\no.txt", force); }), 76);
  }
}

TYPED_TEST(FileSystemContract, AFolderIsNotDeletedAsAFile) {
  this->folder.makeFolder(L"carpeta");
  EXPECT_EQ(numberOf([&] { this->files.deleteFile(this->folder / L"carpeta", true); }), 70);
  EXPECT_TRUE(this->files.folderExists(this->folder / L"carpeta"));
}

// --- Copying ---

TYPED_TEST(FileSystemContract, ACopyHasTheSameBytesAndTakesThePlaceOfAnOldFile) {
  this->folder.write(L"a.txt", std::string("uno\0dos", 7));
  this->folder.write(L"b.txt", "algo mucho más largo");
  this->files.copyFile(this->folder / L"a.txt", this->folder / L"b.txt");
  EXPECT_EQ(this->folder.bytes(L"b.txt"), std::string("uno\0dos", 7));
  EXPECT_EQ(this->folder.bytes(L"a.txt"), std::string("uno\0dos", 7));
}

TYPED_TEST(FileSystemContract, ACopyNeedsItsSourceAndTheFolderOfItsTarget) {
  this->folder.write(L"a.txt", "x");
  EXPECT_EQ(numberOf([&] { this->files.copyFile(this->folder / L"no.txt", this->folder / L"b.txt"); }), 53);
  EXPECT_EQ(numberOf([&] { this->files.copyFile(this->folder / L"no\\no.txt", this->folder / L"b.txt"); }), 76);
  EXPECT_EQ(numberOf([&] { this->files.copyFile(this->folder / L"a.txt", this->folder / L"no\\b.txt"); }), 76);
  EXPECT_THAT(this->folder.list(), ElementsAre(L"a.txt"));
}

TYPED_TEST(FileSystemContract, ACopyErrorNamesTheSideThatIsMissing) {
  this->folder.write(L"a.txt", "x");
  const auto description = [&](const std::wstring& from, const std::wstring& to) -> std::wstring {
    try {
      this->files.copyFile(this->folder / from, this->folder / to);
      return L"";
    } catch (const AutomationError& error) {
      return error.description();
    }
  };
  EXPECT_EQ(description(L"no.txt", L"b.txt"), describeError(53) + L": " + (this->folder / L"no.txt"));
  EXPECT_EQ(description(L"a.txt", L"no\\b.txt"), describeError(76) + L": " + (this->folder / L"no\\b.txt"));
}

// --- Reading ---

TYPED_TEST(FileSystemContract, AReaderGivesAllBytesInPiecesAndThenNone) {
  const std::string bytes("ñ uno\r\n\0 dos \x1A tres", 20);
  this->folder.write(L"a.txt", bytes);
  EXPECT_EQ(this->readAll(L"a.txt"), bytes);
  this->folder.write(L"vacío.txt", "");
  EXPECT_EQ(this->readAll(L"vacío.txt"), "");
}

TYPED_TEST(FileSystemContract, AReaderTellsTheLengthAndGoesToAnyPosition) {
  this->folder.write(L"a.txt", "0123456789");
  const auto reader = this->files.openForReading(this->folder / L"a.txt");
  std::string buffer(3, '\0');
  const auto bytes = std::as_writable_bytes(std::span(buffer));
  EXPECT_EQ(reader->size(), 10u);
  reader->seek(8);
  EXPECT_EQ(reader->read(bytes), 2u);
  EXPECT_EQ(buffer.substr(0, 2), "89");
  EXPECT_EQ(reader->read(bytes), 0u);
  reader->seek(0);
  EXPECT_EQ(reader->read(bytes), 3u);
  EXPECT_EQ(buffer, "012");
  reader->seek(100);
  EXPECT_EQ(reader->read(bytes), 0u);
  EXPECT_EQ(reader->size(), 10u);
}

TYPED_TEST(FileSystemContract, AReadOnlyFileIsRead) {
  this->folder.write(L"a.txt", "x");
  this->makeReadOnly(L"a.txt");
  EXPECT_EQ(this->readAll(L"a.txt"), "x");
}

TYPED_TEST(FileSystemContract, SeveralReadersShareAFile) {
  this->folder.write(L"a.txt", "hola");
  const auto other = this->files.openForReading(this->folder / L"a.txt");
  EXPECT_EQ(this->readAll(L"a.txt"), "hola");
}

TYPED_TEST(FileSystemContract, AMissingFileIs53AMissingFolder76AndAFolderIsNotReadAsAFile) {
  this->folder.makeFolder(L"carpeta");
  EXPECT_EQ(numberOf([&] { this->files.openForReading(this->folder / L"no.txt"); }), 53);
  EXPECT_EQ(numberOf([&] { this->files.openForReading(this->folder / L"no\\no.txt"); }), 76);
  EXPECT_EQ(numberOf([&] { this->files.openForReading(this->folder / L"carpeta"); }), 70);
  EXPECT_EQ(numberOf([&] { this->files.openForReading(L""); }), 76);
}

// --- Walking ---

TYPED_TEST(FileSystemContract, AWalkVisitsEveryFileOfEverySubfolderWithItsLength) {
  this->folder.write(L"a.txt", "12345");
  this->folder.write(L"vacío.txt", "");
  this->folder.write(L"Año\\Uno\\ñ.txt", "123");
  this->folder.makeFolder(L"Vacía");
  std::map<std::wstring, std::uint64_t> visited;
  this->files.walkFiles(this->folder.path() + L"\\",
                        {.file = [&](const WalkedFile& file) { visited[file.path] = file.size; }, .gap = nullptr});
  const std::map<std::wstring, std::uint64_t> expected = {
      {this->folder / L"a.txt", 5}, {this->folder / L"vacío.txt", 0}, {this->folder / L"Año\\Uno\\ñ.txt", 3}};
  EXPECT_EQ(visited, expected);
}

TYPED_TEST(FileSystemContract, AWalkOfWhatIsMissingTellsOfAGap) {
  std::vector<WalkGap> gaps;
  const WalkVisitor visitor{.file = [](const WalkedFile&) { ADD_FAILURE() << "visited"; },
                            .gap = [&](const WalkGap& gap) { gaps.push_back(gap); }};
  this->files.walkFiles(this->folder / L"no\\", visitor);
  ASSERT_EQ(gaps.size(), 1u);
  EXPECT_EQ(gaps[0].reason, WalkGap::Reason::Unreadable);
  EXPECT_EQ(gaps[0].folder, this->folder / L"no\\");
  EXPECT_EQ(gaps[0].number, 76);
  this->files.walkFiles(this->folder / L"no\\", {.file = visitor.file, .gap = nullptr});
}

TYPED_TEST(FileSystemContract, AWalkTellsWhetherAFileWasWrittenSince) {
  this->folder.write(L"a.txt", "uno");
  this->folder.write(L"b.txt", "dos");
  const auto moments = [this] {
    std::map<std::wstring, std::uint64_t> found;
    this->files.walkFiles(this->folder.path() + L"\\",
                          {.file = [&](const WalkedFile& file) { found[file.path] = file.written; }, .gap = nullptr});
    return found;
  };
  const auto before = moments();
  this->files.copyFile(this->folder / L"b.txt", this->folder / L"c.txt");
  this->folder.passTime();
  this->folder.write(L"a.txt", "UNO");
  const auto after = moments();
  EXPECT_NE(before.at(this->folder / L"a.txt"), after.at(this->folder / L"a.txt"));
  EXPECT_EQ(before.at(this->folder / L"b.txt"), after.at(this->folder / L"b.txt"));
}

TYPED_TEST(FileSystemContract, WhatHasAnUnfinishedNameIsNoFileOfItsFolder) {
  const std::wstring first = this->files.unfinishedName(this->folder / L"a.qev");
  const std::wstring second = this->files.unfinishedName(this->folder / L"a.qev");
  EXPECT_NE(first, second);
  EXPECT_EQ(fileNamePart(first).substr(0, 3), L"qev");
  this->folder.write(fileNamePart(first), "a medias");
  EXPECT_TRUE(this->files.fileExists(first));
  EXPECT_THAT(this->files.filesIn(this->folder.path()), IsEmpty());
  this->files.walkFiles(this->folder.path() + L"\\",
                        {.file = [](const WalkedFile&) { ADD_FAILURE() << "visited"; }, .gap = nullptr});
}

TYPED_TEST(FileSystemContract, ASealedReplacementIsReadWhereItStandsAndThenTakesItsPlace) {
  this->folder.write(L"a.qev", "viejo");
  const auto replacement = this->files.replaceFile(this->folder / L"a.qev");
  replacement->write(asBytes("nuevo"));
  replacement->seal();
  std::string bytes(10, '\0');
  {
    const auto reader = this->files.openForReading(replacement->path());
    bytes.resize(reader->read(std::as_writable_bytes(std::span(bytes))));
  }
  EXPECT_EQ(bytes, "nuevo");
  EXPECT_EQ(this->folder.bytes(L"a.qev"), "viejo");
  replacement->commit();
  EXPECT_EQ(this->folder.bytes(L"a.qev"), "nuevo");
  EXPECT_THAT(this->folder.list(), ElementsAre(L"a.qev"));
}

TYPED_TEST(FileSystemContract, ASealedReplacementThatIsGivenUpLeavesNothing) {
  this->folder.write(L"a.qev", "viejo");
  {
    const auto replacement = this->files.replaceFile(this->folder / L"a.qev");
    replacement->write(asBytes("nuevo"));
    replacement->seal();
  }
  EXPECT_EQ(this->folder.bytes(L"a.qev"), "viejo");
  EXPECT_THAT(this->folder.list(), ElementsAre(L"a.qev"));
}

TYPED_TEST(FileSystemContract, WhoHasAFileOpenKeepsItFromBeingReplaced) {
  this->files.requireReplaceable(this->folder / L"a.qev");
  this->folder.write(L"a.qev", "viejo");
  this->files.requireReplaceable(this->folder / L"a.qev");
  const auto reader = this->files.openForReading(this->folder / L"a.qev");
  EXPECT_EQ(numberOf([&] { this->files.requireReplaceable(this->folder / L"a.qev"); }), 70);
}

TYPED_TEST(FileSystemContract, AFileThatIsFlushedIsThere) {
  this->folder.write(L"a.txt", "uno");
  this->files.flush(this->folder / L"a.txt");
  EXPECT_EQ(numberOf([&] { this->files.flush(this->folder / L"no.txt"); }), 53);
}

TYPED_TEST(FileSystemContract, TheLengthOfAMissingFileIsZero) {
  EXPECT_EQ(this->files.fileSize(this->folder / L"no.txt"), 0u);
}

TYPED_TEST(FileSystemContract, AFileThatIsBeingReadIsNeitherReplacedNorMovedNorDeleted) {
  this->folder.write(L"a.qev", "viejo");
  this->folder.write(L"nueva", "nuevo");
  const auto reader = this->files.openForReading(this->folder / L"a.qev");
  EXPECT_EQ(numberOf([&] { this->replace(L"a.qev", "nuevo"); }), 70);
  EXPECT_EQ(numberOf([&] { this->files.moveFile(this->folder / L"nueva", this->folder / L"a.qev"); }), 70);
  EXPECT_EQ(numberOf([&] { this->files.moveFile(this->folder / L"a.qev", this->folder / L"otra"); }), 70);
  EXPECT_EQ(numberOf([&] { this->files.copyFile(this->folder / L"nueva", this->folder / L"a.qev"); }), 70);
  EXPECT_EQ(numberOf([&] { this->files.deleteFile(this->folder / L"a.qev", true); }), 70);
  EXPECT_EQ(this->folder.bytes(L"a.qev"), "viejo");
  EXPECT_THAT(this->folder.list(), ElementsAre(L"a.qev", L"nueva"));
}

TYPED_TEST(FileSystemContract, AFolderListsItsOwnFilesAndAMissingOneIs76) {
  this->folder.write(L"a.qev", "x");
  this->folder.write(L"Otra\\b.qev", "x");
  for (const wchar_t* end : {L"", L"\\"}) {
    const auto listed = this->files.filesIn(this->folder.path() + end);
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed[0].path, this->folder / L"a.qev");
  }
  EXPECT_EQ(numberOf([&] { this->files.filesIn(this->folder / L"no"); }), 76);
  EXPECT_EQ(numberOf([&] { this->files.filesIn(this->folder / L"a.qev"); }), 76);
}

#ifdef _WIN32
// --- The file system of the machine ---

class FileSystemWindowsTest : public FileSystemContract<FolderOnDisk> {
 protected:
  UniqueFile openExclusively(const std::wstring& relative) const { return folder.openExclusively(relative); }
};

TEST_F(FileSystemWindowsTest, TheFileBeingWrittenStandsInTheSameFolderAndIsNoSet) {
  const auto replacement = files.replaceFile(folder / L"a.qev");
  const auto names = folder.list();
  ASSERT_EQ(names.size(), 1u);
  EXPECT_FALSE(names[0].ends_with(L".qev"));
}

TEST_F(FileSystemWindowsTest, AFileThatIsOpenElsewhereKeepsItsBytesAndTheReplacementLeavesNothingBehind) {
  folder.write(L"a.qev", "viejo");
  {
    const auto other = openExclusively(L"a.qev");
    ASSERT_TRUE(other);
    EXPECT_EQ(numberOf([&] { replace(L"a.qev", "nuevo"); }), 70);
  }
  EXPECT_EQ(folder.bytes(L"a.qev"), "viejo");
  EXPECT_THAT(folder.list(), ElementsAre(L"a.qev"));
}

TEST_F(FileSystemWindowsTest, AReadOnlyFileThatCannotBeReplacedStaysReadOnly) {
  folder.write(L"a.qev", "viejo");
  {
    const auto other = openExclusively(L"a.qev");
    ASSERT_TRUE(other);
    makeReadOnly(L"a.qev");
    EXPECT_EQ(numberOf([&] { replace(L"a.qev", "nuevo"); }), 70);
  }
  EXPECT_EQ(folder.bytes(L"a.qev"), "viejo");
  EXPECT_TRUE(isReadOnly(L"a.qev"));
}

TEST_F(FileSystemWindowsTest, AFileThatIsHeldForAMomentIsReplacedWhenItIsLetGo) {
  folder.write(L"a.qev", "viejo");
  auto other = openExclusively(L"a.qev");
  ASSERT_TRUE(other);
  std::thread holder([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    other.reset();
  });
  EXPECT_EQ(numberOf([&] { replace(L"a.qev", "nuevo"); }), 0);
  holder.join();
  EXPECT_EQ(folder.bytes(L"a.qev"), "nuevo");
}

TEST_F(FileSystemWindowsTest, ARelativePathCountsFromTheCurrentFolder) {
  std::wstring before(1024, L'\0');
  before.resize(GetCurrentDirectoryW(static_cast<DWORD>(before.size()), before.data()));
  ASSERT_TRUE(SetCurrentDirectoryW(folder.path().c_str()));
  const auto replacement = files.replaceFile(L"a.qev");
  replacement->write(asBytes("aquí"));
  replacement->commit();
  SetCurrentDirectoryW(before.c_str());
  EXPECT_EQ(folder.bytes(L"a.qev"), "aquí");
}

TEST_F(FileSystemWindowsTest, AFullDiskIs61AndTheOldFileStaysAlone) {
  const auto disk = smallDisk();
  if (!disk) GTEST_SKIP() << kNoSmallDisk;
  const std::wstring path = *disk + L"\\a.qev";
  const auto old = files.replaceFile(path);
  old->write(asBytes("viejo"));
  old->commit();
  const std::string much(8 << 20, 'x');
  EXPECT_EQ(numberOf([&] {
              const auto replacement = files.replaceFile(path);
              replacement->write(asBytes(much));
              replacement->commit();
            }),
            61);
  EXPECT_EQ(files.fileSize(path), 5u);
  std::vector<std::wstring> left;
  files.walkFiles(*disk + L"\\", {.file = [&](const WalkedFile& file) { left.push_back(file.path); }, .gap = nullptr});
  EXPECT_THAT(left, ElementsAre(path));
  files.deleteFile(path, true);
}

TEST_F(FileSystemWindowsTest, ACopyToAFullDiskIs61AndNoHalfCopyStays) {
  const auto disk = smallDisk();
  if (!disk) GTEST_SKIP() << kNoSmallDisk;
  folder.write(L"grande", std::string(8 << 20, 'x'));
  const std::wstring path = *disk + L"\\grande";
  for (const bool replacing : {false, true}) {
    if (replacing) {
      folder.write(L"pequeño", "viejo");
      files.copyFile(folder / L"pequeño", path);
    }
    EXPECT_EQ(numberOf([&] { files.copyFile(folder / L"grande", path); }), 61);
    EXPECT_FALSE(files.fileExists(path));
  }
}

TEST_F(FileSystemWindowsTest, ADeletionWaitsForTheNameUnlessItIsNotAwaited) {
  FileSystemWindows patient(Patience{.milliseconds = 1'500});
  for (const FreeName name : {FreeName::Awaited, FreeName::NotAwaited}) {
    folder.write(L"a.txt", "x");
    auto other = UniqueFile(CreateFileW((folder / L"a.txt").c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE,
                                        nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    ASSERT_TRUE(other);
    const auto start = std::chrono::steady_clock::now();
    patient.deleteFile(folder / L"a.txt", true, name);
    const auto took = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(took >= std::chrono::milliseconds(1'500), name == FreeName::Awaited);
    other.reset();
    EXPECT_FALSE(files.fileExists(folder / L"a.txt"));
  }
}

TEST_F(FileSystemWindowsTest, AFileInUseIsNotDeletedAndStaysReadOnlyIfItWas) {
  folder.write(L"a.txt", "x");
  {
    const auto other = openExclusively(L"a.txt");
    ASSERT_TRUE(other);
    makeReadOnly(L"a.txt");
    EXPECT_EQ(numberOf([&] { files.deleteFile(folder / L"a.txt", true); }), 70);
  }
  EXPECT_EQ(folder.bytes(L"a.txt"), "x");
  EXPECT_TRUE(isReadOnly(L"a.txt"));
}

TEST_F(FileSystemWindowsTest, ACopyOverAFileInUseIs70AndTheFileStays) {
  folder.write(L"a.txt", "nuevo");
  folder.write(L"b.txt", "viejo");
  {
    const auto other = openExclusively(L"b.txt");
    ASSERT_TRUE(other);
    EXPECT_EQ(numberOf([&] { files.copyFile(folder / L"a.txt", folder / L"b.txt"); }), 70);
  }
  EXPECT_EQ(folder.bytes(L"b.txt"), "viejo");
}

TEST_F(FileSystemWindowsTest, ACopyOfAFileInUseIs70) {
  folder.write(L"a.txt", "x");
  const auto other = openExclusively(L"a.txt");
  ASSERT_TRUE(other);
  EXPECT_EQ(numberOf([&] { files.copyFile(folder / L"a.txt", folder / L"b.txt"); }), 70);
  EXPECT_FALSE(files.fileExists(folder / L"b.txt"));
}

TEST_F(FileSystemWindowsTest, PositionsAndLengthsBeyond4GiBAreWhole) {
  auto file = UniqueFile(CreateFileW((folder / L"grande").c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
  LARGE_INTEGER end{};
  end.QuadPart = (std::int64_t{5} << 30) + 3;
  if (!SetFilePointerEx(file.get(), end, nullptr, FILE_BEGIN) || !SetEndOfFile(file.get())) {
    GTEST_SKIP() << "this file system holds no file of 5 GiB";
  }
  file.reset();
  const auto reader = files.openForReading(folder / L"grande");
  EXPECT_EQ(reader->size(), (std::uint64_t{5} << 30) + 3);
  EXPECT_EQ(files.fileSize(folder / L"grande"), (std::uint64_t{5} << 30) + 3);
  reader->seek(std::uint64_t{5} << 30);
  std::string buffer(10, 'x');
  EXPECT_EQ(reader->read(std::as_writable_bytes(std::span(buffer))), 3u);
}

TEST_F(FileSystemWindowsTest, AFileThatIsOpenExclusivelyElsewhereIs70) {
  folder.write(L"a.txt", "x");
  const auto other = openExclusively(L"a.txt");
  ASSERT_TRUE(other);
  EXPECT_EQ(numberOf([&] { files.openForReading(folder / L"a.txt"); }), 70);
}

// QEV_LINKED_FOLDER names a folder that the test's surroundings provide. Its "datos" holds a.txt, two links to itself,
// one to the folder around it, and one to "ajena2", which holds c.txt.
TEST_F(FileSystemWindowsTest, AWalkFollowsLinksButNotToAFolderThatItLiesIn) {
  wchar_t linked[MAX_PATH];
  const DWORD length = GetEnvironmentVariableW(L"QEV_LINKED_FOLDER", linked, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) GTEST_SKIP() << "QEV_LINKED_FOLDER names no folder";
  const std::wstring data = std::wstring(linked) + L"\\datos\\";
  std::vector<std::wstring> visited;
  std::vector<std::wstring> passedOver;
  files.walkFiles(data, {.file = [&](const WalkedFile& file) { visited.push_back(file.path); },
                         .gap =
                             [&](const WalkGap& gap) {
                               EXPECT_EQ(gap.reason, WalkGap::Reason::LeadsBack);
                               passedOver.push_back(gap.folder);
                             }});
  EXPECT_THAT(visited, UnorderedElementsAre(data + L"a.txt", data + L"fuera\\c.txt"));
  EXPECT_THAT(passedOver, UnorderedElementsAre(data + L"uno\\", data + L"dos\\", data + L"arriba\\"));
}

TEST_F(FileSystemWindowsTest, AWalkSaysOfHiddenAndSystemFilesThatTheyAre) {
  folder.write(L"a.txt", "x");
  folder.write(L"oculto.txt", "x");
  folder.write(L"sistema.txt", "x");
  folder.write(L"Oculta\\b.txt", "x");
  SetFileAttributesW((folder / L"oculto.txt").c_str(), FILE_ATTRIBUTE_HIDDEN);
  SetFileAttributesW((folder / L"sistema.txt").c_str(), FILE_ATTRIBUTE_SYSTEM);
  SetFileAttributesW((folder / L"Oculta").c_str(), FILE_ATTRIBUTE_HIDDEN);
  std::map<std::wstring, bool> isHidden;
  files.walkFiles(folder.path() + L"\\",
                  {.file = [&](const WalkedFile& file) { isHidden[file.path] = file.isHidden; }, .gap = nullptr});
  const std::map<std::wstring, bool> expected = {{folder / L"a.txt", false},
                                                 {folder / L"oculto.txt", true},
                                                 {folder / L"sistema.txt", true},
                                                 {folder / L"Oculta\\b.txt", true}};
  EXPECT_EQ(isHidden, expected);
}

TEST_F(FileSystemWindowsTest, ALiveFileIsReadWhileAnotherWritesIt) {
  folder.write(L"a.db", "12345");
  const UniqueFile writer(CreateFileW((folder / L"a.db").c_str(), GENERIC_READ | GENERIC_WRITE,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
  ASSERT_TRUE(writer);
  EXPECT_EQ(numberOf([&] { files.openForReading(folder / L"a.db"); }), 70);
  const auto reader = files.openLive(folder / L"a.db");
  std::string bytes(10, '\0');
  EXPECT_EQ(reader->read(std::as_writable_bytes(std::span(bytes))), 5u);
}

// This system does not hold readers to locks; where one does, the bytes come all the same.
TEST_F(FileSystemWindowsTest, LockedBytesOfALiveFileAreReadToo) {
  folder.write(L"a.db", std::string(300'000, 'a') + "fin");
  const UniqueFile owner(CreateFileW((folder / L"a.db").c_str(), GENERIC_READ | GENERIC_WRITE,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
  ASSERT_TRUE(LockFile(owner.get(), 100'000, 0, 100'000, 0));
  const auto reader = files.openLive(folder / L"a.db");
  std::string bytes(400'000, '\0');
  std::size_t filled = 0;
  while (const std::size_t got = reader->read(std::as_writable_bytes(std::span(bytes)).subspan(filled))) filled += got;
  EXPECT_EQ(bytes.substr(0, filled), std::string(300'000, 'a') + "fin");
}

TEST_F(FileSystemWindowsTest, FilesWithNamesThatTheSystemWouldChangeAreReadAsTheyStand) {
  for (const wchar_t* name : {L"nul.txt", L"a.", L"b "}) {
    const std::wstring path = L"\\\\?\\" + folder.path() + L"\\" + name;
    const UniqueFile file(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
    ASSERT_TRUE(file) << name;
    DWORD written = 0;
    ASSERT_TRUE(WriteFile(file.get(), "suyo", 4, &written, nullptr));
  }
  folder.write(L"a", "de otro");
  std::map<std::wstring, std::string> found;
  files.walkFiles(folder.path() + L"\\",
                  {.file =
                       [&](const WalkedFile& file) {
                         std::string bytes(10, '\0');
                         bytes.resize(files.openLive(file.path)->read(std::as_writable_bytes(std::span(bytes))));
                         found[fileNamePart(file.path)] = bytes;
                       },
                   .gap = nullptr});
  const std::map<std::wstring, std::string> expected = {
      {L"nul.txt", "suyo"}, {L"a.", "suyo"}, {L"b ", "suyo"}, {L"a", "de otro"}};
  EXPECT_EQ(found, expected);
}

TEST_F(FileSystemWindowsTest, NobodyCanWriteASealedReplacement) {
  const auto replacement = files.replaceFile(folder / L"a.qev");
  replacement->write(asBytes("nuevo"));
  replacement->seal();
  const UniqueFile writer(CreateFileW(replacement->path().c_str(), GENERIC_WRITE,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING, 0,
                                      nullptr));
  EXPECT_FALSE(writer);
}
#endif

}  // namespace
}  // namespace qev::test
