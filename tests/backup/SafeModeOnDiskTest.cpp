// Backup runs with the setting Verificar, with both engines, on a real disk.
#include <gmock/gmock.h>

#include <fstream>
#include <string>
#include <vector>

#include "backup/HacerCopia.h"
#include "backup/SetBuild.h"
#include "platform/Handle.h"
#include "support/FakePlatform.h"
#include "support/RecordingView.h"
#include "support/SmallDisk.h"
#include "support/TemporaryFolder.h"

namespace qev::test {
namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr char kOld[] = "la copia de hoy";

// The zip engine, but for a byte in the middle of what it has made.
class HostileEngine final : public ZipEngine {
 public:
  std::int32_t run(const ZipRequest& request, EngineClient& client) override {
    const std::int32_t code = loadZipEngine()->run(request, client);
    std::fstream file(request.archive.c_str(), std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(60'000);
    file.put('\x55');
    return code;
  }
};

class SafeModeOnDisk : public testing::Test {
 protected:
  SafeModeOnDisk() {
    host_.title = L"Gestion";
    host_.dataFolder = folder_ / L"Prog\\Datos\\Emp01\\";
    host_.settingsKey = L"Software\\Gestion";
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
    fake_.registry.put(host_.settingsKey, L"Verificar", std::int32_t{1});
    BackupRun(platform_, host_, kAutomatic, settings_, view_, engine).HacerCopia(target);
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
  HostSettings host_;
  SettingsStore settings_{fake_.registry, host_.settingsKey};
  RecordingView view_;
};

TEST_F(SafeModeOnDisk, ASafeRunMakesTheSameBytesAsAnOrdinaryOne) {
  BackupRun(platform_, host_, kAutomatic, settings_, view_).HacerCopia(folder_ / L"Copias\\normal.qev");
  putOld();
  runSafely(target());
  EXPECT_TRUE(view_.succeeded);
  EXPECT_TRUE(folder_.bytes(L"Copias\\copia.qev") == folder_.bytes(L"Copias\\normal.qev"));
  EXPECT_THAT(folder_.bytes(L"Copias\\copia.qev"), StartsWith("Programa : Gestion;"));
  EXPECT_THAT(folder_.list(L"Copias"), ElementsAre(L"copia.qev", L"normal.qev"));
  EXPECT_THAT(folder_.bytes(L"trabajo\\registro.log"), Not(HasSubstr("Avisos del motor")));
}

TEST_F(SafeModeOnDisk, AHostWithoutUtilitiesAndSettingsHasNothingToRemark) {
  DeleteFileW((folder_ / L"Prog\\Util.mde").c_str());
  DeleteFileW((folder_ / L"Prog\\Gestion.ini").c_str());
  runSafely(target());
  EXPECT_TRUE(view_.succeeded);
  EXPECT_THAT(folder_.bytes(L"trabajo\\registro.log"), Not(HasSubstr("Avisos")));
}

TEST_F(SafeModeOnDisk, AByteThatIsWrongInTheArchiveIsFound) {
  putOld();
  runSafely(target(), [] { return std::make_unique<HostileEngine>(); });
  EXPECT_THAT(view_.failure, HasSubstr(L"Error: 2-Copia dañada: "));
  expectOldAlone();
}

TEST_F(SafeModeOnDisk, ADataFileThatAnotherProgramHasOpenIsAFailureThatNamesIt) {
  putOld();
  const auto held = UniqueFile(CreateFileW((host_.dataFolder + L"clientes.db").c_str(), GENERIC_READ, 0, nullptr,
                                           OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  ASSERT_TRUE(held);
  runSafely(target());
  EXPECT_THAT(view_.failure, HasSubstr(L"Error: 70-Copia incompleta: clientes.db no se ha podido leer"));
  EXPECT_THAT(folder_.bytes(L"trabajo\\registro.log"), HasSubstr("clientes.db"));
  expectOldAlone();
}

TEST_F(SafeModeOnDisk, AFullDiskIsAFailureAndTheOldSetStaysAlone) {
  const auto disk = smallDisk();
  if (!disk) GTEST_SKIP() << kNoSmallDisk;
  const std::wstring onDisk = *disk + L"\\copia.qev";
  const std::wstring kept = SetBuild::keptArchive(onDisk);
  for (const int copies : {1, 5}) {  // the set does not fit beside its archive; the archive does not fit
    for (int i = 1; i < copies; ++i) folder_.write(L"Prog\\Datos\\Emp01\\" + std::to_wstring(i) + L".db", noise());
    std::ofstream(onDisk.c_str(), std::ios::binary) << std::string(150'000, 'v');
    fake_.messages.willAnswer({Answer::Yes});
    view_.failure.clear();
    runSafely(onDisk);
    EXPECT_THAT(view_.failure, HasSubstr(L"Error: 61-Disco lleno"));
    EXPECT_EQ(150'000u, system_.files.fileSize(onDisk));
    std::vector<std::wstring> left;
    system_.files.walkFiles(
        *disk + L"\\",
        {.file = [&](const WalkedFile& file) { left.push_back(fileNamePart(file.path)); }, .gap = nullptr});
    if (copies == 1) {
      EXPECT_THAT(left, testing::UnorderedElementsAre(L"copia.qev", L"copia.qev.sin-cabecera.zip"));
      EXPECT_THAT(view_.failure, HasSubstr(L"sin cabecera, en " + kept));
    } else {
      EXPECT_THAT(left, ElementsAre(L"copia.qev"));
    }
    DeleteFileW(kept.c_str());
  }
  DeleteFileW(onDisk.c_str());
}

}  // namespace
}  // namespace qev::test
