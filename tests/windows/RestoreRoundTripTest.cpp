// Data that goes into a set by a backup run and comes back by the restore dialog, with the real engines: every byte,
// name, date and attribute.
#include "backup/HacerCopia.h"
#include "support/RecordingView.h"
#include "windows/RestoreForms.h"

#include <random>

using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace qev::test {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

constexpr wchar_t kFormatted[] = L"Introduzca un disco formateado para continuar";

// What a file is, by which it is compared.
struct FileState {
  std::string bytes;
  std::uint64_t written = 0;  // seconds
  DWORD attributes = 0;

  bool operator==(const FileState& other) const {
    const auto apart = written > other.written ? written - other.written : other.written - written;
    return bytes == other.bytes && apart <= 2 && attributes == other.attributes;
  }
};

// For the reports of failed tests.
void PrintTo(const FileState& state, std::ostream* out) {
  *out << state.bytes.size() << " bytes, written " << state.written << ", attributes " << state.attributes;
}

using Tree = std::map<std::wstring, FileState>;

FileState stateOf(const fs::path& path) {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data);
  const std::uint64_t ticks =
      (std::uint64_t{data.ftLastWriteTime.dwHighDateTime} << 32) | data.ftLastWriteTime.dwLowDateTime;
  std::ifstream file(path, std::ios::binary);
  return {{std::istreambuf_iterator<char>(file), {}},
          ticks / 10'000'000,
          data.dwFileAttributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM)};
}

Tree treeOf(const std::wstring& root) {
  Tree tree;
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    if (entry.is_regular_file()) tree[entry.path().wstring().substr(root.size())] = stateOf(entry.path());
  }
  return tree;
}

class RoundTrip : public RestoreForms {
 protected:
  // The host's program on drive R:, its data two folders down.
  void SetUp() override {
    if (!drive_.isThere()) GTEST_SKIP() << "no drive R:";
    RestoreForms::SetUp();
    host_.dataFolder = L"R:\\Datos\\Emp01\\";
    put(L"Datos\\Emp01\\clientes.db", std::string(70'000, 'c') + "Ibáñez");
    put(L"Datos\\Emp01\\vacio.txt", "");
    put(L"Datos\\Emp01\\Año 2026\\Facturas de enero.db", noise(150'000, 1));
    put(L"Datos\\Emp01\\Año 2026\\Detalle\\líneas.txt", "una\r\notra\r\n");
    put(L"Datos\\Emp01\\grande.db", noise(3'300'000, 2));
    put(L"Datos\\Emp01\\cerrado.txt", "ejercicio cerrado");
    put(L"Util.mde", noise(20'000, 3));
    put(L"Gestion de prueba.ini", "[Gestion]\r\nEmpresa=1\r\n");
    SetFileAttributesW(L"R:\\Datos\\Emp01\\cerrado.txt", FILE_ATTRIBUTE_READONLY);
    age(L"Datos\\Emp01\\clientes.db", 400);
    age(L"Util.mde", 3000);
    original_ = treeOf(L"R:\\");
  }

  static std::string noise(std::size_t size, unsigned seed) {
    std::mt19937 random(seed);
    std::string bytes(size, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    return bytes;
  }

  static void put(const std::wstring& name, const std::string& bytes) {
    const fs::path path = L"R:\\" + name;
    fs::create_directories(path.parent_path());
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    std::ofstream(path, std::ios::binary) << bytes;
  }

  static void age(const std::wstring& name, int days) {
    const fs::path path = L"R:\\" + name;
    fs::last_write_time(path, fs::last_write_time(path) - std::chrono::hours(24 * days));
  }

  // A backup run to `path`.
  void backUp(const std::wstring& path) {
    SettingsStore settings(fake_.registry, host_.settingsKey);
    RecordingView view;
    BackupRun(platform_, host_, kManual, settings, view).HacerCopia(path);
    ASSERT_TRUE(view.succeeded) << std::string(view.failure.begin(), view.failure.end());
  }

  // What the user may have done to the data since.
  static void damage() {
    fs::remove(L"R:\\Datos\\Emp01\\clientes.db");
    std::error_code ignored;
    fs::remove_all(L"R:\\Datos\\Emp01\\Año 2026", ignored);
    put(L"Datos\\Emp01\\grande.db", "estropeado");
    put(L"Util.mde", "");
  }

  std::wstring set() const { return folder_ / L"copia.qev"; }

  OriginalDrive drive_;
  Tree original_;
};

TEST_F(RoundTrip, AOneFileSetComesBackToTheOriginalPlace) {
  backUp(set());
  const std::string bytes = contentOf(set());
  damage();
  fake_.messages.willAnswer({Answer::Yes});
  EXPECT_EQ(success(set(), kOriginal), restore(set(), std::nullopt));
  EXPECT_EQ(original_, treeOf(L"R:\\"));
  EXPECT_TRUE(bytes == contentOf(set())) << "the set is what it was";
}

TEST_F(RoundTrip, ToAnotherFolderWithTheStructureTheWholeTreeComes) {
  backUp(set());
  fake_.messages.willAnswer({Answer::Yes});
  EXPECT_EQ(success(set(), target()), restore(set(), target()));
  EXPECT_EQ(original_, treeOf(target() + L"\\"));
  EXPECT_EQ(original_, treeOf(L"R:\\")) << "where it came from is not touched";
}

TEST_F(RoundTrip, ToAnotherFolderWithoutTheStructureAllFilesComeSideBySide) {
  backUp(set());
  fake_.messages.willAnswer({Answer::Yes});
  EXPECT_EQ(success(set(), target()), restore(
                                          set(), target(), [](HWND) {}, false));
  Tree flat;
  for (const auto& [name, file] : original_) flat[name.substr(name.rfind(L'\\') + 1)] = file;
  EXPECT_EQ(flat, treeOf(target() + L"\\"));
}

TEST_F(RoundTrip, OverExistingReadOnlyAndNewerFilesTheSetsFilesComeBack) {
  backUp(set());
  put(L"Datos\\Emp01\\clientes.db", "más nuevo");
  put(L"Datos\\Emp01\\cerrado.txt", "otro");
  SetFileAttributesW(L"R:\\Datos\\Emp01\\cerrado.txt", FILE_ATTRIBUTE_READONLY);
  put(L"Datos\\Emp01\\vacio.txt", "ya no");
  SetFileAttributesW(L"R:\\Datos\\Emp01\\vacio.txt", FILE_ATTRIBUTE_READONLY);
  put(L"Datos\\Emp01\\posterior.txt", "de después de la copia");
  fake_.messages.willAnswer({Answer::Yes});
  EXPECT_EQ(success(set(), kOriginal), restore(set(), std::nullopt));
  Tree restored = treeOf(L"R:\\");
  EXPECT_EQ("de después de la copia", restored[L"Datos\\Emp01\\posterior.txt"].bytes) << "other files stay";
  restored.erase(L"Datos\\Emp01\\posterior.txt");
  EXPECT_EQ(original_, restored);
}

// The disks of the drive that the backup writes to and the restore reads from.
class RoundTripOverDisks : public RoundTrip {
 protected:
  void SetUp() override {
    RoundTrip::SetUp();
    if (IsSkipped()) return;
    fake_.drives.willReport({FakeDrives::bytesFree(1'457'664)});
    int written = 0;
    fake_.messages.onShow = [&](const FakeMessages::Shown& shown) {
      if (shown.text == kFormatted) insert(++written);
    };
    fake_.messages.willAnswer({Answer::Ok, Answer::Ok, Answer::Ok});
    Platform withDrive = with(platform_, fake_.drives);
    SettingsStore settings(fake_.registry, host_.settingsKey);
    RecordingView view;
    BackupRun(withDrive, host_, kManual, settings, view).HacerCopia(L"A:\\Backup16-11-26.qev");
    ASSERT_TRUE(view.succeeded);
    ASSERT_EQ(3, written);
    fake_.messages.shown.clear();
    messages_.forget();
    emptyWorkFolder();
    damage();
    insert(1);
  }

  void insert(int number) {
    const std::wstring name = L"disco" + std::to_wstring(number);
    folder_.makeFolder(name);
    files_.insert(folder_ / name);
  }

  // The user types the path of the set, as it has no header to be chosen by, and inserts what is asked for.
  void gather(const std::map<std::wstring, std::function<void()>>& others, std::vector<Answer> answers) {
    fake_.messages.onShow = [this, others](const FakeMessages::Shown& shown) {
      const auto other = others.find(shown.text);
      if (other != others.end()) return other->second();
      for (int i = 1; i <= 3; ++i) {
        if (shown.text == L"Introduzca el disco " + std::to_wstring(i) + L" para continuar") insert(i);
      }
    };
    fake_.messages.willAnswer(std::move(answers));
    run([&](HWND form) {
      enter(form, FRestaurar_TNombre, L"A:\\Backup16-11-26.qev");
      click(form, FRestaurar_BRestaurar);
      const HWND window = ended();
      EXPECT_EQ(success(L"A:\\Backup16-11-26.qev", kOriginal), textOf(window, FPRestaura_TResultado));
      click(window, FPRestaura_BAceptar);
    });
  }
};

TEST_F(RoundTripOverDisks, AThreeDiskSetIsGatheredAgainDiskByDisk) {
  // Disks as the backup writes them have no header: each is asked about.
  gather({}, {Answer::Yes, Answer::Ok, Answer::Ok, Answer::Ok, Answer::Ok, Answer::Ok, Answer::Ok});
  EXPECT_EQ(original_, treeOf(L"R:\\"));
}

TEST_F(RoundTripOverDisks, AWrongDiskAndAMissingOneAreExchangedOnTheWay) {
  gather({{L"Introduzca el disco 2 para continuar", [this] { files_.takeOut(); }},
          {L"El disco no está insertado, ¿Reintentar?", [this] { insert(3); }},
          {L"Este no es el disco número 2 , inserte el correcto", [this] { insert(2); }}},
         {Answer::Yes, Answer::Ok, Answer::Ok, Answer::Ok, Answer::Yes, Answer::Ok, Answer::Ok, Answer::Ok});
  EXPECT_EQ(original_, treeOf(L"R:\\"));
}

TEST_F(RoundTripOverDisks, ACancelledPromptBeginsAgainWithTheFirstDisk) {
  gather({}, {Answer::Yes, Answer::Ok, Answer::Ok, Answer::Cancel, Answer::Ok, Answer::Ok, Answer::Ok, Answer::Ok,
              Answer::Ok, Answer::Ok});
  EXPECT_EQ(original_, treeOf(L"R:\\"));
  EXPECT_EQ(L"Introduzca el disco 2 para continuar", texts()[3]);
  EXPECT_EQ(L"Introduzca el disco 1 para continuar", texts()[4]);
}

}  // namespace
}  // namespace qev::test
