// One backup run with files, settings, clock, messages and drives of the test's own and an engine that records: every
// step and every end of it.
#include "backup/HacerCopia.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "set/LastSet.h"
#include "support/FakePlatform.h"
#include "support/RecordingView.h"
#include "support/ScriptedEngine.h"

namespace qev::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr wchar_t kTarget[] = L"D:\\Copias\\Backup16-11-26.qev";
constexpr wchar_t kWorkingCopy[] = L"C:\\Trabajo\\temp\\copia.zip";
constexpr wchar_t kOnFloppy[] = L"A:\\Backup16-11-26.qev";
constexpr wchar_t kGood[] = L"Ultima copia de seguridad realizada correctamente";

// The header line of the sets of these tests, in code page 1252.
constexpr char kHeader[] =
    "Programa : Gestion;Fecha Creaci\xF3n : 16/11/2026;Total de Vol\xFAmenes :1;N\xFAmero de Vol\xFAmen :1;"
    "Directorio : C:;\r\n";

constexpr wchar_t kSuccess[] =
    L" La copia de seguridad se ha realizado correctamente.\r\n Origen: Datos del programa Gestion\r\n Destino: ";

class HacerCopiaTest : public testing::Test {
 protected:
  HacerCopiaTest() {
    host.title = L"Gestion";
    host.dataFolder = L"C:\\Prog\\Datos\\Emp01\\";
    host.settingsKey = L"Software\\Gestion";
    kind = kAutomatic;
    fake.files.put(L"C:\\Prog\\Datos\\Emp01\\clientes.db", std::string(600, 'c'));
    fake.files.put(L"C:\\Prog\\Datos\\Emp01\\Año\\facturas.db", std::string(300, 'f'));
    fake.files.put(L"C:\\Prog\\Util.mde", std::string(60, 'u'));
    fake.files.put(L"C:\\Prog\\Gestion.ini", std::string(40, 'i'));
    fake.files.putFolder(L"D:\\Copias");
    fake.files.putFolder(L"A:\\");
    archivesAs("PK archivo");
  }

  // The engine makes an archive of these bytes and answers `code`.
  void archivesAs(const std::string& bytes, int code = 0) {
    engine.work = [this, bytes, code] {
      fake.files.put(engine.request.archive, bytes);
      return code;
    };
  }

  // The engine says `message` and makes no archive.
  void failsToArchive(const std::wstring& message, int code) {
    engine.work = [this, message, code] {
      engine.say(message);
      return code;
    };
  }

  void set(const wchar_t* name, const Value& value) { fake.registry.put(host.settingsKey, name, value); }
  Value setting(const wchar_t* name) { return fake.registry.read(host.settingsKey, name, kLocalMachine); }

  // A schedule that makes 22:00 of the present day the next moment.
  void scheduleDaily() {
    set(L"Copia", std::int32_t{2});
    set(L"Programar", std::wstring(L"Diariamente"));
    set(L"HoraInicio", std::wstring(L"22:00"));
    set(L"DDias", std::int32_t{1});
    set(L"DMes", std::int32_t{1});
  }

  void run(const std::wstring& target = kTarget) {
    BackupRun(fake.platform(), host, kind, settings, view, engine.loader(), tester.loader()).HacerCopia(target);
  }

  static std::wstring plainFailure(const std::wstring& target, const std::wstring& error) {
    return L"No se ha podido realizar la copia de seguridad de Gestion.\r\n\r\nDestino: " + target +
           L"\r\nFecha/Hora: 16-11-2026 10:30\r\nError: " + error;
  }

  static std::wstring scheduledFailure(const std::wstring& target, const std::wstring& error, const std::wstring& day,
                                       const std::wstring& time) {
    return L"Se ha intentado realizar la copia de seguridad de Gestion sin éxito.\r\n\r\nDestino: " + target +
           L"\r\nError: " + error + L"\r\n\r\nLa próxima copia de seguridad se realizará el día " + day + L" a las " +
           time;
  }

  FakePlatform fake;
  HostSettings host;
  std::uint8_t kind = kManual;
  SettingsStore settings{fake.registry, host.settingsKey};
  RecordingView view;
  ScriptedZip engine;
  ScriptedUnzip tester;
};

// --- The run that succeeds ---

TEST_F(HacerCopiaTest, ARunGoesThroughItsStatesInOrder) {
  run();
  EXPECT_THAT(view.events,
              ElementsAre(L"busy", L"origin: Datos del programa", L"destination: D:\\Copias\\Backup16-11-26.qev",
                          L"result: Realizando copia de seguridad...", L"idle",
                          std::wstring(L"success:") + kSuccess + kTarget, L"timer stopped"));
  EXPECT_EQ(fake.sound.beeps, 1);
  EXPECT_THAT(fake.messages.shown, IsEmpty());
}

TEST_F(HacerCopiaTest, TheDataFolderTheUtilitiesAndTheHostsSettingsAreArchivedInThisOrder) {
  run();
  EXPECT_THAT(engine.request.names,
              ElementsAre(L"querty", L"C:\\Prog\\Datos\\Emp01\\*.*", L"C:\\Prog\\Util.mde", L"C:\\Prog\\Gestion.ini"));
}

TEST_F(HacerCopiaTest, SubfoldersAreArchivedAndTheArchiveIsNewAndNotAnUpdate) {
  run();
  EXPECT_EQ(engine.request.recurse, 2);
  EXPECT_EQ(engine.request.update, 0);
  EXPECT_EQ(engine.request.root, L"\\");
}

TEST_F(HacerCopiaTest, TheArchiveIsBuiltBesideTheTargetUnderANameOfItsOwn) {
  run();
  EXPECT_EQ(parentFolderName(engine.request.archive), L"D:\\Copias");
  EXPECT_NE(engine.request.archive, kTarget);
  EXPECT_THAT(fake.files.list(L"D:\\Copias"), ElementsAre(L"Backup16-11-26.qev"));
}

TEST_F(HacerCopiaTest, ADataFolderWithoutItsLastBackslashGetsIt) {
  host.dataFolder = L"C:\\Prog\\Datos\\Emp01";
  run();
  EXPECT_EQ(engine.request.names.at(1), L"C:\\Prog\\Datos\\Emp01\\*.*");
  EXPECT_EQ(engine.request.names.at(2), L"C:\\Prog\\Util.mde");
}

TEST_F(HacerCopiaTest, ADataFolderThatIsNotToldIsNoFolderThatHappensToBeCurrent) {
  for (const wchar_t* folder : {L"", L"Datos\\", L"\\Prog\\Datos\\Emp01\\", L"C:", L"C:Datos\\"}) {
    host.dataFolder = folder;
    run();
    EXPECT_THAT(view.failure, HasSubstr(L"\r\nError: 76-")) << folder;
  }
  EXPECT_EQ(engine.loads, 0);
}

TEST_F(HacerCopiaTest, ABackupFolderThatIsNotToldIsNotOneThatHappensToBeCurrent) {
  run(L"Backup\\Backup16-11-26.qev");
  EXPECT_THAT(view.failure, HasSubstr(L"\r\nError: 76-"));
  EXPECT_EQ(engine.loads, 0);
}

TEST_F(HacerCopiaTest, ADataFolderOneLevelBelowTheRootHasItsUtilitiesInTheRoot) {
  fake.files.putFolder(L"C:\\Gestion\\Datos");
  host.dataFolder = L"C:\\Gestion\\Datos\\";
  run();
  EXPECT_EQ(engine.request.names.at(2), L"C:\\\\Util.mde");
}

TEST_F(HacerCopiaTest, ADataFolderInTheRootHasItsUtilitiesOnItsOwnDrive) {
  fake.files.putFolder(L"E:\\Datos");
  host.dataFolder = L"E:\\Datos\\";
  run();
  EXPECT_EQ(engine.request.names.at(2), L"E:\\Util.mde");
}

TEST_F(HacerCopiaTest, TheHostsSettingsFileIsNamedAfterTheTitle) {
  host.title = L"Nóminas";
  run();
  EXPECT_EQ(engine.request.names.at(3), L"C:\\Prog\\Nóminas.ini");
}

TEST_F(HacerCopiaTest, TheSetGetsAHeaderOfOneVolumeTheFirstAndTheDriveOfTheDataFolder) {
  run();
  EXPECT_EQ(fake.files.bytes(kTarget), std::string(kHeader) + "PK archivo");
}

TEST_F(HacerCopiaTest, TheDriveInTheHeaderIsThatOfTheDataFolderAndNotOfTheTarget) {
  fake.files.putFolder(L"E:\\Prog\\Datos\\Emp01");
  host.dataFolder = L"E:\\Prog\\Datos\\Emp01\\";
  run();
  EXPECT_THAT(fake.files.bytes(kTarget), HasSubstr("Directorio : E:;\r\n"));
}

TEST_F(HacerCopiaTest, ASetIsTheLastOfItsProcessAndCreatedNowOnceItStandsUnderItsName) {
  setLastSet(L"");
  fake.files.now = moment(2026, 11, 16, 10, 31);
  failsToArchive(L"", 12);
  run();
  EXPECT_EQ(lastSet(), L"");
  archivesAs("PK archivo");
  run();
  EXPECT_EQ(lastSet(), kTarget);
  EXPECT_EQ(fake.files.filesIn(L"D:\\Copias").at(0).created, fake.files.now);
}

TEST_F(HacerCopiaTest, SuccessIsRecordedWithItsMoment) {
  run();
  EXPECT_EQ(setting(L"Estado"), Value(std::wstring(kGood)));
  EXPECT_EQ(setting(L"UltimaCopia"), Value(std::wstring(L"16-11-2026 10:30")));
}

TEST_F(HacerCopiaTest, TheMomentsOfASuccessAreThoseOfItsEnd) {
  fake.clock.set(2026, 11, 16, 23, 59);
  engine.work = [this] {
    fake.files.put(engine.request.archive, "PK");
    fake.clock.set(2026, 11, 17, 0, 1);
    return 0;
  };
  run();
  EXPECT_EQ(setting(L"UltimaCopia"), Value(std::wstring(L"17-11-2026 00:01")));
  EXPECT_THAT(fake.files.bytes(kTarget), HasSubstr("17/11/2026"));
}

TEST_F(HacerCopiaTest, TheEnginesCodeIsNotLookedAtWhenThereIsAnArchive) {
  archivesAs("PK casi todo", 18);
  run();
  EXPECT_EQ(view.textOf(L"success"), std::wstring(kSuccess) + kTarget);
  EXPECT_EQ(fake.files.bytes(kTarget), std::string(kHeader) + "PK casi todo");
}

TEST_F(HacerCopiaTest, ProgressIsShownByBytesArchived) {
  engine.work = [this] {
    engine.say(L"  adding: Prog/Datos/Emp01/clientes.db (deflated 60%)\r\n");
    engine.say(L"  adding: Prog/Util.mde (stored 0%)\r\n");
    fake.files.put(kTarget, "PK");
    return 0;
  };
  run();
  EXPECT_THAT(view.progress, ElementsAre(600, 660));
}

TEST_F(HacerCopiaTest, WaitingMessagesOfTheWindowAreLetThroughAtEachEngineMessage) {
  int yields = 0;
  engine.work = [&] {
    const int before = fake.eventLoop.yields;
    engine.say(L"uno\r\n");
    engine.say(L"dos\r\n");
    yields = fake.eventLoop.yields - before;
    fake.files.put(kTarget, "PK");
    return 0;
  };
  run();
  EXPECT_EQ(yields, 2);
}

// --- A target that exists ---

TEST_F(HacerCopiaTest, ASecondAutomaticRunOnTheSameDayAsksAndNoClosesTheWindowWithoutTouchingAnything) {
  fake.files.put(kTarget, "la copia de hoy");
  fake.messages.willAnswer({Answer::No});
  run();
  EXPECT_THAT(fake.messages.shown,
              ElementsAre(FakeMessages::Shown{L"Hoy ya se ha realizado una copia de seguridad, ¿Desea reemplazarla?",
                                              L"Gestion", message::kYesNo | message::kQuestion}));
  EXPECT_THAT(view.events, ElementsAre(L"busy", L"timer stopped", L"idle", L"closed"));
  EXPECT_THAT(fake.registry.writes, IsEmpty());
  EXPECT_EQ(engine.loads, 0);
  EXPECT_EQ(fake.files.bytes(kTarget), "la copia de hoy");
  EXPECT_EQ(fake.sound.beeps, 0);
}

TEST_F(HacerCopiaTest, ASecondScheduledRunOnTheSameDayAsksTheSameAndNoTouchesNothing) {
  kind = kScheduled;
  scheduleDaily();
  fake.files.put(kTarget, "la copia de hoy");
  fake.messages.willAnswer({Answer::No});
  run();
  EXPECT_EQ(fake.messages.shown.at(0).text, L"Hoy ya se ha realizado una copia de seguridad, ¿Desea reemplazarla?");
  EXPECT_THAT(fake.registry.writes, IsEmpty());
  EXPECT_THAT(view.events, ElementsAre(L"busy", L"timer stopped", L"idle", L"closed"));
}

TEST_F(HacerCopiaTest, AManualRunAsksWhetherTheChosenFileMayBeReplaced) {
  kind = kManual;
  fake.files.put(kTarget, "otra");
  fake.messages.willAnswer({Answer::No});
  run();
  EXPECT_THAT(fake.messages.shown,
              ElementsAre(FakeMessages::Shown{L"El nombre del archivo seleccionado ya existe, ¿Desea reemplazarlo?",
                                              L"Gestion", message::kYesNo | message::kQuestion}));
}

TEST_F(HacerCopiaTest, AKindThatIsNoneOfTheThreeAsksAsAnAutomaticRunDoes) {
  kind = 7;
  fake.files.put(kTarget, "otra");
  fake.messages.willAnswer({Answer::No});
  run();
  EXPECT_EQ(fake.messages.shown.at(0).text, L"Hoy ya se ha realizado una copia de seguridad, ¿Desea reemplazarla?");
}

TEST_F(HacerCopiaTest, YesReplacesTheOldFileWhichIsThereUntilTheNewOneIs) {
  fake.files.put(kTarget, "la copia de hoy");
  fake.messages.willAnswer({Answer::Yes});
  std::string meanwhile;
  engine.work = [&] {
    meanwhile = fake.files.bytes(kTarget);
    fake.files.put(engine.request.archive, "PK nueva");
    return 0;
  };
  run();
  EXPECT_EQ(meanwhile, "la copia de hoy");
  EXPECT_EQ(fake.files.bytes(kTarget), std::string(kHeader) + "PK nueva");
  EXPECT_EQ(setting(L"Estado"), Value(std::wstring(kGood)));
}

TEST_F(HacerCopiaTest, AnOldFileAmongTheDataGoesFirstSoThatItIsNotArchived) {
  const std::wstring target = L"c:\\PROG\\Datos\\Emp01\\copia.qev";
  fake.files.put(target, "la copia de hoy");
  fake.messages.willAnswer({Answer::Yes});
  bool isThere = true;
  engine.work = [&] {
    isThere = fake.files.fileExists(target);
    fake.files.put(engine.request.archive, "PK nueva");
    return 0;
  };
  run(target);
  EXPECT_FALSE(isThere);
  EXPECT_EQ(fake.files.bytes(target), std::string(kHeader) + "PK nueva");
}

TEST_F(HacerCopiaTest, AnyAnswerButYesIsANo) {
  fake.files.put(kTarget, "la copia de hoy");
  fake.messages.willAnswer({Answer::Cancel});
  run();
  EXPECT_EQ(engine.loads, 0);
  EXPECT_EQ(fake.files.bytes(kTarget), "la copia de hoy");
}

TEST_F(HacerCopiaTest, WhereThereIsNoRoomForBothTheOldFileGoes) {
  fake.files.put(kTarget, std::string(5000, 'v'));
  fake.messages.willAnswer({Answer::Yes});
  archivesAs(std::string(3000, 'n'));
  std::uint64_t taken = 0;
  for (const std::wstring& path : fake.files.paths()) {
    if (path != kTarget) taken += fake.files.content(path).size();
  }
  fake.files.capacity = taken + 8000;  // the archive, the set and the log; not the old set too
  run();
  EXPECT_TRUE(view.succeeded) << fake.locale.ansiFromText(view.failure);
  EXPECT_THAT(fake.files.bytes(kTarget), testing::EndsWith(std::string(3000, 'n')));
}

TEST_F(HacerCopiaTest, WhileAnotherRunMakesTheSameSetASecondOneSaysSoAndChangesNothing) {
  fake.processes.busy = true;
  fake.files.put(kTarget, "la copia de hoy");
  run();
  EXPECT_EQ(view.textOf(L"failure"), plainFailure(kTarget, L"70-Otra copia de seguridad está en marcha"));
  EXPECT_EQ(engine.loads, 0);
  EXPECT_THAT(fake.messages.shown, IsEmpty());
  EXPECT_EQ(fake.files.bytes(kTarget), "la copia de hoy");
}

TEST_F(HacerCopiaTest, RunsToDifferentTargetsDoNotWaitForOneAnother) {
  run();
  run(L"D:\\Copias\\otra.qev");
  std::set<std::wstring> locks;
  for (const std::wstring& name : fake.processes.asked) {
    if (name.starts_with(L"QevBackup-copia-")) locks.insert(name);
  }
  EXPECT_EQ(locks.size(), 2u);
  EXPECT_TRUE(fake.processes.held.empty());
}

TEST_F(HacerCopiaTest, YesDeletesAReadOnlyFileToo) {
  fake.files.put(kTarget, "la copia de hoy");
  fake.files.makeReadOnly(kTarget);
  fake.messages.willAnswer({Answer::Yes});
  run();
  EXPECT_EQ(fake.files.bytes(kTarget), std::string(kHeader) + "PK archivo");
}

TEST_F(HacerCopiaTest, AnOldFileThatCannotBeDeletedEndsInFailureAndStays) {
  fake.files.put(kTarget, "la copia de hoy");
  const auto reader = fake.files.openForReading(kTarget);
  fake.messages.willAnswer({Answer::Yes});
  run();
  EXPECT_EQ(view.textOf(L"failure"), plainFailure(kTarget, L"70-Permiso denegado"));
  EXPECT_EQ(engine.loads, 0);
  EXPECT_EQ(fake.files.bytes(kTarget), "la copia de hoy");
}

TEST_F(HacerCopiaTest, TheQuestionIsAskedUnderTheHourglassAndBeforeAnyTextIsShown) {
  fake.files.put(kTarget, "otra");
  fake.messages.willAnswer({Answer::No});
  std::vector<std::wstring> before;
  fake.messages.onShow = [&](const FakeMessages::Shown&) { before = view.events; };
  run();
  EXPECT_THAT(before, ElementsAre(L"busy"));
}

// --- After success ---

TEST_F(HacerCopiaTest, WithScheduledBackupsOnSuccessRecomputesTheNextOne) {
  scheduleDaily();
  run();
  EXPECT_EQ(setting(L"ProximaCopia"), Value(std::wstring(L"16-11-2026 22:00")));
}

TEST_F(HacerCopiaTest, TheNextOneIsRecomputedAfterTheSuccessIsRecorded) {
  scheduleDaily();
  run();
  ASSERT_EQ(fake.registry.writes.size(), 3u);
  EXPECT_EQ(fake.registry.writes[0].first, L"Estado");
  EXPECT_EQ(fake.registry.writes[1].first, L"UltimaCopia");
  EXPECT_EQ(fake.registry.writes[2].first, L"ProximaCopia");
}

TEST_F(HacerCopiaTest, CopiaStoredAsTextCountsByItsNumber) {
  scheduleDaily();
  set(L"Copia", std::wstring(L"2"));
  run();
  EXPECT_EQ(setting(L"ProximaCopia"), Value(std::wstring(L"16-11-2026 22:00")));
}

TEST_F(HacerCopiaTest, WithoutScheduledBackupsSuccessLeavesTheNextOneAsItIs) {
  for (const Value& mode : {Value{}, Value(std::int32_t{0}), Value(std::int32_t{1}), Value(std::wstring(L"abc"))}) {
    set(L"Copia", mode);
    set(L"ProximaCopia", std::wstring(L"01-01-2027 08:00"));
    if (fake.files.fileExists(kTarget)) fake.files.deleteFile(kTarget, true);
    run();
    EXPECT_EQ(setting(L"ProximaCopia"), Value(std::wstring(L"01-01-2027 08:00")));
  }
}

TEST_F(HacerCopiaTest, CerrarClosesTheWindowAfterAnAutomaticSuccess) {
  set(L"Cerrar", std::int32_t{1});
  run();
  EXPECT_EQ(view.events.back(), L"closed");
  EXPECT_THAT(view.textOf(L"success"), Not(L"<none>"));
}

TEST_F(HacerCopiaTest, CerrarStoredAsTextClosesToo) {
  set(L"Cerrar", std::wstring(L"1"));
  run();
  EXPECT_EQ(view.events.back(), L"closed");
}

TEST_F(HacerCopiaTest, CerrarClosesTheWindowAfterAScheduledSuccess) {
  kind = kScheduled;
  set(L"Cerrar", std::int32_t{1});
  run();
  EXPECT_EQ(view.events.back(), L"closed");
}

TEST_F(HacerCopiaTest, CerrarNeverClosesTheWindowAfterAManualSuccess) {
  kind = kManual;
  set(L"Cerrar", std::int32_t{1});
  run();
  EXPECT_FALSE(view.did(L"closed"));
}

TEST_F(HacerCopiaTest, AKindThatIsNoneOfTheThreeStaysOpenAsAManualRunDoes) {
  kind = 7;
  set(L"Cerrar", std::int32_t{1});
  run();
  EXPECT_THAT(view.textOf(L"success"), Not(L"<none>"));
  EXPECT_FALSE(view.did(L"closed"));
}

TEST_F(HacerCopiaTest, CerrarNeverClosesTheWindowAfterAFailure) {
  for (const std::uint8_t each : {kManual, kAutomatic, kScheduled}) {
    kind = each;
    set(L"Cerrar", std::int32_t{1});
    failsToArchive(L"zip error: disk full\r\n", 14);
    run();
    EXPECT_FALSE(view.did(L"closed"));
  }
}

TEST_F(HacerCopiaTest, OtherValuesOfCerrarLeaveTheWindowOpen) {
  for (const Value& value : {Value{}, Value(std::int32_t{0}), Value(std::int32_t{2}), Value(std::wstring(L"no"))}) {
    set(L"Cerrar", value);
    if (fake.files.fileExists(kTarget)) fake.files.deleteFile(kTarget, true);
    run();
    EXPECT_FALSE(view.did(L"closed"));
  }
}

TEST_F(HacerCopiaTest, AScheduleThatCannotBeComputedTurnsSuccessIntoFailureButTheSetAndItsMomentStay) {
  scheduleDaily();
  set(L"HoraInicio", std::wstring(L"25:99"));
  set(L"ProximaCopia", std::wstring(L"01-01-2027 08:00"));
  set(L"Cerrar", std::int32_t{1});
  run();
  const std::wstring text = plainFailure(kTarget, L"13-No coinciden los tipos");
  EXPECT_EQ(view.textOf(L"failure"), text);
  EXPECT_EQ(setting(L"Estado"), Value(text));
  EXPECT_EQ(setting(L"UltimaCopia"), Value(std::wstring(L"16-11-2026 10:30")));
  EXPECT_EQ(setting(L"ProximaCopia"), Value(std::wstring(L"01-01-2027 08:00")));
  EXPECT_EQ(fake.files.bytes(kTarget), std::string(kHeader) + "PK archivo");
  EXPECT_FALSE(view.did(L"closed"));
}

// --- Failure ---

TEST_F(HacerCopiaTest, FailureWithoutScheduledBackupsIsShownAndRecordedWithTheMomentTheNumberAndTheDescription) {
  for (const Value& mode : {Value{}, Value(std::int32_t{0}), Value(std::int32_t{1}), Value(std::wstring(L"abc"))}) {
    set(L"Copia", mode);
    fake.files.denyWriting(kTarget, kDiskFull);
    if (fake.files.fileExists(kTarget)) fake.files.deleteFile(kTarget, true);
    run();
    EXPECT_EQ(view.textOf(L"failure"), plainFailure(kTarget, L"61-Disco lleno"));
    EXPECT_EQ(setting(L"Estado"), Value(plainFailure(kTarget, L"61-Disco lleno")));
  }
}

TEST_F(HacerCopiaTest, AFailureEndsIdleWithOneBeepAndTheTimerStopped) {
  fake.files.denyWriting(kTarget, kDiskFull);
  run();
  EXPECT_THAT(view.events,
              ElementsAre(L"busy", L"origin: Datos del programa", L"destination: D:\\Copias\\Backup16-11-26.qev",
                          L"result: Realizando copia de seguridad...", L"idle",
                          L"failure:" + plainFailure(kTarget, L"61-Disco lleno"), L"timer stopped"));
  EXPECT_EQ(fake.sound.beeps, 1);
}

TEST_F(HacerCopiaTest, AFailureLeavesTheLastBackupAsItWas) {
  set(L"UltimaCopia", std::wstring(L"01-10-2026 09:00"));
  fake.files.denyWriting(kTarget, kDiskFull);
  run();
  EXPECT_EQ(setting(L"UltimaCopia"), Value(std::wstring(L"01-10-2026 09:00")));
  ASSERT_EQ(fake.registry.writes.size(), 1u);
  EXPECT_EQ(fake.registry.writes[0].first, L"Estado");
}

TEST_F(HacerCopiaTest, WithScheduledBackupsOnFailureRecomputesTheNextOneAndTellsIt) {
  scheduleDaily();
  set(L"ProximaCopia", std::wstring(L"15-11-2026 22:00"));
  fake.files.denyWriting(kTarget, kDiskFull);
  run();
  const std::wstring text = scheduledFailure(kTarget, L"61-Disco lleno", L"16-11-2026", L"22:00");
  EXPECT_EQ(view.textOf(L"failure"), text);
  EXPECT_EQ(setting(L"Estado"), Value(text));
  EXPECT_EQ(setting(L"ProximaCopia"), Value(std::wstring(L"16-11-2026 22:00")));
}

TEST_F(HacerCopiaTest, WithoutANextOneAFailureTellsThePresentMoment) {
  scheduleDaily();
  set(L"Programar", std::wstring(L"Nunca"));
  fake.files.denyWriting(kTarget, kDiskFull);
  run();
  EXPECT_EQ(view.textOf(L"failure"), scheduledFailure(kTarget, L"61-Disco lleno", L"16-11-2026", L"10:30"));
}

TEST_F(HacerCopiaTest, AnyModeAboveOneTellsTheNextOne) {
  scheduleDaily();
  set(L"Copia", std::wstring(L"3"));
  fake.files.denyWriting(kTarget, kDiskFull);
  run();
  EXPECT_EQ(view.textOf(L"failure"), scheduledFailure(kTarget, L"61-Disco lleno", L"16-11-2026", L"22:00"));
}

TEST_F(HacerCopiaTest, WithAStartTimeThatIsNoneAFailureIsToldWithoutANextOneAndTheSettingsKeepTheirValues) {
  scheduleDaily();
  set(L"HoraInicio", std::wstring(L"25:99"));
  set(L"ProximaCopia", std::wstring(L"01-01-2027 08:00"));
  fake.files.denyWriting(kTarget, kDiskFull);
  run();
  EXPECT_EQ(view.textOf(L"failure"), plainFailure(kTarget, L"61-Disco lleno"));
  EXPECT_EQ(setting(L"HoraInicio"), Value(std::wstring(L"25:99")));
  EXPECT_EQ(setting(L"ProximaCopia"), Value(std::wstring(L"01-01-2027 08:00")));
}

TEST_F(HacerCopiaTest, SettingsThatRefuseToBeWrittenEndInAFailureThatIsStillShown) {
  fake.registry.writeError = kPermissionDenied;
  run();
  EXPECT_EQ(view.textOf(L"failure"), plainFailure(kTarget, L"70-Permiso denegado"));
  EXPECT_EQ(view.textOf(L"success"), L"<none>");
  EXPECT_EQ(fake.sound.beeps, 1);
  EXPECT_EQ(view.events.back(), L"timer stopped");
}

TEST_F(HacerCopiaTest, SettingsThatRefuseToBeWrittenDoNotHideAnEarlierFailure) {
  scheduleDaily();
  fake.registry.writeError = kPermissionDenied;
  fake.files.denyWriting(kTarget, kDiskFull);
  run();
  EXPECT_EQ(view.textOf(L"failure"), plainFailure(kTarget, L"61-Disco lleno"));
  EXPECT_EQ(fake.sound.beeps, 1);
  EXPECT_EQ(view.events.back(), L"timer stopped");
}

TEST_F(HacerCopiaTest, SettingsThatRefuseToBeReadEndInFailure) {
  engine.onLoad = [this] { fake.registry.readError = kPermissionDenied; };  // from the beginning it would be a safe run
  run();
  EXPECT_EQ(view.textOf(L"failure"), plainFailure(kTarget, L"70-Permiso denegado"));
  EXPECT_EQ(fake.sound.beeps, 2);  // of the success that was shown first, and of the failure
}

TEST_F(HacerCopiaTest, AnEngineThatCannotBeLoadedEndsInAFailureThatNamesItsFile) {
  engine.onLoad = [] { throw AutomationError(kFileNotFound, L"VANTO5.DLL"); };
  run();
  EXPECT_EQ(view.textOf(L"failure"), plainFailure(kTarget, L"53-No se ha encontrado el archivo: VANTO5.DLL"));
}

TEST_F(HacerCopiaTest, WithoutAnyArchiveTheRunFailsWithTheReason) {
  const struct {
    const wchar_t* said;
    int code;
    const wchar_t* error;
  } cases[] = {
      {L"zip I/O error: No space left on device", 14,
       L"61-Disco lleno: D:\\Copias\\Backup16-11-26.qev (no se ha podido escribir la copia)"},
      {L"zip I/O error: Permission denied", 15,
       L"70-Permiso denegado: D:\\Copias\\Backup16-11-26.qev (no se ha podido crear la copia)"},
      {L"zip I/O error: No such file or directory", 15, L"76-"},
      {L"zip error: Out of memory", 4, L"7-Memoria insuficiente"},
      {L"zip error: Nothing to do!", 12,
       L"53-No se ha encontrado el archivo: D:\\Copias\\Backup16-11-26.qev (no hay ningún archivo que copiar)"},
      {L"", 10, L"57-"},
  };
  for (const auto& one : cases) {
    failsToArchive(std::wstring(one.said) + L"\r\n", one.code);
    run();
    EXPECT_THAT(view.failure, HasSubstr(std::wstring(L"\r\nError: ") + one.error)) << one.code;
    EXPECT_FALSE(fake.files.fileExists(kTarget));
  }
}

TEST_F(HacerCopiaTest, AFileSystemThatTakesNoSuchLengthIsNamed) {
  fake.drives.volume = VolumeFacts{L"FAT32", std::uint64_t{1} << 36};
  failsToArchive(L"zip I/O error: No space left on device\r\n", 14);
  run();
  EXPECT_THAT(view.failure,
              HasSubstr(L"Error: 61-El disco está formateado como FAT32, que no admite archivos de 4 GB"));
  fake.drives.volume->freeBytes = 1000;
  run();
  EXPECT_THAT(view.failure, HasSubstr(L"Error: 61-Disco lleno"));
}

TEST_F(HacerCopiaTest, WhereThereIsCertainlyNoRoomTheEngineDoesNotRun) {
  fake.files.putRun(L"C:\\Prog\\Datos\\Emp01\\grande.db", 'g', std::uint64_t{1} << 31);
  fake.drives.volume = VolumeFacts{L"NTFS", 1'000'000};
  run();
  EXPECT_THAT(view.failure, HasSubstr(L"Error: 61-Disco lleno"));
  EXPECT_EQ(engine.loads, 0);
  fake.files.put(kTarget, std::string(2'000'000, 'v'));  // what goes makes room
  fake.messages.willAnswer({Answer::Yes});
  run();
  EXPECT_TRUE(view.succeeded);
}

TEST_F(HacerCopiaTest, ADataFolderThatIsMissingIsAFailureBeforeTheEngineRuns) {
  host.dataFolder = L"C:\\Prog\\Datos\\Emp02\\";
  run();
  EXPECT_THAT(view.failure, HasSubstr(L"Error: 76-"));
  EXPECT_EQ(engine.loads, 0);
}

TEST_F(HacerCopiaTest, AnEngineThatLeavesNoArchiveAndSaysNothingDoesNoHarm) {
  for (const wchar_t* message : {L"", L"\r\n", L"\t", L" \t\r\n", L"sin fin de línea"}) {
    failsToArchive(message, 12);
    run();
    EXPECT_THAT(fake.locale.ansiFromText(view.textOf(L"failure")), HasSubstr("Error: 53-")) << message;
  }
}

TEST_F(HacerCopiaTest, AnArchiveThatCannotBeStampedEndsInFailureAndStaysByANameThatIsTold) {
  const std::wstring kept = std::wstring(kTarget) + L".sin-cabecera.zip";
  engine.work = [this] {
    fake.files.put(engine.request.archive, "PK archivo");
    fake.files.denyWriting(kTarget, kDiskFull);
    return 0;
  };
  run();
  EXPECT_EQ(view.textOf(L"failure"),
            plainFailure(kTarget, L"61-Disco lleno. Lo comprimido queda, sin cabecera, en " + kept));
  EXPECT_FALSE(fake.files.fileExists(kTarget));
  EXPECT_EQ(fake.files.bytes(kept), "PK archivo");
  fake.files.allowWriting();
  archivesAs("PK archivo");
  run();
  EXPECT_TRUE(view.succeeded);
  EXPECT_FALSE(fake.files.fileExists(kept)) << "the set is there now";
}

TEST_F(HacerCopiaTest, ATargetThatCannotBeWrittenIsAFailureBeforeTheEngineRuns) {
  fake.files.denyWriting(kTarget, kPermissionDenied);
  run();
  EXPECT_EQ(view.textOf(L"failure"), plainFailure(kTarget, L"70-Permiso denegado"));
  EXPECT_EQ(engine.loads, 0);
}

TEST_F(HacerCopiaTest, AnArchiveThatVanishesIsAFailureAndNoSetOfOneLine) {
  engine.work = [this] {
    fake.files.put(engine.request.archive, "PK archivo");
    fake.files.makeUnreadable(engine.request.archive, kFileNotFound);
    return 0;
  };
  run();
  EXPECT_THAT(view.failure, HasSubstr(L"Error: 53-"));
  EXPECT_FALSE(fake.files.fileExists(kTarget));
}

TEST_F(HacerCopiaTest, AFileOfAnothersUnderTheTargetsNameIsNotStamped) {
  engine.work = [this] {
    fake.files.put(kTarget, "de otro");
    return 12;
  };
  run();
  EXPECT_THAT(view.failure, HasSubstr(L"Error: 53-"));
  EXPECT_EQ(fake.files.bytes(kTarget), "de otro");
}

TEST_F(HacerCopiaTest, AFailureBeforeAnyArchiveLeavesNothingUnderTheNameOfASet) {
  engine.work = [this]() -> int {
    fake.files.put(engine.request.archive, "PK a medias");
    throw AutomationError(kSubscriptOutOfRange);  // it has said more at once than a message may have
  };
  run();
  EXPECT_EQ(view.textOf(L"failure"), plainFailure(kTarget, L"9-" + describeError(9)));
  EXPECT_THAT(fake.files.list(L"D:\\Copias"), IsEmpty());
}

TEST_F(HacerCopiaTest, WhateverFileOperationFailsTheRunEndsOnceInSuccessOrFailure) {
  run();
  const std::size_t operations = fake.files.calls();
  std::size_t failures = 0;
  for (std::size_t failing = 1; failing <= operations; ++failing) {
    if (fake.files.fileExists(kTarget)) fake.files.deleteFile(kTarget, true);
    view.events.clear();
    fake.sound.beeps = 0;
    fake.files.failAt(failing, kDeviceInputOutput);
    run();
    fake.files.failAt(0);
    if (view.textOf(L"failure") == L"<none>") {
      EXPECT_EQ(fake.files.bytes(kTarget), std::string(kHeader) + "PK archivo") << "only the record of the run failed";
    } else {
      EXPECT_THAT(view.failure, testing::StartsWith(plainFailure(kTarget, L"57-" + describeError(57)))) << failing;
      ++failures;
    }
    EXPECT_EQ(fake.sound.beeps, 1);
    EXPECT_EQ(view.events.back(), L"timer stopped");
    EXPECT_EQ(fake.files.openReaders() + fake.files.openReplacements(), 0u);
  }
  EXPECT_GT(failures, 3u);
}

TEST_F(HacerCopiaTest, WithoutMemoryTheRunEndsInFailure) {
  engine.work = []() -> int { throw std::bad_alloc(); };
  run();
  EXPECT_EQ(view.textOf(L"failure"), plainFailure(kTarget, L"7-Memoria insuficiente"));
}

// --- Floppies ---

TEST_F(HacerCopiaTest, ForAFloppyTheArchiveIsBuiltInTheWorkFolderAndTheTargetIsShown) {
  fake.drives.willReport({FakeDrives::bytesFree(1457664)});
  fake.messages.willAnswer({Answer::Ok});
  run(kOnFloppy);
  EXPECT_EQ(parentFolderName(engine.request.archive), L"C:\\Trabajo\\temp");
  EXPECT_THAT(view.events,
              ElementsAre(L"busy", L"origin: Datos del programa", L"destination: A:\\Backup16-11-26.qev",
                          L"result: Realizando copia de seguridad...", L"idle", L"result: Copiando disco 1 de 1...",
                          std::wstring(L"success:") + kSuccess + kOnFloppy, L"timer stopped"));
  EXPECT_EQ(fake.files.bytes(kOnFloppy), "PK archivo");
  EXPECT_EQ(setting(L"Estado"), Value(std::wstring(kGood)));
}

TEST_F(HacerCopiaTest, AfterAFloppyRunTheWorkingCopyIsGoneAndThePiecesRemain) {
  fake.drives.willReport({FakeDrives::bytesFree(1457664)});
  fake.messages.willAnswer({Answer::Ok});
  run(kOnFloppy);
  EXPECT_FALSE(fake.files.fileExists(kWorkingCopy));
  EXPECT_EQ(fake.files.bytes(std::wstring(kWorkingCopy) + L"1"), "PK archivo");
}

TEST_F(HacerCopiaTest, ForAFloppyTheReplaceQuestionIsAboutTheWorkingCopyAndNotAboutTheDisk) {
  fake.files.put(kOnFloppy, "la de ayer");
  fake.files.put(kWorkingCopy, "resto");
  fake.messages.willAnswer({Answer::No});
  run(kOnFloppy);
  EXPECT_EQ(fake.messages.shown.size(), 1u);
  EXPECT_THAT(view.events, ElementsAre(L"busy", L"timer stopped", L"idle", L"closed"));
  EXPECT_EQ(fake.files.bytes(kWorkingCopy), "resto");
}

TEST_F(HacerCopiaTest, AFileOfTheNameOnTheDiskIsReplacedWithoutAQuestion) {
  fake.files.put(kOnFloppy, "la de ayer");
  fake.drives.willReport({FakeDrives::bytesFree(1457664)});
  fake.messages.willAnswer({Answer::Ok});
  run(kOnFloppy);
  EXPECT_EQ(fake.files.bytes(kOnFloppy), "PK archivo");
}

TEST_F(HacerCopiaTest, ACancelledDiskEndsInFailureWithErrorZeroAndNoDescription) {
  fake.messages.willAnswer({Answer::Cancel});
  run(kOnFloppy);
  EXPECT_EQ(view.textOf(L"failure"), plainFailure(kOnFloppy, L"0-"));
  EXPECT_EQ(setting(L"Estado"), Value(plainFailure(kOnFloppy, L"0-")));
  EXPECT_EQ(setting(L"UltimaCopia"), Value{});
}

TEST_F(HacerCopiaTest, ACancelledDiskWithScheduledBackupsOnTellsTheNextOneWithErrorZero) {
  scheduleDaily();
  fake.messages.willAnswer({Answer::Cancel});
  run(kOnFloppy);
  EXPECT_EQ(view.textOf(L"failure"), scheduledFailure(kOnFloppy, L"0-", L"16-11-2026", L"22:00"));
}

TEST_F(HacerCopiaTest, ADriveThatIsNotReadyAndGivenUpWhileItIsMeasuredEndsInFailureWithErrorZero) {
  fake.drives.willReport({std::nullopt});
  fake.messages.willAnswer({Answer::Ok, Answer::No});
  run(kOnFloppy);
  EXPECT_EQ(view.textOf(L"failure"), plainFailure(kOnFloppy, L"0-"));
}

TEST_F(HacerCopiaTest, ALowerCaseDriveLetterIsAnOrdinaryFolder) {
  run(L"a:\\Backup16-11-26.qev");
  EXPECT_EQ(parentFolderName(engine.request.archive), L"a:\\");
  EXPECT_EQ(fake.files.bytes(kOnFloppy), std::string(kHeader) + "PK archivo");
  EXPECT_THAT(fake.messages.shown, IsEmpty());
  EXPECT_THAT(fake.drives.queried, IsEmpty());
}

TEST_F(HacerCopiaTest, OtherRemovableDrivesAreOrdinaryFolders) {
  fake.files.putFolder(L"B:\\");
  run(L"B:\\Backup16-11-26.qev");
  EXPECT_EQ(fake.files.bytes(L"B:\\Backup16-11-26.qev"), std::string(kHeader) + "PK archivo");
  EXPECT_THAT(fake.drives.queried, IsEmpty());
}

}  // namespace
}  // namespace qev::test
