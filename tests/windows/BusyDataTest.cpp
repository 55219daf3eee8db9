// Backups of data that another program works with, and of one target that two programs want: real engines, real files,
// a second process.
#include <gmock/gmock.h>
#include <windows.h>

#include <array>
#include <cstdlib>
#include <string>

#include "backup/HacerCopia.h"
#include "platform/Handle.h"
#include "set/WholeSet.h"
#include "support/FakePlatform.h"
#include "support/OtherProcess.h"
#include "support/RecordingView.h"
#include "support/TemporaryFolder.h"

namespace qev::test {
namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr wchar_t kTaskVariable[] = L"QEV_BUSY_TASK";
constexpr wchar_t kFolderVariable[] = L"QEV_BUSY_FOLDER";
constexpr wchar_t kBase[] = L"Prog\\Datos\\Emp01\\gestion.db";
constexpr std::uint64_t kBaseBytes = 60 << 20;
constexpr std::array<std::uint64_t, 3> kPlaces = {0, kBaseBytes / 2, kBaseBytes - sizeof(std::uint64_t)};

int rounds(int byItself) {
  const char* const told = getenv("QEV_ROUNDS");
  return told ? atoi(told) : byItself;
}

UniqueFile openShared(const std::wstring& path) {
  return UniqueFile(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                OPEN_EXISTING, 0, nullptr));
}

void putNumber(HANDLE file, std::uint64_t place, std::uint64_t number) {
  LARGE_INTEGER at{};
  at.QuadPart = static_cast<LONGLONG>(place);
  DWORD written = 0;
  ASSERT_TRUE(SetFilePointerEx(file, at, nullptr, FILE_BEGIN));
  ASSERT_TRUE(WriteFile(file, &number, sizeof number, &written, nullptr));
}

// A host with real files and engines below a folder.
class Host {
 public:
  explicit Host(const std::wstring& folder)
      : folder_(folder),
        platform_(with(systemPlatform(), fake_.registry, fake_.messages, fake_.workFolder, fake_.sound)) {
    fake_.workFolder.folder = folder + L"\\trabajo";
    host_.title = L"Gestion";
    host_.dataFolder = folder + L"\\Prog\\Datos\\Emp01\\";
    host_.settingsKey = L"Software\\Gestion";
    fake_.registry.put(host_.settingsKey, L"Verificar", std::int32_t{1});
  }

  std::wstring target() const { return folder_ + L"\\copias\\copia.qev"; }

  // Answers what the window said if it has failed.
  std::wstring backUp() {
    fake_.messages.onShow = [this](const FakeMessages::Shown&) { fake_.messages.willAnswer({Answer::Yes}); };
    SettingsStore settings(fake_.registry, host_.settingsKey);
    RecordingView view;
    BackupRun(platform_, host_, kManual, settings, view).HacerCopia(target());
    return view.succeeded ? L"" : view.failure;
  }

 private:
  const std::wstring folder_;
  FakePlatform fake_;
  Platform platform_;
  HostSettings host_;
};

// The other process: this program again, with this test alone.
TEST(BusyRun, DISABLED_OtherProcess) {
  const std::wstring folder = _wgetenv(kFolderVariable);
  const std::wstring task = _wgetenv(kTaskVariable);
  if (task == L"copiar") {
    OtherProcess::signal();
    for (int round = rounds(5); round > 0; --round) {
      const std::wstring failure = Host(folder).backUp();
      EXPECT_TRUE(failure.empty() || failure.find(L"Otra copia de seguridad") != failure.npos);
    }
    return;
  }
  const UniqueFile file = openShared(folder + L"\\" + kBase);
  ASSERT_TRUE(file);
  if (task == L"tener") OtherProcess::signalAndSleep();
  for (std::uint64_t number = 1;; ++number) {
    for (const std::uint64_t place : kPlaces) putNumber(file.get(), place, number);
    if (number == 1) OtherProcess::signal();
  }
}

class BusyData : public testing::Test {
 protected:
  BusyData() {
    folder_.makeFolder(L"trabajo\\temp");
    folder_.makeFolder(L"copias");
    folder_.write(L"Prog\\Util.mde", "utilidades");
    folder_.write(kBase, "");
    const UniqueFile file = openShared(folder_ / kBase);
    for (const std::uint64_t place : kPlaces) putNumber(file.get(), place, 0);
    SetEnvironmentVariableW(kFolderVariable, folder_.path().c_str());
  }

  static OtherProcess start(const wchar_t* task) {
    SetEnvironmentVariableW(kTaskVariable, task);
    return OtherProcess(L"BusyRun.DISABLED_OtherProcess");
  }

  TemporaryFolder folder_;
  Host host_{folder_.path()};
};

TEST_F(BusyData, ADatabaseThatIsWrittenAllTheWhileIsNeverCalledSaved) {
  const OtherProcess writer = start(L"escribir");
  ASSERT_TRUE(writer.hasSignalled());
  EXPECT_THAT(host_.backUp(), HasSubstr(L"Error: 75-Copia incompleta: gestion.db ha cambiado durante la copia"));
  EXPECT_THAT(folder_.list(L"copias"), testing::IsEmpty());
  writer.kill();
  EXPECT_EQ(host_.backUp(), L"") << "nobody writes it any more";
}

TEST_F(BusyData, ADatabaseThatIsOpenAndNotWrittenIsSaved) {
  const OtherProcess holder = start(L"tener");
  ASSERT_TRUE(holder.hasSignalled());
  EXPECT_EQ(host_.backUp(), L"");
  EXPECT_THAT(folder_.list(L"copias"), ElementsAre(L"copia.qev"));
}

TEST_F(BusyData, OfTwoProgramsWithOneTargetEachSavesOrSaysThatTheOtherDoes) {
  const OtherProcess other = start(L"copiar");
  ASSERT_TRUE(other.hasSignalled());
  for (int round = rounds(5); round > 0; --round) {
    EXPECT_THAT(host_.backUp(), AnyOf(std::wstring(), HasSubstr(L"Error: 70-Otra copia de seguridad está en marcha")));
    if (folder_.list(L"copias").empty()) continue;
    for (const std::wstring& name : folder_.list(L"copias")) {
      if (name != L"copia.qev") continue;
      const auto reader = systemPlatform().files.openLive(host_.target());
      EXPECT_TRUE(readsWhole(*reader));
    }
  }
  other.wait();
  DWORD code = STILL_ACTIVE;
  EXPECT_TRUE(GetExitCodeProcess(other.handle(), &code));
  EXPECT_EQ(code, 0u) << "what the other one said";
  EXPECT_EQ(host_.backUp(), L"");
  EXPECT_THAT(folder_.list(L"copias"), ElementsAre(L"copia.qev"));
}

}  // namespace
}  // namespace qev::test
