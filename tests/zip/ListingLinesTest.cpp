// The fixed columns of a listing, and the entries read back from them.
#include "zip/ListingLines.h"

#include <gmock/gmock.h>

#include <random>

#include "platform/AutomationError.h"
#include "support/SpanishLocale.h"

namespace qev::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::wstring blanks(std::size_t count) {
  return std::wstring(count, L' ');
}

std::wstring listingOf(const std::vector<EngineEntry>& entries) {
  ListingLines lines;
  for (const EngineEntry& entry : entries) lines.add(entry);
  return lines.text();
}

ListedEntry readBack(const EngineEntry& entry) {
  const std::vector<std::wstring> lines = entryLines(listingOf({entry}));
  return lines.size() == 1 ? listedEntry(lines[0], SpanishLocale()) : ListedEntry{L"<none>", -1, L"", L""};
}

// The line of an entry of that size text, everything else being right.
std::wstring lineWithSize(const std::wstring& size) {
  std::wstring line = blanks(130);
  line.replace(0, 5, L"a.txt");
  line.replace(100, size.size(), size);
  return line;
}

std::int32_t errorOf(const std::wstring& line) {
  try {
    listedEntry(line, SpanishLocale());
  } catch (const AutomationError& error) {
    return error.number();
  }
  return 0;
}

TEST(ListingLines, WithoutEntriesThereIsNoHeaderEither) {
  EXPECT_EQ(listingOf({}), L"");
  EXPECT_THAT(entryLines(L""), IsEmpty());
}

TEST(ListingLines, TheHeaderComesOnceAndCutsItsLastThreeCaptionsToFourCharacters) {
  const std::wstring header = L"Nombre:" + blanks(95) + L"Tama" + blanks(5) + L"Fech" + blanks(5) + L"Hora" + blanks(6);
  ASSERT_EQ(header.size(), 130u);
  const std::wstring text = listingOf({{L"a", 1, 1, 5, 5, 9, 7}, {L"b", 2, 1, 5, 5, 9, 7}});
  EXPECT_EQ(text.substr(0, 132), header + L"\r\n");
  EXPECT_EQ(text.size(), 3u * 132u);
  EXPECT_EQ(text.find(L"Nombre:", 1), std::wstring::npos);
}

TEST(ListingLines, AnEntryStandsInItsColumns) {
  const std::wstring text = listingOf({{L"Datos/año.txt", 1234567, 1, 5, 2005, 9, 7}});
  EXPECT_EQ(text.substr(132), L"Datos/año.txt" + blanks(87) + L"1234567" + blanks(2) + L"01/05/05" + blanks(2) +
                                  L"09:07" + blanks(6) + L"\r\n");
}

TEST(ListingLines, AnEntryDated5January2005At907IsReported010505And0907MonthFirstLeadingZerosKept) {
  const ListedEntry entry = readBack({L"a.txt", 10, 1, 5, 2005, 9, 7});
  EXPECT_EQ(entry, (ListedEntry{L"a.txt", 10, L"01/05/05", L"09:07"}));
  EXPECT_EQ(readBack({L"a.txt", 10, 12, 31, 99, 23, 59}), (ListedEntry{L"a.txt", 10, L"12/31/99", L"23:59"}));
}

TEST(ListingLines, ANameLongerThan100CharactersIsCutTo100) {
  EXPECT_EQ(readBack({std::wstring(99, L'x') + L"yz", 1}).FileName, std::wstring(99, L'x') + L"y");
  EXPECT_EQ(readBack({std::wstring(256, L'x'), 7}).FileSize, 7);
}

TEST(ListingLines, NamesAreTrimmedOfBlanksAtBothEnds) {
  EXPECT_EQ(readBack({L"  a b.txt  ", 1}).FileName, L"a b.txt");
  EXPECT_EQ(readBack({L"", 1}).FileName, L"");
  EXPECT_EQ(readBack({L"   ", 1}).FileName, L"");
}

TEST(ListingLines, ASizeAbove9999999KeepsOnlyItsLast7Digits) {
  EXPECT_EQ(readBack({L"a", 0}).FileSize, 0);
  EXPECT_EQ(readBack({L"a", 9999999}).FileSize, 9999999);
  EXPECT_EQ(readBack({L"a", 10000000}).FileSize, 0);
  EXPECT_EQ(readBack({L"a", 12345678}).FileSize, 2345678);
  EXPECT_EQ(readBack({L"a", 4294967295u}).FileSize, 4967295);
}

TEST(ListingLines, NumbersThatAreNoDateKeepTheColumns) {
  const ListedEntry entry = readBack({L"a", 1, 4294967295u, 100, 1980, 4294967295u, 60});
  EXPECT_EQ(entry.mDate, L"95/00/80");
  EXPECT_EQ(entry.mTime, L"95:60");
}

TEST(ListingLines, ASizeColumnThatIsNoNumberIsATypeMismatch) {
  EXPECT_EQ(errorOf(lineWithSize(L"hola")), kTypeMismatch);
  EXPECT_EQ(errorOf(lineWithSize(L"")), kTypeMismatch);
  EXPECT_EQ(errorOf(L""), kTypeMismatch);
  EXPECT_EQ(errorOf(L"corta"), kTypeMismatch);
  EXPECT_EQ(errorOf(lineWithSize(L"  12")), 0);
}

TEST(ListingLines, ColumnsBeyondTheEndOfALineAreEmpty) {
  std::wstring line = lineWithSize(L"     12").substr(0, 107);
  EXPECT_EQ(listedEntry(line, SpanishLocale()), (ListedEntry{L"a.txt", 12, L"", L""}));
}

TEST(ListingLines, TheFirstPieceAndTheLastAreNoEntries) {
  EXPECT_THAT(entryLines(L"cabecera\r\nuna\r\ndos\r\n"), ElementsAre(L"una", L"dos"));
  EXPECT_THAT(entryLines(L"cabecera\r\nuna\r\nresto"), ElementsAre(L"una"));
  EXPECT_THAT(entryLines(L"cabecera\r\n\r\n\r\n"), ElementsAre(L"", L""));
  EXPECT_THAT(entryLines(L"cabecera\r\n"), IsEmpty());
  EXPECT_THAT(entryLines(L"cabecera"), IsEmpty());
  EXPECT_THAT(entryLines(L"a\rb\nc"), IsEmpty());
}

TEST(ListingLines, ALineEndInANameMakesTwoPiecesWithoutASize) {
  const std::vector<std::wstring> lines = entryLines(listingOf({{L"a\r\nb", 1, 1, 5, 5, 9, 7}}));
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(errorOf(lines[0]), kTypeMismatch);
}

TEST(ListingLines, AnyEntryWithoutALineEndComesBackAndNoListingBreaksTheReader) {
  std::mt19937 random(20050105);
  const auto below = [&random](unsigned limit) { return static_cast<unsigned>(random() % limit); };
  for (int round = 0; round < 2000; ++round) {
    std::wstring name;
    for (unsigned i = below(300); i > 0; --i) name += static_cast<wchar_t>(33 + below(0xD000));
    const EngineEntry entry{name, below(4294967295u), below(13), below(32), below(4294967295u), below(24), below(60)};
    EXPECT_EQ(readBack(entry).FileName, name.substr(0, 100));
    EXPECT_EQ(readBack(entry).FileSize, static_cast<std::int32_t>(entry.size % 10000000));

    std::wstring text;
    for (unsigned i = below(400); i > 0; --i) text += L"\r\n 19.,-eE&H/:ñ"[below(15)];
    for (const std::wstring& line : entryLines(text)) errorOf(line);
    errorOf(lineWithSize(text.substr(0, 7)));
  }
}

}  // namespace
}  // namespace qev::test
