// What is kept of an engine's remarks.
#include "zip/EngineRemarks.h"

#include <gmock/gmock.h>

#include <string>

namespace qev::test {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

EngineRemarks remarksOf(const std::vector<std::wstring>& lines) {
  EngineRemarks remarks;
  for (const std::wstring& line : lines) remarks.event(Remark{line});
  return remarks;
}

TEST(EngineRemarksTest, RemarksAloneAreKept) {
  EngineRemarks remarks;
  for (const EngineEvent& event : {EngineEvent(EntryBegun{L"a"}), EngineEvent(BytesDone{1}),
                                   EngineEvent(Remark{L"zip error: nada"}), EngineEvent(EntryEnded{L"a", 1})}) {
    remarks.event(event);
  }
  EXPECT_THAT(remarks.lines(), ElementsAre(L"zip error: nada"));
  EXPECT_EQ(remarks.count(), 1u);
}

TEST(EngineRemarksTest, ManyRemarksAreCountedButNotAllKeptAndLongOnesNotWhole) {
  EngineRemarks remarks;
  for (int i = 0; i < 100'000; ++i) remarks.event(Remark{std::wstring(1000, L'x')});
  EXPECT_EQ(remarks.count(), 100'000u);
  EXPECT_THAT(remarks.lines(), SizeIs(EngineRemarks::kMostLines));
  EXPECT_EQ(remarks.lines().front().size(), EngineRemarks::kLongestLine);
}

TEST(EngineRemarksTest, ThoseOfAnotherRunAreCountedWholeTooAndKeptWhileThereIsRoom) {
  EngineRemarks remarks = remarksOf({L"uno"});
  remarks.add(remarksOf({L"dos", L"tres"}));
  EXPECT_THAT(remarks.lines(), ElementsAre(L"uno", L"dos", L"tres"));
  EngineRemarks many;
  for (int i = 0; i < 1000; ++i) many.event(Remark{L"x"});
  remarks.add(many);
  EXPECT_EQ(remarks.count(), 1003u);
  EXPECT_THAT(remarks.lines(), SizeIs(EngineRemarks::kMostLines));
}

TEST(EngineRemarksTest, InOneLineTheyAreJoinedAndCutToWhatIsAskedFor) {
  const EngineRemarks remarks = remarksOf({L"uno", L"dos"});
  EXPECT_EQ(remarks.inOneLine(100), L"uno; dos");
  EXPECT_EQ(remarks.inOneLine(8), L"uno; dos");
  EXPECT_EQ(remarks.inOneLine(7), L"uno;...");
  EXPECT_EQ(remarks.inOneLine(2), L"..");
  EXPECT_EQ(remarks.inOneLine(0), L"");
  EXPECT_EQ(EngineRemarks().inOneLine(100), L"");
}

}  // namespace
}  // namespace qev::test
