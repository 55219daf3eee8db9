// What the entry fields of both kinds do alike: real windows on a real display, driven by real key strokes and mouse
// clicks.
#include "controls/FieldTest.h"

namespace qev::test {
namespace {

constexpr wchar_t kWrongDate[] = L"La fecha introducida no es correcta";

class RecordingSite : public ControlSite {
 public:
  std::wstring format;
  bool allows = true;
  std::vector<std::wstring> changed;

  std::wstring dataFormat() const override { return format; }
  bool allowsChange(const std::wstring&) const override { return allows; }
  void propertyChanged(const std::wstring& property) override { changed.push_back(property); }
};

// A form of three fields of one kind, whose name is the parameter; the first has the focus.
class EveryField : public FieldTest, public testing::WithParamInterface<const wchar_t*> {
 protected:
  EveryField() : FieldTest(fields(3)) {}

  static std::vector<TestForm::Item> fields(std::size_t count) {
    return std::vector<TestForm::Item>(count, TestForm::Item{GetParam()});
  }

  EntryControl& field(int number) { return *EntryControl::of(form_->item(number)); }

  // What the screen shows within the edit box, away from its text.
  std::uint32_t backgroundOf(const EntryControl& box) const {
    const auto shot = shown(editOf(box));
    return shot.at(shot.width - 4, shot.height / 2);
  }
};

INSTANTIATE_TEST_SUITE_P(Kinds, EveryField, testing::Values(UTextBox::kClassName, UComboBox::kClassName),
                         [](const auto& kind) {
                           return kind.param == std::wstring(UTextBox::kClassName) ? "UTextBox" : "UComboBox";
                         });

// ---------------------------------------------------------------------------------------------------------------------
// Moving about

TEST_P(EveryField, EnterAndDownMoveToTheNextFieldAndUpToThePreviousOne) {
  form_->press(VK_RETURN);
  EXPECT_EQ(form_->focused(), 2);
  form_->press(VK_DOWN);
  EXPECT_EQ(form_->focused(), 3);
  form_->press(VK_UP);
  EXPECT_EQ(form_->focused(), 2);
}

TEST_P(EveryField, TabAndShiftTabMoveAsInAnyDialog) {
  form_->press(VK_TAB);
  EXPECT_EQ(form_->focused(), 2);
  form_->press(VK_TAB, kShift);
  EXPECT_EQ(form_->focused(), 1);
  form_->press(VK_TAB, kShift);
  EXPECT_EQ(GetFocus(), form_->button());
  form_->press(VK_TAB);
  EXPECT_EQ(form_->focused(), 1);
}

TEST_P(EveryField, EnterPressesNoDefaultButtonAndEscapeClosesNoForm) {
  form_->press(VK_RETURN);
  form_->press(VK_ESCAPE);
  EXPECT_EQ(form_->commands, 0);
}

TEST_P(EveryField, EscapeRestoresTheTextThatWasPresentOnEntry) {
  field(2).setText(L"antes");
  form_->focus(2);
  form_->type(L"otro");
  EXPECT_EQ(field(2).Text(), L"otro");
  form_->press(VK_ESCAPE);
  EXPECT_EQ(field(2).Text(), L"antes");
}

TEST_P(EveryField, ATypedTextThatEscapeTookBackIsNotValidated) {
  field(1).setDatatype(DataType::Date);
  form_->type(L"99");
  form_->press(VK_ESCAPE);
  form_->press(VK_TAB);
  EXPECT_TRUE(fakes_.messages.shown.empty());
  EXPECT_EQ(form_->focused(), 2);
}

TEST_P(EveryField, AKeyboardEntrySelectsTheWholeTextAndAMouseEntryDoesNot) {
  field(2).setText(L"entero");
  form_->focus(2);
  EXPECT_EQ(selStart(field(2)), 0);
  EXPECT_EQ(selLength(field(2)), 6);
  form_->focus(1);
  form_->clickField(2);
  EXPECT_EQ(form_->focused(), 2);
  EXPECT_EQ(selLength(field(2)), 0);
}

TEST_P(EveryField, AClickWithinTheFocusedFieldDoesNotSpoilTheNextKeyboardEntry) {
  field(1).setText(L"entero");
  form_->clickField(1);
  form_->press(VK_TAB);
  form_->press(VK_TAB, kShift);
  EXPECT_EQ(selLength(field(1)), 6);
}

TEST_P(EveryField, AClickOnTheBorderEntersTheEditBox) {
  clickAt(form_->window(), field(2).hWnd(), 1, 1);
  EXPECT_EQ(GetFocus(), editOf(field(2)));
}

TEST_P(EveryField, ADisabledFieldIsSkippedWhenTabbedInto) {
  field(2).setEnabled(false);
  form_->press(VK_TAB);
  EXPECT_EQ(form_->focused(), 3);
  EXPECT_EQ(keyboard_.keys, 1);
  form_->press(VK_UP);
  EXPECT_EQ(form_->focused(), 3) << "sent on forwards from there as well";
  EXPECT_EQ(keyboard_.keys, 3);
  EXPECT_FALSE(IsWindowEnabled(editOf(field(2))));
}

TEST_P(EveryField, AFieldDisabledWhileItHasTheFocusPassesItOn) {
  field(1).setEnabled(false);
  form_->pump();
  EXPECT_EQ(form_->focused(), 2);
}

TEST_P(EveryField, AFieldEnabledAfterItWasClickedIsEntered) {
  field(2).setText(L"antes");
  field(2).setBackColor(0x00C0FF);
  field(2).setEnabled(false);
  form_->clickField(2);
  field(2).setEnabled(true);
  form_->pump();
  EXPECT_EQ(GetFocus(), editOf(field(2)));
  EXPECT_EQ(backgroundOf(field(2)), 0xFFFFFFU);
  form_->type(L"otro");
  form_->press(VK_ESCAPE);
  EXPECT_EQ(field(2).Text(), L"antes");
}

TEST_P(EveryField, FieldsThatAreAllDisabledDoNotSendTheFocusAroundForEver) {
  makeForm(fields(2), false);
  field(1).setEnabled(false);
  field(2).setEnabled(false);
  form_->pump();
  EXPECT_LE(keyboard_.keys, 1);
  EXPECT_TRUE(pumpUntilIdle(form_->window(), 500));
}

TEST_P(EveryField, ADisabledFieldOutsideTheTabOrderFindsNoStopWhereAllOthersAreDisabled) {
  makeForm(fields(3), false);
  for (int i = 1; i <= 3; ++i) field(i).setEnabled(false);
  SetWindowLongPtrW(field(3).hWnd(), GWL_STYLE, WS_CHILD | WS_VISIBLE);
  form_->pump();
  const int keys = keyboard_.keys;
  SetFocus(field(3).hWnd());
  EXPECT_TRUE(pumpUntilIdle(form_->window(), 500));
  EXPECT_EQ(keyboard_.keys, keys);
}

// ---------------------------------------------------------------------------------------------------------------------
// Validation

TEST_P(EveryField, AWrongDateIsReportedInABoxTitledWithItAndThenTheFieldIsEmptyAndFocused) {
  fakes_.messages.willAnswer({Answer::Ok});
  field(1).setDatatype(DataType::Date);
  form_->type(L"30-02-2000");
  form_->press(VK_TAB);
  EXPECT_EQ(fakes_.messages.shown,
            (std::vector<Shown>{{kWrongDate, L"30-02-2000", message::kOk | message::kExclamation}}));
  EXPECT_EQ(form_->focused(), 1);
  EXPECT_EQ(field(1).Text(), L"");
  form_->press(VK_TAB);
  EXPECT_EQ(form_->focused(), 2);
}

TEST_P(EveryField, UpdateOfAWrongEntryReturnsFalse) {
  fakes_.messages.willAnswer({Answer::Ok});
  field(1).setDatatype(DataType::Date);
  form_->type(L"30-02-2000");
  EXPECT_FALSE(field(1).Update());
  EXPECT_EQ(field(1).Text(), L"");
  EXPECT_TRUE(field(1).Update());
}

TEST_P(EveryField, EscapeAfterAWrongEntryRestoresTheTextOfBefore) {
  fakes_.messages.willAnswer({Answer::Ok});
  field(2).setDatatype(DataType::Date);
  field(2).setText(L"16-11-2026");
  form_->focus(2);
  form_->type(L"99");
  form_->press(VK_TAB);
  EXPECT_EQ(field(2).Text(), L"");
  form_->press(VK_ESCAPE);
  EXPECT_EQ(field(2).Text(), L"16-11-2026");
}

TEST_P(EveryField, AWrongEntryLeavesTheTabOrderAsItWas) {
  fakes_.messages.willAnswer({Answer::Ok});
  field(2).setDatatype(DataType::Date);
  form_->focus(2);
  form_->type(L"99");
  form_->press(VK_TAB);
  ASSERT_EQ(form_->focused(), 2);
  form_->press(VK_TAB);
  EXPECT_EQ(form_->focused(), 3);
  form_->press(VK_TAB, kShift);
  form_->press(VK_TAB, kShift);
  EXPECT_EQ(form_->focused(), 1);
}

TEST_P(EveryField, AWrongEntryLeftByAClickIsReportedToo) {
  fakes_.messages.willAnswer({Answer::Ok});
  field(1).setDatatype(DataType::Time);
  form_->type(L"99:99");
  form_->clickField(3);
  ASSERT_EQ(fakes_.messages.shown.size(), 1U);
  EXPECT_EQ(fakes_.messages.shown[0].text, L"La Hora introducida no es correcta");
  EXPECT_EQ(form_->focused(), 1);
}

TEST_P(EveryField, AHiddenFieldIsMadeVisibleForItsMessage) {
  fakes_.messages.willAnswer({Answer::Ok});
  field(1).setDatatype(DataType::Date);
  form_->type(L"99");
  form_->focus(2);
  ASSERT_EQ(fakes_.messages.shown.size(), 1U);
  form_->type(L"99");
  ShowWindow(field(1).hWnd(), SW_HIDE);
  bool visible = false;
  fakes_.messages.onShow = [&](const auto&) { visible = IsWindowVisible(field(1).hWnd()) != 0; };
  fakes_.messages.willAnswer({Answer::Ok});
  EXPECT_FALSE(field(1).Update());
  EXPECT_TRUE(visible);
}

TEST_P(EveryField, SettingTextOrValueRaisesNoChangeAndIsNotValidatedOnLeaving) {
  EntryControl& box = field(1);
  box.setDatatype(DataType::Date);
  record(box);
  box.setText(L"30-02-2000");
  form_->press(VK_TAB);
  EXPECT_EQ(box.Text(), L"30-02-2000");
  box.setValue(Value(L"no es fecha"));
  EXPECT_EQ(box.Text(), L"");
  box.setValue(moment(2026, 11, 16));
  EXPECT_EQ(box.Text(), L"16-11-2026");
  EXPECT_TRUE(fakes_.messages.shown.empty());
  EXPECT_EQ(events_, Strings{});
}

TEST_P(EveryField, SettingTextOrValueWhileTheUserTypesHasNoEffect) {
  form_->type(L"ab");
  field(1).setText(L"programa");
  EXPECT_EQ(field(1).Text(), L"ab");
  field(1).setValue(std::int32_t{7});
  EXPECT_EQ(field(1).Text(), L"ab");
  form_->press(VK_TAB);
  field(1).setText(L"programa");
  EXPECT_EQ(field(1).Text(), L"programa");
}

TEST_P(EveryField, WhatTheProgramSetsOverATypedTextIsNotValidated) {
  for (const int number : {1, 2}) {
    SCOPED_TRACE(number);
    EntryControl& box = field(number);
    box.setDatatype(DataType::Date);
    form_->focus(number);
    form_->type(L"98");
    form_->clickField(number);  // which ends the typing
    record(box);
    if (number == 1) {
      box.setText(L"30-02-2000");
    } else {
      box.setValue(moment(2026, 11, 16));
    }
    form_->press(VK_TAB);
    EXPECT_EQ(box.Text(), number == 1 ? L"30-02-2000" : L"16-11-2026");
    EXPECT_EQ(form_->focused(), number + 1);
  }
  EXPECT_EQ(events_, Strings{});
  EXPECT_TRUE(fakes_.messages.shown.empty());
}

TEST_P(EveryField, ALockedFieldIsNotFilteredAndItsUpdateIsTrueWithoutValidation) {
  EntryControl& box = field(1);
  box.setDatatype(DataType::Date);
  form_->type(L"99");
  box.setLocked(true);
  record(box);
  form_->type(L"xh");
  EXPECT_EQ(box.Text(), L"99");
  EXPECT_EQ(fakes_.sound.beeps, 0);
  EXPECT_TRUE(box.Update());
  form_->press(VK_TAB);
  EXPECT_EQ(form_->focused(), 2);
  EXPECT_TRUE(fakes_.messages.shown.empty());
}

TEST_P(EveryField, AfterUpdateThatSetsCancelRestoresTheSavedText) {
  field(2).setText(L"antes");
  form_->focus(2);
  field(2).AfterUpdate = [](bool& cancel) { cancel = true; };
  form_->type(L"otro");
  form_->press(VK_TAB);
  EXPECT_EQ(field(2).Text(), L"antes");
  EXPECT_EQ(form_->focused(), 2);
  form_->type(L"más");
  EXPECT_FALSE(field(2).Update());
  EXPECT_EQ(field(2).Text(), L"antes");
}

TEST_P(EveryField, AfterUpdateSeesTheNormalisedText) {
  EntryControl& box = field(1);
  box.setDatatype(DataType::Currency);
  std::wstring seen;
  box.AfterUpdate = [&](bool&) { seen = box.Text(); };
  form_->type(L"1234.5");
  form_->press(VK_TAB);
  EXPECT_EQ(seen, L"1.234,50");
}

TEST_P(EveryField, OnlyOneFieldValidatesAtATime) {
  fakes_.messages.willAnswer({Answer::Ok});
  field(2).setDatatype(DataType::Date);
  form_->focus(2);
  form_->type(L"98");
  field(1).setDatatype(DataType::Date);
  bool heldWhileShown = false;
  bool otherAccepted = false;
  fakes_.messages.onShow = [&](const auto&) {
    heldWhileShown = ValidationLock::held();
    form_->focus(3);
    form_->focus(1);
    form_->type(L"97");
    otherAccepted = field(1).Update();
  };
  EXPECT_FALSE(field(2).Update());
  EXPECT_TRUE(heldWhileShown);
  EXPECT_TRUE(otherAccepted);
  EXPECT_EQ(fakes_.messages.shown.size(), 1U);
  EXPECT_EQ(field(1).Text(), L"97");
  EXPECT_FALSE(ValidationLock::held());
  form_->pump();
  EXPECT_EQ(form_->focused(), 2);
  EXPECT_EQ(fakes_.messages.shown.size(), 1U);
}

TEST_P(EveryField, TheValidationLockIsReleasedOnEveryWayOutOfUpdate) {
  EntryControl& box = field(1);
  EXPECT_TRUE(box.Update());
  EXPECT_FALSE(ValidationLock::held());
  box.AfterUpdate = [](bool& cancel) { cancel = true; };
  form_->type(L"a");
  EXPECT_FALSE(box.Update());
  EXPECT_FALSE(ValidationLock::held());
  box.AfterUpdate = [](bool&) { throw AutomationError(kTypeMismatch); };
  form_->type(L"b");
  EXPECT_THROW(box.Update(), AutomationError);
  EXPECT_FALSE(ValidationLock::held());
}

TEST_P(EveryField, AnErrorOfAHandlerIsShownAndTheFormGoesOn) {
  fakes_.messages.willAnswer({Answer::Ok});
  field(1).AfterUpdate = [](bool&) { throw AutomationError(kDiskFull); };
  form_->type(L"a");
  form_->press(VK_TAB);
  ASSERT_EQ(fakes_.messages.shown.size(), 1U);
  EXPECT_EQ(fakes_.messages.shown[0].text, L"Disco lleno");
  form_->press(VK_TAB);
  EXPECT_EQ(form_->focused(), 3);
}

TEST_P(EveryField, AFormDestroyedWhileItsMessageIsShownDoesNoHarm) {
  fakes_.messages.willAnswer({Answer::Ok});
  fakes_.messages.onShow = [&](const auto&) { form_->destroy(); };
  field(1).setDatatype(DataType::Date);
  form_->type(L"99");
  EntryControl& box = field(1);
  EXPECT_FALSE(box.Update());
}

// ---------------------------------------------------------------------------------------------------------------------
// Other windows

TEST_P(EveryField, GoingToAnotherWindowAndBackIsNoLeavingAndNoEntering) {
  EntryControl& box = field(1);
  box.setDatatype(DataType::Date);
  record(box);
  form_->type(L"99");
  events_.clear();
  const HWND other = CreateWindowExW(0, L"STATIC", L"Otra ventana", WS_POPUP | WS_VISIBLE, 500, 20, 100, 60, nullptr,
                                     nullptr, nullptr, nullptr);
  SetForegroundWindow(other);
  SetFocus(other);
  pumpUntilIdle(form_->window());
  ASSERT_EQ(GetFocus(), other);
  EXPECT_EQ(box.Text(), L"99");
  DestroyWindow(other);
  bringToForeground(form_->window());
  EXPECT_EQ(form_->focused(), 1);
  EXPECT_TRUE(fakes_.messages.shown.empty());
  EXPECT_EQ(events_, Strings{});
  EXPECT_EQ(selLength(box), 0);
  form_->press(VK_ESCAPE);
  EXPECT_EQ(box.Text(), L"");  // what it held on its one entry
}

TEST_P(EveryField, AFieldThatLostTheFocusOnADetourLeavesWhenAnotherOneIsEntered) {
  EntryControl& box = field(1);
  box.setDatatype(DataType::Currency);
  form_->type(L"1234.5");
  SetFocus(nullptr);  // as when the focused window is hidden or disabled
  pumpUntilIdle(form_->window());
  EXPECT_EQ(box.Text(), L"1234,5") << "no other control has the focus yet";
  form_->focus(2);
  pumpUntilIdle(form_->window());
  EXPECT_EQ(box.Text(), L"1.234,50");
}

TEST_P(EveryField, AFormCanLetItsFieldsSettleBeforeItActs) {
  EntryControl& box = field(1);
  box.setDatatype(DataType::Date);
  form_->type(L"30-02-2000");
  EXPECT_TRUE(EntryControl::settleAll(form_->window())) << "the focus has not left the field";
  EXPECT_EQ(box.Text(), L"30-02-2000");
  fakes_.messages.willAnswer({Answer::Ok});
  SetFocus(field(2).hWnd());  // the leave is still in the queue
  EXPECT_FALSE(EntryControl::settleAll(form_->window()));
  EXPECT_EQ(box.Text(), L"");
  EXPECT_EQ(form_->focused(), 1);
  pumpUntilIdle(form_->window());
  EXPECT_EQ(fakes_.messages.shown.size(), 1u) << "asked once";
}

TEST_P(EveryField, TheTextOfAPasswordReadsAsEmpty) {
  EntryControl& box = field(1);
  box.setDatatype(DataType::Password);
  box.setText(L"secreta");
  wchar_t text[20] = L"basura";
  EXPECT_EQ(SendMessageW(box.hWnd(), WM_GETTEXT, 20, reinterpret_cast<LPARAM>(text)), 0);
  EXPECT_STREQ(text, L"");
}

// ---------------------------------------------------------------------------------------------------------------------
// Events

TEST_P(EveryField, ATypedCharacterRaisesKeyDownKeyPressAndChangeInThisOrder) {
  record(field(1));
  form_->type(L"a");
  EXPECT_EQ(events_, (Strings{"KeyDown", "KeyPress", "Change"}));
}

TEST_P(EveryField, DeleteAndBackspaceCountAsTyping) {
  for (const WORD key : {VK_DELETE, VK_BACK}) {
    field(2).setText(L"entero");
    form_->focus(1);
    form_->focus(2);
    events_.clear();
    record(field(2));
    form_->press(key);
    EXPECT_EQ(field(2).Text(), L"");
    EXPECT_EQ(events_.back(), "Change");
    EXPECT_TRUE(field(2).Update());
  }
}

TEST_P(EveryField, KeyDownMayChangeTheKeyAndSeesTheShiftState) {
  std::int16_t shift = -1;
  field(1).KeyDown = [&](std::int16_t& key, std::int16_t state) {
    shift = state;
    if (key == VK_F2) key = VK_RETURN;
    if (key == VK_DOWN) key = 0;
  };
  form_->press(VK_DOWN, kControl);
  EXPECT_EQ(form_->focused(), 1);
  EXPECT_EQ(shift, 2);
  form_->press(VK_F2);
  EXPECT_EQ(form_->focused(), 2);
}

TEST_P(EveryField, KeyPressMayChangeOrCancelTheKey) {
  field(1).KeyPress = [](std::int16_t& key) {
    if (key == L'a') key = L'b';
    if (key == L'x') key = 0;
  };
  form_->type(L"axc");
  EXPECT_EQ(field(1).Text(), L"bc");
}

TEST_P(EveryField, AHandlerMayReplaceItselfWhileItRuns) {
  std::vector<std::wstring> seen;
  const std::wstring captured = L"un texto que no cabe en el objeto de la función";
  field(1).Change = [&, captured] {
    field(1).Change = nullptr;
    seen.push_back(captured);
  };
  field(1).KeyDown = [&, captured](std::int16_t&, std::int16_t) {
    field(1).KeyDown = nullptr;
    seen.push_back(captured);
  };
  form_->type(L"ab");
  EXPECT_EQ(seen, (std::vector<std::wstring>{captured, captured}));
}

// ---------------------------------------------------------------------------------------------------------------------
// The container

TEST_P(EveryField, BoundDataIsToldOfChangesWhenTheContainerAllowsThem) {
  RecordingSite site;
  EntryControl& box = field(1);
  box.setSite(&site);
  box.setText(L"a");
  EXPECT_EQ(site.changed, (std::vector<std::wstring>{L"Value", L"Text"}));
  site.changed.clear();
  form_->type(L"b");
  EXPECT_EQ(site.changed, std::vector<std::wstring>{L"Value"});
  site.changed.clear();
  site.allows = false;
  form_->type(L"c");
  EXPECT_TRUE(site.changed.empty());
  box.setSite(nullptr);
}

TEST_P(EveryField, ADataFormatOfTheContainerTakesThePlaceOfTheTypes) {
  RecordingSite site;
  site.format = L"yyyy/mm/dd";
  EntryControl& box = field(1);
  box.setDatatype(DataType::Date);
  box.setSite(&site);
  box.setValue(moment(2026, 11, 16));
  EXPECT_EQ(box.Text(), L"2026/11/16");
  box.setValue(Null{});
  EXPECT_EQ(box.Text(), L"");
  form_->type(L"1-2-2025");
  form_->press(VK_TAB);
  EXPECT_EQ(box.Text(), L"2025/02/01");
  box.setSite(nullptr);
}

TEST_P(EveryField, OldValueIsTheCallersOwn) {
  field(1).setOldValue(std::int32_t{42});
  form_->type(L"7");
  form_->press(VK_TAB);
  EXPECT_EQ(field(1).OldValue(), Value(std::int32_t{42}));
}

// ---------------------------------------------------------------------------------------------------------------------
// Properties and looks

TEST_P(EveryField, APasswordIsShownAsAsterisksAndKeptFromOtherWindows) {
  field(1).setDatatype(DataType::Password);
  form_->type(L"secreto");
  EXPECT_EQ(field(1).Text(), L"secreto");
  EXPECT_EQ(SendMessageW(editOf(field(1)), EM_GETPASSWORDCHAR, 0, 0), L'*');
  field(1).setAlignment(TextAlignment::Center);
  EXPECT_EQ(SendMessageW(editOf(field(1)), EM_GETPASSWORDCHAR, 0, 0), L'*') << "of an edit box that was made anew";
  wchar_t text[32] = L"?";
  EXPECT_EQ(GetDlgItemTextW(form_->window(), TestForm::kFirstField, text, 32), 0U);
  EXPECT_STREQ(text, L"");
}

TEST_P(EveryField, PasswordsOfTheSameLengthLookTheSame) {
  EntryControl& box = field(2);
  box.setText(L"iiii");
  const auto readable = shown(editOf(box));
  box.setDatatype(DataType::Password);
  const auto narrow = shown(editOf(box));
  box.setText(L"WWWW");
  EXPECT_EQ(narrow.pixels, shown(editOf(box)).pixels);
  EXPECT_NE(narrow.pixels, readable.pixels);
  box.setText(L"");
  EXPECT_NE(narrow.pixels, shown(editOf(box)).pixels);
}

TEST_P(EveryField, TheTextIsReachedByTheControlsId) {
  EXPECT_TRUE(SetDlgItemTextW(form_->window(), TestForm::kFirstField, L"por id"));
  EXPECT_EQ(field(1).Text(), L"por id");
  wchar_t text[32] = L"";
  GetDlgItemTextW(form_->window(), TestForm::kFirstField, text, 32);
  EXPECT_STREQ(text, L"por id");
}

TEST_P(EveryField, MaxLengthLimitsWhatIsTypedAndZeroDoesNot) {
  field(1).setMaxLength(3);
  form_->type(L"abcdef");
  EXPECT_EQ(field(1).Text(), L"abc");
  field(1).setMaxLength(0);
  form_->type(L"def");
  EXPECT_EQ(field(1).Text(), L"abcdef");
}

TEST_P(EveryField, AlignmentChangesKeepTextSelectionFocusAndState) {
  EntryControl& box = field(1);
  form_->type(L"entero");
  form_->press(VK_LEFT, kShift);
  record(box);
  box.setAlignment(TextAlignment::Right);
  form_->pump();
  EXPECT_EQ(GetWindowLongPtrW(editOf(box), GWL_STYLE) & (ES_RIGHT | ES_CENTER), ES_RIGHT);
  EXPECT_EQ(box.Text(), L"entero");
  EXPECT_EQ(GetFocus(), editOf(box));
  EXPECT_EQ(selStart(box), 5);
  EXPECT_EQ(selLength(box), 1);
  EXPECT_EQ(events_, Strings{});
  form_->press(VK_ESCAPE);
  EXPECT_EQ(box.Text(), L"");
  RECT client{};
  GetClientRect(box.hWnd(), &client);
  EXPECT_EQ(editNumber(box, L"Left"), 4);
  const int button = GetParam() == std::wstring(UComboBox::kClassName) ? UComboBox::kButtonWidth : 0;
  EXPECT_EQ(editNumber(box, L"Width"), client.right - 6 - button);
}

TEST_P(EveryField, TheBackgroundIsWhiteWithTheFocusAndBackColorWithout) {
  for (int i = 1; i <= 3; ++i) field(i).setBackColor(0x00C0FF);  // red 255, green 192
  EXPECT_EQ(backgroundOf(field(1)), 0xFFFFFFU);
  EXPECT_EQ(backgroundOf(field(2)), 0xFFC000U);
  form_->press(VK_TAB);
  EXPECT_EQ(backgroundOf(field(1)), 0xFFC000U);
  EXPECT_EQ(backgroundOf(field(2)), 0xFFFFFFU);
  field(3).setLocked(true);
  EXPECT_EQ(backgroundOf(field(3)), 0xFFC000U);
  field(3).setEnabled(false);
  EXPECT_EQ(backgroundOf(field(3)), 0xFFC000U);
}

TEST_P(EveryField, ASystemColourFollowsTheScheme) {
  field(2).setBackColor(kSystemColor + COLOR_BTNFACE);
  const COLORREF face = GetSysColor(COLOR_BTNFACE);
  EXPECT_EQ(backgroundOf(field(2)),
            static_cast<std::uint32_t>(GetRValue(face) << 16 | GetGValue(face) << 8 | GetBValue(face)));
}

TEST_P(EveryField, TheFontIsTheContainersUntilItHasItsOwn) {
  EntryControl& box = field(1);
  const auto fontOf = [&] { return reinterpret_cast<HFONT>(SendMessageW(editOf(box), WM_GETFONT, 0, 0)); };
  const auto containers = reinterpret_cast<HFONT>(SendMessageW(form_->window(), WM_GETFONT, 0, 0));
  EXPECT_EQ(fontOf(), containers);
  box.setFont(ControlFont{L"Arial", 18, false, true, false, false});
  EXPECT_EQ(ControlFont::of(fontOf(), 96), (ControlFont{L"Arial", 18, false, true, false, false}));
  box.setFont(std::nullopt);
  EXPECT_EQ(fontOf(), containers);
}

TEST_P(EveryField, TheInnerWindowIsAnOrdinaryEditBoxForScreenReaders) {
  wchar_t name[32] = L"";
  GetClassNameW(editOf(field(1)), name, 32);
  EXPECT_STREQ(name, L"Edit");
  EXPECT_TRUE(IsWindowVisible(editOf(field(1))));
}

TEST_P(EveryField, TheTextHasItsForeColor) {
  field(2).setForeColor(0x0000FF);
  field(2).setText(L"MMMM");
  int red = 0;
  for (const std::uint32_t pixel : shown(editOf(field(2))).pixels) {
    EXPECT_GT(pixel >> 16, 250U) << "red on white, and nothing between them is darker";
    red += (pixel & 0xFF) < 128;
  }
  EXPECT_GT(red, 20);
}

TEST_P(EveryField, TheBorderIsTheSystemsEdgeOfItsStyleOrAFrameOfItsColour) {
  EntryControl& box = field(2);
  const ScreenPixels size = shown(box.hWnd());
  const LONG left = size.width - UComboBox::kButtonWidth;  // of where the one kind has its button
  const RECT edges[] = {{0, 0, left, 2},
                        {0, size.height - 2, left, size.height},
                        {0, 0, 2, size.height},
                        {size.width - 1, 0, size.width, size.height}};
  for (const int style : {kSunkenBorder, EDGE_RAISED, EDGE_ETCHED, kFlatBorder}) {
    SCOPED_TRACE(style);
    box.setBorderstyle(style);
    box.setBorderColor(0x3000C0);
    for (const RECT& edge : edges) {
      EXPECT_EQ(othersThan(box.hWnd(), edge,
                           [style](HDC device, RECT area) {
                             if (style != kFlatBorder) {
                               DrawEdge(device, &area, static_cast<UINT>(style), BF_RECT);
                             } else {
                               const UniqueBrush brush(CreateSolidBrush(0x3000C0));
                               FrameRect(device, &area, brush.get());
                             }
                           }),
                0);
    }
  }
}

}  // namespace
}  // namespace qev::test
