// Shows a control in front of its siblings for the length of a scope.
#pragma once

#include <windows.h>

namespace qev {

// The control's place among its siblings, which is its place in the tab order of the form, is put back at the end.
class InFront {
 public:
  explicit InFront(HWND window) : window_(window), before_(GetWindow(window, GW_HWNDPREV)) { bring(); }
  InFront(const InFront&) = delete;
  InFront& operator=(const InFront&) = delete;
  ~InFront() {
    if (before_) place(before_, 0);
  }

  void bring() { place(HWND_TOP, SWP_SHOWWINDOW); }

 private:
  void place(HWND after, UINT flags) {
    SetWindowPos(window_, after, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE | flags);
  }

  HWND window_;
  HWND before_;
};

}  // namespace qev
