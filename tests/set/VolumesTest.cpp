#include "set/Volumes.h"

#include <gtest/gtest.h>

#include "support/ErrorOf.h"
#include "support/GoldenSet.h"

namespace qev::test {
namespace {

class VolumesTest : public testing::Test, protected SetBox {};

TEST_F(VolumesTest, WorkingCopyAndItsPiecesLieInTheWorkFoldersTemp) {
  EXPECT_EQ(workingCopy(fake.workFolder), kWorkingCopy);
  EXPECT_EQ(workingPiece(fake.workFolder, 12), kWorkingCopy + L"12");
}

TEST_F(VolumesTest, ADiskTakes1440000BytesAndTheLastOneTheRest) {
  const std::pair<std::size_t, std::vector<std::uint64_t>> archives[] = {
      {0, {}}, {1'440'000, {1'440'000}}, {1'440'001, {1'440'000, 1}}, {3'000'000, {1'440'000, 1'440'000, 120'000}}};
  for (const auto& [length, pieces] : archives) {
    SetBox box;
    const std::string set = golden() + std::string(length, 'v');
    box.put(set, kWorkingCopy);
    EXPECT_EQ(box.split(kVolumeBytes).totalVolumes, static_cast<int>(pieces.size()));
    for (int i = 1; i <= static_cast<int>(pieces.size()); ++i) {
      EXPECT_EQ(box.fake.files.fileSize(piece(i)), pieces[static_cast<std::size_t>(i - 1)]);
    }
    EXPECT_EQ(box.fake.files.paths().size(), 1 + pieces.size());
    EXPECT_TRUE(box.bytes(kWorkingCopy) == set);
  }
}

TEST_F(VolumesTest, PiecesAreBareConsecutiveSlicesAndTheCopyIsWholeAgain) {
  for (const std::uint64_t size : {1u, 2u, 3u, 4u, 7u, 23u, 24u, 1000u}) {
    SetBox box;
    box.put(golden("9", "4") + kArchive, kWorkingCopy);
    const int total = box.split(size).totalVolumes;
    std::string joined;
    for (int i = 1; i <= total; ++i) {
      const std::string piece = box.bytes(box.piece(i));
      EXPECT_TRUE(piece.size() == size || i == total);
      joined += piece;
    }
    EXPECT_EQ(joined, kArchive);
    EXPECT_EQ(box.bytes(kWorkingCopy), golden() + kArchive);
    EXPECT_EQ(box.fake.files.paths().size(), 1u + (kArchive.size() + size - 1) / size);
  }
}

TEST_F(VolumesTest, SplittingAnswersTheHeaderWithTheNumberOfPiecesAsItsTotal) {
  put(golden("9", "4") + "12345", kWorkingCopy);
  EXPECT_EQ(split(2), goldenHeader(3, 4));
}

TEST_F(VolumesTest, ASetOfAnotherNameKeepsItsNumberGetsTheTotalAndNamesItsPieces) {
  put(golden("9", "4") + "12345");
  (void)split(2, kSetPath);
  EXPECT_EQ(bytes(), golden("3", "4") + "12345");
  const std::wstring piece = L"C:\\Trabajo\\temp\\Backup16-11-26.qev";
  EXPECT_EQ(bytes(piece + L"1"), golden("3", "1") + "12");
  EXPECT_EQ(bytes(piece + L"2"), golden("3", "2") + "34");
  EXPECT_EQ(bytes(piece + L"3"), golden("3", "3") + "5");
}

TEST_F(VolumesTest, EveryRewriteExchangesDayAndMonthOfASmallDateAgain) {
  put(golden("1", "1", "11/05/2026") + "12345", kWorkingCopy);
  EXPECT_EQ(split(2).creationDate, moment(2026, 5, 11));
  EXPECT_EQ(bytes(kWorkingCopy), golden("1", "1", "05/11/2026") + "12345");
}

TEST_F(VolumesTest, SplittingAFileThatDoesNotExistRaises9AndCreatesNone) {
  EXPECT_EQ(numberOf([&] { (void)split(2); }), 9);
  EXPECT_TRUE(fake.files.paths().empty());
}

TEST_F(VolumesTest, APieceSizeOfZeroIsADivisionErrorAndNothingIsLost) {
  put(golden() + kArchive);
  EXPECT_EQ(numberOf([&] { (void)split(0, kSetPath); }), 11);
  EXPECT_EQ(bytes(), golden() + kArchive);
  put(golden());
  EXPECT_EQ(numberOf([&] { (void)split(0, kSetPath); }), 11);
}

TEST_F(VolumesTest, MoreThan32767VolumesOverflowBeforeAPieceIsWritten) {
  put(golden() + std::string(32768, 'v'));
  EXPECT_EQ(numberOf([&] { (void)split(1, kSetPath); }), 6);
  EXPECT_TRUE(bytes() == golden() + std::string(32768, 'v'));
  EXPECT_EQ(fake.files.paths().size(), 1u);
}

TEST_F(VolumesTest, A65536thVolumeDoesNotPassForNone) {
  put(golden() + std::string(65536, 'v'));
  EXPECT_EQ(numberOf([&] { (void)split(1, kSetPath); }), 6);
}

TEST_F(VolumesTest, JoiningStripsThePiecesAndMakesASetOfOneVolume) {
  put(golden("3", "1") + "uno", piece(1));
  put(golden("3", "2") + "dos", piece(2));
  put(golden("3", "3") + "tres", piece(3));
  put("de otra copia", piece(4));
  put("de antes", kWorkingCopy);
  join(3);
  EXPECT_EQ(bytes(kWorkingCopy), golden() + "unodostres");
  EXPECT_EQ(bytes(piece(1)), "uno");
  EXPECT_EQ(bytes(piece(2)), "dos");
  EXPECT_EQ(bytes(piece(3)), "tres");
  EXPECT_EQ(bytes(piece(4)), "de otra copia");
}

TEST_F(VolumesTest, JoiningGoesOnWithoutAMissingPiece) {
  put(golden("3", "1") + "uno", piece(1));
  put(golden("3", "3") + "tres", piece(3));
  join(3);
  EXPECT_EQ(bytes(kWorkingCopy), golden() + "unotres");
}

TEST_F(VolumesTest, JoiningTakesPiecesWithoutHeaderWhole) {
  put(kArchive.substr(0, 9), piece(1));
  put(golden("3", "2") + kArchive.substr(9, 4), piece(2));
  put(kArchive.substr(13), piece(3));
  join(3);
  EXPECT_EQ(bytes(kWorkingCopy), golden() + kArchive) << "line ends of a bare slice are the archive's";
}

TEST_F(VolumesTest, JoiningNoPiecesMakesAnEmptySet) {
  for (const int total : {0, -3}) {
    join(total);
    EXPECT_EQ(bytes(kWorkingCopy), golden());
  }
}

}  // namespace
}  // namespace qev::test
