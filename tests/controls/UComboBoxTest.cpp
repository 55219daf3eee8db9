// The combo box: real windows on a real display, driven by real key strokes and mouse clicks.
#include "controls/UComboBox.h"

#include <algorithm>

#include "controls/FieldTest.h"

namespace qev {
namespace {

using test::Button;
using test::TestForm;

constexpr wchar_t kSchedules[] = L"Diariamente;Semanalmente;Mensualmente";
constexpr wchar_t kNotInList[] = L"El valor introducido no es un elemento de la lista.";
constexpr WORD kCtrl = VK_CONTROL;

std::wstring numbered(int rows) {
  std::wstring list;
  for (int i = 0; i < rows; ++i) list += (i ? L";Fila " : L"Fila ") + std::to_wstring(i);
  return list;
}

RECT screenArea(HWND window) {
  RECT area{};
  GetWindowRect(window, &area);
  return area;
}

RECT workArea() {
  RECT area{};
  SystemParametersInfoW(SPI_GETWORKAREA, 0, &area, 0);
  return area;
}

// A form of two combo boxes and a text box; the first combo box has the focus and the schedules in its list.
class UComboBoxTest : public test::FieldTest {
 protected:
  UComboBoxTest() : FieldTest(layout()) { fill(box(), kSchedules); }

  static std::vector<TestForm::Item> layout() { return {{UComboBox::kClassName}, {UComboBox::kClassName}, {}}; }

  UComboBox& box() { return form_->combo(1); }
  UComboBox& other() { return form_->combo(2); }
  UTextBox& textBox() { return form_->field(3); }

  static void fill(UComboBox& combo, const std::wstring& rows, const wchar_t* widths = nullptr) {
    combo.setRowSource(rows);
    if (widths) combo.setColumnWidths(widths);
    combo.Requery();
  }

  void record(UComboBox& combo) {
    FieldTest::record(combo);
    combo.AfterListUpdate = [this] { events_.push_back("AfterListUpdate"); };
  }

  // Enters the first field while it holds `text`.
  void enterWith(const wchar_t* text) {
    form_->focus(2);
    box().setText(text);
    form_->focus(1);
  }

  // Presses keys in the first field, each with the row that is the current one then.
  void expectRows(std::initializer_list<std::pair<WORD, int>> keys) {
    int number = 0;
    for (const auto& [key, row] : keys) {
      press(key);
      EXPECT_EQ(box().currentRow(), row) << "key " << ++number;
    }
  }

  void press(WORD key, unsigned modifiers = test::kNoModifier) { form_->press(key, modifiers); }

  void clickButton(UComboBox& combo, int fromRight = 9) {
    RECT client{};
    GetClientRect(combo.hWnd(), &client);
    test::clickAt(form_->window(), combo.hWnd(), client.right - fromRight, client.bottom / 2);
  }

  static int rowHeight(UComboBox& combo) { return ComboList::rowHeight(ambientFont(combo)); }
  static HFONT ambientFont(UComboBox& combo) {
    return reinterpret_cast<HFONT>(SendMessageW(combo.hWnd(), WM_GETFONT, 0, 0));
  }

  void pointAtRow(UComboBox& combo, int shownRow) {
    POINT at{12, shownRow * rowHeight(combo) + rowHeight(combo) / 2};
    ClientToScreen(combo.listWindow(), &at);
    SetCursorPos(at.x, at.y);
    form_->pump();
  }

  void chooseRow(int shownRow) {
    clickButton(box());
    clickRow(box(), shownRow);
  }

  void clickRow(UComboBox& combo, int shownRow) {
    test::clickAt(form_->window(), combo.listWindow(), 12, shownRow * rowHeight(combo) + rowHeight(combo) / 2);
  }

  // The timer of the open list has looked once more.
  void waitForTheWatch() {
    const ULONGLONG end = GetTickCount64() + 200;
    test::pumpUntil(form_->window(), [end] { return GetTickCount64() > end; });
  }
};

// ---------------------------------------------------------------------------------------------------------------------
// Filling the list

TEST_F(UComboBoxTest, ARowSourceOfThreeValuesGivesThreeRowsInOneColumnAndOneRowInTwo) {
  fill(box(), L"A;B;C");
  EXPECT_EQ(box().rowCount(), 3);
  fill(box(), L"A;B;C", L"40;60");
  EXPECT_EQ(box().rowCount(), 1);
  box().setBoundColumn(1);
  press(kCtrl);
  press(VK_HOME);
  EXPECT_EQ(box().Column(0), Value(L"A"));
  EXPECT_EQ(box().Column(1), Value(L"B"));
  EXPECT_EQ(box().Column(2), Value(L""));
}

TEST_F(UComboBoxTest, ARowSourceTakesEffectWithRequery) {
  box().setRowSource(L"A;B");
  EXPECT_EQ(box().rowCount(), 3);
  box().Requery();
  EXPECT_EQ(box().rowCount(), 2);
}

TEST_F(UComboBoxTest, AnEmptyRowSourceLeavesTheListAsItIs) {
  box().setRowSource(L"");
  box().Requery();
  EXPECT_EQ(box().rowCount(), 3);
}

TEST_F(UComboBoxTest, WithoutColumnsTheListStaysAsItIs) {
  fill(box(), L"A;B;C;D", L"");
  EXPECT_EQ(box().rowCount(), 3);
  EXPECT_EQ(box().ColumnWidths(), L"");
  press(kCtrl);
  EXPECT_TRUE(box().listIsOpen());
}

TEST_F(UComboBoxTest, ColumnWidthsOfWordsAreColumnsWithoutWidth) {
  fill(box(), L"A;B;C;D", L"ancho;;x");
  EXPECT_EQ(box().rowCount(), 1);
  press(kCtrl);
  ASSERT_TRUE(box().listIsOpen());
  press(VK_DOWN);
  press(VK_RETURN);
  EXPECT_EQ(box().Text(), L"A");
}

TEST_F(UComboBoxTest, AQueryGivesAnEmptyListHere) {
  fill(box(), L"Select Codigo from Clientes");
  EXPECT_EQ(box().rowCount(), 0);
  press(kCtrl);
  EXPECT_FALSE(box().listIsOpen());
}

TEST_F(UComboBoxTest, AQueryIsInCapitalsAndItsClausesAreNot) {
  std::vector<std::wstring> queries;
  box().QueryRows = [&](const std::wstring& query) {
    queries.push_back(query);
    return std::vector<ListTable::Row>{{std::int32_t{1}, L"Uno"}, {std::int32_t{2}, L"Dos"}};
  };
  fill(box(), L"select Código from Clientes", L"30;100");
  box().setWhere(L"Activo = Sí");
  box().Requery();
  box().setOrder(L"Nombre");
  box().Requery();
  box().setWhere(L"");
  box().Requery();
  EXPECT_EQ(queries,
            (std::vector<std::wstring>{L"SELECT CÓDIGO FROM CLIENTES", L"SELECT CÓDIGO FROM CLIENTES WHERE Activo = Sí",
                                       L"SELECT CÓDIGO FROM CLIENTES WHERE Activo = Sí ORDER BY Nombre",
                                       L"SELECT CÓDIGO FROM CLIENTES ORDER BY Nombre"}));
  EXPECT_EQ(box().rowCount(), 2);
}

TEST_F(UComboBoxTest, AQueryThatFailsLeavesTheListAsItIs) {
  box().QueryRows = [](const std::wstring&) -> std::vector<ListTable::Row> { throw AutomationError(kPathNotFound); };
  fill(box(), L"SELECT 1");
  EXPECT_EQ(box().rowCount(), 3);
}

TEST_F(UComboBoxTest, ARowSourceOfAMegabyteAndMoreThan32767RowsAreUsable) {
  fill(box(), numbered(80'000));
  EXPECT_EQ(box().rowCount(), 32767);
  press(kCtrl);
  press(VK_END);
  EXPECT_EQ(box().currentRow(), 32766);
  press(VK_NEXT);
  EXPECT_EQ(box().currentRow(), 32766);
  press(VK_RETURN);
  EXPECT_EQ(box().Text(), L"Fila 32766");
  fill(other(), std::wstring(1'000'000, L'x'));
  EXPECT_EQ(other().rowCount(), 1);
  form_->focus(2);
  press(kCtrl);
  EXPECT_TRUE(other().listIsOpen());
}

TEST_F(UComboBoxTest, RowsAreAddedAndReplacedAndTheCurrentRowGoesWithThem) {
  box().setText(L"");
  form_->type(L"sem");
  ASSERT_EQ(box().currentRow(), 1);
  box().AddRow(0, {L"Nunca"});
  EXPECT_EQ(box().rowCount(), 4);
  EXPECT_EQ(box().Column(0), Value(L"Semanalmente"));
  box().UpdateRow(2, {L"Cada semana"});
  EXPECT_EQ(box().Column(0), Value(L"Cada semana"));
  EXPECT_THROW(box().UpdateRow(4, {L"x"}), AutomationError);
  EXPECT_THROW(box().AddRow(-1, {L"x"}), AutomationError);
}

TEST_F(UComboBoxTest, ColumnReadsAndWritesTheCurrentRowAndIsEmptyWithoutOne) {
  EXPECT_EQ(box().Column(0), Value(L""));
  box().setColumn(0, L"perdido");
  form_->type(L"men");
  EXPECT_EQ(box().Column(0), Value(L"Mensualmente"));
  box().setColumn(0, std::int32_t{30});
  EXPECT_EQ(box().Column(0), Value(std::int32_t{30}));
}

TEST_F(UComboBoxTest, AnOpenListFollowsItsRows) {
  press(kCtrl);
  const LONG before = screenArea(box().listWindow()).bottom - screenArea(box().listWindow()).top;
  box().AddRow(3, {L"Anualmente"});
  const LONG after = screenArea(box().listWindow()).bottom - screenArea(box().listWindow()).top;
  EXPECT_EQ(before, 3 * rowHeight(box()) + 2);
  EXPECT_EQ(after, 4 * rowHeight(box()) + 2);
  box().QueryRows = nullptr;
  fill(box(), L"SELECT");
  EXPECT_FALSE(box().listIsOpen());
}

// ---------------------------------------------------------------------------------------------------------------------
// Typing

TEST_F(UComboBoxTest, TypingSeCompletesToSemanalmenteWithTheAddedLettersSelected) {
  form_->type(L"se");
  EXPECT_EQ(box().Text(), L"semanalmente");
  EXPECT_EQ(selStart(box()), 2);
  EXPECT_EQ(selLength(box()), 10);
  press(VK_TAB);
  EXPECT_EQ(box().Text(), L"Semanalmente");
}

TEST_F(UComboBoxTest, TheNextKeyReplacesTheAddedLetters) {
  form_->type(L"sex");
  EXPECT_EQ(box().Text(), L"sex");
  EXPECT_EQ(box().currentRow(), -1);
}

TEST_F(UComboBoxTest, NothingIsCompletedAfterBackspaceOrDelete) {
  for (const WORD key : {VK_BACK, VK_DELETE}) {
    box().setText(L"");
    form_->type(L"sem");
    press(key);
    EXPECT_EQ(box().Text(), L"sem");
    press(VK_BACK);
    EXPECT_EQ(box().Text(), L"se");
    EXPECT_EQ(selLength(box()), 0);
    form_->type(L"m");
    EXPECT_EQ(box().Text(), L"semanalmente");
    box().Update();
  }
}

TEST_F(UComboBoxTest, NothingIsCompletedWithinTheTextOrForBlanks) {
  form_->type(L"emx");
  press(VK_BACK);
  press(VK_HOME);
  form_->type(L"s");
  EXPECT_EQ(box().Text(), L"sem");
  EXPECT_EQ(selStart(box()), 1);
  fill(other(), L"  A;B");
  form_->focus(2);
  form_->type(L" ");
  EXPECT_EQ(other().Text(), L" ");
}

TEST_F(UComboBoxTest, EveryTypedChangeRaisesChangeAndCountsAsModified) {
  enterWith(L"Diariamente");
  record(box());
  press(VK_BACK);
  EXPECT_EQ(events_, (Strings{"KeyDown", "KeyPress", "Change"}));
  events_.clear();
  form_->type(L"d");
  EXPECT_EQ(events_, (Strings{"KeyDown", "KeyPress", "Change"}));
  EXPECT_EQ(box().Text(), L"diariamente");
  events_.clear();
  press(VK_TAB);
  EXPECT_EQ(box().Text(), L"Diariamente");
  EXPECT_EQ(events_, Strings{"AfterUpdate"});
}

TEST_F(UComboBoxTest, KeysAreFilteredByTheDataType) {
  box().setDatatype(DataType::Integer);
  fill(box(), L"10;25;30");
  form_->type(L"x2");
  EXPECT_EQ(box().Text(), L"25");
  EXPECT_EQ(fakes_.sound.beeps, 1);
  EXPECT_EQ(box().Value(), Value(std::int32_t{25}));
}

// ---------------------------------------------------------------------------------------------------------------------
// Keys while the list is closed

TEST_F(UComboBoxTest, ClosedEnterAndDownMoveToTheNextFieldAndUpToThePreviousOne) {
  std::vector<int> keys;
  other().KeyDown = [&](std::int16_t& key, std::int16_t) {
    if (key != VK_SHIFT) keys.push_back(key);  // Up types Shift and Tab
  };
  form_->focus(2);
  press(VK_RETURN);
  EXPECT_EQ(form_->focused(), 3);
  form_->focus(2);
  press(VK_DOWN);
  EXPECT_EQ(form_->focused(), 3);
  press(VK_UP);
  EXPECT_EQ(form_->focused(), 2);
  press(VK_UP);
  EXPECT_EQ(form_->focused(), 1);
  EXPECT_EQ(keys, (std::vector<int>{VK_RETURN, VK_DOWN, VK_UP}));
  EXPECT_EQ(form_->commands, 0) << "Enter presses no default button";
}

TEST_F(UComboBoxTest, ClosedCtrlOpensTheList) {
  record(box());
  press(kCtrl);
  EXPECT_TRUE(box().listIsOpen());
  EXPECT_EQ(events_, Strings{"KeyDown"});
}

TEST_F(UComboBoxTest, ClosedEscapeRestoresTheSavedTextAndClosesNoForm) {
  enterWith(L"Mensualmente");
  form_->type(L"x");
  record(box());
  press(VK_ESCAPE);
  EXPECT_EQ(box().Text(), L"Mensualmente");
  EXPECT_EQ(form_->commands, 0);
  EXPECT_EQ(events_, Strings{"KeyDown"});
  box().setLimitToList(true);
  press(VK_TAB);
  EXPECT_TRUE(fakes_.messages.shown.empty()) << "nothing was entered";
}

TEST_F(UComboBoxTest, F4AndAltDownOpenAndCloseTheListWithoutChoosing) {
  for (const auto& [key, modifier] : {std::pair<WORD, unsigned>{VK_F4, 0U}, {VK_DOWN, test::kAlt}}) {
    press(key, modifier);
    EXPECT_TRUE(box().listIsOpen());
    press(key, modifier);
    EXPECT_FALSE(box().listIsOpen());
    EXPECT_EQ(box().Text(), L"");
    EXPECT_EQ(form_->focused(), 1);
  }
}

TEST_F(UComboBoxTest, AHeldCtrlKeyOpensTheListOnce) {
  INPUT down{};
  down.type = INPUT_KEYBOARD;
  down.ki.wVk = VK_CONTROL;
  for (int i = 0; i < 4; ++i) SendInput(1, &down, sizeof down);
  form_->pump();
  EXPECT_TRUE(box().listIsOpen());
  down.ki.dwFlags = KEYEVENTF_KEYUP;
  SendInput(1, &down, sizeof down);
  form_->pump();
}

TEST_F(UComboBoxTest, TheCtrlKeyWithinAltGrDoesNotOpenTheList) {
  const DWORD now = GetTickCount();
  INPUT altGr[4]{};
  for (INPUT& stroke : altGr) {
    stroke.type = INPUT_KEYBOARD;
    stroke.ki.time = now;
  }
  altGr[0].ki.wVk = altGr[2].ki.wVk = VK_CONTROL;
  altGr[1].ki.wVk = altGr[3].ki.wVk = VK_MENU;
  altGr[1].ki.dwFlags = KEYEVENTF_EXTENDEDKEY;
  altGr[2].ki.dwFlags = KEYEVENTF_KEYUP;
  altGr[3].ki.dwFlags = KEYEVENTF_EXTENDEDKEY | KEYEVENTF_KEYUP;
  SendInput(4, altGr, sizeof(INPUT));
  form_->pump();
  EXPECT_FALSE(box().listIsOpen());
}

TEST_F(UComboBoxTest, ADisabledOrLockedFieldOpensNoList) {
  box().setLocked(true);
  press(kCtrl);
  clickButton(box());
  EXPECT_FALSE(box().listIsOpen());
  box().setLocked(false);
  other().setEnabled(false);
  fill(other(), kSchedules);
  clickButton(other());
  EXPECT_FALSE(other().listIsOpen());
  other().openList();
  EXPECT_FALSE(other().listIsOpen());
}

TEST_F(UComboBoxTest, DisabledFieldsOfBothKindsDoNotSendTheFocusAroundForEver) {
  makeForm(layout(), false);
  for (int i = 1; i <= 3; ++i) EntryControl::of(form_->item(i))->setEnabled(false);
  EXPECT_TRUE(test::pumpUntilIdle(form_->window(), 1000));
}

// ---------------------------------------------------------------------------------------------------------------------
// Keys while the list is open

TEST_F(UComboBoxTest, OpenKeysMoveByRowsAndPagesAndStopAtTheEnds) {
  press(kCtrl);
  EXPECT_EQ(box().currentRow(), -1);
  record(box());
  expectRows({{VK_DOWN, 0}, {VK_DOWN, 1}, {VK_DOWN, 2}, {VK_DOWN, 2}, {VK_UP, 1}, {VK_UP, 0}, {VK_UP, 0}});
  expectRows({{VK_END, 2}, {VK_HOME, 0}});
  EXPECT_EQ(box().Text(), L"");
  EXPECT_EQ(events_, Strings{}) << "no KeyDown while the list is open";
  EXPECT_EQ(form_->focused(), 1);
  fill(box(), numbered(25));
  expectRows({{VK_HOME, 0}, {VK_NEXT, 10}, {VK_NEXT, 20}, {VK_NEXT, 24}, {VK_PRIOR, 14}, {VK_PRIOR, 4}, {VK_PRIOR, 0}});
  box().setListRows(4);
  expectRows({{VK_NEXT, 4}});
}

TEST_F(UComboBoxTest, TheScrollBarKeepsTheCurrentRowInSight) {
  fill(box(), numbered(25));
  press(kCtrl);
  const auto position = [&] { return GetScrollPos(box().listWindow(), SB_VERT); };
  press(VK_END);
  EXPECT_EQ(position(), 15);
  press(VK_UP);
  EXPECT_EQ(position(), 15);
  press(VK_HOME);
  EXPECT_EQ(position(), 0);
  for (int i = 0; i < 10; ++i) press(VK_DOWN);
  EXPECT_EQ(position(), 1);
  SCROLLINFO info{};
  info.cbSize = sizeof info;
  info.fMask = SIF_ALL;
  GetScrollInfo(box().listWindow(), SB_VERT, &info);
  EXPECT_EQ(info.nMax - static_cast<int>(info.nPage) + 1, 25 - 10);
}

TEST_F(UComboBoxTest, AListThatShowsAllItsRowsHasNoScrollBar) {
  press(kCtrl);
  EXPECT_EQ(GetWindowLongPtrW(box().listWindow(), GWL_STYLE) & WS_VSCROLL, 0);
}

TEST_F(UComboBoxTest, OpenEnterChoosesTheCurrentRow) {
  record(box());
  press(kCtrl);
  press(VK_END);
  events_.clear();
  press(VK_RETURN);
  EXPECT_FALSE(box().listIsOpen());
  EXPECT_EQ(box().Text(), L"Mensualmente");
  EXPECT_EQ(box().currentRow(), 2);
  EXPECT_EQ(events_, (Strings{"AfterUpdate", "Click"}));
  EXPECT_EQ(form_->focused(), 1);
  EXPECT_EQ(form_->commands, 0) << "the default button was not pressed";
  EXPECT_EQ(selLength(box()), 12);
}

TEST_F(UComboBoxTest, OpenEnterWithoutACurrentRowOnlyCloses) {
  record(box());
  press(kCtrl);
  events_.clear();
  press(VK_RETURN);
  EXPECT_FALSE(box().listIsOpen());
  EXPECT_EQ(events_, Strings{});
  EXPECT_EQ(form_->focused(), 1);
}

TEST_F(UComboBoxTest, OpenEscapeClosesWithoutChoosingAndDoesNotReachTheForm) {
  form_->type(L"men");
  press(kCtrl);
  EXPECT_EQ(box().currentRow(), 2);
  press(VK_HOME);
  record(box());
  press(VK_ESCAPE);
  EXPECT_FALSE(box().listIsOpen());
  EXPECT_EQ(box().Text(), L"mensualmente") << "the text is not restored by the key that closed the list";
  EXPECT_EQ(box().currentRow(), 2);
  EXPECT_EQ(form_->commands, 0);
  EXPECT_EQ(events_, Strings{});
}

TEST_F(UComboBoxTest, OpenCtrlClosesWithoutChoosing) {
  press(kCtrl);
  press(VK_DOWN);
  press(kCtrl);
  EXPECT_FALSE(box().listIsOpen());
  EXPECT_EQ(box().Text(), L"");
  EXPECT_EQ(box().currentRow(), -1);
}

TEST_F(UComboBoxTest, OpenBackspaceAndDeleteAreTyping) {
  for (const WORD key : {VK_BACK, VK_DELETE}) {
    enterWith(L"Mensualmente");
    press(kCtrl);
    record(box());
    events_.clear();
    press(key);
    EXPECT_EQ(box().Text(), L"");
    EXPECT_EQ(events_.back(), "Change");
    press(VK_ESCAPE);
    box().Update();
  }
}

TEST_F(UComboBoxTest, TypingWhileTheListIsOpenHighlightsTheRow) {
  press(kCtrl);
  form_->type(L"men");
  EXPECT_TRUE(box().listIsOpen());
  EXPECT_EQ(box().currentRow(), 2);
  press(VK_RETURN);
  EXPECT_EQ(box().Text(), L"Mensualmente");
}

TEST_F(UComboBoxTest, TheListOpensAtTheRowThatTheEntryWouldBeOnLeaving) {
  box().setText(L"Semanalmente");
  press(kCtrl);
  EXPECT_EQ(box().currentRow(), 1);
  press(VK_ESCAPE);
  box().setDatatype(DataType::Code);
  fill(box(), L"10 - Diez;1 - Uno");
  box().setText(L"1");
  press(kCtrl);
  EXPECT_EQ(box().currentRow(), 1);
  press(VK_ESCAPE);
  box().setDatatype(DataType::Text);
  press(kCtrl);
  EXPECT_EQ(box().currentRow(), 0) << "no row is the text, the first one begins with it";
}

TEST_F(UComboBoxTest, TabLeavesAndClosesTheList) {
  press(kCtrl);
  press(VK_DOWN);
  press(VK_TAB);
  EXPECT_FALSE(box().listIsOpen());
  EXPECT_EQ(form_->focused(), 2);
  EXPECT_EQ(box().Text(), L"");
}

// ---------------------------------------------------------------------------------------------------------------------
// Mouse

TEST_F(UComboBoxTest, TheButtonIsTheRightmost18Pixels) {
  clickButton(other(), 18);
  EXPECT_FALSE(other().listIsOpen()) << "there are no rows";
  fill(other(), kSchedules);
  clickButton(other(), 18);
  EXPECT_TRUE(other().listIsOpen());
  EXPECT_EQ(form_->focused(), 2);
  clickButton(other(), 18);
  EXPECT_FALSE(other().listIsOpen());
  clickButton(other(), 1);
  EXPECT_TRUE(other().listIsOpen());
  press(VK_ESCAPE);
  clickButton(other(), 19);
  EXPECT_FALSE(other().listIsOpen());
  EXPECT_EQ(GetFocus(), editOf(other()));
}

TEST_F(UComboBoxTest, APressOnTheControlsSurfaceWhileTheListIsOpenClosesIt) {
  press(kCtrl);
  RECT client{};
  GetClientRect(box().hWnd(), &client);
  SendMessageW(box().hWnd(), WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(client.right - 5, 5));
  EXPECT_FALSE(box().listIsOpen());
}

TEST_F(UComboBoxTest, MovingOverTheListHighlightsTheRowUnderThePointer) {
  clickButton(box());
  pointAtRow(box(), 1);
  EXPECT_EQ(box().currentRow(), 1);
  pointAtRow(box(), 2);
  EXPECT_EQ(box().currentRow(), 2);
  EXPECT_EQ(box().Text(), L"");
}

TEST_F(UComboBoxTest, APointerThatRestsWhereTheListOpensHighlightsNothing) {
  POINT at{20, 30};
  ClientToScreen(box().hWnd(), &at);
  SetCursorPos(at.x, at.y);
  form_->pump();
  press(kCtrl);
  waitForTheWatch();
  EXPECT_EQ(box().currentRow(), -1);
  press(VK_END);
  EXPECT_EQ(box().currentRow(), 2);
}

TEST_F(UComboBoxTest, AClickOnARowTakesItsTextUpdatesClosesAndRaisesClick) {
  record(box());
  clickButton(box());
  std::wstring seen;
  box().Click = [&] {
    events_.push_back("Click");
    seen = box().Text() + (box().listIsOpen() ? L" abierta" : L"");
  };
  clickRow(box(), 1);
  EXPECT_EQ(events_, (Strings{"AfterUpdate", "Click"}));
  EXPECT_EQ(seen, L"Semanalmente");
  EXPECT_EQ(box().currentRow(), 1);
  EXPECT_EQ(form_->focused(), 1);
  events_.clear();
  press(VK_TAB);
  EXPECT_EQ(events_, Strings{}) << "the choice is not validated once more";
}

TEST_F(UComboBoxTest, AButtonHeldDownFromTheFieldChoosesWhereItIsLetGo) {
  RECT client{};
  GetClientRect(box().hWnd(), &client);
  POINT at{client.right - 9, client.bottom / 2};
  ClientToScreen(box().hWnd(), &at);
  SetCursorPos(at.x, at.y);
  INPUT mouse{};
  mouse.type = INPUT_MOUSE;
  mouse.mi.dwFlags = MOUSEEVENTF_LEFTDOWN;
  SendInput(1, &mouse, sizeof mouse);
  form_->pump();
  ASSERT_TRUE(box().listIsOpen());
  pointAtRow(box(), 2);
  mouse.mi.dwFlags = MOUSEEVENTF_LEFTUP;
  SendInput(1, &mouse, sizeof mouse);
  form_->pump();
  EXPECT_EQ(box().Text(), L"Mensualmente");
}

TEST_F(UComboBoxTest, AClickElsewhereClosesWithoutChoosing) {
  press(kCtrl);
  press(VK_DOWN);
  test::clickAt(form_->window(), form_->window(), 3, 3);
  EXPECT_FALSE(box().listIsOpen());
  EXPECT_EQ(box().Text(), L"");
  EXPECT_EQ(box().currentRow(), -1);
}

TEST_F(UComboBoxTest, AClickOnTheEditBoxRaisesNoClick) {
  record(box());
  form_->clickField(1);
  EXPECT_EQ(events_, Strings{});
}

TEST_F(UComboBoxTest, TheWheelScrollsTheOpenList) {
  fill(box(), numbered(100));
  clickButton(box());
  pointAtRow(box(), 0);
  INPUT wheel{};
  wheel.type = INPUT_MOUSE;
  wheel.mi.dwFlags = MOUSEEVENTF_WHEEL;
  wheel.mi.mouseData = static_cast<DWORD>(-2 * WHEEL_DELTA);
  SendInput(1, &wheel, sizeof wheel);
  form_->pump();
  EXPECT_EQ(GetScrollPos(box().listWindow(), SB_VERT), 6);
  wheel.mi.mouseData = 40 * WHEEL_DELTA;
  SendInput(1, &wheel, sizeof wheel);
  form_->pump();
  EXPECT_EQ(GetScrollPos(box().listWindow(), SB_VERT), 0);
}

TEST_F(UComboBoxTest, TheScrollBarScrollsAndLeavesTheListOpen) {
  fill(box(), numbered(100));
  clickButton(box());
  RECT client{};
  GetClientRect(box().listWindow(), &client);
  test::clickAt(form_->window(), box().listWindow(), client.right + 6, client.bottom - 4);
  ASSERT_TRUE(box().listIsOpen());
  EXPECT_EQ(GetScrollPos(box().listWindow(), SB_VERT), 1);
  EXPECT_EQ(GetCapture(), box().listWindow());
  test::clickAt(form_->window(), box().listWindow(), client.right + 6, client.bottom - 30);
  EXPECT_EQ(GetScrollPos(box().listWindow(), SB_VERT), 11);
  waitForTheWatch();
  EXPECT_TRUE(box().listIsOpen());
  clickRow(box(), 2);
  EXPECT_EQ(box().Text(), L"Fila 13");
}

// ---------------------------------------------------------------------------------------------------------------------
// The list as a window

TEST_F(UComboBoxTest, TheListIsOnTheDesktopRightUnderTheFieldAndNotClippedByTheForm) {
  fill(other(), numbered(30));
  form_->focus(2);
  press(kCtrl);
  const RECT field = screenArea(other().hWnd());
  const RECT list = screenArea(other().listWindow());
  EXPECT_EQ(list.left, field.left);
  EXPECT_EQ(list.top, field.bottom);
  EXPECT_EQ(list.right - list.left, field.right - field.left);
  EXPECT_EQ(list.bottom - list.top, 10 * rowHeight(other()) + 2);
  EXPECT_GT(list.bottom, screenArea(form_->window()).bottom);
  EXPECT_EQ(WindowFromPoint({list.left + 5, list.bottom - 5}), other().listWindow());
}

TEST_F(UComboBoxTest, TheFormStaysTheActiveWindow) {
  press(kCtrl);
  clickButton(box());
  clickButton(box());
  pointAtRow(box(), 1);
  EXPECT_EQ(GetActiveWindow(), form_->window());
  EXPECT_EQ(GetForegroundWindow(), form_->window());
  EXPECT_EQ(GetFocus(), editOf(box()));
  clickRow(box(), 1);
  EXPECT_EQ(GetActiveWindow(), form_->window());
  EXPECT_EQ(GetFocus(), editOf(box()));
}

TEST_F(UComboBoxTest, WithoutRoomBelowTheListOpensUpwards) {
  fill(box(), numbered(30));
  const RECT work = workArea();
  SetWindowPos(form_->window(), nullptr, 100, work.bottom - 80, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
  form_->pump();
  press(kCtrl);
  const RECT list = screenArea(box().listWindow());
  EXPECT_EQ(list.bottom, screenArea(box().hWnd()).top);
  EXPECT_GE(list.top, work.top);
}

TEST_F(UComboBoxTest, TheListStaysWithinTheWorkArea) {
  fill(box(), numbered(300));
  box().setListRows(255);
  box().setListWidth(500);
  const RECT work = workArea();
  for (const POINT at : {POINT{work.right - 120, 300}, POINT{work.left - 60, 200}, POINT{300, work.bottom - 40}}) {
    SetWindowPos(form_->window(), nullptr, at.x, at.y, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
    form_->pump();
    press(kCtrl);
    ASSERT_TRUE(box().listIsOpen());
    const RECT list = screenArea(box().listWindow());
    EXPECT_GE(list.left, work.left);
    EXPECT_GE(list.top, work.top);
    EXPECT_LE(list.right, work.right);
    EXPECT_LE(list.bottom, work.bottom);
    press(VK_END);
    EXPECT_EQ(box().currentRow(), 299);
    press(VK_ESCAPE);
  }
}

TEST_F(UComboBoxTest, TheListClosesWhenTheCaptureHasGoneElsewhere) {
  press(kCtrl);
  EXPECT_EQ(GetCapture(), box().listWindow());
  SetCapture(form_->window());
  waitForTheWatch();
  EXPECT_FALSE(box().listIsOpen());
  EXPECT_EQ(GetCapture(), form_->window());
  ReleaseCapture();
}

TEST_F(UComboBoxTest, TheListClosesWhenTheFormIsMovedOrHidden) {
  press(kCtrl);
  SetWindowPos(form_->window(), nullptr, 200, 200, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
  waitForTheWatch();
  EXPECT_FALSE(box().listIsOpen());
  press(kCtrl);
  ASSERT_TRUE(box().listIsOpen());
  ShowWindow(form_->window(), SW_HIDE);
  waitForTheWatch();
  EXPECT_FALSE(box().listIsOpen());
}

TEST_F(UComboBoxTest, TheListClosesWhenAnotherWindowIsActivated) {
  press(kCtrl);
  const HWND another = CreateWindowExW(0, L"STATIC", L"Otra ventana", WS_POPUP | WS_VISIBLE, 500, 20, 100, 60, nullptr,
                                       nullptr, nullptr, nullptr);
  SetForegroundWindow(another);
  SetFocus(another);
  form_->pump();
  EXPECT_FALSE(box().listIsOpen());
  DestroyWindow(another);
}

TEST_F(UComboBoxTest, TheListGoesWithTheForm) {
  press(kCtrl);
  const HWND list = box().listWindow();
  ASSERT_TRUE(IsWindow(list));
  form_->destroy();
  EXPECT_FALSE(IsWindow(list));
  EXPECT_EQ(GetCapture(), nullptr);
}

TEST_F(UComboBoxTest, AFormDestroyedByTheHandlerOfAChoiceDoesNoHarm) {
  box().Click = [this] { form_->destroy(); };
  chooseRow(1);
  EXPECT_EQ(form_->window(), nullptr);
}

TEST_F(UComboBoxTest, AnErrorOfTheHandlerOfAClickedRowIsShownAndTheFieldGoesOn) {
  fakes_.messages.willAnswer({Answer::Ok});
  box().Click = [] { throw AutomationError(kDiskFull); };
  chooseRow(1);
  ASSERT_EQ(fakes_.messages.shown.size(), 1U);
  EXPECT_EQ(fakes_.messages.shown[0].text, L"Disco lleno");
  EXPECT_FALSE(box().listIsOpen());
  EXPECT_EQ(box().Text(), L"Semanalmente");
  box().Click = nullptr;
  chooseRow(2);
  EXPECT_EQ(box().Text(), L"Mensualmente");
}

#ifdef _WIN64  // where every throw passes the vectored handlers
TEST_F(UComboBoxTest, AFieldDestroyedWithItsListOpenTakesTheListWithItAndThrowsNothing) {
  static int thrown;
  thrown = 0;
  UComboBox& made = UComboBox::create(form_->window(), 600, 0, 0, 100, 24);
  fill(made, kSchedules);
  made.openList();
  const HWND list = made.listWindow();
  ASSERT_TRUE(IsWindow(list));
  void* const observer = AddVectoredExceptionHandler(1, [](EXCEPTION_POINTERS*) -> LONG {
    ++thrown;
    return EXCEPTION_CONTINUE_SEARCH;
  });
  DestroyWindow(made.hWnd());
  RemoveVectoredExceptionHandler(observer);
  EXPECT_EQ(thrown, 0);
  EXPECT_FALSE(IsWindow(list));
  EXPECT_EQ(GetCapture(), nullptr);
}
#endif

TEST_F(UComboBoxTest, AHandlerMayReplaceItself) {
  int first = 0;
  int second = 0;
  box().Click = [&] {
    ++first;
    box().Click = [&second] { ++second; };
  };
  for (int i = 0; i < 2; ++i) {
    chooseRow(i);
  }
  EXPECT_EQ(first, 1);
  EXPECT_EQ(second, 1);
}

TEST_F(UComboBoxTest, ListWidthIsNeverBelowTheControlAndZeroMeansTheColumns) {
  const auto control = static_cast<std::int16_t>(screenArea(box().hWnd()).right - screenArea(box().hWnd()).left);
  EXPECT_EQ(box().ListWidth(), control);
  box().setListWidth(10);
  EXPECT_EQ(box().ListWidth(), control);
  box().setListWidth(0);
  EXPECT_EQ(box().ListWidth(), control);
  box().setColumnWidths(L"300;250");
  EXPECT_EQ(box().ListWidth(), 550);
  box().setListWidth(static_cast<std::int16_t>(control + 25));
  EXPECT_EQ(box().ListWidth(), control + 25);
  press(kCtrl);
  const RECT list = screenArea(box().listWindow());
  EXPECT_EQ(list.right - list.left, control + 25);
}

TEST_F(UComboBoxTest, TextColumnsIsKeptBetweenOneAndTheColumns) {
  EXPECT_EQ(box().TextColumns(), 1);
  box().setTextColumns(0);
  EXPECT_EQ(box().TextColumns(), 1);
  box().setColumnWidths(L"10;20;30");
  box().setTextColumns(9);
  EXPECT_EQ(box().TextColumns(), 3);
  box().setTextColumns(2);
  EXPECT_EQ(box().TextColumns(), 2);
}

// ---------------------------------------------------------------------------------------------------------------------
// Validation

TEST_F(UComboBoxTest, WithLimitToListATextOfNoRowIsReportedAndTheTextOfTheEntryComesBack) {
  box().setLimitToList(true);
  for (const wchar_t* entry : {L"Nunca", L""}) {  // a field that was cleared is no element either
    fakes_.messages.willAnswer({Answer::Ok});
    enterWith(L"Diariamente");
    press(VK_DELETE);
    form_->type(entry);
    press(VK_TAB);
    EXPECT_EQ(fakes_.messages.shown.back(), (Shown{kNotInList, entry, message::kOk | message::kInformation}));
    EXPECT_EQ(box().Text(), L"Diariamente");
    EXPECT_EQ(form_->focused(), 1);
    press(VK_TAB);
    EXPECT_EQ(form_->focused(), 2);
  }
  EXPECT_EQ(fakes_.messages.shown.size(), 2U);
}

TEST_F(UComboBoxTest, WithoutLimitToListATextOfNoRowIsAccepted) {
  record(box());
  form_->type(L"Nunca");
  events_.clear();
  press(VK_TAB);
  EXPECT_EQ(box().Text(), L"Nunca");
  EXPECT_EQ(box().currentRow(), -1);
  EXPECT_EQ(events_, Strings{"AfterUpdate"});
}

TEST_F(UComboBoxTest, UpdateOutsideTheListReturnsFalse) {
  fakes_.messages.willAnswer({Answer::Ok});
  box().setLimitToList(true);
  form_->type(L"Nunca");
  EXPECT_FALSE(box().Update());
  EXPECT_TRUE(box().Update()) << "nothing was entered since";
  form_->type(L"dia");
  EXPECT_TRUE(box().Update());
  EXPECT_EQ(box().Text(), L"Diariamente");
}

TEST_F(UComboBoxTest, AfterUpdateThatSetsCancelRestoresTheSavedTextAndItsRow) {
  enterWith(L"Diariamente");
  box().AfterUpdate = [](bool& cancel) { cancel = true; };
  chooseRow(2);
  EXPECT_EQ(box().Text(), L"Diariamente");
  EXPECT_EQ(box().Column(0), Value(L"Diariamente"));
}

TEST_F(UComboBoxTest, EscapeAfterAChoiceKeepsTheChosenRow) {
  enterWith(L"Diariamente");
  chooseRow(2);
  press(VK_ESCAPE);
  EXPECT_EQ(box().Text(), L"Mensualmente");
}

TEST_F(UComboBoxTest, ACodeIsFoundByItsCodeAndIsTheValue) {
  box().setDatatype(DataType::Code);
  box().setLimitToList(true);
  fill(box(), L"10 - Diez;1 - Uno;2 - Dos");
  form_->type(L"2");
  press(VK_DELETE);
  press(VK_TAB);
  EXPECT_EQ(box().Text(), L"2 - Dos");
  EXPECT_EQ(box().Value(), Value(L"2"));
  EXPECT_EQ(box().FindCodigo(std::int32_t{1}), L"1 - Uno");
  EXPECT_EQ(box().FindCodigo(L"3"), L"");
  EXPECT_EQ(box().FindCodigo(Null{}), L"");
  EXPECT_TRUE(fakes_.messages.shown.empty());
}

TEST_F(UComboBoxTest, AValueSetByProgramIsShownByItsTypeAndNotValidated) {
  record(box());
  box().setLimitToList(true);
  box().setValue(L"  Anualmente ");
  EXPECT_EQ(box().Text(), L"Anualmente");
  EXPECT_EQ(box().Value(), Value(L"Anualmente"));
  press(VK_TAB);
  EXPECT_EQ(box().Text(), L"Anualmente");
  EXPECT_EQ(events_, Strings{});
  EXPECT_TRUE(fakes_.messages.shown.empty());
}

TEST_F(UComboBoxTest, AnOptionalNumberIsFoundByItsNumber) {
  box().setDatatype(DataType::OptionalNumber);
  box().setLimitToList(true);
  fill(box(), L"1;5;10");
  form_->type(L"010");
  press(VK_TAB);
  EXPECT_EQ(box().Text(), L"10");
  EXPECT_EQ(box().Value(), Value(std::int32_t{10}));
}

TEST_F(UComboBoxTest, TheBoundColumnIsSearchedMatchedAndCopied) {
  fill(box(), L"1;Uno;2;Dos;3;Tres", L"30;80");
  box().setBoundColumn(1);
  form_->type(L"d");
  EXPECT_EQ(box().Text(), L"dos");
  press(VK_TAB);
  EXPECT_EQ(box().Text(), L"Dos");
  EXPECT_EQ(box().Column(0), Value(L"2"));
  box().setBoundColumn(7);
  form_->focus(1);
  press(kCtrl);
  press(VK_DOWN);
  press(VK_RETURN);
  EXPECT_EQ(box().Text(), L"") << "there is no such column";
}

TEST_F(UComboBoxTest, TheValidationLockIsSharedWithTheTextBox) {
  fakes_.messages.willAnswer({Answer::Ok});
  box().setLimitToList(true);
  textBox().setDatatype(DataType::Date);
  form_->type(L"Nunca");
  bool held = false;
  bool otherAccepted = false;
  fakes_.messages.onShow = [&](const auto&) {
    held = ValidationLock::held();
    form_->focus(3);
    form_->type(L"99");
    otherAccepted = textBox().Update();
  };
  EXPECT_FALSE(box().Update());
  EXPECT_TRUE(held);
  EXPECT_TRUE(otherAccepted);
  EXPECT_EQ(fakes_.messages.shown.size(), 1U);
  EXPECT_FALSE(ValidationLock::held());
}

TEST_F(UComboBoxTest, AChangeOfTheTextIsSignalledToBoundData) {
  class Site : public ControlSite {
   public:
    int values = 0;
    void propertyChanged(const std::wstring& property) override { values += property == L"Value" ? 1 : 0; }
  } site;
  box().setSite(&site);
  form_->type(L"d");
  EXPECT_EQ(site.values, 1);
  chooseRow(1);
  EXPECT_GT(site.values, 1);
  box().setSite(nullptr);
}

TEST_F(UComboBoxTest, AfterListUpdateIsNeverRaised) {
  record(box());
  box().Requery();
  box().AddRow(0, {L"x"});
  box().UpdateRow(0, {L"y"});
  form_->type(L"y");
  chooseRow(1);
  press(VK_TAB);
  for (const std::string& event : events_) EXPECT_NE(event, "AfterListUpdate");
}

// ---------------------------------------------------------------------------------------------------------------------
// Properties

TEST_F(UComboBoxTest, AFreshFieldHasTheDefaultsAndSavesNothing) {
  const UComboBox& fresh = other();
  EXPECT_EQ(fresh.RowSource(), L"");
  const RECT area = screenArea(fresh.hWnd());
  EXPECT_EQ(fresh.ColumnWidths(), std::to_wstring(area.right - area.left));
  EXPECT_EQ(fresh.ListRows(), 10);
  EXPECT_EQ(fresh.BoundColumn(), 0);
  EXPECT_EQ(fresh.ListWidth(), area.right - area.left);
  EXPECT_EQ(fresh.TextColumns(), 1);
  EXPECT_FALSE(fresh.LimitToList());
  EXPECT_EQ(fresh.Where(), L"");
  EXPECT_EQ(fresh.Order(), L"");
  EXPECT_EQ(fresh.Borderstyle(), 10);
  MemoryPropertyBag bag;
  fresh.writeProperties(bag);
  EXPECT_TRUE(bag.values().empty());
}

TEST_F(UComboBoxTest, PropertiesAreSavedUnderTheirKeysAndReadBackFromThem) {
  UComboBox& combo = box();
  combo.setDatatype(DataType::Code);
  combo.setBorderstyle(3);
  combo.setRowSource(L"1;Uno;2;Dos");
  combo.setColumnWidths(L"300;400");
  combo.setListRows(5);
  combo.setBoundColumn(1);
  combo.setListWidth(0);
  combo.setTextColumns(2);
  combo.setLimitToList(true);
  combo.setWhere(L"a = 1");
  combo.setOrder(L"b");
  MemoryPropertyBag bag;
  combo.writeProperties(bag);
  const std::map<std::wstring, Value> expected = {
      {L"DataType", std::int32_t{15}},
      {L"BorderStyle", std::int32_t{3}},
      {L"RowSource", L"1;Uno;2;Dos"},
      {L"ColumnWidths", L"300;400"},
      {L"ListRows", std::int32_t{5}},
      {L"BoundColumn", std::int32_t{1}},
      {L"ListWidth", std::int32_t{700}},
      {L"TextColumns", std::int32_t{2}},
      {L"LimitToList", true},
      {L"Where", L"a = 1"},
      {L"Order", L"b"},
  };
  EXPECT_EQ(bag.values(), expected);
  other().readProperties(bag);
  MemoryPropertyBag again;
  other().writeProperties(again);
  EXPECT_EQ(again.values(), expected);
  EXPECT_EQ(other().rowCount(), 2) << "the list is filled when the properties are read";
}

TEST_F(UComboBoxTest, PropertiesOfWrongTypesHaveTheirDefaults) {
  FormProperties properties = FormProperties::parse(
      "Lista.ListRows=muchas\nLista.BoundColumn=-1\nLista.ListWidth=ancho\nLista.TextColumns=1000\n"
      "Lista.LimitToList=quizá\nLista.RowSource=A;B\nLista.BorderStyle=hundido\n");
  other().readProperties(properties.of(L"Lista"));
  EXPECT_EQ(other().ListRows(), 10);
  EXPECT_EQ(other().BoundColumn(), 0);
  const RECT area = screenArea(other().hWnd());
  EXPECT_EQ(other().ListWidth(), area.right - area.left);
  EXPECT_EQ(other().TextColumns(), 1);
  EXPECT_FALSE(other().LimitToList());
  EXPECT_EQ(other().Borderstyle(), 10);
  EXPECT_EQ(other().rowCount(), 2);
}

TEST_F(UComboBoxTest, PropertiesSavedAsNullHaveTheirDefaults) {
  MemoryPropertyBag bag;
  for (const wchar_t* key : {L"DataType", L"BorderStyle", L"ColumnWidths", L"ListRows", L"BoundColumn", L"ListWidth",
                             L"TextColumns", L"LimitToList", L"Where", L"Order"}) {
    bag.write(key, Null{}, Empty{});
  }
  bag.write(L"RowSource", L"A;B;C", Empty{});
  other().readProperties(bag);
  EXPECT_EQ(other().rowCount(), 3);
  MemoryPropertyBag again;
  other().writeProperties(again);
  EXPECT_EQ(again.values(), (std::map<std::wstring, Value>{{L"RowSource", L"A;B;C"}}));
}

TEST_F(UComboBoxTest, AnEmptyBagGivesAFreshField) {
  MemoryPropertyBag nothing;
  other().setListRows(3);
  other().setColumnWidths(L"5");
  other().setLimitToList(true);
  other().readProperties(nothing);
  MemoryPropertyBag bag;
  other().writeProperties(bag);
  EXPECT_TRUE(bag.values().empty());
}

TEST_F(UComboBoxTest, OtherWindowsHaveNoObject) {
  EXPECT_EQ(UComboBox::from(form_->window()), nullptr);
  EXPECT_EQ(UComboBox::from(textBox().hWnd()), nullptr);
  EXPECT_EQ(UTextBox::from(box().hWnd()), nullptr);
  EXPECT_EQ(UComboBox::from(nullptr), nullptr);
  EXPECT_EQ(EntryControl::of(form_->button()), nullptr);
  EXPECT_EQ(EntryControl::of(nullptr), nullptr);
  EXPECT_EQ(EntryControl::of(box().hWnd()), &box());
  EXPECT_EQ(EntryControl::of(textBox().hWnd()), &textBox());
}

// ---------------------------------------------------------------------------------------------------------------------
// Large lists, resources

TEST_F(UComboBoxTest, TenThousandRowsOpenScrollAndComplete) {
  fill(box(), numbered(10'000));
  box().openList();
  UpdateWindow(box().listWindow());
  const HWND edit = editOf(box());
  for (int i = 0; i < 20; ++i) {
    SendMessageW(edit, WM_KEYDOWN, VK_NEXT, 0);
    UpdateWindow(box().listWindow());
  }
  EXPECT_EQ(box().currentRow(), 199);
  box().closeList();
  for (const wchar_t letter : std::wstring(L"fila 9999")) SendMessageW(edit, WM_CHAR, letter, 0);
  EXPECT_EQ(box().currentRow(), 9999);
}

TEST_F(UComboBoxTest, AHundredOpenedListsLeaveNoHandleBehind) {
  test::expectNoHandleLeft(*form_, [&] {
    box().openList();
    UpdateWindow(box().listWindow());
    box().closeList();
    UComboBox& made = UComboBox::create(form_->window(), 600, 0, 0, 100, 24);
    fill(made, numbered(20));
    UpdateWindow(made.hWnd());
    made.openList();
    DestroyWindow(made.hWnd());
  });
}

// ---------------------------------------------------------------------------------------------------------------------
// Looks

TEST_F(UComboBoxTest, ARowIsShownInvertedWhileItIsTheCurrentOne) {
  press(kCtrl);
  press(VK_DOWN);
  const auto shot = shown(box().listWindow());
  const int middle = shot.width - 20;
  EXPECT_EQ(shot.at(middle, 1 + rowHeight(box()) / 2), 0x000000U);
  EXPECT_EQ(shot.at(middle, 1 + rowHeight(box()) * 3 / 2), 0xFFFFFFU);
}

TEST_F(UComboBoxTest, TheColumnsOfARowStandSideBySideEachAsWideAsItsEntryInColumnWidths) {
  fill(box(), L"MMMMMMMMMMMMMMMMMMMM;;M", L"40;25;60");
  box().setListWidth(0);
  press(kCtrl);
  const auto shot = shown(box().listWindow());
  const auto inkIn = [&](int from, int to) {
    for (int x = 1 + from; x < 1 + to; ++x) {
      for (int y = 2; y < rowHeight(box()); ++y) {
        if ((shot.at(x, y) & 0xFF) < 128) return true;
      }
    }
    return false;
  };
  EXPECT_TRUE(inkIn(0, 40));
  EXPECT_FALSE(inkIn(40, 65)) << "the text of the first column ends with its column";
  EXPECT_TRUE(inkIn(65, 85));
  EXPECT_FALSE(inkIn(85, 124));
}

TEST_F(UComboBoxTest, AChangedCellIsSeenAtOnceInTheOpenListAndInTheField) {
  fill(box(), L"1;Uno;2;Dos", L"60;60");
  box().setTextColumns(2);
  // Whether the second column shows a text: pixels unlike the one at its end.
  const auto textIn = [this](HWND window) {
    const auto shot = shown(window);
    const int height = std::min(rowHeight(box()), shot.height);
    for (int y = 2; y < height; ++y) {
      for (int x = 62; x < 120; ++x) {
        if (shot.at(x, y) != shot.at(120, height / 2)) return true;
      }
    }
    return false;
  };
  box().setText(L"1");
  press(kCtrl);
  ASSERT_EQ(box().currentRow(), 0);
  EXPECT_TRUE(textIn(box().listWindow()));
  box().setColumn(1, L"");
  EXPECT_FALSE(textIn(box().listWindow()));
  press(VK_RETURN);
  form_->focus(2);
  EXPECT_FALSE(textIn(editOf(box())));
  box().UpdateRow(0, {L"1", L"Otro"});
  EXPECT_TRUE(textIn(editOf(box())));
  box().setColumn(1, L"");
  EXPECT_FALSE(textIn(editOf(box())));
}

TEST_F(UComboBoxTest, WithoutTheFocusTheFieldShowsAsManyColumnsOfItsRowAsTextColumnsSays) {
  fill(box(), L"1;Uno;2;Dos", L"60;100");
  const auto anythingIn = [&](int from) {
    const auto shot = shown(editOf(box()));
    for (int y = 0; y < shot.height; ++y) {
      for (int x = from; x < shot.width; ++x) {
        if ((shot.at(x, y) & 0xFF) < 128) return true;
      }
    }
    return false;
  };
  form_->type(L"2");
  form_->focus(2);
  EXPECT_FALSE(anythingIn(60));
  box().setTextColumns(2);
  EXPECT_TRUE(anythingIn(60));
  EXPECT_EQ(box().Text(), L"2");
  form_->focus(1);
  EXPECT_FALSE(anythingIn(60)) << "what is edited is the text of the bound column";
  form_->focus(2);
  EXPECT_TRUE(anythingIn(60));
  EXPECT_TRUE(test::saveScreenshot(form_->window(), L"UComboBox-dos-columnas-en-el-campo"));
}

TEST_F(UComboBoxTest, TheEditBoxKeepsClearOfTheButton) {
  RECT client{};
  GetClientRect(box().hWnd(), &client);
  const RECT edit = screenArea(editOf(box()));
  POINT button{client.right - UComboBox::kButtonWidth, 0};
  ClientToScreen(box().hWnd(), &button);
  EXPECT_LE(edit.right, button.x);
  EXPECT_EQ(editNumber(box(), L"Left"), 4);
  EXPECT_EQ(editNumber(box(), L"Top"), 3);
}

TEST_F(UComboBoxTest, TheButtonIsTheSystemsAndFollowsTheFieldsState) {
  const auto expectButton = [this](const UComboBox& combo, UINT state, LONG border) {
    RECT area{};
    GetClientRect(combo.hWnd(), &area);
    const RECT button{area.right - UComboBox::kButtonWidth, border, area.right - border, area.bottom - border};
    EXPECT_EQ(othersThan(combo.hWnd(), button,
                         [&](HDC device, RECT) {
                           RECT drawn = button;
                           DrawFrameControl(device, &drawn, DFC_SCROLL, DFCS_SCROLLCOMBOBOX | state);
                         }),
              0)
        << "state " << state;
  };
  expectButton(box(), 0, 2);
  press(kCtrl);
  ASSERT_TRUE(box().listIsOpen());
  expectButton(box(), DFCS_PUSHED, 2);
  press(VK_ESCAPE);
  other().setBorderstyle(kFlatBorder);
  expectButton(other(), 0, 1);
  other().setEnabled(false);
  expectButton(other(), DFCS_INACTIVE, 1);
}

// What the screen shows of the form and the list under it.
void keepPicture(const TestForm& form, const wchar_t* name) {
  RECT area = screenArea(form.window());
  area.bottom += 180;
  area.right += 60;
  const HWND frame =
      CreateWindowExW(WS_EX_TRANSPARENT | WS_EX_NOACTIVATE | WS_EX_LAYERED, L"STATIC", L"", WS_POPUP, area.left,
                      area.top, area.right - area.left, area.bottom - area.top, nullptr, nullptr, nullptr, nullptr);
  EXPECT_TRUE(test::saveScreenshot(frame, name));
  DestroyWindow(frame);
}

TEST_F(UComboBoxTest, PictureOfTheOpenListWithOneColumn) {
  fill(other(), L"Ubicación Original;Ubicación Alternativa");
  other().setText(L"Ubicación Original");
  textBox().setText(L"C:\\Gestion\\Datos\\");
  clickButton(box());
  press(VK_DOWN);
  press(VK_DOWN);
  form_->pump();
  keepPicture(*form_, L"UComboBox-una-columna");
}

TEST_F(UComboBoxTest, PictureOfTheOpenListWithThreeColumns) {
  std::wstring rows;
  for (int i = 1; i <= 40; ++i) {
    rows += (i > 1 ? L";" : L"") + std::to_wstring(i) + L" - Cliente;Compañía número " + std::to_wstring(i) +
            L", Sociedad Anónima;Logroño";
  }
  fill(box(), rows, L"80;130;70");
  box().setListWidth(0);
  box().setTextColumns(2);
  other().setText(L"No disponible");
  other().setEnabled(false);
  clickButton(box());
  for (int i = 0; i < 14; ++i) press(VK_DOWN);
  keepPicture(*form_, L"UComboBox-tres-columnas");
}

TEST_F(UComboBoxTest, PictureOfTheStatesOfTheField) {
  makeForm(std::vector<TestForm::Item>(6, TestForm::Item{UComboBox::kClassName}));
  const wchar_t* texts[] = {L"Con el foco", L"Sin el foco", L"No disponible", L"Bloqueado", L"Marco plano", L"Color"};
  for (int i = 1; i <= 6; ++i) form_->combo(i).setText(texts[i - 1]);
  form_->combo(3).setEnabled(false);
  form_->combo(4).setLocked(true);
  form_->combo(5).setBorderstyle(kFlatBorder);
  form_->combo(6).setBackColor(kSystemColor + COLOR_INFOBK);
  form_->focus(2);
  form_->focus(1);
  EXPECT_TRUE(test::saveScreenshot(form_->window(), L"UComboBox-estados"));
}

}  // namespace
}  // namespace qev
