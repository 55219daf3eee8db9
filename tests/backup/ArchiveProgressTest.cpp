// How far an archive run is.
#include "backup/ArchiveProgress.h"

#include <gtest/gtest.h>

namespace qev {
namespace {

constexpr std::uint64_t kMiB = 1 << 20;

class ArchiveProgressTest : public testing::Test {
 protected:
  // Bytes done after an event.
  std::uint64_t after(const EngineEvent& event) {
    const std::uint64_t before = progress.done();
    const bool hasGrown = progress.event(event);
    EXPECT_EQ(hasGrown, progress.done() > before);
    return progress.done();
  }
  std::uint64_t afterFile(const wchar_t* name) {
    progress.event(EntryBegun{name});
    return after(EntryEnded{name, std::nullopt});
  }

  ArchiveProgress progress;
};

TEST_F(ArchiveProgressTest, NothingExpectedIsNothingDone) {
  EXPECT_EQ(afterFile(L"Prog/a.txt"), 0u);
  EXPECT_EQ(progress.total(), 0u);
  EXPECT_EQ(progress.permille(), 0);
}

TEST_F(ArchiveProgressTest, AFileCountsWhenItEnds) {
  progress.expect(L"C:\\Prog\\Datos\\a.txt", 100);
  progress.expect(L"C:\\Prog\\Util.mde", 300);
  EXPECT_EQ(progress.total(), 400u);
  EXPECT_EQ(after(EntryBegun{L"Prog/Datos/a.txt"}), 0u);
  EXPECT_EQ(after(EntryEnded{L"Prog/Datos/a.txt", std::nullopt}), 100u);
  EXPECT_EQ(progress.permille(), 250);
  EXPECT_EQ(afterFile(L"Prog/Util.mde"), 400u);
  EXPECT_EQ(progress.permille(), 1000);
}

TEST_F(ArchiveProgressTest, ALargeFileCountsByTheMiBUpToItsLength) {
  progress.expect(L"C:\\Prog\\gestion.db", 2 * kMiB + 3);
  progress.expect(L"C:\\Prog\\otro.db", 7);
  EXPECT_EQ(after(EntryBegun{L"Prog/gestion.db"}), 0u);
  EXPECT_EQ(after(BytesDone{kMiB}), kMiB);
  EXPECT_EQ(after(BytesDone{3 * kMiB}), 2 * kMiB + 3);
  EXPECT_EQ(after(EntryEnded{L"Prog/gestion.db", std::nullopt}), 2 * kMiB + 3);
  EXPECT_EQ(after(BytesDone{kMiB}), 2 * kMiB + 3) << "of no file";
}

TEST_F(ArchiveProgressTest, LetterCaseDoesNotMatter) {
  progress.expect(L"c:\\PROG\\Datos\\A.TXT", 10);
  EXPECT_EQ(afterFile(L"Prog/datos/a.txt"), 10u);
}

TEST_F(ArchiveProgressTest, DriveShareAndLeadingSlashesAreNoPartOfTheName) {
  progress.expect(L"\\\\servidor\\datos\\uno.db", 1);
  progress.expect(L"\\dos.db", 2);
  progress.expect(L"tres.db", 4);
  progress.expect(L"C:cuatro.db", 8);
  for (const wchar_t* name : {L"uno.db", L"dos.db", L"tres.db", L"cuatro.db"}) afterFile(name);
  EXPECT_EQ(progress.done(), 15u);
}

TEST_F(ArchiveProgressTest, AFileThatWasNotExpectedOrComesTwiceCountsForNothing) {
  progress.expect(L"C:\\a", 10);
  progress.expect(L"C:\\b", 10);
  EXPECT_EQ(afterFile(L"carpeta/"), 0u);
  EXPECT_EQ(afterFile(L"a b"), 0u);
  EXPECT_EQ(afterFile(L"a"), 10u);
  EXPECT_EQ(afterFile(L"a"), 10u);
  EXPECT_EQ(after(Remark{L"zip warning: b"}), 10u);
}

TEST_F(ArchiveProgressTest, AFileToldTwiceIsExpectedOnce) {
  progress.expect(L"C:\\a", 10);
  progress.expect(L"C:\\A", 30);
  EXPECT_EQ(progress.total(), 30u);
  EXPECT_EQ(afterFile(L"a"), 30u);
}

TEST_F(ArchiveProgressTest, AFileOf40GiBIsToldToItsEnd) {
  const std::uint64_t size = 40960 * kMiB;
  progress.expect(L"C:\\Prog\\grande.db", size);
  progress.event(EntryBegun{L"Prog/grande.db"});
  EXPECT_EQ(after(BytesDone{size - kMiB}), size - kMiB);
  EXPECT_EQ(progress.permille(), 999);
  EXPECT_EQ(after(EntryEnded{L"Prog/grande.db", std::nullopt}), size);
}

}  // namespace
}  // namespace qev
