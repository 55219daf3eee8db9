// The user of a test's forms: the hands are a second thread with real keys and clicks (support/RealInput.h), while the
// test's own thread is inside a modal form. On a busy machine a form may have come up and not be in front yet, the one
// before it not be gone, a control not be enabled: a user sees that and waits, and so does everything here.
#pragma once

#include <windows.h>

#include <chrono>
#include <functional>
#include <string>
#include <string_view>

#include "support/RealInput.h"

namespace qev::test {

// Looks every few milliseconds whether `condition` holds; false when it does not within the limit.
bool waitFor(const std::function<bool()>& condition, std::chrono::milliseconds limit = std::chrono::seconds(20));

// Test fixtures derive from it, so that what they and their tests press, type and click is done this way. What cannot
// be done within 10 seconds is a failure of the test that says why, and is left undone.
//
// Whatever the user does is over when the thread of the forms has dealt with it and has nothing left to do, or 10
// seconds later.
class Hands {
 public:
  // Calls `show`, which shows forms until the user has closed them, and meanwhile `user`, on another thread, as soon as
  // the form is visible that findForm() finds. Returns when both have ended. Failures of the test: `show` throws; no
  // such form comes up; forms are still open 10 seconds after `user` has ended, which are then closed.
  //
  // REQUIRES: no other call is under way. Both threads have the DPI awareness of the caller.
  static void use(const std::wstring& caption, int control, const std::function<void()>& show,
                  const std::function<void(HWND form)>& user);

  // --- what there is to see ---

  // The visible dialog of this caption with a control of this number (0: with any), or null.
  static HWND findForm(const std::wstring& caption, int control = 0);

  // Whether the window is gone within 5 seconds.
  static bool closed(HWND window);

  static std::wstring windowText(HWND window);

  // The edit box of an entry control; null for any other control.
  static HWND editOf(HWND form, int id);

  // The text of a control; of an entry control, that of its edit box.
  static std::wstring textOf(HWND form, int id);

  static bool readOnly(HWND form, int id);

  // The number of the control that has the focus, itself or in its edit box; 0 when none has. GetGUIThreadInfo.
  static int focusOf(HWND form);

  // --- what the user does ---

  // Waits until the form can be used, is in front and has the focus in it. Brings it there after 2 seconds: the display
  // may tell, late, that the window before it has lost the keyboard, which leaves none in front. SetForegroundWindow.
  static void toFront(HWND form);

  // Clicks in the middle of a control, once it is visible, enabled, not covered and stands still, and its form is in
  // front.
  static void click(HWND control);
  static void click(HWND form, int id);

  // Clicks on a field, which has the focus then. Never makes a double click of two.
  static void focus(HWND form, int id);

  // Presses a key, once the form is in front.
  static void press(HWND form, WORD virtualKey, unsigned modifiers = kNoModifier);

  // Presses Alt and a letter and waits until `done` holds; false when it does not within 10 seconds.
  static bool pressAccessKey(HWND form, WORD letter, const std::function<bool()>& done);

  // Types into the field that has the focus, over what is selected; and the whole field again, at most twice, where the
  // text is not what was typed.
  static void type(HWND form, std::wstring_view text);

  // Types over what a field holds and leaves it with Tab.
  static void enter(HWND form, int id, std::wstring_view text);
};

}  // namespace qev::test
