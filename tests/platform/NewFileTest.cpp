// A file takes another's place: in one step, over read-only ones, waiting for who holds it and no longer than told; and
// what killed processes leave goes, while what is of living ones stays.
#include "platform/NewFile.h"

#include <gmock/gmock.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/Handle.h"
#include "support/OtherProcess.h"
#include "support/TemporaryFolder.h"

namespace qev::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr DWORD kDone = ERROR_SUCCESS;
constexpr wchar_t kPlaceVariable[] = L"QEV_NEW_FILE_PLACE";

// The other process: it writes beside a place until it is killed.
TEST(NewFileProcess, DISABLED_Writes) {
  const wchar_t* const place = _wgetenv(kPlaceVariable);
  ASSERT_TRUE(place);
  const auto file = std::make_unique<NewFile>();
  ASSERT_EQ(kDone, file->create(place));
  ASSERT_EQ(kDone, file->write("a medias", 8));
  if (std::wstring(place).ends_with(L".fugaz")) file->deleteIfKilled();
  if (std::wstring(place).ends_with(L".cerrado")) file->close();
  OtherProcess::signalAndSleep();
}

// Milliseconds from when it is made.
class Watch {
 public:
  int time() const { return static_cast<int>(GetTickCount64() - start_); }

 private:
  ULONGLONG start_ = GetTickCount64();
};

class NewFileTest : public testing::Test {
 protected:
  ~NewFileTest() override { file_->discard(); }

  DWORD replace(const std::wstring& name, std::string_view bytes) {
    const std::wstring place = folder_ / name;
    if (const DWORD code = file_->create(place.c_str())) return code;
    if (const DWORD code = file_->write(bytes.data(), bytes.size())) return code;
    return file_->commit(place.c_str(), true, patience_);
  }

  UniqueFile open(const std::wstring& name, DWORD access, DWORD sharing) const {
    return UniqueFile(
        CreateFileW((folder_ / name).c_str(), access, sharing, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  }

  void makeReadOnly(const std::wstring& name) const {
    SetFileAttributesW((folder_ / name).c_str(), FILE_ATTRIBUTE_READONLY);
  }

  bool isReadOnly(const std::wstring& name) const {
    return GetFileAttributesW((folder_ / name).c_str()) & FILE_ATTRIBUTE_READONLY;
  }

  // The name of a file that a process of this machine would write; `start`: of that moment, not of its own.
  std::wstring nameOf(DWORD id, HANDLE process, std::uint64_t start = 0) const {
    FILETIME began{}, other{};
    GetProcessTimes(process, &began, &other, &other, &other);
    const std::uint64_t own = std::uint64_t{began.dwHighDateTime} << 32 | began.dwLowDateTime;
    wchar_t name[100];
    swprintf(name, 100, L"qev%ls-%lx-%016I64x-7.tmp", machine().c_str(), id, start ? start : own);
    return name;
  }

  std::wstring machine() const {
    EXPECT_EQ(kDone, file_->create((folder_ / L"x").c_str()));
    const std::wstring path = file_->path();
    file_->discard();
    return path.substr(path.rfind(L"\\qev") + 4, 8);
  }

  void removeLeftOvers() const { NewFile::removeLeftOvers((folder_ / L"a.qev").c_str()); }

  static void WINAPI count(void* messages) { ++*static_cast<int*>(messages); }

  TemporaryFolder folder_;
  std::unique_ptr<NewFile> file_ = std::make_unique<NewFile>();
  int messagesGiven_ = 0;
  Patience patience_{600, count, &messagesGiven_};
};

// --- Taking the place

TEST_F(NewFileTest, TheOldFileStandsUntilTheNewOneTakesItsPlaceWhole) {
  folder_.write(L"a.qev", "viejo");
  ASSERT_EQ(kDone, file_->create((folder_ / L"a.qev").c_str()));
  file_->deleteIfKilled();
  ASSERT_EQ(kDone, file_->write("nuevo ", 6));
  ASSERT_EQ(kDone, file_->write("entero", 6));
  EXPECT_EQ("viejo", folder_.bytes(L"a.qev"));
  EXPECT_EQ(2u, folder_.list().size());
  EXPECT_EQ(kDone, file_->commit((folder_ / L"a.qev").c_str(), true, patience_));
  EXPECT_EQ("nuevo entero", folder_.bytes(L"a.qev"));
  EXPECT_THAT(folder_.list(), ElementsAre(L"a.qev"));
}

TEST_F(NewFileTest, WhatIsDiscardedLeavesNothingReadOnlyOrNot) {
  for (const DWORD attributes : {FILE_ATTRIBUTE_NORMAL, FILE_ATTRIBUTE_READONLY}) {
    for (const bool isFleeting : {false, true}) {
      ASSERT_EQ(kDone, file_->create((folder_ / L"a.qev").c_str()));
      if (isFleeting) file_->deleteIfKilled();
      FILE_BASIC_INFO basic{};
      basic.FileAttributes = attributes;
      ASSERT_TRUE(SetFileInformationByHandle(file_->handle(), FileBasicInfo, &basic, sizeof basic));
      file_->discard();
      EXPECT_THAT(folder_.list(), IsEmpty());
    }
  }
}

TEST_F(NewFileTest, TheNameBesideALongPlaceMayBeLongerThan260Characters) {
  std::wstring deep = L"carpeta";
  while ((folder_ / deep).size() < 225) deep += L"x";
  folder_.write(deep + L"\\a.qev", "viejo");
  EXPECT_EQ(kDone, replace(deep + L"\\a.qev", "nuevo"));
  EXPECT_EQ("nuevo", folder_.bytes(deep + L"\\a.qev"));
}

TEST_F(NewFileTest, AReadOnlyFileIsReplacedAndStaysSoWhereItCannotBe) {
  folder_.write(L"a.qev", "viejo");
  makeReadOnly(L"a.qev");
  EXPECT_EQ(kDone, replace(L"a.qev", "nuevo"));
  makeReadOnly(L"a.qev");
  const auto other = open(L"a.qev", GENERIC_READ, FILE_SHARE_READ);
  ASSERT_TRUE(other);
  EXPECT_NE(kDone, replace(L"a.qev", "más nuevo"));
  EXPECT_TRUE(isReadOnly(L"a.qev"));
  EXPECT_EQ("nuevo", folder_.bytes(L"a.qev"));
  EXPECT_THAT(folder_.list(), ElementsAre(L"a.qev"));
}

// The host, or a chooser of the system, changes the current folder while a file is being written.
TEST_F(NewFileTest, ARelativePlaceCountsFromTheFolderThatWasCurrentWhenTheFileWasMade) {
  folder_.makeFolder(L"uno");
  folder_.makeFolder(L"dos");
  folder_.write(L"dos\\a.qev", "de otro");
  std::wstring before(1024, L'\0');
  before.resize(GetCurrentDirectoryW(static_cast<DWORD>(before.size()), before.data()));
  ASSERT_TRUE(SetCurrentDirectoryW((folder_ / L"uno").c_str()));
  EXPECT_EQ(kDone, file_->create(L"a.qev"));
  EXPECT_EQ(kDone, file_->write("nuevo", 5));
  EXPECT_TRUE(SetCurrentDirectoryW((folder_ / L"dos").c_str()));
  const DWORD code = file_->commit(L"a.qev", true, patience_);
  SetCurrentDirectoryW(before.c_str());
  EXPECT_EQ(kDone, code);
  EXPECT_EQ("nuevo", folder_.bytes(L"uno\\a.qev"));
  EXPECT_EQ("de otro", folder_.bytes(L"dos\\a.qev"));
}

// --- Waiting

TEST_F(NewFileTest, APlaceThatIsHeldForAWhileIsTakenWhenItIsFreeAndTheWindowsGetTheirMessages) {
  folder_.write(L"a.qev", "viejo");
  auto other = open(L"a.qev", GENERIC_READ, FILE_SHARE_READ);
  ASSERT_TRUE(other);
  patience_.milliseconds = 20'000;
  std::thread holder([&] {
    Sleep(400);
    other.reset();
  });
  EXPECT_EQ(kDone, replace(L"a.qev", "nuevo"));
  holder.join();
  EXPECT_EQ("nuevo", folder_.bytes(L"a.qev"));
  EXPECT_GT(messagesGiven_, 3);
}

TEST_F(NewFileTest, APlaceThatIsHeldForEverIsGivenUpInTimeAndLeftAsItWas) {
  folder_.write(L"a.qev", "viejo");
  const auto other = open(L"a.qev", GENERIC_READ, 0);
  ASSERT_TRUE(other);
  const Watch watch;
  const DWORD code = replace(L"a.qev", "nuevo");
  const int time = watch.time();
  EXPECT_TRUE(code == ERROR_ACCESS_DENIED || code == ERROR_SHARING_VIOLATION) << code;
  EXPECT_GE(time, 600);
  EXPECT_LT(time, 4'000);
  EXPECT_THAT(folder_.list(), ElementsAre(L"a.qev"));
  EXPECT_EQ(600u, patience_.milliseconds) << "less than a second is not used up";
}

TEST_F(NewFileTest, SeveralFilesOfOneRunShareItsPatienceAndEachHasASecond) {
  folder_.write(L"a.qev", "viejo");
  const auto other = open(L"a.qev", GENERIC_READ, 0);
  patience_.milliseconds = 1'500;
  const Watch watch;
  EXPECT_NE(kDone, replace(L"a.qev", "nuevo"));
  EXPECT_GE(watch.time(), 1'500);
  EXPECT_EQ(1'000u, patience_.milliseconds);
}

TEST_F(NewFileTest, WhatCannotPassIsNotWaitedFor) {
  folder_.makeFolder(L"carpeta");
  patience_.milliseconds = 20'000;
  const Watch watch;
  EXPECT_EQ(DWORD{ERROR_ACCESS_DENIED}, replace(L"carpeta", "nuevo"));
  EXPECT_EQ(DWORD{ERROR_PATH_NOT_FOUND}, replace(L"no está\\a.qev", "nuevo"));
  EXPECT_LT(watch.time(), 5'000);
  EXPECT_EQ(0, messagesGiven_);
}

TEST_F(NewFileTest, AFileThatIsBeingDeletedIsWaitedFor) {
  folder_.write(L"a.qev", "viejo");
  auto other = open(L"a.qev", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE);
  ASSERT_TRUE(other);
  ASSERT_TRUE(DeleteFileW((folder_ / L"a.qev").c_str()));
  patience_.milliseconds = 20'000;
  std::thread holder([&] {
    Sleep(400);
    other.reset();
  });
  EXPECT_EQ(kDone, replace(L"a.qev", "nuevo"));
  holder.join();
  EXPECT_EQ("nuevo", folder_.bytes(L"a.qev"));
}

TEST_F(NewFileTest, ADeletionReturnsWhenTheNameIsFree) {
  folder_.write(L"a.qev", "viejo");
  auto other = open(L"a.qev", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE);
  ASSERT_TRUE(other);
  patience_.milliseconds = 20'000;
  std::thread holder([&] {
    Sleep(400);
    other.reset();
  });
  EXPECT_EQ(kDone, deleteAndFreeName((folder_ / L"a.qev").c_str(), false, patience_));
  const auto anew = UniqueFile(
      CreateFileW((folder_ / L"a.qev").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
  EXPECT_TRUE(anew) << GetLastError();
  holder.join();
}

TEST_F(NewFileTest, ADeletionThatTakesTooLongIsNotWaitedForWithoutEnd) {
  folder_.write(L"a.qev", "viejo");
  auto other = open(L"a.qev", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE);
  const Watch watch;
  EXPECT_EQ(kDone, deleteAndFreeName((folder_ / L"a.qev").c_str(), false, patience_));
  EXPECT_LT(watch.time(), 4'000);
  other.reset();
  EXPECT_THAT(folder_.list(), IsEmpty());
}

// --- Left-overs

TEST_F(NewFileTest, NamesTellWhatIsBeingWritten) {
  for (const wchar_t* name : {L"qev0123abcd-4f-01dd5c0123456789-0.tmp", L"qev4711-0.tmp", L"~qev0123abcd.tmp"}) {
    EXPECT_TRUE(NewFile::isName(name)) << std::string(name, name + wcslen(name));
  }
  for (const wchar_t* name : {L"qev.tmp", L"qev-.tmp", L"qevotro.txt", L"qev4711-0.tmp.qev", L"qev47x-0.tmp",
                              L"~qev1.tmp", L"qev0123abcd-4f-01dd5c01-0.tmp", L"copia.qev", L"mi qev4711-0.tmp", L""}) {
    EXPECT_FALSE(NewFile::isName(name)) << std::string(name, name + wcslen(name));
  }
  EXPECT_TRUE(NewFile::isName(nameOf(GetCurrentProcessId(), GetCurrentProcess()).c_str()));
}

TEST_F(NewFileTest, OfAProcessThatLivesNothingGoesAndWhenItIsKilledEverything) {
  SetEnvironmentVariableW(kPlaceVariable, (folder_ / L"a.cerrado").c_str());
  const OtherProcess other(L"NewFileProcess.DISABLED_Writes");
  ASSERT_TRUE(other.hasSignalled());
  folder_.write(nameOf(GetProcessId(other.handle()), other.handle()), "a medias");
  folder_.write(L"qev" + std::to_wstring(GetProcessId(other.handle())) + L"-0.tmp", "de una versión anterior");
  removeLeftOvers();
  EXPECT_EQ(3u, folder_.list().size()) << "nobody has them open";
  other.kill();
  removeLeftOvers();
  EXPECT_THAT(folder_.list(), IsEmpty());
}

TEST_F(NewFileTest, WhatIsDeletedIfKilledIsEitherGoneWithTheProcessOrAfterIt) {
  SetEnvironmentVariableW(kPlaceVariable, (folder_ / L"a.fugaz").c_str());
  const OtherProcess other(L"NewFileProcess.DISABLED_Writes");
  ASSERT_TRUE(other.hasSignalled());
  EXPECT_EQ(1u, folder_.list().size());
  other.kill();
  removeLeftOvers();
  EXPECT_THAT(folder_.list(), IsEmpty());
}

TEST_F(NewFileTest, AProcessThatHasTheIdOfAGoneOneDoesNotKeepItsFiles) {
  folder_.write(nameOf(GetCurrentProcessId(), GetCurrentProcess(), 1), "a medias");
  const std::wstring own = nameOf(GetCurrentProcessId(), GetCurrentProcess());
  folder_.write(own, "de esta");
  removeLeftOvers();
  EXPECT_THAT(folder_.list(), ElementsAre(own));
}

TEST_F(NewFileTest, TheNameTellsTheMachineByItsNameWithItsDomain) {
  wchar_t name[512] = L"";
  DWORD length = 512;
  ASSERT_TRUE(GetComputerNameExW(ComputerNamePhysicalDnsFullyQualified, name, &length));
  ASSERT_GT(length, 0u);
  std::uint32_t hash = 2166136261u;  // FNV-1a
  for (DWORD i = 0; i < length; ++i) hash = (hash ^ name[i]) * 16777619u;
  wchar_t digits[9];
  swprintf(digits, 9, L"%08x", hash | 1);
  EXPECT_EQ(digits, machine());
}

TEST_F(NewFileTest, WhatIsOfAnotherMachineGoesADayAfterItsLastWriteUnlessItIsOpen) {
  const auto write = [&](const std::wstring& name, int hoursAgo) {
    folder_.write(name, "de otra máquina");
    FILETIME time{};
    GetSystemTimeAsFileTime(&time);
    ULARGE_INTEGER units{};
    units.LowPart = time.dwLowDateTime, units.HighPart = time.dwHighDateTime;
    units.QuadPart -= hoursAgo * 36'000'000'000ll;
    time.dwLowDateTime = units.LowPart, time.dwHighDateTime = units.HighPart;
    ASSERT_TRUE(SetFileTime(open(name, FILE_WRITE_ATTRIBUTES, 0).get(), nullptr, nullptr, &time));
  };
  write(L"qev00000000-7-1111111111111111-0.tmp", 25);
  write(L"qev00000000-7-1111111111111111-1.tmp", 23);
  write(L"qev00000000-7-1111111111111111-2.tmp", -25);  // by the clock of a server that is ahead
  write(L"qev00000000-7-1111111111111111-3.tmp", 25);
  const auto held = open(L"qev00000000-7-1111111111111111-3.tmp", GENERIC_READ,
                         FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
  ASSERT_TRUE(held);
  removeLeftOvers();
  EXPECT_THAT(folder_.list(),
              UnorderedElementsAre(L"qev00000000-7-1111111111111111-1.tmp", L"qev00000000-7-1111111111111111-2.tmp",
                                   L"qev00000000-7-1111111111111111-3.tmp"));
}

TEST_F(NewFileTest, WhatIsOfAnotherMachineOrOpenOrOfAnotherNameStays) {
  const std::wstring foreign = L"qev00000000-7-1111111111111111-0.tmp";
  folder_.write(foreign, "de otra máquina");
  folder_.write(L"~qev0123abcd.tmp", "abierto");
  folder_.write(L"~qev0123abce.tmp", "a medias");
  folder_.write(L"qev4711-0.tmp", "a medias");
  makeReadOnly(L"qev4711-0.tmp");
  folder_.write(L"qevotro.txt", "de otro");
  folder_.makeFolder(L"qev4711-1.tmp");
  const auto held = open(L"~qev0123abcd.tmp", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
  ASSERT_TRUE(held);
  removeLeftOvers();
  EXPECT_THAT(folder_.list(), UnorderedElementsAre(foreign, L"~qev0123abcd.tmp", L"qevotro.txt", L"qev4711-1.tmp"));
}

}  // namespace
}  // namespace qev::test
