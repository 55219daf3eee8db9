// How the configuration dialog looks, at the scale of the system: run at 100 and at other percentages.
#include <windows.h>

#include <commctrl.h>

#include <algorithm>
#include <map>

#include "support/TextFit.h"
#include "windows/BackupDialog.h"

namespace qev::test {
namespace {

class DialogAtThisScale : public BackupDialog {
 protected:
  static int percent() { return static_cast<int>(GetDpiForSystem()) * 100 / 96; }

  void picture(const std::wstring& name) const {
    pump();
    UpdateWindow(form());
    pump();
    EXPECT_TRUE(saveScreenshot(form(), L"Backup-" + name + L"-" + std::to_wstring(percent())));
  }

  void fillSettings(int mode, const wchar_t* kind) {
    put(L"Copia", Value(std::int32_t{mode}));
    put(L"Programar", kind);
    put(L"HoraInicio", L"22:30");
    put(L"UltimaCopia", L"15-11-2026 22:31");
    put(L"Estado", L"Ultima copia de seguridad realizada correctamente");
    put(L"Destino", L"D:\\Copias de seguridad\\Gestión\\");
    put(L"NCopias", Value(std::int32_t{10}));
    put(L"DSem", L"SNSNSNN");
    put(L"Meses", L"SNNSNNSNNSNN");
    put(L"DDias", Value(std::int32_t{2}));
    put(L"DSemanas", Value(std::int32_t{2}));
    put(L"DMes", Value(std::int32_t{28}));
  }

  // The text of a failed run, as long as they come.
  static std::wstring failure() {
    return L"No se ha podido realizar la copia de seguridad de Gestión comercial y contable.\r\n\r\nDestino: "
           L"D:\\Copias "
           L"de seguridad\\Gestión\\Backup15-11-26.qev\r\nFecha/Hora: 15-11-2026 22:31\r\nError: 76-No se ha "
           L"encontrado la "
           L"ruta de acceso";
  }

  std::vector<HWND> controls() const {
    std::vector<HWND> all;
    for (HWND child = GetWindow(form(), GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) all.push_back(child);
    return all;
  }

  static std::wstring className(HWND window) {
    wchar_t name[64] = L"";
    GetClassNameW(window, name, 64);
    return name;
  }

  RECT areaOf(HWND window) const {
    RECT area{};
    GetWindowRect(window, &area);
    MapWindowPoints(nullptr, form(), reinterpret_cast<POINT*>(&area), 2);
    return area;
  }

  void expectTextFits(HWND window) const {
    wchar_t text[2048] = L"";
    GetWindowTextW(window, text, 2048);
    RECT client{};
    GetClientRect(window, &client);
    const auto style = GetWindowLongPtrW(window, GWL_STYLE);
    if (className(window) == L"Static") {
      if ((style & SS_TYPEMASK) > SS_RIGHT) return;
      UINT flags = DT_WORDBREAK | DT_EXPANDTABS | ((style & SS_EDITCONTROL) ? DT_EDITCONTROL : 0);
      if ((style & SS_TYPEMASK) == SS_RIGHT) flags |= DT_RIGHT;
      const SIZE room = roomForText(window, text, client.right, flags);
      EXPECT_LE(room.cx, client.right) << testing::PrintToString(std::wstring(text));
      EXPECT_LE(room.cy, client.bottom) << testing::PrintToString(std::wstring(text));
    } else if (className(window) == L"Button" && (style & BS_TYPEMASK) != BS_GROUPBOX && !(style & BS_ICON)) {
      SIZE room{};
      ASSERT_TRUE(SendMessageW(window, BCM_GETIDEALSIZE, 0, reinterpret_cast<LPARAM>(&room)));
      EXPECT_LE(room.cx, client.right) << testing::PrintToString(std::wstring(text));
      EXPECT_LE(room.cy, client.bottom) << testing::PrintToString(std::wstring(text));
    }
  }
};

TEST_F(DialogAtThisScale, EveryTextOfTheConfigurationFits) {
  for (int mode = 0; mode < 3; ++mode) {
    fillSettings(mode, L"Semanalmente");
    put(L"Estado", Value(failure()));
    show([this] {
      for (const HWND window : controls()) expectTextFits(window);
    });
  }
}

TEST_F(DialogAtThisScale, NothingOfTheConfigurationLiesOutsideItOrOverAnotherThing) {
  for (int mode = 0; mode < 3; ++mode) {
    for (const wchar_t* kind : {L"Diariamente", L"Semanalmente", L"Mensualmente"}) {
      fillSettings(mode, kind);
      show([this] { expectNothingOutsideOrOverAnother(form()); });
    }
  }
}

TEST_F(DialogAtThisScale, TheTextOfAFieldIsInLineWithTheLabelBesideIt) {
  fillSettings(2, L"Diariamente");
  show([this] {
    const std::pair<int, int> beside[] = {{Backup_Label1, Backup_UltimaCopia}, {Backup_ERCopia, Backup_Programar},
                                          {Backup_EHora, Backup_HoraInicio},   {Backup_Label2, Backup_PCopia},
                                          {Backup_ECada, Backup_DDias},        {Backup_EFin, Backup_Destino},
                                          {Backup_EMaximo, Backup_TCopias}};
    const int tolerance = std::max(1, percent() / 100);
    for (const auto& [label, field] : beside) {
      RECT text{};
      SendMessageW(editOf(field), EM_GETRECT, 0, reinterpret_cast<LPARAM>(&text));
      MapWindowPoints(editOf(field), form(), reinterpret_cast<POINT*>(&text), 2);
      EXPECT_NEAR(areaOf(control(label)).top, text.top, tolerance) << "field " << field;
    }
  });
}

// Colours of the system for as long as it lives.
class SystemColours {
 public:
  explicit SystemColours(const std::map<int, COLORREF>& colours) {
    for (const auto& [index, colour] : colours) {
      indices_.push_back(index);
      before_.push_back(GetSysColor(index));
      set_.push_back(colour);
    }
    SetSysColors(static_cast<int>(indices_.size()), indices_.data(), set_.data());
  }
  SystemColours(const SystemColours&) = delete;
  SystemColours& operator=(const SystemColours&) = delete;
  ~SystemColours() { SetSysColors(static_cast<int>(indices_.size()), indices_.data(), before_.data()); }

 private:
  std::vector<int> indices_;
  std::vector<COLORREF> before_;
  std::vector<COLORREF> set_;
};

TEST_F(DialogAtThisScale, TheConfigurationIsLegibleInHighContrast) {
  constexpr COLORREF black = RGB(0, 0, 0);
  constexpr COLORREF white = RGB(255, 255, 255);
  const SystemColours contrast({{COLOR_BTNFACE, black},
                                {COLOR_BTNTEXT, white},
                                {COLOR_WINDOW, black},
                                {COLOR_WINDOWTEXT, white},
                                {COLOR_GRAYTEXT, RGB(0, 255, 0)},
                                {COLOR_HIGHLIGHT, white},
                                {COLOR_HIGHLIGHTTEXT, black}});
  fillSettings(2, L"Semanalmente");
  show([this] {
    picture(L"contraste");
    // The label's own colours, and black on white in the field, whether or not it has the focus.
    const auto count = [](const ScreenPixels& screen, std::uint32_t colour) {
      return std::count(screen.pixels.begin(), screen.pixels.end(), colour);
    };
    const ScreenPixels label = capture(control(Backup_Label2));
    EXPECT_GT(count(label, 0x000000), count(label, 0xFFFFFF));
    EXPECT_GT(count(label, 0xFFFFFF), 20);
    for (const bool focused : {false, true}) {
      if (focused) focus(Backup_Destino);
      press(VK_END);
      const ScreenPixels field = capture(editOf(Backup_Destino));
      EXPECT_GT(count(field, 0xFFFFFF), count(field, 0x000000));
      EXPECT_GT(count(field, 0x000000), 20);
    }
  });
}

TEST_F(DialogAtThisScale, PicturesOfTheConfigurationInEveryModeWithEveryKind) {
  for (int mode = 0; mode < 3; ++mode) {
    for (const wchar_t* kind : {L"Diariamente", L"Semanalmente", L"Mensualmente"}) {
      fillSettings(mode, kind);
      show([&] { picture(L"modo" + std::to_wstring(mode) + L"-" + kind); });
    }
  }
  put(L"Estado", Value(failure()));
  show([this] {
    focus(Backup_DMes);
    picture(L"fallo");
  });
}

}  // namespace
}  // namespace qev::test
