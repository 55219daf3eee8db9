#include "controls/UComboBox.h"

#include <algorithm>
#include <utility>

#include "controls/WindowParts.h"
#include "platform/AutomationError.h"
#include "platform/Handle.h"

namespace qev {
namespace {

constexpr wchar_t kNotInList[] = L"El valor introducido no es un elemento de la lista.";
constexpr wchar_t kColumnSeparator[] = L";";
constexpr int kCellPadding = 3;  // pixels: with the frame of the list, a cell's text stands under that of the edit box
constexpr std::uint8_t kDefaultListRows = 10;

std::uint8_t readByte(const PropertyBag& bag, const wchar_t* key, std::uint8_t fallback, const Locale& locale) {
  const std::int32_t number = bag.number(key, fallback, locale);
  return number >= 0 && number <= UINT8_MAX ? static_cast<std::uint8_t>(number) : fallback;
}

// Whether the Ctrl key that has just gone down is the system's own beginning of AltGr, which types characters.
bool beginsAltGr() {
  MSG next{};
  return PeekMessageW(&next, nullptr, WM_KEYFIRST, WM_KEYLAST, PM_NOREMOVE) &&
         (next.message == WM_KEYDOWN || next.message == WM_SYSKEYDOWN) && next.wParam == VK_MENU &&
         (HIWORD(next.lParam) & KF_EXTENDED) != 0 && next.time == static_cast<DWORD>(GetMessageTime());
}

int borderWidth(int borderStyle) {
  return borderStyle == kFlatBorder ? 1 : 2;
}

}  // namespace

UComboBox::UComboBox() : table_(systemPlatform().locale), list_(*this) {}

// ---------------------------------------------------------------------------------------------------------------------
// The window

void UComboBox::registerClass(HINSTANCE module) {
  ControlOf::registerClass(module);
  ComboList::registerClass(module);
}

void UComboBox::unregisterClass(HINSTANCE module) {
  ComboList::unregisterClass(module);
  ControlOf::unregisterClass(module);
}

void UComboBox::setPlatform(Platform& platform) {
  EntryControl::setPlatform(platform);
  table_.setLocale(platform.locale);
}

RECT UComboBox::editArea(int width, int height) const {
  return EntryControl::editArea(width - kButtonWidth, height);
}

void UComboBox::paint(HDC device, const RECT& client) {
  EntryControl::paint(device, client);
  const int border = borderWidth(Borderstyle());
  RECT button{client.right - kButtonWidth, client.top + border, client.right - border, client.bottom - border};
  const UINT state = !Enabled() ? DFCS_INACTIVE : list_.isOpen() ? DFCS_PUSHED : 0;
  DrawFrameControl(device, &button, DFC_SCROLL, DFCS_SCROLLCOMBOBOX | state);
}

// Without the focus, the field shows the first columns of its row instead of the text that is edited.
bool UComboBox::paintsEditBox() {
  if (TextColumns() < 2 || edit().hasFocus() || !table_.hasRow(currentRow_) || boundText(currentRow_) != Text())
    return false;
  const Painting painting(edit().hWnd());
  const HDC device = painting.device();
  const SelectedObject font(device, listFont() ? listFont() : GetStockObject(SYSTEM_FONT));
  RECT area = clientAreaOf(edit().hWnd());
  FillRect(device, &area, edit().colors(device));
  area.left -= kCellPadding;
  drawColumns(device, currentRow_, TextColumns(), area, DT_TOP);
  return true;
}

// ---------------------------------------------------------------------------------------------------------------------
// Rows and columns

std::int32_t UComboBox::controlWidth() const {
  const RECT area = screenAreaOf(hWnd());
  return area.right - area.left;
}

std::vector<std::int16_t> UComboBox::columnWidths() const {
  if (columnWidths_) return *columnWidths_;
  return {static_cast<std::int16_t>(std::min<std::int32_t>(controlWidth(), INT16_MAX))};
}

std::int32_t UComboBox::columnCount() const {
  return columnWidths_ ? static_cast<std::int32_t>(columnWidths_->size()) : 1;
}

std::wstring UComboBox::ColumnWidths() const {
  return columnWidths_ ? columnWidthsText_ : std::to_wstring(controlWidth());
}

void UComboBox::setColumnWidths(const std::wstring& widths) {
  columnWidths_ = general().SplitIntegers(widths, kColumnSeparator);
  if (columnWidths_->size() > INT16_MAX) columnWidths_->resize(INT16_MAX);
  columnWidthsText_ = widths;
}

std::int16_t UComboBox::ListWidth() const {
  const std::int32_t wanted = !listWidth_ ? controlWidth() : *listWidth_ == 0 ? SumArray(columnWidths()) : *listWidth_;
  return static_cast<std::int16_t>(std::min<std::int32_t>(std::max(wanted, controlWidth()), INT16_MAX));
}

std::uint8_t UComboBox::TextColumns() const {
  return static_cast<std::uint8_t>(std::max(std::min<std::int32_t>(textColumns_, columnCount()), 1));
}

void UComboBox::setTextColumns(std::uint8_t columns) {
  textColumns_ = columns;
  textColumns_ = TextColumns();
  repaint();
}

qev::Value UComboBox::Column(std::uint8_t col) const {
  return table_.cell(col, currentRow_);
}

void UComboBox::setColumn(std::uint8_t col, qev::Value value) {
  if (!table_.hasRow(currentRow_)) return;
  table_.setCell(col, currentRow_, std::move(value));
  cellsChanged();
}

std::wstring UComboBox::boundText(std::int32_t row) const {
  return table_.text(boundColumn_, row);
}

void UComboBox::Requery() {
  if (rowSource_.empty()) return;
  try {
    table_ = rowsOfSource();
  } catch (const std::exception&) {  // the rows stay as they are
    return;
  }
  currentRow_ = previousRow_ = ListTable::kNoRow;
  rowsChanged();
}

ListTable UComboBox::rowsOfSource() const {
  const Locale& locale = platform().locale;
  std::wstring query = locale.upper(rowSource_);
  if (query.find(L"SELECT") == std::wstring::npos) return ListTable::ofValues(locale, rowSource_, columnCount());
  if (!where_.empty()) query += L" WHERE " + where_;
  if (!order_.empty()) query += L" ORDER BY " + order_;
  return ListTable::ofRows(locale, QueryRows ? QueryRows(query) : std::vector<ListTable::Row>());
}

std::wstring UComboBox::FindCodigo(const qev::Value& Codigo) const {
  return table_.FindCodigo(Codigo, boundColumn_);
}

void UComboBox::AddRow(std::int16_t Row, const ListTable::Row& F) {
  table_.AddRow(Row, F);
  for (std::int32_t* row : {&currentRow_, &previousRow_}) {
    if (*row >= Row) ++*row;
  }
  rowsChanged();
}

void UComboBox::UpdateRow(std::int16_t Row, const ListTable::Row& F) {
  table_.UpdateRow(Row, F);
  cellsChanged();
}

// ---------------------------------------------------------------------------------------------------------------------
// The list

void UComboBox::openList() {
  if (list_.isOpen() || !Enabled() || Locked() || table_.rowCount() == 0) return;
  previousRow_ = currentRow_;
  const std::wstring text = Text();
  if (!table_.hasRow(currentRow_) || boundText(currentRow_) != text) {
    currentRow_ = table_.findEntry(text, boundColumn_, Datatype());
    if (currentRow_ == ListTable::kNoRow) currentRow_ = table_.findTyped(text, boundColumn_);
  }
  list_.open(hWnd(), ListWidth(), listRows_);
  repaint();
}

void UComboBox::closeList() {
  if (!list_.isOpen()) return;
  list_.close();
  currentRow_ = previousRow_;
  repaint();
}

// The field may show columns of its row too.
void UComboBox::cellsChanged() {
  if (list_.isOpen()) InvalidateRect(list_.hWnd(), nullptr, FALSE);
  repaint();
}

// The geometry of an open list depends on its rows.
void UComboBox::rowsChanged() {
  repaint();
  if (!list_.isOpen()) return;
  if (table_.rowCount() == 0) {
    closeList();
  } else {
    list_.open(hWnd(), ListWidth(), listRows_);
  }
}

void UComboBox::moveTo(std::int32_t row) {
  currentRow_ = ClampValue(row, 0, table_.rowCount() - 1);
  list_.showCurrentRow();
}

void UComboBox::choose(std::int32_t row) {
  const auto alive = shared_from_this();
  if (list_.isOpen()) {
    list_.close();
    repaint();
  }
  if (!table_.hasRow(row) || Locked()) {
    currentRow_ = previousRow_;
    return;
  }
  currentRow_ = previousRow_ = row;
  typing_ = complete_ = false;
  edit().setText(boundText(row));
  modified_ = true;
  Update();
  if (!hWnd()) return;
  if (edit().hasFocus()) edit().selectAll();
  raise(Click);
}

HFONT UComboBox::listFont() const {
  return edit().font();
}

void UComboBox::drawListRow(HDC device, std::int32_t row, const RECT& area) const {
  drawColumns(device, row, columnCount(), area, DT_VCENTER);
}

void UComboBox::drawColumns(HDC device, std::int32_t row, std::int32_t columns, const RECT& area, UINT flags) const {
  const auto widths = columnWidths();
  LONG left = area.left;
  for (std::int32_t column = 0; column < columns && left < area.right; ++column) {
    const LONG width = std::max<LONG>(widths[static_cast<std::size_t>(column)], 0);
    RECT cell{left + kCellPadding, area.top, std::min(left + width, area.right), area.bottom};
    left += width;
    if (cell.right <= cell.left) continue;
    std::wstring text = table_.text(column, row);
    text.resize(std::min(text.size(), static_cast<std::size_t>(width)));  // no letter is narrower than a pixel
    DrawTextW(device, text.c_str(), static_cast<int>(text.size()), &cell,
              flags | DT_SINGLELINE | DT_NOPREFIX | DT_END_ELLIPSIS);
  }
}

// ---------------------------------------------------------------------------------------------------------------------
// Typing

void UComboBox::keyDown(std::int16_t& keyCode, bool repeated) {
  if (keyCode == VK_BACK || keyCode == VK_DELETE) {
    typing_ = true;
    complete_ = false;
  } else if (list_.isOpen() ? keyDownOpen(keyCode, repeated) : keyDownClosed(keyCode, repeated)) {
    keyCode = 0;
  }
}

bool UComboBox::keyDownClosed(std::int16_t keyCode, bool repeated) {
  switch (keyCode) {
    case VK_RETURN:
    case VK_DOWN: focusNext(false); return true;
    case VK_UP: focusNext(true); return true;
    case VK_CONTROL:
      if (!repeated && !beginsAltGr()) openList();
      return true;
    case VK_F4: openList(); return true;
    case VK_ESCAPE:
      takeBack();
      currentRow_ = previousRow_ = table_.findEntry(Text(), boundColumn_, Datatype());
      return true;
    default: return false;
  }
}

bool UComboBox::keyDownOpen(std::int16_t keyCode, bool repeated) {
  switch (keyCode) {
    case VK_RETURN: choose(currentRow_); return true;
    case VK_CONTROL:
      if (!repeated && !beginsAltGr()) closeList();
      return true;
    case VK_F4:
    case VK_ESCAPE: closeList(); return true;
    case VK_PRIOR: moveTo(currentRow_ - listRows_); return true;
    case VK_NEXT: moveTo(currentRow_ + listRows_); return true;
    case VK_END: moveTo(table_.rowCount() - 1); return true;
    case VK_HOME: moveTo(0); return true;
    case VK_UP: moveTo(currentRow_ - 1); return true;
    case VK_DOWN: moveTo(currentRow_ + 1); return true;
    default: return false;
  }
}

void UComboBox::altKeyDown(std::int16_t keyCode) {
  if (keyCode != VK_DOWN && keyCode != VK_UP) return;
  if (list_.isOpen()) {
    closeList();
  } else {
    openList();
  }
}

void UComboBox::characterTyped(std::int16_t character) {
  complete_ = static_cast<std::uint16_t>(character) >= L' ';
}

void UComboBox::changed() {
  const auto alive = shared_from_this();
  const bool complete = std::exchange(complete_, false);
  if (typing_) {
    modified_ = true;
    raise(Change);
    if (!hWnd()) return;
    if (complete) completeFromList();
  }
  signalValueChanged();
}

// Within the text there is nothing to complete.
void UComboBox::completeFromList() {
  const std::wstring typed = Text();
  const auto length = static_cast<std::int32_t>(typed.size());
  if (edit().selStart() != length) return;
  currentRow_ = previousRow_ = table_.findTyped(typed, boundColumn_);
  if (table_.hasRow(currentRow_)) {
    showText(typed + boundText(currentRow_).substr(typed.size()));
    edit().select(length, INT32_MAX);
  }
  list_.showCurrentRow();
}

// ---------------------------------------------------------------------------------------------------------------------
// Mouse and focus

bool UComboBox::surfacePressed(POINT at) {
  if (at.x < clientAreaOf(hWnd()).right - kButtonWidth || !Enabled()) return false;
  const bool wasOpen = list_.isOpen();
  enterByMouse();
  if (wasOpen) {
    closeList();
  } else {
    openList();
  }
  return true;
}

bool UComboBox::wheelTurned(int delta) {
  list_.turnWheel(delta);
  return list_.isOpen();
}

// ---------------------------------------------------------------------------------------------------------------------
// Validation

bool UComboBox::acceptEntry() {
  const std::wstring entered = Text();
  currentRow_ = previousRow_ = table_.findEntry(entered, boundColumn_, Datatype());
  const bool found = table_.hasRow(currentRow_);
  if (!found && limitToList_) {
    refuse(kNotInList, message::kInformation, entered, savedText());
  } else {
    if (found) edit().setText(boundText(currentRow_));
    if (EntryControl::acceptEntry()) return true;
  }
  currentRow_ = previousRow_ = table_.findEntry(Text(), boundColumn_, Datatype());
  return false;
}

// ---------------------------------------------------------------------------------------------------------------------
// Saved properties

void UComboBox::readProperties(const PropertyBag& bag) {
  EntryControl::readProperties(bag);
  const Locale& locale = platform().locale;
  rowSource_ = bag.text(L"RowSource", locale);
  columnWidths_.reset();
  if (!isMissing(bag.read(L"ColumnWidths", Null{}))) setColumnWidths(bag.text(L"ColumnWidths", locale));
  listRows_ = readByte(bag, L"ListRows", kDefaultListRows, locale);
  boundColumn_ = readByte(bag, L"BoundColumn", 0, locale);
  listWidth_.reset();
  if (bag.has(L"ListWidth")) {
    const std::int32_t width = bag.number(L"ListWidth", controlWidth(), locale);
    listWidth_ = static_cast<std::int16_t>(ClampValue<std::int32_t>(width, INT16_MIN, INT16_MAX));
  }
  setTextColumns(readByte(bag, L"TextColumns", 1, locale));
  limitToList_ = bag.truth(L"LimitToList", false, locale);
  where_ = bag.text(L"Where", locale);
  order_ = bag.text(L"Order", locale);
  Requery();
}

void UComboBox::writeProperties(PropertyBag& bag) const {
  EntryControl::writeProperties(bag);
  bag.write(L"RowSource", rowSource_, std::wstring());
  bag.write(L"ColumnWidths", ColumnWidths(), std::to_wstring(controlWidth()));
  bag.write(L"ListRows", std::int32_t{listRows_}, std::int32_t{kDefaultListRows});
  bag.write(L"BoundColumn", std::int32_t{boundColumn_}, 0);
  bag.write(L"ListWidth", std::int32_t{ListWidth()}, controlWidth());
  bag.write(L"TextColumns", std::int32_t{TextColumns()}, 1);
  bag.write(L"LimitToList", limitToList_, false);
  bag.write(L"Where", where_, std::wstring());
  bag.write(L"Order", order_, std::wstring());
}

}  // namespace qev
