// Runs that are killed: another process restores, or backs up, with the real engines, and is ended in the middle. The
// set is what it was, the next run comes to its end, and nothing of the killed one is left.
#include <gmock/gmock.h>
#include <windows.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "backup/CCopias.h"
#include "backup/HacerCopia.h"
#include "platform/Handle.h"
#include "platform/SystemServices.h"
#include "restore/RestaurarCopia.h"
#include "set/SetFile.h"
#include "set/WholeSet.h"
#include "support/FakePlatform.h"
#include "support/OtherProcess.h"
#include "support/RecordingView.h"
#include "support/TemporaryFolder.h"
#include "support/ZipWriter.h"

namespace qev::test {
namespace {

using testing::AllOf;
using testing::AnyOf;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr wchar_t kTitle[] = L"Gestion de prueba";
constexpr wchar_t kKey[] = L"Software\\Gestion";

// What the other process is told: the folder that it works in, what it is to do, and where its bar then stands
// (permille).
constexpr wchar_t kFolderVariable[] = L"QEV_KILLED_FOLDER";
constexpr wchar_t kTaskVariable[] = L"QEV_KILLED_TASK";
constexpr wchar_t kMomentVariable[] = L"QEV_KILLED_MOMENT";
constexpr int kNever = 9999;

std::string noise(std::size_t size, unsigned seed) {
  std::mt19937 random(seed);
  std::string bytes(size, '\0');
  for (char& c : bytes) c = static_cast<char>(random());
  return bytes;
}

// Once the bar is where it should be, signals that and goes no further.
class Brake {
 public:
  Brake() = default;
  explicit Brake(int permille) : permille_(permille) {}

  void at(int permille) const {
    if (permille >= permille_) OtherProcess::signalAndSleep();
  }

 private:
  int permille_ = kNever;
};

// Files of which none is written beyond the first mebibytes: there the process signals that and goes no further.
class SlowFiles : public FileSystemWindows {
 public:
  std::unique_ptr<FileReplacement> replaceFile(const std::wstring& path) override {
    return std::make_unique<Replacement>(FileSystemWindows::replaceFile(path));
  }

 private:
  class Replacement : public FileReplacement {
   public:
    explicit Replacement(std::unique_ptr<FileReplacement> file) : file_(std::move(file)) {}
    void write(std::span<const std::byte> bytes) override {
      file_->write(bytes);
      if ((written_ += bytes.size()) > 2 << 20) OtherProcess::signalAndSleep();
    }
    std::wstring path() const override { return file_->path(); }
    void seal() override { file_->seal(); }
    void commit(std::optional<std::uint32_t> longestWait, CreationTime created) override {
      file_->commit(longestWait, created);
    }

   private:
    std::unique_ptr<FileReplacement> file_;
    std::size_t written_ = 0;
  };
};

class RestoreView : public RestoreRunView {
 public:
  explicit RestoreView(Brake brake) : brake_(brake) {}
  void showProgress(std::optional<int> permille) override { brake_.at(permille.value_or(0)); }
  void showTesting(bool) override {}
  bool closeAsked() const override { return false; }

 private:
  Brake brake_;
};

class BackupView : public RecordingView {
 public:
  explicit BackupView(Brake brake) : brake_(brake) {}
  void showProgress(int permille) override { brake_.at(permille); }

 private:
  Brake brake_;
};

// A host, in this process or the other: real files, engines and conversions, and its work folder, its set and its data
// in one folder.
class Host {
 public:
  explicit Host(const std::wstring& folder, FileSystem& files = systemPlatform().files)
      : folder_(folder),
        platform_(with(systemPlatform(), files, fake_.registry, fake_.messages, fake_.workFolder, fake_.sound)) {
    fake_.workFolder.folder = folder + L"\\trabajo";
    host_.title = kTitle;
    host_.settingsKey = kKey;
    host_.dataFolder = folder + L"\\programa\\Datos\\Emp01\\";
  }

  std::wstring set() const { return folder_ + L"\\copias\\copia.qev"; }

  RestoreRun::Outcome restore(const Brake& brake = {}) {
    RestoreView view(brake);
    RestoreChoice choice;
    choice.Archivo = set();
    choice.Destino = folder_ + L"\\destino";
    choice.originalLocation = false;
    return RestoreRun(platform_, host_, view, choice).RestaurarCopia();
  }

  // Over a set that is there. Answers what the window said if it has failed.
  std::wstring backUp(bool isSafe, const Brake& brake = {}) {
    fake_.registry.put(kKey, L"Verificar", std::int32_t{isSafe});
    fake_.messages.willAnswer({Answer::Yes});
    SettingsStore settings(fake_.registry, host_.settingsKey);
    BackupView view(brake);
    BackupRun(platform_, host_, kManual, settings, view).HacerCopia(set());
    return view.succeeded ? L"" : L"failed: " + view.failure;
  }

  // What a check of the set finds.
  std::optional<SetHeader> checked() { return checkSet(platform_, set(), kTitle).header; }

  FakeMessages& messages() { return fake_.messages; }

 private:
  const std::wstring folder_;
  FakePlatform fake_;
  Platform platform_;
  HostSettings host_;
};

// The other process: this program again, with this test alone.
TEST(KilledRun, DISABLED_OtherProcess) {
  const wchar_t* const folder = _wgetenv(kFolderVariable);
  const wchar_t* const task = _wgetenv(kTaskVariable);
  const wchar_t* const moment = _wgetenv(kMomentVariable);
  ASSERT_TRUE(folder && task && moment);
  const Brake brake(_wtoi(moment));
  if (_wtoi(moment) == kNever) OtherProcess::signal();
  SlowFiles slow;
  if (std::wstring(task) == L"restaurar") {
    Host(folder).restore(brake);
  } else if (std::wstring(task).starts_with(L"copiar")) {
    Host(folder).backUp(std::wstring(task).ends_with(L"comprobando"), brake);
  } else {
    Host(folder, slow).backUp(std::wstring(task).ends_with(L"comprobando"));
  }
}

// Lets another process do something in `folder` until its bar has come so far, and ends it there. Answers whether it
// has come so far.
bool startAndKill(const std::wstring& folder, const std::wstring& task, int moment) {
  SetEnvironmentVariableW(kFolderVariable, folder.c_str());
  SetEnvironmentVariableW(kTaskVariable, task.c_str());
  SetEnvironmentVariableW(kMomentVariable, std::to_wstring(moment).c_str());
  const OtherProcess other(L"KilledRun.DISABLED_OtherProcess");
  return other.hasSignalled();
}

const auto isUnfinished = AllOf(StartsWith(L"qev"), EndsWith(L".tmp"));

// Of a log: nothing is under way in it, and the last run was a success.
MATCHER(EndsWithSuccess, "") {
  const std::string& log = arg;
  return log.find("en marcha") == std::string::npos && log.find("correcto", log.rfind("=== ")) != std::string::npos;
}

class KilledRestore : public testing::Test {
 protected:
  void SetUp() override {
    folder_.makeFolder(L"trabajo\\temp");
    folder_.write(L"copias\\copia.qev", set_);
    folder_.write(L"destino\\grande.db", "los de ahora");
    folder_.write(L"destino\\z.txt", "los de ahora");
  }

  // The set is what it was, and a check finds all of its values.
  void expectWholeSet() {
    EXPECT_TRUE(folder_.bytes(L"copias\\copia.qev") == set_);
    EXPECT_THAT(folder_.list(L"copias"), ElementsAre(L"copia.qev"));
    EXPECT_EQ((SetHeader{kTitle, moment(2026, 11, 16), 1, 1, L"C:"}), host_.checked());
  }

  void expectTheNextRestoreSucceeds() {
    EXPECT_THAT(folder_.bytes(L"trabajo\\registro.log"), HasSubstr("\r\n  Resultado: en marcha\r\n"));
    EXPECT_EQ(RestoreRun::Outcome::Restored, host_.restore());
    EXPECT_THAT(
        folder_.bytes(L"trabajo\\registro.log"),
        HasSubstr("  Resultado: interrumpido: el programa termin\xC3\xB3 antes que la restauraci\xC3\xB3n\r\n"));
    EXPECT_THAT(folder_.bytes(L"trabajo\\registro.log"), EndsWithSuccess());
    EXPECT_THAT(host_.messages().shown, IsEmpty());
    EXPECT_THAT(folder_.list(L"destino"), ElementsAre(L"Datos", L"a.txt", L"grande.db", L"z.txt"));
    EXPECT_EQ("a", folder_.bytes(L"destino\\a.txt"));
    EXPECT_EQ("facturas de enero", folder_.bytes(L"destino\\Datos\\facturas.txt"));
    EXPECT_TRUE(folder_.bytes(L"destino\\grande.db") == large_);
    EXPECT_EQ("z", folder_.bytes(L"destino\\z.txt"));
    EXPECT_THAT(folder_.list(L"trabajo\\temp"), IsEmpty());
    expectWholeSet();
  }

  // A large file between small ones: more than half of the bar is its extraction, a little less the copy before it.
  const std::string large_ = noise(6 << 20, 1);
  const std::string set_ =
      "Programa : Gestion de prueba;Fecha Creaci\xF3n : 16/11/2026;Total de Vol\xFAmenes :1;N\xFAmero de Vol\xFAmen "
      ":1;Directorio : C:;\r\n" +
      zipOf({storedEntry("a.txt", "a"), deflatedEntry("Datos/facturas.txt", "facturas de enero"),
             storedEntry("grande.db", large_), storedEntry("z.txt", "z")});
  TemporaryFolder folder_;
  Host host_{folder_.path()};
};

TEST_F(KilledRestore, WhileTheArchiveIsTakenOutOfTheSetLeavesTheSetWholeAndTheNextOneSucceeds) {
  ASSERT_TRUE(startAndKill(folder_.path(), L"restaurar", 200));
  EXPECT_THAT(folder_.list(L"trabajo\\temp"), Each(isUnfinished)) << "where the system does not delete it";
  EXPECT_THAT(folder_.list(L"destino"), ElementsAre(L"grande.db", L"z.txt"));
  expectWholeSet();
  expectTheNextRestoreSucceeds();
}

TEST_F(KilledRestore, WhileAFileIsExtractedLeavesTheSetWholeAndTheNextOneSucceeds) {
  ASSERT_TRUE(startAndKill(folder_.path(), L"restaurar", 750));
  EXPECT_THAT(folder_.list(L"trabajo\\temp"), ElementsAre(AllOf(StartsWith(L"restaurar"), EndsWith(L".zip"))));
  EXPECT_EQ("a", folder_.bytes(L"destino\\a.txt")) << "it has begun to extract";
  EXPECT_EQ("los de ahora", folder_.bytes(L"destino\\grande.db")) << "no file is half an old and half a new one";
  EXPECT_EQ("los de ahora", folder_.bytes(L"destino\\z.txt"));
  EXPECT_THAT(folder_.list(L"destino"), ElementsAre(L"Datos", L"a.txt", L"grande.db", L"z.txt"))
      << "the half of a new file goes with the process";
  expectWholeSet();
  expectTheNextRestoreSucceeds();
}

TEST_F(KilledRestore, TwiceLeavesNoMoreThanOnce) {
  ASSERT_TRUE(startAndKill(folder_.path(), L"restaurar", 750));
  ASSERT_TRUE(startAndKill(folder_.path(), L"restaurar", 200));
  EXPECT_THAT(folder_.list(L"trabajo\\temp"), Each(isUnfinished)) << "the first one's archive is gone";
  expectWholeSet();
  expectTheNextRestoreSucceeds();
}

// What the other process is killed at.
struct Phase {
  const char* name;
  bool isSafe;
  const wchar_t* task;
  int moment;  // thousandths of the bar
};

void PrintTo(const Phase& phase, std::ostream* out) {
  *out << phase.name;
}

// The old set stays until the new one is finished, in safe mode and without it.
class KilledBackup : public KilledRestore {
 protected:
  void SetUp() override {
    KilledRestore::SetUp();
    folder_.write(L"programa\\Datos\\Emp01\\clientes.db", noise(4 << 20, 2));
    folder_.write(L"programa\\Datos\\Emp01\\facturas.db", noise(2 << 20, 3));
  }

  void expectTheNextBackupReplacesTheSet(bool isSafe) {
    EXPECT_EQ(L"", host_.backUp(isSafe));
    EXPECT_THAT(folder_.list(L"copias"), ElementsAre(L"copia.qev"));
    EXPECT_EQ(RestoreRun::Outcome::Restored, host_.restore());
    const std::wstring data = restored();
    EXPECT_TRUE(folder_.bytes(data + L"clientes.db") == noise(4 << 20, 2));
    EXPECT_TRUE(folder_.bytes(data + L"facturas.db") == noise(2 << 20, 3));
    EXPECT_THAT(folder_.list(L"trabajo\\temp"), IsEmpty());
  }

  // Where clientes.db has come back, below the folder of the test: names in a set are full paths without their drive.
  std::wstring restored() const {
    const std::wstring name = L"\\clientes.db";
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_ / L"destino")) {
      const std::wstring path = entry.path().wstring().substr(folder_.path().size() + 1);
      if (path.ends_with(name)) return path.substr(0, path.size() - name.size() + 1);
    }
    return L"?\\";
  }
};

class KilledBackupIn : public KilledBackup, public testing::WithParamInterface<Phase> {};

TEST_P(KilledBackupIn, LeavesTheOldSetWholeAndNothingThatCountsAsASetAndTheNextOneSucceeds) {
  ASSERT_TRUE(startAndKill(folder_.path(), GetParam().task, GetParam().moment));
  EXPECT_TRUE(folder_.bytes(L"copias\\copia.qev") == set_);
  for (const std::wstring& name : folder_.list(L"copias")) {
    EXPECT_THAT(name, AnyOf(std::wstring(L"copia.qev"), isUnfinished));
  }
  EXPECT_TRUE(host_.checked());
  FakePlatform fake;
  fake.registry.put(kKey, L"NCopias", std::int16_t{1});
  std::wstring key = kKey;
  HostSettings host;
  host.backupFolder = folder_ / L"copias";
  CCopias(systemPlatform().files, SettingsStore(fake.registry, key), fake.locale, host, L"");
  EXPECT_THAT(folder_.list(L"copias"), ElementsAre(L"copia.qev"));
  expectTheNextBackupReplacesTheSet(GetParam().isSafe);
}

TEST_P(KilledBackupIn, LeavesNothingThatTheNextOneDoesNotRemove) {
  ASSERT_TRUE(startAndKill(folder_.path(), GetParam().task, GetParam().moment));
  expectTheNextBackupReplacesTheSet(GetParam().isSafe);
}

// At no moment of its own choice: QEV_ROUNDS says how often, a few times by itself.
TEST_F(KilledBackup, AtAnyMomentLeavesAWholeSetAndNothingThatTheNextOneDoesNotRemove) {
  const char* const told = getenv("QEV_ROUNDS");
  const int rounds = told ? atoi(told) : 4;
  std::minstd_rand random(1);
  for (int round = 0; round < rounds; ++round) {
    SetEnvironmentVariableW(kFolderVariable, folder_.path().c_str());
    SetEnvironmentVariableW(kTaskVariable, round % 2 ? L"copiar" : L"copiar comprobando");
    SetEnvironmentVariableW(kMomentVariable, std::to_wstring(kNever).c_str());
    {
      const OtherProcess other(L"KilledRun.DISABLED_OtherProcess");
      ASSERT_TRUE(other.hasSignalled());
      Sleep(static_cast<DWORD>(random() % 700));
    }
    const auto reader = systemPlatform().files.openForReading(host_.set());
    EXPECT_TRUE(readsWhole(*reader)) << "round " << round;
    EXPECT_TRUE(host_.checked()) << "round " << round;
  }
  EXPECT_EQ(L"", host_.backUp(true));
  EXPECT_THAT(folder_.list(L"copias"), ElementsAre(L"copia.qev"));
}

INSTANTIATE_TEST_SUITE_P(Phase, KilledBackupIn,
                         testing::Values(Phase{"Archiving", true, L"copiar comprobando", 300},
                                         Phase{"Comparing", true, L"copiar comprobando", 600},
                                         Phase{"Testing", true, L"copiar comprobando", 800},
                                         Phase{"PuttingTheHeaderOn", true, L"sellar comprobando", 0},
                                         Phase{"ArchivingUnsafely", false, L"copiar", 300},
                                         Phase{"PuttingTheHeaderOnUnsafely", false, L"sellar", 0}),
                         [](const testing::TestParamInfo<Phase>& one) { return std::string(one.param.name); });

}  // namespace
}  // namespace qev::test
