// What a process that loads the library holds does not grow with what is done in it: loads of each of the three DLLs,
// backups in safe mode, restores, dialogs. Told by the process's own counters: bytes in use of all its heaps, handles,
// threads. QEV_ROUNDS in the environment: so many rounds of each, for a long run.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "automation/MCBackup.h"
#include "platform/Handle.h"
#include "platform/SystemServices.h"
#include "platform/Variant.h"
#include "restore/RestaurarCopia.h"
#include "support/ProcessUse.h"

namespace fs = std::filesystem;

namespace qev::test {
namespace {

constexpr wchar_t kKey[] = L"Software\\QevBackupPilesUpTest";

// Of each label of a window that comes and goes Wine keeps what its class of labels knows of it.
constexpr std::size_t kBytesOfALabel = 24;

// What a 32-bit module leaves of the compiler's runtime each time that it is loaded: counted, and not explained yet.
constexpr bool is32 = sizeof(void*) == 4;
constexpr std::size_t kBytesOfALoad = is32 ? 352 : 0;
constexpr DWORD kHandlesOfALoad = is32 ? 2 : 0;

int roundsOr(int few) {
  const char* const told = getenv("QEV_ROUNDS");
  return told ? atoi(told) : few;
}

// `systemBytes` is what the system itself keeps of each round, in which so many modules are loaded. What is made once
// and kept is made in rounds before.
void expectFlat(int rounds, std::size_t systemBytes, std::size_t loads, const std::function<void()>& once) {
  constexpr std::size_t slack = 4096;  // bytes, however many rounds there are
  for (int i = 0; i < 4; ++i) once();
  const std::size_t heaps = heapsInUse();
  const std::size_t threads = threadCount();
  const DWORD handles = handleCount();
  for (int i = 0; i < rounds; ++i) once();
  const auto more = static_cast<std::ptrdiff_t>(heapsInUse()) - static_cast<std::ptrdiff_t>(heaps);
  testing::Test::RecordProperty("bytesPerRound", static_cast<int>(more / rounds));
  const auto all = static_cast<std::size_t>(rounds);
  EXPECT_LE(more, static_cast<std::ptrdiff_t>(all * (systemBytes + loads * kBytesOfALoad) + slack))
      << "bytes in " << rounds << " rounds";
  EXPECT_LE(handleCount(), handles + handlesOfTheSystem + all * loads * kHandlesOfALoad);
  EXPECT_LE(threadCount(), threads + 1);
}

std::wstring besideThisProgram(const std::wstring& name) {
  return (fs::path(modulePath()).parent_path() / name).wstring();
}

class NothingPilesUp : public testing::Test {
 protected:
  void SetUp() override {
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    wchar_t temp[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    root_ = fs::path(temp) / L"QevBackupPilesUp";
    fs::remove_all(root_);
    fs::create_directories(root_ / L"Datos" / L"Emp01");
    fs::create_directories(root_ / L"Backup");
    std::ofstream(root_ / L"Datos" / L"Emp01" / L"clientes.txt") << "clientes";
    std::ofstream(root_ / L"Util.mde") << "Util";
    std::ofstream(root_ / L"Gestion.ini") << "[General]";
    setting(L"DirDatos", (root_ / L"Datos" / L"Emp01").wstring() + L"\\");
    setting(L"DirMDE", root_.wstring() + L"\\");
    setting(L"Cerrar", std::int32_t{1});
    setting(L"Verificar", std::int32_t{1});
  }

  void TearDown() override {
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, kKey);
    std::error_code ignored;
    fs::remove_all(root_, ignored);
    CoUninitialize();
  }

  void setting(const std::wstring& name, const Value& value) {
    RegistryWindows().write(kKey, name, kLocalMachine, value);
  }

  std::wstring setOfToday() const {
    for (const auto& entry : fs::directory_iterator(root_ / L"Backup")) return entry.path().wstring();
    return {};
  }

  fs::path root_;
};

class LoadedModule : public NothingPilesUp, public testing::WithParamInterface<const wchar_t*> {};

TEST_P(LoadedModule, LeavesNothingWhenItGoes) {
  const std::wstring path = besideThisProgram(GetParam());
  bool isLoaded = true;
  expectFlat(roundsOr(300), 0, 1, [&] { isLoaded &= static_cast<bool>(UniqueModule(LoadLibraryW(path.c_str()))); });
  EXPECT_TRUE(isLoaded);
  EXPECT_FALSE(GetModuleHandleW(path.c_str())) << "it has been unloaded";
}

INSTANTIATE_TEST_SUITE_P(Loads, LoadedModule, testing::Values(L"QevBackup.dll", L"VANTO5.DLL", L"VANTO6.DLL"));

// The library as COM loads it, from beside this program.
class LoadedLibrary : public NothingPilesUp {
 protected:
  void SetUp() override {
    NothingPilesUp::SetUp();
    library_.reset(LoadLibraryW(besideThisProgram(L"QevBackup.dll").c_str()));
    ASSERT_TRUE(library_);
    const auto classObject = reinterpret_cast<HRESULT(WINAPI*)(REFCLSID, REFIID, void**)>(
        reinterpret_cast<void*>(GetProcAddress(library_.get(), "DllGetClassObject")));
    IClassFactory* factory = nullptr;
    ASSERT_EQ(S_OK, classObject(kClassId, IID_IClassFactory, reinterpret_cast<void**>(&factory)));
    ASSERT_EQ(S_OK, factory->CreateInstance(nullptr, IID_IMCBackup, reinterpret_cast<void**>(&object_)));
    factory->Release();
    ASSERT_EQ(S_OK, object_->put_Titulo(Bstr(L"Gestion").get()));
    ASSERT_EQ(S_OK, object_->put_Registro(Bstr(kKey).get()));
  }

  void TearDown() override {
    if (object_) object_->Release();
    library_.reset();
    NothingPilesUp::TearDown();
  }

  UniqueModule library_;
  IMCBackup* object_ = nullptr;
};

TEST_F(LoadedLibrary, BackupsInSafeModePileNothingUp) {
  constexpr std::size_t labels = 9;
  int made = 0;
  expectFlat(roundsOr(20), labels * kBytesOfALabel, 2, [&] {
    if (const std::wstring old = setOfToday(); !old.empty()) fs::remove(old);
    EXPECT_EQ(S_OK, object_->CopiaAuto());
    made += setOfToday().empty() ? 0 : 1;
  });
  EXPECT_EQ(roundsOr(20) + 4, made);
}

class SilentView : public RestoreRunView {
 public:
  void showProgress(std::optional<int>) override {}
  void showTesting(bool) override {}
  bool closeAsked() const override { return false; }
};

TEST_F(LoadedLibrary, RestoresInSafeModePileNothingUp) {
  ASSERT_EQ(S_OK, object_->CopiaAuto());
  HostSettings host;
  host.title = L"Gestion";
  RestoreChoice choice;
  choice.Archivo = setOfToday();
  choice.Destino = (root_ / L"Restaurado").wstring();
  choice.originalLocation = false;
  choice.safe = true;
  SilentView view;
  expectFlat(roundsOr(30), 0, 2, [&] {
    EXPECT_EQ(RestoreRun::Outcome::Restored, RestoreRun(systemPlatform(), host, view, choice).RestaurarCopia());
  });
  EXPECT_TRUE(fs::exists(root_ / L"Restaurado"));
}

// Closes a dialog of the library as soon as it is there, by a timer of this thread.
void CALLBACK cancelDialog(HWND, UINT, UINT_PTR, DWORD) {
  for (const wchar_t* caption : {L"Crear Copia", L"Restaurar Copia"}) {
    const HWND dialog = FindWindowW(L"#32770", caption);
    if (dialog && IsWindowVisible(dialog)) PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
  }
}

TEST_F(LoadedLibrary, DialogsPileNothingUp) {
  constexpr std::size_t labels = 12;  // of both dialogs
  const UINT_PTR timer = SetTimer(nullptr, 0, 20, &cancelDialog);
  expectFlat(roundsOr(20), labels * kBytesOfALabel, 0, [&] {
    EXPECT_EQ(S_OK, object_->FormCopiar());
    EXPECT_EQ(S_OK, object_->FormRestaurar());
  });
  KillTimer(nullptr, timer);
}

}  // namespace
}  // namespace qev::test
