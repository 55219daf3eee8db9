// How far the test of an archive is.
#include "zip/TestProgress.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace qev::test {
namespace {

constexpr std::uint64_t kMiB = 1 << 20;

std::vector<ZipDirectoryEntry> entries() {
  return {{"Datos/", 0}, {"Datos/a.txt", 100}, {"Datos/grande.db", 3 * kMiB + 5}, {"z.txt", 7}};
}

TEST(TestProgressTest, EachLineOfAnEntryCountsItsBytes) {
  TestProgress progress(entries());
  EXPECT_EQ(3 * kMiB + 112, progress.total());
  progress.message(L"Archive:  C:/x.zip\r\n    testing: Datos/                   OK\r\n");
  EXPECT_EQ(0u, progress.done());
  progress.message(L"    testing: Datos/a.txt              OK\r\n");
  EXPECT_EQ(100u, progress.done());
}

TEST(TestProgressTest, ALargeEntryMovesItWithItsDots) {
  TestProgress progress(entries());
  progress.message(L"    testing: Datos/   OK\r\n    testing: Datos/a.txt   OK\r\n    testing: Datos/grande.db ");
  for (std::uint64_t i = 1; i <= 3; ++i) {
    progress.message(L".");
    EXPECT_EQ(100 + i * kMiB, progress.done());
  }
  progress.message(L"  OK\r\n");
  EXPECT_EQ(100 + 3 * kMiB + 5, progress.done());
}

TEST(TestProgressTest, MoreLinesAndDotsThanEntriesNeverMakeItMoreThanAll) {
  TestProgress progress(entries());
  for (int i = 0; i < 10; ++i) progress.message(L"    testing: x ..........................OK\n");
  EXPECT_EQ(progress.total(), progress.done());
  TestProgress none({});
  none.message(L"    testing: x .....\r\n\r\n");
  EXPECT_EQ(0u, none.total());
  EXPECT_EQ(0u, none.done());
}

TEST(TestProgressTest, TextCutAnywhereCountsTheSame) {
  const std::wstring text =
      L"    testing: Datos/   OK\r\n    testing: Datos/a.txt   OK\r\n    testing: Datos/grande.db ..";
  TestProgress progress(entries());
  for (const wchar_t c : text) progress.message(std::wstring_view(&c, 1));
  EXPECT_EQ(100 + 2 * kMiB, progress.done());
}

TEST(TestProgressTest, SizesThatNoArchiveHasDoNoHarm) {
  const std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
  TestProgress progress({{"a", most}, {"b", most}});
  EXPECT_EQ(most, progress.total());
  progress.message(L"    testing: a   OK\r\n    testing: b ......");
  EXPECT_EQ(most, progress.done());
}

}  // namespace
}  // namespace qev::test
