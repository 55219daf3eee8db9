// The system's file chooser, used by hand.
#include "platform/SystemServices.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "support/ChooserUser.h"
#include "support/RealInput.h"
#include "support/Screenshot.h"
#include "support/TemporaryFolder.h"

namespace qev::test {
namespace {

constexpr wchar_t kTitle[] = L"Seleccione archivo de la prueba";
constexpr wchar_t kEverything[] = L"*.*|*.*";

// --- filters ---

using Pairs = std::vector<std::pair<std::wstring, std::wstring>>;

TEST(FilterPairs, AreLabelAndPatternInTurn) {
  EXPECT_EQ((Pairs{{L"*.*", L"*.*"}}), filterPairs(kEverything));
  EXPECT_EQ((Pairs{{L"Copias", L"*.qev"}, {L"Todos", L"*.*"}}), filterPairs(L"Copias|*.qev|Todos|*.*"));
}

TEST(FilterPairs, AreNoneOfALabelWithoutPattern) {
  EXPECT_EQ(Pairs{}, filterPairs(L""));
  EXPECT_EQ(Pairs{}, filterPairs(L"Copias"));
  EXPECT_EQ((Pairs{{L"Copias", L"*.qev"}}), filterPairs(L"Copias|*.qev|Todos"));
}

// --- the chooser on the screen, with a user at it ---

BOOL CALLBACK add(HWND window, LPARAM windows) {
  reinterpret_cast<std::vector<HWND>*>(windows)->push_back(window);
  return TRUE;
}

std::wstring textOf(HWND window) {
  wchar_t text[1000];
  return {text, static_cast<std::size_t>(SendMessageW(window, WM_GETTEXT, 1000, reinterpret_cast<LPARAM>(text)))};
}

// What is shown in the lists that drop down in a window.
std::vector<std::wstring> shownInLists(HWND dialog) {
  std::vector<HWND> all;
  EnumChildWindows(dialog, add, reinterpret_cast<LPARAM>(&all));
  std::vector<std::wstring> shown;
  for (const HWND window : all) {
    wchar_t name[100];
    GetClassNameW(window, name, 100);
    if (IsWindowVisible(window) && std::wstring(name) == L"ComboBox") shown.push_back(textOf(window));
  }
  return shown;
}

// The message box that the chooser shows, if it does.
HWND boxOver(HWND dialog) {
  std::vector<HWND> all;
  EnumThreadWindows(GetWindowThreadProcessId(dialog, nullptr), add, reinterpret_cast<LPARAM>(&all));
  for (const HWND window : all) {
    wchar_t name[100];
    GetClassNameW(window, name, 100);
    const bool isDialog = std::wstring(name) == L"#32770";
    if (isDialog && GetWindow(window, GW_OWNER) == dialog && IsWindowVisible(window)) return window;
  }
  return nullptr;
}

class FileChooserDialog : public testing::Test {
 protected:
  void SetUp() override {
    folder_.write(L"Copias\\copia de Ibáñez.qev", "set");
    folder_.write(L"Copias\\otra.txt", "texto");
    folder_.makeFolder(L"Copias\\Antiguas");
  }

  std::optional<std::wstring> choose(const std::wstring& start, const std::function<void(HWND dialog)>& user,
                                     const std::wstring& filter = kEverything) {
    std::optional<std::wstring> file;
    owner_ = useChooser(
        kTitle, [&] { file = FileChooserWindows().choose(kTitle, filter, start); }, user);
    return file;
  }

  std::wstring copies() const { return folder_ / L"Copias"; }

  const TemporaryFolder folder_;
  HWND owner_ = nullptr;
};

TEST_F(FileChooserDialog, GivesTheFullPathOfTheFileThatTheUserNamesInTheFolderItBeganIn) {
  const auto chosen = choose(copies(), [](HWND dialog) {
    type(dialog, L"copia de Ibáñez.qev");
    saveScreenshot(dialog, L"FileChooser");
    clickOn(dialog, GetDlgItem(dialog, IDOK));
  });
  EXPECT_EQ(copies() + L"\\copia de Ibáñez.qev", chosen.value_or(L"<none>"));
}

TEST_F(FileChooserDialog, TakesAFullPathFromAnywhere) {
  const auto chosen = choose(L"C:\\", [this](HWND dialog) {
    type(dialog, copies() + L"\\otra.txt");
    press(dialog, VK_RETURN);
  });
  EXPECT_EQ(copies() + L"\\otra.txt", chosen.value_or(L"<none>"));
}

TEST_F(FileChooserDialog, BeginsInTheNearestFolderThatExists) {
  const auto chosen = choose(copies() + L"\\Ya\\No\\", [](HWND dialog) {
    type(dialog, L"otra.txt");
    press(dialog, VK_RETURN);
  });
  EXPECT_EQ(copies() + L"\\otra.txt", chosen.value_or(L"<none>"));
}

TEST_F(FileChooserDialog, ShowsTheLabelOfItsFilter) {
  for (const std::wstring label : {L"*.*", L"Copias de seguridad"}) {
    std::vector<std::wstring> shown;
    choose(
        copies(),
        [&](HWND dialog) {
          shown = shownInLists(dialog);
          press(dialog, VK_ESCAPE);
        },
        label + L"|*.*");
    EXPECT_NE(shown.end(), std::find(shown.begin(), shown.end(), label));
  }
}

TEST_F(FileChooserDialog, GivesNothingWhenTheUserCancels) {
  EXPECT_FALSE(choose(copies(), [](HWND dialog) { press(dialog, VK_ESCAPE); }));
  EXPECT_FALSE(choose(copies(), [](HWND dialog) {
    type(dialog, L"otra.txt");
    clickOn(dialog, GetDlgItem(dialog, IDCANCEL));
  }));
}

TEST_F(FileChooserDialog, RefusesANameThatIsNoFile) {
  const auto chosen = choose(copies(), [](HWND dialog) {
    type(dialog, L"no existe.qev");
    clickOn(dialog, GetDlgItem(dialog, IDOK));
    HWND box = nullptr;
    for (int i = 0; i < 100 && !box; ++i) {
      Sleep(50);
      box = boxOver(dialog);
    }
    EXPECT_TRUE(box) << "nothing was said";
    EXPECT_TRUE(IsWindowVisible(dialog));
    if (!box) return press(dialog, VK_ESCAPE);
    EXPECT_FALSE(IsWindowEnabled(dialog));
    saveScreenshot(box, L"FileChooser-no-existe");
    press(box, VK_RETURN);
    EXPECT_TRUE(IsWindowVisible(dialog)) << "the user may choose another one";
    press(dialog, VK_ESCAPE);
  });
  EXPECT_FALSE(chosen);
}

TEST_F(FileChooserDialog, StandsOverTheActiveWindowAndGivesTheFocusBack) {
  wchar_t before[MAX_PATH], after[MAX_PATH];
  GetCurrentDirectoryW(MAX_PATH, before);
  const HWND host = CreateWindowW(L"#32770", L"Host", WS_OVERLAPPED | WS_VISIBLE, 0, 0, 300, 200, nullptr, nullptr,
                                  GetModuleHandleW(nullptr), nullptr);
  const HWND field = CreateWindowW(L"EDIT", L"", WS_CHILD | WS_VISIBLE, 10, 10, 200, 30, host, nullptr,
                                   GetModuleHandleW(nullptr), nullptr);
  bringToForeground(host);
  SetFocus(field);
  EXPECT_TRUE(choose(copies(), [host](HWND dialog) {
    EXPECT_FALSE(IsWindowEnabled(host));
    type(dialog, L"otra.txt");
    clickOn(dialog, GetDlgItem(dialog, IDOK));
  }));
  EXPECT_EQ(host, owner_);
  EXPECT_TRUE(IsWindowEnabled(host));
  EXPECT_EQ(host, GetActiveWindow());
  EXPECT_EQ(field, GetFocus());
  DestroyWindow(host);
  GetCurrentDirectoryW(MAX_PATH, after);
  EXPECT_STREQ(before, after);
}

TEST_F(FileChooserDialog, WorksOnAThreadOfTheOtherApartment) {
  std::optional<std::wstring> chosen;
  std::thread([&] {
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    chosen = choose(copies(), [](HWND dialog) {
      type(dialog, L"otra.txt");
      clickOn(dialog, GetDlgItem(dialog, IDOK));
    });
    CoUninitialize();
  }).join();
  EXPECT_EQ(copies() + L"\\otra.txt", chosen.value_or(L"<none>"));
}

}  // namespace
}  // namespace qev::test
