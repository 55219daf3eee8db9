// The configuration dialog: what it shows and writes when it opens, what each of its events does, how it closes.
#include <windows.h>

#include <commctrl.h>

#include <set>

#include "support/RegionalSetting.h"
#include "support/WindowsGivenBack.h"
#include "windows/BackupDialog.h"

namespace qev::test {
namespace {

using Names = std::vector<std::wstring>;

class BackupOptions : public BackupDialog {
 protected:
  // A scheduled mode with all there is to it, as a host would have it after some months. Now: Monday 16-11-2026 10:30.
  void putSchedule(const wchar_t* kind) {
    put(L"Copia", Value(std::int32_t{2}));
    put(L"Programar", kind);
    put(L"HoraInicio", L"22:30");
    put(L"DDias", Value(std::int32_t{3}));
    put(L"DSemanas", Value(std::int32_t{2}));
    put(L"DMes", Value(std::int32_t{20}));
    put(L"DSem", L"NSNNSNN");
    put(L"Meses", L"NNNNNNNNNNNS");
    put(L"UltimaCopia", L"15-11-2026 22:31");
    put(L"Estado", L"Ultima copia de seguridad realizada correctamente");
    put(L"Destino", L"D:\\Copias\\");
    put(L"NCopias", Value(std::int32_t{5}));
    put(L"Cerrar", Value(std::int32_t{1}));
  }

  void expectVisible(std::initializer_list<int> ids, bool expected) const {
    for (const int id : ids) EXPECT_EQ(expected, visible(id)) << "control " << id;
  }
  void expectEnabled(std::initializer_list<int> ids, bool expected) const {
    for (const int id : ids) EXPECT_EQ(expected, enabled(id)) << "control " << id;
  }
  void expectKind(bool daily, bool weekly, bool monthly) const {
    expectVisible({Backup_ECada}, daily || weekly);
    expectVisible({Backup_DDias, Backup_Edias}, daily);
    expectVisible({Backup_DSemanas, Backup_ESemanas, Backup_DSem0, Backup_DSem6}, weekly);
    expectVisible({Backup_Edia, Backup_DMes, Backup_EMes, Backup_Mes0, Backup_Mes11}, monthly);
  }
};

// ---------------------------------------------------------------------------------------------------------------------
// Opening

TEST_F(BackupOptions, OpeningOnAnEmptyKeyShowsTheDefaultsAndWritesThemAtOnce) {
  show([this] {
    EXPECT_EQ(1, mode());
    EXPECT_EQ(L"Diariamente", text(Backup_Programar));
    EXPECT_EQ(L"10:30", text(Backup_HoraInicio)) << "the present time";
    EXPECT_EQ(L"1", text(Backup_DDias));
    EXPECT_EQ(L"1", text(Backup_DSemanas));
    EXPECT_EQ(L"1", text(Backup_DMes));
    EXPECT_EQ(L"C:\\", text(Backup_Destino));
    EXPECT_EQ(L"0", text(Backup_TCopias));
    EXPECT_EQ(L"NNNNNNN", flags(Backup_DSem0, kWeekdays));
    EXPECT_EQ(L"NNNNNNNNNNNN", flags(Backup_Mes0, kMonths));
    EXPECT_FALSE(checked(Backup_EDir));
    EXPECT_FALSE(checked(Backup_Cerrar));
    EXPECT_EQ(L"", text(Backup_UltimaCopia));
    EXPECT_EQ(L"", text(Backup_PCopia));
    EXPECT_EQ(L"", text(Backup_Estado));

    EXPECT_EQ(Value(std::int32_t{1}), stored(L"Copia"));
    EXPECT_EQ(L"Diariamente", storedText(L"Programar"));
    EXPECT_EQ(L"10:30", storedText(L"HoraInicio"));
    EXPECT_EQ(Value(std::int32_t{1}), stored(L"DDias"));
    EXPECT_EQ(Value(std::int32_t{1}), stored(L"DSemanas"));
    EXPECT_EQ(Value(std::int32_t{1}), stored(L"DMes"));
    EXPECT_EQ(L"C:\\", storedText(L"Destino"));
    EXPECT_EQ(L"NNNNNNN", storedText(L"DSem"));
    EXPECT_EQ(L"NNNNNNNNNNNN", storedText(L"Meses"));
    EXPECT_EQ(Value(std::wstring()), stored(L"ProximaCopia")) << "written, and empty: this mode has no next moment";
  });
}

TEST_F(BackupOptions, NumbersOfZeroBecomeTheirDefaultsButTheNumberOfCopiesStaysZero) {
  for (const wchar_t* name : {L"DDias", L"DSemanas", L"DMes", L"NCopias"}) put(name, Value(std::int32_t{0}));
  show([this] {
    for (const int id : {Backup_DDias, Backup_DSemanas, Backup_DMes}) EXPECT_EQ(L"1", text(id)) << id;
    for (const wchar_t* name : {L"DDias", L"DSemanas", L"DMes"}) EXPECT_EQ(Value(std::int32_t{1}), stored(name));
    EXPECT_EQ(L"0", text(Backup_TCopias));
    EXPECT_EQ(Value(std::int32_t{0}), stored(L"NCopias"));
  });
}

TEST_F(BackupOptions, OpeningSavesEverythingOnceInItsOrderAndNothingElse) {
  putSchedule(L"Diariamente");
  show([this] {
    EXPECT_EQ(savedAfter({}), writtenNames());
    EXPECT_EQ(Value(std::uint8_t{2}), fake_.registry.writes.front().second) << "the mode is a byte";
  });
  EXPECT_EQ(savedAfter({}), writtenNames()) << "closing saves nothing further";
}

TEST_F(BackupOptions, TheNextMomentIsStoredShownAndKeptDayFirstWhateverTheRegionalSettings) {
  const RegionalSetting monthFirst(LOCALE_SSHORTDATE, L"M/d/yyyy");
  const RegionalSetting points(LOCALE_STIME, L".");
  const RegionalSetting time(LOCALE_STIMEFORMAT, L"HH.mm.ss");
  fake_.clock.set(2026, 1, 5, 10, 30);
  putSchedule(L"Mensualmente");
  put(L"HoraInicio", L"22.30");
  put(L"Meses", L"SSSSSSSSSSSS");
  put(L"DMes", Value(std::int32_t{12}));
  const auto expectMoment = [this](const wchar_t* expected) {
    EXPECT_EQ(expected, storedText(L"ProximaCopia"));
    EXPECT_EQ(expected, text(Backup_PCopia));
  };
  show([&] {
    expectMoment(L"12-01-2026 22:30");
    EXPECT_EQ(L"22:30", storedText(L"HoraInicio"));
    enter(Backup_HoraInicio, L"09:05");
    EXPECT_EQ(L"09:05", storedText(L"HoraInicio"));
    expectMoment(L"12-01-2026 09:05");
    fake_.messages.willAnswer({Answer::Ok});
    enter(Backup_DMes, L"32");
    expectMoment(L"12-01-2026 09:05");
  });
}

TEST_F(BackupOptions, OpeningShowsWhatIsStored) {
  putSchedule(L"Semanalmente");
  show([this] {
    EXPECT_EQ(2, mode());
    EXPECT_EQ(L"Semanalmente", text(Backup_Programar));
    EXPECT_EQ(L"22:30", text(Backup_HoraInicio));
    EXPECT_EQ(L"3", text(Backup_DDias));
    EXPECT_EQ(L"2", text(Backup_DSemanas));
    EXPECT_EQ(L"20", text(Backup_DMes));
    EXPECT_EQ(L"NSNNSNN", flags(Backup_DSem0, kWeekdays));
    EXPECT_EQ(L"NNNNNNNNNNNS", flags(Backup_Mes0, kMonths));
    EXPECT_EQ(L"15-11-2026 22:31", text(Backup_UltimaCopia)) << "as it is stored";
    EXPECT_EQ(L"Ultima copia de seguridad realizada correctamente", text(Backup_Estado));
    EXPECT_EQ(L"D:\\Copias\\", text(Backup_Destino));
    EXPECT_EQ(L"5", text(Backup_TCopias));
    EXPECT_TRUE(checked(Backup_Cerrar));
    EXPECT_EQ(L"17-11-2026 22:30", text(Backup_PCopia)) << "Tuesday";
    EXPECT_EQ(L"17-11-2026 22:30", storedText(L"ProximaCopia"));
  });
}

TEST_F(BackupOptions, ItsCaptionsAreTheseToTheLetter) {
  // Of controls whose numbers follow each other from the first on.
  const std::pair<int, Names> captions[] = {
      {Backup_Copia0,
       {L"No hacer copia de Seguridad", L"Copia de Seguridad Automática", L"Copia de Seguridad Programada"}},
      {Backup_DSem0, {L"Lunes", L"Martes", L"Miércoles", L"Jueves", L"Viernes", L"Sabado", L"Domingo"}},
      {Backup_Mes0,
       {L"Enero", L"Febrero", L"Marzo", L"Abril", L"Mayo", L"Junio", L"Julio", L"Agosto", L"Septiembre", L"Octubre",
        L"Noviembre", L"Diciembre"}},
      {Backup_EDir, {L"Directorio predeterminado", L"Cerrar ventana al realizar copia"}},
      {Backup_EMaximo, {L"Número máximo de copias almacenadas :"}},
      {Backup_Label1, {L"Última copia realizada:", L"Próxima copia:"}},
      {Backup_Frame2, {L"Estado de la última copia realizada"}},
      {Backup_ECada, {L"Cada"}},
      {Backup_EHora, {L"  Hora", L"Realizar copia:"}}};
  show([&] {
    wchar_t title[64];
    GetWindowTextW(form(), title, 64);
    EXPECT_STREQ(L"Configuración", title);
    for (auto [id, texts] : captions) {
      for (const auto& caption : texts) EXPECT_EQ(caption, text(id++)) << "before control " << id;
    }
  });
}

TEST_F(BackupOptions, TheWindowHasItsIconAndThePictureIsPainted) {
  show([this] {
    EXPECT_NE(0, SendMessageW(form(), WM_GETICON, ICON_SMALL, 0));
    EXPECT_NE(0, SendMessageW(form(), WM_GETICON, ICON_BIG, 0));
    UpdateWindow(form());
    pump();
    const ScreenPixels picture = capture(control(Backup_P));
    const std::set<std::uint32_t> colours(picture.pixels.begin(), picture.pixels.end());
    EXPECT_GT(colours.size(), 20u) << "more than a plain surface";
  });
}

// ---------------------------------------------------------------------------------------------------------------------
// What is shown in which mode

TEST_F(BackupOptions, WithoutBackupsItExplainsThatTheUserMakesThem) {
  putSchedule(L"Diariamente");
  put(L"Copia", Value(std::int32_t{0}));
  show([this] {
    EXPECT_EQ(
        L"No se realizará ningún tipo de copia de seguridad.\r\n\r\nSerá el propio usuario el que deberá realizar "
        L"la copia de seguridad manualmente, accediento al menú de copia de seguridad.",
        text(Backup_TextoProg));
    expectVisible({Backup_TextoProg}, true);
    expectVisible({Backup_EMaximo, Backup_Cerrar}, false);
    expectEnabled({Backup_Programar, Backup_HoraInicio, Backup_Destino, Backup_BCarpeta, Backup_TCopias}, false);
    expectKind(false, false, false);
  });
}

TEST_F(BackupOptions, WithAutomaticBackupsItExplainsWhatHappensWhenTheProgramCloses) {
  putSchedule(L"Diariamente");
  put(L"Copia", Value(std::int32_t{1}));
  show([this] {
    EXPECT_EQ(
        L"Se realizará una copia de seguridad de forma automática una vez al día en el momento de cerrar el programa ."
        L"\r\n\r\nEn el momento de cerrar el programa un cuadro de dialogo nos preguntará si deseamos realizar una "
        L"copia "
        L"de seguridad.\r\n\r\nEn caso afirmativo la copia de seguridad de todos los datos se realizará en el "
        L"directorio "
        L"local de nuestro ordenador.\r\n\r\nEn caso contrario tendremos dos opciones o no realizar en estos momentos "
        L"la "
        L"copia de seguridad o posponerla hasta otro cierre del programa mendiante el botón Cancelar.",
        text(Backup_TextoProg));
    expectVisible({Backup_TextoProg, Backup_EMaximo}, true);
    expectVisible({Backup_Cerrar}, false);
    expectEnabled({Backup_TCopias}, true);
    expectEnabled({Backup_Programar, Backup_HoraInicio, Backup_Destino, Backup_BCarpeta}, false);
    expectKind(false, false, false);
  });
}

TEST_F(BackupOptions, WithScheduledBackupsItShowsTheFieldsOfTheirKindAlone) {
  for (const wchar_t* kind : {L"Diariamente", L"Semanalmente", L"Mensualmente"}) {
    putSchedule(kind);
    show([&] {
      expectVisible({Backup_TextoProg}, false);
      expectVisible({Backup_EMaximo, Backup_Cerrar}, true);
      expectEnabled({Backup_Programar, Backup_HoraInicio, Backup_Destino, Backup_BCarpeta, Backup_TCopias}, true);
      expectKind(kind[0] == L'D', kind[0] == L'S', kind[0] == L'M');
    });
  }
}

TEST_F(BackupOptions, TheCaptionIsSingularForOneAndPluralForEveryOtherNumber) {
  putSchedule(L"Diariamente");
  show([this] {
    EXPECT_EQ(L"días", text(Backup_Edias));
    enter(Backup_DDias, L"1");
    EXPECT_EQ(L"día", text(Backup_Edias));
    enter(Backup_DDias, L"0");
    EXPECT_EQ(L"días", text(Backup_Edias));
  });
  putSchedule(L"Semanalmente");
  show([this] {
    EXPECT_EQ(L"semanas los días", text(Backup_ESemanas));
    enter(Backup_DSemanas, L"1");
    EXPECT_EQ(L"semana los días", text(Backup_ESemanas));
  });
}

// ---------------------------------------------------------------------------------------------------------------------
// Copia

TEST_F(BackupOptions, ChoosingAModeWritesItShowsItAndSavesEverything) {
  putSchedule(L"Diariamente");
  for (const int chosen : {1, 0, 2}) {
    show([&] {
      forgetWrites();
      click(Backup_Copia0 + chosen);
      EXPECT_EQ(chosen, mode());
      EXPECT_EQ(Value(std::int32_t{chosen}), stored(L"Copia"));
      ASSERT_EQ(savedAfter({L"Copia"}), writtenNames());
      EXPECT_EQ(Value(static_cast<std::uint8_t>(chosen)), fake_.registry.writes.front().second);
      expectVisible({Backup_TextoProg}, chosen != 2);
      expectKind(chosen == 2, false, false);
    });
  }
}

TEST_F(BackupOptions, SelectingModeZeroOrOneEmptiesTheNextMoment) {
  for (const int chosen : {0, 1}) {
    putSchedule(L"Diariamente");
    show([&] {
      EXPECT_EQ(L"16-11-2026 22:30", text(Backup_PCopia));
      click(Backup_Copia0 + chosen);
      EXPECT_EQ(L"", text(Backup_PCopia));
      EXPECT_EQ(Value(std::wstring()), stored(L"ProximaCopia"));
      click(Backup_Copia2);
      EXPECT_EQ(L"16-11-2026 22:30", text(Backup_PCopia)) << "and back";
      EXPECT_EQ(L"16-11-2026 22:30", storedText(L"ProximaCopia"));
    });
  }
}

TEST_F(BackupOptions, TheArrowKeysMoveBetweenTheModes) {
  putSchedule(L"Diariamente");
  show([this] {
    EXPECT_TRUE(focused(Backup_Copia2)) << "where the dialog begins";
    press(VK_UP);
    EXPECT_EQ(1, mode());
    EXPECT_EQ(Value(std::int32_t{1}), stored(L"Copia"));
    press(VK_UP);
    EXPECT_EQ(0, mode());
    press(VK_DOWN);
    EXPECT_EQ(1, mode());
    EXPECT_EQ(Value(std::int32_t{1}), stored(L"Copia"));
  });
}

// ---------------------------------------------------------------------------------------------------------------------
// The schedule

TEST_F(BackupOptions, AnotherKindSavesEverythingAndThenShowsItsFields) {
  putSchedule(L"Diariamente");
  show([this] {
    focus(Backup_Programar);
    forgetWrites();
    type(L"se");
    EXPECT_EQ(L"semanalmente", text(Backup_Programar)) << "completed from the list";
    EXPECT_EQ(Names{}, writtenNames()) << "nothing before the field is left";
    press(VK_TAB);
    EXPECT_EQ(savedAfter({}), writtenNames());
    EXPECT_EQ(L"Semanalmente", storedText(L"Programar"));
    EXPECT_EQ(L"17-11-2026 22:30", text(Backup_PCopia));
    expectKind(false, true, false);
    enter(Backup_Programar, L"mens");
    EXPECT_EQ(L"Mensualmente", storedText(L"Programar"));
    EXPECT_EQ(L"20-12-2026 22:30", text(Backup_PCopia));
    expectKind(false, false, true);
    enter(Backup_Programar, L"dia");
    EXPECT_EQ(L"16-11-2026 22:30", text(Backup_PCopia));
    expectKind(true, false, false);
  });
}

TEST_F(BackupOptions, AKindIsChosenFromTheOpenListToo) {
  putSchedule(L"Diariamente");
  show([this] {
    focus(Backup_Programar);
    press(VK_CONTROL);
    press(VK_DOWN);
    press(VK_RETURN);
    EXPECT_EQ(L"Semanalmente", storedText(L"Programar"));
    expectKind(false, true, false);
  });
}

TEST_F(BackupOptions, AnUnknownKindHasNoNextMomentAndLeavesTheFieldsAsTheyWere) {
  putSchedule(L"Diariamente");
  show([this] {
    enter(Backup_Programar, L"anualmente");
    EXPECT_EQ(L"anualmente", storedText(L"Programar"));
    EXPECT_EQ(L"", text(Backup_PCopia));
    expectKind(true, false, false);
    click(Backup_Copia0);
    expectVisible({Backup_TextoProg}, true);
    expectKind(false, false, false);
  });
}

TEST_F(BackupOptions, TheFocusIsNotLostWithAFieldThatGoes) {
  putSchedule(L"Diariamente");
  show([this] {
    focus(Backup_Programar);
    type(L"men");
    click(Backup_DDias);
    expectKind(false, false, true);
    const HWND focus = GetFocus();
    ASSERT_NE(nullptr, focus);
    EXPECT_TRUE(IsWindowVisible(focus));
    EXPECT_TRUE(focused(Backup_DMes)) << "the next field in its place";
  });
}

TEST_F(BackupOptions, EveryNumberOfTheScheduleSavesEverything) {
  const struct {
    const wchar_t* kind;
    int id;
    const wchar_t* name;
    const wchar_t* next;
  } fields[] = {{L"Diariamente", Backup_DDias, L"DDias", L"21-11-2026 09:00"},
                {L"Semanalmente", Backup_DSemanas, L"DSemanas", L"17-11-2026 09:00"},
                {L"Mensualmente", Backup_DMes, L"DMes", L"05-12-2026 09:00"}};
  for (const auto& field : fields) {
    putSchedule(field.kind);
    put(L"HoraInicio", L"09:00");  // passed already today
    show([&] {
      focus(field.id);
      forgetWrites();
      type(L"5");
      press(VK_TAB);
      EXPECT_EQ(savedAfter({}), writtenNames());
      EXPECT_EQ(Value(std::int32_t{5}), stored(field.name));
      EXPECT_EQ(field.next, text(Backup_PCopia));
      EXPECT_EQ(field.next, storedText(L"ProximaCopia"));
    });
  }
}

TEST_F(BackupOptions, EachDayOfTheWeekIsItsCharacter) {
  putSchedule(L"Semanalmente");
  put(L"DSem", L"NNNNNNN");
  show([this] {
    std::wstring expected(kWeekdays, L'N');
    for (int day = 0; day < kWeekdays; ++day) {
      forgetWrites();
      click(Backup_DSem0 + day);
      expected[static_cast<std::size_t>(day)] = L'S';
      EXPECT_EQ(expected, storedText(L"DSem"));
      EXPECT_EQ(savedAfter({}), writtenNames());
    }
    EXPECT_EQ(L"16-11-2026 22:30", text(Backup_PCopia));
    click(Backup_DSem0);
    EXPECT_EQ(L"NSSSSSS", storedText(L"DSem"));
    EXPECT_EQ(L"17-11-2026 22:30", text(Backup_PCopia));
  });
}

TEST_F(BackupOptions, EachMonthIsItsCharacter) {
  putSchedule(L"Mensualmente");
  put(L"Meses", L"NNNNNNNNNNNN");
  show([this] {
    EXPECT_EQ(L"", text(Backup_PCopia)) << "no month";
    std::wstring expected(kMonths, L'N');
    for (int month = 0; month < kMonths; ++month) {
      forgetWrites();
      click(Backup_Mes0 + month);
      expected[static_cast<std::size_t>(month)] = L'S';
      EXPECT_EQ(expected, storedText(L"Meses"));
      EXPECT_EQ(savedAfter({}), writtenNames());
    }
    EXPECT_EQ(L"20-11-2026 22:30", text(Backup_PCopia));
  });
}

TEST_F(BackupOptions, AValidStartTimeIsRewrittenInHoursAndMinutesAndSaved) {
  putSchedule(L"Diariamente");
  show([this] {
    focus(Backup_HoraInicio);
    forgetWrites();
    type(L"7:5");
    press(VK_TAB);
    EXPECT_EQ(L"07:05", text(Backup_HoraInicio));
    EXPECT_EQ(L"07:05", storedText(L"HoraInicio"));
    EXPECT_EQ(savedAfter({}), writtenNames());
    EXPECT_EQ(L"19-11-2026 07:05", text(Backup_PCopia)) << "passed today: three days on";
  });
}

TEST_F(BackupOptions, AWrongStartTimeIsRefusedByTheFieldAndNothingIsWritten) {
  putSchedule(L"Diariamente");
  fake_.messages.willAnswer({Answer::Ok});
  show([this] {
    focus(Backup_HoraInicio);
    forgetWrites();
    type(L"25:00");
    press(VK_TAB);
    ASSERT_EQ(1u, messages().size());
    EXPECT_EQ(L"La Hora introducida no es correcta", messages()[0].text);
    EXPECT_TRUE(focused(Backup_HoraInicio));
    EXPECT_EQ(Names{}, writtenNames());
    type(L"23");
    type(L":15");
    press(VK_TAB);
    EXPECT_EQ(L"16-11-2026 23:15", text(Backup_PCopia));
  });
}

TEST_F(BackupOptions, AnEmptyStartTimeDoesNothing) {
  putSchedule(L"Diariamente");
  show([this] {
    forgetWrites();
    enter(Backup_HoraInicio, L"");
    EXPECT_EQ(L"", text(Backup_HoraInicio));
    EXPECT_EQ(Names{}, writtenNames());
    EXPECT_EQ(L"16-11-2026 22:30", text(Backup_PCopia));
  });
}

// ---------------------------------------------------------------------------------------------------------------------
// The destination

TEST_F(BackupOptions, ATypedDestinationIsWrittenAndNothingElse) {
  putSchedule(L"Diariamente");
  show([this] {
    forgetWrites();
    enter(Backup_Destino, L"E:\\Copias del año\\");
    EXPECT_EQ(Names{L"Destino"}, writtenNames());
    EXPECT_EQ(L"E:\\Copias del año\\", storedText(L"Destino"));
  });
}

TEST_F(BackupOptions, AChosenFolderBecomesTheDestination) {
  putSchedule(L"Diariamente");
  fake_.folderChooser.willAnswer({std::nullopt, L"E:\\Seguridad\\"});
  show([this] {
    forgetWrites();
    click(Backup_BCarpeta);
    EXPECT_EQ(L"D:\\Copias\\", text(Backup_Destino)) << "cancelled";
    EXPECT_EQ(Names{}, writtenNames());
    click(Backup_BCarpeta);
    EXPECT_EQ(L"E:\\Seguridad\\", text(Backup_Destino));
    EXPECT_EQ(L"E:\\Seguridad\\", storedText(L"Destino"));
    EXPECT_EQ(Names{L"Destino"}, writtenNames());
    ASSERT_EQ(2u, fake_.folderChooser.shown.size());
    EXPECT_EQ(L"Elija una carpeta donde guardar las copias programadas", fake_.folderChooser.shown[0].title);
    EXPECT_EQ(L"D:\\Copias\\", fake_.folderChooser.shown[0].startFolder) << "it begins where the field points";
  });
}

TEST_F(BackupOptions, CheckingEDirPutsTheBackupFolderIntoDestino) {
  putSchedule(L"Diariamente");
  show([this] {
    forgetWrites();
    click(Backup_EDir);
    EXPECT_TRUE(checked(Backup_EDir));
    EXPECT_EQ(L"C:\\Gestion\\Backup\\", text(Backup_Destino));
    expectEnabled({Backup_Destino, Backup_BCarpeta}, false);
    EXPECT_EQ((Names{L"Destino", L"EDir"}), writtenNames());
    EXPECT_EQ(L"C:\\Gestion\\Backup\\", storedText(L"Destino")) << "at once: the host asks for it there";
    EXPECT_EQ(Value(std::int16_t{1}), fake_.registry.writes[1].second);
    click(Backup_Cerrar);
    EXPECT_EQ(L"C:\\Gestion\\Backup\\", storedText(L"Destino"));
    expectEnabled({Backup_Destino, Backup_BCarpeta}, false);
  });
}

TEST_F(BackupOptions, ClearingEDirShowsTheDestinationOfTheHostAgain) {
  putSchedule(L"Diariamente");
  put(L"EDir", Value(std::int32_t{1}));
  host_.destination = L"F:\\Del host\\";
  show([this] {
    EXPECT_TRUE(checked(Backup_EDir));
    expectEnabled({Backup_Destino, Backup_BCarpeta}, false);
    forgetWrites();
    click(Backup_EDir);
    EXPECT_EQ(L"F:\\Del host\\", text(Backup_Destino));
    expectEnabled({Backup_Destino, Backup_BCarpeta}, true);
    EXPECT_EQ((Names{L"Destino", L"EDir"}), writtenNames());
    EXPECT_EQ(L"F:\\Del host\\", storedText(L"Destino")) << "what is shown is what is stored";
    EXPECT_EQ(Value(std::int16_t{0}), fake_.registry.writes[1].second);
  });
  EXPECT_EQ(L"F:\\Del host\\", host_.destination);
}

TEST_F(BackupOptions, ClearingEDirGivesBackTheDestinationBeforeAsLongAsTheHostHasAskedForNone) {
  putSchedule(L"Diariamente");
  show([this] {
    click(Backup_EDir);
    click(Backup_Cerrar);
    click(Backup_EDir);
    EXPECT_EQ(L"D:\\Copias\\", text(Backup_Destino));
    EXPECT_EQ(L"D:\\Copias\\", storedText(L"Destino"));
  });
}

TEST_F(BackupOptions, TheDefaultFolderDoesNotFreeTheDestinationInAnotherMode) {
  putSchedule(L"Diariamente");
  put(L"Copia", Value(std::int32_t{1}));
  show([this] {
    click(Backup_EDir);
    click(Backup_EDir);
    expectEnabled({Backup_Destino, Backup_BCarpeta}, false);
  });
}

// ---------------------------------------------------------------------------------------------------------------------
// Cerrar and TCopias

TEST_F(BackupOptions, ClosingTheWindowAfterACopyIsWrittenAndSavesEverything) {
  putSchedule(L"Diariamente");
  show([this] {
    forgetWrites();
    click(Backup_Cerrar);
    EXPECT_EQ(savedAfter({L"Cerrar"}), writtenNames());
    EXPECT_EQ(Value(std::int16_t{0}), fake_.registry.writes[0].second);
    click(Backup_Cerrar);
    EXPECT_EQ(Value(std::int32_t{1}), stored(L"Cerrar"));
  });
}

TEST_F(BackupOptions, TheNumberOfCopiesIsWrittenAsTextAndSavesEverything) {
  putSchedule(L"Diariamente");
  show([this] {
    forgetWrites();
    enter(Backup_TCopias, L"12");
    EXPECT_EQ(savedAfter({L"NCopias"}), writtenNames());
    EXPECT_EQ(Value(std::wstring(L"12")), stored(L"NCopias"));
  });
}

TEST_F(BackupOptions, TypingAbcInTCopiasShowsTheNumberMessageAndLeavesNCopiasUnchanged) {
  putSchedule(L"Diariamente");
  fake_.messages.willAnswer({Answer::Ok, Answer::Ok});
  show([this] {
    for (const wchar_t* entry : {L"abc", L""}) {
      forgetWrites();
      enter(Backup_TCopias, entry);
      EXPECT_EQ(Names{}, writtenNames());
      EXPECT_TRUE(focused(Backup_TCopias));
      EXPECT_EQ(L"5", text(Backup_TCopias)) << "what is stored is shown again";
    }
    ASSERT_EQ(2u, messages().size());
    EXPECT_EQ((FakeMessages::Shown{L"El valor introducido debe de ser un número", kTitle,
                                   message::kOk | message::kInformation}),
              messages()[0]);
    EXPECT_EQ(messages()[0], messages()[1]);
    EXPECT_EQ(Value(std::int32_t{5}), stored(L"NCopias"));
  });
}

TEST_F(BackupOptions, AWrongNumberOfCopiesKeepsTheDialogOpen) {
  putSchedule(L"Diariamente");
  fake_.messages.willAnswer({Answer::Ok});
  show([this] {
    focus(Backup_TCopias);
    type(L"abc");
    click(Backup_BSalir);
    EXPECT_TRUE(open());
    EXPECT_TRUE(focused(Backup_TCopias));
  });
}

// ---------------------------------------------------------------------------------------------------------------------
// Errors

TEST_F(BackupOptions, AnImpossibleDayOfTheMonthIsReportedWithTheTitleOfTheHostAndCanBeCorrected) {
  putSchedule(L"Mensualmente");
  put(L"Meses", L"NNNNNNNNNNSN");  // November has 30 days
  put(L"DMes", Value(std::int32_t{20}));
  fake_.messages.willAnswer({Answer::Ok});
  show([this] {
    EXPECT_EQ(L"20-11-2026 22:30", text(Backup_PCopia));
    enter(Backup_DMes, L"31");
    ASSERT_EQ(1u, messages().size());
    EXPECT_EQ(kTitle, messages()[0].title);
    EXPECT_EQ(L"No coinciden los tipos", messages()[0].text.substr(0, 22));
    EXPECT_EQ(L"20-11-2026 22:30", storedText(L"ProximaCopia")) << "it keeps its value";
    EXPECT_EQ(L"20-11-2026 22:30", text(Backup_PCopia));
    EXPECT_EQ(Value(std::int32_t{31}), stored(L"DMes"));
    EXPECT_TRUE(open());
    enter(Backup_DMes, L"30");
    EXPECT_EQ(L"30-11-2026 22:30", text(Backup_PCopia));
  });
}

TEST_F(BackupOptions, AKindWhoseScheduleIsImpossibleStillShowsTheFieldsToCorrect) {
  putSchedule(L"Diariamente");
  put(L"Meses", L"NNNNNNNNNNSN");
  put(L"DMes", Value(std::int32_t{31}));
  fake_.messages.willAnswer({Answer::Ok});
  show([this] {
    enter(Backup_Programar, L"mens");
    EXPECT_EQ(1u, messages().size());
    expectKind(false, false, true);
    enter(Backup_DMes, L"30");
    EXPECT_EQ(L"30-11-2026 22:30", text(Backup_PCopia));
  });
}

TEST_F(BackupOptions, SettingsThatCannotBeWrittenAreReportedAndTheDialogStaysAlive) {
  putSchedule(L"Diariamente");
  fake_.messages.willAnswer({Answer::Ok, Answer::Ok, Answer::Ok});
  fake_.registry.writeError = kPermissionDenied;
  show([this] {
    ASSERT_EQ(1u, messages().size()) << "for the saving at the opening";
    EXPECT_EQ((FakeMessages::Shown{L"Permiso denegado", kTitle, message::kOk | message::kExclamation}), messages()[0]);
    EXPECT_EQ(2, mode());
    expectKind(true, false, false);
    click(Backup_Copia1);
    EXPECT_EQ(2u, messages().size());
    enter(Backup_TCopias, L"7");
    EXPECT_EQ(3u, messages().size());
    EXPECT_EQ(kTitle, messages()[2].title);
    EXPECT_TRUE(open());
    fake_.registry.writeError.reset();
    click(Backup_Copia0);
    EXPECT_EQ(Value(std::int32_t{0}), stored(L"Copia"));
  });
}

// ---------------------------------------------------------------------------------------------------------------------
// Closing

TEST_F(BackupOptions, TheButtonClosesItAndTheHostIsTold) {
  show([this] {
    EXPECT_FALSE(session_.finished);
    click(Backup_BSalir);
    EXPECT_FALSE(open());
  });
  EXPECT_TRUE(session_.finished);
}

TEST_F(BackupOptions, EnterEscapeTheCloseBoxAndTheAccessKeyCloseIt) {
  const std::function<void()> ways[] = {[this] { press(VK_RETURN); }, [this] { press(VK_ESCAPE); },
                                        [this] {
                                          SendMessageW(form(), WM_SYSCOMMAND, SC_CLOSE, 0);
                                          pump();
                                        },
                                        [this] { press('S', kAlt); }};
  for (const auto& way : ways) {
    session_.finished = false;
    show([&] {
      way();
      EXPECT_FALSE(open());
    });
    EXPECT_TRUE(session_.finished);
  }
}

TEST_F(BackupOptions, AnEntryInProgressIsSavedWhenTheButtonIsUsed) {
  putSchedule(L"Diariamente");
  const std::function<void()> ways[] = {[this] { click(Backup_BSalir); }, [this] { press('S', kAlt); }};
  for (const auto& way : ways) {
    put(L"DDias", Value(std::int32_t{3}));
    show([&] {
      focus(Backup_DDias);
      type(L"8");
      way();
      EXPECT_FALSE(open());
    });
    EXPECT_EQ(Value(std::int32_t{8}), stored(L"DDias"));
  }
}

TEST_F(BackupOptions, TheCloseBoxSavesNothingFurther) {
  putSchedule(L"Diariamente");
  show([this] {
    focus(Backup_DDias);
    type(L"8");
    forgetWrites();
    SendMessageW(form(), WM_SYSCOMMAND, SC_CLOSE, 0);
    pump();
    EXPECT_FALSE(open());
  });
  EXPECT_EQ(Names{}, writtenNames());
  EXPECT_EQ(Value(std::int32_t{3}), stored(L"DDias"));
}

// ---------------------------------------------------------------------------------------------------------------------
// The user's hands

TEST_F(BackupOptions, TabGoesThroughTheControlsInReadingOrder) {
  putSchedule(L"Semanalmente");
  show([this] {
    focus(Backup_Copia2);
    for (const int id :
         {Backup_UltimaCopia, Backup_Programar, Backup_HoraInicio, Backup_PCopia, Backup_DSemanas, Backup_DSem0,
          Backup_DSem1, Backup_DSem2, Backup_DSem3, Backup_DSem4, Backup_DSem5, Backup_DSem6, Backup_Destino,
          Backup_BCarpeta, Backup_EDir, Backup_TCopias, Backup_Cerrar, Backup_BSalir, Backup_Copia2}) {
      press(VK_TAB);
      EXPECT_TRUE(focused(id)) << "control " << id;
    }
    press(VK_TAB, kShift);
    EXPECT_TRUE(focused(Backup_BSalir));
  });
}

TEST_F(BackupOptions, TabPassesOverWhatIsDisabled) {
  putSchedule(L"Diariamente");
  put(L"Copia", Value(std::int32_t{0}));
  show([this] {
    focus(Backup_Copia0);
    for (const int id : {Backup_UltimaCopia, Backup_PCopia, Backup_EDir, Backup_BSalir, Backup_Copia0}) {
      press(VK_TAB);
      EXPECT_TRUE(focused(id)) << "control " << id;
    }
  });
}

TEST_F(BackupOptions, AccessKeysGoToTheirFields) {
  putSchedule(L"Diariamente");
  show([this] {
    press('D', kAlt);
    EXPECT_TRUE(focused(Backup_Destino));
    press('P', kAlt);
    EXPECT_TRUE(focused(Backup_Programar));
    press('M', kAlt);
    EXPECT_TRUE(focused(Backup_Copia2) || focused(Backup_Copia0));
    EXPECT_EQ(2, mode()) << "the key chooses nothing";
  });
}

TEST_F(BackupOptions, ScreenReadersAnnounceEachFieldByTheCaptionBesideIt) {
  putSchedule(L"Diariamente");
  show([this] {
    const std::pair<int, const wchar_t*> fields[] = {{Backup_Programar, L"Realizar copia:"},
                                                     {Backup_PCopia, L"Próxima copia:"},
                                                     {Backup_UltimaCopia, L"Última copia realizada:"},
                                                     {Backup_Destino, L"Directorio de destino:"},
                                                     {Backup_TCopias, L"Número máximo de copias almacenadas :"},
                                                     {Backup_DDias, L"Cada"},
                                                     {Backup_DSemanas, L"Cada"},
                                                     {Backup_DMes, L"El día"}};
    const auto& names = fake_.accessibility.names;
    for (const auto& [id, name] : fields) {
      const auto found = names.find(editOf(id));
      ASSERT_NE(names.end(), found) << "control " << id;
      EXPECT_EQ(name, found->second);
    }
    EXPECT_EQ(L"Elegir carpeta", text(Backup_BCarpeta)) << "a button with a picture has a name too";
  });
}

// The text of the tool tip of a control.
std::wstring tipOf(HWND form, HWND control) {
  HWND tips = nullptr;
  while ((tips = FindWindowExW(nullptr, tips, TOOLTIPS_CLASSW, nullptr)) && GetWindow(tips, GW_OWNER) != form) {
  }
  wchar_t text[200] = L"";
  TTTOOLINFOW tool{};
  tool.cbSize = TTTOOLINFOW_V1_SIZE;
  tool.hwnd = form;
  tool.uId = reinterpret_cast<UINT_PTR>(control);
  tool.lpszText = text;
  SendMessageW(tips, TTM_GETTEXTW, 200, reinterpret_cast<LPARAM>(&tool));
  return text;
}

TEST_F(BackupOptions, ToolTipsExplainWhatACaptionCannot) {
  show([this] {
    EXPECT_EQ(L"Indica si se cerrará la ventana que sale cuando se ha completado una copia de seguridad",
              tipOf(form(), control(Backup_Cerrar)));
    EXPECT_EQ(L"Elegir la carpeta de destino", tipOf(form(), control(Backup_BCarpeta)));
  });
}

TEST_F(BackupOptions, WhatOnlyTheLibraryWritesCannotBeTyped) {
  putSchedule(L"Diariamente");
  show([this] {
    for (const int id : {Backup_UltimaCopia, Backup_PCopia}) {
      const std::wstring before = text(id);
      enter(id, L"1");
      EXPECT_EQ(before, text(id));
    }
    click(Backup_Copia0);
    EXPECT_EQ(L"", text(Backup_PCopia)) << "the library still can";
  });
}

TEST_F(BackupOptions, TheOwnerIsDisabledMeanwhileAndHasTheFocusAgainAfterwards) {
  const HWND host = CreateWindowW(L"STATIC", L"Host", WS_OVERLAPPED | WS_VISIBLE, 0, 0, 300, 200, nullptr, nullptr,
                                  GetModuleHandleW(nullptr), nullptr);
  bringToForeground(host);
  show([&] {
    EXPECT_FALSE(IsWindowEnabled(host));
    EXPECT_EQ(host, GetWindow(form(), GW_OWNER));
    press(VK_ESCAPE);
  });
  EXPECT_TRUE(IsWindowEnabled(host));
  EXPECT_EQ(host, GetActiveWindow());
  DestroyWindow(host);
}

TEST_F(BackupOptions, GivesBackEveryWindowAndDrawingObject) {
  putSchedule(L"Mensualmente");
  expectWindowsGivenBack([this] { show([this] { click(Backup_BSalir); }); });
}

}  // namespace
}  // namespace qev::test
