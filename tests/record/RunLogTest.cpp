// The log on a real disk: two processes at once, a folder that cannot be written, a full disk, and what a run leaves
// in it.
#include "record/RunLog.h"

#include <gmock/gmock.h>

#include <windows.h>

#include <array>
#include <atomic>
#include <chrono>
#include <fstream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "backup/HacerCopia.h"
#include "platform/Handle.h"
#include "support/FakePlatform.h"
#include "support/OtherProcess.h"
#include "support/RecordingEngine.h"
#include "support/RecordingView.h"
#include "support/Silence.h"
#include "support/SmallDisk.h"
#include "support/TemporaryFolder.h"

namespace qev::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr wchar_t kChildVariable[] = L"QEV_LOG_CHILD";
constexpr int kRecordsOfAProcess = 40;

RunRecord recordOf(const std::wstring& title) {
  RunRecord record;
  record.kind = RunRecord::Kind::Manual;
  record.result = RunRecord::Result::Success;
  record.title = title;
  record.start = record.end = moment(2026, 11, 16, 10, 30);
  record.shown = std::wstring(2000, L'x');
  return record;
}

class RunLogTest : public testing::Test {
 protected:
  RunLogTest() { useFolder(folder_.path()); }

  void useFolder(const std::wstring& path) { fake_.workFolder.folder = path; }

  void add(const std::wstring& title) { RunLog(platform_).add(recordOf(title)); }

  std::string log() const { return folder_.bytes(L"registro.log"); }

  static std::vector<std::string> titlesIn(const std::string& log) {
    constexpr std::string_view before = " Copia manual: ";
    std::vector<std::string> titles;
    for (std::size_t at = log.find(before); at != std::string::npos; at = log.find(before, at + 1)) {
      titles.push_back(log.substr(at + before.size(), log.find('\r', at) - at - before.size()));
    }
    return titles;
  }

  TemporaryFolder folder_;
  FakePlatform fake_;
  Platform& system_ = systemPlatform();
  Platform platform_ = with(fake_.platform(), system_.files, system_.locale, system_.processes);
};

TEST_F(RunLogTest, BlocksFollowOneAnother) {
  add(L"Gestion");
  add(L"N\u00f3minas");
  EXPECT_THAT(log(), StartsWith("\xEF\xBB\xBF=== 16-11-2026 10:30:00 Copia manual: Gestion\r\n"));
  EXPECT_THAT(titlesIn(log()), ElementsAre("Gestion", "N\xC3\xB3minas"));
  EXPECT_THAT(folder_.list(), ElementsAre(L"registro.log"));
}

TEST_F(RunLogTest, TheLogKeepsToItsSizeAndLosesTheOldest) {
  folder_.write(L"registro.log", "=== " + std::string(3 << 20, 'x') + "\r\n\r\n=== penúltimo\r\n\r\n");
  add(L"Gestion");
  EXPECT_THAT(log().size(), testing::Lt(kMostLogBytes));
  EXPECT_THAT(log(), HasSubstr("\xBF=== pen\xC3\xBAltimo\r\n\r\n=== 16-11-2026"));
}

TEST_F(RunLogTest, WhatAKilledProcessLeftBesideTheLogGoesAndNothingElse) {
  folder_.write(L"qev123-0.tmp", "a medias");
  folder_.write(L"qevotro.txt", "de otro");
  folder_.makeFolder(L"temp");
  folder_.write(L"temp\\qev123-0.tmp", "de otro");
  add(L"Gestion");
  EXPECT_THAT(folder_.list(), ElementsAre(L"qevotro.txt", L"registro.log", L"temp"));
  EXPECT_EQ("de otro", folder_.bytes(L"temp\\qev123-0.tmp"));
}

TEST_F(RunLogTest, AWorkFolderThatIsMissingHasNoLogAndThatIsAll) {
  useFolder(folder_ / L"no est\u00e1");
  add(L"Gestion");
  EXPECT_THAT(folder_.list(), IsEmpty());
}

TEST_F(RunLogTest, ALogThatCannotBeReadStaysAsItIsAndTheRunDoesNotWaitLong) {
  folder_.write(L"registro.log", "=== viejo\r\n\r\n");
  const auto held = UniqueFile(CreateFileW((folder_ / L"registro.log").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                                           FILE_ATTRIBUTE_NORMAL, nullptr));
  ASSERT_TRUE(held);
  const ULONGLONG start = GetTickCount64();
  add(L"Gestion");
  EXPECT_LT(GetTickCount64() - start, 4000u);
  EXPECT_THAT(folder_.list(), ElementsAre(L"registro.log"));
}

TEST_F(RunLogTest, AFolderOfTheNameOfTheLogIsLeftAlone) {
  folder_.makeFolder(L"registro.log");
  add(L"Gestion");
  EXPECT_THAT(folder_.list(), ElementsAre(L"registro.log"));
  EXPECT_THAT(folder_.list(L"registro.log"), IsEmpty());
}

TEST_F(RunLogTest, AReadOnlyLogIsWrittenAllTheSame) {
  add(L"Gestion");
  SetFileAttributesW((folder_ / L"registro.log").c_str(), FILE_ATTRIBUTE_READONLY);
  add(L"Otra");
  EXPECT_THAT(titlesIn(log()), ElementsAre("Gestion", "Otra"));
}

TEST_F(RunLogTest, OnAFullDiskTheLogStaysWholeAndNothingElseIsLeft) {
  const auto disk = smallDisk();
  if (!disk) GTEST_SKIP() << kNoSmallDisk;
  const std::wstring log = *disk + L"\\registro.log";
  const std::wstring filler = *disk + L"\\relleno";
  useFolder(*disk);
  add(L"Gestion");
  const std::uint64_t size = system_.files.fileSize(log);
  EXPECT_GT(size, 0u);
  std::ofstream(filler.c_str(), std::ios::binary) << std::string(8 << 20, 'x');  // as much as there is room for
  add(L"Otra");
  EXPECT_EQ(size, system_.files.fileSize(log));
  std::vector<std::wstring> left;
  system_.files.walkFiles(
      *disk + L"\\",
      {.file = [&](const WalkedFile& file) { left.push_back(fileNamePart(file.path)); }, .gap = nullptr});
  EXPECT_THAT(left, testing::UnorderedElementsAre(L"registro.log", L"relleno"));
  DeleteFileW(filler.c_str());
  DeleteFileW(log.c_str());
}

// --- two hosts at once ---

// The other process: this program again, with this test alone.
TEST_F(RunLogTest, DISABLED_OtherProcess) {
  const wchar_t* folder = _wgetenv(kChildVariable);
  ASSERT_TRUE(folder);
  useFolder(folder);
  const std::wstring name = L"hija" + std::to_wstring(GetCurrentProcessId()) + L"-";
  for (int i = 0; i < kRecordsOfAProcess; ++i) add(name + std::to_wstring(i));
}

class WritingProcess {
 public:
  explicit WritingProcess(const std::wstring& workFolder) {
    std::array<wchar_t, MAX_PATH> program{};
    GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size()));
    std::wstring command = L"\"" + std::wstring(program.data()) +
                           L"\" --gtest_filter=RunLogTest.DISABLED_OtherProcess --gtest_also_run_disabled_tests";
    SetEnvironmentVariableW(kChildVariable, workFolder.c_str());
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION made{};
    if (CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, DETACHED_PROCESS, nullptr, nullptr, &startup,
                       &made)) {
      process_ = UniqueKernelHandle(made.hProcess);
      const UniqueKernelHandle thread(made.hThread);
    }
    SetEnvironmentVariableW(kChildVariable, nullptr);
  }

  // 0 when it ended well within a minute.
  DWORD result() const {
    DWORD code = 1;
    if (!process_ || WaitForSingleObject(process_.get(), 60'000) != WAIT_OBJECT_0) return 1;
    GetExitCodeProcess(process_.get(), &code);
    return code;
  }

 private:
  UniqueKernelHandle process_;
};

TEST_F(RunLogTest, TwoProcessesAtOnceLoseNoBlockAndTearNone) {
  const WritingProcess one(folder_.path());
  const WritingProcess two(folder_.path());
  for (int i = 0; i < kRecordsOfAProcess; ++i) add(L"madre-" + std::to_wstring(i));
  ASSERT_EQ(0u, one.result());
  ASSERT_EQ(0u, two.result());

  const std::vector<std::string> titles = titlesIn(log());
  EXPECT_EQ(3u * kRecordsOfAProcess, titles.size());
  EXPECT_EQ(titles.size(), std::set<std::string>(titles.begin(), titles.end()).size());
  const std::string whole = logBlock(recordOf(L"?"));
  std::size_t blocks = 0;
  std::string rest = log().substr(3);
  while (rest.starts_with("=== ")) {
    const std::size_t next = rest.find("\r\n\r\n") + 4;
    const std::size_t title = rest.find('\r') - rest.find("manual: ") - 8;
    EXPECT_EQ(whole.size() - 1 + title, next) << "block " << blocks;
    rest.erase(0, next);
    ++blocks;
  }
  EXPECT_EQ(titles.size(), blocks);
  EXPECT_THAT(rest, IsEmpty());
  EXPECT_THAT(folder_.list(), ElementsAre(L"registro.log"));
}

TEST_F(RunLogTest, AProcessThatKeepsTheLockCostsARecordAndAFewSecondsNoMore) {
  add(L"Gestion");
  std::atomic<bool> over = false;
  std::atomic<bool> taken = false;
  std::thread other([&] {
    // The name that RunLog gives to the lock of this log: FNV-1a of the path in capitals.
    std::uint64_t hash = 0xcbf29ce484222325;
    for (const wchar_t c : system_.locale.upper(RunLog(platform_).path())) {
      hash = (hash ^ static_cast<std::uint64_t>(c)) * 0x100000001b3;
    }
    const std::wstring name = L"Global\\QevBackup-registro-" + std::to_wstring(hash);
    const UniqueKernelHandle mutex(CreateMutexW(nullptr, TRUE, name.c_str()));
    taken = GetLastError() == 0;
    while (!over) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    ReleaseMutex(mutex.get());
  });
  while (!taken) std::this_thread::sleep_for(std::chrono::milliseconds(20));
  const ULONGLONG start = GetTickCount64();
  add(L"Perdida");
  const ULONGLONG waited = GetTickCount64() - start;
  over = true;
  other.join();
  EXPECT_GE(waited, 1500u);
  EXPECT_LT(waited, 4000u);
  add(L"Otra");
  EXPECT_THAT(titlesIn(log()), ElementsAre("Gestion", "Otra"));
}

// --- a process that is killed ---

TEST_F(RunLogTest, DISABLED_BeginsARun) {
  const wchar_t* folder = _wgetenv(kChildVariable);
  ASSERT_TRUE(folder);
  useFolder(folder);
  RunLog(platform_).begin(recordOf(L"Gestion"));
  OtherProcess::signalAndSleep();
}

TEST_F(RunLogTest, ARunWhoseProcessIsKilledIsUnderWayUntilTheNextOneFindsOut) {
  SetEnvironmentVariableW(kChildVariable, folder_.path().c_str());
  const OtherProcess other(L"RunLogTest.DISABLED_BeginsARun");
  ASSERT_TRUE(other.hasSignalled());
  EXPECT_THAT(log(), HasSubstr(" Copia manual: Gestion\r\n  Resultado: en marcha\r\n  Proceso: "));
  RunRecord next = recordOf(L"Gestion");
  EXPECT_FALSE(RunLog(platform_).begin(next)) << "it may come to its end yet";
  RunLog(platform_).end(next);
  EXPECT_THAT(log(), HasSubstr("en marcha"));
  other.kill();
  EXPECT_FALSE(RunLog(platform_).begin(recordOf(L"Otra")));
  EXPECT_THAT(log(), HasSubstr("  Resultado: interrumpido: el programa termin\xC3\xB3 antes que la copia\r\n"));
}

// A run in one of the messages would write its block in this one's turn: the lock lets its own thread through.
TEST_F(RunLogTest, WhileSomebodyHoldsTheLogTheWindowsGetNoMessages) {
  add(L"Gestion");
  const auto held = UniqueFile(CreateFileW((folder_ / L"registro.log").c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                           OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  ASSERT_TRUE(held);
  const Silence silence;
  const ULONGLONG start = GetTickCount64();
  add(L"Otra");
  EXPECT_GE(GetTickCount64() - start, 900u) << "it waits";
  EXPECT_EQ(0, silence.ticks());
  EXPECT_LT(silence.longest(), kLongestSilence);
  EXPECT_THAT(titlesIn(log()), ElementsAre("Gestion"));
}

// --- what a run leaves in it ---

class LoggedRun : public RunLogTest {
 protected:
  LoggedRun() {
    host_.title = L"Gestion";
    host_.settingsKey = L"Software\\Gestion";
    host_.dataFolder = folder_ / L"Prog\\Datos\\Emp01\\";
    folder_.write(L"Prog\\Datos\\Emp01\\clientes.db", std::string(100'000, 'c'));
    folder_.write(L"Prog\\Datos\\Emp01\\A\u00f1o\\facturas.db", std::string(50'000, 'f'));
    folder_.write(L"Prog\\Util.mde", "utilidades");
    folder_.write(L"Prog\\Gestion.ini", "[Gestion]");
    folder_.makeFolder(L"trabajo\\temp");
    useFolder(folder_ / L"trabajo");
  }

  void run() { BackupRun(platform_, host_, kAutomatic, settings_, view_).HacerCopia(folder_ / L"copia.qev"); }
  std::string runLog() const { return folder_.bytes(L"trabajo\\registro.log"); }

  HostSettings host_;
  SettingsStore settings_{fake_.registry, host_.settingsKey};
  RecordingView view_;
};

TEST_F(LoggedRun, ASuccessIsRecordedWithItsFilesAndBytes) {
  run();
  ASSERT_TRUE(view_.succeeded);
  const std::string text = runLog();
  EXPECT_THAT(
      text,
      HasSubstr("=== 16-11-2026 10:30:00 Copia autom\xC3\xA1tica: Gestion\r\n  Resultado: correcto\r\n  Copia: "));
  EXPECT_THAT(text, HasSubstr("\r\n  Archivos: 4\r\n  Bytes: 150019\r\n"));
  EXPECT_THAT(text, HasSubstr("  C\xC3\xB3"
                              "digo del motor: 0\r\n"));
  EXPECT_THAT(text, Not(HasSubstr("Avisos del motor")));
  EXPECT_THAT(text, HasSubstr("    |  La copia de seguridad se ha realizado correctamente.\r\n"));
}

TEST_F(LoggedRun, AFileThatAnotherProgramHasOpenIsASuccessForTheWindowAndTroubleInTheLog) {
  const auto held = UniqueFile(CreateFileW((host_.dataFolder + L"clientes.db").c_str(), GENERIC_READ, 0, nullptr,
                                           OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  ASSERT_TRUE(held);
  run();
  ASSERT_TRUE(view_.succeeded);
  EXPECT_THAT(runLog(), HasSubstr("  Resultado: correcto\r\n  Avisos del motor: c\xC3\xB3"
                                  "digo 18, "));
  EXPECT_THAT(runLog(), HasSubstr("clientes.db\r\n"));
  EXPECT_THAT(runLog(), HasSubstr("  Archivos: 3\r\n"));
}

TEST_F(LoggedRun, AFailureIsRecordedWithItsErrorAndTheTextThatWasShown) {
  BackupRun(platform_, host_, kAutomatic, settings_, view_).HacerCopia(folder_ / L"no est\u00e1\\copia.qev");
  ASSERT_FALSE(view_.succeeded);
  EXPECT_THAT(runLog(), HasSubstr("  Resultado: con errores\r\n"));
  EXPECT_THAT(runLog(), HasSubstr("\r\n  Error: 76-"));
  EXPECT_THAT(runLog(), HasSubstr("    | No se ha podido realizar la copia de seguridad de Gestion.\r\n"));
}

TEST_F(LoggedRun, ARefusedRunIsRecordedToo) {
  folder_.write(L"copia.qev", "la de hoy");
  fake_.messages.willAnswer({Answer::No});
  run();
  EXPECT_THAT(runLog(), HasSubstr("  Resultado: no realizado: no se reemplaza la copia que ya existe\r\n"));
}

TEST_F(LoggedRun, WhateverKeepsTheLogFromBeingWrittenTheRunIsASuccess) {
  useFolder(folder_ / L"no est\u00e1");
  run();
  EXPECT_TRUE(view_.succeeded);
  EXPECT_EQ(Value(std::wstring(L"Ultima copia de seguridad realizada correctamente")),
            fake_.registry.read(host_.settingsKey, L"Estado", kLocalMachine));
}

}  // namespace
}  // namespace qev::test
