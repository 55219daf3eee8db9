// The files of the machine: replacing in one step, deleting, copying, reading, walking, and the numbers of what goes
// wrong.
#include "platform/SystemServices.h"

#include <gmock/gmock.h>
#include <windows.h>

#include <chrono>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "platform/AutomationError.h"
#include "platform/Handle.h"
#include "support/ErrorOf.h"
#include "support/SmallDisk.h"
#include "support/TemporaryFolder.h"

namespace qev::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::span<const std::byte> asBytes(std::string_view text) {
  return std::as_bytes(std::span(text.data(), text.size()));
}

class FileSystemWindowsTest : public testing::Test {
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

  void makeReadOnly(const std::wstring& relative) const {
    ASSERT_TRUE(SetFileAttributesW((folder / relative).c_str(), FILE_ATTRIBUTE_READONLY));
  }

  bool isReadOnly(const std::wstring& relative) const {
    return GetFileAttributesW((folder / relative).c_str()) & FILE_ATTRIBUTE_READONLY;
  }

  // Opened as another program would, which lets no one else in.
  UniqueFile openExclusively(const std::wstring& relative) const {
    return UniqueFile(CreateFileW((folder / relative).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
  }

  TemporaryFolder folder;
  FileSystemWindows files{Patience{.milliseconds = 700}};
};

// --- Replacing ---

TEST_F(FileSystemWindowsTest, UntilItIsCommittedAReplacementLeavesTheOldBytesUnderTheName) {
  folder.write(L"a.qev", "viejo");
  const auto replacement = files.replaceFile(folder / L"a.qev");
  replacement->write(asBytes("nuevo contenido"));
  EXPECT_EQ(folder.bytes(L"a.qev"), "viejo");
  replacement->commit();
  EXPECT_EQ(folder.bytes(L"a.qev"), "nuevo contenido");
  EXPECT_THAT(folder.list(), ElementsAre(L"a.qev"));
}

TEST_F(FileSystemWindowsTest, AReplacementThatIsNotCommittedLeavesNothingBehind) {
  folder.write(L"a.qev", "viejo");
  { files.replaceFile(folder / L"a.qev")->write(asBytes("nuevo")); }
  EXPECT_EQ(folder.bytes(L"a.qev"), "viejo");
  EXPECT_THAT(folder.list(), ElementsAre(L"a.qev"));
}

TEST_F(FileSystemWindowsTest, AReplacementOfNothingMakesTheFileAtCommitAndNotBefore) {
  const auto replacement = files.replaceFile(folder / L"a.qev");
  EXPECT_FALSE(files.fileExists(folder / L"a.qev"));
  replacement->commit();
  EXPECT_EQ(folder.bytes(L"a.qev"), "");
}

TEST_F(FileSystemWindowsTest, TheFileBeingWrittenStandsInTheSameFolderAndIsNoSet) {
  const auto replacement = files.replaceFile(folder / L"a.qev");
  const auto names = folder.list();
  ASSERT_EQ(names.size(), 1u);
  EXPECT_FALSE(names[0].ends_with(L".qev"));
}

TEST_F(FileSystemWindowsTest, WritesFollowOneAnother) {
  const auto replacement = files.replaceFile(folder / L"a.qev");
  replacement->write(asBytes("uno "));
  replacement->write({});
  replacement->write(asBytes(std::string("dos\0tres", 8)));
  replacement->commit();
  EXPECT_EQ(folder.bytes(L"a.qev"), std::string("uno dos\0tres", 12));
}

TEST_F(FileSystemWindowsTest, AReadOnlyFileIsReplaced) {
  folder.write(L"a.qev", "viejo");
  makeReadOnly(L"a.qev");
  replace(L"a.qev", "nuevo");
  EXPECT_EQ(folder.bytes(L"a.qev"), "nuevo");
  EXPECT_THAT(folder.list(), ElementsAre(L"a.qev"));
}

TEST_F(FileSystemWindowsTest, TwoReplacementsOfOneFileDoNotMixAndTheLastCommitStands) {
  const auto first = files.replaceFile(folder / L"a.qev");
  const auto second = files.replaceFile(folder / L"a.qev");
  first->write(asBytes("primero"));
  second->write(asBytes("segundo"));
  second->commit();
  EXPECT_EQ(folder.bytes(L"a.qev"), "segundo");
  first->commit();
  EXPECT_EQ(folder.bytes(L"a.qev"), "primero");
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

TEST_F(FileSystemWindowsTest, AFolderIsNotReplacedByAFile) {
  folder.makeFolder(L"carpeta");
  EXPECT_EQ(numberOf([&] { replace(L"carpeta", "nuevo"); }), 70);
  EXPECT_TRUE(files.folderExists(folder / L"carpeta"));
  EXPECT_THAT(folder.list(), ElementsAre(L"carpeta"));
}

TEST_F(FileSystemWindowsTest, AReplacementInAFolderThatIsMissingIs76AtOnce) {
  EXPECT_EQ(numberOf([&] { files.replaceFile(folder / L"no\\a.qev"); }), 76);
}

// Wine's file systems have no creation time of their own, so that this says something on Windows only.
TEST_F(FileSystemWindowsTest, AReplacedFileKeepsTheCreationTimeByWhichCopiesAreSorted) {
  folder.write(L"a.qev", "viejo");
  const FILETIME longAgo{0, 0x01C00000};
  {
    const auto file = openExclusively(L"a.qev");
    ASSERT_TRUE(SetFileTime(file.get(), &longAgo, nullptr, nullptr));
  }
  const auto creation = [&] {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    GetFileAttributesExW((folder / L"a.qev").c_str(), GetFileExInfoStandard, &data);
    return data.ftCreationTime.dwHighDateTime;
  };
  if (creation() != longAgo.dwHighDateTime) GTEST_SKIP() << "this file system keeps no creation time";
  replace(L"a.qev", "nuevo");
  EXPECT_EQ(creation(), longAgo.dwHighDateTime);
}

TEST_F(FileSystemWindowsTest, NamesWithAccentsAndOutsideTheAnsiCodePageAreReplaced) {
  for (const wchar_t* name : {L"Año pasado.qev", L"\u65E5\u672C.qev"}) {
    folder.write(name, "viejo");
    replace(name, "nuevo");
    EXPECT_EQ(folder.bytes(name), "nuevo");
  }
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
  files.walkFiles(*disk + L"\\", [&](const std::wstring& found, std::uint64_t) { left.push_back(found); });
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

// --- Moving ---

TEST_F(FileSystemWindowsTest, AFileTakesTheNameOfAnotherReadOnlyOnesToo) {
  folder.write(L"nueva", "nuevo");
  files.moveFile(folder / L"nueva", folder / L"a.qev");
  EXPECT_EQ(folder.bytes(L"a.qev"), "nuevo");
  folder.write(L"nueva", "más nuevo");
  SetFileAttributesW((folder / L"a.qev").c_str(), FILE_ATTRIBUTE_READONLY);
  files.moveFile(folder / L"nueva", folder / L"a.qev");
  EXPECT_EQ(folder.bytes(L"a.qev"), "más nuevo");
  EXPECT_THAT(folder.list(), ElementsAre(L"a.qev"));
}

TEST_F(FileSystemWindowsTest, AMoveThatFailsLeavesBothFilesAsTheyWere) {
  folder.write(L"nueva", "nuevo");
  folder.write(L"a.qev", "viejo");
  SetFileAttributesW((folder / L"a.qev").c_str(), FILE_ATTRIBUTE_READONLY);
  {
    const auto reader = files.openForReading(folder / L"a.qev");
    EXPECT_EQ(numberOf([&] { files.moveFile(folder / L"nueva", folder / L"a.qev"); }), 70);
  }
  EXPECT_TRUE(GetFileAttributesW((folder / L"a.qev").c_str()) & FILE_ATTRIBUTE_READONLY);
  EXPECT_EQ(folder.bytes(L"a.qev"), "viejo");
  EXPECT_EQ(folder.bytes(L"nueva"), "nuevo");
  EXPECT_EQ(numberOf([&] { files.moveFile(folder / L"no está", folder / L"b.qev"); }), 53);
  EXPECT_EQ(numberOf([&] { files.moveFile(folder / L"nueva", folder / L"no está\\b.qev"); }), 76);
}

// --- Existence, folders ---

TEST_F(FileSystemWindowsTest, FilesAndFoldersAreToldApart) {
  folder.write(L"año.txt", "x");
  folder.makeFolder(L"carpeta");
  EXPECT_TRUE(files.fileExists(folder / L"año.txt"));
  EXPECT_TRUE(files.fileExists(folder / L"AÑO.TXT"));
  EXPECT_FALSE(files.folderExists(folder / L"año.txt"));
  EXPECT_TRUE(files.folderExists(folder / L"carpeta"));
  EXPECT_TRUE(files.folderExists(folder / L"carpeta\\"));
  EXPECT_FALSE(files.fileExists(folder / L"carpeta"));
  EXPECT_FALSE(files.fileExists(folder / L"no.txt"));
  EXPECT_FALSE(files.folderExists(folder / L"no"));
  EXPECT_FALSE(files.fileExists(L""));
  EXPECT_FALSE(files.folderExists(L""));
}

TEST_F(FileSystemWindowsTest, AFolderIsCreatedOnceAndItsParentMustExist) {
  files.createFolder(folder / L"nueva");
  EXPECT_TRUE(files.folderExists(folder / L"nueva"));
  EXPECT_EQ(numberOf([&] { files.createFolder(folder / L"nueva"); }), 58);
  folder.write(L"archivo", "x");
  EXPECT_EQ(numberOf([&] { files.createFolder(folder / L"archivo"); }), 58);
  EXPECT_EQ(numberOf([&] { files.createFolder(folder / L"no\\está"); }), 76);
}

TEST_F(FileSystemWindowsTest, AnErrorNamesThePath) {
  const auto error = errorOf([&] { files.openForReading(folder / L"no.txt"); });
  EXPECT_EQ(error.description(), describeError(53) + L": " + (folder / L"no.txt"));
}

// --- Deleting ---

TEST_F(FileSystemWindowsTest, AFileIsDeleted) {
  folder.write(L"a.txt", "x");
  files.deleteFile(folder / L"a.txt", false);
  EXPECT_THAT(folder.list(), IsEmpty());
}

TEST_F(FileSystemWindowsTest, AReadOnlyFileIsDeletedOnlyByForce) {
  folder.write(L"a.txt", "x");
  makeReadOnly(L"a.txt");
  EXPECT_EQ(numberOf([&] { files.deleteFile(folder / L"a.txt", false); }), 70);
  EXPECT_EQ(folder.bytes(L"a.txt"), "x");
  EXPECT_TRUE(isReadOnly(L"a.txt"));
  files.deleteFile(folder / L"a.txt", true);
  EXPECT_THAT(folder.list(), IsEmpty());
}

TEST_F(FileSystemWindowsTest, WhatIsMissingIs53AndInAMissingFolder76) {
  for (const bool force : {false, true}) {
    EXPECT_EQ(numberOf([&] { files.deleteFile(folder / L"no.txt", force); }), 53);
    EXPECT_EQ(numberOf([&] { files.deleteFile(folder / L"no\\no.txt", force); }), 76);
  }
}

TEST_F(FileSystemWindowsTest, AFolderIsNotDeletedAsAFile) {
  folder.makeFolder(L"carpeta");
  EXPECT_EQ(numberOf([&] { files.deleteFile(folder / L"carpeta", true); }), 70);
  EXPECT_TRUE(files.folderExists(folder / L"carpeta"));
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

// --- Copying ---

TEST_F(FileSystemWindowsTest, ACopyHasTheSameBytesAndTakesThePlaceOfAnOldFile) {
  folder.write(L"a.txt", std::string("uno\0dos", 7));
  folder.write(L"b.txt", "algo mucho más largo");
  files.copyFile(folder / L"a.txt", folder / L"b.txt");
  EXPECT_EQ(folder.bytes(L"b.txt"), std::string("uno\0dos", 7));
  EXPECT_EQ(folder.bytes(L"a.txt"), std::string("uno\0dos", 7));
}

TEST_F(FileSystemWindowsTest, ACopyNeedsItsSourceAndTheFolderOfItsTarget) {
  folder.write(L"a.txt", "x");
  EXPECT_EQ(numberOf([&] { files.copyFile(folder / L"no.txt", folder / L"b.txt"); }), 53);
  EXPECT_EQ(numberOf([&] { files.copyFile(folder / L"no\\no.txt", folder / L"b.txt"); }), 76);
  EXPECT_EQ(numberOf([&] { files.copyFile(folder / L"a.txt", folder / L"no\\b.txt"); }), 76);
  EXPECT_THAT(folder.list(), ElementsAre(L"a.txt"));
}

TEST_F(FileSystemWindowsTest, ACopyErrorNamesTheSideThatIsMissing) {
  folder.write(L"a.txt", "x");
  const auto description = [&](const std::wstring& from, const std::wstring& to) -> std::wstring {
    try {
      files.copyFile(folder / from, folder / to);
      return L"";
    } catch (const AutomationError& error) {
      return error.description();
    }
  };
  EXPECT_EQ(description(L"no.txt", L"b.txt"), describeError(53) + L": " + (folder / L"no.txt"));
  EXPECT_EQ(description(L"a.txt", L"no\\b.txt"), describeError(76) + L": " + (folder / L"no\\b.txt"));
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

// --- Reading ---

TEST_F(FileSystemWindowsTest, AReaderGivesAllBytesInPiecesAndThenNone) {
  const std::string bytes("ñ uno\r\n\0 dos \x1A tres", 20);
  folder.write(L"a.txt", bytes);
  EXPECT_EQ(readAll(L"a.txt"), bytes);
  folder.write(L"vacío.txt", "");
  EXPECT_EQ(readAll(L"vacío.txt"), "");
}

TEST_F(FileSystemWindowsTest, AReaderTellsTheLengthAndGoesToAnyPosition) {
  folder.write(L"a.txt", "0123456789");
  const auto reader = files.openForReading(folder / L"a.txt");
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

TEST_F(FileSystemWindowsTest, AReadOnlyFileIsRead) {
  folder.write(L"a.txt", "x");
  makeReadOnly(L"a.txt");
  EXPECT_EQ(readAll(L"a.txt"), "x");
}

TEST_F(FileSystemWindowsTest, SeveralReadersShareAFile) {
  folder.write(L"a.txt", "hola");
  const auto other = files.openForReading(folder / L"a.txt");
  EXPECT_EQ(readAll(L"a.txt"), "hola");
}

TEST_F(FileSystemWindowsTest, AFileThatIsOpenExclusivelyElsewhereIs70) {
  folder.write(L"a.txt", "x");
  const auto other = openExclusively(L"a.txt");
  ASSERT_TRUE(other);
  EXPECT_EQ(numberOf([&] { files.openForReading(folder / L"a.txt"); }), 70);
}

TEST_F(FileSystemWindowsTest, AMissingFileIs53AMissingFolder76AndAFolderIsNotReadAsAFile) {
  folder.makeFolder(L"carpeta");
  EXPECT_EQ(numberOf([&] { files.openForReading(folder / L"no.txt"); }), 53);
  EXPECT_EQ(numberOf([&] { files.openForReading(folder / L"no\\no.txt"); }), 76);
  EXPECT_EQ(numberOf([&] { files.openForReading(folder / L"carpeta"); }), 70);
  EXPECT_EQ(numberOf([&] { files.openForReading(L""); }), 76);
}

// --- Walking ---

TEST_F(FileSystemWindowsTest, AWalkVisitsEveryFileOfEverySubfolderWithItsLength) {
  folder.write(L"a.txt", "12345");
  folder.write(L"vacío.txt", "");
  folder.write(L"Año\\Uno\\ñ.txt", "123");
  folder.makeFolder(L"Vacía");
  std::map<std::wstring, std::uint64_t> visited;
  files.walkFiles(folder.path() + L"\\", [&](const std::wstring& path, std::uint64_t size) { visited[path] = size; });
  const std::map<std::wstring, std::uint64_t> expected = {
      {folder / L"a.txt", 5}, {folder / L"vacío.txt", 0}, {folder / L"Año\\Uno\\ñ.txt", 3}};
  EXPECT_EQ(visited, expected);
}

TEST_F(FileSystemWindowsTest, AWalkOfWhatIsMissingVisitsNothing) {
  files.walkFiles(folder / L"no\\", [](const std::wstring&, std::uint64_t) { ADD_FAILURE() << "visited"; });
}

TEST_F(FileSystemWindowsTest, AWalkPassesOverHiddenAndSystemFiles) {
  folder.write(L"a.txt", "x");
  folder.write(L"oculto.txt", "x");
  folder.write(L"sistema.txt", "x");
  SetFileAttributesW((folder / L"oculto.txt").c_str(), FILE_ATTRIBUTE_HIDDEN);
  SetFileAttributesW((folder / L"sistema.txt").c_str(), FILE_ATTRIBUTE_SYSTEM);
  std::vector<std::wstring> visited;
  files.walkFiles(folder.path() + L"\\", [&](const std::wstring& path, std::uint64_t) { visited.push_back(path); });
  EXPECT_THAT(visited, ElementsAre(folder / L"a.txt"));
}

TEST_F(FileSystemWindowsTest, TheLengthOfAMissingFileIsZero) {
  EXPECT_EQ(files.fileSize(folder / L"no.txt"), 0u);
}

}  // namespace
}  // namespace qev::test
