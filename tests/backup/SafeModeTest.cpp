// Backup runs with the setting Verificar: a set counts only when it is proven, and the one that it replaces stays until
// then, whatever fails.
#include <gmock/gmock.h>

#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "backup/HacerCopia.h"
#include "platform/Handle.h"
#include "support/FakePlatform.h"
#include "support/RecordingEngine.h"
#include "support/RecordingUnzipEngine.h"
#include "support/SmallDisk.h"
#include "support/TemporaryFolder.h"
#include "support/ZipWriter.h"

namespace qev::test {
namespace {

using testing::AnyOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr wchar_t kTarget[] = L"D:\\Copias\\Backup16-11-26.qev";
constexpr wchar_t kUnproven[] = L"D:\\Copias\\Backup16-11-26.qev.nueva";
constexpr wchar_t kOnFloppy[] = L"A:\\Backup16-11-26.qev";
constexpr wchar_t kWorkingCopy[] = L"C:\\Trabajo\\temp\\copia.zip";
constexpr wchar_t kLog[] = L"C:\\Trabajo\\registro.log";
constexpr wchar_t kGood[] = L"Ultima copia de seguridad realizada correctamente";
constexpr wchar_t kProving[] = L"result: Comprobando la copia de seguridad...";
constexpr char kHeader[] =
    "Programa : Gestion;Fecha Creaci\xF3n : 16/11/2026;Total de Vol\xFAmenes :1;N\xFAmero de Vol\xFAmen :1;"
    "Directorio : C:;\r\n";
constexpr char kOld[] = "la copia de hoy";

class RecordingView : public BackupRunView {
 public:
  std::vector<std::wstring> events;
  std::vector<int> progress;

  void showBusy(bool busy) override { events.emplace_back(busy ? L"busy" : L"idle"); }
  void showOrigin(const std::wstring&) override {}
  void showDestination(const std::wstring&) override {}
  void showResult(const std::wstring& text) override { events.push_back(L"result:" + text); }
  void showProgress(int permille) override { progress.push_back(permille); }
  void showSuccess(const std::wstring&) override { events.emplace_back(L"success"); }
  void showFailure(const std::wstring& text) override {
    events.emplace_back(L"failure");
    failure = text;
  }
  void stopTimer() override {}
  void close() override { events.emplace_back(L"closed"); }
  bool closeAsked() const override { return false; }

  bool succeeded() const { return failure.empty(); }

  std::wstring failure;
};

std::string archiveBytes() {
  return zipOf({storedEntry("Prog/Datos/Emp01/clientes.db", std::string(600, 'c')),
                storedEntry("Prog/Util.mde", std::string(60, 'u'))});
}

class SafeMode : public testing::Test {
 protected:
  SafeMode() {
    state.title = L"Gestion";
    state.dataFolder = L"C:\\Prog\\Datos\\Emp01\\";
    state.settingsKey = L"Software\\Gestion";
    state.BackupKind = kAutomatic;
    fake.files.put(L"C:\\Prog\\Datos\\Emp01\\clientes.db", std::string(600, 'c'));
    fake.files.put(L"C:\\Prog\\Util.mde", std::string(60, 'u'));
    fake.files.putFolder(L"D:\\Copias");
    fake.files.putFolder(L"A:\\");
    set(L"Verificar", std::int32_t{1});
    archivesAs(archiveBytes());
  }

  void archivesAs(const std::string& bytes, int code = 0, const std::string& message = "") {
    engine.whileArchiving = [this, bytes, code, message](const std::string& archive) {
      fake.files.put(fake.locale.textFromAnsi(archive), bytes);
      engine.say(message);
      return code;
    };
  }

  // There is a set of the day; the user wants it replaced.
  void putOld() {
    fake.files.put(kTarget, kOld);
    fake.messages.willAnswer({Answer::Yes});
  }

  void set(const wchar_t* name, const Value& value) { fake.registry.put(state.settingsKey, name, value); }
  Value setting(const wchar_t* name) { return fake.registry.read(state.settingsKey, name, kLocalMachine); }

  void run(const std::wstring& target = kTarget) {
    BackupRun(fake.platform(), state, settings, view, engine.loader(), tester.loader()).HacerCopia(target);
  }

  void expectFailure(const std::wstring& error) {
    EXPECT_THAT(view.failure, HasSubstr(L"\r\nError: " + error));
    EXPECT_EQ(setting(L"Estado"), Value(view.failure));
    EXPECT_EQ(setting(L"UltimaCopia"), Value{});
    EXPECT_FALSE(fake.files.fileExists(kUnproven)) << "half a set is left";
    EXPECT_EQ(fake.files.openReaders() + fake.files.openReplacements(), 0u);
  }

  FakePlatform fake;
  LibraryState state;
  SettingsStore settings{fake.registry, state.settingsKey};
  RecordingView view;
  RecordingEngine engine;
  RecordingUnzipEngine tester;
};

TEST_F(SafeMode, WithoutItNothingIsTestedAndTheOldSetGoesFirst) {
  for (const Value& off : {Value{}, Value(std::int32_t{0}), Value(std::wstring(L"no"))}) {
    set(L"Verificar", off);
    putOld();
    bool oldThere = true;
    engine.whileArchiving = [&](const std::string& archive) {
      oldThere = fake.files.fileExists(kTarget);
      fake.files.put(fake.locale.textFromAnsi(archive), "PK");
      return 18;
    };
    run();
    EXPECT_FALSE(oldThere);
    EXPECT_EQ(engine.archive, "D:\\Copias\\Backup16-11-26.qev");
    EXPECT_EQ(fake.files.bytes(kTarget), std::string(kHeader) + "PK");
    EXPECT_THAT(tester.calls, IsEmpty());
    EXPECT_TRUE(view.succeeded());
    EXPECT_THAT(view.events, Not(Contains(kProving)));
    EXPECT_THAT(fake.files.bytes(kLog), Not(HasSubstr("Comprobada")));
  }
}

TEST_F(SafeMode, TheOldSetStaysUntilTheNewOneIsProvenAndThenTheNewOneTakesItsName) {
  putOld();
  std::vector<std::string> seen;
  const auto archiving = engine.whileArchiving;
  engine.whileArchiving = [&](const std::string& archive) {
    seen.push_back(fake.files.bytes(kTarget));
    return archiving(archive);
  };
  tester.whileUnzipping = [&] {
    seen.push_back(fake.files.bytes(kTarget));
    return UZ_WARN;
  };
  run();
  EXPECT_THAT(seen, ElementsAre(kOld, kOld));
  EXPECT_TRUE(view.succeeded());
  EXPECT_EQ(fake.files.bytes(kTarget), kHeader + archiveBytes());
  EXPECT_FALSE(fake.files.fileExists(kUnproven));
  EXPECT_EQ(setting(L"Estado"), Value(std::wstring(kGood)));
  EXPECT_THAT(fake.files.bytes(kLog), HasSubstr("  Comprobada: s\xC3\xAD\r\n"));
  EXPECT_THAT(fake.files.bytes(kLog), Not(HasSubstr("Avisos del motor")));
}

TEST_F(SafeMode, WhatIsTestedIsTheWholeSetThatTakesTheName) {
  std::string tested;
  tester.whileUnzipping = [&] {
    tested = fake.files.bytes(fake.locale.textFromAnsi(*tester.archive));
    return UZ_OK;
  };
  run();
  EXPECT_EQ(*tester.archive, "D:\\Copias\\Backup16-11-26.qev.nueva");
  EXPECT_EQ(tester.options.ntflag, 1);
  EXPECT_EQ(tested, kHeader + archiveBytes());
  EXPECT_EQ(tested, fake.files.bytes(kTarget));
}

TEST_F(SafeMode, TheWindowSaysSoUnderTheHourglassAndTheBarGoesOn) {
  tester.whileUnzipping = [&] {
    tester.say("    testing: Prog/Datos/Emp01/clientes.db   OK\r\n");
    tester.say("    testing: Prog/Util.mde   OK\r\n");
    return UZ_OK;
  };
  engine.whileArchiving = [this](const std::string& archive) {
    engine.say("  adding: Prog/Datos/Emp01/clientes.db (deflated 60%)\r\n");
    fake.files.put(fake.locale.textFromAnsi(archive), archiveBytes());
    return 0;
  };
  run();
  EXPECT_THAT(view.events,
              ElementsAre(L"busy", L"result: Realizando copia de seguridad...", kProving, L"idle", L"success"));
  EXPECT_THAT(view.progress, ElementsAre(681, 977, 1000));
}

TEST_F(SafeMode, EveryCodeOfTheEngineIsAFailureWithItsNumberAndItsText) {
  for (const int code : {2, 3, 4, 5, 6, 9, 12, 13, 14, 15, 16, 18, -1}) {
    putOld();
    archivesAs(archiveBytes(), code, "\tzip warning: could not open for reading: Prog/clientes.db\r\n");
    run();
    expectFailure(std::to_wstring(code) +
                  L"-Copia incompleta: zip warning: could not open for reading: Prog/clientes.db");
    EXPECT_EQ(fake.files.bytes(kTarget), kOld);
    EXPECT_THAT(tester.calls, IsEmpty());
  }
}

TEST_F(SafeMode, TheEnginesTextIsCutInTheWindowAndWholeInTheLog) {
  std::string message;
  for (int i = 0; i < 50; ++i) {
    message += "\tzip warning: could not open for reading: Prog/Datos/" + std::to_string(i) + ".db\r\n";
  }
  archivesAs(archiveBytes(), 18, message);
  run();
  EXPECT_LT(view.failure.size() - view.failure.find(L"Error: "), 150u);
  EXPECT_THAT(view.failure, testing::EndsWith(L"..."));
  EXPECT_THAT(fake.files.bytes(kLog), HasSubstr("    | zip warning: could not open for reading: Prog/Datos/49.db\r\n"));
  EXPECT_THAT(fake.files.bytes(kLog), HasSubstr("digo 18, 50 mensajes\r\n"));
}

TEST_F(SafeMode, ASetThatDoesNotPassTheTestIsAFailureAndTheOldOneIsThere) {
  for (const int code : {2, 3, 4, 9, 11, 12, 50, 51, 80, 81, 82, 100}) {
    putOld();
    tester.whileUnzipping = [&, code] {
      tester.say("    testing: Prog/Util.mde   bad CRC 6faa2d8e  (should be 6faa2d8f)\r\n");
      return code;
    };
    run();
    expectFailure(std::to_wstring(code) + L"-Copia dañada: testing: Prog/Util.mde   bad CRC 6faa2d8e");
    EXPECT_EQ(fake.files.bytes(kTarget), kOld);
  }
  EXPECT_THAT(fake.files.bytes(kLog), HasSubstr("  Comprobada: no\r\n"));
}

TEST_F(SafeMode, AnArchiveWithoutEntriesOrThatIsNoneProvesNothing) {
  for (const std::string& bytes : {zipOf({}), std::string("PK archivo"), std::string()}) {
    putOld();
    archivesAs(bytes);
    tester.whileUnzipping = [] { return UZ_WARN; };
    run();
    expectFailure(L"9-Copia dañada");
    EXPECT_EQ(fake.files.bytes(kTarget), kOld);
  }
}

TEST_F(SafeMode, WithoutTheEngineThatTestsNothingIsProven) {
  putOld();
  BackupRun(fake.platform(), state, settings, view, engine.loader(), []() -> UnzipEngine {
    throw AutomationError(kFileNotFound, L"VANTO6.DLL");
  }).HacerCopia(kTarget);
  expectFailure(L"53-No se ha encontrado el archivo: VANTO6.DLL");
  EXPECT_EQ(fake.files.bytes(kTarget), kOld);
}

TEST_F(SafeMode, ADataFolderThatIsMissingIsAFailureBeforeTheEngineRuns) {
  putOld();
  state.dataFolder = L"C:\\Prog\\Datos\\Emp02\\";
  run();
  expectFailure(L"76-");
  EXPECT_THAT(engine.calls, IsEmpty());
  EXPECT_EQ(fake.files.bytes(kTarget), kOld);
}

TEST_F(SafeMode, AFullDiskLeavesTheOldSetWhole) {
  putOld();
  std::uint64_t taken = archiveBytes().size() + 10;
  for (const std::wstring& path : fake.files.paths()) taken += fake.files.content(path).size();
  fake.files.capacity = taken;  // room for the archive, none for the set
  run();
  expectFailure(L"61-Disco lleno");
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
  EXPECT_TRUE(view.succeeded());
  EXPECT_EQ(fake.files.bytes(kTarget), kHeader + archiveBytes());
}

TEST_F(SafeMode, NoAtTheQuestionTouchesNothing) {
  fake.files.put(kTarget, kOld);
  fake.messages.willAnswer({Answer::No});
  run();
  EXPECT_THAT(engine.calls, IsEmpty());
  EXPECT_THAT(tester.calls, IsEmpty());
  EXPECT_EQ(fake.files.bytes(kTarget), kOld);
}

TEST_F(SafeMode, WhatAKilledRunLeftBesideTheTargetGoesBeforeTheEngineRuns) {
  fake.files.put(kUnproven, "a medias");
  bool leftOver = true;
  const auto archiving = engine.whileArchiving;
  engine.whileArchiving = [&](const std::string& archive) {
    leftOver = fake.files.fileExists(kUnproven);
    return archiving(archive);
  };
  run();
  EXPECT_FALSE(leftOver);
  EXPECT_TRUE(view.succeeded());
  EXPECT_FALSE(fake.files.fileExists(kUnproven));
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
    EXPECT_EQ(fake.files.bytes(kTarget), view.succeeded() ? kHeader + archiveBytes() : kOld) << "operation " << failing;
    EXPECT_FALSE(fake.files.fileExists(kUnproven)) << "operation " << failing;
    EXPECT_EQ(fake.files.openReaders() + fake.files.openReplacements(), 0u);
    if (!view.succeeded()) ++failures;
  }
  EXPECT_GT(failures, 6u);
}

TEST_F(SafeMode, AnEngineThatThrowsThroughItsCallbacksLeavesTheOldSetWhole) {
  putOld();
  engine.whileArchiving = [this](const std::string& archive) {
    fake.files.put(fake.locale.textFromAnsi(archive), "PK a medias");
    engine.say(std::string(5000, 'x'));  // more than a message may have
    return 0;
  };
  run();
  expectFailure(L"9-");
  EXPECT_EQ(fake.files.bytes(kTarget), kOld);
}

TEST_F(SafeMode, ForAFloppyTheArchiveIsProvenBeforeItIsCut) {
  fake.drives.willReport({FakeDrives::bytesFree(1457664)});
  fake.messages.willAnswer({Answer::Ok});
  std::size_t askedBefore = 1;
  tester.whileUnzipping = [&] {
    askedBefore = fake.messages.shown.size();
    return UZ_WARN;
  };
  run(kOnFloppy);
  EXPECT_TRUE(view.succeeded());
  EXPECT_EQ(askedBefore, 0u);
  EXPECT_EQ(*tester.archive, "C:\\Trabajo\\temp\\copia.zip.nueva");
  EXPECT_EQ(fake.files.bytes(kOnFloppy), archiveBytes());
  EXPECT_FALSE(fake.files.fileExists(kWorkingCopy));
  EXPECT_FALSE(fake.files.fileExists(std::wstring(kWorkingCopy) + L".nueva"));
}

TEST_F(SafeMode, ForAFloppyADamagedArchiveIsNotCutAndNoDiskIsAskedFor) {
  fake.files.put(kOnFloppy, "la de ayer");
  tester.whileUnzipping = [] { return UZ_ERR; };
  run(kOnFloppy);
  expectFailure(L"2-Copia dañada");
  EXPECT_THAT(fake.messages.shown, IsEmpty());
  EXPECT_EQ(fake.files.bytes(kOnFloppy), "la de ayer");
  EXPECT_FALSE(fake.files.fileExists(std::wstring(kWorkingCopy) + L".nueva"));
  EXPECT_FALSE(fake.files.fileExists(std::wstring(kWorkingCopy) + L"1"));
}

// --- with both engines, on a real disk ---

// The zip engine, but for a byte in the middle of what it has made.
namespace hostile {
ZipEngine engine;

int WINAPI archive(int count, char* path, char** names) {
  const int code = engine.ZpArchive(count, path, names);
  std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
  file.seekp(60'000);
  file.put('\x55');
  return code;
}

ZipEngine load() {
  engine = loadZipEngine();
  ZipEngine hostile;
  hostile.ZpInit = engine.ZpInit;
  hostile.ZpSetOptions = engine.ZpSetOptions;
  hostile.ZpArchive = &archive;
  return hostile;
}
}  // namespace hostile

class SafeModeOnDisk : public testing::Test {
 protected:
  SafeModeOnDisk() {
    state_.title = L"Gestion";
    state_.dataFolder = folder_ / L"Prog\\Datos\\Emp01\\";
    state_.settingsKey = L"Software\\Gestion";
    state_.BackupKind = kAutomatic;
    fake_.workFolder.folder = folder_ / L"trabajo";
    folder_.makeFolder(L"trabajo\\temp");
    folder_.makeFolder(L"Copias");
    folder_.write(L"Prog\\Datos\\Emp01\\clientes.db", noise());
    folder_.write(L"Prog\\Datos\\Emp01\\A\u00f1o\\facturas.db", std::string(50'000, 'f'));
    folder_.write(L"Prog\\Util.mde", "utilidades");
    folder_.write(L"Prog\\Gestion.ini", "[Gestion]");
  }

  // Bytes that do not compress.
  static std::string noise() {
    std::string bytes(200'000, '\0');
    std::uint32_t value = 1;
    for (char& c : bytes) c = static_cast<char>((value = value * 1664525 + 1013904223) >> 24);
    return bytes;
  }

  void runSafely(const std::wstring& target, const CZipFiles::EngineLoader& engine = loadZipEngine) {
    fake_.registry.put(state_.settingsKey, L"Verificar", std::int32_t{1});
    BackupRun(platform_, state_, settings_, view_, engine).HacerCopia(target);
  }

  std::wstring target() const { return folder_ / L"Copias\\copia.qev"; }
  void putOld() {
    folder_.write(L"Copias\\copia.qev", kOld);
    fake_.messages.willAnswer({Answer::Yes});
  }
  void expectOldAlone() const {
    EXPECT_EQ(folder_.bytes(L"Copias\\copia.qev"), kOld);
    EXPECT_THAT(folder_.list(L"Copias"), ElementsAre(L"copia.qev"));
  }

  TemporaryFolder folder_;
  FakePlatform fake_;
  Platform& system_ = systemPlatform();
  Platform platform_ = with(fake_.platform(), system_.files, system_.locale);
  LibraryState state_;
  SettingsStore settings_{fake_.registry, state_.settingsKey};
  RecordingView view_;
};

TEST_F(SafeModeOnDisk, ASafeRunMakesTheSameBytesAsAnOrdinaryOne) {
  BackupRun(platform_, state_, settings_, view_).HacerCopia(folder_ / L"Copias\\normal.qev");
  putOld();
  runSafely(target());
  EXPECT_TRUE(view_.succeeded());
  EXPECT_TRUE(folder_.bytes(L"Copias\\copia.qev") == folder_.bytes(L"Copias\\normal.qev"));
  EXPECT_THAT(folder_.bytes(L"Copias\\copia.qev"), StartsWith("Programa : Gestion;"));
  EXPECT_THAT(folder_.list(L"Copias"), ElementsAre(L"copia.qev", L"normal.qev"));
  EXPECT_THAT(folder_.bytes(L"trabajo\\registro.log"), Not(HasSubstr("Avisos del motor")));
}

TEST_F(SafeModeOnDisk, AByteThatIsWrongInTheArchiveIsFound) {
  putOld();
  runSafely(target(), hostile::load);
  EXPECT_THAT(view_.failure, HasSubstr(L"Error: 2-Copia dañada: "));
  expectOldAlone();
}

TEST_F(SafeModeOnDisk, ADataFileThatAnotherProgramHasOpenIsAFailureThatNamesIt) {
  putOld();
  const auto held = UniqueFile(CreateFileW((state_.dataFolder + L"clientes.db").c_str(), GENERIC_READ, 0, nullptr,
                                           OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  ASSERT_TRUE(held);
  runSafely(target());
  EXPECT_THAT(view_.failure, HasSubstr(L"Error: 18-Copia incompleta: "));
  EXPECT_THAT(folder_.bytes(L"trabajo\\registro.log"), HasSubstr("clientes.db"));
  expectOldAlone();
}

TEST_F(SafeModeOnDisk, AFullDiskIsAFailureAndTheOldSetStaysAlone) {
  const auto disk = smallDisk();
  if (!disk) GTEST_SKIP() << kNoSmallDisk;
  const std::wstring onDisk = *disk + L"\\copia.qev";
  for (const int copies : {1, 5}) {  // the set does not fit beside its archive; the archive does not fit
    for (int i = 1; i < copies; ++i) folder_.write(L"Prog\\Datos\\Emp01\\" + std::to_wstring(i) + L".db", noise());
    std::ofstream(onDisk.c_str(), std::ios::binary) << std::string(150'000, 'v');
    fake_.messages.willAnswer({Answer::Yes});
    view_.failure.clear();
    runSafely(onDisk);
    EXPECT_THAT(view_.failure, AnyOf(HasSubstr(L"Error: 61-"),
                                     HasSubstr(L"-Copia incompleta: zip I/O error: No space left on device")));
    EXPECT_EQ(150'000u, system_.files.fileSize(onDisk));
    std::vector<std::wstring> left;
    system_.files.walkFiles(*disk + L"\\",
                            [&](const std::wstring& path, std::uint64_t) { left.push_back(fileNamePart(path)); });
    EXPECT_THAT(left, ElementsAre(L"copia.qev"));
  }
  DeleteFileW(onDisk.c_str());
}

}  // namespace
}  // namespace qev::test
