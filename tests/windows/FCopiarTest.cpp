// The dialog for a backup by hand and the backup window that follows it: real windows on a real display, with a user on
// a second thread while the first is inside run().
#include "backup/FCopiar.h"

#include "support/TextFit.h"
#include "support/WindowsGivenBack.h"
#include "windows/FormTest.h"

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace qev::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr wchar_t kCaption[] = L"Crear Copia";
constexpr wchar_t kChooseFolder[] = L"Selecione una carpeta donde almacenar la copia de seguridad";
constexpr wchar_t kEnterName[] = L"Introduzca un nombre para la copia de seguridad";
constexpr wchar_t kChooserTitle[] = L"Elija una carpeta donde guardar la copia de seguridad";

// The system's services, but settings, messages and folder chooser of the test's own.
class ManualBackup : public FormTest {
 protected:
  void SetUp() override {
    FormTest::SetUp();
    folder_.write(L"Datos\\Emp01\\clientes.txt", "Ibáñez");
    folder_.makeFolder(L"Copias");
    session_.BackupKind = kScheduled;
    fake_.clock.time = system_.clock.now();
  }

  // Runs the dialog, and the window after it, while `user` does what a user would.
  void run(const std::function<void(HWND form)>& user) { runOn(platform_, user); }

  void runOn(Platform& platform, const std::function<void(HWND form)>& user) {
    const auto show = [&] { FCopiar(platform, host_, session_).run(); };
    use(kCaption, FCopiar_TDestino, show, [&](HWND form) {
      toFront(form);
      user(form);
    });
  }

  // The same, and then presses BCancelar.
  void runAndCancel(const std::function<void(HWND form)>& user) {
    run([&](HWND form) {
      user(form);
      click(form, FCopiar_BCancelar);
    });
  }

  // The backup window, when its run has ended.
  static HWND backupWindow() { return endedRun(FBackup_TResultado, FBackup_BAceptar); }

  // Enters both texts and presses BCopiar.
  static void begin(HWND form, const std::wstring& folder, const std::wstring& name) {
    enter(form, FCopiar_TDestino, folder);
    enter(form, FCopiar_TNArchivo, name);
    click(form, FCopiar_BCopiar);
  }

  // Begins a backup, lets `look` see the backup window and closes that.
  void copy(
      const std::wstring& folder, const std::wstring& name, const std::function<void(HWND)>& look = [](HWND) {}) {
    run([&](HWND form) {
      begin(form, folder, name);
      const HWND window = backupWindow();
      ASSERT_TRUE(window);
      EXPECT_FALSE(IsWindow(form)) << "the dialog closes before the backup window opens";
      look(window);
      click(window, FBackup_BAceptar);
    });
  }

  // The same for a backup that fails: returns what the window says.
  std::wstring failureOf(const std::wstring& folder, const std::wstring& name) {
    std::wstring result, target;
    copy(folder, name, [&](HWND window) {
      EXPECT_EQ(L"  Se han producido errores", textOf(window, FBackup_ESalida));
      result = textOf(window, FBackup_TResultado);
      target = textOf(window, FBackup_TDestino);
    });
    EXPECT_EQ(L" " + folder + name + L".qev", target);
    EXPECT_TRUE(session_.accepted);
    EXPECT_TRUE(session_.finished);
    return result;
  }

  std::wstring copias() const { return folder_ / L"Copias\\"; }
  std::vector<std::wstring> sets() const { return folder_.list(L"Copias"); }

  Platform platform_ = with(system_, fake_.registry, messages_, fake_.sound, fake_.folderChooser);
};

TEST_F(ManualBackup, OpensEmptyWithTheFocusInTheFolder) {
  runAndCancel([](HWND form) {
    EXPECT_EQ(kCaption, windowText(form));
    EXPECT_EQ(L"", textOf(form, FCopiar_TDestino));
    EXPECT_EQ(L"", textOf(form, FCopiar_TNArchivo));
    EXPECT_EQ(FCopiar_TDestino, focusOf(form));
    EXPECT_TRUE(SendMessageW(form, DM_GETDEFID, 0, 0) == MAKELONG(FCopiar_BCopiar, DC_HASDEFID));
    keepPicture(form, L"FCopiar-vacio");
  });
}

TEST_F(ManualBackup, TabGoesThroughTheControlsInReadingOrder) {
  runAndCancel([](HWND form) {
    EXPECT_THAT(tabOrder(form, 6), ElementsAre(FCopiar_TDestino, FCopiar_Archivo, FCopiar_TNArchivo, FCopiar_BCopiar,
                                               FCopiar_BCancelar, FCopiar_TDestino));
  });
}

TEST_F(ManualBackup, MnemonicsReachTheFieldsAndButtons) {
  fake_.folderChooser.willAnswer({std::nullopt});
  fake_.messages.willAnswer({Answer::Ok});
  run([this](HWND form) {
    EXPECT_TRUE(pressAccessKey(form, 'N', [form] { return focusOf(form) == FCopiar_TNArchivo; }));
    EXPECT_TRUE(pressAccessKey(form, 'D', [form] { return focusOf(form) == FCopiar_TDestino; }));
    EXPECT_TRUE(pressAccessKey(form, 'E', [this] { return fake_.folderChooser.shown.size() == 1; }));
    EXPECT_TRUE(pressAccessKey(form, 'C', [this] { return told(1); }));
    EXPECT_TRUE(pressAccessKey(form, 'L', [form] { return !IsWindow(form); }));
  });
}

TEST_F(ManualBackup, ArchivoPutsTheChosenFolderIntoTDestino) {
  fake_.folderChooser.willAnswer({L"D:\\Copias\\"});
  runAndCancel([](HWND form) {
    click(form, FCopiar_Archivo);
    EXPECT_TRUE(waitFor([form] { return textOf(form, FCopiar_TDestino) == L"D:\\Copias\\"; }, 2s));
  });
  EXPECT_THAT(fake_.folderChooser.shown, ElementsAre(FakeFolderChooser::Shown{kChooserTitle, L""}));
}

TEST_F(ManualBackup, ArchivoBeginsWhereTheFieldPointsAndACancelLeavesTheFieldAsItIs) {
  fake_.folderChooser.willAnswer({std::nullopt, L"E:\\"});
  runAndCancel([this](HWND form) {
    focus(form, FCopiar_TDestino);
    type(form, L"C:\\Antes");
    click(form, FCopiar_Archivo);
    EXPECT_TRUE(waitFor([this] { return fake_.folderChooser.shown.size() == 1; }, 2s));
    EXPECT_EQ(L"C:\\Antes", textOf(form, FCopiar_TDestino));
    click(form, FCopiar_Archivo);
    EXPECT_TRUE(waitFor([form] { return textOf(form, FCopiar_TDestino) == L"E:\\"; }, 2s));
  });
  EXPECT_THAT(fake_.folderChooser.shown, ElementsAre(FakeFolderChooser::Shown{kChooserTitle, L"C:\\Antes"},
                                                     FakeFolderChooser::Shown{kChooserTitle, L"C:\\Antes"}));
}

TEST_F(ManualBackup, AChooserThatFailsIsToldAndTheDialogGoesOn) {
  class Broken : public FolderChooser {
    std::optional<std::wstring> choose(const std::wstring&, const std::wstring&) override {
      throw AutomationError(kOutOfMemory);
    }
  } broken;
  Platform platform = with(platform_, broken);
  fake_.messages.willAnswer({Answer::Ok});
  runOn(platform, [this](HWND form) {
    enter(form, FCopiar_TNArchivo, L"Lunes");
    click(form, FCopiar_Archivo);
    EXPECT_TRUE(told(1));
    EXPECT_EQ(L"Lunes", textOf(form, FCopiar_TNArchivo));
    click(form, FCopiar_BCancelar);
  });
  EXPECT_THAT(fake_.messages.shown, ElementsAre(warning(L"Memoria insuficiente")));
}

TEST_F(ManualBackup, BothFieldsEmptyShowsTheFolderMessageOnly) {
  fake_.messages.willAnswer({Answer::Ok});
  runAndCancel([this](HWND form) {
    click(form, FCopiar_BCopiar);
    EXPECT_TRUE(told(1));
    EXPECT_TRUE(IsWindow(form));
    EXPECT_EQ(kManual, session_.BackupKind) << "set before any check";
    EXPECT_FALSE(session_.accepted);
    EXPECT_FALSE(session_.finished);
  });
  EXPECT_THAT(fake_.messages.shown, ElementsAre(advice(kChooseFolder)));
}

TEST_F(ManualBackup, AnEmptyNameIsToldAndGetsTheFocus) {
  fake_.messages.willAnswer({Answer::Ok});
  runAndCancel([this](HWND form) {
    enter(form, FCopiar_TDestino, copias());
    click(form, FCopiar_BCopiar);
    EXPECT_TRUE(told(1));
    EXPECT_TRUE(waitFor([form] { return focusOf(form) == FCopiar_TNArchivo; }, 2s));
    EXPECT_EQ(copias(), textOf(form, FCopiar_TDestino));
  });
  EXPECT_THAT(fake_.messages.shown, ElementsAre(advice(kEnterName)));
  EXPECT_THAT(sets(), IsEmpty());
}

TEST_F(ManualBackup, BlanksAloneAreNoFolderAndNoName) {
  fake_.messages.willAnswer({Answer::Ok, Answer::Ok});
  runAndCancel([this](HWND form) {
    enter(form, FCopiar_TDestino, L"   ");
    click(form, FCopiar_BCopiar);
    EXPECT_TRUE(told(1));
    enter(form, FCopiar_TDestino, copias());
    enter(form, FCopiar_TNArchivo, L"  ");
    click(form, FCopiar_BCopiar);
    EXPECT_TRUE(told(2));
  });
  ASSERT_THAT(fake_.messages.shown, SizeIs(2));
  EXPECT_EQ(kChooseFolder, fake_.messages.shown[0].text);
  EXPECT_EQ(kEnterName, fake_.messages.shown[1].text);
}

TEST_F(ManualBackup, AFolderWithItsBackslashAndANameMakeTheSetInTheFolder) {
  copy(copias(), L"Lunes", [this](HWND window) {
    EXPECT_EQ(L" Copia de Seguridad Manual", textOf(window, FBackup_Metodo));
    EXPECT_EQ(L" " + copias() + L"Lunes.qev", textOf(window, FBackup_TDestino));
    EXPECT_EQ(L"  Copia de Seguridad realizada con éxito", textOf(window, FBackup_ESalida));
  });
  EXPECT_THAT(sets(), ElementsAre(L"Lunes.qev"));
  EXPECT_THAT(folder_.bytes(L"Copias\\Lunes.qev"), testing::StartsWith("Programa : Gestion de prueba;"));
}

TEST_F(ManualBackup, AFolderWithoutItsBackslashIsJoinedAsItStands) {
  copy(folder_ / L"Copias", L"Lunes",
       [this](HWND window) { EXPECT_EQ(L" " + (folder_ / L"CopiasLunes.qev"), textOf(window, FBackup_TDestino)); });
  EXPECT_TRUE(fs::exists(folder_ / L"CopiasLunes.qev"));
  EXPECT_THAT(sets(), IsEmpty());
}

TEST_F(ManualBackup, GoingAheadSetsAceptarAtOnceAndTerminadoWhenTheBackupWindowCloses) {
  bool accepted = false, finished = true;
  copy(copias(), L"Lunes", [&](HWND) {
    accepted = session_.accepted;
    finished = session_.finished;
  });
  EXPECT_TRUE(accepted);
  EXPECT_FALSE(finished);
  EXPECT_TRUE(session_.accepted);
  EXPECT_TRUE(session_.finished);
}

TEST_F(ManualBackup, TheKeyboardAloneIsEnough) {
  run([this](HWND form) {
    type(form, copias());
    press(form, VK_TAB);
    press(form, VK_TAB);
    waitFor([form] { return focusOf(form) == FCopiar_TNArchivo; }, 2s);
    type(form, L"Lunes");
    press(form, VK_RETURN);
    EXPECT_TRUE(waitFor([form] { return focusOf(form) == FCopiar_BCopiar; }, 2s));
    press(form, VK_RETURN);
    const HWND window = backupWindow();
    press(window, VK_RETURN);
  });
  EXPECT_THAT(sets(), ElementsAre(L"Lunes.qev"));
}

TEST_F(ManualBackup, TheBackupWindowOpensOverTheSameHostWindowWhichIsActiveAfterwards) {
  const HostWindow host;
  bringToForeground(host);
  HWND firstOwner = nullptr, secondOwner = nullptr;
  run([&](HWND form) {
    firstOwner = GetWindow(form, GW_OWNER);
    EXPECT_FALSE(IsWindowEnabled(host));
    begin(form, copias(), L"Lunes");
    const HWND window = backupWindow();
    secondOwner = GetWindow(window, GW_OWNER);
    EXPECT_FALSE(IsWindowEnabled(host));
    click(window, FBackup_BAceptar);
  });
  EXPECT_EQ(HWND{host}, firstOwner);
  EXPECT_EQ(HWND{host}, secondOwner);
  EXPECT_TRUE(IsWindowEnabled(host));
  EXPECT_EQ(HWND{host}, GetActiveWindow());
}

// Ways to close the dialog without a backup.
struct Leaving {
  const char* name;
  void (*act)(HWND form);
};

class Cancelling : public ManualBackup, public testing::WithParamInterface<Leaving> {};

TEST_P(Cancelling, SaysNotAcceptedAndFinished) {
  session_.accepted = true;  // of an earlier dialog
  run([](HWND form) {
    enter(form, FCopiar_TNArchivo, L"Lunes");
    GetParam().act(form);
    EXPECT_TRUE(closed(form));
  });
  EXPECT_FALSE(session_.accepted);
  EXPECT_TRUE(session_.finished);
  EXPECT_EQ(kScheduled, session_.BackupKind) << "only BCopiar sets it";
  EXPECT_THAT(sets(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Ways, Cancelling,
                         testing::Values(Leaving{"BCancelar", [](HWND form) { Hands::click(form, FCopiar_BCancelar); }},
                                         Leaving{"EscOnAButton", [](HWND form) { Hands::press(form, VK_ESCAPE); }},
                                         Leaving{"EscInAField",
                                                 [](HWND form) {
                                                   Hands::focus(form, FCopiar_TDestino);
                                                   Hands::press(form, VK_ESCAPE);
                                                 }},
                                         Leaving{"CloseBox",
                                                 [](HWND form) { PostMessageW(form, WM_SYSCOMMAND, SC_CLOSE, 0); }}),
                         [](const auto& leaving) { return leaving.param.name; });

TEST_F(ManualBackup, EscInAFieldFirstTakesBackWhatWasTyped) {
  run([](HWND form) {
    enter(form, FCopiar_TDestino, L"C:\\Copias\\");
    EXPECT_TRUE(pressAccessKey(form, 'D', [form] { return focusOf(form) == FCopiar_TDestino; }));
    type(form, L"error");
    press(form, VK_ESCAPE);
    EXPECT_TRUE(waitFor([form] { return textOf(form, FCopiar_TDestino) == L"C:\\Copias\\"; }, 2s));
    EXPECT_TRUE(IsWindow(form));
    press(form, VK_ESCAPE);
    EXPECT_TRUE(closed(form));
  });
  EXPECT_TRUE(session_.finished);
}

TEST_F(ManualBackup, ANameThatNoFileMayHoldFailsInTheBackupWindow) {
  folder_.write(L"Copias\\Lunes.qev", "de ayer");
  EXPECT_THAT(failureOf(copias(), L"a*b?<c>|d"), testing::Not(IsEmpty()));
  EXPECT_THAT(sets(), ElementsAre(L"Lunes.qev"));
  EXPECT_EQ("de ayer", folder_.bytes(L"Copias\\Lunes.qev"));
}

TEST_F(ManualBackup, ANameThatEndsInQevGetsAnother) {
  copy(copias(), L"Lunes.qev");
  EXPECT_THAT(sets(), ElementsAre(L"Lunes.qev.qev"));
}

TEST_F(ManualBackup, ANameWithBlanksInsideKeepsThem) {
  copy(copias(), L" Copia del  año 2026 ");
  EXPECT_THAT(sets(), ElementsAre(L"Copia del  año 2026.qev")) << "a field trims what is typed into it";
}

TEST_F(ManualBackup, AFolderThatDoesNotExistFailsInTheBackupWindow) {
  EXPECT_THAT(failureOf(copias() + L"No\\Existe\\", L"Lunes"), testing::Not(IsEmpty()));
  EXPECT_THAT(sets(), IsEmpty()) << "no folder is made";
}

TEST_F(ManualBackup, ThreeHundredCharactersFailInTheBackupWindow) {
  EXPECT_THAT(failureOf(copias(), std::wstring(300, L'x')), testing::Not(IsEmpty()));
  EXPECT_THAT(sets(), IsEmpty());
}

TEST_F(ManualBackup, ASetOfThatNameIsReplacedOnlyWhenTheUserAgrees) {
  folder_.write(L"Copias\\Lunes.qev", "de ayer");
  fake_.messages.willAnswer({Answer::No});
  run([this](HWND form) {
    begin(form, copias(), L"Lunes");
    EXPECT_TRUE(told(1));
  });
  ASSERT_THAT(fake_.messages.shown, SizeIs(1));
  EXPECT_EQ(L"El nombre del archivo seleccionado ya existe, ¿Desea reemplazarlo?", fake_.messages.shown[0].text);
  EXPECT_EQ("de ayer", folder_.bytes(L"Copias\\Lunes.qev"));
  EXPECT_TRUE(session_.accepted);
  EXPECT_TRUE(session_.finished);
}

TEST_F(ManualBackup, CannotBeShownWhileAFormIsOpen) {
  std::int32_t number = 0;
  session_.formsShown.insert(L"FBACKUP");
  try {
    FCopiar(platform_, host_, session_).run();
  } catch (const AutomationError& error) {
    number = error.number();
  }
  EXPECT_EQ(400, number);
  EXPECT_FALSE(session_.finished);
}

TEST_F(ManualBackup, ShowsEachMessageOverItself) {
  Platform real = with(platform_, system_.messages);
  runOn(real, [](HWND form) {
    const auto seeMessage = [form](const wchar_t* picture) {
      ASSERT_TRUE(waitFor([] { return findForm(kTitle) != nullptr; }));
      const HWND box = findForm(kTitle);
      EXPECT_EQ(form, GetWindow(box, GW_OWNER));
      std::this_thread::sleep_for(300ms);
      saveScreenshot(GetDesktopWindow(), picture);
      HWND button = nullptr;
      do button = FindWindowExW(box, button, L"Button", nullptr);
      while (button && !IsWindowVisible(button));
      click(button);
      EXPECT_TRUE(closed(box));
    };
    click(form, FCopiar_BCopiar);
    seeMessage(L"FCopiar-sin-carpeta");
    enter(form, FCopiar_TDestino, L"D:\\Copias de seguridad\\Gestión\\");
    click(form, FCopiar_BCopiar);
    seeMessage(L"FCopiar-sin-nombre");
    EXPECT_TRUE(waitFor([form] { return focusOf(form) == FCopiar_TNArchivo; }, 2s));
    type(form, L"Antes del cierre del año");
    keepPicture(form, L"FCopiar-lleno");
    click(form, FCopiar_BCancelar);
  });
}

class ManualBackupAtThisScale : public ManualBackup {};

TEST_F(ManualBackupAtThisScale, EveryTextFits) {
  runAndCancel([](HWND form) {
    for (const int id :
         {FCopiar_Label1, FCopiar_Label2, FCopiar_Label3, FCopiar_Label4, FCopiar_BCopiar, FCopiar_BCancelar}) {
      EXPECT_TRUE(fitsInOneLine(GetDlgItem(form, id))) << "control " << id;
    }
    keepPictureOfThisScale(form, L"FCopiar");
  });
}

TEST_F(ManualBackup, GivesBackEveryWindowAndDrawingObject) {
  expectWindowsGivenBack([this] { run([](HWND form) { click(form, FCopiar_BCancelar); }); });
}

}  // namespace
}  // namespace qev::test
