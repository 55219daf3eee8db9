// The backup window: a real window on a real display, with a user on a second thread while the first is inside
// showModal().
#include "backup/FBackup.h"

#include <commctrl.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "resources/resource.h"
#include "support/Hands.h"
#include "support/Screenshot.h"
#include "support/ScriptedEngine.h"
#include "support/SlowToShow.h"
#include "support/TextFit.h"
#include "support/WindowsGivenBack.h"
#include "windows/FormTest.h"

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace qev::test {
namespace {

// An engine that takes its time: it archives as many files of a MiB as it is told, message by message, and then leaves
// an archive (an empty one, which is a valid zip).
namespace slow {
ScriptedZip engine;
std::atomic<int> files{0};
std::atomic<int> runs{0};
std::atomic<int> depth{0};
std::atomic<int> deepest{0};
std::atomic<bool> held{false};  // before the last file
std::wstring folder;            // of the files, as their names in the archive begin
std::function<void()> afterFirstFile;

// Returns when the user has seen enough, which on a slow machine takes longer than all that the engine does.
void waitUntilLetGo() {
  waitFor([] {
    systemPlatform().eventLoop.yield();
    return !held;
  });
}

int archive() {
  ++runs;
  deepest = std::max(deepest.load(), ++depth);
  for (int i = 0; i < files; ++i) {
    if (i == files - 1) waitUntilLetGo();
    engine.say(L"  adding: " + folder + std::to_wstring(i) + L".bin (deflated 1%)\r\n");
    std::this_thread::sleep_for(120ms);  // longer than a tick of the window's timer
    if (i == 0 && afterFirstFile) afterFirstFile();
  }
  std::ofstream(engine.request.archive.c_str(), std::ios::binary)
      << std::string("PK\x05\x06", 4) << std::string(18, '\0');
  --depth;
  return 0;
}

std::unique_ptr<ZipEngine> load() {
  engine.work = &archive;
  return engine.loader()();
}

}  // namespace slow

// With settings and message boxes of the system.
class BackupWindow : public FormTest {
 protected:
  static constexpr wchar_t kKey[] = L"Software\\QevBackupWindowTest";

  void SetUp() override {
    FormTest::SetUp();
    folder_.makeFolder(L"Datos\\Emp01");
    host_.settingsKey = kKey;
    session_.BackupKind = kAutomatic;
    slow::files = 0;
    slow::folder = host_.dataFolder.substr(3);
    std::ranges::replace(slow::folder, L'\\', L'/');
    slow::runs = 0;
    slow::deepest = 0;
    slow::held = false;
    slow::afterFirstFile = nullptr;
  }

  void TearDown() override { RegDeleteTreeW(HKEY_LOCAL_MACHINE, kKey); }

  void makeFiles(int count) {
    for (int i = 0; i < count; ++i) {
      folder_.write(L"Datos\\Emp01\\" + std::to_wstring(i) + L".bin", std::string(1 << 20, 'x'));
    }
    slow::files = count;
  }

  // Shows the window while `user` does what a user would.
  void show(const std::function<void(HWND form)>& user, CZipFiles::EngineLoader engine = slow::load) {
    FBackup window(systemPlatform(), host_, session_, std::move(engine));
    window.RutaDestino = target();
    const auto showModal = [&] { window.showModal(); };
    use(kTitle, FBackup_TResultado, showModal, user);
  }

  // The same until the run has ended, `look` has seen that and Aceptar is pressed.
  void showToTheEnd(
      const std::function<void(HWND form)>& look = [](HWND) {}, CZipFiles::EngineLoader engine = slow::load) {
    const auto user = [&look](HWND form) {
      ASSERT_TRUE(finished(form));
      look(form);
      click(form, FBackup_BAceptar);
    };
    show(user, std::move(engine));
  }

  std::wstring target() const { return folder_ / L"copia.qev"; }

  static bool finished(HWND form) {
    return waitFor([form] { return IsWindowEnabled(GetDlgItem(form, FBackup_BAceptar)) != FALSE; });
  }

  void expectASetWithItsHeader() const {
    EXPECT_THAT(folder_.bytes(L"copia.qev"), testing::StartsWith("Programa : Gestion de prueba;"));
  }

  SettingsStore settings_{system_.registry, host_.settingsKey};
};

TEST_F(BackupWindow, ShowsWhatItDoesWhileItRunsAndHowItEnded) {
  makeFiles(12);
  slow::held = true;
  show([this](HWND form) {
    ASSERT_TRUE(waitFor([form] { return SendMessageW(GetDlgItem(form, FBackup_Progreso), PBM_GETPOS, 0, 0) > 300; }));
    EXPECT_EQ(L" Copia de Seguridad Automática", textOf(form, FBackup_Metodo));
    EXPECT_EQ(L" Datos del programa", textOf(form, FBackup_TOrigen));
    EXPECT_EQ(L" " + target(), textOf(form, FBackup_TDestino));
    EXPECT_EQ(L" Realizando copia de seguridad...", textOf(form, FBackup_TResultado));
    EXPECT_EQ(L"Espere un momento, por favor... ", textOf(form, FBackup_ESalida));
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(form, FBackup_BAceptar)));
    saveScreenshot(form, L"FBackup-realizando");
    slow::held = false;
    ASSERT_TRUE(finished(form));
    EXPECT_EQ(
        L" La copia de seguridad se ha realizado correctamente.\r\n Origen: Datos del programa Gestion de prueba\r\n"
        L" Destino: " +
            target(),
        textOf(form, FBackup_TResultado));
    EXPECT_EQ(L"  Copia de Seguridad realizada con éxito", textOf(form, FBackup_ESalida));
    EXPECT_EQ(1000, SendMessageW(GetDlgItem(form, FBackup_Progreso), PBM_GETPOS, 0, 0));
    keepPicture(form, L"FBackup-correcta");
    EXPECT_FALSE(session_.finished);
    press(form, VK_RETURN);
  });
  EXPECT_TRUE(session_.finished);
  EXPECT_TRUE(fs::exists(target()));
}

TEST_F(BackupWindow, ShowsAFailureAndStaysOpen) {
  settings_.write(L"Cerrar", std::int16_t{1});
  showToTheEnd(
      [](HWND form) {
        EXPECT_EQ(L"  Se han producido errores", textOf(form, FBackup_ESalida));
        EXPECT_NE(std::wstring::npos,
                  textOf(form, FBackup_TResultado).find(L"Error: 53-No se ha encontrado el archivo: VANTO5.DLL"));
        keepPicture(form, L"FBackup-errores");
        EXPECT_TRUE(IsWindowVisible(form)) << "a failure never closes the window";
      },
      []() -> std::unique_ptr<ZipEngine> { throw AutomationError(kFileNotFound, L"VANTO5.DLL"); });
  EXPECT_TRUE(session_.finished);
}

// The longest of all failures: of safe mode, with a long name, the next moment and a long destination.
TEST_F(BackupWindow, AFailureOfSafeModeFitsTheWindow) {
  settings_.write(L"Verificar", std::int16_t{1});
  settings_.write(L"Copia", std::int16_t{2});
  settings_.write(L"Programar", std::wstring(L"Diariamente"));
  for (const wchar_t c : {L'a', L'b'}) folder_.write(L"Datos\\Emp01\\" + std::wstring(120, c) + L".db", "x");
  showToTheEnd([](HWND form) {  // the archive of this engine is none
    const HWND result = GetDlgItem(form, FBackup_TResultado);
    const std::wstring text = windowText(result);
    EXPECT_NE(std::wstring::npos, text.find(L"Error: 53-Copia incompleta: …aaa"));
    EXPECT_NE(std::wstring::npos, text.find(L"a.db no está en la copia (y 1 más)"));
    EXPECT_NE(std::wstring::npos, text.find(L"La próxima copia de seguridad"));
    EXPECT_TRUE(fitsWrapped(result));
    keepPicture(form, L"FBackup-modo-seguro");
  });
  EXPECT_FALSE(fs::exists(target()));
}

TEST_F(BackupWindow, NamesTheKindOfBackup) {
  const std::pair<std::uint8_t, const wchar_t*> kinds[] = {
      {kManual, L" Copia de Seguridad Manual"}, {kScheduled, L" Copia de Seguridad Programada"}, {7, L""}};
  for (const auto& [kind, text] : kinds) {
    session_.BackupKind = kind;
    fs::remove(target());
    showToTheEnd([&, expected = text](HWND form) { EXPECT_EQ(expected, textOf(form, FBackup_Metodo)); });
  }
}

TEST_F(BackupWindow, ClosesByItselfAfterASuccessWhenTheHostWantsIt) {
  settings_.write(L"Cerrar", std::int16_t{1});
  show([](HWND) {});
  EXPECT_TRUE(session_.finished);
  EXPECT_EQ(1, slow::runs);
}

TEST_F(BackupWindow, StaysOpenAfterAManualBackup) {
  settings_.write(L"Cerrar", std::int16_t{1});
  session_.BackupKind = kManual;
  showToTheEnd([](HWND form) {
    std::this_thread::sleep_for(300ms);
    EXPECT_TRUE(IsWindow(form));
  });
}

TEST_F(BackupWindow, ItsButtonCannotBePressedBeforeTheRunEnds) {
  makeFiles(8);
  slow::held = true;
  bool open = false;
  show([&](HWND form) {
    ASSERT_TRUE(waitFor([] { return slow::runs > 0; }));
    clickOn(form, GetDlgItem(form, FBackup_BAceptar));  // as it comes: the button cannot be used
    test::press(form, VK_RETURN);
    std::this_thread::sleep_for(200ms);
    open = IsWindow(form) && !IsWindowEnabled(GetDlgItem(form, FBackup_BAceptar)) && slow::depth == 1;
    slow::held = false;
    ASSERT_TRUE(finished(form));
    EXPECT_TRUE(IsWindow(form)) << "the early click must not count later";
    click(form, FBackup_BAceptar);
  });
  EXPECT_TRUE(open);
}

TEST_F(BackupWindow, TextsKeepTheirLeadingBlanks) {
  showToTheEnd([](HWND form) {
    EXPECT_EQ(L" Datos del programa", textOf(form, FBackup_TOrigen));
    EXPECT_EQ(L"  Copia de Seguridad realizada con éxito", textOf(form, FBackup_ESalida));
    EXPECT_EQ(L"    Aceptar", windowText(GetDlgItem(form, FBackup_BAceptar)));
  });
}

TEST_F(BackupWindow, TheOtherWindowsOfTheHostCannotBeUsedMeanwhile) {
  makeFiles(2);
  const HostWindow other(L"Otra ventana");
  const HostWindow host;
  show([&](HWND form) {
    EXPECT_FALSE(IsWindowEnabled(other));
    EXPECT_FALSE(IsWindowEnabled(host));
    ASSERT_TRUE(finished(form));
    click(form, FBackup_BAceptar);
  });
  EXPECT_TRUE(IsWindowEnabled(other));
  EXPECT_TRUE(IsWindowEnabled(host));
}

TEST_F(BackupWindow, WorksOnTheValuesOfItsStart) {
  makeFiles(2);
  slow::afterFirstFile = [this] {
    host_.title = L"Otro";
    session_.BackupKind = kManual;
    host_.settingsKey = L"Software\\QevBackupOtra";
  };
  showToTheEnd();
  host_.settingsKey = kKey;
  EXPECT_EQ(Value(std::wstring(L"Ultima copia de seguridad realizada correctamente")), settings_.read(L"Estado"));
  expectASetWithItsHeader();
}

TEST_F(BackupWindow, IsSeenBeforeTheRunBeginsOnASlowMachineToo) {
  makeFiles(2);
  slow::held = true;
  const SlowToShow machine(kTitle);
  show([](HWND form) {
    EXPECT_TRUE(slow::held);
    slow::held = false;
    ASSERT_TRUE(finished(form));
    click(form, FBackup_BAceptar);
  });
  EXPECT_LT(0, machine.delays());
  EXPECT_EQ(1, slow::runs);
}

TEST_F(BackupWindow, ATickDuringTheRunStartsNothing) {
  makeFiles(8);
  showToTheEnd();
  EXPECT_EQ(1, slow::runs);
  EXPECT_EQ(1, slow::deepest);
}

TEST_F(BackupWindow, ACloseAskedForInTheMiddleTakesEffectWhenTheRunHasEnded) {
  makeFiles(6);
  slow::held = true;
  bool openAtEnd = false;
  show([&](HWND form) {
    ASSERT_TRUE(waitFor([] { return slow::runs > 0; }));
    PostMessageW(form, WM_SYSCOMMAND, SC_CLOSE, 0);
    std::this_thread::sleep_for(300ms);
    openAtEnd = IsWindow(form) && !session_.finished;
    slow::held = false;
  });
  EXPECT_TRUE(openAtEnd);
  EXPECT_TRUE(session_.finished);
  EXPECT_TRUE(fs::exists(target())) << "the run was not cut short";
}

// An engine that leaves nothing, when the user has seen enough.
std::unique_ptr<ZipEngine> loadInVain() {
  slow::engine.work = [] {
    ++slow::runs;
    slow::waitUntilLetGo();
    slow::engine.say(L"zip error: Could not create output file (copia.qev)\r\n");
    return 15;
  };
  return slow::engine.loader()();
}

// However it is asked to close in the middle: the close box, and WM_CLOSE from outside.
class BackupWindowClosed : public BackupWindow, public testing::WithParamInterface<UINT> {
 protected:
  static void askToClose(HWND form) {
    if (GetParam() == WM_QUIT) {
      PostThreadMessageW(GetWindowThreadProcessId(form, nullptr), WM_QUIT, 9, 0);
    } else {
      PostMessageW(form, GetParam(), GetParam() == WM_SYSCOMMAND ? SC_CLOSE : 0, 0);
    }
    std::this_thread::sleep_for(300ms);
  }

  // Takes the quit message that was put back.
  static void expectQuit() {
    MSG message{};
    EXPECT_EQ(GetParam() == WM_QUIT, PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE) != FALSE);
  }
};

TEST_P(BackupWindowClosed, InTheMiddleOfARunThatFailsShowsTheFailureUntilItIsClosedAgain) {
  slow::held = true;
  bool inTheMiddle = false;
  show(
      [&](HWND form) {
        ASSERT_TRUE(waitFor([] { return slow::runs > 0; }));
        askToClose(form);
        inTheMiddle = IsWindow(form);
        slow::held = false;
        ASSERT_TRUE(finished(form));
        keepPicture(form, L"FBackup-errores-tras-pedir-el-cierre");
        ASSERT_TRUE(IsWindowVisible(form)) << "nobody has seen the failure";
        EXPECT_EQ(L"  Se han producido errores", textOf(form, FBackup_ESalida));
        EXPECT_THAT(textOf(form, FBackup_TResultado), testing::HasSubstr(L"Error: "));
        click(form, FBackup_BAceptar);
      },
      loadInVain);
  EXPECT_TRUE(inTheMiddle);
  EXPECT_TRUE(session_.finished);
  expectQuit();
}

TEST_P(BackupWindowClosed, InTheMiddleOfARunThatSucceedsClosesItAtTheEnd) {
  makeFiles(3);
  slow::held = true;
  bool openInTheMiddle = false;
  show([&](HWND form) {
    ASSERT_TRUE(waitFor([] { return slow::runs > 0; }));
    askToClose(form);
    openInTheMiddle = IsWindow(form) && !session_.finished;
    slow::held = false;
    EXPECT_TRUE(closed(form));
  });
  EXPECT_TRUE(openInTheMiddle);
  EXPECT_TRUE(session_.finished);
  expectASetWithItsHeader();
  expectQuit();
}

INSTANTIATE_TEST_SUITE_P(Ways, BackupWindowClosed, testing::Values(WM_SYSCOMMAND, WM_CLOSE, WM_QUIT));

TEST_F(BackupWindow, ACloseAskedForBeforeTheRunBeginsTakesEffectWhenItHasEnded) {
  std::atomic<bool> asked{false};
  std::thread hasty([&] {  // long before a user could
    asked = waitFor([] {
      const HWND form = findForm(kTitle, FBackup_TResultado);
      return form && PostMessageW(form, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), 0);
    });
  });
  show([](HWND) {});
  hasty.join();
  EXPECT_TRUE(asked);
  EXPECT_EQ(1, slow::runs);
  expectASetWithItsHeader();
}

TEST_F(BackupWindow, AQuitMessageThatIsWaitingDoesNotKeepTheBackupFromBeingMade) {
  PostQuitMessage(17);
  show([](HWND) {});
  EXPECT_EQ(1, slow::runs);
  expectASetWithItsHeader();
  MSG message{};
  ASSERT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
  EXPECT_EQ(UINT{WM_QUIT}, message.message) << "it is put back for the host's loop";
  EXPECT_EQ(17u, message.wParam);
}

// A message of a window of the host, which the form's own loop dispatches, posts it: before the first tick.
TEST_F(BackupWindow, AQuitMessageThatComesBeforeTheRunDoesNotEither) {
  constexpr UINT quit = WM_APP + 9;
  const HostWindow host;
  SetWindowLongPtrW(host, GWLP_WNDPROC,
                    reinterpret_cast<LONG_PTR>(+[](HWND window, UINT message, WPARAM wParam, LPARAM lParam) -> LRESULT {
                      if (message == quit) PostQuitMessage(18);
                      return DefWindowProcW(window, message, wParam, lParam);
                    }));
  PostMessageW(host, quit, 0, 0);
  show([](HWND) {});
  EXPECT_EQ(1, slow::runs);
  expectASetWithItsHeader();
  MSG message{};
  ASSERT_TRUE(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
  EXPECT_EQ(18u, message.wParam);
}

TEST_F(BackupWindow, WhileItWorksWindowsIsToldToWaitAndWhyAndNotToFallAsleep) {
  FakeSession windows;
  Platform platform = with(systemPlatform(), windows);
  makeFiles(3);
  slow::held = true;
  FBackup window(platform, host_, session_, slow::load);
  window.RutaDestino = target();
  HWND shown = nullptr;
  std::vector<FakeSession::Kept> atWork;
  LRESULT mayEndAtWork = TRUE, mayEndAfterwards = FALSE;
  slow::afterFirstFile = [&] { atWork = windows.now; };
  use(
      kTitle, FBackup_TResultado, [&] { window.showModal(); },
      [&](HWND form) {
        shown = form;
        ASSERT_TRUE(waitFor([] { return slow::runs > 0; }));
        mayEndAtWork = SendMessageW(form, WM_QUERYENDSESSION, 0, 0);
        slow::held = false;
        ASSERT_TRUE(finished(form));
        std::this_thread::sleep_for(200ms);
        mayEndAfterwards = SendMessageW(form, WM_QUERYENDSESSION, 0, 0);
        click(form, FBackup_BAceptar);
      });
  ASSERT_EQ(1u, atWork.size());
  EXPECT_EQ(static_cast<WindowHandle>(shown), atWork[0].window);
  EXPECT_EQ(L"Se está haciendo la copia de seguridad de los datos. Espere a que termine, por favor.", atWork[0].reason);
  EXPECT_EQ(FALSE, mayEndAtWork);
  EXPECT_EQ(TRUE, mayEndAfterwards);
  EXPECT_TRUE(windows.now.empty()) << "Windows is told when it is over";
  EXPECT_EQ(1u, windows.ever.size());
}

TEST_F(BackupWindow, ClosingItAnyOtherWaySetsTheFinishedFlag) {
  show([](HWND form) {
    ASSERT_TRUE(finished(form));
    press(form, VK_ESCAPE);
  });
  EXPECT_TRUE(session_.finished);
}

TEST_F(BackupWindow, CannotBeShownTwiceAtOnce) {
  makeFiles(3);
  std::int32_t number = 0;
  slow::afterFirstFile = [&] {
    try {
      FBackup(systemPlatform(), host_, session_, slow::load).showModal();
    } catch (const AutomationError& error) {
      number = error.number();
    }
  };
  showToTheEnd();
  EXPECT_EQ(400, number);
}

// The message box over the window, answered with a key as a user would.
HWND findQuestion(HWND form) {
  const HWND top = GetLastActivePopup(form);
  return top != form && IsWindowVisible(top) ? top : nullptr;
}

TEST_F(BackupWindow, ANoToTheReplaceQuestionClosesItAndRecordsNothing) {
  folder_.write(L"copia.qev", "la copia de esta mañana");
  show([](HWND form) {
    ASSERT_TRUE(waitFor([form] { return findQuestion(form) != nullptr; }));
    const HWND question = findQuestion(form);
    EXPECT_EQ(kTitle, windowText(question));
    keepPicture(form, L"FBackup-reemplazar");
    click(question, IDNO);
  });
  EXPECT_TRUE(session_.finished);
  EXPECT_EQ(0, slow::runs);
  EXPECT_EQ(Value(Empty{}), settings_.read(L"Estado"));
  EXPECT_EQ("la copia de esta mañana", folder_.bytes(L"copia.qev"));
}

TEST_F(BackupWindow, AYesToTheReplaceQuestionMakesTheSetAnew) {
  folder_.write(L"copia.qev", "la copia de esta mañana");
  show([](HWND form) {
    ASSERT_TRUE(waitFor([form] { return findQuestion(form) != nullptr; }));
    click(findQuestion(form), IDYES);
    ASSERT_TRUE(finished(form));
    click(form, FBackup_BAceptar);
  });
  EXPECT_EQ(1, slow::runs);
  expectASetWithItsHeader();
}

TEST_F(BackupWindow, GivesBackEveryWindowAndDrawingObject) {
  expectWindowsGivenBack([this] {
    fs::remove(target());
    showToTheEnd();
  });
}

}  // namespace
}  // namespace qev::test
