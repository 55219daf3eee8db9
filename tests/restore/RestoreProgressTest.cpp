// How far a restore is, from the engine's messages.
#include "restore/RestoreProgress.h"

#include <gtest/gtest.h>

namespace qev::test {
namespace {

constexpr std::uint64_t kMiB = 1 << 20;

RestoreProgress three() {
  return RestoreProgress({{"Datos/a.txt", 100}, {"Datos/big.db", 3 * kMiB + 5}, {"Datos/A\xC3\xB1o 2026.txt", 50}});
}

TEST(RestoreProgress, CountsAFileWhenItsLineEnds) {
  RestoreProgress progress = three();
  EXPECT_EQ(3 * kMiB + 155, progress.total());
  progress.message(L"Archive:  C:\\temp\\restaurar1.zip\r\n");
  EXPECT_EQ(0u, progress.done());
  progress.message(L"  inflating: Datos/a.txt");
  EXPECT_EQ(0u, progress.done());
  progress.message(L"\r\n");
  EXPECT_EQ(100u, progress.done());
}

TEST(RestoreProgress, CountsEachDotOfALargeFileAsAMiB) {
  RestoreProgress progress = three();
  progress.message(L" extracting: Datos/a.txt\r\n  inflating: Datos/big.db ");
  EXPECT_EQ(100u, progress.done());
  for (std::uint64_t i = 1; i <= 3; ++i) {
    progress.message(L".");
    EXPECT_EQ(100 + i * kMiB, progress.done());
  }
  progress.message(L".");
  EXPECT_EQ(100 + 3 * kMiB + 5, progress.done()) << "never more than the file has";
  progress.message(L"\r\n");
  EXPECT_EQ(100 + 3 * kMiB + 5, progress.done());
}

TEST(RestoreProgress, KnowsANameInWhateverCodePageItIsShown) {
  for (const wchar_t* name : {L"Datos/Año 2026.txt", L"Datos/A?o 2026.txt"}) {
    RestoreProgress progress = three();
    progress.message(L"  inflating: " + std::wstring(name) + L"\r\n");
    EXPECT_EQ(progress.total(), progress.done()) << "what comes before it is over";
  }
}

TEST(RestoreProgress, LinesOfOtherThingsCountForNothing) {
  RestoreProgress progress = three();
  progress.message(L"   creating: Datos/\r\nerror:  Datos/a.txt:  no\r\n  inflating: otra.txt\r\n....\r\n");
  EXPECT_EQ(0u, progress.done());
  RestoreProgress none;
  none.message(L"  inflating: Datos/a.txt\r\n");
  EXPECT_EQ(0u, none.done());
  EXPECT_EQ(0u, none.total());
}

TEST(RestoreProgress, KnowsALargeFileWhoseNameIsOfManyBlanksByTheDotsAndByTheEndOfItsLine) {
  const std::string blanks(65'000, ' ');
  const std::wstring shown(65'000, L' ');
  RestoreProgress progress({{"a" + blanks + "b", 3 * kMiB}, {blanks, 2 * kMiB}, {"c" + blanks, kMiB}});
  progress.message(L"  inflating: a" + shown);
  EXPECT_EQ(0u, progress.done());
  progress.message(L"b .");
  EXPECT_EQ(kMiB, progress.done());
  progress.message(L"\r\n extracting: " + shown);
  EXPECT_EQ(3 * kMiB, progress.done());
  progress.message(L".");
  EXPECT_EQ(4 * kMiB, progress.done());
  progress.message(L"\r\n extracting: c" + shown + L"\r\n");
  EXPECT_EQ(6 * kMiB, progress.done());
}

TEST(RestoreProgress, ABlankInANameIsNoEndOfIt) {
  RestoreProgress progress({{"a", 100}, {"a b c.db", 2 * kMiB}});
  progress.message(L"  inflating: a\r\n  inflating: a b c.db");
  EXPECT_EQ(100u, progress.done());
  progress.message(L" .");
  EXPECT_EQ(100 + kMiB, progress.done());
}

TEST(RestoreProgress, PassesOverLinesLongerThanAnyName) {
  RestoreProgress progress = three();
  progress.message(L"  inflating: Datos/a.txt" + std::wstring(200'000, L'x') + L" \r\n");
  EXPECT_EQ(0u, progress.done());
  progress.message(L"  inflating: Datos/a.txt" + std::wstring(200'000, L' ') + L"\r\n");
  EXPECT_EQ(100u, progress.done());
}

TEST(RestoreProgress, NeverGoesBack) {
  RestoreProgress progress = three();
  progress.message(L"  inflating: Datos/big.db ..\r\n  inflating: Datos/a.txt\r\n");
  EXPECT_EQ(100 + 3 * kMiB + 5, progress.done());
}

TEST(RestoreProgress, StandsLengthsThatDoNotFit) {
  RestoreProgress progress({{"a", ~0ull}, {"b", ~0ull}});
  progress.message(L"  inflating: a ...\r\n  inflating: b ");
  progress.message(L"...\r\n");
  EXPECT_EQ(~0ull, progress.total());
  EXPECT_EQ(~0ull, progress.done());
}

}  // namespace
}  // namespace qev::test
