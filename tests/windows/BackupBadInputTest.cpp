// The configuration dialog on settings that somebody else has written, wrong or odd.
#include "windows/BackupDialog.h"

namespace qev::test {
namespace {

class BackupOddSettings : public BackupDialog {
 protected:
  void SetUp() override {
    BackupDialog::SetUp();
    put(L"Copia", Value(std::int32_t{2}));
    put(L"Programar", L"Diariamente");
    put(L"HoraInicio", L"22:30");
    put(L"DSem", L"NSNNSNN");
    put(L"Meses", L"NNNNNNNNNNNS");
    put(L"Destino", L"D:\\Copias\\");
  }

  // Opens the dialog on something that is reported: nothing is written, one message comes, and the dialog can be used.
  void showReported(
      const std::wstring& message, const std::function<void()>& user = [] {}) {
    fake_.messages.willAnswer({Answer::Ok});
    show([&] {
      ASSERT_EQ(1u, messages().size());
      EXPECT_EQ((FakeMessages::Shown{message, kTitle, message::kOk | message::kExclamation}), messages()[0]);
      EXPECT_EQ(std::vector<std::wstring>{}, writtenNames()) << "the settings are unharmed";
      user();
      EXPECT_TRUE(open());
    });
  }
};

TEST_F(BackupOddSettings, AModeThatIsNoNumberIsNoBackup) {
  put(L"Copia", L"abc");
  show([this] {
    EXPECT_EQ(0, mode());
    EXPECT_EQ(Value(std::int32_t{0}), stored(L"Copia"));
  });
}

TEST_F(BackupOddSettings, AModeStoredAsTextIsItsNumber) {
  put(L"Copia", L"2");
  show([this] {
    EXPECT_EQ(2, mode());
    EXPECT_EQ(Value(std::int32_t{2}), stored(L"Copia"));
  });
}

TEST_F(BackupOddSettings, AnEmptyModeIsTheDefault) {
  put(L"Copia", L"");
  show([this] { EXPECT_EQ(1, mode()); });
}

TEST_F(BackupOddSettings, AModeThatThereIsNoOptionForIsReportedAndKeptUntilTheUserChooses) {
  for (const std::int32_t odd : {7, 3, -1}) {
    put(L"Copia", Value(odd));
    fake_.messages.shown.clear();
    forgetWrites();
    showReported(L"El subíndice está fuera del intervalo: Copia", [&] {
      EXPECT_EQ(-1, mode()) << "none is selected";
      EXPECT_EQ(Value(odd), stored(L"Copia"));
      EXPECT_EQ(L"D:\\Copias\\", text(Backup_Destino)) << "the rest is shown";
      EXPECT_EQ(L"NSNNSNN", flags(Backup_DSem0, kWeekdays));
      press(VK_TAB);
      press(VK_TAB);
      EXPECT_EQ(-1, mode()) << "walking through the dialog chooses nothing";
      EXPECT_EQ(Value(odd), stored(L"Copia"));
      click(Backup_Copia2);
      EXPECT_EQ(Value(std::int32_t{2}), stored(L"Copia"));
      EXPECT_EQ(L"16-11-2026 22:30", text(Backup_PCopia));
    });
  }
}

TEST_F(BackupOddSettings, AnUnknownKindIsShownKeptAndHasNoNextMoment) {
  for (const wchar_t* kind : {L"Anualmente", L"diariamente"}) {
    put(L"Programar", kind);
    show([&] {
      EXPECT_EQ(kind, text(Backup_Programar));
      EXPECT_EQ(kind, storedText(L"Programar"));
      EXPECT_EQ(L"", text(Backup_PCopia));
      EXPECT_EQ(Value(std::wstring()), stored(L"ProximaCopia"));
      for (const int id :
           {Backup_ECada, Backup_DDias, Backup_DSemanas, Backup_DMes, Backup_DSem0, Backup_Mes0, Backup_TextoProg}) {
        EXPECT_FALSE(visible(id)) << "control " << id;
      }
      enter(Backup_Programar, L"sem");
      EXPECT_EQ(L"17-11-2026 22:30", text(Backup_PCopia));
    });
  }
}

TEST_F(BackupOddSettings, OfDaysAndMonthsThoseWithACapitalSAreSelectedHoweverManyAreStored) {
  const struct {
    const wchar_t* stored;
    const wchar_t* week;
    const wchar_t* year;
  } flagsOf[] = {{L"SS", L"SSNNNNN", L"SSNNNNNNNNNN"},          {L"NNS", L"NNSNNNN", L"NNSNNNNNNNNN"},
                 {L"NNNNNNSSSSS", L"NNNNNNS", L"NNNNNNSSSSSN"}, {L"NNNNNNNNNNNSSSS", L"NNNNNNN", L"NNNNNNNNNNNS"},
                 {L"sSsxX1s", L"NSNNNNN", L"NSNNNNNNNNNN"},     {L"ssssSsssssss", L"NNNNSNN", L"NNNNSNNNNNNN"}};
  for (const auto& flag : flagsOf) {
    put(L"DSem", flag.stored);
    put(L"Meses", flag.stored);
    show([&] {
      EXPECT_EQ(flag.week, flags(Backup_DSem0, kWeekdays));
      EXPECT_EQ(flag.week, storedText(L"DSem"));
      EXPECT_EQ(flag.year, flags(Backup_Mes0, kMonths));
      EXPECT_EQ(flag.year, storedText(L"Meses"));
    });
  }
}

TEST_F(BackupOddSettings, ANumberOfCopiesStoredAsTextIsShownAndUntouched) {
  put(L"NCopias", L"25");
  show([this] {
    EXPECT_EQ(L"25", text(Backup_TCopias));
    focus(Backup_TCopias);
    press(VK_TAB);
    click(Backup_Cerrar);
  });
  EXPECT_EQ(Value(std::wstring(L"25")), stored(L"NCopias"));
}

TEST_F(BackupOddSettings, ANumberOfCopiesThatIsNoneIsShownAndUntouchedUntilItIsChanged) {
  put(L"NCopias", L"muchas");
  show([this] {
    EXPECT_EQ(L"muchas", text(Backup_TCopias));
    click(Backup_Cerrar);
    EXPECT_EQ(Value(std::wstring(L"muchas")), stored(L"NCopias"));
    enter(Backup_TCopias, L"4");
    EXPECT_EQ(Value(std::wstring(L"4")), stored(L"NCopias"));
  });
}

TEST_F(BackupOddSettings, AnEmptyNumberOfCopiesIsZero) {
  put(L"NCopias", L"");
  show([this] { EXPECT_EQ(L"0", text(Backup_TCopias)); });
}

TEST_F(BackupOddSettings, ADestinationThatIsGoneIsShownAndKept) {
  put(L"Destino", L"Q:\\No existe\\");
  fake_.folderChooser.willAnswer({std::nullopt});
  show([this] {
    EXPECT_EQ(L"Q:\\No existe\\", text(Backup_Destino));
    EXPECT_EQ(L"Q:\\No existe\\", storedText(L"Destino"));
    click(Backup_BCarpeta);
    EXPECT_EQ(L"Q:\\No existe\\", fake_.folderChooser.shown.at(0).startFolder);
    EXPECT_EQ(L"Q:\\No existe\\", storedText(L"Destino"));
  });
}

TEST_F(BackupOddSettings, AnUnreadableNextMomentIsComputedAnew) {
  put(L"ProximaCopia", L"pasado mañana");
  show([this] {
    EXPECT_EQ(L"16-11-2026 22:30", text(Backup_PCopia));
    EXPECT_EQ(L"16-11-2026 22:30", storedText(L"ProximaCopia"));
  });
}

TEST_F(BackupOddSettings, AnUnreadableLastMomentIsShownAndReportedByTheScheduleThatNeedsIt) {
  put(L"UltimaCopia", L"ayer");
  fake_.messages.willAnswer({Answer::Ok});
  show([this] {
    ASSERT_EQ(1u, messages().size());
    EXPECT_EQ(kTitle, messages()[0].title);
    EXPECT_EQ(L"No coinciden los tipos", messages()[0].text.substr(0, 22));
    EXPECT_EQ(L"ayer", text(Backup_UltimaCopia));
    EXPECT_EQ(L"ayer", storedText(L"UltimaCopia"));
    EXPECT_EQ(L"", text(Backup_PCopia));
    click(Backup_Copia1);
    EXPECT_EQ(Value(std::int32_t{1}), stored(L"Copia")) << "the dialog can be used";
  });
}

TEST_F(BackupOddSettings, AStartTimeThatIsNoneIsReportedKeptAndCanBeCorrected) {
  put(L"HoraInicio", L"medianoche");
  fake_.messages.willAnswer({Answer::Ok});
  show([this] {
    ASSERT_EQ(1u, messages().size());
    EXPECT_EQ(kTitle, messages()[0].title);
    EXPECT_EQ(L"medianoche", text(Backup_HoraInicio));
    EXPECT_EQ(L"medianoche", storedText(L"HoraInicio"));
    enter(Backup_HoraInicio, L"23:00");
    EXPECT_EQ(L"16-11-2026 23:00", text(Backup_PCopia));
  });
}

TEST_F(BackupOddSettings, NumbersOfTheScheduleThatAreNoneCountAsZeroAndZeroAsOne) {
  put(L"DDias", L"varios");
  put(L"DSemanas", Value(std::int32_t{0}));
  put(L"DMes", L"  ");
  show([this] {
    EXPECT_EQ(L"varios", text(Backup_DDias));
    EXPECT_EQ(Value(std::int32_t{0}), stored(L"DDias"));
    EXPECT_EQ(L"días", text(Backup_Edias));
    EXPECT_EQ(L"1", text(Backup_DSemanas));
    EXPECT_EQ(L"1", text(Backup_DMes));
  });
}

TEST_F(BackupOddSettings, ADayOfTheMonthBeyondSixteenBitsIsReported) {
  put(L"Programar", L"Mensualmente");
  put(L"DMes", Value(std::int32_t{70000}));
  fake_.messages.willAnswer({Answer::Ok});
  show([this] {
    ASSERT_EQ(1u, messages().size());
    EXPECT_EQ(L"Desbordamiento", messages()[0].text.substr(0, 14));
    enter(Backup_DMes, L"20");
    EXPECT_EQ(L"20-12-2026 22:30", text(Backup_PCopia));
  });
}

TEST_F(BackupOddSettings, AFlagThatIsNoNumberIsReportedAndNothingIsWritten) {
  put(L"EDir", L"abc");
  showReported(L"No coinciden los tipos", [this] {
    EXPECT_FALSE(checked(Backup_EDir));
    EXPECT_EQ(L"NSNNSNN", flags(Backup_DSem0, kWeekdays)) << "what can be read is shown";
    EXPECT_EQ(Value(std::wstring(L"abc")), stored(L"EDir"));
    click(Backup_EDir);
    EXPECT_EQ(Value(std::int32_t{1}), stored(L"EDir"));
  });
}

TEST_F(BackupOddSettings, AFlagStoredAsMinusOneIsSet) {
  put(L"Cerrar", Value(std::int32_t{-1}));
  show([this] { EXPECT_TRUE(checked(Backup_Cerrar)); });
}

TEST_F(BackupOddSettings, SettingsThatCannotBeReadAreReportedOnceAndNothingIsWritten) {
  fake_.registry.readError = kPermissionDenied;
  showReported(L"Permiso denegado", [this] {
    EXPECT_EQ(1, mode()) << "defaults";
    EXPECT_EQ(L"Diariamente", text(Backup_Programar));
    EXPECT_EQ(L"C:\\", text(Backup_Destino));
    fake_.registry.readError.reset();
  });
  EXPECT_EQ(L"D:\\Copias\\", storedText(L"Destino"));
}

TEST_F(BackupOddSettings, TheMessageComesOverTheDialogNotBeforeIt) {
  put(L"EDir", L"abc");
  bool dialogWasThere = false;
  fake_.messages.onShow = [&](const FakeMessages::Shown&) {
    const HWND dialog = FindWindowW(L"#32770", L"Configuración");
    dialogWasThere = dialog && IsWindowVisible(dialog);
  };
  showReported(L"No coinciden los tipos");
  EXPECT_TRUE(dialogWasThere);
}

}  // namespace
}  // namespace qev::test
