// How far the unzip engine is with an archive.
#include "zip/UnpackProgress.h"

#include <gtest/gtest.h>

namespace qev::test {
namespace {

constexpr std::uint64_t kMiB = 1 << 20;

UnpackProgress three() {
  return UnpackProgress({{"Datos/a.txt", 100}, {"Datos/big.db", 3 * kMiB + 5}, {"Datos/c.txt", 50}});
}

TEST(UnpackProgressTest, EntriesCountWhenTheyEndAndLargeOnesByTheMiB) {
  UnpackProgress progress = three();
  EXPECT_EQ(progress.total(), 3 * kMiB + 155);
  EXPECT_FALSE(progress.event(EntryBegun{L"Datos/a.txt"}));
  EXPECT_EQ(progress.done(), 0u);
  EXPECT_TRUE(progress.event(EntryEnded{L"Datos/a.txt", 100}));
  EXPECT_EQ(progress.done(), 100u);
  EXPECT_FALSE(progress.event(EntryBegun{L"Datos/big.db"}));
  for (std::uint64_t i = 1; i <= 3; ++i) {
    EXPECT_TRUE(progress.event(BytesDone{i * kMiB}));
    EXPECT_EQ(progress.done(), 100 + i * kMiB);
  }
  EXPECT_TRUE(progress.event(EntryEnded{L"Datos/big.db", 3 * kMiB + 5}));
  EXPECT_EQ(progress.done(), 105 + 3 * kMiB);
}

TEST(UnpackProgressTest, AnEntryThatDoesNotEndCountsForNothingAndDoneNeverFalls) {
  UnpackProgress progress = three();
  progress.event(BytesDone{2 * kMiB});
  EXPECT_FALSE(progress.event(Remark{L"error:  Datos/big.db:  damaged"}));
  EXPECT_FALSE(progress.event(EntryEnded{L"Datos/a.txt", 100}));
  EXPECT_EQ(progress.done(), 2 * kMiB);
}

TEST(UnpackProgressTest, MoreThanTheDirectorySaysIsNeverMoreThanAll) {
  UnpackProgress progress = three();
  for (int i = 0; i < 10; ++i) progress.event(EntryEnded{L"x", kMiB});
  EXPECT_EQ(progress.done(), progress.total());
  UnpackProgress none({});
  EXPECT_FALSE(none.event(EntryEnded{L"x", kMiB}));
  EXPECT_EQ(none.total(), 0u);
  EXPECT_EQ(none.done(), 0u);
}

TEST(UnpackProgressTest, SizesThatNoArchiveHasDoNoHarm) {
  UnpackProgress progress({{"a", ~0ull}, {"b", ~0ull}});
  EXPECT_EQ(progress.total(), ~0ull);
  progress.event(EntryEnded{L"a", ~0ull});
  progress.event(BytesDone{~0ull});
  EXPECT_EQ(progress.done(), ~0ull);
}

}  // namespace
}  // namespace qev::test
