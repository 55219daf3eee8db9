// A machine that is slow between making a form and showing it, so that what the form's timers wait for is due first.
#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>

namespace qev::test {

// While it lives, a dialog of this caption that the calling thread makes gets its first focus half a second late: after
// it is made and before it is shown. SetWindowsHookEx with WH_CBT.
class SlowToShow {
 public:
  explicit SlowToShow(const std::wstring& caption)
      : hook_(SetWindowsHookExW(WH_CBT, &hook, nullptr, GetCurrentThreadId())) {
    if (!hook_) throw std::runtime_error("no hook");
    caption_ = caption;
    delays_ = 0;
  }
  SlowToShow(const SlowToShow&) = delete;
  SlowToShow& operator=(const SlowToShow&) = delete;
  ~SlowToShow() { UnhookWindowsHookEx(hook_); }

  // How many forms it has kept from being shown.
  static int delays() { return delays_; }

 private:
  static LRESULT CALLBACK hook(int code, WPARAM wParam, LPARAM lParam) {
    if (code == HCBT_SETFOCUS) delay(GetAncestor(reinterpret_cast<HWND>(wParam), GA_ROOT));
    return CallNextHookEx(nullptr, code, wParam, lParam);
  }

  static void delay(HWND form) {
    wchar_t caption[100] = L"";
    GetWindowTextW(form, caption, 100);
    if (!form || IsWindowVisible(form) || caption != caption_) return;
    ++delays_;
    Sleep(500);
  }

  static inline std::wstring caption_;
  static inline int delays_ = 0;
  const HHOOK hook_;
};

}  // namespace qev::test
