// What the engines print, as events.
#include "zip/EngineLines.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "support/EventList.h"
#include "support/MemoryPeak.h"

namespace qev::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Events = std::vector<EngineEvent>;

constexpr std::uint64_t kMiB = 1 << 20;

Events archived(const std::wstring& name) {
  return {EntryBegun{name}, EntryEnded{name, std::nullopt}};
}

TEST(EngineLinesTest, TheLineOfAnArchivedFileBeginsAndEndsItsEntry) {
  for (const wchar_t* beginning : {L"  adding: ", L"updating: ", L"freshening: "}) {
    for (const wchar_t* ending : {L"\r\n", L" (deflated 60%)\r\n", L" (stored 0%)\n", L" (160 bytes security)\r\n",
                                  L" (160 bytes security) (deflated 60%)\r\n"}) {
      EXPECT_EQ(eventsOf({beginning + std::wstring(L"Datos/a.txt") + ending}), archived(L"Datos/a.txt")) << ending;
    }
  }
}

TEST(EngineLinesTest, NamesWithBlanksDotsAndParenthesesAreWhole) {
  for (const wchar_t* name : {L"a", L".x", L"a. b", L"a.txt (copia).bak", L"a b (copia. 2).tar.gz", L"a (1)",
                              L"(deflated", L"copia (deflated 3%) vieja", L"a)"}) {
    EXPECT_EQ(eventsOf({std::wstring(L"  adding: ") + name + L" (deflated 3%)\r\n"}), archived(name)) << name;
    EXPECT_EQ(eventsOf({std::wstring(L"  adding: ") + name + L"\r\n"}), archived(name)) << name;
  }
}

TEST(EngineLinesTest, EachDotOfALargeFileIsAMiBMore) {
  const Events expected = {EntryBegun{L"P/g.db"}, BytesDone{kMiB}, BytesDone{2 * kMiB},
                           EntryEnded{L"P/g.db", std::nullopt}};
  EXPECT_EQ(eventsOf({L"  adding: P/g.db ", L".", L".", L" (deflated 60%)\r\n"}), expected);
  EXPECT_EQ(eventsOf({L"  adding: P/g.db (160 bytes security) ", L".", L".", L" (deflated 60%)\r\n"}), expected);
}

TEST(EngineLinesTest, TheDotsOfEachFileAreItsOwn) {
  EXPECT_EQ(eventsOf({L"  adding: a ", L".", L"\r\n", L"  adding: b ", L".", L"\r\n"}),
            (Events{EntryBegun{L"a"}, BytesDone{kMiB}, EntryEnded{L"a", std::nullopt}, EntryBegun{L"b"},
                    BytesDone{kMiB}, EntryEnded{L"b", std::nullopt}}));
}

TEST(EngineLinesTest, TheDotsOfAScanAreNoProgress) {
  EXPECT_THAT(eventsOf({L"Scanning files ", L".", L"."}), IsEmpty());
  EXPECT_THAT(eventsOf({L".", L".", L"\r\n"}), IsEmpty()) << "nor a remark";
}

TEST(EngineLinesTest, ALineOfTheUnzipEngineBeginsAnEntryAndItsSizeEndsIt) {
  for (const wchar_t* beginning : {L"  inflating: ", L" extracting: ", L"    testing: "}) {
    EventList list;
    EngineLines lines(list);
    lines.print(std::wstring(beginning) + L"Datos/a.txt   OK\r\n");
    lines.ended(L"Datos/a.txt", 100);
    ASSERT_EQ(list.events.size(), 2u);
    EXPECT_EQ(list.events[1], EngineEvent(EntryEnded{L"Datos/a.txt", 100}));
    EXPECT_EQ(list.yields, 2);
  }
}

TEST(EngineLinesTest, TheSizeOfALargeEntryIsAtLeastThatOfItsDots) {
  EventList list;
  EngineLines lines(list);
  lines.print(L"  inflating: g.db ");
  for (int i = 0; i < 5000; ++i) lines.print(L".");
  lines.print(L"\r\n");
  lines.ended(L"g.db", 0xFFFFFFFF);  // as much as the engine can say
  EXPECT_EQ(list.events.back(), EngineEvent(EntryEnded{L"g.db", 5000 * kMiB}));
  lines.ended(L"b", 7);
  EXPECT_EQ(list.events.back(), EngineEvent(EntryEnded{L"b", 7}));
}

TEST(EngineLinesTest, EachMessageIsHandedOnAsItIsAndYieldsOnce) {
  EventList list;
  EngineLines lines(list);
  for (const wchar_t* message : {L"  adding: a ", L".", L"\r\n", L"", L"zip error: nada"}) lines.print(message);
  EXPECT_THAT(list.texts, ElementsAre(L"  adding: a ", L".", L"\r\n", L"", L"zip error: nada"));
  EXPECT_EQ(list.yields, 5);
}

TEST(EngineLinesTest, TheUsualLinesOfBothEnginesAreNoRemarks) {
  EXPECT_THAT(remarksIn({L"  adding: Prog/Datos/a.db (deflated 60%)\r\n", L"updating: a\r\n", L"freshening: b\r\n",
                         L"Archive:  C:/Trabajo/temp/restaurar.zip\r\n", L"  inflating: Datos/a.txt\r\n",
                         L" extracting: Datos/b.txt\r\n", L"   creating: Datos/\r\n",
                         L"    testing: Datos/a.txt              OK\r\n", L"    testing: g.db ", L".", L"   OK  \r\n",
                         L"No errors detected in compressed data of C:/x.zip.\r\n", L"\r\n   \r\n...\r\n"}),
              IsEmpty());
}

TEST(EngineLinesTest, ThePlaceholderThatMatchesNothingIsNoRemarkButAnyOtherNameIs) {
  EXPECT_THAT(remarksIn({L"\tzip warning: name not matched: querty\r\n",
                         L"\tzip warning: name not matched: C:/Prog/Util.mde\r\n"}),
              ElementsAre(L"zip warning: name not matched: C:/Prog/Util.mde"));
}

TEST(EngineLinesTest, WarningsErrorsAndDamagedEntriesAreRemarksInTheirOrder) {
  EXPECT_THAT(remarksIn({L"  adding: a\r\n\tzip warning: could not open for reading: b\r\n",
                         L"    testing: c             bad CRC 6faa2d8e  (should be 6faa2d8f)\r\n", L"    testing: d ",
                         L".", L"  bad CRC\r\n", L"error:  c:  damaged  \r\n"}),
              ElementsAre(L"zip warning: could not open for reading: b",
                          L"testing: c             bad CRC 6faa2d8e  (should be 6faa2d8f)", L"testing: d   bad CRC",
                          L"error:  c:  damaged"));
}

TEST(EngineLinesTest, ARemarkInPiecesIsOneAndALineThatHasNotEndedIsNone) {
  EXPECT_THAT(remarksIn({L"\tzip warn", L"ing: ", L"algo", L"\r\n", L"zip error: sin fin"}),
              ElementsAre(L"zip warning: algo"));
}

TEST(EngineLinesTest, ATestedEntryWithALongNameThatIsGoodIsNoRemarkAndABadOneIs) {
  const std::wstring name(65'000, L'n');
  EXPECT_THAT(remarksIn({L"    testing: " + name + L"   OK  \r\n"}), IsEmpty());
  EXPECT_EQ(remarksIn({L"    testing: " + name + L"   bad CRC 1 (should be 2)\r\n"}).size(), 1u);
}

TEST(EngineLinesTest, TextWithoutLineEndsIsNotHeld) {
  EventList list;
  EngineLines lines(list);
  const std::wstring noise(100'000, L'x');
  list.texts.reserve(200);
  const MemoryPeak peak;
  for (const wchar_t* beginning : {L"", L"  adding: ", L"  inflating: a "}) {
    lines.print(beginning);
    for (int i = 0; i < 20; ++i) {
      lines.print(noise);
      list.texts.clear();
    }
    lines.print(L"\n");
    list.events.clear();
  }
  EXPECT_LT(peak.bytes(), 8 * EngineLines::kLongestLine * sizeof(wchar_t));
}

}  // namespace
}  // namespace qev::test
