// The restore dialog.
#include "restore/FRestaurar.h"

#include "support/TextFit.h"
#include "support/WindowsGivenBack.h"
#include "windows/RestoreForms.h"

using namespace std::chrono_literals;

namespace qev::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr wchar_t kForeign[] = L"Esta Copia de Seguridad no es del programa Gestion de prueba";
constexpr wchar_t kNoSet[] = L"Debe de cargar una copia para restaurar";
constexpr wchar_t kCurrentDataGoes[] = L"Si continua se perderán los datos actuales, ¿Desea continuar?";

class RestoreDialog : public RestoreForms {
 protected:
  static void expectNoSet(HWND form) {
    EXPECT_EQ(L"", textOf(form, FRestaurar_TNombre));
    EXPECT_EQ(L"", textOf(form, FRestaurar_TFecha));
    EXPECT_EQ(L"", textOf(form, FRestaurar_TNVol));
  }
};

TEST_F(RestoreDialog, OpensWithoutASetForTheOriginalLocationAndWithTheStructureTicked) {
  runAndCancel([](HWND form) {
    EXPECT_EQ(kCaption, windowText(form));
    expectNoSet(form);
    EXPECT_EQ(L"Ubicación Original", textOf(form, FRestaurar_TTipo));
    EXPECT_EQ(kOriginal, textOf(form, FRestaurar_TDestino));
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(form, FRestaurar_BCarpeta)));
    EXPECT_EQ(L"Mantener Estructura Directorios", textOf(form, FRestaurar_TEstructura));
    EXPECT_EQ(BST_CHECKED, IsDlgButtonChecked(form, FRestaurar_TEstructura));
    EXPECT_TRUE(readOnly(form, FRestaurar_TFecha));
    EXPECT_TRUE(readOnly(form, FRestaurar_TNVol));
    EXPECT_EQ(FRestaurar_TNombre, focusOf(form));
    EXPECT_TRUE(SendMessageW(form, DM_GETDEFID, 0, 0) == MAKELONG(FRestaurar_BRestaurar, DC_HASDEFID));
    keepPicture(form, L"FRestaurar-vacio");
  });
}

TEST_F(RestoreDialog, TabGoesThroughTheControlsInReadingOrder) {
  runAndCancel([](HWND form) {
    EXPECT_THAT(tabOrder(form, 10),
                ElementsAre(FRestaurar_TNombre, FRestaurar_BCargar, FRestaurar_TFecha, FRestaurar_TNVol,
                            FRestaurar_TTipo, FRestaurar_TDestino, FRestaurar_TEstructura, FRestaurar_BRestaurar,
                            FRestaurar_BCancelar, FRestaurar_TNombre));
  });
}

TEST_F(RestoreDialog, MnemonicsReachTheFieldsAndButtons) {
  fake_.fileChooser.willAnswer({std::nullopt});
  fake_.messages.willAnswer({Answer::Ok});
  run([this](HWND form) {
    EXPECT_TRUE(pressAccessKey(form, 'D', [form] { return focusOf(form) == FRestaurar_TDestino; }));
    EXPECT_TRUE(pressAccessKey(form, 'U', [form] { return focusOf(form) == FRestaurar_TTipo; }));
    EXPECT_TRUE(pressAccessKey(form, 'O', [form] { return focusOf(form) == FRestaurar_TNombre; }));
    EXPECT_TRUE(pressAccessKey(form, 'C', [this] { return fake_.fileChooser.shown.size() == 1; }));
    EXPECT_TRUE(pressAccessKey(form, 'R', [this] { return told(1); }));
    EXPECT_TRUE(pressAccessKey(form, 'L', [form] { return !IsWindow(form); }));
  });
}

TEST_F(RestoreDialog, BCargarShowsTheDateAndTheNumberOfVolumesOfTheChosenSet) {
  fake_.registry.put(kKey, L"Dirbackup", Value(std::wstring(L"D:\\Gestion\\Backup\\")));
  const std::wstring set = putSet(header("Gestion de prueba", "16/11/2026", "3", "1") + archive());
  runAndCancel([&](HWND form) {
    load(form, set);
    EXPECT_EQ(set, textOf(form, FRestaurar_TNombre));
    EXPECT_EQ(L"16-11-2026", textOf(form, FRestaurar_TFecha));
    EXPECT_EQ(L"3", textOf(form, FRestaurar_TNVol));
    keepPicture(form, L"FRestaurar-cargada");
  });
  EXPECT_THAT(fake_.fileChooser.shown, ElementsAre(FakeFileChooser::Shown{L"Seleccione archivo de copia de seguridad",
                                                                          L"*.*|*.*", L"D:\\Gestion\\Backup\\"}));
}

TEST_F(RestoreDialog, BCargarCancelledChangesNothing) {
  const std::wstring set = putSet(header() + archive());
  runAndCancel([&](HWND form) {
    load(form, set);
    fake_.fileChooser.willAnswer({std::nullopt});
    click(form, FRestaurar_BCargar);
    EXPECT_TRUE(waitFor([&] { return fake_.fileChooser.shown.size() == 2; }));
    EXPECT_EQ(set, textOf(form, FRestaurar_TNombre));
    EXPECT_EQ(L"16-11-2026", textOf(form, FRestaurar_TFecha));
    EXPECT_EQ(L"1", textOf(form, FRestaurar_TNVol));
  });
}

TEST_F(RestoreDialog, ASetMadeByAnotherHostProgramShowsTheWarningAndLeavesAllThreeSetFieldsEmpty) {
  const std::wstring mine = putSet(header() + archive());
  const std::wstring other = putSet(header("Contabilidad") + archive(), L"otra.qev");
  fake_.messages.willAnswer({Answer::Ok});
  runAndCancel([&](HWND form) {
    load(form, mine);
    fake_.fileChooser.willAnswer({other});
    click(form, FRestaurar_BCargar);
    EXPECT_TRUE(told(1));
    expectNoSet(form);
  });
  EXPECT_THAT(fake_.messages.shown, ElementsAre(warning(kForeign)));
}

TEST_F(RestoreDialog, BRestaurarWithNoSetChosenOnlyShowsTheWarningAndAsksNothing) {
  fake_.messages.willAnswer({Answer::Ok});
  runAndCancel([this](HWND form) {
    click(form, FRestaurar_BRestaurar);
    EXPECT_TRUE(told(1));
    EXPECT_TRUE(IsWindowVisible(form));
  });
  EXPECT_THAT(fake_.messages.shown, ElementsAre(warning(kNoSet)));
}

TEST_F(RestoreDialog, TheAlternativeLocationEmptiesTheDestinationAndEnablesBCarpeta) {
  runAndCancel([](HWND form) {
    EXPECT_TRUE(readOnly(form, FRestaurar_TDestino)) << "the original location is the set's affair";
    enter(form, FRestaurar_TTipo, L"Ubicación Alternativa");
    EXPECT_TRUE(waitFor([form] { return textOf(form, FRestaurar_TDestino).empty(); }, 2s));
    EXPECT_FALSE(readOnly(form, FRestaurar_TDestino));
    EXPECT_TRUE(IsWindowEnabled(GetDlgItem(form, FRestaurar_BCarpeta)));
    enter(form, FRestaurar_TDestino, L"D:\\Otra");
    enter(form, FRestaurar_TTipo, L"Ubicación Original");
    EXPECT_TRUE(waitFor([form] { return textOf(form, FRestaurar_TDestino) == kOriginal; }, 2s));
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(form, FRestaurar_BCarpeta)));
  });
}

TEST_F(RestoreDialog, TheLocationCanBeChosenFromItsList) {
  runAndCancel([](HWND form) {
    focus(form, FRestaurar_TTipo);
    press(form, VK_CONTROL);
    keepPicture(form, L"FRestaurar-lista");
    press(form, VK_DOWN);
    press(form, VK_DOWN);
    press(form, VK_RETURN);
    EXPECT_TRUE(waitFor([form] { return textOf(form, FRestaurar_TTipo) == L"Ubicación Alternativa"; }, 2s));
    EXPECT_TRUE(waitFor([form] { return textOf(form, FRestaurar_TDestino).empty(); }, 2s));
    EXPECT_TRUE(IsWindowEnabled(GetDlgItem(form, FRestaurar_BCarpeta)));
  });
}

TEST_F(RestoreDialog, ALocationThatIsNotOnTheListIsRefusedAndNothingElseChanges) {
  fake_.messages.willAnswer({Answer::Ok});
  runAndCancel([this](HWND form) {
    enter(form, FRestaurar_TTipo, L"Otra");
    EXPECT_TRUE(told(1));
    EXPECT_EQ(L"Ubicación Original", textOf(form, FRestaurar_TTipo));
    EXPECT_EQ(kOriginal, textOf(form, FRestaurar_TDestino));
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(form, FRestaurar_BCarpeta)));
  });
  EXPECT_THAT(texts(), ElementsAre(L"El valor introducido no es un elemento de la lista."));
}

TEST_F(RestoreDialog, BCarpetaPutsTheChosenFolderIntoTheDestination) {
  runAndCancel([this](HWND form) {
    chooseFolder(form, L"D:\\Otra\\");
    fake_.folderChooser.willAnswer({std::nullopt});
    click(form, FRestaurar_BCarpeta);
    EXPECT_TRUE(waitFor([this] { return fake_.folderChooser.shown.size() == 2; }));
    EXPECT_EQ(L"D:\\Otra\\", textOf(form, FRestaurar_TDestino));
    keepPicture(form, L"FRestaurar-alternativa");
  });
  ASSERT_THAT(fake_.folderChooser.shown, SizeIs(2));
  EXPECT_EQ(L"Elija una carpeta donde extraer la copia de seguridad", fake_.folderChooser.shown[0].title);
}

TEST_F(RestoreDialog, ANoToTheQuestionAboutTheCurrentDataChangesNothing) {
  const std::wstring set = putSet(header() + archive());
  fake_.messages.willAnswer({Answer::No});
  runAndCancel([&](HWND form) {
    load(form, set);
    click(form, FRestaurar_BRestaurar);
    EXPECT_TRUE(told(1));
    std::this_thread::sleep_for(300ms);
    EXPECT_TRUE(IsWindowVisible(form));
    EXPECT_EQ(set, textOf(form, FRestaurar_TNombre));
    EXPECT_FALSE(findForm(kTitle));
  });
  EXPECT_THAT(fake_.messages.shown, ElementsAre(FakeMessages::Shown{kCurrentDataGoes, kTitle, kYesNoInformationNo}));
}

TEST_F(RestoreDialog, TheQuestionAboutAnotherFolderNamesIt) {
  const std::wstring set = putSet(header() + archive());
  fake_.messages.willAnswer({Answer::No});
  runAndCancel([&](HWND form) {
    load(form, set);
    chooseFolder(form, L"D:\\Otra\\");
    click(form, FRestaurar_BRestaurar);
    EXPECT_TRUE(told(1));
  });
  EXPECT_THAT(fake_.messages.shown, ElementsAre(FakeMessages::Shown{
                                        L"Se van a sobreescribir los datos de la carpeta D:\\Otra\\, ¿Desea continuar?",
                                        kTitle, kYesNoInformationNo}));
}

TEST_F(RestoreDialog, AnAlternativeLocationLeftEmptyIsAskedAboutAsAnEmptyFolderAndAYesStartsTheRun) {
  const std::wstring set = putSet(header() + archive());
  folder_.makeFolder(L"actual");
  wchar_t before[MAX_PATH];
  GetCurrentDirectoryW(MAX_PATH, before);
  SetCurrentDirectoryW((folder_ / L"actual").c_str());
  fake_.messages.willAnswer({Answer::Yes});
  run([&](HWND form) {
    load(form, set);
    enter(form, FRestaurar_TTipo, L"Ubicación Alternativa");
    click(form, FRestaurar_BRestaurar);
    EXPECT_EQ(success(set, L""), closeRun());
  });
  SetCurrentDirectoryW(before);
  EXPECT_EQ("clientes", folder_.bytes(L"actual\\clientes.txt")) << "no folder is the current folder";
  EXPECT_THAT(texts(), ElementsAre(L"Se van a sobreescribir los datos de la carpeta , ¿Desea continuar?"));
}

TEST_F(RestoreDialog, IsHiddenDuringTheRunAndClosedByItsResult) {
  const std::wstring set = putSet(header() + archive());
  fake_.messages.willAnswer({Answer::Yes});
  bool hidden = false, finishedBefore = true;
  run([&](HWND form) {
    begin(form, set);
    const HWND window = ended();
    hidden = !IsWindowVisible(form);
    finishedBefore = session_.finished;
    click(window, FPRestaura_BAceptar);
    EXPECT_TRUE(closed(form));
  });
  EXPECT_TRUE(hidden);
  EXPECT_FALSE(finishedBefore);
  EXPECT_TRUE(session_.finished);
  EXPECT_FALSE(session_.accepted) << "that is of the dialog for backups by hand";
}

TEST_F(RestoreDialog, TheHostsWindowCannotBeUsedUntilTheEndAndIsActiveThen) {
  const std::wstring set = putSet(header() + archive());
  const HostWindow host;
  bringToForeground(host);
  fake_.messages.willAnswer({Answer::Yes});
  run([&](HWND form) {
    EXPECT_EQ(HWND{host}, GetWindow(form, GW_OWNER));
    load(form, set);
    chooseFolder(form, target());
    EXPECT_FALSE(IsWindowEnabled(host));
    click(form, FRestaurar_BRestaurar);
    const HWND window = ended();
    EXPECT_EQ(form, GetWindow(window, GW_OWNER)) << "so it stays over the host's window";
    EXPECT_FALSE(IsWindowEnabled(host));
    EXPECT_FALSE(IsWindowEnabled(form));
    click(window, FPRestaura_BAceptar);
  });
  EXPECT_TRUE(IsWindowEnabled(host));
  EXPECT_EQ(HWND{host}, GetActiveWindow());
}

TEST_F(RestoreDialog, APathThatIsTypedIsLookedAtAsOneThatIsChosen) {
  const std::wstring set = putSet(header() + archive());
  runAndCancel([&](HWND form) {
    enter(form, FRestaurar_TNombre, set);
    EXPECT_EQ(L"16-11-2026", textOf(form, FRestaurar_TFecha));
    EXPECT_EQ(L"1", textOf(form, FRestaurar_TNVol));
    enter(form, FRestaurar_TNombre, set + L".no");
    EXPECT_EQ(set + L".no", textOf(form, FRestaurar_TNombre));
    EXPECT_EQ(L"", textOf(form, FRestaurar_TFecha)) << "not the date of another set";
    EXPECT_EQ(L"", textOf(form, FRestaurar_TNVol));
  });
}

// Ways to close the dialog.
struct Leaving {
  const char* name;
  void (*act)(HWND form);
};

class LeavingRestore : public RestoreDialog, public testing::WithParamInterface<Leaving> {};

TEST_P(LeavingRestore, SaysFinished) {
  run([](HWND form) {
    GetParam().act(form);
    EXPECT_TRUE(closed(form));
  });
  EXPECT_TRUE(session_.finished);
  EXPECT_FALSE(session_.accepted);
}

INSTANTIATE_TEST_SUITE_P(
    Ways, LeavingRestore,
    testing::Values(Leaving{"BCancelar", [](HWND form) { Hands::click(form, FRestaurar_BCancelar); }},
                    Leaving{"EscInAField", [](HWND form) { Hands::press(form, VK_ESCAPE); }},
                    Leaving{"EscInTheLocation",
                            [](HWND form) {
                              const auto reached = [form] { return Hands::focusOf(form) == FRestaurar_TTipo; };
                              EXPECT_TRUE(Hands::pressAccessKey(form, 'U', reached));
                              Hands::press(form, VK_ESCAPE);
                            }},
                    Leaving{"CloseBox", [](HWND form) { PostMessageW(form, WM_SYSCOMMAND, SC_CLOSE, 0); }}),
    [](const auto& leaving) { return leaving.param.name; });

// --- files that are no sets, or broken ones ---

struct BadSet {
  const char* name;
  std::string bytes;
  std::wstring message;  // what it contains
};

class BadSets : public RestoreDialog, public testing::WithParamInterface<BadSet> {
 protected:
  static std::string head(const std::string& program = "Gestion de prueba", const std::string& date = "16/11/2026",
                          const std::string& total = "1", const std::string& number = "1",
                          const std::string& directory = "C:") {
    return header(program, date, total, number, directory);
  }

 public:
  static std::vector<BadSet> all() {
    const std::wstring foreign = kForeign;
    const std::wstring broken = L"La cabecera de la copia de seguridad no es válida (";
    const std::string zip = archive();
    return {{"NothingAtAll", "", foreign},
            {"AnArchiveWithoutHeader", zip, foreign},
            {"Text", "Estimado cliente:\r\nle adjuntamos", foreign},
            {"OneLineWithoutEnd", std::string(3 << 20, 'x'), foreign},
            {"AnotherProgram", head("Contabilidad") + zip, foreign},
            {"AnotherLetterCase", head("GESTION DE PRUEBA") + zip, foreign},
            {"CutInTheLabel", "Programa : ", foreign},
            {"CutInTheProgram", head().substr(0, 20), foreign},
            {"CutBehindTheProgram", head().substr(0, 29), broken},
            {"CutInTheDate", head().substr(0, 48), broken},
            {"CutBehindTheDate", head().substr(0, 58), broken},
            {"CutBehindTheTotal", head().substr(0, 82), broken},
            {"FieldsExchanged",
             "Programa : Gestion de prueba;Total de Vol\xFAmenes :1;Fecha Creaci\xF3n : 16/11/2026;x;y;\r\n", broken},
            {"ATotalOf40000", head("Gestion de prueba", "16/11/2026", "40000") + zip, broken + L"Desbordamiento"},
            {"ATotalOfUno", head("Gestion de prueba", "16/11/2026", "uno") + zip, broken + L"No coinciden los tipos"},
            {"ADateThatIsNone", head("Gestion de prueba", "31/02/2026x") + zip, broken + L"No coinciden los tipos"}};
  }
};

TEST_P(BadSets, AreToldLeaveTheFieldsEmptyAndKeepTheirBytes) {
  const std::wstring set = putSet(GetParam().bytes);
  fake_.messages.willAnswer({Answer::Ok, Answer::Ok});
  runAndCancel([&](HWND form) {
    fake_.fileChooser.willAnswer({set});
    click(form, FRestaurar_BCargar);
    EXPECT_TRUE(told(1));
    expectNoSet(form);
    click(form, FRestaurar_BRestaurar);
    EXPECT_TRUE(told(2));
  });
  ASSERT_THAT(fake_.messages.shown, SizeIs(2));
  EXPECT_THAT(fake_.messages.shown[0].text, HasSubstr(GetParam().message));
  EXPECT_EQ(kTitle, fake_.messages.shown[0].title);
  EXPECT_EQ(kNoSet, fake_.messages.shown[1].text);
  const bool saysWhere = fake_.messages.shown[0].text.find(set) != std::wstring::npos;
  EXPECT_TRUE(saysWhere || GetParam().message == kForeign);
  EXPECT_EQ(GetParam().bytes, contentOf(set));
}

INSTANTIATE_TEST_SUITE_P(Files, BadSets, testing::ValuesIn(BadSets::all()),
                         [](const auto& bad) { return bad.param.name; });

TEST_F(RestoreDialog, ASetThatIsGoneIsTold) {
  fake_.messages.willAnswer({Answer::Ok});
  runAndCancel([&](HWND form) {
    fake_.fileChooser.willAnswer({folder_ / L"no-esta.qev"});
    click(form, FRestaurar_BCargar);
    EXPECT_TRUE(told(1));
    expectNoSet(form);
  });
  EXPECT_THAT(texts(), ElementsAre(L"No se ha encontrado el archivo: " + (folder_ / L"no-esta.qev")));
}

TEST_F(RestoreDialog, ASetThatIsLockedIsTold) {
  const std::wstring set = putSet(header() + archive());
  const auto lock =
      UniqueFile(CreateFileW(set.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  ASSERT_TRUE(lock);
  fake_.messages.willAnswer({Answer::Ok});
  runAndCancel([&](HWND form) {
    fake_.fileChooser.willAnswer({set});
    click(form, FRestaurar_BCargar);
    EXPECT_TRUE(told(1));
  });
  EXPECT_THAT(texts(), ElementsAre(L"Permiso denegado: " + set));
}

// --- looks ---

class RestoreAtThisScale : public RestoreDialog {};

TEST_F(RestoreAtThisScale, EveryTextOfTheRestoreDialogFits) {
  runAndCancel([](HWND form) {
    for (const int id : {FRestaurar_Label1, FRestaurar_Label2, FRestaurar_Label3, FRestaurar_Label4, FRestaurar_Label5,
                         FRestaurar_Label6, FRestaurar_TEstructura, FRestaurar_BRestaurar, FRestaurar_BCancelar}) {
      EXPECT_TRUE(fitsInOneLine(GetDlgItem(form, id))) << "control " << id;
    }
    keepPictureOfThisScale(form, L"FRestaurar");
  });
}

TEST_F(RestoreAtThisScale, NothingOfTheRestoreDialogLiesOutsideItOrOverAnotherThing) {
  runAndCancel([](HWND form) { expectNothingOutsideOrOverAnother(form); });
}

TEST_F(RestoreDialog, GivesBackEveryWindowAndDrawingObject) {
  expectWindowsGivenBack([this] { run([](HWND form) { click(form, FRestaurar_BCancelar); }); });
}

}  // namespace
}  // namespace qev::test
