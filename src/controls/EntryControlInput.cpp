// Keys, mouse and focus of the entry controls.
#include <windowsx.h>

#include <utility>

#include "controls/EntryControl.h"
#include "controls/FormFields.h"
#include "controls/ValidationLock.h"
#include "controls/WindowParts.h"
#include "platform/FlagScope.h"

namespace qev {
namespace {

constexpr std::int16_t kTab = 9;

std::int16_t shiftState() {
  const auto down = [](int key) { return GetKeyState(key) < 0; };
  return static_cast<std::int16_t>((down(VK_SHIFT) ? 1 : 0) | (down(VK_CONTROL) ? 2 : 0) | (down(VK_MENU) ? 4 : 0));
}

std::int16_t buttonOf(UINT message) {
  switch (message) {
    case WM_RBUTTONDOWN:
    case WM_RBUTTONUP: return 2;
    case WM_MBUTTONDOWN:
    case WM_MBUTTONUP: return 4;
    default: return 1;
  }
}

bool isPress(UINT message) {
  return message == WM_LBUTTONDOWN || message == WM_RBUTTONDOWN || message == WM_MBUTTONDOWN;
}

bool isRelease(UINT message) {
  return message == WM_LBUTTONUP || message == WM_RBUTTONUP || message == WM_MBUTTONUP;
}

}  // namespace

// ---------------------------------------------------------------------------------------------------------------------
// Keys and mouse

bool EntryControl::filterEdit(UINT message, WPARAM& wParam, LPARAM lParam, LRESULT& result) {
  const auto alive = shared_from_this();
  result = 0;
  try {
    return dispatchEdit(message, wParam, lParam, result);
  } catch (...) {
    reportCurrentError();
  }
  return true;
}

bool EntryControl::dispatchEdit(UINT message, WPARAM& wParam, LPARAM lParam, LRESULT& result) {
  if (isPress(message)) return mouseOnEdit(message, lParam);
  if (isRelease(message)) {
    result = edit_.defaultAnswer(message, wParam, lParam);
    mouseOnEdit(message, lParam);
    return true;
  }
  switch (message) {
    case WM_GETDLGCODE: result = dialogCode(wParam, lParam); return true;
    case WM_KEYDOWN:
    case WM_SYSKEYDOWN: return keyWentDown(message, wParam, lParam);
    case WM_CHAR: return keyPressed(wParam);
    case WM_SETFOCUS:
      result = edit_.defaultAnswer(message, wParam, lParam);
      focusArrived();
      return true;
    case WM_PAINT: return paintsEditBox();
    case WM_MOUSEWHEEL: return wheelTurned(GET_WHEEL_DELTA_WPARAM(wParam));
    case WM_KILLFOCUS:
      result = edit_.defaultAnswer(message, wParam, lParam);
      focusLost();
      focusLeft(reinterpret_cast<HWND>(wParam));
      return true;
    default: return false;
  }
}

// Enter and Escape belong to the control, Tab to the dialog; the text is selected by the control's own rule.
LRESULT EntryControl::dialogCode(WPARAM wParam, LPARAM lParam) {
  const LRESULT wanted = edit_.defaultAnswer(WM_GETDLGCODE, wParam, lParam) & ~(DLGC_HASSETSEL | DLGC_WANTTAB);
  const auto* message = reinterpret_cast<const MSG*>(lParam);
  const bool ours = message && (message->wParam == VK_RETURN || message->wParam == VK_ESCAPE) &&
                    (message->message == WM_KEYDOWN || message->message == WM_CHAR);
  return wanted | DLGC_WANTARROWS | DLGC_WANTCHARS | (ours ? DLGC_WANTMESSAGE : 0);
}

bool EntryControl::keyWentDown(UINT message, WPARAM& key, LPARAM lParam) {
  auto code = static_cast<std::int16_t>(key);
  if (raisesKeyDown()) raise(KeyDown, code, shiftState());
  if (!window_) return true;
  const std::int16_t wanted = code;
  if (message == WM_KEYDOWN) {
    keyDown(code, (HIWORD(lParam) & KF_REPEAT) != 0);
  } else {
    altKeyDown(code);
  }
  if (code == 0 && (wanted == VK_RETURN || wanted == VK_ESCAPE)) dropCharacterOf(wanted);
  key = static_cast<std::uint16_t>(code);
  return code == 0;
}

// A key that is swallowed types nothing either: its character is in the queue by now.
void EntryControl::dropCharacterOf(std::int16_t keyCode) const {
  MSG character{};
  if (edit_.hWnd() && PeekMessageW(&character, edit_.hWnd(), WM_CHAR, WM_CHAR, PM_NOREMOVE) &&
      character.wParam == static_cast<WPARAM>(keyCode)) {
    PeekMessageW(&character, edit_.hWnd(), WM_CHAR, WM_CHAR, PM_REMOVE);
  }
}

bool EntryControl::keyPressed(WPARAM& character) {
  auto key = static_cast<std::int16_t>(character);
  raise(KeyPress, key);
  if (!window_) return true;
  typing_ = true;
  if (!Locked()) {
    const std::wstring before = Text();
    const std::wstring after = general().FilterKey(before, key, dataType_);
    if (key != 0) characterTyped(key);
    if (after != before) {
      showText(after);
      edit_.caretToEnd();
      changed();
    }
  }
  if (key == kTab) key = 0;
  character = static_cast<std::uint16_t>(key);
  return key == 0;
}

void EntryControl::showText(const std::wstring& text) {
  const FlagScope once(ignoreChange_);
  edit_.setText(text);
}

void EntryControl::takeBack() {
  typing_ = false;
  modified_ = false;
  edit_.setText(savedText_);
}

void EntryControl::changed() {
  if (typing_) {
    modified_ = Text() != savedText_;
    if (modified_) raise(Change);
  }
  signalValueChanged();
}

void EntryControl::signalValueChanged() {
  if (site_ && site_->allowsChange(L"Value")) site_->propertyChanged(L"Value");
}

void EntryControl::mouseDown(std::int16_t, std::int16_t, POINT) {
  enteredByMouse_ = !inside_;
  typing_ = false;
}

// False: the message goes on to the edit box.
bool EntryControl::mouseOnEdit(UINT message, LPARAM lParam) {
  const POINT at{GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
  if (isPress(message)) {
    pressed_ = message == WM_LBUTTONDOWN;
    mouseDown(buttonOf(message), shiftState(), at);
    return false;
  }
  mouseUp(buttonOf(message), shiftState(), at);
  const RECT client = clientAreaOf(edit_.hWnd());
  const bool releasedOnIt = message == WM_LBUTTONUP && std::exchange(pressed_, false) && PtInRect(&client, at);
  if (releasedOnIt) clicked();
  return false;
}

// A press on the border enters the edit box. The system gives a control the mouse messages of its disabled edit box
// too.
bool EntryControl::mouseOnSurface(UINT message, LPARAM lParam) {
  if (!isPress(message) && !isRelease(message)) return false;
  POINT at{GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
  if (message == WM_LBUTTONDOWN && surfacePressed(at)) return true;
  if (IsWindowEnabled(edit_.hWnd())) {
    if (isPress(message)) enterByMouse();
    return true;
  }
  MapWindowPoints(window_, edit_.hWnd(), &at, 1);
  mouseOnEdit(message, MAKELPARAM(at.x, at.y));
  if (isPress(message)) SetFocus(window_);
  return true;
}

void EntryControl::enterByMouse() {
  enteredByMouse_ = !inside_;
  edit_.focus();
}

// ---------------------------------------------------------------------------------------------------------------------
// Focus

bool EntryControl::hasFocus() const {
  const HWND focused = GetFocus();
  return focused && (focused == window_ || focused == edit_.hWnd());
}

// The focus has come to the control or its edit box. After a message box or another application it has only come back.
void EntryControl::focusArrived() {
  if (IsWindowEnabled(edit_.hWnd()) && !edit_.hasFocus()) {
    edit_.focus();
    return;
  }
  if (std::exchange(inside_, true)) return;
  postSettle(GetAncestor(window_, GA_ROOT));  // a field that lost the focus to no window has not left yet
  enter();
}

void EntryControl::enter() {
  const bool byMouse = std::exchange(enteredByMouse_, false);
  if (Enabled()) {
    edit_.setBackColor(kWhite);
    if (!updating_) savedText_ = Text();
    repaint();
    if (!byMouse) edit_.selectAll();
    modified_ = false;
  } else if (!byMouse) {
    passFocusOn();
  }
}

// The stroke goes to whatever window is in the foreground: that must be the form.
void EntryControl::passFocusOn() const {
  if (GetForegroundWindow() == GetAncestor(window_, GA_ROOT) && anotherStopExists(window_)) focusNext(false);
}

// Nothing may be shown and no focus moved while the system tells that the focus moves: what follows from it is posted.
void EntryControl::focusLeft(HWND to) const {
  if (inside_ && isOtherControlOfForm(window_, to)) PostMessageW(window_, kLeave, ValidationLock::held(), 0);
}

// A focus move that the validation of another field caused starts no second one.
bool EntryControl::leave(bool duringValidation) {
  inside_ = false;
  typing_ = false;
  edit_.setBackColor(backColor_);
  repaint();
  return duringValidation || Update();
}

}  // namespace qev
