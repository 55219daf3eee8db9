#include "backup/ArchiveProgress.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "support/MemoryPeak.h"

namespace qev {
namespace {

constexpr std::uint64_t kMiB = 1 << 20;

class ArchiveProgressTest : public testing::Test {
 protected:
  // Bytes done after a whole text.
  std::uint64_t after(std::wstring_view text) {
    progress.message(text);
    return progress.done();
  }

  ArchiveProgress progress;
};

TEST_F(ArchiveProgressTest, NothingExpectedIsNothingDone) {
  EXPECT_EQ(after(L"  adding: Prog/a.txt (deflated 60%)\n"), 0u);
  EXPECT_EQ(progress.total(), 0u);
  EXPECT_EQ(progress.permille(), 0);
}

TEST_F(ArchiveProgressTest, AFileCountsWhenItsLineEnds) {
  progress.expect(L"C:\\Prog\\Datos\\a.txt", 100);
  progress.expect(L"C:\\Prog\\Util.mde", 300);
  EXPECT_EQ(progress.total(), 400u);
  EXPECT_EQ(after(L"  adding: Prog/Datos/a.txt"), 0u);
  EXPECT_EQ(after(L" (deflated 60%)"), 0u);
  EXPECT_EQ(after(L"\n"), 100u);
  EXPECT_EQ(progress.permille(), 250);
  EXPECT_EQ(after(L"  adding: Prog/Util.mde (stored 0%)\r\n"), 400u);
  EXPECT_EQ(progress.permille(), 1000);
}

TEST_F(ArchiveProgressTest, UpdatedAndFreshenedFilesCountLikeAddedOnes) {
  progress.expect(L"C:\\a", 10);
  progress.expect(L"C:\\b", 20);
  EXPECT_EQ(after(L"updating: a (deflated 1%)\n"), 10u);
  EXPECT_EQ(after(L"freshening: b (deflated 1%)\n"), 30u);
}

TEST_F(ArchiveProgressTest, ALineWithoutClosingRemarkCounts) {
  progress.expect(L"C:\\Prog\\vacio", 7);
  EXPECT_EQ(after(L"  adding: Prog/vacio\n"), 7u);
}

TEST_F(ArchiveProgressTest, EachDotIsOneMiBOfTheFile) {
  progress.expect(L"C:\\Prog\\gestion.db", 5 * kMiB + 3);
  EXPECT_EQ(after(L"  adding: Prog/gestion.db "), 0u);
  EXPECT_EQ(after(L"."), kMiB);
  EXPECT_EQ(after(L".."), 3 * kMiB);
  EXPECT_EQ(after(L" (deflated 60%)\n"), 5 * kMiB + 3);
}

TEST_F(ArchiveProgressTest, DotsBehindARemarkCountToo) {
  progress.expect(L"C:\\Prog\\gestion.db", 10 * kMiB);
  progress.message(L"  adding: Prog/gestion.db (160 bytes security) ...");
  EXPECT_EQ(3 * kMiB, progress.done());
  progress.message(L". (deflated 38.5%)\r\n");
  EXPECT_EQ(10 * kMiB, progress.done());
}

TEST_F(ArchiveProgressTest, DotsRightBehindTheNameCountToo) {
  progress.expect(L"C:\\Prog\\gestion", 5 * kMiB);
  EXPECT_EQ(after(L"  adding: Prog/gestion.."), 2 * kMiB);
}

TEST_F(ArchiveProgressTest, MoreDotsThanTheFileHasMiBAreCutAtItsLength) {
  progress.expect(L"C:\\Prog\\gestion.db", kMiB + 1);
  progress.expect(L"C:\\Prog\\otro.db", kMiB);
  EXPECT_EQ(after(L"  adding: Prog/gestion.db ......"), kMiB + 1);
}

TEST_F(ArchiveProgressTest, DotsOfTheNameAndOfTheClosingRemarkAreNoProgress) {
  progress.expect(L"C:\\Prog\\copia.de.hoy.db", 50 * kMiB);
  EXPECT_EQ(after(L"  adding: Prog/copia.de.hoy.db"), 0u);
  EXPECT_EQ(after(L" (in=1.5 out=0.7)"), 0u);
}

TEST_F(ArchiveProgressTest, NamesWithBlanksDotsAndParenthesesAreWhole) {
  progress.expect(L"C:\\Prog\\Datos\\a b (copia. 2).tar.gz", 10 * kMiB);
  EXPECT_EQ(after(L"  adding: Prog/Datos/a b (copia. 2).tar.gz .. (stored 0%)"), 2 * kMiB);
  EXPECT_EQ(after(L"\n"), 10 * kMiB);
}

TEST_F(ArchiveProgressTest, TheLongestExpectedNameIsTheOne) {
  progress.expect(L"C:\\Prog\\a", 3);
  progress.expect(L"C:\\Prog\\a.txt", 5);
  progress.expect(L"C:\\Prog\\a.txt (copia).bak", 7);
  EXPECT_EQ(after(L"  adding: Prog/a.txt (copia).bak (deflated 3%)\n"), 7u);
  EXPECT_EQ(after(L"  adding: Prog/a.txt (deflated 3%)\n"), 12u);
  EXPECT_EQ(after(L"  adding: Prog/a (deflated 3%)\n"), 15u);
}

TEST_F(ArchiveProgressTest, WhatWasToldStaysToldWhenALongerNameShowsItself) {
  progress.expect(L"C:\\Prog\\a", 3 * kMiB);
  progress.expect(L"C:\\Prog\\a. b", 9);
  EXPECT_EQ(after(L"  adding: Prog/a. "), kMiB);
  EXPECT_EQ(after(L"b (stored 0%)\n"), kMiB);
  EXPECT_EQ(after(L"  adding: Prog/a (stored 0%)\n"), 3 * kMiB + 9);
}

TEST_F(ArchiveProgressTest, LetterCaseDoesNotMatter) {
  progress.expect(L"c:\\PROG\\Datos\\A.TXT", 10);
  EXPECT_EQ(after(L"  adding: Prog/datos/a.txt (stored 0%)\n"), 10u);
}

TEST_F(ArchiveProgressTest, DriveShareAndLeadingSlashesAreNoPartOfTheName) {
  progress.expect(L"\\\\servidor\\datos\\uno.db", 1);
  progress.expect(L"\\dos.db", 2);
  progress.expect(L"tres.db", 4);
  progress.expect(L"C:cuatro.db", 8);
  EXPECT_EQ(after(L"  adding: uno.db\n  adding: dos.db\n  adding: tres.db\n  adding: cuatro.db\n"), 15u);
}

TEST_F(ArchiveProgressTest, AFileThatWasNotExpectedOrComesTwiceCountsForNothing) {
  progress.expect(L"C:\\a", 10);
  progress.expect(L"C:\\b", 10);
  EXPECT_EQ(after(L"  adding: carpeta/ (stored 0%)\n  adding: otro ... (stored 0%)\n"), 0u);
  EXPECT_EQ(after(L"  adding: a (stored 0%)\n  adding: a .. (stored 0%)\n"), 10u);
}

TEST_F(ArchiveProgressTest, AnUnexpectedNameThatBeginsLikeAnExpectedOneIsNotTakenForIt) {
  progress.expect(L"C:\\a", 10 * kMiB);
  EXPECT_EQ(after(L"  adding: a b ..."), 0u);
  EXPECT_EQ(after(L" (stored 0%)\n  adding: a.txt (stored 0%)\n"), kMiB);  // its "." could have been progress
  EXPECT_EQ(after(L"  adding: a (stored 0%)\n"), 10 * kMiB);
}

TEST_F(ArchiveProgressTest, AFileToldTwiceIsExpectedOnce) {
  progress.expect(L"C:\\a", 10);
  progress.expect(L"C:\\A", 30);
  EXPECT_EQ(progress.total(), 30u);
  EXPECT_EQ(after(L"  adding: a\n"), 30u);
}

TEST_F(ArchiveProgressTest, OtherLinesAreNoProgress) {
  progress.expect(L"C:\\a", 10 * kMiB);
  EXPECT_EQ(after(L"zip warning: could not open for reading: a\n"), 0u);
  EXPECT_EQ(after(L"adding: a ...\n"), 0u);
  EXPECT_EQ(after(L"\n\r\n. . .\n"), 0u);
  EXPECT_EQ(after(L"total bytes=1, compressed=1 -> 0% savings\n"), 0u);
}

TEST_F(ArchiveProgressTest, AFileOf40GiBIsToldToItsEnd) {
  const std::uint64_t size = 40960 * kMiB;
  progress.expect(L"C:\\Prog\\grande.db", size);
  EXPECT_EQ(after(L"  adding: Prog/grande.db "), 0u);
  EXPECT_EQ(after(std::wstring(40959, L'.')), size - kMiB);
  EXPECT_EQ(progress.permille(), 999);
  EXPECT_EQ(after(L" (deflated 1%)\n"), size);
}

TEST_F(ArchiveProgressTest, TextWithoutLineEndsIsNotHeld) {
  progress.expect(L"C:\\a", 10);
  const std::wstring noise(100'000, L'x');
  const test::MemoryPeak peak;
  for (const wchar_t* beginning : {L"", L"  adding: ", L"  adding: a ", L"  adding: a ("}) {
    progress.message(beginning);
    for (int i = 0; i < 20; ++i) progress.message(noise);
    progress.message(L"\n");
  }
  EXPECT_LT(peak.bytes(), 10'000u);
  EXPECT_EQ(after(L"  adding: a\n"), 10u);
}

TEST_F(ArchiveProgressTest, WhereTheTextIsCutDoesNotMatterAndDoneNeverFalls) {
  const std::vector<std::pair<std::wstring, std::uint64_t>> files = {{L"C:\\P\\a", 3 * kMiB},
                                                                     {L"C:\\P\\a.b", 2 * kMiB},
                                                                     {L"C:\\P\\a.b (c).d", kMiB},
                                                                     {L"C:\\P\\.x", 5},
                                                                     {L"C:\\P\\no llega", 99}};
  const std::wstring text =
      L"  adding: P/a ... (deflated 1%)\n  adding: P/a.b .. (deflated 1%)\nzip warning: P/a ...\n"
      L"updating: P/a.b (c).d . (stored 0%)\r\n  adding: P/.x\n";
  std::mt19937 random(7);
  for (int round = 0; round < 200; ++round) {
    ArchiveProgress cut;
    for (const auto& [path, size] : files) cut.expect(path, size);
    std::uint64_t before = 0;
    for (std::size_t at = 0; at < text.size();) {
      const std::size_t length = std::min<std::size_t>(1 + random() % 20, text.size() - at);
      cut.message(std::wstring_view(text).substr(at, length));
      at += length;
      ASSERT_GE(cut.done(), before);
      ASSERT_LE(cut.done(), cut.total());
      before = cut.done();
    }
    ASSERT_EQ(cut.done(), 6 * kMiB + 5);
    ASSERT_EQ(cut.total(), 6 * kMiB + 5 + 99);
  }
}

}  // namespace
}  // namespace qev
