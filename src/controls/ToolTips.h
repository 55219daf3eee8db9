// The tool tips of a form: one window that shows a text beside the control on which the mouse rests.
#pragma once

#include <windows.h>

#include <string>

namespace qev {

class ToolTips {
 public:
  // Makes the window, hidden, for the controls of `form`. Throws 7 when it cannot be made. TOOLTIPS_CLASS.
  explicit ToolTips(HWND form);
  ToolTips(const ToolTips&) = delete;
  ToolTips& operator=(const ToolTips&) = delete;
  ~ToolTips();

  // Shows `text` while the mouse rests on `control` or its edit box. TTM_ADDTOOLW.
  void add(HWND control, const std::wstring& text);

  HWND hWnd() const { return window_; }

 private:
  HWND form_;
  HWND window_;
};

}  // namespace qev
