#include "controls/ComboList.h"

#include <windowsx.h>

#include <algorithm>
#include <utility>

#include "controls/ControlClass.h"
#include "controls/WindowParts.h"
#include "platform/AutomationError.h"
#include "platform/Handle.h"
#include "values/MGeneral.h"

namespace qev {
namespace {

constexpr wchar_t kClassName[] = L"QevComboList";
constexpr UINT_PTR kWatchTimer = 1;
constexpr UINT kWatchMilliseconds = 50;
constexpr int kFrame = 1;       // pixels of the border on each side
constexpr int kRowPadding = 1;  // pixels above and below the text of a row

POINT pointOf(LPARAM lParam) {
  return {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
}

RECT workAreaAt(HWND window) {
  MONITORINFO monitor{};
  monitor.cbSize = sizeof monitor;
  GetMonitorInfoW(MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST), &monitor);
  return monitor.rcWork;
}

HGDIOBJ fontOrSystems(HFONT font) {
  return font ? font : GetStockObject(DEFAULT_GUI_FONT);
}

}  // namespace

// ---------------------------------------------------------------------------------------------------------------------
// The window

void ComboList::registerClass(HINSTANCE module) {
  registerControlClass(module, kClassName, &procedure, CS_DROPSHADOW);
}

void ComboList::unregisterClass(HINSTANCE module) {
  unregisterControlClass(module, kClassName);
}

LRESULT CALLBACK ComboList::procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_NCCREATE) {
    SetWindowLongPtrW(window, 0, reinterpret_cast<LONG_PTR>(reinterpret_cast<CREATESTRUCTW*>(lParam)->lpCreateParams));
  }
  auto* list = reinterpret_cast<ComboList*>(GetWindowLongPtrW(window, 0));
  if (!list) return DefWindowProcW(window, message, wParam, lParam);
  if (message == WM_NCDESTROY) {  // with its field, or by close()
    SetWindowLongPtrW(window, 0, 0);
    if (list->window_ == window) list->window_ = nullptr;
    return DefWindowProcW(window, message, wParam, lParam);
  }
  const auto alive = list->owner_.hold();
  if (list->window_ != window) return DefWindowProcW(window, message, wParam, lParam);
  try {
    return list->handle(message, wParam, lParam);
  } catch (...) {
    list->owner_.listFailed();
  }
  return 0;
}

int ComboList::rowHeight(HFONT font) {
  const WindowDc screen(nullptr);
  const SelectedObject selected(screen.get(), fontOrSystems(font));
  TEXTMETRICW metrics{};
  GetTextMetricsW(screen.get(), &metrics);
  return std::max<int>(metrics.tmHeight + 2 * kRowPadding, 1);
}

void ComboList::open(HWND field, int width, int mostRows) {
  close();
  field_ = field;
  fieldArea_ = screenAreaOf(field);
  rowHeight_ = rowHeight(owner_.listFont());
  firstRow_ = 0;
  wheel_ = 0;
  armed_ = false;
  const RECT area = place(fieldArea_, workAreaAt(field), width, mostRows);
  const bool all = shownRows_ >= owner_.listRowCount();
  window_ = CreateWindowExW(WS_EX_TOOLWINDOW | WS_EX_NOACTIVATE | WS_EX_TOPMOST, kClassName, L"",
                            WS_POPUP | WS_BORDER | (all ? 0 : WS_VSCROLL), area.left, area.top, area.right - area.left,
                            area.bottom - area.top, GetAncestor(field, GA_ROOT), nullptr, moduleInstance(), this);
  if (!window_) throw AutomationError(kOutOfMemory);
  scrollTo(0);
  paintedRow_ = owner_.listCurrentRow();
  showCurrentRow();
  GetCursorPos(&pointer_);
  ShowWindow(window_, SW_SHOWNOACTIVATE);
  UpdateWindow(window_);
  SetCapture(window_);
  SetTimer(window_, kWatchTimer, kWatchMilliseconds, nullptr);
}

void ComboList::close() {
  const HWND window = std::exchange(window_, nullptr);
  if (!window) return;
  SetWindowLongPtrW(window, 0, 0);  // the owner may be on its way out: it is not to be held any more
  if (GetCapture() == window) ReleaseCapture();
  DestroyWindow(window);
}

// Under the field if all rows fit there, above it if they fit there only, else where more of them do.
RECT ComboList::place(const RECT& field, const RECT& workArea, int width, int mostRows) {
  const auto rowsIn = [this](LONG pixels) { return static_cast<int>(pixels - 2 * kFrame) / rowHeight_; };
  const int wanted = std::min(std::max(mostRows, 1), std::max(owner_.listRowCount(), 1));
  const int below = rowsIn(workArea.bottom - field.bottom);
  const int above = rowsIn(field.top - workArea.top);
  const bool upwards = below < wanted && above > below;
  shownRows_ = std::max(std::min(wanted, upwards ? above : below), 1);
  const int height = shownRows_ * rowHeight_ + 2 * kFrame;
  width = std::min(width, static_cast<int>(workArea.right - workArea.left));
  const int left = ClampValue(static_cast<int>(field.left), static_cast<int>(workArea.left),
                              static_cast<int>(workArea.right) - width);
  const int lowest = std::max(static_cast<int>(workArea.bottom) - height, static_cast<int>(workArea.top));
  const int top =
      ClampValue(static_cast<int>(upwards ? field.top - height : field.bottom), static_cast<int>(workArea.top), lowest);
  return {left, top, left + width, top + height};
}

LRESULT ComboList::handle(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_MOUSEACTIVATE: return MA_NOACTIVATE;
    case WM_ERASEBKGND: return TRUE;
    case WM_PAINT: paintWindow(); return 0;
    case WM_VSCROLL: scrollBarMoved(LOWORD(wParam)); return 0;
    case WM_MOUSEWHEEL: turnWheel(GET_WHEEL_DELTA_WPARAM(wParam)); return 0;
    case WM_MOUSEMOVE: mouseMoved(pointOf(lParam)); return 0;
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
    case WM_RBUTTONDOWN:
    case WM_MBUTTONDOWN: mousePressed(message, pointOf(lParam)); return 0;
    case WM_LBUTTONUP: mouseReleased(pointOf(lParam)); return 0;
    case WM_TIMER: watch(); return 0;
    default: return DefWindowProcW(window_, message, wParam, lParam);
  }
}

// The capture may go elsewhere, and the field move or vanish, without a word to the list.
void ComboList::watch() {
  if (scrolling_) return;
  const RECT now = screenAreaOf(field_);
  if (GetCapture() != window_ || !EqualRect(&now, &fieldArea_) || !IsWindowVisible(field_)) owner_.listDismissed();
}

// ---------------------------------------------------------------------------------------------------------------------
// Rows

RECT ComboList::areaOf(std::int32_t row) const {
  RECT area = clientAreaOf(window_);
  area.top = (row - firstRow_) * rowHeight_;
  area.bottom = area.top + rowHeight_;
  return area;
}

std::int32_t ComboList::rowAt(POINT at) const {
  const RECT client = clientAreaOf(window_);
  if (!PtInRect(&client, at)) return -1;
  const std::int32_t row = firstRow_ + at.y / rowHeight_;
  return row < owner_.listRowCount() ? row : -1;
}

void ComboList::paintWindow() {
  const Painting painting(window_);
  const HDC device = painting.device();
  const SelectedObject font(device, fontOrSystems(owner_.listFont()));
  SetBkMode(device, TRANSPARENT);
  SetTextColor(device, translateColor(owner_.listForeColor()));
  for (std::int32_t i = 0; i < shownRows_; ++i) {
    const RECT area = areaOf(firstRow_ + i);
    RECT common{};
    if (IntersectRect(&common, &area, &painting.area())) paintRow(device, firstRow_ + i, area);
  }
}

void ComboList::paintRow(HDC device, std::int32_t row, const RECT& area) {
  const UniqueBrush background(CreateSolidBrush(translateColor(owner_.listBackColor())));
  FillRect(device, &area, background.get());
  if (row >= owner_.listRowCount()) return;
  owner_.drawListRow(device, row, area);
  if (row == owner_.listCurrentRow()) InvertRect(device, &area);
}

void ComboList::showCurrentRow() {
  if (!window_) return;
  const std::int32_t row = owner_.listCurrentRow();
  const std::int32_t former = std::exchange(paintedRow_, row);
  for (const std::int32_t changed : {former, row}) {
    const RECT area = areaOf(changed);
    if (changed >= 0) InvalidateRect(window_, &area, FALSE);
  }
  if (row >= 0) scrollTo(ClampValue(firstRow_, row - shownRows_ + 1, row));
}

void ComboList::scrollTo(std::int32_t firstRow) {
  const std::int32_t last = std::max(owner_.listRowCount() - shownRows_, 0);
  firstRow = ClampValue(firstRow, 0, last);
  SCROLLINFO info{};
  info.cbSize = sizeof info;
  info.fMask = SIF_RANGE | SIF_PAGE | SIF_POS;
  info.nMax = std::max(owner_.listRowCount() - 1, 0);
  info.nPage = static_cast<UINT>(shownRows_);
  info.nPos = firstRow;
  if (last > 0) SetScrollInfo(window_, SB_VERT, &info, TRUE);
  if (std::exchange(firstRow_, firstRow) != firstRow) InvalidateRect(window_, nullptr, FALSE);
}

void ComboList::scrollBarMoved(WORD request) {
  SCROLLINFO info{};
  info.cbSize = sizeof info;
  info.fMask = SIF_TRACKPOS;
  switch (request) {
    case SB_LINEUP: scrollTo(firstRow_ - 1); break;
    case SB_LINEDOWN: scrollTo(firstRow_ + 1); break;
    case SB_PAGEUP: scrollTo(firstRow_ - shownRows_); break;
    case SB_PAGEDOWN: scrollTo(firstRow_ + shownRows_); break;
    case SB_TOP: scrollTo(0); break;
    case SB_BOTTOM: scrollTo(owner_.listRowCount()); break;
    case SB_THUMBTRACK:
    case SB_THUMBPOSITION:
      if (GetScrollInfo(window_, SB_VERT, &info)) scrollTo(info.nTrackPos);
      break;
    default: break;
  }
  UpdateWindow(window_);
}

void ComboList::turnWheel(int delta) {
  if (!window_) return;
  UINT lines = 3;
  SystemParametersInfoW(SPI_GETWHEELSCROLLLINES, 0, &lines, 0);
  const int rows = lines == WHEEL_PAGESCROLL ? shownRows_ : std::min(static_cast<int>(lines), shownRows_);
  wheel_ += delta * rows;
  scrollTo(firstRow_ - wheel_ / WHEEL_DELTA);
  wheel_ %= WHEEL_DELTA;
}

// ---------------------------------------------------------------------------------------------------------------------
// Mouse

void ComboList::mouseMoved(POINT at) {
  POINT pointer{};
  GetCursorPos(&pointer);
  if (pointer.x == pointer_.x && pointer.y == pointer_.y) return;
  pointer_ = pointer;
  const std::int32_t row = rowAt(at);
  if (row < 0) return;
  armed_ = true;
  if (row != owner_.listCurrentRow()) owner_.rowPointedAt(row);
}

void ComboList::mousePressed(UINT message, POINT at) {
  const RECT client = clientAreaOf(window_);
  if (PtInRect(&client, at)) {
    armed_ = armed_ || message == WM_LBUTTONDOWN || message == WM_LBUTTONDBLCLK;
    return;
  }
  POINT onScreen = at;
  ClientToScreen(window_, &onScreen);
  const LRESULT part = SendMessageW(window_, WM_NCHITTEST, 0, MAKELPARAM(onScreen.x, onScreen.y));
  if (part != HTVSCROLL) {
    const RECT own = screenAreaOf(window_);
    if (!PtInRect(&own, onScreen)) owner_.listDismissed();
    return;
  }
  // The scroll bar works with the mouse to itself.
  scrolling_ = true;
  SendMessageW(window_, WM_NCLBUTTONDOWN, HTVSCROLL, MAKELPARAM(onScreen.x, onScreen.y));
  scrolling_ = false;
  if (window_) SetCapture(window_);
}

void ComboList::mouseReleased(POINT at) {
  if (!std::exchange(armed_, false)) return;
  if (const std::int32_t row = rowAt(at); row >= 0) owner_.rowClicked(row);
}

}  // namespace qev
