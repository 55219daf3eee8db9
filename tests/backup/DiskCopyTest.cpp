// The spreading of a set over disks: a drive, disks and answers that the test plays.
#include "backup/DiskCopy.h"

#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <vector>

#include "platform/AutomationError.h"
#include "set/SetFile.h"
#include "support/ErrorOf.h"
#include "support/FakePlatform.h"

namespace qev::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr wchar_t kWorkingCopy[] = L"C:\\Trabajo\\temp\\copia.zip";
constexpr wchar_t kDisplayed[] = L"A:\\Copias\\Backup16-11-26.qev";
constexpr wchar_t kOnDisk[] = L"A:\\Backup16-11-26.qev";

constexpr wchar_t kInsert[] = L"Introduzca un disco formateado para continuar";
constexpr wchar_t kNotEmpty[] = L"El disco no esta vacio o contiene sectores defectuosos, inserte otro disco por favor";
constexpr wchar_t kNotReady[] = L"El disco no está preparado, ¿Reintentar?";

constexpr std::uint32_t kFormatted = 1'457'664;  // bytes free on an empty disk of 1.44 MB

// Refuses to delete, and keeps in mind whether it was told to force it.
class UndeletableFiles : public FakeFiles {
 public:
  bool forced = false;
  int tries = 0;
  void deleteFile(const std::wstring&, bool force, FreeName) override {
    ++tries;
    forced = force;
    throw AutomationError(kPermissionDenied);
  }
};

class DiskCopyTest : public testing::Test {
 protected:
  DiskCopyTest() {
    fake.files.putFolder(L"A:\\");
    fake.drives.willReport({FakeDrives::bytesFree(kFormatted)});
    // A disk is taken out when the next one is asked for.
    fake.messages.onShow = [this](const FakeMessages::Shown& shown) {
      if (shown.text == kInsert) takeDiskOut();
    };
  }

  void takeDiskOut() {
    if (!fake.files.fileExists(kOnDisk)) return;
    disks.push_back(fake.files.bytes(kOnDisk));
    fake.files.deleteFile(kOnDisk, true);
  }

  // A finished set at the place of the working copy, of an archive with these bytes.
  void putSet(std::string_view archive) {
    fake.files.put(kWorkingCopy, archive);
    writeHeader(fake.platform(), kWorkingCopy, {L"Gestion", fake.clock.now(), 1, 1, L"C:"});
  }

  // Bytes that tell where they are: no two volumes of them are alike.
  static std::string archiveOf(std::size_t size) {
    std::string bytes(size, '\0');
    std::uint32_t state = 1;
    for (char& c : bytes) c = static_cast<char>((state = state * 1664525u + 1013904223u) >> 24);
    return bytes;
  }

  bool run(const std::wstring& displayPath = kDisplayed) {
    DiskCopy copy(
        fake.platform(), L"Gestion",
        [this](const std::wstring& text) {
          progress.push_back(text);
          if (onProgress) onProgress();
        },
        [this] { return stopAfter-- <= 0; });
    const bool done = copy.run(kWorkingCopy, displayPath, isSafe);
    notes = copy.notes();
    takeDiskOut();
    return done;
  }

  std::int32_t freeBytes(const DiskFreeSpace& space) {
    fake.drives.willReport({space});
    return DiskCopy(fake.platform(), L"Gestion", nullptr, nullptr).freeBytes(L"A:");
  }

  // The texts of the boxes shown, in their order.
  std::vector<std::wstring> questions() const {
    std::vector<std::wstring> texts;
    for (const auto& box : fake.messages.shown) texts.push_back(box.text);
    return texts;
  }

  FakePlatform fake;
  std::vector<std::wstring> progress;
  std::function<void()> onProgress;
  bool isSafe = false;
  std::vector<std::wstring> notes;
  std::vector<std::string> disks;  // what each disk held when it was taken out
  int stopAfter = 1000;            // tries until the user asks to close the window
};

TEST_F(DiskCopyTest, ATargetThatIsNoFloppyIsDoneAtOnceAndNothingIsTouched) {
  fake.files.put(L"C:\\Copias\\x.qev", "PK");
  EXPECT_TRUE(run(L"C:\\Copias\\x.qev"));
  EXPECT_TRUE(run(L"a:\\x.qev"));
  EXPECT_TRUE(run(L"\\\\servidor\\copias\\x.qev"));
  EXPECT_TRUE(run(L""));
  EXPECT_THAT(fake.messages.shown, IsEmpty());
  EXPECT_THAT(fake.drives.queried, IsEmpty());
  EXPECT_THAT(progress, IsEmpty());
}

TEST_F(DiskCopyTest, AnArchiveOfThreeMillionBytesAsksForThreeDisks) {
  const std::string archive = archiveOf(3'000'000);
  putSet(archive);
  fake.messages.willAnswer({Answer::Ok, Answer::Ok, Answer::Ok});
  EXPECT_TRUE(run());
  EXPECT_THAT(questions(), ElementsAre(kInsert, kInsert, kInsert));
  ASSERT_EQ(disks.size(), 3u);
  EXPECT_EQ(disks[0].size(), 1'440'000u);
  EXPECT_EQ(disks[1].size(), 1'440'000u);
  EXPECT_EQ(disks[2].size(), 120'000u);
  EXPECT_EQ(disks[0] + disks[1] + disks[2], archive);
}

TEST_F(DiskCopyTest, EachDiskIsAskedForWithOkAndCancelAndTheInformationIcon) {
  putSet("PK");
  fake.messages.willAnswer({Answer::Ok});
  run();
  EXPECT_THAT(fake.messages.shown,
              ElementsAre(FakeMessages::Shown{kInsert, L"Gestion", message::kOkCancel | message::kInformation}));
}

TEST_F(DiskCopyTest, TheDiskFileHasTheFileNameOfTheTargetInTheRootOfTheDisk) {
  putSet("PK");
  fake.messages.willAnswer({Answer::Ok});
  run();
  EXPECT_THAT(disks, ElementsAre("PK"));
}

TEST_F(DiskCopyTest, EachDiskAnnouncesItsNumberAndTheTotal) {
  putSet(archiveOf(2'000'000));
  fake.messages.willAnswer({Answer::Ok, Answer::Ok});
  run();
  EXPECT_THAT(progress, ElementsAre(L" Copiando disco 1 de 2...", L" Copiando disco 2 de 2..."));
}

TEST_F(DiskCopyTest, TheWorkingCopyIsDeletedAndThePiecesRemain) {
  const std::string archive = archiveOf(1'500'000);
  putSet(archive);
  fake.messages.willAnswer({Answer::Ok, Answer::Ok});
  run();
  EXPECT_THAT(fake.files.paths(), ElementsAre(std::wstring(kWorkingCopy) + L"1", std::wstring(kWorkingCopy) + L"2"));
  EXPECT_EQ(fake.files.bytes(std::wstring(kWorkingCopy) + L"1"), archive.substr(0, 1'440'000));
  EXPECT_EQ(fake.files.bytes(std::wstring(kWorkingCopy) + L"2"), archive.substr(1'440'000));
}

TEST_F(DiskCopyTest, AWorkingCopyThatCannotBeDeletedIsLeftAndWasNotForced) {
  UndeletableFiles files;
  files.putFolder(L"A:\\");
  FakeWorkFolder workFolder(files);
  Platform platform = with(fake.platform(), files, workFolder);
  files.put(kWorkingCopy, "PK");
  writeHeader(platform, kWorkingCopy, {L"Gestion", fake.clock.now(), 1, 1, L"C:"});
  fake.messages.onShow = nullptr;
  fake.messages.willAnswer({Answer::Ok});
  DiskCopy copy(
      platform, L"Gestion", [](const std::wstring&) {}, [] { return false; });
  EXPECT_TRUE(copy.run(kWorkingCopy, kDisplayed, false));
  EXPECT_EQ(files.tries, 1);
  EXPECT_FALSE(files.forced);
  EXPECT_TRUE(files.fileExists(kWorkingCopy));
  EXPECT_EQ(files.bytes(kOnDisk), "PK");
}

TEST_F(DiskCopyTest, ACancelledDiskIsAnsweredWithFalse) {
  putSet("PK");
  fake.messages.willAnswer({Answer::Cancel});
  EXPECT_FALSE(run());
  EXPECT_THAT(disks, IsEmpty());
  EXPECT_THAT(progress, IsEmpty());
}

TEST_F(DiskCopyTest, CancellingALaterDiskIsAnsweredWithFalse) {
  putSet(archiveOf(3'000'000));
  fake.messages.willAnswer({Answer::Ok, Answer::Cancel});
  EXPECT_FALSE(run());
  EXPECT_EQ(disks.size(), 1u);
}

// --- Room on the disk ---

TEST_F(DiskCopyTest, ADiskWith1440000BytesFreeIsRefusedAndOneWith1440001IsAccepted) {
  putSet("PK");
  fake.drives.willReport({FakeDrives::bytesFree(1'440'000), FakeDrives::bytesFree(1'440'001)});
  fake.messages.willAnswer({Answer::Ok, Answer::Ok});
  EXPECT_TRUE(run());
  EXPECT_THAT(questions(), ElementsAre(kInsert, kNotEmpty));
  EXPECT_EQ(fake.messages.shown.at(1).style, message::kOkCancel | message::kInformation);
  EXPECT_EQ(fake.messages.shown.at(1).title, L"Gestion");
  EXPECT_THAT(disks, ElementsAre("PK"));
  EXPECT_THAT(progress, ElementsAre(L" Copiando disco 1 de 1..."));
}

TEST_F(DiskCopyTest, AnyDiskNeedsTheRoomOfAWholeVolumeHoweverSmallItsPiece) {
  putSet("PK");
  fake.drives.willReport({FakeDrives::bytesFree(1'000'000)});
  fake.messages.willAnswer({Answer::Ok, Answer::Ok, Answer::Cancel});
  EXPECT_FALSE(run());
  EXPECT_THAT(questions(), ElementsAre(kInsert, kNotEmpty, kNotEmpty));
}

TEST_F(DiskCopyTest, AFullDiskIsRefused) {
  putSet("PK");
  fake.drives.willReport({FakeDrives::bytesFree(0)});
  fake.messages.willAnswer({Answer::Ok, Answer::Cancel});
  EXPECT_FALSE(run());
  EXPECT_THAT(questions(), ElementsAre(kInsert, kNotEmpty));
}

TEST_F(DiskCopyTest, ADriveThatIsNotReadyWhileMeasuredIsAskedAboutAndYesMeasuresAgain) {
  putSet("PK");
  fake.drives.willReport({std::nullopt, std::nullopt, FakeDrives::bytesFree(kFormatted)});
  fake.messages.willAnswer({Answer::Ok, Answer::Yes, Answer::Yes});
  EXPECT_TRUE(run());
  EXPECT_THAT(questions(), ElementsAre(kInsert, kNotReady, kNotReady));
  EXPECT_EQ(fake.messages.shown.at(1).style, message::kYesNo | message::kCritical);
  EXPECT_EQ(fake.messages.shown.at(1).title, L"Gestion");
  EXPECT_THAT(fake.drives.queried, ElementsAre(L"A:", L"A:", L"A:"));
}

TEST_F(DiskCopyTest, ADriveThatIsNotReadyWhileMeasuredAndGivenUpIsAnsweredWithFalse) {
  putSet("PK");
  fake.drives.willReport({std::nullopt});
  fake.messages.willAnswer({Answer::Ok, Answer::No});
  EXPECT_FALSE(run());
  EXPECT_THAT(questions(), ElementsAre(kInsert, kNotReady));
  EXPECT_THAT(disks, IsEmpty());
}

TEST_F(DiskCopyTest, ADriveThatBecomesUnreadyAfterAFullDiskIsAskedAboutToo) {
  putSet("PK");
  fake.drives.willReport({FakeDrives::bytesFree(10), std::nullopt, FakeDrives::bytesFree(kFormatted)});
  fake.messages.willAnswer({Answer::Ok, Answer::Ok, Answer::Yes});
  EXPECT_TRUE(run());
  EXPECT_THAT(questions(), ElementsAre(kInsert, kNotEmpty, kNotReady));
}

TEST_F(DiskCopyTest, FreeSpaceIsClustersTimesSectorsTimesBytes) {
  EXPECT_EQ(freeBytes({1, 512, 2847}), 1'457'664);
  EXPECT_EQ(freeBytes({8, 4096, 3}), 98'304);
  EXPECT_EQ(freeBytes({1, 512, 0}), 0);
  EXPECT_EQ(freeBytes({1, 1, 2'147'483'647}), 2'147'483'647);
}

TEST_F(DiskCopyTest, FreeSpaceThatDoesNotFit32BitsWithSignIsOverflow) {
  const std::vector<DiskFreeSpace> tooLarge = {{1, 1, 2'147'483'648u},
                                               {64, 512, 65'536},
                                               {4096, 4096, 4'294'967'295u},
                                               {4'294'967'295u, 1, 1},
                                               {1, 4'294'967'295u, 1}};
  for (const DiskFreeSpace& space : tooLarge) {
    try {
      freeBytes(space);
      ADD_FAILURE() << "no overflow for " << space.freeClusters << " clusters";
    } catch (const AutomationError& error) {
      EXPECT_EQ(error.number(), 6);
    }
  }
}

TEST_F(DiskCopyTest, ADriveTooLargeToBeCountedIsNoRoomForAVolume) {
  putSet("PK");
  fake.drives.willReport({DiskFreeSpace{64, 512, 1'000'000}, FakeDrives::bytesFree(kFormatted)});
  fake.messages.willAnswer({Answer::Ok, Answer::Ok});
  EXPECT_TRUE(run());
  EXPECT_THAT(questions(), ElementsAre(kInsert, kNotEmpty));
}

// --- Errors while a disk is written ---

TEST_F(DiskCopyTest, ADriveThatIsNotReadyWhileWrittenIsAskedAboutAndYesTriesTheDiskAgain) {
  putSet("PK");
  fake.files.failCopiesTo(kOnDisk, {kDiskNotReady});
  fake.messages.willAnswer({Answer::Ok, Answer::Yes});
  EXPECT_TRUE(run());
  EXPECT_THAT(questions(), ElementsAre(kInsert, kNotReady));
  EXPECT_EQ(fake.messages.shown.at(1).style, message::kYesNo | message::kCritical);
  EXPECT_THAT(disks, ElementsAre("PK"));
  EXPECT_EQ(progress.size(), 2u);
  EXPECT_EQ(fake.drives.queried.size(), 2u);  // the disk is measured again too
}

TEST_F(DiskCopyTest, ADriveThatIsNotReadyWhileWrittenAndGivenUpSkipsThatVolumeAndTheRunStillSucceeds) {
  const std::string archive = archiveOf(3'000'000);
  putSet(archive);
  fake.files.failCopiesTo(kOnDisk, {kDiskNotReady});
  fake.messages.willAnswer({Answer::Ok, Answer::No, Answer::Ok, Answer::Ok});
  EXPECT_TRUE(run());
  EXPECT_THAT(questions(), ElementsAre(kInsert, kNotReady, kInsert, kInsert));
  ASSERT_EQ(disks.size(), 2u);
  EXPECT_EQ(disks[0] + disks[1], archive.substr(1'440'000));
}

TEST_F(DiskCopyTest, AnyOtherErrorTriesTheSameDiskAgainAtOnceWithoutAQuestion) {
  putSet("PK");
  fake.files.failCopiesTo(kOnDisk, {kDeviceInputOutput, kPermissionDenied, kDiskFull, kPathNotFound});
  fake.messages.willAnswer({Answer::Ok});
  EXPECT_TRUE(run());
  EXPECT_THAT(questions(), ElementsAre(kInsert));
  EXPECT_THAT(disks, ElementsAre("PK"));
  EXPECT_EQ(progress, std::vector<std::wstring>(5, L" Copiando disco 1 de 1..."));
  EXPECT_EQ(fake.drives.queried.size(), 5u);
}

TEST_F(DiskCopyTest, BetweenTriesTheWindowIsLetThrough) {
  putSet("PK");
  fake.files.failCopiesTo(kOnDisk, {kDeviceInputOutput, kDeviceInputOutput});
  fake.messages.willAnswer({Answer::Ok});
  std::vector<int> yieldsAtTries;
  onProgress = [&] { yieldsAtTries.push_back(fake.eventLoop.yields); };
  run();
  ASSERT_EQ(yieldsAtTries.size(), 3u);
  EXPECT_GT(yieldsAtTries[1], yieldsAtTries[0]);
  EXPECT_GT(yieldsAtTries[2], yieldsAtTries[1]);
}

TEST_F(DiskCopyTest, ACloseAskedForEndsTheTriesWithADiskThatKeepsFailing) {
  putSet("PK");
  fake.files.failCopiesTo(kOnDisk, std::vector<ErrorNumber>(100, kDeviceInputOutput));
  fake.messages.willAnswer({Answer::Ok});
  stopAfter = 5;
  EXPECT_FALSE(run());
  EXPECT_EQ(progress.size(), 6u);
  EXPECT_THAT(disks, IsEmpty());
}

TEST_F(DiskCopyTest, ACloseAskedForDoesNotEndADiskThatIsWritten) {
  putSet("PK");
  fake.messages.willAnswer({Answer::Ok});
  stopAfter = 0;
  EXPECT_TRUE(run());
  EXPECT_THAT(disks, ElementsAre("PK"));
}

TEST_F(DiskCopyTest, ASkippedDiskIsToldAndInSafeModeIsAFailure) {
  fake.files.failCopiesTo(kOnDisk, {kDiskNotReady});
  putSet("PK");
  fake.messages.willAnswer({Answer::Ok, Answer::No});
  EXPECT_TRUE(run());
  EXPECT_THAT(notes, ElementsAre(L"El disco 1 de 1 no se ha escrito: a la copia le falta esa parte"));
  isSafe = true;
  fake.files.failCopiesTo(kOnDisk, {kDiskNotReady});
  putSet("PK");
  fake.messages.willAnswer({Answer::Ok, Answer::No});
  EXPECT_EQ(numberOf([this] { run(); }), 71);
}

TEST_F(DiskCopyTest, InSafeModeADiskThatDoesNotReadAsItWasWrittenIsWrittenAgain) {
  isSafe = true;
  putSet("PK");
  int reads = 0;
  fake.files.onOpen = [&](const std::wstring& path) {
    if (path == kOnDisk && ++reads == 1) fake.files.put(kOnDisk, "PQ");
  };
  fake.messages.willAnswer({Answer::Ok});
  EXPECT_TRUE(run());
  EXPECT_THAT(disks, ElementsAre("PK"));
  EXPECT_EQ(reads, 2);
  EXPECT_THAT(fake.files.flushed, ElementsAre(kOnDisk, kOnDisk));
}

TEST_F(DiskCopyTest, InSafeModeADiskThatIsShorterThanItsPieceIsWrittenAgain) {
  isSafe = true;
  putSet(archiveOf(200'000));
  int reads = 0;
  fake.files.onOpen = [&](const std::wstring& path) {
    if (path == kOnDisk && ++reads == 1) fake.files.put(kOnDisk, fake.files.bytes(kOnDisk).substr(0, 199'999));
  };
  fake.messages.willAnswer({Answer::Ok});
  EXPECT_TRUE(run());
  EXPECT_THAT(disks, ElementsAre(archiveOf(200'000)));
}

TEST_F(DiskCopyTest, BetweenTriesTheDiskHasAMomentToComeRound) {
  putSet("PK");
  fake.files.failCopiesTo(kOnDisk, {kDeviceInputOutput, kDeviceInputOutput});
  fake.messages.willAnswer({Answer::Ok});
  EXPECT_TRUE(run());
  EXPECT_EQ(fake.eventLoop.paused, 400u);
}

// --- The cutting ---

TEST_F(DiskCopyTest, ASetThatCannotBeCutIsAnErrorBeforeAnyDiskIsAskedForAndTheSetStays) {
  putSet(archiveOf(1'500'000));
  const std::string set = fake.files.bytes(kWorkingCopy);
  fake.files.denyWriting(std::wstring(kWorkingCopy) + L"2", kDiskFull);
  EXPECT_EQ(numberOf([this] { run(); }), 61);
  EXPECT_EQ(fake.files.bytes(kWorkingCopy), set);
  EXPECT_THAT(fake.messages.shown, IsEmpty());
}

TEST_F(DiskCopyTest, AnArchiveOfExactlyOneVolumeTakesOneDisk) {
  putSet(archiveOf(1'440'000));
  fake.messages.willAnswer({Answer::Ok});
  EXPECT_TRUE(run());
  ASSERT_EQ(disks.size(), 1u);
  EXPECT_EQ(disks[0].size(), 1'440'000u);
}

}  // namespace
}  // namespace qev::test
