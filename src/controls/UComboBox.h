// The multi-column drop-down field of the library's dialogs: class "QevUComboBox" in a dialog template. An edit box
// that completes what is typed from the rows of a list, and a button that drops the list down.
//
//   UComboBox::registerClass(moduleInstance());          // before the dialog is made
//   UComboBox& field = *UComboBox::from(GetDlgItem(dialog, id));
//   field.setRowSource(L"Diariamente;Semanalmente;Mensualmente");
//   field.Requery();
//   field.Click = [&] { ... };                           // a row was chosen
//
// Its remaining properties, methods and events are in EntryControl and ControlOf. AfterUpdate, Change, KeyDown,
// KeyPress and Click come in this order; Click tells of a chosen row, not of a click on the edit box.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "controls/ComboList.h"
#include "controls/ControlOf.h"
#include "values/ListTable.h"

namespace qev {

class UComboBox final : public ControlOf<UComboBox>, private ComboListOwner {
 public:
  static constexpr wchar_t kClassName[] = L"QevUComboBox";
  static constexpr int kButtonWidth = 18;  // pixels at the right edge of the control

  UComboBox();  // for the window class: see create() and from()

  // As ControlOf's, for the list's window class too.
  static void registerClass(HINSTANCE module);
  static void unregisterClass(HINSTANCE module);

  void setPlatform(Platform& platform) override;

  // Declared for those who bind to it; never raised.
  std::function<void()> AfterListUpdate;

  // Gives the rows for a query text. None, unless a build with a database sets it.
  std::function<std::vector<ListTable::Row>(const std::wstring& query)> QueryRows;

  // Either a query ("SELECT …") or the cells of all rows, separated by ";". Takes effect with Requery().
  const std::wstring& RowSource() const { return rowSource_; }
  void setRowSource(const std::wstring& source) { rowSource_ = source; }

  // Pixels of each column, separated by ";": their number is the number of columns. One column as wide as the control
  // until set.
  std::wstring ColumnWidths() const;
  void setColumnWidths(const std::wstring& widths);

  // Rows that the open list shows at the most.
  std::uint8_t ListRows() const { return listRows_; }
  void setListRows(std::uint8_t rows) { listRows_ = rows; }

  // The column, from 0, that is searched, matched and copied into the edit box.
  std::uint8_t BoundColumn() const { return boundColumn_; }
  void setBoundColumn(std::uint8_t column) { boundColumn_ = column; }

  // Pixels of the open list, never less than the width of the control, which it has until set; 0 stands for the sum of
  // the column widths.
  std::int16_t ListWidth() const;
  void setListWidth(std::int16_t width) { listWidth_ = width; }

  // How many columns, from the first, the field shows of the chosen row while it has not the focus: from 1 to the
  // number of columns, to which a value outside is corrected.
  std::uint8_t TextColumns() const;
  void setTextColumns(std::uint8_t columns);

  // Whether only the cells of the bound column are accepted.
  bool LimitToList() const { return limitToList_; }
  void setLimitToList(bool limit) { limitToList_ = limit; }

  // Clauses that Requery() adds to a query.
  const std::wstring& Where() const { return where_; }
  void setWhere(const std::wstring& clause) { where_ = clause; }
  const std::wstring& Order() const { return order_; }
  void setOrder(const std::wstring& clause) { order_ = clause; }

  // A cell of the current row: "" while there is none, and then there is nothing to set.
  qev::Value Column(std::uint8_t col) const;
  void setColumn(std::uint8_t col, qev::Value value);

  // The row that is chosen, or highlighted in the open list; -1 for none.
  std::int16_t currentRow() const { return static_cast<std::int16_t>(currentRow_); }
  std::int16_t rowCount() const { return static_cast<std::int16_t>(table_.rowCount()); }

  // Makes the rows anew from the row source. Whatever fails leaves the rows as they are.
  void Requery();

  // The bound cell of the first row that reads "<Codigo> - …"; "" for none and for null.
  std::wstring FindCodigo(const qev::Value& Codigo) const;

  // Inserts a row before row `Row`, from 0 to the number of rows; replaces the cells of a row. Throw 9 for a row that
  // is not there, 6 beyond 32,767 rows.
  void AddRow(std::int16_t Row, const ListTable::Row& F);
  void UpdateRow(std::int16_t Row, const ListTable::Row& F);

  // The list under the field. It opens only where there are rows, in an enabled field that is not locked.
  bool listIsOpen() const { return list_.isOpen(); }
  HWND listWindow() const { return list_.hWnd(); }
  void openList();
  void closeList();  // without choosing

  void readProperties(const PropertyBag& bag) override;
  void writeProperties(PropertyBag& bag) const override;

 private:
  // EntryControl
  void keyDown(std::int16_t& keyCode, bool repeated) override;
  void altKeyDown(std::int16_t keyCode) override;
  bool raisesKeyDown() const override { return !list_.isOpen(); }
  void characterTyped(std::int16_t character) override;
  void changed() override;
  void clicked() override {}  // Click tells of a chosen row
  bool surfacePressed(POINT at) override;
  bool wheelTurned(int delta) override;
  void focusLost() override { closeList(); }
  void paint(HDC device, const RECT& client) override;
  bool paintsEditBox() override;
  RECT editArea(int width, int height) const override;
  bool acceptEntry() override;
  void entryAccepted() override { saveText(Text()); }

  // ComboListOwner
  std::shared_ptr<void> hold() override { return shared_from_this(); }
  std::int32_t listRowCount() const override { return table_.rowCount(); }
  std::int32_t listCurrentRow() const override { return currentRow_; }
  HFONT listFont() const override;
  Color listBackColor() const override { return BackColor(); }
  Color listForeColor() const override { return ForeColor(); }
  void drawListRow(HDC device, std::int32_t row, const RECT& area) const override;
  void rowPointedAt(std::int32_t row) override { moveTo(row); }
  void rowClicked(std::int32_t row) override { choose(row); }
  void listDismissed() override { closeList(); }
  void listFailed() noexcept override { reportCurrentError(); }

  bool keyDownClosed(std::int16_t keyCode, bool repeated);  // true: the key is swallowed
  bool keyDownOpen(std::int16_t keyCode, bool repeated);
  void completeFromList();
  void moveTo(std::int32_t row);
  void choose(std::int32_t row);
  void rowsChanged();
  void cellsChanged();
  ListTable rowsOfSource() const;
  std::wstring boundText(std::int32_t row) const;
  std::int32_t controlWidth() const;
  std::vector<std::int16_t> columnWidths() const;
  std::int32_t columnCount() const;
  void drawColumns(HDC device, std::int32_t row, std::int32_t columns, const RECT& area, UINT flags) const;

  std::wstring rowSource_;
  std::optional<std::vector<std::int16_t>> columnWidths_;  // one column as wide as the control until set
  std::wstring columnWidthsText_;
  std::uint8_t listRows_ = 10;
  std::uint8_t boundColumn_ = 0;
  std::optional<std::int16_t> listWidth_;
  std::uint8_t textColumns_ = 1;
  bool limitToList_ = false;
  std::wstring where_;
  std::wstring order_;
  ListTable table_;
  std::int32_t currentRow_ = ListTable::kNoRow;
  std::int32_t previousRow_ = ListTable::kNoRow;  // the one that is current again when the list closes without a choice
  bool complete_ = false;                         // the next change of the text may be completed from the list
  ComboList list_;
};

}  // namespace qev
