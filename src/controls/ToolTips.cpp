#include "controls/ToolTips.h"

#include <commctrl.h>

#include "platform/AutomationError.h"
#include "platform/Handle.h"

namespace qev {
namespace {

constexpr int kWidestLine = 400;  // pixels; longer texts wrap

HWND makeWindow(HWND form) {
  INITCOMMONCONTROLSEX classes{};
  classes.dwSize = sizeof classes;
  classes.dwICC = ICC_BAR_CLASSES;
  InitCommonControlsEx(&classes);
  return CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_ALWAYSTIP | TTS_NOPREFIX, 0, 0, 0, 0,
                         form, nullptr, moduleInstance(), nullptr);
}

}  // namespace

ToolTips::ToolTips(HWND form) : form_(form), window_(makeWindow(form)) {
  if (!window_) throw AutomationError(kOutOfMemory, TOOLTIPS_CLASSW);
  SendMessageW(window_, TTM_SETMAXTIPWIDTH, 0, kWidestLine);
}

ToolTips::~ToolTips() {
  if (IsWindow(window_)) DestroyWindow(window_);  // unless it went with the form
}

void ToolTips::add(HWND control, const std::wstring& text) {
  TTTOOLINFOW tool{};
  tool.cbSize = TTTOOLINFOW_V1_SIZE;  // what every version of the common controls knows
  tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
  tool.hwnd = form_;
  tool.lpszText = const_cast<wchar_t*>(text.c_str());  // copied
  for (HWND window = control; window; window = window == control ? GetWindow(control, GW_CHILD) : nullptr) {
    tool.uId = reinterpret_cast<UINT_PTR>(window);
    SendMessageW(window_, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
  }
}

}  // namespace qev
