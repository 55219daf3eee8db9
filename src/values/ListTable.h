// The rows of a multi-column list, and the rules by which a row is found: what a combo box shows and matches.
//
// Columns and rows are counted from 0; -1 stands for no row.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/Locale.h"
#include "platform/Value.h"
#include "values/MGeneral.h"

namespace qev {

class ListTable {
 public:
  using Row = std::vector<Value>;

  static constexpr std::int32_t kNoRow = -1;
  static constexpr std::int32_t kMostRows = 32767;  // a row number has 16 bits

  // REQUIRES: the locale outlives the table and its copies.
  explicit ListTable(const Locale& locale) : locale_(&locale) {}
  void setLocale(const Locale& locale) { locale_ = &locale; }

  // The rows of a value list: `list` split at ";", `columns` cells a row, from left to right. An incomplete last row
  // and rows beyond kMostRows are dropped. Throws 11 (division by zero) without columns.
  static ListTable ofValues(const Locale& locale, const std::wstring& list, std::int32_t columns);

  // Rows made elsewhere, those beyond kMostRows dropped.
  static ListTable ofRows(const Locale& locale, std::vector<Row> rows);

  std::int32_t rowCount() const { return static_cast<std::int32_t>(rows_.size()); }
  bool hasRow(std::int32_t row) const { return row >= 0 && row < rowCount(); }

  // A cell, and a cell as text: "" when there is no such cell or it cannot be converted.
  Value cell(std::int32_t column, std::int32_t row) const;
  std::wstring text(std::int32_t column, std::int32_t row) const;

  // Stores into a cell. Throws 9 when there is no such row.
  void setCell(std::int32_t column, std::int32_t row, Value value);

  // Puts a row of these cells before row `row`, which may be the one after the last. Throws 9 when there is no such
  // place, 6 when the table is full.
  void AddRow(std::int32_t row, Row cells);

  // Replaces the cells of a row. Throws 9 when there is no such row.
  void UpdateRow(std::int32_t row, Row cells);

  // The row that an unfinished text stands for: the first whose cell in `column` is that text, else the first whose
  // cell begins with it, in any letter case. kNoRow for a blank text.
  std::int32_t findTyped(const std::wstring& typed, std::int32_t column) const;

  // The first row whose cell in `column` is the entry `text`: by numeric value for OptionalNumber, by code for Code, by
  // the whole text in any letter case for every other type. kNoRow when there is none.
  std::int32_t findEntry(const std::wstring& text, std::int32_t column, DataType dataType) const;

  // The cell in `column` of the first row that begins with the trimmed `code` and " - ", in any letter case; "" when
  // there is none or `code` is null.
  std::wstring FindCodigo(const Value& code, std::int32_t column) const;

 private:
  std::wstring textOf(const Value& value) const;
  bool beginsWith(const std::wstring& text, const std::wstring& start) const;

  const Locale* locale_;
  std::vector<Row> rows_;
};

}  // namespace qev
