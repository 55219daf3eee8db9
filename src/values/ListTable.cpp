#include "values/ListTable.h"

#include <algorithm>
#include <utility>

#include "platform/AutomationError.h"

namespace qev {
namespace {

constexpr wchar_t kSeparator = L';';

}  // namespace

ListTable ListTable::ofValues(const Locale& locale, const std::wstring& list, std::int32_t columns) {
  if (columns < 1) throw AutomationError(kDivisionByZero);
  ListTable table(locale);
  const auto pieces = static_cast<std::size_t>(std::count(list.begin(), list.end(), kSeparator)) + 1;
  const std::size_t rows = std::min<std::size_t>(pieces / static_cast<std::size_t>(columns), kMostRows);
  table.rows_.reserve(rows);
  std::size_t start = 0;
  while (table.rows_.size() < rows) {
    Row row;
    row.reserve(static_cast<std::size_t>(columns));
    for (std::int32_t column = 0; column < columns; ++column) {
      const std::size_t end = std::min(list.find(kSeparator, start), list.size());
      row.emplace_back(list.substr(start, end - start));
      start = end + 1;
    }
    table.rows_.push_back(std::move(row));
  }
  return table;
}

ListTable ListTable::ofRows(const Locale& locale, std::vector<Row> rows) {
  ListTable table(locale);
  if (rows.size() > static_cast<std::size_t>(kMostRows)) rows.resize(kMostRows);
  table.rows_ = std::move(rows);
  return table;
}

Value ListTable::cell(std::int32_t column, std::int32_t row) const {
  if (!hasRow(row) || column < 0) return std::wstring();
  const Row& cells = rows_[static_cast<std::size_t>(row)];
  return static_cast<std::size_t>(column) < cells.size() ? cells[static_cast<std::size_t>(column)]
                                                         : Value(std::wstring());
}

std::wstring ListTable::text(std::int32_t column, std::int32_t row) const {
  return textOf(cell(column, row));
}

std::wstring ListTable::textOf(const Value& value) const {
  if (const auto* text = std::get_if<std::wstring>(&value)) return *text;
  try {
    return isMissing(value) ? std::wstring() : locale_->toText(value);
  } catch (const AutomationError&) {
    return {};
  }
}

void ListTable::setCell(std::int32_t column, std::int32_t row, Value value) {
  if (!hasRow(row) || column < 0) throw AutomationError(kSubscriptOutOfRange);
  Row& cells = rows_[static_cast<std::size_t>(row)];
  if (cells.size() <= static_cast<std::size_t>(column)) cells.resize(static_cast<std::size_t>(column) + 1);
  cells[static_cast<std::size_t>(column)] = std::move(value);
}

void ListTable::AddRow(std::int32_t row, Row cells) {
  if (row != rowCount() && !hasRow(row)) throw AutomationError(kSubscriptOutOfRange);
  if (rowCount() == kMostRows) throw AutomationError(kOverflow);
  rows_.insert(rows_.begin() + row, std::move(cells));
}

void ListTable::UpdateRow(std::int32_t row, Row cells) {
  if (!hasRow(row)) throw AutomationError(kSubscriptOutOfRange);
  rows_[static_cast<std::size_t>(row)] = std::move(cells);
}

bool ListTable::beginsWith(const std::wstring& text, const std::wstring& start) const {
  return text.size() >= start.size() && locale_->equalIgnoringCase(text.substr(0, start.size()), start);
}

std::int32_t ListTable::findTyped(const std::wstring& typed, std::int32_t column) const {
  if (trimmed(typed).empty()) return kNoRow;
  std::int32_t found = kNoRow;
  for (std::int32_t row = 0; row < rowCount(); ++row) {
    const std::wstring candidate = text(column, row);
    const bool whole = candidate.size() == typed.size();
    if (found != kNoRow && !whole) continue;  // only a whole match could still be the better one
    if (!beginsWith(candidate, typed)) continue;
    if (whole) return row;
    found = row;
  }
  return found;
}

std::int32_t ListTable::findEntry(const std::wstring& entry, std::int32_t column, DataType dataType) const {
  const double number = numericValue(std::wstring_view(entry));
  const std::wstring code = MGeneral::CodeOfItem(entry);
  for (std::int32_t row = 0; row < rowCount(); ++row) {
    const bool matches = dataType == DataType::OptionalNumber ? numericValue(cell(column, row)) == number
                         : dataType == DataType::Code
                             ? locale_->equalIgnoringCase(MGeneral::CodeOfItem(text(column, row)), code)
                             : locale_->equalIgnoringCase(text(column, row), entry);
    if (matches) return row;
  }
  return kNoRow;
}

std::wstring ListTable::FindCodigo(const Value& code, std::int32_t column) const {
  if (std::holds_alternative<Null>(code)) return {};
  const std::wstring start = trimmed(textOf(code)) + L" - ";
  for (std::int32_t row = 0; row < rowCount(); ++row) {
    std::wstring candidate = text(column, row);
    if (beginsWith(candidate, start)) return candidate;
  }
  return {};
}

}  // namespace qev
