// Backups to floppy disks on a real drive A:, a file system of a formatted 1.44 MB disk. The test plays the user who
// changes disks: whenever a disk is asked for, it takes away what the last one holds.
#include <gtest/gtest.h>

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "backup/DiskCopy.h"
#include "backup/HacerCopia.h"
#include "platform/Platform.h"
#include "support/FakePlatform.h"
#include "support/RecordingView.h"

namespace fs = std::filesystem;

namespace qev::test {
namespace {

constexpr wchar_t kKey[] = L"Software\\QevBackupFloppyTest";

std::string content(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Archives to a file of so many bytes, the same every time.
namespace fixed {
std::size_t size = 0;

std::string bytes() {
  std::mt19937 random(3);
  std::string made(size, '\0');
  for (char& c : made) c = static_cast<char>(random());
  return made;
}

class Engine final : public ZipEngine {
  std::int32_t run(const ZipRequest& request, EngineClient&) override {
    std::ofstream(request.archive.c_str(), std::ios::binary) << bytes();
    return kZipDone;
  }
};

std::unique_ptr<ZipEngine> load() {
  return std::make_unique<Engine>();
}
}  // namespace fixed

// Answers OK to everything, and changes the disk when one is asked for.
class DiskChanger : public Messages {
 public:
  Answer show(const std::wstring& text, const std::wstring&, std::uint32_t) override {
    asked.push_back(text);
    if (text.starts_with(L"Introduzca") || text.starts_with(L"El disco no esta vacio")) takeDiskOut();
    if (text.starts_with(L"Introduzca") && asked.size() == 1 && !firstDiskHolds.empty()) {
      std::ofstream(L"A:\\viejo.txt", std::ios::binary) << firstDiskHolds;
    }
    return text.starts_with(L"Hoy") ? Answer::Yes : Answer::Ok;
  }

  void takeDiskOut() {
    std::error_code empty;  // listing a root folder without entries fails
    for (const auto& entry : fs::directory_iterator(L"A:\\", empty)) {
      if (entry.path().extension() == L".qev") disks.push_back(content(entry.path()));
      names.push_back(entry.path().filename().wstring());
      fs::remove(entry.path());
    }
  }

  std::vector<std::wstring> asked;
  std::vector<std::wstring> names;
  std::vector<std::string> disks;
  std::string firstDiskHolds;
};

class Floppy : public testing::Test {
 protected:
  void SetUp() override {
    if (GetDriveTypeW(L"A:\\") != DRIVE_REMOVABLE || !system_.drives.freeSpace(L"A:")) {
      GTEST_SKIP() << "no disk in drive A:";
    }
    changer_.takeDiskOut();
    changer_.names.clear();
    changer_.disks.clear();
    host_.title = L"Gestion";
    host_.settingsKey = kKey;
    host_.dataFolder = L"C:\\QevFloppy\\Datos\\Emp01\\";
    fs::create_directories(host_.dataFolder);
    removeWorkFiles();
  }

  void TearDown() override {
    fs::remove_all(L"C:\\QevFloppy");
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, kKey);
    removeWorkFiles();
  }

  void removeWorkFiles() {
    for (const auto& entry : fs::directory_iterator(temp())) fs::remove(entry.path());
  }

  fs::path temp() const { return fs::path(system_.workFolder.path()) / L"temp"; }

  void run(std::size_t archiveSize) {
    fixed::size = archiveSize;
    BackupRun(platform_, host_, kScheduled, settings_, view_, fixed::load).HacerCopia(L"A:\\Backup21-11-26.qev");
    changer_.takeDiskOut();
  }

  Platform& system_ = systemPlatform();
  DiskChanger changer_;
  Platform platform_ = with(system_, changer_);
  HostSettings host_;
  SettingsStore settings_{system_.registry, host_.settingsKey};
  RecordingView view_;
};

TEST_F(Floppy, AnArchiveOf3000000BytesTakesThreeDisks) {
  run(3'000'000);
  EXPECT_EQ(view_.failure, L"");
  ASSERT_EQ(3u, changer_.disks.size());
  EXPECT_EQ(1'440'000u, changer_.disks[0].size());
  EXPECT_EQ(1'440'000u, changer_.disks[1].size());
  EXPECT_EQ(120'000u, changer_.disks[2].size());
  EXPECT_EQ(fixed::bytes(), changer_.disks[0] + changer_.disks[1] + changer_.disks[2])
      << "the disks hold bare slices of the archive, in order";
  EXPECT_EQ(std::vector<std::wstring>(3, L"Backup21-11-26.qev"), changer_.names);
  for (const wchar_t* text :
       {L" Copiando disco 1 de 3...", L" Copiando disco 2 de 3...", L" Copiando disco 3 de 3..."}) {
    EXPECT_TRUE(view_.did(std::wstring(L"result:") + text)) << "not shown";
  }
}

TEST_F(Floppy, TheWorkingCopyGoesAndThePiecesStay) {
  run(1'500'000);
  EXPECT_FALSE(fs::exists(temp() / L"copia.zip"));
  EXPECT_EQ(1'440'000u, fs::file_size(temp() / L"copia.zip1"));
  EXPECT_EQ(60'000u, fs::file_size(temp() / L"copia.zip2"));
}

TEST_F(Floppy, ADiskThatIsNotEmptyIsRefusedUntilAnotherIsInserted) {
  changer_.firstDiskHolds.assign(100'000, 'x');
  run(1'000);
  const std::vector<std::wstring> asked = {
      L"Introduzca un disco formateado para continuar",
      L"El disco no esta vacio o contiene sectores defectuosos, inserte otro disco por favor"};
  EXPECT_EQ(asked, changer_.asked);
  EXPECT_TRUE(view_.succeeded);
}

TEST_F(Floppy, AFormattedDiskReportsItsFreeBytes) {
  DiskCopy disks(platform_, host_.title, nullptr, nullptr);
  EXPECT_GE(disks.freeBytes(L"A:"), 1'440'001);
  EXPECT_LT(disks.freeBytes(L"A:"), 1'500'000);
}

}  // namespace
}  // namespace qev::test
