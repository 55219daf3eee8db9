#include "backup/SetFormat.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>

#include "platform/AutomationError.h"
#include "support/ErrorOf.h"
#include "support/FakePlatform.h"
#include "support/MemoryPeak.h"

namespace qev::test {
namespace {

using namespace std::string_literals;

constexpr std::uint64_t kGiB = std::uint64_t{1} << 30;
constexpr std::size_t kMostMemory = 24u << 20;  // bytes; the buffer, and a line of one MiB in its several forms

const std::wstring kPath = L"C:\\Copias\\Backup16-11-26.qev";
const std::wstring kCopy = L"C:\\Trabajo\\temp\\copia.zip";

// Some archive: bytes of every kind, with line ends, separators and quotation marks among them.
const std::string kArchive = "PK\x03\x04\r\n;,\"\0\xFF\x1A\n\rPK\r\nfin"s;

// The header that the format describes, byte by byte in code page 1252.
std::string golden(const std::string& total = "1", const std::string& number = "1",
                   const std::string& date = "16/11/2026") {
  return "Programa : Gestion;Fecha Creaci\xF3n : " + date + ";Total de Vol\xFAmenes :" + total +
         ";N\xFAmero de Vol\xFAmen :" + number + ";Directorio : C:;\r\n";
}

std::string withoutLineEnd(std::string header) {
  header.resize(header.size() - 2);
  return header;
}

struct Sandbox {
  Sandbox() { state.title = L"Gestion"; }

  FakePlatform fake;
  LibraryState state;
  SetFormat format{fake.platform(), state};
};

bool operator==(const CurrentSet& a, const CurrentSet& b) {
  return a.program == b.program && a.creationDate == b.creationDate && a.totalVolumes == b.totalVolumes &&
         a.volumeNumber == b.volumeNumber && a.directory == b.directory;
}

class SetFormatTest : public testing::Test, protected Sandbox {
 protected:
  void put(std::string_view bytes) { fake.files.put(kPath, bytes); }
  std::string bytes() const { return fake.files.bytes(kPath); }
  void writeHeader(const std::wstring& path = kPath) {
    format.writeHeader(path, moment(2026, 11, 16, 10, 30), 1, 1, L"C:");
  }
  std::wstring ansi(std::string_view text) const { return fake.locale.textFromAnsi(text); }

  const CurrentSet sentinel{L"nadie", Date{7}, 77, 7, L"Z:"};
};

// --- names ---

TEST_F(SetFormatTest, DatedNameIsBackupAndTheDayOfTheRun) {
  EXPECT_EQ(format.datedFileName(moment(2026, 11, 16, 23, 59)), L"Backup16-11-26.qev");
  EXPECT_EQ(format.datedFileName(moment(2031, 2, 3)), L"Backup03-02-31.qev");
}

TEST_F(SetFormatTest, WorkingCopyAndItsPiecesLieInTheWorkFoldersTemp) {
  EXPECT_EQ(format.workingCopy(), kCopy);
  EXPECT_EQ(format.workingPiece(12), kCopy + L"12");
}

// --- writing the header ---

TEST_F(SetFormatTest, HeaderLineIsByteForByteTheOneDescribed) {
  put("");
  writeHeader();
  const std::string expected =
      "\x50\x72\x6F\x67\x72\x61\x6D\x61\x20\x3A\x20\x47\x65\x73\x74\x69\x6F\x6E\x3B"              // Programa
      "\x46\x65\x63\x68\x61\x20\x43\x72\x65\x61\x63\x69\xF3\x6E\x20\x3A\x20"                      // Fecha
      "\x31\x36\x2F\x31\x31\x2F\x32\x30\x32\x36\x3B"                                              // 16/11/2026
      "\x54\x6F\x74\x61\x6C\x20\x64\x65\x20\x56\x6F\x6C\xFA\x6D\x65\x6E\x65\x73\x20\x3A\x31\x3B"  // Total
      "\x4E\xFA\x6D\x65\x72\x6F\x20\x64\x65\x20\x56\x6F\x6C\xFA\x6D\x65\x6E\x20\x3A\x31\x3B"      // Número
      "\x44\x69\x72\x65\x63\x74\x6F\x72\x69\x6F\x20\x3A\x20\x43\x3A\x3B"                          // Directorio
      "\x0D\x0A";
  EXPECT_EQ(bytes(), expected);
}

TEST_F(SetFormatTest, HeaderGoesBeforeAnArchiveThatStaysByteForByte) {
  put(kArchive);
  writeHeader();
  EXPECT_EQ(bytes(), golden() + kArchive);
}

TEST_F(SetFormatTest, WritingAHeaderOntoAFileThatDoesNotExistCreatesTheHeaderAndCrLfOnly) {
  fake.files.putFolder(L"C:\\Copias");
  writeHeader();
  EXPECT_EQ(bytes(), golden());
}

TEST_F(SetFormatTest, WritingAHeaderIntoAFolderThatDoesNotExistRaises76) {
  EXPECT_EQ(numberOf([&] { writeHeader(); }), 76);
  EXPECT_FALSE(fake.files.fileExists(kPath));
}

TEST_F(SetFormatTest, AHeaderOntoAHeaderIsASecondOne) {
  put(kArchive);
  writeHeader();
  writeHeader();
  EXPECT_EQ(bytes(), golden() + golden() + kArchive);
}

TEST_F(SetFormatTest, DaysUpToTheTwelfthChangePlacesWithTheMonth) {
  EXPECT_EQ(format.headerLine(moment(2026, 11, 5), 1, 1, L"C:"), ansi(withoutLineEnd(golden("1", "1", "11/05/2026"))));
  EXPECT_EQ(format.headerLine(moment(2026, 1, 12), 1, 1, L"C:"), ansi(withoutLineEnd(golden("1", "1", "01/12/2026"))));
  EXPECT_EQ(format.headerLine(moment(2026, 1, 13), 1, 1, L"C:"), ansi(withoutLineEnd(golden("1", "1", "13/01/2026"))));
  EXPECT_EQ(format.headerLine(moment(2028, 2, 29), 1, 1, L"C:"), ansi(withoutLineEnd(golden("1", "1", "29/02/2028"))));
  EXPECT_EQ(format.headerLine(moment(2026, 12, 31, 23, 59, 59), 1, 1, L"C:"),
            ansi(withoutLineEnd(golden("1", "1", "31/12/2026"))));
}

TEST_F(SetFormatTest, TitleAndDirectoryGoInAsTheyAre) {
  state.title = L"Gestión del Año, 2\x20AC";
  put("x");
  format.writeHeader(kPath, moment(2026, 11, 16), 32767, 12, L"\\\\servidor\\datos");
  EXPECT_EQ(bytes(),
            "Programa : Gesti\xF3n del A\xF1o, 2\x80;Fecha Creaci\xF3n : 16/11/2026;Total de Vol\xFAmenes :32767;"
            "N\xFAmero de Vol\xFAmen :12;Directorio : \\\\servidor\\datos;\r\nx");
}

TEST_F(SetFormatTest, AFileThatCannotBeReadIsNotReplacedByABareHeader) {
  put(kArchive);
  fake.files.makeUnreadable(kPath);
  EXPECT_EQ(numberOf([&] { writeHeader(); }), 70);
  EXPECT_EQ(numberOf([&] { format.stripHeader(kPath, false); }), 70);
  EXPECT_EQ(bytes(), kArchive);
}

TEST_F(SetFormatTest, AFullDiskLeavesTheArchiveAsItWas) {
  put(kArchive);
  fake.files.capacity = 2 * kArchive.size() + golden().size() - 1;
  EXPECT_EQ(numberOf([&] { writeHeader(); }), 61);
  EXPECT_EQ(bytes(), kArchive);
}

// --- taking the header off ---

TEST_F(SetFormatTest, StrippingGivesTheArchiveBackByteForByte) {
  put(golden() + kArchive);
  format.stripHeader(kPath, false);
  EXPECT_EQ(bytes(), kArchive);
}

TEST_F(SetFormatTest, StrippingWithoutParsingLeavesTheCurrentSet) {
  state.currentSet = sentinel;
  put(golden() + kArchive);
  format.stripHeader(kPath, false);
  EXPECT_TRUE(state.currentSet == sentinel);
}

TEST_F(SetFormatTest, StrippingWithParsingMakesTheHeaderTheCurrentSet) {
  put(golden("3", "2") + kArchive);
  format.stripHeader(kPath, true);
  EXPECT_EQ(bytes(), kArchive);
  EXPECT_TRUE((state.currentSet == CurrentSet{L"Gestion", moment(2026, 11, 16), 3, 2, L"C:"}));
}

TEST_F(SetFormatTest, StrippingAFileWithoutCrLfLeavesAnEmptyFile) {
  for (const std::string& content : {"sin fin de linea"s, "solo\nLF"s, "solo\rCR"s, "al final\r"s, "\n\r"s, ""s}) {
    put(content);
    format.stripHeader(kPath, false);
    EXPECT_EQ(bytes(), "") << content;
  }
}

TEST_F(SetFormatTest, OnlyTheFirstCrLfEndsTheLine) {
  put("a\r\r\nb\r\nc\r\n");
  format.stripHeader(kPath, false);
  EXPECT_EQ(bytes(), "b\r\nc\r\n");
  put("\r\nresto");
  format.stripHeader(kPath, false);
  EXPECT_EQ(bytes(), "resto");
}

TEST_F(SetFormatTest, TheLineEndIsFoundWhereverTheReadsCutIt) {
  constexpr std::size_t mib = 1 << 20;
  for (const std::size_t length : {mib - 2, mib - 1, mib, mib + 1, 2 * mib - 1}) {
    put(std::string(length, 'x') + "\r\n" + kArchive);
    format.stripHeader(kPath, false);
    EXPECT_EQ(bytes(), kArchive) << length;
    put(std::string(length, 'x') + "\r\r\n" + kArchive);
    format.stripHeader(kPath, false);
    EXPECT_EQ(bytes(), kArchive) << length;
    put(std::string(length, 'x') + "\r");
    format.stripHeader(kPath, false);
    EXPECT_EQ(bytes(), "") << length;
  }
}

TEST_F(SetFormatTest, StrippingAFileThatDoesNotExistCreatesAnEmptyOne) {
  fake.files.putFolder(L"C:\\Copias");
  format.stripHeader(kPath, false);
  EXPECT_EQ(bytes(), "");
}

TEST_F(SetFormatTest, StrippingAFileThatDoesNotExistWithParsingRaises9AndCreatesNone) {
  fake.files.putFolder(L"C:\\Copias");
  EXPECT_EQ(numberOf([&] { format.stripHeader(kPath, true); }), 9);
  EXPECT_FALSE(fake.files.fileExists(kPath));
}

TEST_F(SetFormatTest, WritingAndStrippingAreInverse) {
  for (const std::string& content : {""s, "x"s, kArchive, std::string(3'000'000, '\r')}) {
    put(content);
    writeHeader();
    format.stripHeader(kPath, true);
    EXPECT_TRUE(bytes() == content);
  }
}

// --- parsing ---

TEST_F(SetFormatTest, ParsingTakesEveryValueFromItsCharacter) {
  format.parseHeader(
      L"Programa : Gestion;Fecha Creación : 16/11/2026;Total de Volúmenes :12;Número de Volúmen :3;"
      L"Directorio : D:;");
  EXPECT_TRUE((state.currentSet == CurrentSet{L"Gestion", moment(2026, 11, 16), 12, 3, L"D:"}));
}

TEST_F(SetFormatTest, ParsingDoesNotLookAtTheLabels) {
  format.parseHeader(
      L"12345678901Uno;12345678901234561-2-2003;12345678901234567890 4 ;12345678901234567895;"
      L"1234567890123Seis;resto;de;campos");
  EXPECT_TRUE((state.currentSet == CurrentSet{L"Uno", moment(2003, 2, 1), 4, 5, L"Seis"}));
}

TEST_F(SetFormatTest, ALineWithoutItsLastSemicolonIsReadAlike) {
  format.parseHeader(ansi(withoutLineEnd(golden())).substr(0, withoutLineEnd(golden()).size() - 1));
  EXPECT_EQ(state.currentSet.directory, L"C:");
}

TEST_F(SetFormatTest, ShortFirstAndLastFieldsGiveEmptyTexts) {
  format.parseHeader(L"Corto;Fecha Creación : 16/11/2026;Total de Volúmenes :1;Número de Volúmen :1;");
  EXPECT_EQ(state.currentSet.program, L"");
  EXPECT_EQ(state.currentSet.directory, L"");
}

TEST_F(SetFormatTest, ATitleWithASemicolonShiftsTheFieldsThatFollow) {
  state.title = L"Ventas;Compras";
  put(kArchive);
  writeHeader();
  EXPECT_EQ(numberOf([&] { format.stripHeader(kPath, true); }), 13);
}

struct BrokenHeader {
  const char* name;
  std::string line;
  std::int32_t error;
};

class BrokenHeaders : public SetFormatTest, public testing::WithParamInterface<BrokenHeader> {};

TEST_P(BrokenHeaders, RaisesAndLeavesTheFileAndTheCurrentSet) {
  state.currentSet = sentinel;
  const std::string content = GetParam().line + "\r\n" + kArchive;
  put(content);
  EXPECT_EQ(numberOf([&] { format.stripHeader(kPath, true); }), GetParam().error);
  EXPECT_TRUE(bytes() == content);
  EXPECT_EQ(numberOf([&] { format.splitIntoVolumes(kPath, 4); }), GetParam().error);
  EXPECT_TRUE(bytes() == content);
  EXPECT_EQ(numberOf([&] { format.parseHeader(ansi(GetParam().line)); }), GetParam().error);
  EXPECT_TRUE(state.currentSet == sentinel);
  EXPECT_EQ(fake.files.paths().size(), 1u);
  EXPECT_EQ(fake.files.openReaders(), 0u);
}

const std::string kDigits(300'000, '9');
const std::string kZeros(300'000, '0');
const std::string kToDate = "Programa : Gestion;Fecha Creaci\xF3n : 16/11/2026;";
const std::string kToTotal = kToDate + "Total de Vol\xFAmenes :1;";

INSTANTIATE_TEST_SUITE_P(
    SetFormat, BrokenHeaders,
    testing::Values(
        BrokenHeader{"NothingAtAll", "", 9}, BrokenHeader{"OneField", "Programa : Gestion", 9},
        BrokenHeader{"OneFieldClosed", "Programa : Gestion;", 13}, BrokenHeader{"NoTotal", kToDate, 13},
        BrokenHeader{"NoTotalField", kToDate.substr(0, kToDate.size() - 1), 9}, BrokenHeader{"NoNumber", kToTotal, 13},
        BrokenHeader{"NoNumberField", kToTotal.substr(0, kToTotal.size() - 1), 9},
        BrokenHeader{"NoDirectoryField", kToTotal + "N\xFAmero de Vol\xFAmen :1", 9},
        BrokenHeader{"OnlySemicolons", ";;;;;;;;", 13},
        BrokenHeader{"DateThatIsNone", "Programa : Gestion;Fecha Creaci\xF3n : 31/02/2026;a;b;c;", 13},
        BrokenHeader{"DateOf300000Digits", "Programa : Gestion;Fecha Creaci\xF3n : " + kDigits + ";a;b;c;", 13},
        BrokenHeader{"TotalOf300000Digits", kToDate + "Total de Vol\xFAmenes :" + kDigits + ";a;b;", 6},
        BrokenHeader{"NumberOf300000Digits", kToTotal + "N\xFAmero de Vol\xFAmen :" + kDigits + ";b;", 6},
        BrokenHeader{"TotalBeyond16Bits", kToDate + "Total de Vol\xFAmenes :32768;N\xFAmero de Vol\xFAmen :1;b;", 6},
        BrokenHeader{"TotalThatIsNoNumber", kToDate + "Total de Vol\xFAmenes :uno;N\xFAmero de Vol\xFAmen :1;b;", 13},
        BrokenHeader{"NumberThatIsNone", kToTotal + "N\xFAmero de Vol\xFAmen :1a;b;", 13},
        BrokenHeader{"BytesOfAnArchive", kArchive.substr(0, 4) + std::string(200, '\0'), 9}),
    [](const auto& tested) { return tested.param.name; });

TEST_F(SetFormatTest, NumbersWithLeadingZerosAreReadWhateverTheirLength) {
  format.parseHeader(ansi(kToDate + "Total de Vol\xFAmenes :" + kZeros + "7;N\xFAmero de Vol\xFAmen :-1;x;"));
  EXPECT_EQ(state.currentSet.totalVolumes, 7);
  EXPECT_EQ(state.currentSet.volumeNumber, -1);
}

TEST_F(SetFormatTest, FieldsBehindTheFirstMiBOfALineAreMissing) {
  const std::string content = "Programa : " + std::string(2'000'000, 'x') + golden() + kArchive;
  put(content);
  EXPECT_EQ(numberOf([&] { format.stripHeader(kPath, true); }), 9);
  EXPECT_TRUE(bytes() == content);
}

// --- recognising a set ---

TEST_F(SetFormatTest, ASetOfThisProgramMatchesAndBecomesTheCurrentSet) {
  put(golden("3", "2") + kArchive);
  const SetCheck check = format.checkSet(kPath);
  EXPECT_TRUE(check.matches);
  EXPECT_EQ(check.program, L"Gestion");
  EXPECT_TRUE((state.currentSet == CurrentSet{L"Gestion", moment(2026, 11, 16), 3, 2, L"C:"}));
  EXPECT_EQ(bytes(), golden("3", "2") + kArchive);
}

TEST_F(SetFormatTest, ASetOfAnotherProgramIsNamedAndLeavesTheCurrentSet) {
  state.currentSet = sentinel;
  state.title = L"Nóminas";
  put(golden() + kArchive);
  const SetCheck check = format.checkSet(kPath);
  EXPECT_FALSE(check.matches);
  EXPECT_EQ(check.program, L"Gestion");
  EXPECT_TRUE(state.currentSet == sentinel);
}

TEST_F(SetFormatTest, AProgramThatDiffersInLetterCaseIsNotRecognised) {
  state.title = L"GESTION";
  put(golden() + kArchive);
  EXPECT_FALSE(format.checkSet(kPath).matches);
}

TEST_F(SetFormatTest, ATitleWithACommaNeverMatches) {
  state.title = L"Gestion, Compras";
  put(kArchive);
  writeHeader();
  const SetCheck check = format.checkSet(kPath);
  EXPECT_FALSE(check.matches);
  EXPECT_EQ(check.program, L"Gestion");
}

TEST_F(SetFormatTest, BlanksBeforeTheFirstItemAreSkipped) {
  put("  \t "s + golden() + kArchive);
  EXPECT_TRUE(format.checkSet(kPath).matches);
}

TEST_F(SetFormatTest, AQuotedFirstItemRunsToTheClosingMark) {
  state.title = L"Gestion, Compras";
  put("\"Programa : Gestion, Compras;Fecha Creaci\xF3n : 16/11/2026;Total de Vol\xFAmenes :1;"
      "N\xFAmero de Vol\xFAmen :1;Directorio : C:;\",otro\r\n");
  EXPECT_TRUE(format.checkSet(kPath).matches);
  EXPECT_EQ(state.currentSet.directory, L"C:");
}

TEST_F(SetFormatTest, AnyLineEndEndsTheFirstItem) {
  for (const std::string end : {"\r\n", "\n", "\r", ",", ""}) {
    put(withoutLineEnd(golden()) + end);
    EXPECT_TRUE(format.checkSet(kPath).matches) << end;
  }
  put("\n"s + golden());
  EXPECT_FALSE(format.checkSet(kPath).matches);
}

TEST_F(SetFormatTest, AnythingElseIsSimplyNoSet) {
  for (const std::string& content :
       {""s, ","s, "\r\n"s, "\""s, ";"s, "PK"s, kArchive, "\0\0\0"s, kDigits, std::string(5'000'000, ' ')}) {
    put(content);
    EXPECT_FALSE(format.checkSet(kPath).matches);
  }
}

TEST_F(SetFormatTest, NoTitleMatchesNoEmptyFile) {
  state.title.clear();
  put("");
  EXPECT_FALSE(format.checkSet(kPath).matches);
}

TEST_F(SetFormatTest, AMissingFileRaises53AndAnUnreadableOneItsError) {
  fake.files.putFolder(L"C:\\Copias");
  EXPECT_EQ(numberOf([&] { format.checkSet(kPath); }), 53);
  put(golden());
  fake.files.makeUnreadable(kPath, kDiskNotReady);
  EXPECT_EQ(numberOf([&] { format.checkSet(kPath); }), 71);
}

TEST_F(SetFormatTest, AMatchWithABrokenHeaderRaisesAndLeavesTheCurrentSet) {
  state.currentSet = sentinel;
  put("Programa : Gestion;Fecha Creaci\xF3n : nunca;;;;\r\n");
  EXPECT_EQ(numberOf([&] { format.checkSet(kPath); }), 13);
  put("Programa : Gestion\r\n");
  EXPECT_EQ(numberOf([&] { format.checkSet(kPath); }), 9);
  EXPECT_TRUE(state.currentSet == sentinel);
}

TEST_F(SetFormatTest, CheckingReadsNoMoreThanTheBeginningOfASet) {
  FileContent content{golden()};
  content.appendRun('z', 5 * kGiB);
  fake.files.putContent(kPath, std::move(content));
  fake.files.failAt(0);
  EXPECT_TRUE(format.checkSet(kPath).matches);
  EXPECT_LE(fake.files.calls(), 3u);
  EXPECT_LE(fake.files.largestTransfer(), 4096u);
}

// --- splitting and joining ---

TEST_F(SetFormatTest, AnArchiveOf1440000CharactersGivesOneVolume) {
  const std::string archive(1'440'000, 'v');
  fake.files.put(kCopy, golden() + archive);
  format.splitIntoVolumes(kCopy, SetFormat::kVolumeBytes);
  EXPECT_EQ(state.currentSet.totalVolumes, 1);
  EXPECT_TRUE(fake.files.bytes(kCopy + L"1") == archive);
  EXPECT_FALSE(fake.files.fileExists(kCopy + L"2"));
  EXPECT_TRUE(fake.files.bytes(kCopy) == golden() + archive);
}

TEST_F(SetFormatTest, AnArchiveOf1440001CharactersGivesTwoTheSecondOfOneCharacter) {
  const std::string archive = std::string(1'440'000, 'v') + "w";
  fake.files.put(kCopy, golden() + archive);
  format.splitIntoVolumes(kCopy, SetFormat::kVolumeBytes);
  EXPECT_EQ(state.currentSet.totalVolumes, 2);
  EXPECT_TRUE(fake.files.bytes(kCopy + L"1") == std::string(1'440'000, 'v'));
  EXPECT_EQ(fake.files.bytes(kCopy + L"2"), "w");
  EXPECT_FALSE(fake.files.fileExists(kCopy + L"3"));
  EXPECT_TRUE(fake.files.bytes(kCopy) == golden() + archive);
}

TEST_F(SetFormatTest, ThreeMillionBytesMakeThreeDisks) {
  fake.files.put(kCopy, golden() + std::string(3'000'000, 'v'));
  format.splitIntoVolumes(kCopy, SetFormat::kVolumeBytes);
  EXPECT_EQ(state.currentSet.totalVolumes, 3);
  EXPECT_EQ(fake.files.fileSize(kCopy + L"1"), 1'440'000u);
  EXPECT_EQ(fake.files.fileSize(kCopy + L"2"), 1'440'000u);
  EXPECT_EQ(fake.files.fileSize(kCopy + L"3"), 120'000u);
}

TEST_F(SetFormatTest, AnEmptyArchiveGivesTotalZeroAndWritesNoPieces) {
  fake.files.put(kCopy, golden());
  format.splitIntoVolumes(kCopy, SetFormat::kVolumeBytes);
  EXPECT_EQ(state.currentSet.totalVolumes, 0);
  EXPECT_EQ(fake.files.paths(), std::vector<std::wstring>{kCopy});
  EXPECT_EQ(fake.files.bytes(kCopy), golden());
}

TEST_F(SetFormatTest, PiecesAreBareConsecutiveSlicesAndTheCopyIsWholeAgain) {
  for (const std::uint64_t size : {1u, 2u, 3u, 4u, 7u, 23u, 24u, 1000u}) {
    Sandbox box;
    box.fake.files.put(kCopy, golden("9", "4") + kArchive);
    box.format.splitIntoVolumes(kCopy, size);
    std::string joined;
    for (int i = 1; i <= box.state.currentSet.totalVolumes; ++i) {
      const std::string piece = box.fake.files.bytes(kCopy + std::to_wstring(i));
      EXPECT_TRUE(piece.size() == size || i == box.state.currentSet.totalVolumes);
      joined += piece;
    }
    EXPECT_EQ(joined, kArchive);
    EXPECT_EQ(box.fake.files.bytes(kCopy), golden() + kArchive);
    EXPECT_EQ(box.fake.files.paths().size(), 1u + (kArchive.size() + size - 1) / size);
  }
}

TEST_F(SetFormatTest, SplittingSetsTheCurrentSetFromTheHeaderAndTheTotalFromThePieces) {
  fake.files.put(kCopy, golden("9", "4") + "12345");
  format.splitIntoVolumes(kCopy, 2);
  EXPECT_TRUE((state.currentSet == CurrentSet{L"Gestion", moment(2026, 11, 16), 3, 4, L"C:"}));
}

TEST_F(SetFormatTest, ASetOfAnotherNameKeepsItsNumberGetsTheTotalAndNamesItsPieces) {
  put(golden("9", "4") + "12345");
  format.splitIntoVolumes(kPath, 2);
  EXPECT_EQ(bytes(), golden("3", "4") + "12345");
  const std::wstring piece = L"C:\\Trabajo\\temp\\Backup16-11-26.qev";
  EXPECT_EQ(fake.files.bytes(piece + L"1"), golden("3", "1") + "12");
  EXPECT_EQ(fake.files.bytes(piece + L"2"), golden("3", "2") + "34");
  EXPECT_EQ(fake.files.bytes(piece + L"3"), golden("3", "3") + "5");
}

TEST_F(SetFormatTest, EveryRewriteExchangesDayAndMonthOfASmallDateAgain) {
  fake.files.put(kCopy, golden("1", "1", "11/05/2026") + "12345");
  format.splitIntoVolumes(kCopy, 2);
  EXPECT_EQ(state.currentSet.creationDate, moment(2026, 5, 11));
  EXPECT_EQ(fake.files.bytes(kCopy), golden("1", "1", "05/11/2026") + "12345");
}

TEST_F(SetFormatTest, APieceSizeOfZeroIsADivisionErrorAndNothingIsLost) {
  put(golden() + kArchive);
  EXPECT_EQ(numberOf([&] { format.splitIntoVolumes(kPath, 0); }), 11);
  EXPECT_EQ(bytes(), golden() + kArchive);
  put(golden());
  EXPECT_EQ(numberOf([&] { format.splitIntoVolumes(kPath, 0); }), 11);
}

TEST_F(SetFormatTest, MoreThan32767VolumesOverflowBeforeAPieceIsWritten) {
  put(golden() + std::string(32768, 'v'));
  EXPECT_EQ(numberOf([&] { format.splitIntoVolumes(kPath, 1); }), 6);
  EXPECT_TRUE(bytes() == golden() + std::string(32768, 'v'));
  EXPECT_EQ(fake.files.paths().size(), 1u);
}

TEST_F(SetFormatTest, A65536thVolumeDoesNotPassForNone) {
  put(golden() + std::string(65536, 'v'));
  EXPECT_EQ(numberOf([&] { format.splitIntoVolumes(kPath, 1); }), 6);
}

TEST_F(SetFormatTest, JoiningStripsThePiecesAndMakesASetOfOneVolume) {
  state.currentSet = {L"Gestion", moment(2026, 11, 16, 10), 3, 2, L"C:"};
  fake.files.put(kCopy + L"1", golden("3", "1") + "uno");
  fake.files.put(kCopy + L"2", golden("3", "2") + "dos");
  fake.files.put(kCopy + L"3", golden("3", "3") + "tres");
  fake.files.put(kCopy + L"4", "de otra copia");
  fake.files.put(kCopy, "de antes");
  format.joinVolumes();
  EXPECT_EQ(fake.files.bytes(kCopy), golden() + "unodostres");
  EXPECT_EQ(fake.files.bytes(kCopy + L"1"), "uno");
  EXPECT_EQ(fake.files.bytes(kCopy + L"2"), "dos");
  EXPECT_EQ(fake.files.bytes(kCopy + L"3"), "tres");
  EXPECT_EQ(fake.files.bytes(kCopy + L"4"), "de otra copia");
  EXPECT_EQ(state.currentSet.totalVolumes, 3);
}

TEST_F(SetFormatTest, JoiningGoesOnWithoutAMissingPiece) {
  state.currentSet = {L"Gestion", moment(2026, 11, 16, 10), 3, 2, L"C:"};
  fake.files.put(kCopy + L"1", golden("3", "1") + "uno");
  fake.files.put(kCopy + L"3", golden("3", "3") + "tres");
  format.joinVolumes();
  EXPECT_EQ(fake.files.bytes(kCopy), golden() + "unotres");
}

TEST_F(SetFormatTest, JoiningTakesPiecesWithoutHeaderWhole) {
  state.currentSet = {L"Gestion", moment(2026, 11, 16, 10), 3, 2, L"C:"};
  fake.files.put(kCopy + L"1", kArchive.substr(0, 9));
  fake.files.put(kCopy + L"2", golden("3", "2") + kArchive.substr(9, 4));
  fake.files.put(kCopy + L"3", kArchive.substr(13));
  format.joinVolumes();
  EXPECT_EQ(fake.files.bytes(kCopy), golden() + kArchive) << "line ends of a bare slice are the archive's";
}

TEST_F(SetFormatTest, ThePayloadIsWrittenBesideTheSetWhichKeepsItsBytes) {
  put(golden("3", "2") + kArchive);
  std::vector<std::uint64_t> told;
  format.extractPayload(kPath, kCopy, [&](std::uint64_t bytes) { told.push_back(bytes); });
  EXPECT_EQ(fake.files.bytes(kCopy), kArchive);
  EXPECT_EQ(bytes(), golden("3", "2") + kArchive);
  EXPECT_EQ(state.currentSet.totalVolumes, 3);
  EXPECT_EQ(state.currentSet.volumeNumber, 2);
  ASSERT_FALSE(told.empty());
  EXPECT_EQ(told.back(), kArchive.size());
}

TEST_F(SetFormatTest, ThePayloadOfASetWithoutAnyIsEmpty) {
  put(golden());
  format.extractPayload(kPath, kCopy);
  EXPECT_EQ(fake.files.bytes(kCopy), "");
}

TEST_F(SetFormatTest, APayloadOfWhatIsNoSetIsNotWritten) {
  fake.files.putFolder(L"C:\\Copias");
  EXPECT_EQ(numberOf([&] { format.extractPayload(kPath, kCopy); }), 53);
  put(kArchive);
  EXPECT_EQ(numberOf([&] { format.extractPayload(kPath, kCopy); }), 9);
  put("");
  EXPECT_EQ(numberOf([&] { format.extractPayload(kPath, kCopy); }), 9);
  EXPECT_FALSE(fake.files.fileExists(kCopy));
}

TEST_F(SetFormatTest, APayloadThatADiskHasNoRoomForLeavesNothingBehind) {
  put(golden() + std::string(5000, 'x'));
  fake.files.putFolder(L"C:\\Trabajo\\temp");
  fake.files.capacity = 1000;
  EXPECT_EQ(numberOf([&] { format.extractPayload(kPath, kCopy); }), 61);
  EXPECT_FALSE(fake.files.fileExists(kCopy));
  EXPECT_EQ(bytes(), golden() + std::string(5000, 'x'));
}

TEST_F(SetFormatTest, JoiningNoPiecesMakesAnEmptySet) {
  for (const int total : {0, -3}) {
    state.currentSet = {L"Gestion", moment(2026, 11, 16, 10), static_cast<std::int16_t>(total), 2, L"C:"};
    format.joinVolumes();
    EXPECT_EQ(fake.files.bytes(kCopy), golden());
  }
}

// --- faults: whatever call fails, the name holds the old bytes or the new ones ---

struct Operation {
  const char* name;
  std::function<void(Sandbox&)> prepare;
  std::function<void(Sandbox&)> run;
};

class EveryFault : public testing::TestWithParam<Operation> {
 protected:
  using Files = std::map<std::wstring, std::string>;

  static Files allOf(const Sandbox& box) {
    Files files;
    for (const std::wstring& path : box.fake.files.paths()) files[path] = box.fake.files.bytes(path);
    return files;
  }

  // Runs the operation with one call failing; false once it ends without meeting the failure.
  static bool runFailingAt(Sandbox& box, std::size_t call) {
    box.fake.files.failAt(call);
    try {
      GetParam().run(box);
      return false;
    } catch (const AutomationError& error) {
      EXPECT_EQ(error.number(), 57) << "call " << call;
      return true;
    }
  }

  // A file that existed holds what it held, or something that keeps its archive whole.
  static bool isWhole(const std::wstring& path, const std::string& before, const std::string& now, const Files& after) {
    if (now == before || (after.contains(path) && now == after.at(path))) return true;
    return path == kCopy && now.ends_with("\r\n" + kArchive) && now.starts_with("Programa : Gestion;");
  }
};

TEST_P(EveryFault, LeavesTheOldBytesOrTheNewOnesUnderEveryName) {
  Sandbox done;
  GetParam().prepare(done);
  ASSERT_FALSE(runFailingAt(done, 0));
  const Files after = allOf(done);
  std::size_t call = 1;
  for (;; ++call) {
    Sandbox box;
    GetParam().prepare(box);
    const Files before = allOf(box);
    const bool failed = runFailingAt(box, call);
    EXPECT_EQ(box.fake.files.openReaders(), 0u);
    EXPECT_EQ(box.fake.files.openReplacements(), 0u);
    const Files now = allOf(box);
    for (const auto& [path, bytes] : before) {
      ASSERT_TRUE(now.contains(path)) << "call " << call;
      EXPECT_TRUE(isWhole(path, bytes, now.at(path), after)) << "call " << call << ": " << now.at(path);
    }
    for (const auto& [path, bytes] : now) EXPECT_TRUE(after.contains(path)) << "call " << call << ": " << bytes;
    if (!failed) {
      EXPECT_EQ(now, after);
      break;
    }
    ASSERT_LT(call, 1000u);
  }
  EXPECT_GT(call, 2u);
}

void putSet(Sandbox& box, const std::wstring& path) {
  box.fake.files.put(path, golden("2", "1") + kArchive);
}

void putPieces(Sandbox& box) {
  box.state.currentSet = {L"Gestion", moment(2026, 11, 16), 2, 1, L"C:"};
  box.fake.files.put(kCopy + L"1", golden("2", "1") + "uno\r\n");
  box.fake.files.put(kCopy + L"2", golden("2", "2") + "dos\r\n");
  box.fake.files.put(kCopy, "de antes");
}

INSTANTIATE_TEST_SUITE_P(
    SetFormat, EveryFault,
    testing::Values(Operation{"WriteHeader", [](Sandbox& box) { box.fake.files.put(kPath, kArchive); },
                              [](Sandbox& box) { box.format.writeHeader(kPath, moment(2026, 11, 16), 1, 1, L"C:"); }},
                    Operation{"WriteHeaderOntoNothing", [](Sandbox& box) { box.fake.files.putFolder(L"C:\\Copias"); },
                              [](Sandbox& box) { box.format.writeHeader(kPath, moment(2026, 11, 16), 1, 1, L"C:"); }},
                    Operation{"StripHeader", [](Sandbox& box) { putSet(box, kPath); },
                              [](Sandbox& box) { box.format.stripHeader(kPath, false); }},
                    Operation{"StripAndParseHeader", [](Sandbox& box) { putSet(box, kPath); },
                              [](Sandbox& box) { box.format.stripHeader(kPath, true); }},
                    Operation{"StripAFileWithoutLineEnd",
                              [](Sandbox& box) { box.fake.files.put(kPath, std::string(3'000'000, 'x')); },
                              [](Sandbox& box) { box.format.stripHeader(kPath, false); }},
                    Operation{"ExtractPayload", [](Sandbox& box) { putSet(box, kPath); },
                              [](Sandbox& box) { box.format.extractPayload(kPath, kCopy); }},
                    Operation{"CheckSet", [](Sandbox& box) { putSet(box, kPath); },
                              [](Sandbox& box) { EXPECT_TRUE(box.format.checkSet(kPath).matches); }},
                    Operation{"SplitTheWorkingCopy", [](Sandbox& box) { putSet(box, kCopy); },
                              [](Sandbox& box) { box.format.splitIntoVolumes(kCopy, 9); }},
                    Operation{"SplitASetOfAnotherName", [](Sandbox& box) { putSet(box, kPath); },
                              [](Sandbox& box) { box.format.splitIntoVolumes(kPath, 9); }},
                    Operation{"JoinVolumes", putPieces, [](Sandbox& box) { box.format.joinVolumes(); }}),
    [](const auto& tested) { return tested.param.name; });

// --- size: a set of many GB costs what a small one costs ---

class LargeSets : public SetFormatTest {
 protected:
  // Runs `action` and looks at what it held.
  void bounded(const std::function<void()>& action) {
    const MemoryPeak peak;
    action();
    EXPECT_LT(peak.bytes(), kMostMemory);
    EXPECT_LE(fake.files.largestTransfer(), std::size_t{1} << 20);
  }

  std::string beginning(const std::wstring& path, std::size_t length) {
    std::string bytes(length, '\0');
    bytes.resize(fake.files.content(path).read(0, std::as_writable_bytes(std::span(bytes))));
    return bytes;
  }
};

TEST_F(LargeSets, AHeaderGoesOnAndOffAnArchiveOf5GiBThroughABoundedBuffer) {
  fake.files.putRun(kPath, 'z', 5 * kGiB);
  bounded([&] { writeHeader(); });
  EXPECT_EQ(fake.files.fileSize(kPath), 5 * kGiB + golden().size());
  EXPECT_EQ(beginning(kPath, golden().size() + 1), golden() + "z");
  bounded([&] { format.stripHeader(kPath, true); });
  EXPECT_EQ(fake.files.fileSize(kPath), 5 * kGiB);
  EXPECT_EQ(beginning(kPath, 1), "z");
}

TEST_F(LargeSets, ASetOf5GiBIsSplitAndJoinedThroughABoundedBuffer) {
  FileContent content{golden()};
  content.appendRun('z', 5 * kGiB + 1);
  fake.files.putContent(kCopy, std::move(content));
  bounded([&] { format.splitIntoVolumes(kCopy, 2 * kGiB); });
  EXPECT_EQ(fake.files.fileSize(kCopy + L"1"), 2 * kGiB);
  EXPECT_EQ(fake.files.fileSize(kCopy + L"2"), 2 * kGiB);
  EXPECT_EQ(fake.files.fileSize(kCopy + L"3"), kGiB + 1);
  EXPECT_EQ(fake.files.fileSize(kCopy), 5 * kGiB + 1 + golden().size());
  EXPECT_EQ(beginning(kCopy, golden().size()), golden());
}

TEST_F(LargeSets, AGiBWithoutLineEndIsStrippedToAnEmptyFile) {
  fake.files.putRun(kPath, 'x', kGiB);
  bounded([&] { format.stripHeader(kPath, false); });
  EXPECT_EQ(fake.files.fileSize(kPath), 0u);
}

TEST_F(LargeSets, AGiBWithoutLineEndCannotBeParsedAndStays) {
  fake.files.putRun(kPath, 'x', kGiB);
  bounded([&] { EXPECT_EQ(numberOf([&] { format.stripHeader(kPath, true); }), 9); });
  bounded([&] { EXPECT_EQ(numberOf([&] { format.splitIntoVolumes(kPath, SetFormat::kVolumeBytes); }), 9); });
  EXPECT_EQ(fake.files.fileSize(kPath), kGiB);
}

TEST_F(LargeSets, AHeaderWhoseLastFieldIsAGiBLongIsPassedOver) {
  FileContent content{withoutLineEnd(golden())};
  content.appendRun('x', kGiB);
  content.append("\r\n" + kArchive);
  fake.files.putContent(kPath, std::move(content));
  bounded([&] { format.stripHeader(kPath, true); });
  EXPECT_EQ(bytes(), kArchive);
  EXPECT_EQ(state.currentSet.directory, L"C:");
}

TEST_F(LargeSets, AGiBOfAnythingIsCheckedByItsBeginningAlone) {
  for (const char byte : {'x', ' ', '"', ';', '9', '\0'}) {
    fake.files.putRun(kPath, byte, kGiB);
    fake.files.failAt(0);
    bounded([&] { EXPECT_FALSE(format.checkSet(kPath).matches); });
    EXPECT_LT(fake.files.calls(), 300u);
  }
}

}  // namespace
}  // namespace qev::test
