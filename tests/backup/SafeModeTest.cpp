// Backup runs with the setting Verificar: a set counts only when it is proven, and the one that it replaces stays until
// then, whatever fails.
#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

#include "backup/EngineTexts.h"
#include "backup/HacerCopia.h"
#include "support/FakePlatform.h"
#include "support/RecordingView.h"
#include "support/ScriptedEngine.h"
#include "support/ZipWriter.h"

namespace qev::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr wchar_t kTarget[] = L"D:\\Copias\\Backup16-11-26.qev";
constexpr wchar_t kOnFloppy[] = L"A:\\Backup16-11-26.qev";
constexpr wchar_t kWorkingCopy[] = L"C:\\Trabajo\\temp\\copia.zip";
constexpr wchar_t kLog[] = L"C:\\Trabajo\\registro.log";
constexpr wchar_t kGood[] = L"Ultima copia de seguridad realizada correctamente";
constexpr wchar_t kProving[] = L"result: Comprobando la copia de seguridad...";
constexpr char kHeader[] =
    "Programa : Gestion;Fecha Creaci\xF3n : 16/11/2026;Total de Vol\xFAmenes :1;N\xFAmero de Vol\xFAmen :1;"
    "Directorio : C:;\r\n";
constexpr char kOld[] = "la copia de hoy";

std::string archiveBytes() {
  return zipOf({storedEntry("Prog/Datos/Emp01/clientes.db", std::string(600, 'c')),
                storedEntry("Prog/Util.mde", std::string(60, 'u'))});
}

class SafeMode : public testing::Test {
 protected:
  SafeMode() {
    host.title = L"Gestion";
    host.dataFolder = L"C:\\Prog\\Datos\\Emp01\\";
    host.settingsKey = L"Software\\Gestion";
    fake.files.put(L"C:\\Prog\\Datos\\Emp01\\clientes.db", std::string(600, 'c'));
    fake.files.put(L"C:\\Prog\\Util.mde", std::string(60, 'u'));
    fake.files.putFolder(L"D:\\Copias");
    fake.files.putFolder(L"A:\\");
    set(L"Verificar", std::int32_t{1});
    archivesAs(archiveBytes());
  }

  void archivesAs(const std::string& bytes, int code = 0, const std::wstring& message = L"") {
    engine.work = [this, bytes, code, message] {
      fake.files.put(engine.request.archive, bytes);
      engine.say(message);
      return code;
    };
  }

  // There is a set of the day; the user wants it replaced.
  void putOld() {
    fake.files.put(kTarget, kOld);
    fake.messages.willAnswer({Answer::Yes});
  }

  void set(const wchar_t* name, const Value& value) { fake.registry.put(host.settingsKey, name, value); }
  Value setting(const wchar_t* name) { return fake.registry.read(host.settingsKey, name, kLocalMachine); }

  void run(const std::wstring& target = kTarget) {
    BackupRun(fake.platform(), host, kAutomatic, settings, view, engine.loader(), tester.loader()).HacerCopia(target);
  }

  void expectFailure(const std::wstring& error) {
    EXPECT_THAT(view.failure, HasSubstr(L"\r\nError: " + error));
    EXPECT_EQ(setting(L"Estado"), Value(view.failure));
    EXPECT_EQ(setting(L"UltimaCopia"), Value{});
    EXPECT_THAT(fake.files.list(L"D:\\Copias"), testing::AnyOf(IsEmpty(), ElementsAre(fileNamePart(kTarget))))
        << "half a set is left";
    EXPECT_EQ(fake.files.openReaders() + fake.files.openReplacements(), 0u);
  }

  FakePlatform fake;
  HostSettings host;
  SettingsStore settings{fake.registry, host.settingsKey};
  RecordingView view;
  ScriptedZip engine;
  ScriptedUnzip tester;
};

TEST_F(SafeMode, WithoutItNothingIsTestedAndTheEnginesCodeDoesNotCount) {
  for (const Value& off : {Value{}, Value(std::int32_t{0}), Value(std::wstring(L"no"))}) {
    set(L"Verificar", off);
    putOld();
    archivesAs("PK", 18);
    run();
    EXPECT_EQ(fake.files.bytes(kTarget), std::string(kHeader) + "PK");
    EXPECT_EQ(tester.loads, 0);
    EXPECT_EQ(engine.request.system, 0);
    EXPECT_TRUE(view.succeeded);
    EXPECT_THAT(view.events, Not(Contains(kProving)));
    EXPECT_THAT(fake.files.bytes(kLog), Not(HasSubstr("Comprobada")));
    EXPECT_THAT(fake.files.bytes(kLog), HasSubstr("  Modo seguro: no\r\n"));
  }
}

TEST_F(SafeMode, TheOldSetStaysUntilTheNewOneIsProvenAndThenTheNewOneTakesItsName) {
  putOld();
  std::vector<std::string> seen;
  const auto archiving = engine.work;
  engine.work = [&] {
    seen.push_back(fake.files.bytes(kTarget));
    return archiving();
  };
  tester.work = [&] {
    seen.push_back(fake.files.bytes(kTarget));
    return kUnzipWarning;
  };
  run();
  EXPECT_THAT(seen, ElementsAre(kOld, kOld));
  EXPECT_TRUE(view.succeeded);
  EXPECT_EQ(fake.files.bytes(kTarget), kHeader + archiveBytes());
  EXPECT_THAT(fake.files.list(L"D:\\Copias"), ElementsAre(fileNamePart(kTarget)));
  EXPECT_EQ(setting(L"Estado"), Value(std::wstring(kGood)));
  EXPECT_THAT(fake.files.bytes(kLog), HasSubstr("  Modo seguro: s\xC3\xAD\r\n"));
  EXPECT_THAT(fake.files.bytes(kLog), HasSubstr("  Comprobada: s\xC3\xAD\r\n"));
  EXPECT_THAT(fake.files.bytes(kLog), Not(HasSubstr("Avisos del motor")));
}

TEST_F(SafeMode, WhatIsTestedIsTheWholeSetThatTakesTheName) {
  std::string tested;
  tester.work = [&] {
    tested = fake.files.bytes(tester.request.archive);
    return kUnzipDone;
  };
  run();
  EXPECT_EQ(parentFolderName(tester.request.archive), L"D:\\Copias");
  EXPECT_NE(tester.request.archive, kTarget);
  EXPECT_EQ(tester.request.mode, UnzipMode::Test);
  EXPECT_EQ(tested, kHeader + archiveBytes());
  EXPECT_EQ(tested, fake.files.bytes(kTarget));
}

TEST_F(SafeMode, TheWindowSaysSoUnderTheHourglassAndTheBarGoesOn) {
  tester.work = [&] {
    tester.say(L"    testing: Prog/Datos/Emp01/clientes.db   OK\r\n");
    tester.ended(L"Prog/Datos/Emp01/clientes.db", 600);
    tester.say(L"    testing: Prog/Util.mde   OK\r\n");
    tester.ended(L"Prog/Util.mde", 60);
    return kUnzipDone;
  };
  engine.work = [this] {
    engine.say(L"  adding: Prog/Datos/Emp01/clientes.db (deflated 60%)\r\n");
    fake.files.put(engine.request.archive, archiveBytes());
    return 0;
  };
  run();
  EXPECT_THAT(view.events,
              ElementsAre(L"busy", L"origin: Datos del programa", L"destination: D:\\Copias\\Backup16-11-26.qev",
                          L"result: Realizando copia de seguridad...", kProving, L"idle", StartsWith(L"success:"),
                          L"timer stopped"));
  EXPECT_THAT(view.progress, ElementsAre(454, 500, 681, 681, 700, 972, 1000));
}

TEST_F(SafeMode, EveryCodeOfTheEngineIsAFailureWithItsReason) {
  for (const int code : {2, 3, 4, 5, 6, 9, 12, 13, 14, 15, 16, 18, -1}) {
    putOld();
    archivesAs(archiveBytes(), code, L"\tzip warning: could not open for reading: Prog/clientes.db\r\n");
    run();
    expectFailure(std::to_wstring(code) + L"-Copia incompleta: " + zipCodeText(code));
    EXPECT_EQ(fake.files.bytes(kTarget), kOld);
    EXPECT_EQ(tester.loads, 0);
  }
  EXPECT_THAT(fake.files.bytes(kLog), HasSubstr("    | zip warning: could not open for reading: Prog/clientes.db\r\n"));
}

TEST_F(SafeMode, ASetThatDoesNotPassTheTestIsAFailureAndTheOldOneIsThere) {
  for (const int code : {2, 3, 4, 9, 11, 12, 50, 51, 80, 81, 82, 100}) {
    putOld();
    tester.work = [&, code] {
      tester.say(L"    testing: Prog/Util.mde   bad CRC 6faa2d8e  (should be 6faa2d8f)\r\n");
      return code;
    };
    run();
    expectFailure(std::to_wstring(code) + L"-Copia dañada: " + testCodeText(code));
    EXPECT_EQ(fake.files.bytes(kTarget), kOld);
  }
  EXPECT_THAT(fake.files.bytes(kLog), HasSubstr("  Comprobada: no\r\n"));
  EXPECT_THAT(fake.files.bytes(kLog),
              HasSubstr("    | testing: Prog/Util.mde   bad CRC 6faa2d8e  (should be 6faa2d8f)\r\n"));
}

TEST_F(SafeMode, AnArchiveWithoutEntriesOrThatIsNoneProvesNothing) {
  for (const std::string& bytes : {zipOf({}), std::string("PK archivo"), std::string()}) {
    putOld();
    archivesAs(bytes);
    tester.work = [] { return kUnzipWarning; };
    run();
    expectFailure(L"53-Copia incompleta: clientes.db no está en la copia (y 1 más)");
    EXPECT_EQ(fake.files.bytes(kTarget), kOld);
  }
}

TEST_F(SafeMode, WithoutTheEngineThatTestsNothingIsProven) {
  putOld();
  tester.onLoad = [] { throw AutomationError(kFileNotFound, L"VANTO6.DLL"); };
  run();
  expectFailure(L"53-No se ha encontrado el archivo: VANTO6.DLL");
  EXPECT_EQ(fake.files.bytes(kTarget), kOld);
}

TEST_F(SafeMode, ADataFolderThatIsMissingIsAFailureBeforeTheEngineRuns) {
  putOld();
  host.dataFolder = L"C:\\Prog\\Datos\\Emp02\\";
  run();
  expectFailure(L"76-");
  EXPECT_EQ(engine.loads, 0);
  EXPECT_EQ(fake.files.bytes(kTarget), kOld);
}

TEST_F(SafeMode, AFullDiskLeavesTheOldSetWhole) {
  putOld();
  std::uint64_t taken = archiveBytes().size() + 10;
  for (const std::wstring& path : fake.files.paths()) taken += fake.files.content(path).size();
  fake.files.capacity = taken;  // room for the archive, none for the set
  run();
  EXPECT_THAT(view.failure, HasSubstr(L"\r\nError: 61-Disco lleno"));
  EXPECT_EQ(fake.files.bytes(kTarget), kOld);
}

TEST_F(SafeMode, AnOldSetThatIsInUseStaysAndTheNewOneGoes) {
  putOld();
  {
    const auto reader = fake.files.openForReading(kTarget);
    run();
  }
  expectFailure(L"70-Permiso denegado");
  EXPECT_EQ(fake.files.bytes(kTarget), kOld);
}

TEST_F(SafeMode, AReadOnlyOldSetIsReplacedToo) {
  putOld();
  fake.files.makeReadOnly(kTarget);
  run();
  EXPECT_TRUE(view.succeeded);
  EXPECT_EQ(fake.files.bytes(kTarget), kHeader + archiveBytes());
}

TEST_F(SafeMode, NoAtTheQuestionTouchesNothing) {
  fake.files.put(kTarget, kOld);
  fake.messages.willAnswer({Answer::No});
  run();
  EXPECT_EQ(engine.loads, 0);
  EXPECT_EQ(tester.loads, 0);
  EXPECT_EQ(fake.files.bytes(kTarget), kOld);
}

TEST_F(SafeMode, WhatAKilledRunOfAnEarlierVersionLeftGoesBeforeTheEngineRuns) {
  const std::wstring old = std::wstring(kTarget) + L".nueva";
  fake.files.put(old, "a medias");
  bool leftOver = true;
  const auto archiving = engine.work;
  engine.work = [&] {
    leftOver = fake.files.fileExists(old);
    return archiving();
  };
  run();
  EXPECT_FALSE(leftOver);
  EXPECT_TRUE(view.succeeded);
}

TEST_F(SafeMode, WhateverFileOperationFailsTheTargetHoldsTheOldSetOrTheWholeNewOne) {
  putOld();
  fake.files.failAt(0);
  run();
  const std::size_t operations = fake.files.calls();
  std::size_t failures = 0;
  for (std::size_t failing = 1; failing <= operations; ++failing) {
    putOld();
    view.failure.clear();
    fake.files.failAt(failing, kDeviceInputOutput);
    run();
    fake.files.failAt(0);
    EXPECT_EQ(fake.files.bytes(kTarget), view.succeeded ? kHeader + archiveBytes() : kOld) << "operation " << failing;
    EXPECT_EQ(fake.files.openReaders() + fake.files.openReplacements(), 0u);
    if (!view.succeeded) ++failures;
  }
  EXPECT_GT(failures, 6u);
}

TEST_F(SafeMode, AnEngineThatThrowsThroughItsCallbacksLeavesTheOldSetWhole) {
  putOld();
  engine.work = [this]() -> int {
    fake.files.put(engine.request.archive, "PK a medias");
    throw AutomationError(kSubscriptOutOfRange);  // it has said more at once than a message may have
  };
  run();
  expectFailure(L"9-");
  EXPECT_EQ(fake.files.bytes(kTarget), kOld);
}

TEST_F(SafeMode, ForAFloppyTheArchiveIsProvenBeforeItIsCut) {
  fake.drives.willReport({FakeDrives::bytesFree(1457664)});
  fake.messages.willAnswer({Answer::Ok});
  std::size_t askedBefore = 1;
  tester.work = [&] {
    askedBefore = fake.messages.shown.size();
    return kUnzipWarning;
  };
  run(kOnFloppy);
  EXPECT_TRUE(view.succeeded);
  EXPECT_EQ(askedBefore, 0u);
  EXPECT_EQ(parentFolderName(tester.request.archive), L"C:\\Trabajo\\temp");
  EXPECT_EQ(fake.files.bytes(kOnFloppy), archiveBytes());
  EXPECT_FALSE(fake.files.fileExists(kWorkingCopy));
}

TEST_F(SafeMode, ForAFloppyADamagedArchiveIsNotCutAndNoDiskIsAskedFor) {
  fake.files.put(kOnFloppy, "la de ayer");
  tester.work = [] { return 2; };
  run(kOnFloppy);
  expectFailure(L"2-Copia dañada");
  EXPECT_THAT(fake.messages.shown, IsEmpty());
  EXPECT_EQ(fake.files.bytes(kOnFloppy), "la de ayer");
  EXPECT_FALSE(fake.files.fileExists(std::wstring(kWorkingCopy) + L"1"));
}

}  // namespace
}  // namespace qev::test
