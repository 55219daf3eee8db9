// How long the windows of a thread go without their messages.
#pragma once

#include <windows.h>

#include <algorithm>

namespace qev::test {

// Measures from now on: the longest time between two ticks of a timer of its own, which needs the messages of this
// thread dispatched as every window does. REQUIRES: made, asked and destroyed by the thread that it measures.
class Silence {
 public:
  Silence()
      : window_(CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr)),
        last_(GetTickCount64()) {
    SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    SetTimer(window_, 1, kMilliseconds, &tick);
  }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;
  ~Silence() { DestroyWindow(window_); }

  // The longest one, in milliseconds, the one until now included.
  ULONGLONG longest() const { return std::max(longest_, GetTickCount64() - last_); }

  // How often there were messages.
  int ticks() const { return ticks_; }

 private:
  static constexpr UINT kMilliseconds = 50;

  static void CALLBACK tick(HWND window, UINT, UINT_PTR, DWORD) {
    auto& self = *reinterpret_cast<Silence*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    self.longest_ = self.longest();
    self.last_ = GetTickCount64();
    ++self.ticks_;
  }

  HWND window_;
  ULONGLONG last_;
  ULONGLONG longest_ = 0;
  int ticks_ = 0;
};

// What nobody takes for a program that hangs: Windows does after five seconds.
inline constexpr ULONGLONG kLongestSilence = 2000;

}  // namespace qev::test
