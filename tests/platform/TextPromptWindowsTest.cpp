// The prompt for a password, used by hand.
#include "platform/SystemServices.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <functional>
#include <thread>

#include "controls/VisualStyles.h"
#include "resources/resource.h"
#include "support/RealInput.h"
#include "support/Screenshot.h"

namespace qev::test {
namespace {

constexpr wchar_t kTitle[] = L"Unzip de la prueba";
constexpr wchar_t kPrompt[] = L"Please Enter The Password!";

std::wstring textOf(HWND window) {
  wchar_t text[200];
  GetWindowTextW(window, text, 200);
  return text;
}

class TextPromptDialog : public testing::Test {
 protected:
  // Shows the prompt, with a user at it; "<none>" when the user cancelled.
  std::wstring ask(const std::function<void(HWND dialog)>& user, const std::wstring& prompt = kPrompt) {
    const VisualStyles styles;  // as in the windows of the library, over which the prompt stands
    std::atomic<bool> over = false;
    std::thread hands([&] {
      HWND dialog = nullptr;
      for (int i = 0; i < 1000 && !dialog; ++i) {
        Sleep(20);
        dialog = FindWindowW(nullptr, kTitle);
        if (dialog && !IsWindowVisible(dialog)) dialog = nullptr;
      }
      EXPECT_TRUE(dialog) << "no prompt came up";
      if (!dialog) return;
      Sleep(200);
      user(dialog);
      for (int i = 0; i < 1000 && !over; ++i) Sleep(20);
      EXPECT_TRUE(over) << "the prompt is still open";
      if (!over) PostMessageW(dialog, WM_COMMAND, TextPrompt_Cancel, 0);
    });
    const auto typed = systemPlatform().textPrompt.ask(prompt, kTitle);
    over = true;
    hands.join();
    return typed.value_or(L"<none>");
  }
};

TEST_F(TextPromptDialog, GivesWhatTheUserTypesAndEnterAccepts) {
  EXPECT_EQ(L"Contraseña 1", ask([](HWND dialog) {
              EXPECT_EQ(kPrompt, textOf(GetDlgItem(dialog, TextPrompt_Prompt)));
              type(dialog, L"Contraseña 1");
              press(dialog, VK_RETURN);
            }));
}

TEST_F(TextPromptDialog, ShowsNoneOfTheCharactersTyped) {
  ScreenPixels typedThis;
  ScreenPixels typedThat;
  const auto picture = [](ScreenPixels& pixels, const wchar_t* text) {
    return [&pixels, text](HWND dialog) {
      const HWND field = GetDlgItem(dialog, TextPrompt_Text);
      EXPECT_NE(SendMessageW(field, EM_GETPASSWORDCHAR, 0, 0), 0);
      type(dialog, text);
      for (int i = 0; i < 500 && GetWindowTextLengthW(field) < 5; ++i) Sleep(20);  // typed into another thread's window
      SendMessageW(field, WM_KILLFOCUS, 0, 0);                                     // no caret in the picture
      Sleep(100);
      pixels = capture(field);
      saveScreenshot(dialog, L"TextPrompt");
      PostMessageW(dialog, WM_COMMAND, TextPrompt_Accept, 0);
    };
  };
  EXPECT_EQ(L"clave", ask(picture(typedThis, L"clave")));
  EXPECT_EQ(L"WWWWW", ask(picture(typedThat, L"WWWWW")));
  EXPECT_FALSE(typedThis.pixels.empty());
  EXPECT_EQ(typedThis.pixels, typedThat.pixels);
}

TEST_F(TextPromptDialog, AnEmptyFieldIsAnEmptyText) {
  EXPECT_EQ(L"", ask([](HWND dialog) { press(dialog, VK_RETURN); }));
}

TEST_F(TextPromptDialog, TheButtonsAreAceptarAndCancelar) {
  EXPECT_EQ(L"abc", ask([](HWND dialog) {
              EXPECT_EQ(L"&Aceptar", textOf(GetDlgItem(dialog, TextPrompt_Accept)));
              EXPECT_EQ(L"&Cancelar", textOf(GetDlgItem(dialog, TextPrompt_Cancel)));
              type(dialog, L"abc");
              clickOn(dialog, GetDlgItem(dialog, TextPrompt_Accept));
            }));
  EXPECT_EQ(L"<none>", ask([](HWND dialog) {
              type(dialog, L"abc");
              clickOn(dialog, GetDlgItem(dialog, TextPrompt_Cancel));
            }));
}

TEST_F(TextPromptDialog, EscAndTheCloseBoxCancel) {
  EXPECT_EQ(L"<none>", ask([](HWND dialog) {
              type(dialog, L"abc");
              press(dialog, VK_ESCAPE);
            }));
  EXPECT_EQ(L"<none>", ask([](HWND dialog) { PostMessageW(dialog, WM_SYSCOMMAND, SC_CLOSE, 0); }));
}

TEST_F(TextPromptDialog, StandsOverTheActiveWindowWhichCannotBeUsedMeanwhile) {
  const HWND host = CreateWindowW(L"Static", L"Programa", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 50, 50, 400, 300, nullptr,
                                  nullptr, nullptr, nullptr);
  bringToForeground(host);
  EXPECT_EQ(L"x", ask([&](HWND dialog) {
              EXPECT_EQ(host, GetWindow(dialog, GW_OWNER));
              EXPECT_FALSE(IsWindowEnabled(host));
              type(dialog, L"x");
              press(dialog, VK_RETURN);
            }));
  EXPECT_TRUE(IsWindowEnabled(host));
  DestroyWindow(host);
}

TEST_F(TextPromptDialog, ALongPromptWrapsAndAnAmpersandIsShown) {
  EXPECT_EQ(L"", ask(
                     [](HWND dialog) {
                       saveScreenshot(dialog, L"TextPrompt_long");
                       press(dialog, VK_RETURN);
                     },
                     L"Escriba la contraseña de la copia de Pérez & Hijos, que es la misma que la del programa"));
}

}  // namespace
}  // namespace qev::test
