// The rows of a combo box's list and how a row is found.
#include "values/ListTable.h"

#include <gtest/gtest.h>

#include "platform/AutomationError.h"
#include "support/ErrorOf.h"
#include "support/SpanishLocale.h"

namespace qev {
namespace {

using test::numberOf;
using test::SpanishLocale;

class ListTableTest : public ::testing::Test {
 protected:
  SpanishLocale locale_;

  ListTable values(const std::wstring& list, std::int32_t columns = 1) const {
    return ListTable::ofValues(locale_, list, columns);
  }
  ListTable rows(std::vector<ListTable::Row> cells) const { return ListTable::ofRows(locale_, std::move(cells)); }

  static std::vector<std::wstring> texts(const ListTable& table, std::int32_t columns = 1) {
    std::vector<std::wstring> all;
    for (std::int32_t row = 0; row < table.rowCount(); ++row) {
      for (std::int32_t column = 0; column < columns; ++column) all.push_back(table.text(column, row));
    }
    return all;
  }
};

using Texts = std::vector<std::wstring>;

TEST_F(ListTableTest, ThreeValuesInOneColumnAreThreeRows) {
  EXPECT_EQ(texts(values(L"A;B;C")), (Texts{L"A", L"B", L"C"}));
}

TEST_F(ListTableTest, ThreeValuesInTwoColumnsAreOneRowAndTheRestIsDropped) {
  const ListTable table = values(L"A;B;C", 2);
  EXPECT_EQ(table.rowCount(), 1);
  EXPECT_EQ(texts(table, 2), (Texts{L"A", L"B"}));
}

TEST_F(ListTableTest, RowsAreFilledFromLeftToRight) {
  EXPECT_EQ(texts(values(L"1;uno;2;dos", 2), 2), (Texts{L"1", L"uno", L"2", L"dos"}));
}

TEST_F(ListTableTest, EmptyPiecesAreCells) {
  EXPECT_EQ(texts(values(L";A;;")), (Texts{L"", L"A", L"", L""}));
  EXPECT_EQ(values(L"").rowCount(), 1);
}

TEST_F(ListTableTest, NoColumnsAreADivisionByZero) {
  EXPECT_EQ(numberOf([&] { values(L"A;B", 0); }), kDivisionByZero);
  EXPECT_EQ(numberOf([&] { values(L"A;B", -1); }), kDivisionByZero);
}

TEST_F(ListTableTest, MoreColumnsThanValuesAreNoRow) {
  EXPECT_EQ(values(L"A;B", 3).rowCount(), 0);
}

TEST_F(ListTableTest, RowsBeyond32767AreDropped) {
  const std::wstring list(1'000'000, L';');
  EXPECT_EQ(values(list).rowCount(), 32767);
  EXPECT_EQ(rows(std::vector<ListTable::Row>(40'000)).rowCount(), 32767);
}

TEST_F(ListTableTest, ARowSourceOfAMegabyteIsRead) {
  std::wstring list;
  while (list.size() < 1'000'000) list += L"Elemento de la lista;";
  EXPECT_EQ(values(list).rowCount(), 32767);
}

TEST_F(ListTableTest, CellsOutsideTheTableReadAsEmptyText) {
  const ListTable table = values(L"A;B", 2);
  for (const auto& [column, row] : {std::pair{2, 0}, {0, 1}, {-1, 0}, {0, -1}}) {
    EXPECT_EQ(table.cell(column, row), Value(L"")) << column << ", " << row;
  }
}

TEST_F(ListTableTest, CellsOfAnyTypeReadAsText) {
  const ListTable table = rows({{std::int32_t{7}, Null{}, Empty{}, 2.5}});
  EXPECT_EQ(texts(table, 4), (Texts{L"7", L"", L"", L"2,5"}));
}

TEST_F(ListTableTest, ARowIsAddedBeforeAnotherOrAtTheEnd) {
  ListTable table = values(L"A;B");
  table.AddRow(0, {L"principio"});
  table.AddRow(3, {L"final"});
  table.AddRow(2, {L"medio"});
  EXPECT_EQ(texts(table), (Texts{L"principio", L"A", L"medio", L"B", L"final"}));
  EXPECT_EQ(numberOf([&] { table.AddRow(6, {L"x"}); }), kSubscriptOutOfRange);
  EXPECT_EQ(numberOf([&] { table.AddRow(-1, {L"x"}); }), kSubscriptOutOfRange);
  EXPECT_EQ(table.rowCount(), 5);
}

TEST_F(ListTableTest, AFullTableTakesNoMoreRows) {
  ListTable table = rows(std::vector<ListTable::Row>(32'767));
  EXPECT_EQ(numberOf([&] { table.AddRow(0, {L"x"}); }), kOverflow);
}

TEST_F(ListTableTest, ARowIsReplacedCellByCell) {
  ListTable table = values(L"1;uno;2;dos", 2);
  table.UpdateRow(1, {std::int32_t{3}, L"tres"});
  EXPECT_EQ(texts(table, 2), (Texts{L"1", L"uno", L"3", L"tres"}));
  table.setCell(1, 0, L"UNO");
  EXPECT_EQ(table.text(1, 0), L"UNO");
  EXPECT_EQ(numberOf([&] { table.UpdateRow(2, {}); }), kSubscriptOutOfRange);
  EXPECT_EQ(numberOf([&] { table.setCell(0, 2, L"x"); }), kSubscriptOutOfRange);
}

TEST_F(ListTableTest, TypedTextFindsTheFirstRowThatBeginsWithItInAnyLetterCase) {
  const ListTable table = values(L"Diariamente;Semanalmente;Mensualmente;Semestral");
  EXPECT_EQ(table.findTyped(L"se", 0), 1);
  EXPECT_EQ(table.findTyped(L"SEME", 0), 3);
  EXPECT_EQ(table.findTyped(L"x", 0), -1);
  EXPECT_EQ(table.findTyped(L"", 0), -1);
  EXPECT_EQ(table.findTyped(L"  ", 0), -1);
  EXPECT_EQ(table.findTyped(L"semanalmente y más", 0), -1);
  EXPECT_EQ(table.findTyped(L"se", 1), -1);
}

TEST_F(ListTableTest, AWholeMatchIsBetterThanAnEarlierBeginning) {
  EXPECT_EQ(values(L"Sala 1 bis;Sala 1;Sala 1").findTyped(L"sala 1", 0), 1);
}

TEST_F(ListTableTest, AccentedLettersMatchInEitherCase) {
  EXPECT_EQ(values(L"Año;Ñandú").findTyped(L"ñ", 0), 1);
}

TEST_F(ListTableTest, AnEntryIsTheWholeCellInAnyLetterCase) {
  const ListTable table = values(L"Diariamente;Semanalmente");
  EXPECT_EQ(table.findEntry(L"SEMANALMENTE", 0, DataType::Text), 1);
  EXPECT_EQ(table.findEntry(L"Semanal", 0, DataType::Text), -1);
  EXPECT_EQ(table.findEntry(L" Semanalmente", 0, DataType::Text), -1);
  EXPECT_EQ(table.findEntry(L"", 0, DataType::Text), -1);
}

TEST_F(ListTableTest, AnOptionalNumberIsFoundByItsNumericValue) {
  const ListTable table = values(L"5 días;7;010");
  EXPECT_EQ(table.findEntry(L"10", 0, DataType::OptionalNumber), 2);
  EXPECT_EQ(table.findEntry(L"5", 0, DataType::OptionalNumber), 0);
  EXPECT_EQ(table.findEntry(L" 7 ", 0, DataType::OptionalNumber), 1);
  EXPECT_EQ(table.findEntry(L"10", 0, DataType::Number), -1);
}

TEST_F(ListTableTest, ACodeIsFoundByTheCodeOfItsItem) {
  const ListTable table = values(L"10 - Diez;1 - Uno;N -Norte");
  EXPECT_EQ(table.findEntry(L"1", 0, DataType::Code), 1);
  EXPECT_EQ(table.findEntry(L"1 - otra descripción", 0, DataType::Code), 1);
  EXPECT_EQ(table.findEntry(L"n", 0, DataType::Code), 2);
  EXPECT_EQ(table.findEntry(L"1", 0, DataType::Text), -1);
}

TEST_F(ListTableTest, FindCodigoGivesTheWholeCellOfTheCode) {
  const ListTable table = values(L"10 - Diez;1 - Uno;a - Alfa;2 -Dos");
  EXPECT_EQ(table.FindCodigo(std::int32_t{1}, 0), L"1 - Uno");
  EXPECT_EQ(table.FindCodigo(L"  1 ", 0), L"1 - Uno");
  EXPECT_EQ(table.FindCodigo(L"A", 0), L"a - Alfa");
  EXPECT_EQ(table.FindCodigo(L"2", 0), L"");
  EXPECT_EQ(table.FindCodigo(L"3", 0), L"");
}

TEST_F(ListTableTest, FindCodigoOfNullIsEmpty) {
  EXPECT_EQ(values(L" - nada;1 - Uno").FindCodigo(Null{}, 0), L"");
  EXPECT_EQ(ListTable(locale_).FindCodigo(L"1", 0), L"");
}

TEST_F(ListTableTest, TypedTextIsFoundAmongTenThousandRows) {
  std::vector<ListTable::Row> cells;
  for (int i = 0; i < 10'000; ++i) cells.push_back({L"Cliente número " + std::to_wstring(i)});
  const ListTable table = rows(std::move(cells));
  EXPECT_EQ(table.findTyped(L"cliente número 9999", 0), 9999);
  EXPECT_EQ(table.findTyped(L"cliente x", 0), -1);
}

}  // namespace
}  // namespace qev
