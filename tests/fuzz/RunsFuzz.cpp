// Both runs, with engines that answer anything, say anything in pieces of any shape, and throw; with disks in any
// order, users who answer anything, and sets of any bytes.
#include <algorithm>

#include "backup/HacerCopia.h"
#include "fuzz/Fuzz.h"
#include "restore/RestaurarCopia.h"
#include "support/FakePlatform.h"
#include "support/RecordingView.h"
#include "support/ScriptedEngine.h"
#include "support/ZipWriter.h"

namespace qev::test {
namespace {

const std::wstring kTarget = L"D:\\Copias\\copia.qev";
const std::wstring kFloppy = L"A:\\copia.qev";
const std::wstring kTemp = L"C:\\Trabajo\\temp";
constexpr char kOld[] = "la copia de hoy";

// A user who answers as the input says, and with what ends a question when that is over.
class AnyAnswer : public Messages {
 public:
  explicit AnyAnswer(Input& input) : input_(input) {}

  Answer show(const std::wstring&, const std::wstring&, std::uint32_t style) override {
    if (onShow) onShow();
    const bool isYes = input_.byte() % 2 == 1;
    if ((style & 15) == message::kYesNo) return isYes ? Answer::Yes : Answer::No;
    return (style & 15) == message::kOkCancel && !isYes ? Answer::Cancel : Answer::Ok;
  }

  std::function<void()> onShow;

 private:
  Input& input_;
};

class AnyDrive : public Drives {
 public:
  explicit AnyDrive(Input& input) : input_(input) {}
  std::optional<DiskFreeSpace> freeSpace(const std::wstring&) const override {
    const auto kind = input_.byte();
    if (kind % 4 == 1) return std::nullopt;
    if (kind % 4 == 2) return DiskFreeSpace{0xffffffff, 0xffffffff, 0xffffffff};
    return FakeDrives::bytesFree(kind % 4 == 3 ? 2'000'000 : 0);
  }
  std::optional<VolumeFacts> volumeOf(const std::wstring&) const override {
    const auto kind = input_.byte();
    if (kind % 4 == 1) return std::nullopt;
    return VolumeFacts{kind % 4 == 2 ? L"FAT32" : L"NTFS", std::uint64_t{kind} << (kind % 64)};
  }

 private:
  Input& input_;
};

// What an engine does, step by step, until the input is over. `files` is where it may leave something.
template <typename Engine>
int perform(Engine& engine, Input& input, const std::function<void(const std::string&)>& leave) {
  for (int step = 0; step < 200 && !input.empty(); ++step) {
    const auto kind = input.byte();
    const std::size_t length = input.byte();
    switch (kind % 8) {
      case 0: engine.say(L"."); break;
      case 1: engine.say(L"  adding: " + textOf(input.bytes(length))); break;
      case 2: engine.say(L"\r\n"); break;
      case 3: engine.ended(textOf(input.bytes(length)), input.number(8)); break;
      case 4: leave(input.bytes(length * 16)); break;
      case 5: throw AutomationError(input.byte(), L"", textOf(input.bytes(length)));
      case 6: return static_cast<int>(static_cast<std::int8_t>(input.byte()));
      default: engine.say(textOf(input.bytes(length)));
    }
  }
  return 0;
}

struct Sandbox {
  explicit Sandbox(Input& given)
      : input(given), user(given), drive(given), platform(with(fake.platform(), user, drive)) {
    host.title = L"Gestion";
    host.dataFolder = L"C:\\Prog\\Datos\\Emp01\\";
    host.settingsKey = L"Software\\Gestion";
    fake.files.put(L"C:\\Prog\\Datos\\Emp01\\clientes.db", std::string(3000, 'c'));
    fake.files.put(L"C:\\Prog\\Util.mde", "u");
    fake.files.putFolder(L"D:\\Copias");
    fake.files.putFolder(L"A:\\");
    zip.work = [this] {
      return perform(zip, input, [this](const std::string& bytes) { fake.files.put(zip.request.archive, bytes); });
    };
    unzip.work = [this] { return perform(unzip, input, [](const std::string&) {}); };
  }

  bool isTidy() const { return fake.files.openReaders() + fake.files.openReplacements() == 0; }

  Input& input;
  FakePlatform fake;
  AnyAnswer user;
  AnyDrive drive;
  Platform platform;
  HostSettings host;
  ScriptedZip zip;
  ScriptedUnzip unzip;
};

void tryBackup(Input& input) {
  Sandbox box(input);
  const auto flags = input.byte();
  const bool isSafe = flags & 1;
  const bool toFloppy = flags & 2;
  const std::wstring target = toFloppy ? kFloppy : kTarget;
  if (isSafe) box.fake.registry.put(box.host.settingsKey, L"Verificar", std::int32_t{1});
  if (flags & 4) box.fake.files.put(target, kOld);
  if (flags & 8) box.fake.files.failAt(1 + input.byte(), kDeviceInputOutput);
  if (flags & 16) box.fake.files.failCopiesTo(kFloppy, {kDeviceInputOutput, kDiskNotReady, kDiskNotReady});
  SettingsStore settings(box.fake.registry, box.host.settingsKey);
  RecordingView view;
  view.wantsToClose = flags & 32;
  BackupRun(box.platform, box.host, flags >> 6, settings, view, box.zip.loader(), box.unzip.loader())
      .HacerCopia(target);

  const auto ends = std::ranges::count_if(view.events, [](const std::wstring& event) {
    return event.starts_with(L"success:") || event.starts_with(L"failure:") || event == L"closed";
  });
  require(ends == 1, "a run ends once");
  require(std::ranges::count(view.events, L"timer stopped") == 1, "the timer is stopped once");
  require(std::ranges::is_sorted(view.progress), "the bar never falls");
  require(view.progress.empty() || (view.progress.front() >= 0 && view.progress.back() <= 1000), "the bar is permille");
  require(box.isTidy(), "every file is closed");
  const std::string found = box.fake.files.bytes(target);
  if (view.succeeded && !toFloppy) require(found.starts_with("Programa : Gestion;"), "a success leaves a set");
  if (isSafe && !view.succeeded && !toFloppy) {
    require(found == (flags & 4 ? kOld : "<none>"), "a safe run that is no success leaves what was there");
    for (const std::wstring& name : box.fake.files.list(parentFolderName(target))) {
      const bool isTold = view.failure.find(name) != std::wstring::npos;
      require(flags & 8 || isTold || name == fileNamePart(target), "and nothing beside it but what is told");
    }
  }
}

class PlainRestoreView : public RestoreRunView {
 public:
  void showProgress(std::optional<int> permille) override {
    if (permille) progress.push_back(*permille);
  }
  void showTesting(bool) override {}
  bool closeAsked() const override { return true; }
  std::vector<int> progress;
};

void tryRestore(Input& input) {
  Sandbox box(input);
  const auto flags = input.byte();
  const auto total = input.byte() % 5;
  std::vector<std::string> disks;
  for (int i = 0; i <= total; ++i) {
    std::string disk;
    if (input.byte() % 4 != 0)
      disk = SetHeader{L"Gestion", moment(2026, 11, 16), static_cast<std::int16_t>(total),
                       static_cast<std::int16_t>(input.byte() % 6), L"C:"}
                 .bytes(box.fake.locale);
    if (input.byte() % 4 == 1) disk += zipOf({storedEntry("a.txt", input.bytes(input.byte()))});
    disks.push_back(disk + input.bytes(input.byte()));
  }
  RestoreChoice choice;
  choice.Archivo = flags & 1 ? kFloppy : kTarget;
  choice.originalLocation = flags & 2;
  choice.safe = flags & 4;
  choice.bareDisks = flags & 8;
  box.fake.files.put(choice.Archivo, disks[0]);
  box.user.onShow = [&] { box.fake.files.put(choice.Archivo, disks[input.byte() % disks.size()]); };
  if (flags & 16) box.fake.files.failAt(1 + input.byte(), kDeviceInputOutput);
  if (flags & 32) box.fake.files.failCopiesTo(kTemp + L"\\copia.zip1", {kDiskNotReady, kDeviceInputOutput});
  PlainRestoreView view;
  RestoreRun run(box.platform, box.host, view, choice, box.unzip.loader());
  static_cast<void>(errorOf([&] { static_cast<void>(run.RestaurarCopia()); }));

  require(std::ranges::is_sorted(view.progress), "the bar never falls");
  require(view.progress.empty() || (view.progress.front() >= 0 && view.progress.back() <= 1000), "the bar is permille");
  require(box.isTidy(), "every file is closed");
  require(std::ranges::find(disks, box.fake.files.bytes(choice.Archivo)) != disks.end(), "a set is only read");
  if (flags & 16) return;  // a file that cannot be deleted stays for the next run
  for (const ListedFile& file : box.fake.files.filesIn(kTemp)) {
    require(!fileNamePart(file.path).starts_with(L"restaurar"), "no payload is left");
  }
}

}  // namespace

std::vector<std::string> seeds() {
  const std::string line = std::string("\x01\x0f") + "Prog/Util.mde  " + std::string("\x02\0\0\0\0\0", 6);
  return {std::string("\0\x40", 2) + "\x04\x10" + std::string(256, 'p') + line,
          std::string("\0\x45\x01", 3) + "\x04\x01" + zipOf({storedEntry("a", "b")}) + line,
          std::string("\0\x42", 2) + "\x04\x10" + std::string(256, 'p') + std::string("\x06\0\0\x01\x03\x01\x03", 7),
          std::string("\x01\x02\x01\x01\x01\x01\x04hola\0", 12) + line,
          std::string("\x01\x06\x01\x01\x01\x01\x04hola\0\x06\0\0", 15),
          std::string("\x01\x01\x03\x01\x01\x01\x02zz\x01\x02\x01\x02zz\x01\x03\x01\x02zz\x01\x01\x01\x01", 25)};
}

void tryInput(std::string_view bytes) {
  Input input(bytes);
  if (input.byte() % 2 == 0) {
    tryBackup(input);
  } else {
    tryRestore(input);
  }
}

}  // namespace qev::test
