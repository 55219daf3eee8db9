#include "controls/ModalForm.h"

#include <utility>
#include <vector>

#include "controls/FieldNames.h"
#include "controls/PropertyBag.h"
#include "controls/ToolTips.h"
#include "controls/UComboBox.h"
#include "controls/UTextBox.h"
#include "controls/VisualStyles.h"
#include "controls/WindowParts.h"
#include "platform/AutomationError.h"
#include "platform/Handle.h"

namespace qev {
namespace {

// The window classes of the entry controls, for as long as a form is shown: nothing of them stays when the library is
// unloaded.
class EntryControlClasses {
 public:
  EntryControlClasses() {
    UTextBox::registerClass(moduleInstance());
    UComboBox::registerClass(moduleInstance());
  }
  EntryControlClasses(const EntryControlClasses&) = delete;
  EntryControlClasses& operator=(const EntryControlClasses&) = delete;
  ~EntryControlClasses() {
    UComboBox::unregisterClass(moduleInstance());
    UTextBox::unregisterClass(moduleInstance());
  }
};

// Keeps a form's name among the forms that are open.
class ShownForm {
 public:
  ShownForm(FormSession& session, const wchar_t* name) : session_(session), name_(name) {
    if (!session_.formsShown.insert(name_).second) throw AutomationError(kFormAlreadyShown);
  }
  ShownForm(const ShownForm&) = delete;
  ShownForm& operator=(const ShownForm&) = delete;
  ~ShownForm() { session_.formsShown.erase(name_); }

 private:
  FormSession& session_;
  const std::wstring name_;
};

// The windows of the host on this thread: one owns the form, which the dialog machinery disables; the others are
// disabled here as long as the form is shown, so that nothing but the form can be used.
class HostWindows {
 public:
  HostWindows() : owner_(GetActiveWindow()) {
    EnumThreadWindows(GetCurrentThreadId(), &collect, reinterpret_cast<LPARAM>(this));
    for (const HWND window : disabled_) EnableWindow(window, FALSE);
  }
  HostWindows(const HostWindows&) = delete;
  HostWindows& operator=(const HostWindows&) = delete;
  ~HostWindows() {
    for (const HWND window : disabled_) EnableWindow(window, TRUE);
  }

  // The active window; where the host is in the background, the first of its windows; null where it has none.
  HWND owner() const { return owner_; }

 private:
  static BOOL CALLBACK collect(HWND window, LPARAM self) {
    auto& windows = *reinterpret_cast<HostWindows*>(self);
    if (!IsWindowVisible(window) || !IsWindowEnabled(window)) return TRUE;
    if (!windows.owner_) windows.owner_ = window;
    if (window != windows.owner_) windows.disabled_.push_back(window);
    return TRUE;
  }

  HWND owner_;
  std::vector<HWND> disabled_;
};

// Pixels that a line of text takes in the font of a window.
int textHeight(HWND window) {
  const ClientDc device(window);
  const SelectedObject font(device.get(), reinterpret_cast<HFONT>(SendMessageW(window, WM_GETFONT, 0, 0)));
  TEXTMETRICW metrics{};
  GetTextMetricsW(device.get(), &metrics);
  return static_cast<int>(metrics.tmHeight);
}

// A check box or an option has changed already when it is heard of: no refused entry can keep it from having done so.
bool isToggle(HWND button) {
  const LONG_PTR type = button ? GetWindowLongPtrW(button, GWL_STYLE) & BS_TYPEMASK : BS_PUSHBUTTON;
  return type == BS_AUTOCHECKBOX || type == BS_AUTO3STATE || type == BS_AUTORADIOBUTTON;
}

// The container of a field that shows its values by a format.
class FormattedData final : public ControlSite {
 public:
  explicit FormattedData(std::wstring format) : format_(std::move(format)) {}
  std::wstring dataFormat() const override { return format_; }

 private:
  const std::wstring format_;
};

bool isButtonPress(WPARAM wParam) {
  return HIWORD(wParam) == BN_CLICKED;
}

}  // namespace

ModalForm::ModalForm(const wchar_t* name, Platform& platform, const HostSettings& host, FormSession& session)
    : name_(name), platform_(platform), host_(host), session_(session) {}

ModalForm::~ModalForm() = default;

void ModalForm::showModal() {
  const ShownForm shown(session_, name_);
  const VisualStyles styles;
  const EntryControlClasses classes;
  const HostWindows windows;
  const INT_PTR result =
      DialogBoxParamW(moduleInstance(), name_, windows.owner(), &dialogProcedure, reinterpret_cast<LPARAM>(this));
  window_ = nullptr;
  if (loadError_) std::rethrow_exception(std::exchange(loadError_, nullptr));
  if (result == -1) throw AutomationError(kOutOfMemory);
}

template <typename Field>
Field& ModalForm::field(int id, const wchar_t* name) {
  Field* const found = Field::from(control(id));
  if (!found) throw AutomationError(kInvalidCall, name);
  found->setPlatform(platform_);
  setDataFormat(*found, properties_->of(name));
  found->readProperties(properties_->of(name));
  fitToText(found->hWnd());
  return *found;
}

// At high resolutions an edit box, whose text stands at its top, would be higher than its text and its frame need, and
// the text not be in line with the label beside it.
void ModalForm::fitToText(HWND field) const {
  constexpr int pixelsAround = 9;
  const RECT area = areaInParent(field);
  const int spare = static_cast<int>(area.bottom - area.top) - textHeight(field) - pixelsAround;
  if (spare <= 0) return;
  SetWindowPos(field, nullptr, area.left, area.top + spare / 2, area.right - area.left, area.bottom - area.top - spare,
               SWP_NOZORDER | SWP_NOACTIVATE);
}

UTextBox& ModalForm::textBox(int id, const wchar_t* name) {
  return field<UTextBox>(id, name);
}

UComboBox& ModalForm::comboBox(int id, const wchar_t* name) {
  return field<UComboBox>(id, name);
}

void ModalForm::setDataFormat(EntryControl& field, const PropertyBag& bag) {
  std::wstring format = bag.text(L"DataFormat", platform_.locale);
  if (format.empty()) return;
  sites_.push_back(std::make_unique<FormattedData>(std::move(format)));
  field.setSite(sites_.back().get());
}

void ModalForm::atEdge(const std::function<void()>& handler) noexcept {
  try {
    handler();
  } catch (...) {
    showCurrentError();
  }
}

void ModalForm::onAfterUpdate(EntryControl& field, std::function<void(bool& cancel)> handler) {
  field.AfterUpdate = [this, handler = std::move(handler)](bool& cancel) {
    typed_ = false;
    atEdge([&] { handler(cancel); });
  };
}

void ModalForm::cancelOnEscape(EntryControl& field) {
  field.Change = [this] { typed_ = true; };
  field.AfterUpdate = [this](bool&) { typed_ = false; };
  field.KeyDown = [this](std::int16_t& KeyCode, std::int16_t) {
    if (KeyCode != VK_ESCAPE || std::exchange(typed_, false)) return;
    KeyCode = 0;
    PostMessageW(window_, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), 0);
  };
}

Answer ModalForm::tell(const std::wstring& text, std::uint32_t style) const {
  return platform_.messages.show(text, title(), style);
}

void ModalForm::showPicture(int id, const wchar_t* picture, int background) {
  pictures_.insert_or_assign(id, ShownPicture{Picture(picture), background});
  InvalidateRect(control(id), nullptr, TRUE);
}

void ModalForm::drawPicture(const DRAWITEMSTRUCT& item) const {
  const auto found = pictures_.find(static_cast<int>(item.CtlID));
  const bool shown = found != pictures_.end();
  FillRect(item.hDC, &item.rcItem, GetSysColorBrush(shown ? found->second.background : COLOR_BTNFACE));
  if (shown) found->second.picture.draw(item.hDC, item.rcItem);
}

void ModalForm::showIcon(int button, const wchar_t* picture) {
  icons_.push_back(Picture(picture).icon(GetSystemMetrics(SM_CXSMICON)));
  SendMessageW(control(button), BM_SETIMAGE, IMAGE_ICON, reinterpret_cast<LPARAM>(icons_.back().get()));
}

void ModalForm::showHeading(int pictureId, int labelId, const wchar_t* picture) {
  showPicture(pictureId, picture, COLOR_WINDOW);
  heading_.attach(window_, labelId, derivedFont(150, true));
}

void ModalForm::toolTip(int id, const wchar_t* name) {
  const std::wstring text = properties_->of(name).text(L"ToolTipText", platform_.locale);
  if (text.empty()) return;
  if (!toolTips_) toolTips_ = std::make_unique<ToolTips>(window_);
  toolTips_->add(control(id), text);
}

void ModalForm::setText(int id, const std::wstring& text) const {
  SetDlgItemTextW(window_, id, text.c_str());
}

void ModalForm::showForm() const {
  if (!IsWindowVisible(window_)) ShowWindow(window_, SW_SHOWNORMAL);
}

void ModalForm::closeForm() {
  if (window_) EndDialog(window_, 0);
}

UniqueFont ModalForm::derivedFont(int percent, bool bold) const {
  LOGFONTW font{};
  GetObjectW(reinterpret_cast<HFONT>(SendMessageW(window_, WM_GETFONT, 0, 0)), sizeof font, &font);
  font.lfHeight = MulDiv(font.lfHeight, percent, 100);
  if (bold) font.lfWeight = FW_BOLD;
  return UniqueFont(CreateFontIndirectW(&font));
}

INT_PTR CALLBACK ModalForm::dialogProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_INITDIALOG) {
    auto* form = reinterpret_cast<ModalForm*>(lParam);
    form->window_ = window;
    SetWindowLongPtrW(window, DWLP_USER, lParam);
  }
  auto* form = reinterpret_cast<ModalForm*>(GetWindowLongPtrW(window, DWLP_USER));
  return form ? form->handle(message, wParam, lParam) : FALSE;
}

// The edge of every user operation: no exception may reach the system's frames.
INT_PTR ModalForm::handle(UINT message, WPARAM wParam, LPARAM lParam) {
  try {
    return dispatch(message, wParam, lParam);
  } catch (...) {
    if (message == WM_INITDIALOG) {
      loadError_ = std::current_exception();
      closeForm();
    } else {
      showCurrentError();
    }
  }
  return TRUE;
}

void ModalForm::showCurrentError() noexcept {
  try {
    tell(describeCurrentError(), message::kOk | message::kExclamation);
  } catch (...) {  // not even a message box can be shown
  }
}

void ModalForm::start() {
  const Picture mark(L"IMAGEN");
  pictures_.clear();
  icons_.clear();
  for (const auto& [kind, metric] : {std::pair{ICON_SMALL, SM_CXSMICON}, std::pair{ICON_BIG, SM_CXICON}}) {
    icons_.push_back(mark.icon(GetSystemMetrics(metric)));
    SendMessageW(window_, WM_SETICON, static_cast<WPARAM>(kind), reinterpret_cast<LPARAM>(icons_.back().get()));
  }
  properties_ = std::make_unique<FormProperties>(FormProperties::load(moduleInstance(), name_));
  load();
  nameFieldsByTheirLabels(window_);
  SetForegroundWindow(window_);
}

INT_PTR ModalForm::dispatch(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITDIALOG: start(); return TRUE;
    case WM_TIMER: timer(wParam); return TRUE;
    case WM_COMMAND:
      if (!isButtonPress(wParam)) return FALSE;
      if (LOWORD(wParam) != IDCANCEL) {
        if (EntryControl::settleAll(window_) || isToggle(reinterpret_cast<HWND>(lParam))) command(LOWORD(wParam));
      } else if (mayClose()) {
        closeForm();
      }
      return TRUE;
    case WM_QUERYENDSESSION: SetWindowLongPtrW(window_, DWLP_MSGRESULT, mayEndSession()); return TRUE;
    case WM_DESTROY:
      toolTips_.reset();
      unload();
      return TRUE;
    case WM_DRAWITEM: drawPicture(*reinterpret_cast<const DRAWITEMSTRUCT*>(lParam)); return TRUE;
    case WM_CTLCOLORSTATIC:
      return reinterpret_cast<INT_PTR>(
          heading_.colours(GetDlgCtrlID(reinterpret_cast<HWND>(lParam)), reinterpret_cast<HDC>(wParam)));
    case WM_ERASEBKGND: {
      const RECT area = clientAreaOf(window_);
      FillRect(reinterpret_cast<HDC>(wParam), &area, GetSysColorBrush(COLOR_BTNFACE));
      heading_.paint(reinterpret_cast<HDC>(wParam));
      SetWindowLongPtrW(window_, DWLP_MSGRESULT, TRUE);
      return TRUE;
    }
    case WM_SETCURSOR:
      if (!busy()) return FALSE;
      SetCursor(LoadCursorW(nullptr, IDC_WAIT));
      SetWindowLongPtrW(window_, DWLP_MSGRESULT, TRUE);
      return TRUE;
    default: return FALSE;
  }
}

}  // namespace qev
