// The block of a run, and how the log keeps to its size.
#include "record/RunRecord.h"

#include <gmock/gmock.h>

#include <string>

#include "support/FakePlatform.h"

namespace qev::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr char kMark[] = "\xEF\xBB\xBF";

RunRecord record() {
  RunRecord record;
  record.kind = RunRecord::Kind::Automatic;
  record.result = RunRecord::Result::Success;
  record.title = L"Gestion";
  record.set = L"D:\\Copias\\Backup16-11-26.qev";
  record.data = L"C:\\Prog\\Datos\\Emp01\\";
  record.start = moment(2026, 11, 16, 10, 30, 5);
  record.end = moment(2026, 11, 16, 10, 31, 10);
  record.files = 12;
  record.bytes = 25165824;
  record.setBytes = 9437184;
  record.engineCode = 0;
  record.shown = L" La copia se ha realizado.\r\n Origen: Datos";
  return record;
}

std::string blockOf(const RunRecord& run) {
  return logBlock(run);
}

TEST(RunRecordTest, ABlockTellsTheRun) {
  EXPECT_EQ(
      "=== 16-11-2026 10:30:05 Copia autom\xC3\xA1tica: Gestion\r\n"
      "  Resultado: correcto\r\n"
      "  Copia: D:\\Copias\\Backup16-11-26.qev\r\n"
      "  Datos: C:\\Prog\\Datos\\Emp01\\\r\n"
      "  Inicio: 16-11-2026 10:30:05\r\n"
      "  Fin: 16-11-2026 10:31:10\r\n"
      "  Archivos: 12\r\n"
      "  Bytes: 25165824\r\n"
      "  Tama\xC3\xB1o de la copia: 9437184\r\n"
      "  C\xC3\xB3"
      "digo del motor: 0\r\n"
      "  Texto mostrado:\r\n"
      "    |  La copia se ha realizado.\r\n"
      "    |  Origen: Datos\r\n"
      "\r\n",
      blockOf(record()));
}

TEST(RunRecordTest, TroubleOfTheEngineIsOneLineThatIsFoundEvenWhenTheRunWasASuccess) {
  RunRecord run = record();
  EXPECT_THAT(blockOf(run), Not(HasSubstr("Avisos del motor")));
  run.engineCode = 18;
  run.remarks.event(Remark{L"zip warning: could not open for reading: a\u00f1o.db"});
  EXPECT_THAT(blockOf(run), HasSubstr("\r\n  Resultado: correcto\r\n  Avisos del motor: c\xC3\xB3"
                                      "digo 18, 1 mensajes\r\n"));
  EXPECT_THAT(blockOf(run), HasSubstr("  Mensajes del motor:\r\n"
                                      "    | zip warning: could not open for reading: a\xC3\xB1o.db\r\n"));
}

TEST(RunRecordTest, ARemarkAloneIsTrouble) {
  RunRecord run = record();
  run.remarks.event(Remark{L"zip warning: name not matched: C:/Prog/Util.mde"});
  EXPECT_THAT(blockOf(run), HasSubstr("Avisos del motor: c\xC3\xB3"
                                      "digo 0, 1 mensajes\r\n"));
}

TEST(RunRecordTest, AnErrorHasItsNumberAndItsText) {
  RunRecord run = record();
  run.result = RunRecord::Result::Failure;
  run.errorNumber = 61;
  run.errorText = L"Disco lleno: D:\\Copias";
  EXPECT_THAT(blockOf(run), HasSubstr("  Resultado: con errores\r\n"));
  EXPECT_THAT(blockOf(run), HasSubstr("\r\n  Error: 61-Disco lleno: D:\\Copias\r\n"));
}

TEST(RunRecordTest, WhatIsNotKnownIsLeftOut) {
  RunRecord run;
  run.title = L"Gestion";
  const std::string block = blockOf(run);
  for (const char* name : {"Archivos", "Bytes", "Tama", "motor", "Error", "Comprobada", "Texto", "Copia:", "Datos"}) {
    EXPECT_THAT(block, Not(HasSubstr(std::string("  ") + name))) << name;
  }
}

TEST(RunRecordTest, FoldersOfAnArchiveAreNoFiles) {
  RunRecord run;
  run.count({{"Datos/", 0}, {"Datos/a.db", 100}, {"b", 0}});
  EXPECT_EQ(2u, *run.files);
  EXPECT_EQ(100u, *run.bytes);
  run.count({});
  EXPECT_EQ(0u, *run.files);
}

TEST(RunRecordTest, EveryKindAndResultHasItsWords) {
  RunRecord run = record();
  const std::pair<RunRecord::Kind, const char*> kinds[] = {{RunRecord::Kind::Scheduled, " Copia programada: "},
                                                           {RunRecord::Kind::Manual, " Copia manual: "},
                                                           {RunRecord::Kind::Other, " Copia: "},
                                                           {RunRecord::Kind::Restore, " Restauraci\xC3\xB3n: "}};
  for (const auto& [kind, words] : kinds) {
    run.kind = kind;
    EXPECT_THAT(blockOf(run), HasSubstr(words));
  }
  run.result = RunRecord::Result::Cancelled;
  EXPECT_THAT(blockOf(run), HasSubstr("Resultado: cancelado por el usuario\r\n"));
  run.result = RunRecord::Result::Refused;
  EXPECT_THAT(blockOf(run), HasSubstr("Resultado: no realizado: no se reemplaza la copia que ya existe\r\n"));
  run.proven = true;
  EXPECT_THAT(blockOf(run), HasSubstr("  Comprobada: s\xC3\xAD\r\n"));
  run.proven = false;
  EXPECT_THAT(blockOf(run), HasSubstr("  Comprobada: no\r\n"));
}

TEST(RunRecordTest, NoValueCanBeginALineOfItsOwnOrABlock) {
  RunRecord run = record();
  run.title = L"Gestion\r\n=== falso";
  run.set = L"a\nb\x01\x7f";
  run.shown = L"=== falso\r\n=== otro";
  run.remarks.event(Remark{L"=== y otro"});
  const std::string block = blockOf(run);
  EXPECT_EQ(std::string::npos, block.find("\n==="));
  EXPECT_THAT(block, HasSubstr("  Copia: a b  \r\n"));
  for (std::size_t at = block.find('\n'); at != std::string::npos; at = block.find('\n', at + 1)) {
    EXPECT_EQ('\r', block[at - 1]);
  }
}

TEST(RunRecordTest, TextsOfAnyLengthMakeABlockOfBoundedSize) {
  RunRecord run = record();
  const std::wstring longText(1'000'000, L'\u20AC');
  run.title = run.set = run.data = run.errorText = run.shown = longText;
  run.errorNumber = 1;
  for (int i = 0; i < 300; ++i) run.remarks.event(Remark{longText.substr(0, 5000)});
  EXPECT_LT(blockOf(run).size(), 300u << 10);
  EXPECT_THAT(blockOf(run), HasSubstr("    | (y 100 m\xC3\xA1s)\r\n"));
}

TEST(RunRecordTest, CharactersBeyondTheFirstPlaneAndHalvesOfThemAreWrittenAsUtf8) {
  RunRecord run = record();
  run.title = L"\xD83D\xDCBE";
  EXPECT_THAT(blockOf(run), HasSubstr(": \xF0\x9F\x92\xBE\r\n"));
  run.title = std::wstring(L"a\xD83D") + L"b";
  EXPECT_THAT(blockOf(run), HasSubstr(": a\xEF\xBF\xBD"
                                      "b\r\n"));
}

// --- the log ---

TEST(LogTest, ALogBeginsWithItsMarkAndHasItsBlocksInOrder) {
  const std::string one = logWith("", "=== uno\r\n\r\n");
  EXPECT_EQ(std::string(kMark) + "=== uno\r\n\r\n", one);
  EXPECT_EQ(std::string(kMark) + "=== uno\r\n\r\n=== dos\r\n\r\n", logWith(one, "=== dos\r\n\r\n"));
}

TEST(LogTest, WithoutRoomTheOldestBlocksGoWhole) {
  std::string log;
  for (int i = 0; i < 100; ++i) {
    const std::string block = "=== " + std::to_string(i) + "\r\n  Resultado: correcto\r\n\r\n";
    log = logWith(log, block, 1000);
    EXPECT_LE(log.size(), 1000u);
    EXPECT_THAT(log, StartsWith(std::string(kMark) + "=== "));
    EXPECT_THAT(log, EndsWith(block));
    EXPECT_THAT(log.substr(7), Not(HasSubstr("\r\n\r\n  "))) << "no block without its first line";
  }
  EXPECT_GT(log.size(), 900u) << "no more go than must";
}

TEST(LogTest, ExactlyTheRoomIsUsed) {
  const std::string old = std::string(kMark) + "=== a\r\n\r\n=== b\r\n\r\n";
  EXPECT_EQ(old + "=== c\r\n", logWith(old, "=== c\r\n", old.size() + 7));
  EXPECT_EQ(std::string(kMark) + "=== b\r\n\r\n=== c\r\n", logWith(old, "=== c\r\n", old.size() + 6));
}

TEST(LogTest, ANewBlockIsThereWhateverItsSize) {
  const std::string block = "=== " + std::string(5000, 'x') + "\r\n";
  EXPECT_EQ(kMark + block, logWith("=== viejo\r\n\r\n", block, 1000));
}

TEST(LogTest, WhatIsNoBlockIsDropped) {
  EXPECT_EQ(std::string(kMark) + "=== uno\r\n", logWith(std::string(100'000, 'x'), "=== uno\r\n"));
  EXPECT_EQ(std::string(kMark) + "=== uno\r\n=== dos\r\n", logWith("resto\r\n=== uno\r\n", "=== dos\r\n"));
  EXPECT_EQ(std::string(kMark) + "=== dos\r\n", logWith("  | === no es un bloque\r\n", "=== dos\r\n"));
  EXPECT_EQ(std::string(kMark) + "=== dos\r\n", logWith(std::string("\0\0\0", 3), "=== dos\r\n"));
}

}  // namespace
}  // namespace qev::test
