// Runs that are killed: another process restores, or backs up, with the real engines, and is ended in the middle. The
// set is what it was, the next run comes to its end, and nothing of the killed one is left.
#include <gmock/gmock.h>
#include <windows.h>

#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "backup/HacerCopia.h"
#include "backup/SetFormat.h"
#include "platform/Handle.h"
#include "restore/RestaurarCopia.h"
#include "support/FakePlatform.h"
#include "support/SilentView.h"
#include "support/TemporaryFolder.h"
#include "support/ZipWriter.h"

namespace qev::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;

constexpr wchar_t kTitle[] = L"Gestion de prueba";
constexpr wchar_t kKey[] = L"Software\\Gestion";

// What the other process is told: the folder that it works in, what it is to do, where its bar then stands (permille),
// and the event that it is to signal.
constexpr wchar_t kFolderVariable[] = L"QEV_KILLED_FOLDER";
constexpr wchar_t kTaskVariable[] = L"QEV_KILLED_TASK";
constexpr wchar_t kMomentVariable[] = L"QEV_KILLED_MOMENT";
constexpr wchar_t kEventVariable[] = L"QEV_KILLED_EVENT";

std::wstring eventName() {
  return L"QevKilledRun" + std::to_wstring(GetCurrentProcessId());
}

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
  Brake(int permille, const wchar_t* event) : permille_(permille), event_(event) {}

  void at(int permille) const {
    if (event_ == nullptr || permille < permille_) return;
    const HANDLE event = OpenEventW(EVENT_MODIFY_STATE, FALSE, event_);
    SetEvent(event);
    Sleep(INFINITE);
  }

 private:
  int permille_ = 0;
  const wchar_t* event_ = nullptr;
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

class BackupView : public SilentView {
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
  explicit Host(const std::wstring& folder) : folder_(folder) {
    fake_.workFolder.folder = folder + L"\\trabajo";
    state_.title = kTitle;
    state_.settingsKey = kKey;
    state_.dataFolder = folder + L"\\programa\\Datos\\Emp01\\";
  }

  std::wstring set() const { return folder_ + L"\\copias\\copia.qev"; }

  RestoreRun::Outcome restore(const Brake& brake = {}) {
    RestoreView view(brake);
    RestoreChoice choice;
    choice.Archivo = set();
    choice.Destino = folder_ + L"\\destino";
    choice.originalLocation = false;
    return RestoreRun(platform_, state_, view, choice).RestaurarCopia();
  }

  // In safe mode, over a set that is there. Answers what the window said if it has failed.
  std::wstring backUp(const Brake& brake = {}) {
    fake_.registry.put(kKey, L"Verificar", std::int32_t{1});
    fake_.messages.willAnswer({Answer::Yes});
    state_.BackupKind = kManual;
    SettingsStore settings(fake_.registry, state_.settingsKey);
    BackupView view(brake);
    BackupRun(platform_, state_, settings, view).HacerCopia(set());
    return view.succeeded ? L"" : L"failed: " + view.failure;
  }

  // What a check of the set finds.
  CurrentSet checked() {
    state_.currentSet = {};
    EXPECT_TRUE(SetFormat(platform_, state_).checkSet(set()).matches);
    return state_.currentSet;
  }

  FakeMessages& messages() { return fake_.messages; }

 private:
  const std::wstring folder_;
  FakePlatform fake_;
  Platform platform_ = with(systemPlatform(), fake_.registry, fake_.messages, fake_.workFolder, fake_.sound);
  LibraryState state_;
};

// The other process: this program again, with this test alone.
TEST(KilledRun, DISABLED_OtherProcess) {
  const wchar_t* const folder = _wgetenv(kFolderVariable);
  const wchar_t* const task = _wgetenv(kTaskVariable);
  const wchar_t* const moment = _wgetenv(kMomentVariable);
  const wchar_t* const event = _wgetenv(kEventVariable);
  ASSERT_TRUE(folder && task && moment && event);
  const Brake brake(_wtoi(moment), event);
  Host host(folder);
  if (std::wstring(task) == L"restaurar") {
    host.restore(brake);
  } else {
    host.backUp(brake);
  }
}

// Lets another process do something in `folder` until its bar has come so far, and ends it there. Answers whether it
// has come so far.
bool startAndKill(const std::wstring& folder, const std::wstring& task, int moment) {
  const UniqueKernelHandle event(CreateEventW(nullptr, TRUE, FALSE, eventName().c_str()));
  std::wstring program(MAX_PATH, L'\0');
  program.resize(GetModuleFileNameW(nullptr, program.data(), MAX_PATH));
  std::wstring command =
      L"\"" + program + L"\" --gtest_filter=KilledRun.DISABLED_OtherProcess --gtest_also_run_disabled_tests";
  SetEnvironmentVariableW(kFolderVariable, folder.c_str());
  SetEnvironmentVariableW(kTaskVariable, task.c_str());
  SetEnvironmentVariableW(kMomentVariable, std::to_wstring(moment).c_str());
  SetEnvironmentVariableW(kEventVariable, eventName().c_str());
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION made{};
  if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, DETACHED_PROCESS, nullptr, nullptr, &startup,
                      &made)) {
    return false;
  }
  const UniqueKernelHandle process(made.hProcess);
  const UniqueKernelHandle thread(made.hThread);
  const HANDLE first[] = {event.get(), process.get()};
  const bool hasCome = WaitForMultipleObjects(2, first, FALSE, 60'000) == WAIT_OBJECT_0;
  TerminateProcess(process.get(), 9);
  WaitForSingleObject(process.get(), 60'000);
  return hasCome;
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
    const CurrentSet found = host_.checked();
    EXPECT_EQ(kTitle, found.program);
    EXPECT_EQ(moment(2026, 11, 16), found.creationDate);
    EXPECT_EQ(1, found.totalVolumes);
    EXPECT_EQ(1, found.volumeNumber);
    EXPECT_EQ(L"C:", found.directory);
  }

  void expectTheNextRestoreSucceeds() {
    EXPECT_EQ(RestoreRun::Outcome::Restored, host_.restore());
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
  EXPECT_THAT(folder_.list(L"trabajo\\temp"), ElementsAre(AllOf(StartsWith(L"qev"), EndsWith(L".tmp"))));
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
  EXPECT_THAT(folder_.list(L"trabajo\\temp"), ElementsAre(AllOf(StartsWith(L"qev"), EndsWith(L".tmp"))));
  expectWholeSet();
  expectTheNextRestoreSucceeds();
}

// In safe mode the old set stays until the new one is proven.
class KilledBackup : public KilledRestore {
 protected:
  void SetUp() override {
    KilledRestore::SetUp();
    folder_.write(L"programa\\Datos\\Emp01\\clientes.db", noise(4 << 20, 2));
    folder_.write(L"programa\\Datos\\Emp01\\facturas.db", noise(2 << 20, 3));
  }

  void expectTheNextBackupReplacesTheSet() {
    EXPECT_EQ(L"", host_.backUp());
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

TEST_F(KilledBackup, WhileItArchivesLeavesTheOldSetWholeAndTheNextOneSucceeds) {
  ASSERT_TRUE(startAndKill(folder_.path(), L"copiar", 300));
  EXPECT_TRUE(folder_.bytes(L"copias\\copia.qev") == set_);
  host_.checked();
  expectTheNextBackupReplacesTheSet();
}

TEST_F(KilledBackup, WhileItTestsTheNewSetLeavesTheOldOneWholeAndTheNextOneSucceeds) {
  ASSERT_TRUE(startAndKill(folder_.path(), L"copiar", 800));
  EXPECT_TRUE(folder_.bytes(L"copias\\copia.qev") == set_);
  EXPECT_THAT(folder_.list(L"copias"), ElementsAre(L"copia.qev", L"copia.qev.nueva"));
  host_.checked();
  expectTheNextBackupReplacesTheSet();
}

}  // namespace
}  // namespace qev::test
