#include "set/SetHeader.h"

#include <gtest/gtest.h>

#include "support/ErrorOf.h"
#include "support/GoldenSet.h"
#include "support/MemoryPeak.h"

namespace qev::test {
namespace {

constexpr std::uint64_t kGiB = std::uint64_t{1} << 30;
constexpr std::size_t kMostMemory = 24u << 20;  // bytes; a line of one MiB in its several forms

const SpanishLocale kLocale{};
const std::string kDigits(300'000, '9');

std::wstring lineOf(Date date) {
  return SetHeader{L"Gestion", date, 1, 1, L"C:"}.line(kLocale);
}

std::wstring ansi(std::string_view text) {
  return kLocale.textFromAnsi(text);
}

SetHeader parse(std::string_view bytes) {
  return SetHeader::parse(bytes, kLocale);
}

class SetHeaderTest : public testing::Test {
 protected:
  // What a look at a file with these bytes finds.
  SetCheck check(FileContent content, const std::wstring& title = L"Gestion") {
    files_.putContent(kSetPath, std::move(content));
    files_.failAt(0);
    return checkSet(*files_.openForReading(kSetPath), title, kLocale);
  }
  SetCheck check(std::string_view bytes, const std::wstring& title = L"Gestion") {
    return check(FileContent(bytes), title);
  }

  FakeFiles files_;
};

// --- writing ---

TEST_F(SetHeaderTest, TheLineIsByteForByteTheOneDescribed) {
  const std::string expected =
      "\x50\x72\x6F\x67\x72\x61\x6D\x61\x20\x3A\x20\x47\x65\x73\x74\x69\x6F\x6E\x3B"              // Programa
      "\x46\x65\x63\x68\x61\x20\x43\x72\x65\x61\x63\x69\xF3\x6E\x20\x3A\x20"                      // Fecha
      "\x31\x36\x2F\x31\x31\x2F\x32\x30\x32\x36\x3B"                                              // 16/11/2026
      "\x54\x6F\x74\x61\x6C\x20\x64\x65\x20\x56\x6F\x6C\xFA\x6D\x65\x6E\x65\x73\x20\x3A\x31\x3B"  // Total
      "\x4E\xFA\x6D\x65\x72\x6F\x20\x64\x65\x20\x56\x6F\x6C\xFA\x6D\x65\x6E\x20\x3A\x31\x3B"      // Número
      "\x44\x69\x72\x65\x63\x74\x6F\x72\x69\x6F\x20\x3A\x20\x43\x3A\x3B"                          // Directorio
      "\x0D\x0A";
  EXPECT_EQ((SetHeader{L"Gestion", moment(2026, 11, 16, 10, 30), 1, 1, L"C:"}.bytes(kLocale)), expected);
  EXPECT_EQ(golden(), expected);
}

TEST_F(SetHeaderTest, DaysUpToTheTwelfthChangePlacesWithTheMonth) {
  EXPECT_EQ(lineOf(moment(2026, 11, 5)), ansi(headerLine("1", "1", "11/05/2026")));
  EXPECT_EQ(lineOf(moment(2026, 1, 12)), ansi(headerLine("1", "1", "01/12/2026")));
  EXPECT_EQ(lineOf(moment(2026, 1, 13)), ansi(headerLine("1", "1", "13/01/2026")));
  EXPECT_EQ(lineOf(moment(2028, 2, 29)), ansi(headerLine("1", "1", "29/02/2028")));
  EXPECT_EQ(lineOf(moment(2026, 12, 31, 23, 59, 59)), ansi(headerLine("1", "1", "31/12/2026")));
}

TEST_F(SetHeaderTest, TitleAndDirectoryGoInAsTheyAre) {
  const SetHeader header{L"Gestión del Año, 2\x20AC", moment(2026, 11, 16), 32767, 12, L"\\\\servidor\\datos"};
  EXPECT_EQ(header.bytes(kLocale),
            headerLine("32767", "12", "16/11/2026", "Gesti\xF3n del A\xF1o, 2\x80", "\\\\servidor\\datos") + "\r\n");
}

// --- parsing ---

TEST_F(SetHeaderTest, ParsingTakesEveryValueFromItsCharacter) {
  EXPECT_EQ(SetHeader::parse(L"Programa : Gestion;Fecha Creación : 16/11/2026;Total de Volúmenes :12;"
                             L"Número de Volúmen :3;Directorio : D:;",
                             kLocale),
            (SetHeader{L"Gestion", moment(2026, 11, 16), 12, 3, L"D:"}));
}

TEST_F(SetHeaderTest, ParsingDoesNotLookAtTheLabels) {
  EXPECT_EQ(parse("12345678901Uno;12345678901234561-2-2003;12345678901234567890 4 ;12345678901234567895;"
                  "1234567890123Seis;resto;de;campos"),
            (SetHeader{L"Uno", moment(2003, 2, 1), 4, 5, L"Seis"}));
}

TEST_F(SetHeaderTest, ALineWithoutItsLastSemicolonIsReadAlike) {
  EXPECT_EQ(parse(headerLine().substr(0, headerLine().size() - 1)), goldenHeader());
}

TEST_F(SetHeaderTest, ShortFirstAndLastFieldsGiveEmptyTexts) {
  const SetHeader header =
      parse("Corto;Fecha Creaci\xF3n : 16/11/2026;Total de Vol\xFAmenes :1;N\xFAmero de Vol\xFAmen :1;");
  EXPECT_EQ(header.program, L"");
  EXPECT_EQ(header.directory, L"");
}

TEST_F(SetHeaderTest, ATitleWithASemicolonShiftsTheFieldsThatFollow) {
  EXPECT_EQ(numberOf([] { (void)parse(headerLine("1", "1", "16/11/2026", "Ventas;Compras")); }), 13);
}

TEST_F(SetHeaderTest, NumbersWithLeadingZerosAreReadWhateverTheirLength) {
  const SetHeader header = parse(headerLine(std::string(300'000, '0') + "7", "-1"));
  EXPECT_EQ(header.totalVolumes, 7);
  EXPECT_EQ(header.volumeNumber, -1);
}

// --- recognising a set ---

TEST_F(SetHeaderTest, ASetOfThisProgramMatchesWithItsValues) {
  const SetCheck found = check(golden("3", "2") + kArchive);
  EXPECT_EQ(found.program, L"Gestion");
  EXPECT_EQ(found.header, goldenHeader(3, 2));
}

TEST_F(SetHeaderTest, ASetOfAnotherProgramIsNamed) {
  const SetCheck found = check(golden() + kArchive, L"Nóminas");
  EXPECT_EQ(found.program, L"Gestion");
  EXPECT_FALSE(found.header);
}

TEST_F(SetHeaderTest, AProgramThatDiffersInLetterCaseIsNotRecognised) {
  EXPECT_FALSE(check(golden() + kArchive, L"GESTION").header);
}

TEST_F(SetHeaderTest, ATitleWithACommaNeverMatches) {
  const SetCheck found = check(headerLine("1", "1", "16/11/2026", "Gestion, Compras"), L"Gestion, Compras");
  EXPECT_EQ(found.program, L"Gestion");
  EXPECT_FALSE(found.header);
}

TEST_F(SetHeaderTest, BlanksBeforeTheFirstItemAreSkipped) {
  EXPECT_TRUE(check("  \t " + golden() + kArchive).header);
}

TEST_F(SetHeaderTest, AQuotedFirstItemRunsToTheClosingMark) {
  const SetCheck found =
      check("\"" + headerLine("1", "1", "16/11/2026", "Gestion, Compras") + "\",otro\r\n", L"Gestion, Compras");
  ASSERT_TRUE(found.header);
  EXPECT_EQ(found.header->directory, L"C:");
}

TEST_F(SetHeaderTest, AnyLineEndEndsTheFirstItem) {
  for (const std::string end : {"\r\n", "\n", "\r", ",", ""}) EXPECT_TRUE(check(headerLine() + end).header) << end;
  EXPECT_FALSE(check("\n" + golden()).header);
}

TEST_F(SetHeaderTest, AnythingElseIsSimplyNoSet) {
  for (const std::string& content :
       {""s, ","s, "\r\n"s, "\""s, ";"s, "PK"s, kArchive, "\0\0\0"s, kDigits, std::string(5'000'000, ' ')}) {
    EXPECT_FALSE(check(content).header);
  }
}

TEST_F(SetHeaderTest, NoTitleMatchesNoEmptyFile) {
  EXPECT_FALSE(check("", L"").header);
}

TEST_F(SetHeaderTest, AMatchWithABrokenHeaderRaises) {
  EXPECT_EQ(numberOf([&] { (void)check("Programa : Gestion;Fecha Creaci\xF3n : nunca;;;;\r\n"); }), 13);
  EXPECT_EQ(numberOf([&] { (void)check("Programa : Gestion\r\n"); }), 9);
  EXPECT_EQ(files_.openReaders(), 0u);
}

// --- code pages ---

// A process whose code page is UTF-8 by its manifest.
SpanishLocale utf8Process() {
  SpanishLocale locale;
  locale.isUtf8Process = true;
  return locale;
}

std::wstring accentedLine() {
  return ansi(headerLine("1", "1", "16/11/2026", "Gesti\xF3n del A\xF1o"));
}

TEST_F(SetHeaderTest, AProcessOfUtf8WritesTheCodePageOfTheSystem) {
  const SetHeader header{L"Gestión del Año", moment(2026, 11, 16), 1, 1, L"C:"};
  EXPECT_EQ(header.bytes(utf8Process()), header.bytes(kLocale));
  EXPECT_EQ(header.bytes(utf8Process()), headerLine("1", "1", "16/11/2026", "Gesti\xF3n del A\xF1o") + "\r\n");
}

TEST_F(SetHeaderTest, HostsOfEitherCodePageReadOneAnothersSets) {
  const SpanishLocale utf8 = utf8Process();
  for (const std::string& bytes : {kLocale.headerBytes(accentedLine()), utf8Of(accentedLine())}) {
    files_.put(kSetPath, bytes + "\r\n" + kArchive);
    for (const SpanishLocale* locale : {&kLocale, &utf8}) {
      const SetCheck found = checkSet(*files_.openForReading(kSetPath), L"Gestión del Año", *locale);
      EXPECT_TRUE(found.program == L"Gestión del Año");
      ASSERT_TRUE(found.header);
      EXPECT_EQ(found.header->creationDate, moment(2026, 11, 16));
      EXPECT_EQ(SetHeader::parse(bytes, *locale), *found.header);
    }
  }
}

TEST_F(SetHeaderTest, WhereTheLabelsFitInNoCodePageTheHostsOwnIsTaken) {
  const std::string otherLabels =
      "Programa : A\xC3\xB1o;Fecha Creacion : 16/11/2026;Total de Volumenes :1;"
      "Numero de Volumen :1;Directorio : C:;";
  EXPECT_EQ(parse(otherLabels).program, L"A\u00C3\u00B1o");
  EXPECT_EQ(SetHeader::parse(otherLabels, utf8Process()).program, L"A\u00C3\u00B1o") << "that of its own headers";
  std::string oneLabel = otherLabels;
  oneLabel.replace(oneLabel.find("Fecha Creacion"), 14, "Fecha Creaci\xC3\xB3n");
  EXPECT_EQ(numberOf([&] { (void)parse(oneLabel); }), 13) << "all three labels tell, not one of them";
}

// --- what reads back ---

bool titleReadsBack(const std::wstring& title, const std::wstring& directory = L"C:") {
  return readsBack({title, moment(2026, 11, 16), 1, 1, directory}, kLocale);
}

TEST_F(SetHeaderTest, OrdinaryTitlesReadBack) {
  for (const wchar_t* title :
       {L"Gestion", L"Gestión del Año 2 \u20AC", L"", L" ", L"\"Comillas\"", L"a?b", L"Fecha : 1"}) {
    EXPECT_TRUE(titleReadsBack(title)) << ::testing::PrintToString(std::wstring(title));
  }
  EXPECT_TRUE(titleReadsBack(L"Gestion", L"\\\\servidor\\años"));
  EXPECT_TRUE(readsBack({L"Gestion", moment(2026, 11, 5), 3, 2, L""}, kLocale)) << "day and month change places";
}

TEST_F(SetHeaderTest, TitlesThatTheReaderCutsOrTheCodePageLacksDoNot) {
  for (const wchar_t* title : {L"Ventas; Compras", L"Gestion, S.A.", L";", L",", L"a\r\nb", L"a\nb", L"\u65E5\u672C",
                               L"Gesti\u014Dn", L"Gesti\uFFFDn"}) {
    EXPECT_FALSE(titleReadsBack(title)) << ::testing::PrintToString(std::wstring(title));
  }
}

TEST_F(SetHeaderTest, ADirectoryThatComesBackAsAnotherDoesNotReadBack) {
  for (const wchar_t* directory : {L"\\\\servidor\\a;b", L"\\\\servidor\\a,b", L"\\\\servidor\\\u65E5"}) {
    EXPECT_FALSE(titleReadsBack(L"Gestion", directory));
  }
}

TEST_F(SetHeaderTest, AFileReadsBackIfItHasThatHeader) {
  const auto isOfFile = [&](std::string_view bytes, const SetHeader& header) {
    files_.put(kSetPath, bytes);
    files_.failAt(0);
    return readsBack(*files_.openForReading(kSetPath), header, kLocale);
  };
  EXPECT_TRUE(isOfFile(golden() + kArchive, goldenHeader()));
  EXPECT_TRUE(isOfFile(utf8Of(ansi(golden())) + kArchive, goldenHeader()));
  SetHeader other = goldenHeader();
  other.program = L"GESTION";
  EXPECT_FALSE(isOfFile(golden() + kArchive, other));
  EXPECT_FALSE(isOfFile(golden() + kArchive, goldenHeader(2, 1)));
  EXPECT_FALSE(isOfFile(golden() + kArchive, goldenHeader(1, 2)));
  EXPECT_FALSE(isOfFile(kArchive, goldenHeader()));
  EXPECT_FALSE(isOfFile("", goldenHeader()));
  EXPECT_FALSE(isOfFile(golden().substr(0, 40), goldenHeader()));
}

TEST_F(SetHeaderTest, AFileThatCannotBeReadIsAnErrorAndNoAnswer) {
  files_.put(kSetPath, golden() + kArchive);
  const auto reader = files_.openForReading(kSetPath);
  files_.failAt(1, kDeviceInputOutput);
  EXPECT_EQ(numberOf([&] { (void)readsBack(*reader, goldenHeader(), kLocale); }), 57);
}

TEST_F(SetHeaderTest, CheckingReadsNoMoreThanTheBeginningOfASet) {
  FileContent content{golden()};
  content.appendRun('z', 5 * kGiB);
  EXPECT_TRUE(check(std::move(content)).header);
  EXPECT_LE(files_.calls(), 3u);
  EXPECT_LE(files_.largestTransfer(), 4096u);
}

TEST_F(SetHeaderTest, AGiBOfAnythingIsCheckedByItsBeginningAlone) {
  for (const char byte : {'x', ' ', '"', ';', '9', '\0'}) {
    FileContent content;
    content.appendRun(byte, kGiB);
    const MemoryPeak peak;
    EXPECT_FALSE(check(std::move(content)).header);
    EXPECT_LT(peak.bytes(), kMostMemory);
    EXPECT_LT(files_.calls(), 300u);
  }
}

}  // namespace
}  // namespace qev::test
