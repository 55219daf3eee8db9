// A user at one of the system's choosers, whose windows are not dialogs of ours.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>

namespace qev::test {

// Calls `show`, which shows a chooser of this title until the user closes it, and meanwhile `user`, on another thread.
// Returns the window that owned the chooser. Failures of the test: no chooser comes up within 20 seconds; it is still
// open 5 seconds after `user` has ended, and is then cancelled.
inline HWND useChooser(const std::wstring& title, const std::function<void()>& show,
                       const std::function<void(HWND chooser)>& user) {
  std::atomic<bool> over = false;
  HWND owner = nullptr;
  std::thread hands([&] {
    HWND chooser = nullptr;
    for (int i = 0; i < 400 && !chooser; ++i) {
      Sleep(50);
      chooser = FindWindowW(nullptr, title.c_str());
      if (chooser && !IsWindowVisible(chooser)) chooser = nullptr;
    }
    EXPECT_TRUE(chooser) << "no chooser came up";
    if (!chooser) return;
    Sleep(300);  // it fills its list after it is shown
    owner = GetWindow(chooser, GW_OWNER);
    user(chooser);
    for (int i = 0; i < 100 && !over; ++i) Sleep(50);
    EXPECT_TRUE(over) << "the chooser is still open";
    if (!over) PostMessageW(chooser, WM_COMMAND, IDCANCEL, 0);
  });
  show();
  over = true;
  hands.join();
  return owner;
}

}  // namespace qev::test
