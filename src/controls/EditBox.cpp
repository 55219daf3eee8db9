#include "controls/EditBox.h"

#include <algorithm>

#include "controls/WindowParts.h"
#include "platform/AutomationError.h"
#include "platform/FlagScope.h"
#include "values/MGeneral.h"

namespace qev {
namespace {

constexpr wchar_t kName[] = L"Texto";
constexpr WORD kRightMargin = 2;  // pixels: with the control's own, as far from the border as on the left

DWORD styleOf(TextAlignment alignment) {
  switch (alignment) {
    case TextAlignment::Right: return ES_RIGHT;
    case TextAlignment::Center: return ES_CENTER;
    default: return ES_LEFT;
  }
}

bool highContrast() {
  HIGHCONTRASTW contrast{};
  contrast.cbSize = sizeof contrast;
  return SystemParametersInfoW(SPI_GETHIGHCONTRAST, sizeof contrast, &contrast, 0) &&
         (contrast.dwFlags & HCF_HIGHCONTRASTON) != 0;
}

std::int32_t wholeNumber(const Value& value, const Locale& locale) {
  std::int32_t number = 0;
  if (!roundToInt32(locale.toDouble(value), number)) throw AutomationError(kOverflow);
  return number;
}

// A property of the edit box by name; a null setter marks one that can only be read.
struct NamedProperty {
  const wchar_t* name;
  Value (*get)(const EditBox& box);
  void (*set)(EditBox& box, const Value& value, const Locale& locale);
};

RECT areaOf(const EditBox& box) {
  return areaInParent(box.hWnd());
}

void placeWith(EditBox& box, LONG RECT::*edge, const Value& value, const Locale& locale) {
  RECT area = areaOf(box);
  const LONG distance = wholeNumber(value, locale) - area.*edge;
  area.*edge += distance;
  if (edge == &RECT::left) area.right += distance;
  if (edge == &RECT::top) area.bottom += distance;
  box.place(area.left, area.top, area.right - area.left, area.bottom - area.top);
}

void resizeWith(EditBox& box, LONG RECT::*edge, LONG RECT::*from, const Value& value, const Locale& locale) {
  RECT area = areaOf(box);
  area.*edge = area.*from + wholeNumber(value, locale);
  box.place(area.left, area.top, area.right - area.left, area.bottom - area.top);
}

const NamedProperty kProperties[] = {
    {L"Alignment", [](const EditBox& box) -> Value { return static_cast<std::int32_t>(box.alignment()); },
     [](EditBox& box, const Value& value, const Locale& locale) {
       box.setAlignment(static_cast<TextAlignment>(wholeNumber(value, locale)));
     }},
    {L"BackColor", [](const EditBox& box) -> Value { return box.backColor(); },
     [](EditBox& box, const Value& value, const Locale& locale) { box.setBackColor(wholeNumber(value, locale)); }},
    {L"Enabled", [](const EditBox& box) -> Value { return box.enabled(); },
     [](EditBox& box, const Value& value, const Locale& locale) { box.setEnabled(locale.toBoolean(value)); }},
    {L"ForeColor", [](const EditBox& box) -> Value { return box.foreColor(); },
     [](EditBox& box, const Value& value, const Locale& locale) { box.setForeColor(wholeNumber(value, locale)); }},
    {L"Height",
     [](const EditBox& box) -> Value {
       const RECT area = areaOf(box);
       return static_cast<std::int32_t>(area.bottom - area.top);
     },
     [](EditBox& box, const Value& value, const Locale& locale) {
       resizeWith(box, &RECT::bottom, &RECT::top, value, locale);
     }},
    {L"hWnd",
     [](const EditBox& box) -> Value { return static_cast<std::int32_t>(reinterpret_cast<INT_PTR>(box.hWnd())); },
     nullptr},
    {L"Left", [](const EditBox& box) -> Value { return static_cast<std::int32_t>(areaOf(box).left); },
     [](EditBox& box, const Value& value, const Locale& locale) { placeWith(box, &RECT::left, value, locale); }},
    {L"Locked", [](const EditBox& box) -> Value { return box.locked(); },
     [](EditBox& box, const Value& value, const Locale& locale) { box.setLocked(locale.toBoolean(value)); }},
    {L"MaxLength", [](const EditBox& box) -> Value { return box.maxLength(); },
     [](EditBox& box, const Value& value, const Locale& locale) { box.setMaxLength(wholeNumber(value, locale)); }},
    {L"MultiLine", [](const EditBox&) -> Value { return false; }, nullptr},
    {L"Name", [](const EditBox&) -> Value { return std::wstring(kName); }, nullptr},
    {L"PasswordChar", [](const EditBox& box) -> Value { return box.passwordChar(); },
     [](EditBox& box, const Value& value, const Locale& locale) { box.setPasswordChar(locale.toText(value)); }},
    {L"SelLength", [](const EditBox& box) -> Value { return box.selLength(); },
     [](EditBox& box, const Value& value, const Locale& locale) {
       box.select(box.selStart(), wholeNumber(value, locale));
     }},
    {L"SelStart", [](const EditBox& box) -> Value { return box.selStart(); },
     [](EditBox& box, const Value& value, const Locale& locale) { box.select(wholeNumber(value, locale), 0); }},
    {L"SelText",
     [](const EditBox& box) -> Value {
       const auto start = static_cast<std::size_t>(box.selStart());
       const std::wstring text = box.text();
       return start < text.size() ? text.substr(start, static_cast<std::size_t>(box.selLength())) : std::wstring();
     },
     [](EditBox& box, const Value& value, const Locale& locale) {
       const std::wstring text = locale.toText(value);
       SendMessageW(box.hWnd(), EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(text.c_str()));
     }},
    {L"Text", [](const EditBox& box) -> Value { return box.text(); },
     [](EditBox& box, const Value& value, const Locale& locale) { box.setText(locale.toText(value)); }},
    {L"Top", [](const EditBox& box) -> Value { return static_cast<std::int32_t>(areaOf(box).top); },
     [](EditBox& box, const Value& value, const Locale& locale) { placeWith(box, &RECT::top, value, locale); }},
    {L"Visible",
     [](const EditBox& box) -> Value { return (GetWindowLongPtrW(box.hWnd(), GWL_STYLE) & WS_VISIBLE) != 0; },
     [](EditBox& box, const Value& value, const Locale& locale) {
       ShowWindow(box.hWnd(), locale.toBoolean(value) ? SW_SHOWNA : SW_HIDE);
     }},
    {L"Width",
     [](const EditBox& box) -> Value {
       const RECT area = areaOf(box);
       return static_cast<std::int32_t>(area.right - area.left);
     },
     [](EditBox& box, const Value& value, const Locale& locale) {
       resizeWith(box, &RECT::right, &RECT::left, value, locale);
     }},
};

const NamedProperty& propertyNamed(const std::wstring& name, const Locale& locale) {
  for (const NamedProperty& property : kProperties) {
    if (locale.equalIgnoringCase(property.name, name)) return property;
  }
  throw AutomationError(kNoSuchMember, name);
}

}  // namespace

HWND EditBox::makeWindow(HWND parent, const std::wstring& text, TextAlignment alignment) {
  const DWORD style = WS_CHILD | WS_VISIBLE | ES_AUTOHSCROLL | styleOf(alignment);
  const auto module = reinterpret_cast<HINSTANCE>(GetWindowLongPtrW(parent, GWLP_HINSTANCE));
  const HWND window =
      CreateWindowExW(WS_EX_NOPARENTNOTIFY, L"EDIT", text.c_str(), style, 0, 0, 0, 0, parent, nullptr, module, nullptr);
  if (!window) throw AutomationError(kOutOfMemory);
  return window;
}

void EditBox::adopt(HWND window) {
  window_ = window;
  SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  original_ =
      reinterpret_cast<WNDPROC>(SetWindowLongPtrW(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&procedure)));
  applyProperties();
}

void EditBox::create(HWND parent) {
  adopt(makeWindow(parent, textWithoutWindow_, alignment_));
}

void EditBox::destroy() {
  if (window_) DestroyWindow(window_);
}

LRESULT CALLBACK EditBox::procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* box = reinterpret_cast<EditBox*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  const WNDPROC original = box->original_;
  if (message == WM_DESTROY) box->textWithoutWindow_ = box->text();
  if (message == WM_NCDESTROY) {
    if (box->window_ == window) box->window_ = nullptr;
    return CallWindowProcW(original, window, message, wParam, lParam);
  }
  LRESULT result = 0;
  if (box->window_ == window && !box->recreating_ && box->filter_(message, wParam, lParam, result)) return result;
  return CallWindowProcW(original, window, message, wParam, lParam);
}

LRESULT EditBox::defaultAnswer(UINT message, WPARAM wParam, LPARAM lParam) {
  return window_ ? CallWindowProcW(original_, window_, message, wParam, lParam) : 0;
}

void EditBox::applyProperties() {
  SendMessageW(window_, WM_SETFONT, reinterpret_cast<WPARAM>(font_), FALSE);
  SendMessageW(window_, EM_SETMARGINS, EC_LEFTMARGIN | EC_RIGHTMARGIN, MAKELPARAM(0, kRightMargin));
  setMaxLength(maxLength_);
  setLocked(locked_);
  setPasswordChar(passwordChar_);
  EnableWindow(window_, enabled_);
}

// Nothing has changed when the new window cannot be made.
void EditBox::recreate(TextAlignment alignment) {
  const FlagScope recreating(recreating_);
  const HWND former = window_;
  const RECT old = areaOf(*this);
  const bool visible = (GetWindowLongPtrW(former, GWL_STYLE) & WS_VISIBLE) != 0;
  const bool focused = hasFocus();
  const auto start = selStart();
  const auto length = selLength();
  adopt(makeWindow(GetParent(former), text(), alignment));
  if (!visible) ShowWindow(window_, SW_HIDE);
  place(old.left, old.top, old.right - old.left, old.bottom - old.top);
  select(start, length);
  if (focused) SetFocus(window_);
  DestroyWindow(former);
}

void EditBox::focus() {
  if (window_) SetFocus(window_);
}

void EditBox::place(int left, int top, int width, int height) {
  MoveWindow(window_, left, top, std::max(width, 0), std::max(height, 0), TRUE);
}

std::wstring EditBox::text() const {
  return window_ ? textOf(window_) : textWithoutWindow_;
}

void EditBox::setText(const std::wstring& text) {
  if (window_) {
    SetWindowTextW(window_, text.c_str());
  } else {
    textWithoutWindow_ = text;
  }
}

std::int32_t EditBox::selStart() const {
  DWORD start = 0;
  SendMessageW(window_, EM_GETSEL, reinterpret_cast<WPARAM>(&start), 0);
  return static_cast<std::int32_t>(start);
}

std::int32_t EditBox::selLength() const {
  DWORD start = 0;
  DWORD end = 0;
  SendMessageW(window_, EM_GETSEL, reinterpret_cast<WPARAM>(&start), reinterpret_cast<LPARAM>(&end));
  return static_cast<std::int32_t>(end - start);
}

void EditBox::select(std::int32_t start, std::int32_t length) {
  const auto size = static_cast<std::int32_t>(text().size());
  start = ClampValue(start, 0, size);
  length = ClampValue(length, 0, size - start);
  SendMessageW(window_, EM_SETSEL, static_cast<WPARAM>(start), start + length);
}

void EditBox::selectAll() {
  select(0, INT32_MAX);
}

void EditBox::caretToEnd() {
  select(INT32_MAX, 0);
}

void EditBox::setAlignment(TextAlignment alignment) {
  if (alignment == alignment_) return;
  if (window_) recreate(alignment);
  alignment_ = alignment;
}

void EditBox::setMaxLength(std::int32_t characters) {
  maxLength_ = std::max(characters, 0);
  SendMessageW(window_, EM_SETLIMITTEXT, static_cast<WPARAM>(maxLength_), 0);
}

void EditBox::setLocked(bool locked) {
  locked_ = locked;
  SendMessageW(window_, EM_SETREADONLY, locked, 0);
}

void EditBox::setEnabled(bool enabled) {
  enabled_ = enabled;
  if (window_) EnableWindow(window_, enabled);
}

void EditBox::setPasswordChar(const std::wstring& character) {
  passwordChar_ = character.substr(0, 1);
  SendMessageW(window_, EM_SETPASSWORDCHAR, passwordChar_.empty() ? 0 : passwordChar_[0], 0);
  if (window_) InvalidateRect(window_, nullptr, TRUE);
}

void EditBox::setBackColor(Color color) {
  backColor_ = color;
  if (window_) InvalidateRect(window_, nullptr, TRUE);
}

void EditBox::setForeColor(Color color) {
  foreColor_ = color;
  if (window_) InvalidateRect(window_, nullptr, TRUE);
}

void EditBox::setFont(HFONT font) {
  font_ = font;
  SendMessageW(window_, WM_SETFONT, reinterpret_cast<WPARAM>(font), TRUE);
  SendMessageW(window_, EM_SETMARGINS, EC_LEFTMARGIN | EC_RIGHTMARGIN,
               MAKELPARAM(0, kRightMargin));  // which a new font sets by its width
}

Color EditBox::shownBackColor() const {
  return enabled_ || !highContrast() ? backColor_ : kSystemColor + COLOR_WINDOW;
}

HBRUSH EditBox::colors(HDC device) {
  const COLORREF back = translateColor(shownBackColor());
  if (!brush_ || brushColor_ != back) {
    brush_.reset(CreateSolidBrush(back));
    brushColor_ = back;
  }
  SetTextColor(device, enabled_ ? translateColor(foreColor_) : GetSysColor(COLOR_GRAYTEXT));
  SetBkColor(device, back);
  return brush_.get();
}

Value EditBox::property(const std::wstring& name, const Locale& locale) const {
  return propertyNamed(name, locale).get(*this);
}

void EditBox::setProperty(const std::wstring& name, const Value& value, const Locale& locale) {
  const NamedProperty& property = propertyNamed(name, locale);
  if (!property.set) throw AutomationError(kNoSuchMember, name);
  property.set(*this, value, locale);
}

}  // namespace qev
