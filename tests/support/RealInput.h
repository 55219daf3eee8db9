// Real key strokes and mouse clicks for the windows of a test, which must be on the same thread and in the foreground.
#pragma once

#include <windows.h>

#include <functional>
#include <string_view>

namespace qev::test {

// Dispatches messages, as the dialog loop of `form` would, until none has come for a short while. False when they have
// not stopped coming before the deadline, in milliseconds.
bool pumpUntilIdle(HWND form, DWORD deadline = 5000);

// Dispatches messages until `condition` holds; false when it does not before the deadline.
bool pumpUntil(HWND form, const std::function<bool()>& condition, DWORD deadline = 5000);

// Shows a window and makes it the one that gets the keys.
void bringToForeground(HWND form);

// The modifier keys that are down around a stroke.
enum Modifier : unsigned { kNoModifier = 0, kShift = 1, kControl = 2, kAlt = 4 };

// Presses and releases a virtual key, then pumps until idle. SendInput.
void press(HWND form, WORD virtualKey, unsigned modifiers = kNoModifier);

// Types characters, each by its key on the present layout (or as a packet where it has none), then pumps until idle.
void type(HWND form, std::wstring_view text);

enum class Button { Left, Right, Middle };

// Moves the mouse to a point of `window` in client pixels and clicks, then pumps until idle.
void clickAt(HWND form, HWND window, int x, int y, Button button = Button::Left);

// The same in the middle of the window.
void clickOn(HWND form, HWND window, Button button = Button::Left);

}  // namespace qev::test
