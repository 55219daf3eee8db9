// Which lines of the engines' messages are remarks.
#include "zip/EngineRemarks.h"

#include <gmock/gmock.h>

#include <string>

namespace qev::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

EngineRemarks remarksOf(std::wstring_view text) {
  EngineRemarks remarks;
  remarks.message(text);
  return remarks;
}

TEST(EngineRemarksTest, TheUsualLinesOfBothEnginesAreNoRemarks) {
  EXPECT_THAT(remarksOf(L"  adding: Prog/Datos/a.db (deflated 60%)\r\n"
                        L"  adding: Prog/Datos/grande.db .... (160 bytes security) (stored 0%)\r\n"
                        L"updating: a\r\nfreshening: b\r\n"
                        L"Archive:  C:/Trabajo/temp/restaurar.zip\r\n"
                        L"  inflating: Datos/a.txt\r\n extracting: Datos/b.txt\r\n   creating: Datos/\r\n"
                        L"    testing: Datos/a.txt              OK\r\n"
                        L"No errors detected in compressed data of C:/x.zip.\r\n\r\n   \r\n...\r\n")
                  .lines(),
              IsEmpty());
}

TEST(EngineRemarksTest, ThePlaceholderThatMatchesNothingIsNoRemarkButAnyOtherNameIs) {
  const EngineRemarks remarks = remarksOf(
      L"\tzip warning: name not matched: querty\r\n"
      L"\tzip warning: name not matched: C:/Prog/Util.mde\r\n");
  EXPECT_THAT(remarks.lines(), ElementsAre(L"zip warning: name not matched: C:/Prog/Util.mde"));
  EXPECT_EQ(1u, remarks.count());
}

TEST(EngineRemarksTest, WarningsErrorsAndDamagedEntriesAreRemarksInTheirOrder) {
  EXPECT_THAT(remarksOf(L"  adding: a\r\n\tzip warning: could not open for reading: b\r\n"
                        L"    testing: c             bad CRC 6faa2d8e  (should be 6faa2d8f)\r\n"
                        L"error:  c:  damaged\r\n")
                  .lines(),
              ElementsAre(L"zip warning: could not open for reading: b",
                          L"testing: c             bad CRC 6faa2d8e  (should be 6faa2d8f)", L"error:  c:  damaged"));
}

TEST(EngineRemarksTest, TextCutAnywhereReadsTheSame) {
  const std::wstring text =
      L"  adding: grande.db ....\r\n\tzip warning: name not matched: querty\r\nzip error: nada\r\n    testing: a   "
      L"OK\r\n";
  EngineRemarks remarks;
  for (const wchar_t c : text) remarks.message(std::wstring_view(&c, 1));
  EXPECT_THAT(remarks.lines(), ElementsAre(L"zip error: nada"));
}

TEST(EngineRemarksTest, ManyRemarksAreCountedButNotAllKept) {
  EngineRemarks remarks;
  for (int i = 0; i < 100'000; ++i) remarks.message(L"zip warning: could not open for reading: archivo\r\n");
  EXPECT_EQ(100'000u, remarks.count());
  EXPECT_THAT(remarks.lines(), SizeIs(EngineRemarks::kMostLines));
}

TEST(EngineRemarksTest, ALineWithoutAnEndIsKeptToItsBeginning) {
  EngineRemarks remarks;
  for (int i = 0; i < 1'000'000; ++i) remarks.message(L"x");
  EXPECT_THAT(remarks.lines(), IsEmpty()) << "it has not ended";
  remarks.message(L"\n");
  EXPECT_THAT(remarks.lines(), ElementsAre(std::wstring(EngineRemarks::kLongestLine, L'x')));
}

TEST(EngineRemarksTest, ALongNameThatIsTestedAndGoodIsNoRemarkAndABadOneIs) {
  const std::wstring name(2000, L'n');
  EXPECT_EQ(0u, remarksOf(L"    testing: " + name + L"   OK  \r\n").count());
  EXPECT_EQ(1u, remarksOf(L"    testing: " + name + L"   bad CRC 1 (should be 2)\r\n").count());
}

TEST(EngineRemarksTest, InOneLineTheyAreJoinedAndCutToWhatIsAskedFor) {
  const EngineRemarks remarks = remarksOf(L"uno\r\ndos\r\n");
  EXPECT_EQ(L"uno; dos", remarks.inOneLine(100));
  EXPECT_EQ(L"uno; dos", remarks.inOneLine(8));
  EXPECT_EQ(L"uno;...", remarks.inOneLine(7));
  EXPECT_EQ(L"..", remarks.inOneLine(2));
  EXPECT_EQ(L"", remarks.inOneLine(0));
  EXPECT_EQ(L"", EngineRemarks().inOneLine(100));
}

}  // namespace
}  // namespace qev::test
