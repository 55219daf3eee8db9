// The system's folder chooser, used by hand, and the folder that it begins in.
#include "platform/SystemServices.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <functional>
#include <thread>

#include "platform/FileSystem.h"
#include "support/ChooserUser.h"
#include "support/RealInput.h"
#include "support/Screenshot.h"
#include "support/TemporaryFolder.h"

namespace qev::test {
namespace {

constexpr wchar_t kTitle[] = L"Elija una carpeta de la prueba";

TEST(NearestExistingFolder, IsTheFolderItselfWhereItExists) {
  const TemporaryFolder folder;
  folder.makeFolder(L"Copias");
  EXPECT_EQ(folder / L"Copias", nearestExistingFolder(folder / L"Copias"));
  EXPECT_EQ(folder / L"Copias\\", nearestExistingFolder(folder / L"Copias\\"));
}

TEST(NearestExistingFolder, IsTheNearestParentOfAFolderThatIsGone) {
  const TemporaryFolder folder;
  EXPECT_EQ(folder.path(), nearestExistingFolder(folder / L"Copias\\De\\Antes\\"));
  EXPECT_EQ(L"C:\\", nearestExistingFolder(L"C:\\NoExiste\\"));
}

TEST(NearestExistingFolder, TakesAFileForItsFolder) {
  const TemporaryFolder folder;
  folder.write(L"fichero", "x");
  EXPECT_EQ(folder.path(), nearestExistingFolder(folder / L"fichero"));
}

TEST(NearestExistingFolder, IsNoneWhereThereIsNothingToBeginIn) {
  EXPECT_EQ(L"", nearestExistingFolder(L""));
  EXPECT_EQ(L"", nearestExistingFolder(L"Q:\\Copias\\"));
}

TEST(NearestExistingFolder, StandsAnyText) {
  const TemporaryFolder folder;
  EXPECT_EQ(folder.path(), nearestExistingFolder(folder / L"a*b?\\<>|\""));
  EXPECT_EQ(folder.path(), nearestExistingFolder(folder / std::wstring(300, L'x')));
  nearestExistingFolder(std::wstring(40000, L'x'));
}

TEST(WithLastBackslash, EndsInExactlyOne) {
  EXPECT_EQ(L"C:\\Copias\\", withLastBackslash(L"C:\\Copias"));
  EXPECT_EQ(L"C:\\Copias\\", withLastBackslash(L"C:\\Copias\\"));
  EXPECT_EQ(L"C:\\Copias\\", withLastBackslash(L"C:\\Copias\\\\"));
  EXPECT_EQ(L"C:\\", withLastBackslash(L"C:\\"));
  EXPECT_EQ(L"A:\\", withLastBackslash(L"A:"));
  EXPECT_EQ(L"\\\\servidor\\copias\\", withLastBackslash(L"\\\\servidor\\copias"));
}

// The chooser on the screen, with a user at it.
class FolderChooserDialog : public testing::Test {
 protected:
  std::optional<std::wstring> choose(const std::wstring& start, const std::function<void(HWND dialog)>& user) {
    std::optional<std::wstring> folder;
    owner = useChooser(
        kTitle, [&] { folder = FolderChooserWindows().choose(kTitle, start); }, user);
    return folder;
  }

  HWND owner = nullptr;
};

TEST_F(FolderChooserDialog, GivesTheFolderThatTheUserNamesBelowTheOneItBeganIn) {
  const TemporaryFolder folder;
  folder.makeFolder(L"Copias\\Año");
  const auto chosen = choose(folder / L"Copias\\", [](HWND dialog) {
    type(dialog, L"Año");
    saveScreenshot(dialog, L"FolderChooser");
    clickOn(dialog, GetDlgItem(dialog, IDOK));
  });
  EXPECT_EQ(folder / L"Copias\\Año\\", chosen.value_or(L"<none>"));
}

TEST_F(FolderChooserDialog, BeginsInTheNearestFolderThatExists) {
  const TemporaryFolder folder;
  folder.makeFolder(L"Copias\\De hoy");
  const auto chosen = choose(folder / L"Copias\\Ya\\No\\", [](HWND dialog) {
    type(dialog, L"De hoy");
    press(dialog, VK_RETURN);
  });
  EXPECT_EQ(folder / L"Copias\\De hoy\\", chosen.value_or(L"<none>"));
}

TEST_F(FolderChooserDialog, GivesNothingWhenTheUserCancels) {
  const TemporaryFolder folder;
  EXPECT_FALSE(choose(folder.path(), [](HWND dialog) { press(dialog, VK_ESCAPE); }));
}

TEST_F(FolderChooserDialog, StandsOverTheActiveWindowAndLeavesTheCurrentFolderAsItIs) {
  const TemporaryFolder folder;
  wchar_t before[MAX_PATH], after[MAX_PATH];
  GetCurrentDirectoryW(MAX_PATH, before);
  const HWND host = CreateWindowW(L"STATIC", L"Host", WS_OVERLAPPED | WS_VISIBLE, 0, 0, 300, 200, nullptr, nullptr,
                                  GetModuleHandleW(nullptr), nullptr);
  bringToForeground(host);
  folder.makeFolder(L"Copias");
  EXPECT_TRUE(choose(folder.path(), [host](HWND dialog) {
    EXPECT_FALSE(IsWindowEnabled(host));
    type(dialog, L"Copias");
    clickOn(dialog, GetDlgItem(dialog, IDOK));
  }));
  EXPECT_EQ(host, owner);
  EXPECT_TRUE(IsWindowEnabled(host));
  EXPECT_EQ(host, GetActiveWindow());
  DestroyWindow(host);
  GetCurrentDirectoryW(MAX_PATH, after);
  EXPECT_STREQ(before, after);
}

TEST_F(FolderChooserDialog, WorksOnAThreadOfTheOtherApartment) {
  const TemporaryFolder folder;
  folder.makeFolder(L"Copias");
  std::optional<std::wstring> chosen;
  std::thread([&] {
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    chosen = choose(folder.path(), [](HWND dialog) {
      type(dialog, L"Copias");
      clickOn(dialog, GetDlgItem(dialog, IDOK));
    });
    CoUninitialize();
  }).join();
  EXPECT_EQ(folder / L"Copias\\", chosen.value_or(L"<none>"));
}

}  // namespace
}  // namespace qev::test
