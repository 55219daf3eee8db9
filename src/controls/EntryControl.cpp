#include "controls/EntryControl.h"

#include <windowsx.h>

#include <utility>

#include "controls/ValidationLock.h"
#include "platform/AutomationError.h"

namespace qev {
namespace {

constexpr UINT kLeave = WM_USER + 1;    // the focus went to another control of the form; wParam: during a validation
constexpr LRESULT kRefused = 0x716576;  // answer to settleMessage(): the entry was refused

// Asks a control whether the focus has gone to another one of the form, and to leave if so. Registered: sent to every
// window of a form, it means nothing to others.
UINT settleMessage() {
  static const UINT message = RegisterWindowMessageW(L"QevBackup.EntryControl.Settle");
  return message;
}

BOOL CALLBACK postSettle(HWND child, LPARAM) {
  PostMessageW(child, settleMessage(), 0, 0);
  return TRUE;
}

BOOL CALLBACK sendSettle(HWND child, LPARAM accepted) {
  if (SendMessageW(child, settleMessage(), 0, 0) == kRefused) *reinterpret_cast<bool*>(accepted) = false;
  return TRUE;
}

constexpr std::int16_t kTab = 9;

// The edit box within the control, in pixels.
constexpr int kEditLeft = 4;
constexpr int kEditTop = 3;
constexpr int kWidthAround = 6;
constexpr int kHeightAround = 5;

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

// Sets a flag for the length of a scope.
class FlagScope {
 public:
  explicit FlagScope(bool& flag) : flag_(flag), old_(std::exchange(flag, true)) {}
  FlagScope(const FlagScope&) = delete;
  FlagScope& operator=(const FlagScope&) = delete;
  ~FlagScope() { flag_ = old_; }

 private:
  bool& flag_;
  bool old_;
};

// Shows a control in front of its siblings. Its place among them, which is its place in the tab order of the form, is
// put back at the end.
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

std::int32_t readNumber(const PropertyBag& bag, const wchar_t* key, std::int32_t fallback) {
  std::int32_t number = fallback;
  roundToInt32(numericValue(bag.read(key, fallback)), number);
  return number;
}

bool readTruth(const PropertyBag& bag, const wchar_t* key, bool fallback, const Locale& locale) {
  try {
    return locale.toBoolean(bag.read(key, fallback));
  } catch (const AutomationError&) {
    return fallback;
  }
}

std::wstring readText(const PropertyBag& bag, const wchar_t* key, const Locale& locale) {
  try {
    return locale.toText(bag.read(key, std::wstring()));
  } catch (const AutomationError&) {
    return {};
  }
}

qev::Value savedFont(const std::optional<ControlFont>& font) {
  return font ? qev::Value(font->toText()) : qev::Value(Empty{});
}

int dotsPerInch(HWND window) {
  const HDC device = GetDC(window);
  const int dots = GetDeviceCaps(device, LOGPIXELSY);
  ReleaseDC(window, device);
  return dots;
}

}  // namespace

EntryControl::EntryControl()
    : platform_(&systemPlatform()), edit_([this](UINT message, WPARAM& wParam, LPARAM lParam, LRESULT& result) {
        return filterEdit(message, wParam, lParam, result);
      }) {}

// ---------------------------------------------------------------------------------------------------------------------
// The window

void EntryControl::registerWindowClass(HINSTANCE module, const wchar_t* name, WNDPROC procedure) {
  WNDCLASSEXW definition{};
  definition.cbSize = sizeof definition;
  definition.style = CS_HREDRAW | CS_VREDRAW;
  definition.lpfnWndProc = procedure;
  definition.cbWndExtra = sizeof(EntryControl*);
  definition.hInstance = module;
  definition.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  definition.lpszClassName = name;
  if (!RegisterClassExW(&definition) && GetLastError() != ERROR_CLASS_ALREADY_EXISTS)
    throw AutomationError(kOutOfMemory, name);
}

void EntryControl::unregisterWindowClass(HINSTANCE module, const wchar_t* name) {
  UnregisterClassW(name, module);
}

EntryControl* EntryControl::fromWindow(HWND window, WNDPROC procedure) {
  if (!window || GetClassLongPtrW(window, GCLP_WNDPROC) != reinterpret_cast<ULONG_PTR>(procedure)) return nullptr;
  return reinterpret_cast<EntryControl*>(GetWindowLongPtrW(window, 0));
}

LRESULT EntryControl::procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam,
                                std::shared_ptr<EntryControl> (*make)()) {
  if (message == WM_NCCREATE) {
    try {
      const auto control = make();
      control->window_ = window;
      control->self_ = control;
      SetWindowLongPtrW(window, 0, reinterpret_cast<LONG_PTR>(control.get()));
    } catch (const std::exception&) {
      return FALSE;
    }
  }
  auto* control = reinterpret_cast<EntryControl*>(GetWindowLongPtrW(window, 0));
  if (!control) return DefWindowProcW(window, message, wParam, lParam);
  const auto alive = control->shared_from_this();
  if (message == WM_NCDESTROY) {
    SetWindowLongPtrW(window, 0, 0);
    control->window_ = nullptr;
    control->self_.reset();
    return DefWindowProcW(window, message, wParam, lParam);
  }
  return control->handle(message, wParam, lParam);
}

// No exception may reach the system's frames.
LRESULT EntryControl::handle(UINT message, WPARAM wParam, LPARAM lParam) {
  try {
    return dispatch(message, wParam, lParam);
  } catch (const AutomationError& error) {
    if (message == WM_CREATE) return -1;
    report(error.description());
  } catch (const std::exception&) {
    if (message == WM_CREATE) return -1;
    report(describeError(kOutOfMemory));
  }
  return 0;
}

void EntryControl::report(const std::wstring& description) const {
  try {
    const std::wstring title = edit_.passwordChar().empty() ? Text() : L"";
    platform_->messages.show(description, title, message::kOk | message::kExclamation);
  } catch (const std::exception&) {  // not even a message box can be shown
  }
}

LRESULT EntryControl::dispatch(UINT message, WPARAM wParam, LPARAM lParam) {
  if (isPress(message) || isRelease(message)) {
    mouseOnDisabledEdit(message, lParam);
    return 0;
  }
  switch (message) {
    case WM_CREATE: created(*reinterpret_cast<const CREATESTRUCTW*>(lParam)); return 0;
    case WM_SIZE: layOut(); return 0;
    case WM_ERASEBKGND: return TRUE;
    case WM_PAINT: paintWindow(); return 0;
    case WM_PRINTCLIENT: {
      RECT client{};
      GetClientRect(window_, &client);
      paint(reinterpret_cast<HDC>(wParam), client);
      return 0;
    }
    case WM_CTLCOLOREDIT:
    case WM_CTLCOLORSTATIC: return reinterpret_cast<LRESULT>(edit_.colors(reinterpret_cast<HDC>(wParam)));
    case WM_SYSCOLORCHANGE: repaint(); return 0;
    case WM_SETFONT:
      containerFont_ = reinterpret_cast<HFONT>(wParam);
      applyFont();
      return 0;
    case WM_GETFONT: return reinterpret_cast<LRESULT>(edit_.font());
    case WM_GETTEXTLENGTH:
    case WM_GETTEXT:
      // For whoever knows the control by its id; a password stays inside.
      if (!edit_.passwordChar().empty()) {
        if (message == WM_GETTEXT && wParam) *reinterpret_cast<wchar_t*>(lParam) = L'\0';
        return 0;
      }
      return edit_.defaultAnswer(message, wParam, lParam);
    case WM_SETTEXT: setText(lParam ? reinterpret_cast<const wchar_t*>(lParam) : L""); return TRUE;
    case WM_ENABLE: setEnabled(Enabled()); return 0;
    case WM_COMMAND:
      if (HIWORD(wParam) == EN_CHANGE && !ignoreChange_ && !edit_.recreating()) changed();
      return 0;
    case WM_SETFOCUS: focusArrived(); return 0;
    case WM_KILLFOCUS: focusLeft(reinterpret_cast<HWND>(wParam)); return 0;
    case kLeave:
      if (inside_ && !hasFocus()) leave(wParam != 0);
      return 0;
    default:
      if (message == settleMessage()) {
        return inside_ && isOtherControlOfForm(GetFocus()) && !leave(false) ? kRefused : 0;
      }
      return DefWindowProcW(window_, message, wParam, lParam);
  }
}

void EntryControl::created(const CREATESTRUCTW& creation) {
  SetWindowLongPtrW(window_, GWL_STYLE, GetWindowLongPtrW(window_, GWL_STYLE) | WS_CLIPCHILDREN);
  edit_.setBackColor(backColor_);
  edit_.setText(creation.lpszName ? creation.lpszName : L"");
  edit_.create(window_);
  layOut();
}

RECT EntryControl::editArea(int width, int height) const {
  return {kEditLeft, kEditTop, kEditLeft + width - kWidthAround, kEditTop + height - kHeightAround};
}

void EntryControl::layOut() {
  RECT client{};
  GetClientRect(window_, &client);
  const RECT area = editArea(client.right, client.bottom);
  edit_.place(area.left, area.top, area.right - area.left, area.bottom - area.top);
}

void EntryControl::paintWindow() {
  PAINTSTRUCT painting{};
  const HDC device = BeginPaint(window_, &painting);
  RECT client{};
  GetClientRect(window_, &client);
  paint(device, client);
  EndPaint(window_, &painting);
}

void EntryControl::paint(HDC device, const RECT& client) {
  DrawBox(device, client.left, client.top, client.right - client.left, client.bottom - client.top, edit_.backColor(),
          borderColor_, borderStyle_);
}

void EntryControl::repaint() {
  if (window_) RedrawWindow(window_, nullptr, nullptr, RDW_INVALIDATE | RDW_ALLCHILDREN);
}

// ---------------------------------------------------------------------------------------------------------------------
// Properties

MGeneral EntryControl::general() const {
  return {platform_->locale, platform_->clock, platform_->sound, platform_->keyboard};
}

void EntryControl::setSite(ControlSite* site) {
  site_ = site;
  applyFont();
}

void EntryControl::setDatatype(DataType dataType) {
  dataType_ = dataType;
  if (dataType == DataType::Password) edit_.setPasswordChar(L"*");
}

void EntryControl::setBackColor(Color color) {
  backColor_ = color;
  if (!inside_ || !Enabled()) edit_.setBackColor(color);
  repaint();
}

void EntryControl::setForeColor(Color color) {
  edit_.setForeColor(color);
}

void EntryControl::setBorderstyle(int style) {
  borderStyle_ = style;
  repaint();
}

void EntryControl::setBorderColor(Color color) {
  borderColor_ = color;
  repaint();
}

void EntryControl::setFont(std::optional<ControlFont> font) {
  font_ = std::move(font);
  applyFont();
}

void EntryControl::applyFont() {
  const std::optional<ControlFont> wanted = font_ || !site_ ? font_ : site_->ambientFont();
  UniqueFont made = wanted ? wanted->create(dotsPerInch(window_)) : UniqueFont();
  edit_.setFont(made ? made.get() : containerFont_);
  ownFont_ = std::move(made);  // the former font may go now
}

void EntryControl::setAlignment(TextAlignment alignment) {
  edit_.setAlignment(alignment);
}

void EntryControl::setMaxLength(std::int32_t characters) {
  edit_.setMaxLength(characters);
}

void EntryControl::setEnabled(bool enabled) {
  const bool focused = edit_.hasFocus();
  edit_.setEnabled(enabled);
  if (!IsWindowEnabled(window_)) EnableWindow(edit_.hWnd(), FALSE);
  if (focused && !enabled) {  // a disabled window must not keep the keyboard
    SetFocus(window_);
    if (anotherStopExists()) focusNext(false);
  } else if (enabled && window_ && GetFocus() == window_) {  // clicked while it was disabled: now it is entered
    inside_ = false;
    edit_.focus();
  }
  repaint();
}

void EntryControl::setLocked(bool locked) {
  edit_.setLocked(locked);
}

void EntryControl::setText(const std::wstring& text) {
  if (typing_) return;
  modified_ = false;
  edit_.setText(text);
  savedText_ = text;
  if (site_) site_->propertyChanged(L"Text");
}

qev::Value EntryControl::Value() const {
  return general().TextToValue(dataType_, Text());
}

void EntryControl::setValue(const qev::Value& value) {
  if (typing_) return;
  modified_ = false;
  edit_.setText(normalised(value));
  savedText_ = Text();
}

std::wstring EntryControl::normalised(const qev::Value& value) const {
  const std::wstring format = site_ ? site_->dataFormat() : std::wstring();
  if (format.empty()) return general().ValueToText(value, dataType_);
  try {
    return isMissing(value) ? std::wstring() : platform_->locale.format(value, format);
  } catch (const AutomationError&) {
    return {};
  }
}

qev::Value EntryControl::TBox(const std::wstring& procName) const {
  return edit_.property(procName, platform_->locale);
}

void EntryControl::setTBox(const std::wstring& procName, const qev::Value& value) {
  edit_.setProperty(procName, value, platform_->locale);
}

void EntryControl::readProperties(const PropertyBag& bag) {
  const Locale& locale = platform_->locale;
  setDatatype(static_cast<DataType>(readNumber(bag, L"DataType", 0)));
  setBackColor(readNumber(bag, L"BackColor", kWhite));
  setForeColor(readNumber(bag, L"ForeColor", kBlack));
  setBorderstyle(readNumber(bag, L"BorderStyle", kSunkenBorder));
  setBorderColor(readNumber(bag, L"BorderColor", kBlack));
  setFont(ControlFont::fromText(readText(bag, L"Font", locale)));
  setAlignment(static_cast<TextAlignment>(readNumber(bag, L"Alignment", 0)));
  setMaxLength(readNumber(bag, L"MaxLength", 0));
  setEnabled(readTruth(bag, L"Enabled", true, locale));
  setLocked(readTruth(bag, L"Locked", false, locale));
  setText(readText(bag, L"Text", locale));
}

void EntryControl::writeProperties(PropertyBag& bag) const {
  bag.write(L"DataType", static_cast<std::int32_t>(dataType_), 0);
  bag.write(L"BackColor", backColor_, kWhite);
  bag.write(L"ForeColor", ForeColor(), kBlack);
  bag.write(L"BorderStyle", borderStyle_, kSunkenBorder);
  bag.write(L"BorderColor", borderColor_, kBlack);
  bag.write(L"Font", savedFont(font_), Empty{});
  bag.write(L"Alignment", static_cast<std::int32_t>(Alignment()), 0);
  bag.write(L"MaxLength", MaxLength(), 0);
  bag.write(L"Enabled", Enabled(), true);
  bag.write(L"Locked", Locked(), false);
  bag.write(L"Text", Text(), std::wstring());
}

// ---------------------------------------------------------------------------------------------------------------------
// Keys and mouse

bool EntryControl::filterEdit(UINT message, WPARAM& wParam, LPARAM lParam, LRESULT& result) {
  const auto alive = shared_from_this();
  result = 0;
  try {
    return dispatchEdit(message, wParam, lParam, result);
  } catch (const AutomationError& error) {
    report(error.description());
  } catch (const std::exception&) {
    report(describeError(kOutOfMemory));
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
    case WM_SYSKEYDOWN: return keyWentDown(message, wParam);
    case WM_CHAR: return keyPressed(wParam);
    case WM_SETFOCUS:
      result = edit_.defaultAnswer(message, wParam, lParam);
      focusArrived();
      return true;
    case WM_KILLFOCUS:
      result = edit_.defaultAnswer(message, wParam, lParam);
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

bool EntryControl::keyWentDown(UINT message, WPARAM& key) {
  auto code = static_cast<std::int16_t>(key);
  if (KeyDown) KeyDown(code, shiftState());
  if (message == WM_KEYDOWN) keyDown(code);  // with Alt down, a synthesised Tab would switch applications
  key = static_cast<std::uint16_t>(code);
  return code == 0;
}

bool EntryControl::keyPressed(WPARAM& character) {
  auto key = static_cast<std::int16_t>(character);
  if (KeyPress) KeyPress(key);
  typing_ = true;
  if (!Locked()) {
    const std::wstring before = Text();
    const std::wstring after = general().FilterKey(before, key, dataType_);
    if (after != before) {
      {
        const FlagScope once(ignoreChange_);
        edit_.setText(after);
        edit_.caretToEnd();
      }
      changed();
    }
  }
  if (key == kTab) key = 0;
  character = static_cast<std::uint16_t>(key);
  return key == 0;
}

void EntryControl::changed() {
  if (typing_) {
    modified_ = Text() != savedText_;
    if (modified_ && Change) Change();
  }
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
  RECT client{};
  GetClientRect(edit_.hWnd(), &client);
  const bool clicked = message == WM_LBUTTONUP && std::exchange(pressed_, false) && PtInRect(&client, at);
  if (clicked && Click) Click();
  return false;
}

// The system gives the mouse messages of a disabled window to its parent; a click on the border enters the edit box.
void EntryControl::mouseOnDisabledEdit(UINT message, LPARAM lParam) {
  if (IsWindowEnabled(edit_.hWnd())) {
    if (!isPress(message)) return;
    enteredByMouse_ = !inside_;
    edit_.focus();
    return;
  }
  POINT at{GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
  MapWindowPoints(window_, edit_.hWnd(), &at, 1);
  mouseOnEdit(message, MAKELPARAM(at.x, at.y));
  if (isPress(message)) SetFocus(window_);
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
  const HWND form = GetAncestor(window_, GA_ROOT);
  EnumChildWindows(form, &postSettle, 0);  // a field that lost the focus to no window has not left yet
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
  } else if (!byMouse && anotherStopExists()) {
    focusNext(false);
  }
}

// Whether Tab would ever reach a control of the form that keeps the focus. Without one, disabled fields would send it
// around for ever.
bool EntryControl::anotherStopExists() const {
  const HWND form = GetAncestor(window_, GA_ROOT);
  const HWND first = GetNextDlgTabItem(form, window_, FALSE);
  HWND stop = first;
  do {
    const bool field = stop && GetClassLongPtrW(stop, GCLP_WNDPROC) == GetClassLongPtrW(window_, GCLP_WNDPROC);
    const bool disabledField = field && !reinterpret_cast<const EntryControl*>(GetWindowLongPtrW(stop, 0))->Enabled();
    if (stop && !disabledField) return true;
    stop = GetNextDlgTabItem(form, stop, FALSE);
  } while (stop && stop != first && stop != window_);
  return false;
}

// Nothing may be shown and no focus moved while the system tells that the focus moves: what follows from it is posted.
void EntryControl::focusLeft(HWND to) const {
  if (inside_ && isOtherControlOfForm(to)) PostMessageW(window_, kLeave, ValidationLock::held(), 0);
}

bool EntryControl::isOtherControlOfForm(HWND window) const {
  const HWND form = GetAncestor(window_, GA_ROOT);
  return window && window != form && window != window_ && !IsChild(window_, window) &&
         GetAncestor(window, GA_ROOT) == form;
}

// A focus move that the validation of another field caused starts no second one.
bool EntryControl::leave(bool duringValidation) {
  inside_ = false;
  typing_ = false;
  edit_.setBackColor(backColor_);
  repaint();
  return duringValidation || Update();
}

bool EntryControl::settleAll(HWND form) {
  bool accepted = true;
  EnumChildWindows(form, &sendSettle, reinterpret_cast<LPARAM>(&accepted));
  return accepted;
}

// ---------------------------------------------------------------------------------------------------------------------
// Validation

bool EntryControl::Update() {
  const auto alive = shared_from_this();
  typing_ = false;
  if (Locked()) return true;
  const ValidationLock lock;
  if (!lock.owned()) return true;
  const FlagScope updating(updating_);
  const bool accepted = !modified_ || validateAndNormalise();
  modified_ = false;
  if (accepted) savedText_.clear();
  return accepted;
}

bool EntryControl::validateAndNormalise() {
  const std::wstring text = Text();
  if (const std::wstring message = general().ValidateValue(dataType_, text); !message.empty()) {
    refuse(message, text);
    return false;
  }
  edit_.setText(normalised(text));
  bool cancel = false;
  if (AfterUpdate) AfterUpdate(cancel);
  if (cancel) {
    edit_.focus();
    edit_.setText(savedText_);
  }
  return !cancel;
}

void EntryControl::refuse(const std::wstring& message, const std::wstring& text) {
  InFront front(window_);
  edit_.focus();
  platform_->eventLoop.yield();
  if (!window_) return;
  platform_->messages.show(message, text, message::kOk | message::kExclamation);
  platform_->eventLoop.yield();
  if (!window_) return;
  front.bring();
  edit_.focus();
  typing_ = false;  // keys typed ahead do not make the discarding of the entry a change by the user
  edit_.setText({});
}

}  // namespace qev
