#include "controls/EntryControl.h"

#include <utility>

#include "controls/FormFields.h"
#include "controls/InFront.h"
#include "controls/ValidationLock.h"
#include "controls/WindowParts.h"
#include "platform/AutomationError.h"
#include "platform/FlagScope.h"

namespace qev {
namespace {

// The edit box within the control, in pixels.
constexpr int kEditLeft = 4;
constexpr int kEditTop = 3;
constexpr int kWidthAround = 6;
constexpr int kHeightAround = 5;

qev::Value savedFont(const std::optional<ControlFont>& font) {
  return font ? qev::Value(font->toText()) : qev::Value(Empty{});
}

int dotsPerInch(HWND window) {
  return GetDeviceCaps(ClientDc(window).get(), LOGPIXELSY);
}

}  // namespace

EntryControl::EntryControl()
    : platform_(&systemPlatform()), edit_([this](UINT message, WPARAM& wParam, LPARAM lParam, LRESULT& result) {
        return filterEdit(message, wParam, lParam, result);
      }) {}

// ---------------------------------------------------------------------------------------------------------------------
// The window

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
  } catch (...) {
    if (message == WM_CREATE) return -1;
    reportCurrentError();
  }
  return 0;
}

void EntryControl::reportCurrentError() const noexcept {
  try {
    const std::wstring title = edit_.passwordChar().empty() ? Text() : L"";
    platform_->messages.tell(describeCurrentError(), title, message::kOk | message::kExclamation);
  } catch (...) {  // not even a message box can be shown
  }
}

LRESULT EntryControl::dispatch(UINT message, WPARAM wParam, LPARAM lParam) {
  if (mouseOnSurface(message, lParam)) return 0;
  switch (message) {
    case WM_CREATE: created(*reinterpret_cast<const CREATESTRUCTW*>(lParam)); return 0;
    case WM_SIZE: layOut(); return 0;
    case WM_ERASEBKGND: return TRUE;
    case WM_PAINT: paint(Painting(window_).device(), clientAreaOf(window_)); return 0;
    case WM_PRINTCLIENT: paint(reinterpret_cast<HDC>(wParam), clientAreaOf(window_)); return 0;
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
    case WM_DESTROY: announceAs({}); return 0;
    default:
      if (message == identityMessage()) return reinterpret_cast<LRESULT>(this);
      if (message == settleMessage()) {
        return inside_ && isOtherControlOfForm(window_, GetFocus()) && !leave(false) ? kSettleRefused : 0;
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
  const RECT client = clientAreaOf(window_);
  const RECT area = editArea(client.right, client.bottom);
  edit_.place(area.left, area.top, area.right - area.left, area.bottom - area.top);
}

void EntryControl::paint(HDC device, const RECT& client) {
  DrawBox(device, client.left, client.top, client.right - client.left, client.bottom - client.top,
          edit_.shownBackColor(), borderColor_, borderStyle_);
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
  announceAs(announced_);
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
    passFocusOn();
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
  announceAs(announced_);
}

// The edit box may be another window than the one that was named before.
void EntryControl::announceAs(const std::wstring& name) {
  const HWND box = edit_.hWnd();
  if (name == announced_ && announcedWindow_ == box) return;
  if (!announced_.empty()) platform_->accessibility.clearName(announcedWindow_);
  announced_ = name;
  announcedWindow_ = box;
  if (!announced_.empty()) platform_->accessibility.setName(box, announced_);
}

void EntryControl::readProperties(const PropertyBag& bag) {
  const Locale& locale = platform_->locale;
  setDatatype(static_cast<DataType>(bag.number(L"DataType", 0, locale)));
  setBackColor(bag.number(L"BackColor", kWhite, locale));
  setForeColor(bag.number(L"ForeColor", kBlack, locale));
  setBorderstyle(bag.number(L"BorderStyle", kSunkenBorder, locale));
  setBorderColor(bag.number(L"BorderColor", kBlack, locale));
  setFont(ControlFont::fromText(bag.text(L"Font", locale)));
  setAlignment(static_cast<TextAlignment>(bag.number(L"Alignment", 0, locale)));
  setMaxLength(bag.number(L"MaxLength", 0, locale));
  setEnabled(bag.truth(L"Enabled", true, locale));
  setLocked(bag.truth(L"Locked", false, locale));
  setText(bag.text(L"Text", locale));
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
// Validation

bool EntryControl::Update() {
  const auto alive = shared_from_this();
  typing_ = false;
  if (Locked()) return true;
  const ValidationLock lock;
  if (!lock.owned()) return true;
  const FlagScope updating(updating_);
  const bool accepted = !modified_ || acceptEntry();
  modified_ = false;
  if (accepted) entryAccepted();
  return accepted;
}

bool EntryControl::acceptEntry() {
  const std::wstring text = Text();
  if (const std::wstring refusal = general().ValidateValue(dataType_, text); !refusal.empty()) {
    refuse(refusal, message::kExclamation, text, {});
    return false;
  }
  edit_.setText(normalised(text));
  bool cancel = false;
  raise(AfterUpdate, cancel);
  if (cancel) {
    edit_.focus();
    edit_.setText(savedText_);
  }
  return !cancel;
}

void EntryControl::refuse(const std::wstring& text, std::uint32_t icon, const std::wstring& entry,
                          const std::wstring& replacement) {
  InFront front(window_);
  edit_.focus();
  platform_->eventLoop.yield();
  if (!window_) return;
  platform_->messages.tell(text, entry, message::kOk | icon);
  platform_->eventLoop.yield();
  if (!window_) return;
  front.bring();
  edit_.focus();
  typing_ = false;  // keys typed ahead do not make the replacement of the entry a change by the user
  edit_.setText(replacement);
}

}  // namespace qev
