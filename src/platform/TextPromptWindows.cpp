#include "platform/TextPromptWindows.h"

#include <windows.h>

#include "platform/AutomationError.h"
#include "platform/Module.h"
#include "resources/resource.h"

namespace qev {
namespace {

struct Prompt {
  const std::wstring& text;
  const std::wstring& title;
  std::wstring typed;
};

std::wstring textOf(HWND field) {
  std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(field)) + 1, L'\0');
  text.resize(static_cast<std::size_t>(GetWindowTextW(field, text.data(), static_cast<int>(text.size()))));
  return text;
}

INT_PTR CALLBACK dialogProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_INITDIALOG) {
    const auto& prompt = *reinterpret_cast<const Prompt*>(lParam);
    SetWindowLongPtrW(window, DWLP_USER, lParam);
    SetWindowTextW(window, prompt.title.c_str());
    SetDlgItemTextW(window, TextPrompt_Prompt, prompt.text.c_str());
    return TRUE;
  }
  if (message != WM_COMMAND) return FALSE;
  const int id = LOWORD(wParam);
  if (id != TextPrompt_Accept && id != TextPrompt_Cancel) return FALSE;
  auto& prompt = *reinterpret_cast<Prompt*>(GetWindowLongPtrW(window, DWLP_USER));
  if (id == TextPrompt_Accept) prompt.typed = textOf(GetDlgItem(window, TextPrompt_Text));
  EndDialog(window, id);
  return TRUE;
}

}  // namespace

std::optional<std::wstring> TextPromptWindows::ask(const std::wstring& prompt, const std::wstring& title) {
  Prompt asked{prompt, title, {}};
  const INT_PTR pressed = DialogBoxParamW(moduleInstance(), L"TEXTPROMPT", GetActiveWindow(), &dialogProcedure,
                                          reinterpret_cast<LPARAM>(&asked));
  if (pressed == TextPrompt_Accept) return asked.typed;
  if (pressed == TextPrompt_Cancel) return std::nullopt;
  throw AutomationError(kOutOfMemory);
}

}  // namespace qev
