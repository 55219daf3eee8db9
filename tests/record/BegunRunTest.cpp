// Runs that are in the log from their beginning on: what it says while they are under way, when they have ended, and
// when their process is gone before them.
#include "record/RunLog.h"

#include <gmock/gmock.h>

#include <string>

#include "platform/AutomationError.h"
#include "support/FakePlatform.h"

namespace qev::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr wchar_t kLog[] = L"C:\\Trabajo\\registro.log";
constexpr wchar_t kKilled[] = L"0000feed-2f-0000000000000007";
constexpr char kMark[] = "\xEF\xBB\xBF";

// As another process of this machine has its runs in the log.
std::string runningBlock(const std::string& process, const std::string& kind = "Copia manual",
                         const std::string& title = "Gestion") {
  return "=== 15-11-2026 09:00:00 " + kind + ": " + title + "\r\n  Resultado: en marcha\r\n  Proceso: " + process +
         "\r\n  Copia: D:\\Copias\\copia.qev\r\n  Inicio: 15-11-2026 09:00:00\r\n\r\n";
}

class BegunRunTest : public testing::Test {
 protected:
  BegunRunTest() {
    fake.processes.gone = {kKilled};
    run.kind = RunRecord::Kind::Automatic;
    run.title = L"Gestion";
    run.set = L"D:\\Copias\\Backup16-11-26.qev";
    run.data = L"C:\\Prog\\Datos\\Emp01\\";
    run.start = fake.clock.now();
  }

  bool begin() { return RunLog(fake.platform()).begin(run); }

  void end() {
    run.result = RunRecord::Result::Success;
    run.end = moment(2026, 11, 16, 10, 35);
    run.shown = L"Hecho";
    RunLog(fake.platform()).end(run);
  }

  std::string log() const { return fake.files.bytes(kLog); }

  FakePlatform fake;
  RunRecord run;
};

constexpr char kRunningBlock[] =
    "=== 16-11-2026 10:30:00 Copia autom\xC3\xA1tica: Gestion\r\n"
    "  Resultado: en marcha\r\n"
    "  Proceso: 0000feed-1267-0000000000000001\r\n"
    "  Copia: D:\\Copias\\Backup16-11-26.qev\r\n"
    "  Datos: C:\\Prog\\Datos\\Emp01\\\r\n"
    "  Inicio: 16-11-2026 10:30:00\r\n"
    "\r\n";

constexpr char kEndedBlock[] =
    "=== 16-11-2026 10:30:00 Copia autom\xC3\xA1tica: Gestion\r\n"
    "  Resultado: correcto\r\n"
    "  Copia: D:\\Copias\\Backup16-11-26.qev\r\n"
    "  Datos: C:\\Prog\\Datos\\Emp01\\\r\n"
    "  Inicio: 16-11-2026 10:30:00\r\n"
    "  Fin: 16-11-2026 10:35:00\r\n"
    "  Texto mostrado:\r\n"
    "    | Hecho\r\n"
    "\r\n";

TEST_F(BegunRunTest, IsUnderWayInTheLogUntilItsEndTakesThePlace) {
  EXPECT_FALSE(begin());
  EXPECT_EQ(kMark + std::string(kRunningBlock), log());
  end();
  EXPECT_EQ(kMark + std::string(kEndedBlock), log());
  EXPECT_TRUE(fake.processes.held.empty());
}

TEST_F(BegunRunTest, LeavesTheBlocksOfOthersAsTheyAre) {
  const std::string before = "=== 14-11-2026 09:00:00 Copia: Otra\r\n  Resultado: correcto\r\n\r\n" +
                             runningBlock("00000bad-7-0000000000000007", "Copia", "Otra");
  fake.files.put(kLog, kMark + before);
  EXPECT_FALSE(begin());
  EXPECT_EQ(kMark + before + kRunningBlock, log());
  end();
  EXPECT_EQ(kMark + before + kEndedBlock, log());
}

TEST_F(BegunRunTest, WhoseBlockHasGoneMeanwhileIsAddedAtItsEnd) {
  begin();
  fake.files.put(kLog, "=== otro\r\n\r\n");
  end();
  EXPECT_EQ(kMark + std::string("=== otro\r\n\r\n") + kEndedBlock, log());
}

TEST_F(BegunRunTest, ThatWasKilledIsCalledInterruptedByTheNextOneWhichIsTold) {
  fake.files.put(kLog, kMark + runningBlock("0000feed-2f-0000000000000007"));
  EXPECT_TRUE(begin());
  EXPECT_THAT(log(), StartsWith(kMark + std::string("=== 15-11-2026 09:00:00 Copia manual: Gestion\r\n"
                                                    "  Resultado: interrumpido: el programa termin\xC3\xB3 antes que "
                                                    "la copia\r\n  Copia: D:\\Copias\\copia.qev\r\n")));
  EXPECT_THAT(log(), EndsWith(kRunningBlock));
  end();
  EXPECT_THAT(log(), HasSubstr("  Resultado: interrumpido: "));
  EXPECT_FALSE(begin()) << "the last one has ended well";
}

TEST_F(BegunRunTest, ThatWasARestoreSaysSo) {
  fake.files.put(kLog, runningBlock("0000feed-2f-0000000000000007", "Restauraci\xC3\xB3n"));
  EXPECT_TRUE(begin());
  EXPECT_THAT(log(),
              HasSubstr("  Resultado: interrumpido: el programa termin\xC3\xB3 antes que la restauraci\xC3\xB3n\r\n"));
}

TEST_F(BegunRunTest, OfAnotherTitleIsCalledInterruptedTooAndItsOwnNextRunIsTold) {
  fake.files.put(kLog, runningBlock("0000feed-2f-0000000000000007", "Copia", "N\xC3\xB3minas: 2026"));
  EXPECT_FALSE(begin());
  EXPECT_THAT(log(), Not(HasSubstr("0000feed-2f-")));
  end();
  run.title = L"N\u00f3minas: 2026";
  EXPECT_TRUE(begin());
}

TEST_F(BegunRunTest, OfAProcessThatMayLiveStaysUnderWay) {
  const std::string other = runningBlock("00000bad-7-0000000000000007") + runningBlock("ning\xC3\xBAn proceso");
  fake.files.put(kLog, other);
  EXPECT_FALSE(begin());
  EXPECT_THAT(log(), StartsWith(kMark + other));
}

TEST_F(BegunRunTest, WhoseEndCouldNotBeWrittenIsNotCalledInterrupted) {
  begin();
  fake.files.denyWriting(kLog);
  end();
  fake.files.allowWriting();
  EXPECT_EQ(kMark + std::string(kRunningBlock), log());
  run.start = moment(2026, 11, 17, 10, 30);
  EXPECT_FALSE(begin());
  EXPECT_THAT(log(), HasSubstr("\r\n  Resultado: no consta: no se pudo escribir en el registro\r\n  Copia: "));
  EXPECT_THAT(log(), HasSubstr("=== 17-11-2026 10:30:00 "));
}

TEST_F(BegunRunTest, WithTextsOfAnyLengthIsFoundAgain) {
  run.title = std::wstring(5000, L'\u20AC') + L"\r\n  Resultado: en marcha";
  run.set = L"D:\\\r\n  Proceso: falso";
  begin();
  EXPECT_THAT(log(), HasSubstr("en marcha\r\n  Proceso: 0000feed-1267-"));
  end();
  EXPECT_THAT(log(), Not(HasSubstr("\r\n  Resultado: en marcha")));
  EXPECT_THAT(log(), Not(HasSubstr("\r\n  Proceso: 0000feed")));
}

TEST_F(BegunRunTest, NeverFailsWhateverIsInTheLog) {
  const std::string running = runningBlock("0000feed-2f-0000000000000007");
  for (std::size_t size = 0; size <= running.size(); ++size) {
    fake.files.put(kLog, running.substr(0, size));
    begin();
    EXPECT_THAT(log(), EndsWith(kRunningBlock)) << size;
  }
}

TEST_F(BegunRunTest, WhateverFileOperationFailsTheLogIsWholeAndNothingIsThrown) {
  fake.files.put(kLog, kMark + runningBlock("0000feed-2f-0000000000000007"));
  const std::string before = log();
  for (std::size_t failing = 1; failing < 20; ++failing) {
    fake.files.failAt(failing, kDeviceInputOutput);
    begin();
    fake.files.failAt(0);
    EXPECT_TRUE(log() == before || log().ends_with(kRunningBlock)) << failing;
    fake.files.put(kLog, before);
  }
}

// Nothing is held while they are given: a run in one of them would take its turn in between.
TEST_F(BegunRunTest, GivesTheWindowsTheirMessagesOnlyUntilItsTurnComes) {
  fake.processes.busy = true;
  int given = 0;
  fake.eventLoop.onYield = [&] {
    ++given;
    EXPECT_TRUE(fake.processes.held.empty());
    fake.processes.busy = false;
  };
  begin();
  EXPECT_EQ(1, given);
  EXPECT_THAT(log(), EndsWith(kRunningBlock));
}

TEST_F(BegunRunTest, DoesWithoutTheLogWhereItsTurnNeverComes) {
  fake.processes.busy = true;
  EXPECT_FALSE(begin());
  end();
  EXPECT_EQ("<none>", log());
}

}  // namespace
}  // namespace qev::test
