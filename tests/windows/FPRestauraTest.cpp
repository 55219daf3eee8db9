// The restore window and its run: sets of one volume and of several disks, what goes wrong, and what stays as it was.
#include "restore/FPRestaura.h"

#include <commctrl.h>

#include "set/Volumes.h"
#include "support/ScriptedEngine.h"
#include "support/Silence.h"
#include "support/SlowToShow.h"
#include "support/SmallDisk.h"
#include "support/TextFit.h"
#include "windows/RestoreForms.h"

using namespace std::chrono_literals;

namespace qev::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr wchar_t kDisk1[] = L"Introduzca el disco 1 para continuar";
constexpr wchar_t kDisk2[] = L"Introduzca el disco 2 para continuar";
constexpr wchar_t kDisk3[] = L"Introduzca el disco 3 para continuar";
constexpr wchar_t kNotDisk1[] = L"Este no es el disco número 1 , inserte el correcto";
constexpr wchar_t kNotDisk2[] = L"Este no es el disco número 2 , inserte el correcto";
constexpr wchar_t kNotDisk3[] = L"Este no es el disco número 3 , inserte el correcto";
constexpr wchar_t kNotInserted[] = L"El disco no está insertado, ¿Reintentar?";

// An engine that takes its time over each of so many entries of the archive, or fails with a code.
namespace slow {
std::atomic<int> entries{0};
std::atomic<int> runs{0};
std::atomic<int> depth{0};
std::atomic<int> deepest{0};
std::atomic<bool> held{false};  // before the last entry
ScriptedUnzip engine;
int code = kUnzipDone;

// Returns when the user has seen enough, which on a slow machine takes longer than all that the engine does.
void waitUntilLetGo() {
  waitFor([] {
    systemPlatform().eventLoop.yield();
    return !held;
  });
}

int unzip() {
  ++runs;
  deepest = std::max(deepest.load(), ++depth);
  for (int i = 0; i < entries; ++i) {
    if (i == entries - 1) waitUntilLetGo();
    engine.say(L" extracting: " + std::to_wstring(i) + L".bin\r\n");
    engine.ended(std::to_wstring(i) + L".bin", 1000);
    std::this_thread::sleep_for(120ms);  // longer than a tick of the window's timer
  }
  if (code != kUnzipDone) engine.say(L"error:  0.bin:  no hay sitio\r\n");
  --depth;
  return code;
}

std::unique_ptr<UnzipEngine> load() {
  engine.work = &unzip;
  return engine.loader()();
}
}  // namespace slow

class RestoreWindow : public RestoreForms {
 protected:
  void SetUp() override {
    RestoreForms::SetUp();
    slow::entries = 0;
    slow::runs = 0;
    slow::deepest = 0;
    slow::held = false;
    slow::code = kUnzipDone;
  }

  // A set of so many entries of 1000 bytes, for the slow engine.
  std::wstring putSlowSet(int entries) {
    std::vector<ZipEntry> all;
    for (int i = 0; i < entries; ++i) all.push_back(storedEntry(std::to_string(i) + ".bin", std::string(1000, 'x')));
    slow::entries = entries;
    loadEngine_ = slow::load;
    return putSet(header() + zipOf(all));
  }

  void expectNothingLeft() { EXPECT_THAT(workFiles(), IsEmpty()); }

  // Restores to another folder a set that cannot be: one message, no result, the dialog is there again.
  std::wstring failureOf(
      const std::wstring& set, const std::wstring& folder, const std::function<void()>& beforeRun = [] {}) {
    const std::string before = contentOf(set);
    fake_.messages.willAnswer({Answer::Yes, Answer::Ok});
    run([&](HWND form) {
      load(form, set);
      chooseFolder(form, folder);
      beforeRun();
      click(form, FRestaurar_BRestaurar);
      const HWND window = ended();
      EXPECT_EQ(L"", textOf(window, FPRestaura_TResultado));
      EXPECT_EQ(L"Se han producido errores", textOf(window, FPRestaura_ESalida));
      click(window, FPRestaura_BAceptar);
      leave(form);
    });
    EXPECT_THAT(fake_.messages.shown, SizeIs(2));
    if (fake_.messages.shown.size() < 2) return L"";
    EXPECT_EQ(kTitle, fake_.messages.shown[1].title);
    EXPECT_EQ(message::kOk | message::kExclamation, fake_.messages.shown[1].style);
    expectNothingLeft();
    EXPECT_TRUE(before == contentOf(set)) << "the set is what it was";
    return fake_.messages.shown[1].text;
  }
};

TEST_F(RestoreWindow, ShowsWhatItDoesWhileItRunsAndHowItEnded) {
  const std::wstring set = putSlowSet(12);
  slow::held = true;
  fake_.messages.willAnswer({Answer::Yes});
  run([&](HWND form) {
    load(form, set);
    click(form, FRestaurar_BRestaurar);
    HWND window = nullptr;
    ASSERT_TRUE(waitFor([&] { return (window = findForm(kTitle)) != nullptr; }));
    ASSERT_TRUE(waitFor([&] { return SendMessageW(GetDlgItem(window, FPRestaura_Progreso), PBM_GETPOS, 0, 0) > 700; }));
    EXPECT_EQ(set, textOf(window, FPRestaura_TOrigen));
    EXPECT_EQ(kOriginal, textOf(window, FPRestaura_TDestino));
    EXPECT_EQ(L"", textOf(window, FPRestaura_TResultado));
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(window, FPRestaura_BAceptar)));
    saveScreenshot(window, L"FPRestaura-restaurando");
    slow::held = false;
    ASSERT_EQ(window, ended());
    EXPECT_EQ(success(set, kOriginal), textOf(window, FPRestaura_TResultado));
    EXPECT_EQ(L"Copia de Seguridad restaurada con éxito", textOf(window, FPRestaura_ESalida));
    EXPECT_EQ(1000, SendMessageW(GetDlgItem(window, FPRestaura_Progreso), PBM_GETPOS, 0, 0));
    keepPicture(window, L"FPRestaura-correcta");
    press(window, VK_RETURN);
  });
  EXPECT_EQ(1, fake_.sound.beeps);
  EXPECT_EQ(1, slow::runs);
  EXPECT_EQ(1, slow::deepest) << "a tick during the run starts nothing";
  EXPECT_EQ(L"C:\\", slow::engine.request.folder) << "the root of the drive that the set names";
  EXPECT_EQ(1, slow::engine.request.keepFolders);
  expectNothingLeft();
}

TEST_F(RestoreWindow, AOneVolumeSetOfTheOriginalLocationExtractsIntoTheRootOfItsDrive) {
  const OriginalDrive drive;
  if (!drive.isThere()) GTEST_SKIP() << "no drive R:";
  const std::wstring set = putSet(header("Gestion de prueba", "16/11/2026", "1", "1", "R:") + archive());
  fake_.messages.willAnswer({Answer::Yes});
  EXPECT_EQ(success(set, kOriginal), restore(set, std::nullopt));
  EXPECT_EQ("clientes", contentOf(L"R:\\clientes.txt"));
  EXPECT_EQ("facturas de enero", contentOf(L"R:\\Datos\\facturas.txt"));
}

TEST_F(RestoreWindow, AfterARestoreTheSetHasItsHeaderWithTheSameDateTotalsAndDirectory) {
  const std::string bytes = header("Gestion de prueba", "05/11/2026", "1", "1", "D:") + archive();
  const std::wstring set = putSet(bytes);
  fake_.messages.willAnswer({Answer::Yes});
  EXPECT_EQ(success(set, target()), restore(set, target()));
  EXPECT_EQ(bytes, contentOf(set)) << "a day up to the 12th keeps its month, too";
  EXPECT_EQ("clientes", folder_.bytes(L"destino\\clientes.txt"));
  EXPECT_EQ("facturas de enero", folder_.bytes(L"destino\\Datos\\facturas.txt"));
  expectNothingLeft();
}

TEST_F(RestoreWindow, ASetThatCannotBeWrittenIsRestored) {
  const std::wstring set = putSet(header() + archive());
  SetFileAttributesW(set.c_str(), FILE_ATTRIBUTE_READONLY);
  fake_.messages.willAnswer({Answer::Yes});
  EXPECT_EQ(success(set, target()), restore(set, target()));
  EXPECT_EQ("clientes", folder_.bytes(L"destino\\clientes.txt"));
  EXPECT_EQ(static_cast<DWORD>(FILE_ATTRIBUTE_READONLY), GetFileAttributesW(set.c_str()) & FILE_ATTRIBUTE_READONLY);
  SetFileAttributesW(set.c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST_F(RestoreWindow, WithoutTheStructureAllFilesGoIntoTheFolderItself) {
  const std::wstring set = putSet(header() + archive());
  fake_.messages.willAnswer({Answer::Yes});
  EXPECT_EQ(success(set, target()), restore(
                                        set, target(), [](HWND) {}, false));
  EXPECT_THAT(folder_.list(L"destino"), ElementsAre(L"clientes.txt", L"facturas.txt"));
}

TEST_F(RestoreWindow, AnEngineFailureIsToldInAPlainBoxAndTheSuccessIsShownAllTheSame) {
  const std::wstring set = putSlowSet(1);
  slow::code = 50;
  fake_.messages.willAnswer({Answer::Yes, Answer::Ok});
  EXPECT_EQ(success(set, target()), restore(set, target()));
  ASSERT_THAT(fake_.messages.shown, SizeIs(2));
  EXPECT_EQ((FakeMessages::Shown{L" extracting: 0.bin\r\n\nerror:  0.bin:  no hay sitio\r\n\n", L"", message::kOk}),
            fake_.messages.shown[1]);
  expectNothingLeft();
}

TEST_F(RestoreWindow, ADamagedArchiveIsToldAndTheOtherFilesAreRestored) {
  std::string zip = archive();
  zip[zip.find("clientes", 30 + 12)] ^= 1;  // the content, behind the name
  const std::string bytes = header() + zip;
  const std::wstring set = putSet(bytes);
  fake_.messages.willAnswer({Answer::Yes, Answer::Ok});
  EXPECT_EQ(success(set, target()), restore(set, target()));
  ASSERT_THAT(fake_.messages.shown, SizeIs(2));
  EXPECT_THAT(fake_.messages.shown[1].text, HasSubstr(L"clientes.txt"));
  EXPECT_EQ("<none>", folder_.bytes(L"destino\\clientes.txt"));
  EXPECT_EQ("facturas de enero", folder_.bytes(L"destino\\Datos\\facturas.txt"));
  EXPECT_EQ(bytes, contentOf(set));
}

// --- a set on several disks ---

class RestoreFromDisks : public RestoreWindow {
 protected:
  void SetUp() override {
    RestoreWindow::SetUp();
    for (int i = 0; i < 3; ++i) contents_[i] = std::string(1000, static_cast<char>('a' + i));
    zip_ = zipOf(
        {storedEntry("0.bin", contents_[0]), storedEntry("1.bin", contents_[1]), storedEntry("2.bin", contents_[2])});
    const std::size_t slice = zip_.size() / 3 + 1;
    for (int i = 0; i < 3; ++i) {
      slices_[i] = zip_.substr(slice * static_cast<std::size_t>(i), slice);
      putDisk(i + 1, header("Gestion de prueba", "16/11/2026", "3", std::to_string(i + 1)) + slices_[i]);
    }
    insert(1);
  }

  std::wstring disk(int number) const { return folder_ / (L"disco" + std::to_wstring(number)); }
  void putDisk(int number, const std::string& bytes) {
    folder_.write(L"disco" + std::to_wstring(number) + L"\\copia.qev", bytes);
  }
  void insert(int number) { files_.insert(disk(number)); }

  // The user inserts what is asked for, but for the disks of `others`, by request.
  void whenAsked(std::map<std::wstring, std::function<void()>> others = {}) {
    fake_.messages.onShow = [this, others = std::move(others)](const FakeMessages::Shown& shown) {
      const auto other = others.find(shown.text);
      if (other != others.end()) return other->second();
      for (int i = 1; i <= 3; ++i) {
        if (shown.text == L"Introduzca el disco " + std::to_wstring(i) + L" para continuar") insert(i);
      }
    };
  }

  std::wstring gather() { return restore(L"A:\\copia.qev", target()); }
  void expectAllRestored() {
    for (int i = 0; i < 3; ++i) EXPECT_EQ(contents_[i], folder_.bytes(L"destino\\" + std::to_wstring(i) + L".bin"));
  }

  std::string contents_[3];
  std::string slices_[3];
  std::string zip_;
};

TEST_F(RestoreFromDisks, AThreeVolumeSetIsAskedForDiskByDiskAndRestoredWhole) {
  whenAsked();
  fake_.messages.willAnswer({Answer::Yes, Answer::Ok, Answer::Ok, Answer::Ok});
  EXPECT_EQ(success(L"A:\\copia.qev", target()), gather());
  expectAllRestored();
  ASSERT_THAT(fake_.messages.shown, SizeIs(4));
  EXPECT_EQ((FakeMessages::Shown{kDisk1, kTitle, message::kOkCancel | message::kInformation}), fake_.messages.shown[1]);
  EXPECT_EQ(kDisk2, fake_.messages.shown[2].text);
  EXPECT_EQ(kDisk3, fake_.messages.shown[3].text);
  EXPECT_THAT(workFiles(), ElementsAre(L"copia.zip1", L"copia.zip2", L"copia.zip3")) << "the joined set is gone";
  EXPECT_EQ(1, fake_.sound.beeps) << "one result";
}

BOOL WINAPI copySlowly(const wchar_t* from, const wchar_t* to, BOOL keeps) {
  Sleep(3000);
  return CopyFileW(from, to, keeps);
}

TEST_F(RestoreFromDisks, SlowDisksLeaveTheWindowsTheirMessages) {
  FileSystemWindows slowFiles(systemPatience(), copySlowly);
  DiskDrive drive(slowFiles);
  Platform platform = with(platform_, drive);
  drive.insert(disk(1));
  fake_.messages.onShow = [&](const FakeMessages::Shown& shown) {
    for (int i = 1; i <= 3; ++i) {
      if (shown.text == L"Introduzca el disco " + std::to_wstring(i) + L" para continuar") drive.insert(disk(i));
    }
  };
  fake_.messages.willAnswer({Answer::Yes, Answer::Ok, Answer::Ok, Answer::Ok});
  std::wstring result;
  const Silence silence;
  runOn(platform, [&](HWND form) {
    begin(form, L"A:\\copia.qev");
    result = closeRun();
  });
  EXPECT_LT(silence.longest(), kLongestSilence);
  EXPECT_EQ(success(L"A:\\copia.qev", target()), result);
  expectAllRestored();
}

TEST_F(RestoreFromDisks, AWrongDiskIsSaidAndTakenAllTheSameOnOk) {
  whenAsked({{kDisk2, [this] { insert(3); }}, {kNotDisk2, [this] { insert(2); }}});
  fake_.messages.willAnswer({Answer::Yes, Answer::Ok, Answer::Ok, Answer::Ok, Answer::Ok});
  EXPECT_EQ(success(L"A:\\copia.qev", target()), gather());
  expectAllRestored();
  ASSERT_THAT(fake_.messages.shown, SizeIs(5));
  EXPECT_EQ((FakeMessages::Shown{kNotDisk2, kTitle, message::kOkCancel | message::kInformation}),
            fake_.messages.shown[3]);
}

TEST_F(RestoreFromDisks, TheDiskThatIsThereAfterTheWarningIsNotCheckedAgain) {
  whenAsked({{kDisk2, [this] { insert(3); }}});
  fake_.messages.willAnswer({Answer::Yes, Answer::Ok, Answer::Ok, Answer::Ok, Answer::Ok, Answer::Ok});
  gather();
  EXPECT_EQ(slices_[2],
            folder_.bytes(L"disco3\\copia.qev").substr(header("Gestion de prueba", "16/11/2026", "3", "3").size()));
  EXPECT_EQ(slices_[2], contentOf(temp() + L"\\copia.zip2"));
}

TEST_F(RestoreFromDisks, ADiskOfAnotherProgramIsAWrongDisk) {
  putDisk(4, header("Contabilidad", "16/11/2026", "3", "2") + slices_[1]);
  whenAsked({{kDisk2, [this] { insert(4); }}});
  fake_.messages.willAnswer({Answer::Yes, Answer::Ok, Answer::Ok, Answer::Ok, Answer::Ok});
  gather();
  EXPECT_EQ(kNotDisk2, fake_.messages.shown[3].text);
  expectAllRestored();
}

TEST_F(RestoreFromDisks, ANoToTheNotReadyPromptForDisk2StillJoinsAndRestoresFromPieces1And3Only) {
  std::ofstream(std::filesystem::path(temp() + L"\\copia.zip2")) << "de otra copia";
  whenAsked({{kDisk2, [this] { files_.takeOut(); }}});
  fake_.messages.willAnswer({Answer::Yes, Answer::Ok, Answer::Ok, Answer::No, Answer::Ok, Answer::Ok});
  slow::entries = 0;
  std::string joined;
  loadEngine_ = [&joined] {
    auto engine = slow::load();
    for (const auto& entry : std::filesystem::directory_iterator(temp())) {
      if (entry.path().filename().wstring().starts_with(L"restaurar")) joined = contentOf(entry.path().wstring());
    }
    slow::code = 2;
    return engine;
  };
  EXPECT_EQ(success(L"A:\\copia.qev", target()), gather());
  ASSERT_THAT(fake_.messages.shown, SizeIs(6));
  EXPECT_EQ((FakeMessages::Shown{kNotInserted, kTitle, message::kYesNo | message::kCritical}), fake_.messages.shown[3]);
  EXPECT_EQ(slices_[0] + slices_[2], joined);
}

TEST_F(RestoreFromDisks, AYesToTheNotReadyPromptTriesTheSameDiskAgain) {
  whenAsked({{kDisk2, [this] { files_.takeOut(); }}, {kNotInserted, [this] { insert(2); }}});
  fake_.messages.willAnswer({Answer::Yes, Answer::Ok, Answer::Ok, Answer::Yes, Answer::Ok});
  EXPECT_EQ(success(L"A:\\copia.qev", target()), gather());
  expectAllRestored();
}

TEST_F(RestoreFromDisks, AnyOtherErrorOfTheCopyIsTriedAgainInSilence) {
  files_.failCopiesTo(L"copia.zip2", {kDeviceInputOutput, kPermissionDenied, kDeviceInputOutput});
  whenAsked();
  fake_.messages.willAnswer({Answer::Yes, Answer::Ok, Answer::Ok, Answer::Ok});
  EXPECT_EQ(success(L"A:\\copia.qev", target()), gather());
  expectAllRestored();
}

TEST_F(RestoreFromDisks, CancelOnTheFirstDiskPromptLeavesTheHourglassAndNoResultAndTheNextTickAsksForDisk1Again) {
  whenAsked();
  fake_.messages.willAnswer({Answer::Yes, Answer::Cancel, Answer::Cancel});
  run([this](HWND form) {
    begin(form, L"A:\\copia.qev");
    EXPECT_TRUE(told(2));
    HWND window = nullptr;
    ASSERT_TRUE(waitFor([&] { return (window = findForm(kTitle)) != nullptr; }));
    keepPicture(window, L"FPRestaura-cancelada");
    EXPECT_EQ(L"", textOf(window, FPRestaura_TResultado));
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(window, FPRestaura_BAceptar)));
    EXPECT_TRUE(
        SendMessageW(window, WM_SETCURSOR, reinterpret_cast<WPARAM>(window), MAKELPARAM(HTCLIENT, WM_MOUSEMOVE)))
        << "the hourglass stays";
    EXPECT_TRUE(told(3)) << "the next tick asks again";
    press(window, VK_ESCAPE);
    EXPECT_TRUE(closed(window)) << "the user can give up";
    EXPECT_EQ(L"A:\\copia.qev", textOf(form, FRestaurar_TNombre));
    leave(form);
  });
  EXPECT_THAT(texts(), ElementsAre(testing::_, kDisk1, kDisk1));
  EXPECT_EQ(0, fake_.sound.beeps);
}

TEST_F(RestoreFromDisks, CancelOnTheWrongDiskWarningEndsTheRunToo) {
  whenAsked({{kDisk2, [this] { insert(1); }}});
  fake_.messages.willAnswer({Answer::Yes, Answer::Ok, Answer::Ok, Answer::Cancel, Answer::Cancel});
  run([this](HWND form) {
    begin(form, L"A:\\copia.qev");
    EXPECT_TRUE(told(5));
    const HWND window = findForm(kTitle);
    press(window, VK_ESCAPE);
    EXPECT_TRUE(closed(window));
    leave(form);
  });
  EXPECT_THAT(texts(), ElementsAre(testing::_, kDisk1, kDisk2, kNotDisk2, kDisk1));
}

// As the backup run writes them: slices of 1,440,000 bytes without header. Nothing but the archive's end tells how many
// disks there are.
TEST_F(RestoreFromDisks, DisksWithoutHeadersDrawTheWrongDiskPromptEachAndAreRestoredWhole) {
  std::string content(3'000'000, '\0');
  for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i * 2654435761u >> 13);
  zip_ = zipOf({storedEntry("0.bin", content)});
  for (int i = 0; i < 3; ++i) {
    putDisk(i + 1, zip_.substr(kVolumeBytes * static_cast<std::size_t>(i), kVolumeBytes));
  }
  whenAsked();
  fake_.messages.willAnswer({Answer::Yes, Answer::Ok, Answer::Ok, Answer::Ok, Answer::Ok, Answer::Ok, Answer::Ok});
  run([this](HWND form) {
    enter(form, FRestaurar_TNombre, L"A:\\copia.qev");
    chooseFolder(form, target());
    click(form, FRestaurar_BRestaurar);
    EXPECT_EQ(success(L"A:\\copia.qev", target()), closeRun());
  });
  EXPECT_THAT(texts(), ElementsAre(testing::_, kDisk1, kNotDisk1, kDisk2, kNotDisk2, kDisk3, kNotDisk3));
  EXPECT_TRUE(content == folder_.bytes(L"destino\\0.bin"));
}

TEST_F(RestoreFromDisks, AWorkFolderWithoutRoomForADiskIsTold) {
  files_.failCopiesTo(L"copia.zip2", {kDiskFull});
  whenAsked();
  fake_.messages.willAnswer({Answer::Yes, Answer::Ok, Answer::Ok, Answer::Ok});
  EXPECT_EQ(L"", gather());
  EXPECT_EQ(L"Disco lleno: " + temp() + L"\\copia.zip2", texts().back());
}

TEST_F(RestoreFromDisks, ASetOfNoDisksEndsWithTheEnginesMessage) {
  for (const char* total : {"0", "-3"}) {
    const std::string bytes = header("Gestion de prueba", "16/11/2026", total) + archive();
    const std::wstring set = putSet(bytes);
    fake_.messages.willAnswer({Answer::Yes, Answer::Ok});
    EXPECT_EQ(success(set, target()), restore(set, target()));
    EXPECT_EQ(L"", fake_.messages.shown.back().title);
    EXPECT_NE(L"", fake_.messages.shown.back().text);
    EXPECT_EQ(bytes, contentOf(set));
  }
}

// --- what goes wrong ---

TEST_F(RestoreWindow, ASetThatVanishesBetweenTheCheckAndTheRunIsTold) {
  const std::wstring set = putSet(header() + archive());
  const std::wstring away = set + L".bak";
  fake_.messages.willAnswer({Answer::Yes, Answer::Ok});
  run([&](HWND form) {
    load(form, set);
    chooseFolder(form, target());
    MoveFileW(set.c_str(), away.c_str());
    click(form, FRestaurar_BRestaurar);
    const HWND window = ended();
    keepPicture(window, L"FPRestaura-errores");
    EXPECT_EQ(L"", textOf(window, FPRestaura_TResultado));
    click(window, FPRestaura_BAceptar);
    EXPECT_TRUE(waitFor([form] { return IsWindowVisible(form) && IsWindowEnabled(form); }));
    EXPECT_EQ(set, textOf(form, FRestaurar_TNombre)) << "nothing that was chosen is lost";
    EXPECT_EQ(target(), textOf(form, FRestaurar_TDestino));
    MoveFileW(away.c_str(), set.c_str());
    fake_.messages.willAnswer({Answer::Yes});
    click(form, FRestaurar_BRestaurar);
    EXPECT_EQ(success(set, target()), closeRun());
  });
  EXPECT_EQ(L"No se ha encontrado el archivo: " + set, texts()[1]);
}

TEST_F(RestoreWindow, ASetThatIsLockedBetweenTheCheckAndTheRunIsTold) {
  const std::wstring set = putSet(header() + archive());
  UniqueFile lock;
  fake_.messages.willAnswer({Answer::Yes, Answer::Ok});
  run([&](HWND form) {
    load(form, set);
    chooseFolder(form, target());
    lock = UniqueFile(CreateFileW(set.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    click(form, FRestaurar_BRestaurar);
    EXPECT_EQ(L"", closeRun());
    leave(form);
  });
  EXPECT_EQ(L"Permiso denegado: " + set, texts()[1]);
}

TEST_F(RestoreWindow, ASetThatBecomesAnotherProgramsBetweenTheCheckAndTheRunIsNotRestored) {
  const std::wstring set = putSet(header() + archive());
  const std::string other = header("Contabilidad") + archive();
  fake_.messages.willAnswer({Answer::Yes, Answer::Ok});
  run([&](HWND form) {
    load(form, set);
    chooseFolder(form, target());
    putSet(other);
    click(form, FRestaurar_BRestaurar);
    closeRun();
    leave(form);
  });
  EXPECT_EQ(L"Esta Copia de Seguridad no es del programa Gestion de prueba: " + set, texts()[1]);
  EXPECT_EQ(other, contentOf(set));
  EXPECT_EQ("<none>", folder_.bytes(L"destino\\clientes.txt"));
}

TEST_F(RestoreWindow, AWorkFolderWithoutRoomIsToldAndTheSetUnharmed) {
  const std::wstring set = putSet(header() + archive());
  files_.denied = L"restaurar";
  EXPECT_THAT(failureOf(set, target()), HasSubstr(L"Disco lleno: " + temp()));
}

TEST_F(RestoreWindow, AMissingEngineIsTold) {
  const std::wstring set = putSet(header() + archive());
  loadEngine_ = []() -> std::unique_ptr<UnzipEngine> { throw AutomationError(kFileNotFound, L"VANTO6.DLL"); };
  EXPECT_EQ(L"No se ha encontrado el archivo: VANTO6.DLL", failureOf(set, target()));
}

// Destinations of the engine that cannot be: its text is told, and the set stays what it was.
class BadDestination : public RestoreWindow {
 protected:
  void expectTold(const std::wstring& destination, const std::string& zip = archive()) {
    const std::string bytes = header() + zip;
    const std::wstring set = putSet(bytes);
    fake_.messages.willAnswer({Answer::Yes, Answer::Ok});
    EXPECT_EQ(success(set, destination), restore(set, destination));
    ASSERT_THAT(fake_.messages.shown, SizeIs(2));
    EXPECT_EQ(message::kOk, fake_.messages.shown[1].style);
    EXPECT_THAT(fake_.messages.shown[1].text, HasSubstr(L"error"));
    EXPECT_TRUE(bytes == contentOf(set));
    expectNothingLeft();
  }
};

TEST_F(BadDestination, ThatIsAFileIsTold) {
  folder_.write(L"destino", "un archivo");
  expectTold(target());
  EXPECT_EQ("un archivo", folder_.bytes(L"destino"));
}

TEST_F(BadDestination, OnADriveThatIsNotThereIsTold) {
  expectTold(L"Q:\\Gestion\\");
}

TEST_F(BadDestination, ThatIsFullIsTold) {
  const auto disk = smallDisk();
  if (!disk) GTEST_SKIP() << kNoSmallDisk;
  expectTold(*disk + L"\\", zipOf({storedEntry("grande.bin", std::string(2 << 20, 'x'))}));
  EXPECT_FALSE(std::filesystem::exists(*disk + L"\\grande.bin")) << "no half file";
}

// What a header may give as the place that the data came from.
class BadDirectory : public RestoreWindow, public testing::WithParamInterface<std::string> {};

TEST_P(BadDirectory, IsToldAndNothingIsExtracted) {
  const std::string bytes = header("Gestion de prueba", "16/11/2026", "1", "1", GetParam()) + archive();
  const std::wstring set = putSet(bytes);
  fake_.messages.willAnswer({Answer::Yes, Answer::Ok});
  loadEngine_ = slow::load;
  EXPECT_EQ(L"", restore(set, std::nullopt));
  ASSERT_THAT(fake_.messages.shown, SizeIs(2));
  EXPECT_THAT(fake_.messages.shown[1].text,
              HasSubstr(L"El directorio de origen que indica la copia de seguridad no es válido"));
  EXPECT_THAT(fake_.messages.shown[1].text, HasSubstr(set));
  EXPECT_EQ(0, slow::runs);
  EXPECT_EQ(bytes, contentOf(set));
  expectNothingLeft();
}

INSTANTIATE_TEST_SUITE_P(Values, BadDirectory,
                         testing::Values("", " ", "Datos", "C:\\x\\..\\..", "..", "C:\\" + std::string(300, 'x'),
                                         "C:\\*"));

TEST_F(RestoreWindow, ADirectoryOnAShareThatIsNotThereIsToldByTheEngine) {
  const std::string bytes =
      header("Gestion de prueba", "16/11/2026", "1", "1", "\\\\no-hay-tal-servidor\\datos") + archive();
  const std::wstring set = putSet(bytes);
  fake_.messages.willAnswer({Answer::Yes, Answer::Ok});
  EXPECT_EQ(success(set, kOriginal), restore(set, std::nullopt));
  EXPECT_THAT(texts().back(), HasSubstr(L"error"));
  EXPECT_EQ(bytes, contentOf(set));
}

// Archives that are none, or only in part.
class BadArchive : public BadDestination, public testing::WithParamInterface<std::size_t> {};

TEST_P(BadArchive, CutAnywhereIsToldAndTheSetKeepsItsBytes) {
  const std::string whole = archive();
  const std::string bytes = header() + whole.substr(0, whole.size() * GetParam() / 4);
  const std::wstring set = putSet(bytes);
  fake_.messages.willAnswer({Answer::Yes, Answer::Ok});
  EXPECT_EQ(success(set, target()), restore(set, target()));
  ASSERT_THAT(fake_.messages.shown, SizeIs(2));
  EXPECT_NE(L"", fake_.messages.shown[1].text);
  EXPECT_EQ(bytes, contentOf(set));
  expectNothingLeft();
}

INSTANTIATE_TEST_SUITE_P(Quarters, BadArchive, testing::Values(0, 1, 2, 3));

// --- the window itself ---

TEST_F(RestoreWindow, IsSeenBeforeTheRunBeginsOnASlowMachineToo) {
  const std::wstring set = putSlowSet(2);
  slow::held = true;
  fake_.messages.willAnswer({Answer::Yes});
  const SlowToShow machine(kTitle);
  run([&](HWND form) {
    begin(form, set);
    EXPECT_TRUE(waitFor([] { return findForm(kTitle, FPRestaura_TResultado) != nullptr; }, 5s));
    slow::held = false;
    closeRun();
  });
  EXPECT_LT(0, machine.delays());
  EXPECT_EQ(1, slow::runs);
}

TEST_F(RestoreWindow, ACloseAskedForInTheMiddleTakesEffectWhenTheRunHasEnded) {
  const std::wstring set = putSlowSet(6);
  slow::held = true;
  fake_.messages.willAnswer({Answer::Yes});
  bool openInTheMiddle = false;
  run([&](HWND form) {
    begin(form, set);
    ASSERT_TRUE(waitFor([] { return slow::depth > 0; }));
    const HWND window = findForm(kTitle);
    PostMessageW(window, WM_SYSCOMMAND, SC_CLOSE, 0);
    std::this_thread::sleep_for(300ms);
    openInTheMiddle = IsWindow(window) && slow::depth > 0;
    slow::held = false;
    EXPECT_TRUE(closed(window));
    EXPECT_TRUE(closed(form)) << "the set is restored";
  });
  EXPECT_TRUE(openInTheMiddle);
  EXPECT_EQ(1, slow::runs);
  expectNothingLeft();
}

TEST_F(RestoreWindow, ACloseAskedForInTheMiddleOfARunThatFailsLeavesTheFailureToBeSeen) {
  const std::wstring set = putSlowSet(1);
  slow::held = true;
  loadEngine_ = [] {
    slow::engine.work = []() -> int {
      ++slow::depth;
      slow::waitUntilLetGo();
      --slow::depth;
      throw AutomationError(kDeviceInputOutput, L"D:");
    };
    return slow::engine.loader()();
  };
  fake_.messages.willAnswer({Answer::Yes, Answer::Ok});
  run([&](HWND form) {
    begin(form, set);
    ASSERT_TRUE(waitFor([] { return slow::depth > 0; }));
    const HWND window = findForm(kTitle, FPRestaura_TResultado);
    PostMessageW(window, WM_CLOSE, 0, 0);
    std::this_thread::sleep_for(300ms);
    slow::held = false;
    ASSERT_EQ(window, ended());
    keepPicture(window, L"FPRestaura-errores-tras-pedir-el-cierre");
    ASSERT_TRUE(IsWindowVisible(window));
    EXPECT_EQ(L"Se han producido errores", textOf(window, FPRestaura_ESalida));
    click(window, FPRestaura_BAceptar);
    leave(form);
  });
  EXPECT_EQ(2u, texts().size());
}

TEST_F(RestoreWindow, WhileItWorksWindowsIsToldToWaitAndWhy) {
  FakeSession windows;
  Platform platform = with(platform_, windows);
  const std::wstring set = putSlowSet(3);
  slow::held = true;
  fake_.messages.willAnswer({Answer::Yes});
  LRESULT mayEnd = TRUE;
  std::size_t kept = 0;
  runOn(platform, [&](HWND form) {
    begin(form, set);
    ASSERT_TRUE(waitFor([] { return slow::depth > 0; }));
    const HWND window = findForm(kTitle, FPRestaura_TResultado);
    mayEnd = SendMessageW(window, WM_QUERYENDSESSION, 0, 0);
    kept = windows.now.size();
    slow::held = false;
    ended();
    EXPECT_EQ(TRUE, SendMessageW(window, WM_QUERYENDSESSION, 0, 0));
    click(window, FPRestaura_BAceptar);
  });
  EXPECT_EQ(FALSE, mayEnd);
  EXPECT_EQ(1u, kept);
  ASSERT_EQ(1u, windows.ever.size());
  EXPECT_EQ(L"Se están restaurando los datos de una copia de seguridad. Espere a que termine, por favor.",
            windows.ever[0].reason);
  EXPECT_TRUE(windows.now.empty());
}

TEST_F(RestoreWindow, WhatAKilledRunLeftBehindGoesWithTheNext) {
  for (const wchar_t* name : {L"restaurar4711.zip", L"qev4711-0.tmp"}) {
    std::ofstream(std::filesystem::path(temp() + L"\\" + name)) << "resto";
  }
  std::ofstream(std::filesystem::path(temp() + L"\\copia.zip1")) << "de una copia en discos";
  const std::wstring set = putSet(header() + archive());
  fake_.messages.willAnswer({Answer::Yes});
  EXPECT_EQ(success(set, target()), restore(set, target()));
  EXPECT_THAT(workFiles(), ElementsAre(L"copia.zip1"));
}

TEST_F(RestoreWindow, WorksOnTheValuesOfItsStart) {
  const std::wstring set = putSet(header() + archive());
  fake_.messages.willAnswer({Answer::Yes});
  loadEngine_ = [this] {
    host_.title = L"Otro";
    host_.dataFolder = L"Q:\\";
    return loadUnzipEngine();
  };
  run([&](HWND form) {
    begin(form, set);
    closeRun();
  });
  EXPECT_EQ("clientes", folder_.bytes(L"destino\\clientes.txt"));
}

class RestoreWindowAtThisScale : public RestoreWindow {};

TEST_F(RestoreWindowAtThisScale, TheResultOfARestoreFits) {
  const std::wstring set = putSet(header() + archive(), L"Copias de seguridad\\Gestión comercial\\Backup16-11-26.qev");
  fake_.messages.willAnswer({Answer::Yes});
  restore(set, target(), [](HWND window) {
    EXPECT_TRUE(fitsWrapped(GetDlgItem(window, FPRestaura_TResultado)));
    keepPictureOfThisScale(window, L"FPRestaura");
  });
}

}  // namespace
}  // namespace qev::test
