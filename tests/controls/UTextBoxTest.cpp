// The typed text box: real windows on a real display, driven by real key strokes and mouse clicks.
#include "controls/UTextBox.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

#include "controls/TestForm.h"
#include "controls/ValidationLock.h"
#include "support/FakePlatform.h"
#include "support/Screenshot.h"

namespace qev {
namespace {

using test::Button;
using test::moment;
using test::TestForm;

constexpr wchar_t kWrongDate[] = L"La fecha introducida no es correcta";

// The real keyboard, counted.
class CountedKeyboard : public Keyboard {
 public:
  int keys = 0;
  void sendKey(std::uint8_t virtualKey, bool withShift) override {
    ++keys;
    systemPlatform().keyboard.sendKey(virtualKey, withShift);
  }
};

class RecordingSite : public ControlSite {
 public:
  std::wstring format;
  bool allows = true;
  std::vector<std::wstring> changed;

  std::wstring dataFormat() const override { return format; }
  bool allowsChange(const std::wstring&) const override { return allows; }
  void propertyChanged(const std::wstring& property) override { changed.push_back(property); }
};

class UTextBoxTest : public ::testing::Test {
 protected:
  test::FakePlatform fakes_;
  CountedKeyboard keyboard_;
  Platform platform_ = test::with(fakes_.platform(), systemPlatform().locale, keyboard_, systemPlatform().eventLoop);
  std::vector<std::string> events_;
  std::unique_ptr<TestForm> form_ = makeForm(3);

  std::unique_ptr<TestForm> makeForm(int fields, bool withButton = true) {
    auto form = std::make_unique<TestForm>(fields, withButton);
    for (int i = 1; i <= fields; ++i) form->field(i).setPlatform(platform_);
    return form;
  }

  UTextBox& field(int number) { return form_->field(number); }

  void record(UTextBox& box) {
    box.AfterUpdate = [this](bool&) { events_.push_back("AfterUpdate"); };
    box.Change = [this] { events_.push_back("Change"); };
    box.KeyDown = [this](std::int16_t&, std::int16_t) { events_.push_back("KeyDown"); };
    box.KeyPress = [this](std::int16_t&) { events_.push_back("KeyPress"); };
    box.Click = [this] { events_.push_back("Click"); };
    box.MouseDown = [this](std::int16_t, std::int16_t, float, float) { events_.push_back("MouseDown"); };
    box.MouseUp = [this](std::int16_t, std::int16_t, float, float) { events_.push_back("MouseUp"); };
  }

  std::int32_t editNumber(UTextBox& box, const wchar_t* property) { return std::get<std::int32_t>(box.TBox(property)); }

  HWND editOf(UTextBox& box) { return GetWindow(box.hWnd(), GW_CHILD); }

  // What the screen shows within the edit box, away from its text.
  std::uint32_t backgroundOf(UTextBox& box) {
    form_->pump();
    const auto shot = test::capture(editOf(box));
    return shot.at(shot.width - 4, shot.height / 2);
  }
};

using Strings = std::vector<std::string>;

// ---------------------------------------------------------------------------------------------------------------------
// Every data type, typed

struct Typed {
  int type;
  const wchar_t* keys;
  const wchar_t* whileTyping;
  const wchar_t* afterLeaving;
  Value value;  // of the text while it is typed
};

class EveryType : public UTextBoxTest, public ::testing::WithParamInterface<Typed> {};

TEST_P(EveryType, TakesItsKeysAndIsNormalisedOnLeaving) {
  const Typed& typed = GetParam();
  UTextBox& box = field(1);
  box.setDatatype(static_cast<DataType>(typed.type));
  form_->type(typed.keys);
  EXPECT_EQ(box.Text(), typed.whileTyping);
  EXPECT_EQ(box.Value(), typed.value);
  form_->press(VK_TAB);
  EXPECT_EQ(form_->focused(), 2);
  EXPECT_EQ(box.Text(), typed.afterLeaving);
}

INSTANTIATE_TEST_SUITE_P(
    UTextBox, EveryType,
    ::testing::Values(
        Typed{0, L"  Hola, año", L"  Hola, año", L"Hola, año", L"Hola, año"},
        Typed{1, L"1a2-", L"12-", L"12-", std::int32_t{12}}, Typed{2, L"-3.2x5", L"-3,25", L"-3,25", -3.25F},
        Typed{3, L"1234.5", L"1234,5", L"1.234,50", Currency{12345000}},
        Typed{4, L"16/11.2026", L"16-11-2026", L"16-11-2026", moment(2026, 11, 16)},
        Typed{5, L"18.00", L"18:00", L"18:00", 0.75},
        Typed{6, L"16/11/2026 12:00", L"16/11/2026 12:00", L"16/11/2026 12:00:00", moment(2026, 11, 16, 12)},
        Typed{7, L" Clave1 ", L" Clave1 ", L" Clave1 ", L" Clave1 "},
        Typed{8, L"niño 7", L"NIÑO 7", L"NIÑO 7", L"NIÑO 7"}, Typed{9, L"12x", L"12x", L"12x", std::int32_t{12}},
        Typed{10, L"1.30", L"1:30", L"1:30", std::int32_t{90}}, Typed{11, L"90", L"90", L"1,5", 5400.0},
        Typed{12, L"-1", L"-1", L"Si", true}, Typed{13, L"7", L"7", L"7", std::int32_t{7}},
        Typed{14, L"+1 00", L"+1:00", L"+1:00", std::int32_t{1500}},
        Typed{15, L"12 - Sur", L"12 - Sur", L"12 - Sur", L"12"}),
    [](const auto& row) { return "Type" + std::to_string(row.param.type); });

TEST_F(UTextBoxTest, ARefusedKeyBeepsAndIsDropped) {
  field(1).setDatatype(DataType::Integer);
  form_->type(L"1x2");
  EXPECT_EQ(field(1).Text(), L"12");
  EXPECT_EQ(fakes_.sound.beeps, 1);
}

TEST_F(UTextBoxTest, HInADateShowsTodayWithOneChangeAndTheCaretAtTheEnd) {
  UTextBox& box = field(1);
  box.setDatatype(DataType::Date);
  record(box);
  form_->type(L"h");
  EXPECT_EQ(box.Text(), L"16-11-2026");
  EXPECT_EQ(editNumber(box, L"SelStart"), 10);
  EXPECT_EQ(editNumber(box, L"SelLength"), 0);
  EXPECT_EQ(events_, (Strings{"KeyDown", "KeyPress", "Change"}));
}

// ---------------------------------------------------------------------------------------------------------------------
// Moving about

TEST_F(UTextBoxTest, EnterAndDownMoveToTheNextFieldAndUpToThePreviousOne) {
  form_->press(VK_RETURN);
  EXPECT_EQ(form_->focused(), 2);
  form_->press(VK_DOWN);
  EXPECT_EQ(form_->focused(), 3);
  form_->press(VK_UP);
  EXPECT_EQ(form_->focused(), 2);
}

TEST_F(UTextBoxTest, TabAndShiftTabMoveAsInAnyDialog) {
  form_->press(VK_TAB);
  EXPECT_EQ(form_->focused(), 2);
  form_->press(VK_TAB, test::kShift);
  EXPECT_EQ(form_->focused(), 1);
  form_->press(VK_TAB, test::kShift);
  EXPECT_EQ(GetFocus(), form_->button());
  form_->press(VK_TAB);
  EXPECT_EQ(form_->focused(), 1);
}

TEST_F(UTextBoxTest, EnterPressesNoDefaultButtonAndEscapeClosesNoForm) {
  form_->press(VK_RETURN);
  form_->press(VK_ESCAPE);
  EXPECT_EQ(form_->commands, 0);
}

TEST_F(UTextBoxTest, EscapeRestoresTheTextThatWasPresentOnEntry) {
  field(2).setText(L"antes");
  form_->focus(2);
  form_->type(L"otro");
  EXPECT_EQ(field(2).Text(), L"otro");
  form_->press(VK_ESCAPE);
  EXPECT_EQ(field(2).Text(), L"antes");
}

TEST_F(UTextBoxTest, ATypedTextThatEscapeTookBackIsNotValidated) {
  field(1).setDatatype(DataType::Date);
  form_->type(L"99");
  form_->press(VK_ESCAPE);
  form_->press(VK_TAB);
  EXPECT_TRUE(fakes_.messages.shown.empty());
  EXPECT_EQ(form_->focused(), 2);
}

TEST_F(UTextBoxTest, AKeyboardEntrySelectsTheWholeTextAndAMouseEntryDoesNot) {
  field(2).setText(L"entero");
  form_->focus(2);
  EXPECT_EQ(editNumber(field(2), L"SelStart"), 0);
  EXPECT_EQ(editNumber(field(2), L"SelLength"), 6);
  form_->focus(1);
  form_->clickField(2);
  EXPECT_EQ(form_->focused(), 2);
  EXPECT_EQ(editNumber(field(2), L"SelLength"), 0);
}

TEST_F(UTextBoxTest, AClickWithinTheFocusedFieldDoesNotSpoilTheNextKeyboardEntry) {
  field(1).setText(L"entero");
  form_->clickField(1);
  form_->press(VK_TAB);
  form_->press(VK_TAB, test::kShift);
  EXPECT_EQ(editNumber(field(1), L"SelLength"), 6);
}

TEST_F(UTextBoxTest, AClickOnTheBorderEntersTheEditBox) {
  test::clickAt(form_->window(), field(2).hWnd(), 1, 1);
  EXPECT_EQ(GetFocus(), editOf(field(2)));
}

TEST_F(UTextBoxTest, ADisabledFieldIsSkippedWhenTabbedInto) {
  field(2).setEnabled(false);
  form_->press(VK_TAB);
  EXPECT_EQ(form_->focused(), 3);
  EXPECT_EQ(keyboard_.keys, 1);
  form_->press(VK_UP);
  EXPECT_FALSE(IsWindowEnabled(editOf(field(2))));
}

TEST_F(UTextBoxTest, ADisabledFieldStillTakesAClickWithoutMouseDown) {
  field(2).setEnabled(false);
  record(field(2));
  form_->clickField(2);
  EXPECT_EQ(events_, (Strings{"MouseUp", "Click"}));
  EXPECT_EQ(GetFocus(), field(2).hWnd());
  EXPECT_EQ(keyboard_.keys, 0);
}

TEST_F(UTextBoxTest, AFieldDisabledWhileItHasTheFocusPassesItOn) {
  field(1).setEnabled(false);
  form_->pump();
  EXPECT_EQ(form_->focused(), 2);
}

TEST_F(UTextBoxTest, AFieldEnabledAfterItWasClickedIsEntered) {
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

TEST_F(UTextBoxTest, FieldsThatAreAllDisabledDoNotSendTheFocusAroundForEver) {
  form_.reset();
  form_ = makeForm(2, false);
  field(1).setEnabled(false);
  field(2).setEnabled(false);
  form_->pump();
  EXPECT_LE(keyboard_.keys, 1);
  EXPECT_TRUE(test::pumpUntilIdle(form_->window(), 500));
}

TEST_F(UTextBoxTest, ADisabledFieldOutsideTheTabOrderFindsNoStopWhereAllOthersAreDisabled) {
  form_.reset();
  form_ = makeForm(3, false);
  for (int i = 1; i <= 3; ++i) field(i).setEnabled(false);
  SetWindowLongPtrW(field(3).hWnd(), GWL_STYLE, WS_CHILD | WS_VISIBLE);
  form_->pump();
  const int keys = keyboard_.keys;
  SetFocus(field(3).hWnd());
  EXPECT_TRUE(test::pumpUntilIdle(form_->window(), 500));
  EXPECT_EQ(keyboard_.keys, keys);
}

// ---------------------------------------------------------------------------------------------------------------------
// Validation

TEST_F(UTextBoxTest, AWrongDateIsReportedInABoxTitledWithItAndThenTheFieldIsEmptyAndFocused) {
  fakes_.messages.willAnswer({Answer::Ok});
  field(1).setDatatype(DataType::Date);
  form_->type(L"30-02-2000");
  form_->press(VK_TAB);
  EXPECT_EQ(
      fakes_.messages.shown,
      (std::vector<test::FakeMessages::Shown>{{kWrongDate, L"30-02-2000", message::kOk | message::kExclamation}}));
  EXPECT_EQ(form_->focused(), 1);
  EXPECT_EQ(field(1).Text(), L"");
  form_->press(VK_TAB);
  EXPECT_EQ(form_->focused(), 2);
}

TEST_F(UTextBoxTest, UpdateOfAWrongEntryReturnsFalse) {
  fakes_.messages.willAnswer({Answer::Ok});
  field(1).setDatatype(DataType::Date);
  form_->type(L"30-02-2000");
  EXPECT_FALSE(field(1).Update());
  EXPECT_EQ(field(1).Text(), L"");
  EXPECT_TRUE(field(1).Update());
}

TEST_F(UTextBoxTest, EscapeAfterAWrongEntryRestoresTheTextOfBefore) {
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

TEST_F(UTextBoxTest, AWrongEntryLeavesTheTabOrderAsItWas) {
  fakes_.messages.willAnswer({Answer::Ok});
  field(2).setDatatype(DataType::Date);
  form_->focus(2);
  form_->type(L"99");
  form_->press(VK_TAB);
  ASSERT_EQ(form_->focused(), 2);
  form_->press(VK_TAB);
  EXPECT_EQ(form_->focused(), 3);
  form_->press(VK_TAB, test::kShift);
  form_->press(VK_TAB, test::kShift);
  EXPECT_EQ(form_->focused(), 1);
}

TEST_F(UTextBoxTest, AWrongEntryLeftByAClickIsReportedToo) {
  fakes_.messages.willAnswer({Answer::Ok});
  field(1).setDatatype(DataType::Time);
  form_->type(L"99:99");
  form_->clickField(3);
  ASSERT_EQ(fakes_.messages.shown.size(), 1U);
  EXPECT_EQ(fakes_.messages.shown[0].text, L"La Hora introducida no es correcta");
  EXPECT_EQ(form_->focused(), 1);
}

TEST_F(UTextBoxTest, AHiddenFieldIsMadeVisibleForItsMessage) {
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

TEST_F(UTextBoxTest, SettingTextOrValueRaisesNoChangeAndIsNotValidatedOnLeaving) {
  UTextBox& box = field(1);
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

TEST_F(UTextBoxTest, SettingTextOrValueWhileTheUserTypesHasNoEffect) {
  form_->type(L"ab");
  field(1).setText(L"programa");
  EXPECT_EQ(field(1).Text(), L"ab");
  field(1).setValue(std::int32_t{7});
  EXPECT_EQ(field(1).Text(), L"ab");
  form_->press(VK_TAB);
  field(1).setText(L"programa");
  EXPECT_EQ(field(1).Text(), L"programa");
}

TEST_F(UTextBoxTest, ALockedFieldIsNotFilteredAndItsUpdateIsTrueWithoutValidation) {
  UTextBox& box = field(1);
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

TEST_F(UTextBoxTest, AfterUpdateThatSetsCancelRestoresTheSavedText) {
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

TEST_F(UTextBoxTest, AfterUpdateSeesTheNormalisedText) {
  UTextBox& box = field(1);
  box.setDatatype(DataType::Currency);
  std::wstring seen;
  box.AfterUpdate = [&](bool&) { seen = box.Text(); };
  form_->type(L"1234.5");
  form_->press(VK_TAB);
  EXPECT_EQ(seen, L"1.234,50");
}

TEST_F(UTextBoxTest, OnlyOneFieldValidatesAtATime) {
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

TEST_F(UTextBoxTest, TheValidationLockIsReleasedOnEveryWayOutOfUpdate) {
  UTextBox& box = field(1);
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

TEST_F(UTextBoxTest, AnErrorOfAHandlerIsShownAndTheFormGoesOn) {
  fakes_.messages.willAnswer({Answer::Ok});
  field(1).AfterUpdate = [](bool&) { throw AutomationError(kDiskFull); };
  form_->type(L"a");
  form_->press(VK_TAB);
  ASSERT_EQ(fakes_.messages.shown.size(), 1U);
  EXPECT_EQ(fakes_.messages.shown[0].text, L"Disco lleno");
  form_->press(VK_TAB);
  EXPECT_EQ(form_->focused(), 3);
}

TEST_F(UTextBoxTest, AFormDestroyedWhileItsMessageIsShownDoesNoHarm) {
  fakes_.messages.willAnswer({Answer::Ok});
  fakes_.messages.onShow = [&](const auto&) { form_->destroy(); };
  field(1).setDatatype(DataType::Date);
  form_->type(L"99");
  UTextBox& box = field(1);
  EXPECT_FALSE(box.Update());
}

TEST_F(UTextBoxTest, TheRealMessageBoxShowsTheEntryAsItsTitle) {
  Platform withBox = test::with(platform_, systemPlatform().messages);
  field(1).setPlatform(withBox);
  field(2).setPlatform(withBox);
  field(1).setDatatype(DataType::Date);
  form_->type(L"30-02-2000");
  std::atomic<bool> seen = false;
  std::thread user([&] {
    for (int i = 0; i < 200 && !seen; ++i) {
      Sleep(25);
      const HWND box = FindWindowW(L"#32770", L"30-02-2000");
      if (!box || !IsWindowVisible(box)) continue;
      Sleep(300);
      seen = true;
      test::saveScreenshot(box, L"UTextBox-mensaje");
      PostMessageW(box, WM_COMMAND, IDOK, 0);
    }
  });
  form_->press(VK_TAB);
  user.join();
  form_->pump();
  EXPECT_TRUE(seen);
  EXPECT_EQ(form_->focused(), 1);
  EXPECT_EQ(field(1).Text(), L"");
}

// ---------------------------------------------------------------------------------------------------------------------
// Other windows

TEST_F(UTextBoxTest, GoingToAnotherWindowAndBackIsNoLeavingAndNoEntering) {
  UTextBox& box = field(1);
  box.setDatatype(DataType::Date);
  record(box);
  form_->type(L"99");
  events_.clear();
  const HWND other = CreateWindowExW(0, L"STATIC", L"Otra ventana", WS_POPUP | WS_VISIBLE, 500, 20, 100, 60, nullptr,
                                     nullptr, nullptr, nullptr);
  SetForegroundWindow(other);
  SetFocus(other);
  test::pumpUntilIdle(form_->window());
  ASSERT_EQ(GetFocus(), other);
  EXPECT_EQ(box.Text(), L"99");
  DestroyWindow(other);
  test::bringToForeground(form_->window());
  EXPECT_EQ(form_->focused(), 1);
  EXPECT_TRUE(fakes_.messages.shown.empty());
  EXPECT_EQ(events_, Strings{});
  EXPECT_EQ(editNumber(box, L"SelLength"), 0);
  form_->press(VK_ESCAPE);
  EXPECT_EQ(box.Text(), L"");  // what it held on its one entry
}

TEST_F(UTextBoxTest, AFieldThatLostTheFocusOnADetourLeavesWhenAnotherOneIsEntered) {
  UTextBox& box = field(1);
  box.setDatatype(DataType::Currency);
  form_->type(L"1234.5");
  SetFocus(nullptr);  // as when the focused window is hidden or disabled
  test::pumpUntilIdle(form_->window());
  EXPECT_EQ(box.Text(), L"1234,5") << "no other control has the focus yet";
  form_->focus(2);
  test::pumpUntilIdle(form_->window());
  EXPECT_EQ(box.Text(), L"1.234,50");
}

TEST_F(UTextBoxTest, AFormCanLetItsFieldsSettleBeforeItActs) {
  UTextBox& box = field(1);
  box.setDatatype(DataType::Date);
  form_->type(L"30-02-2000");
  EXPECT_TRUE(EntryControl::settleAll(form_->window())) << "the focus has not left the field";
  EXPECT_EQ(box.Text(), L"30-02-2000");
  fakes_.messages.willAnswer({Answer::Ok});
  SetFocus(field(2).hWnd());  // the leave is still in the queue
  EXPECT_FALSE(EntryControl::settleAll(form_->window()));
  EXPECT_EQ(box.Text(), L"");
  EXPECT_EQ(form_->focused(), 1);
  test::pumpUntilIdle(form_->window());
  EXPECT_EQ(fakes_.messages.shown.size(), 1u) << "asked once";
}

TEST_F(UTextBoxTest, TheTextOfAPasswordReadsAsEmpty) {
  UTextBox& box = field(1);
  box.setDatatype(DataType::Password);
  box.setText(L"secreta");
  wchar_t text[20] = L"basura";
  EXPECT_EQ(SendMessageW(box.hWnd(), WM_GETTEXT, 20, reinterpret_cast<LPARAM>(text)), 0);
  EXPECT_STREQ(text, L"");
}

// ---------------------------------------------------------------------------------------------------------------------
// Events

TEST_F(UTextBoxTest, ATypedCharacterRaisesKeyDownKeyPressAndChangeInThisOrder) {
  record(field(1));
  form_->type(L"a");
  EXPECT_EQ(events_, (Strings{"KeyDown", "KeyPress", "Change"}));
}

TEST_F(UTextBoxTest, AClickRaisesMouseDownMouseUpAndClickWithButtonAndPlace) {
  record(field(2));
  std::vector<float> down;
  field(2).MouseDown = [&](std::int16_t button, std::int16_t shift, float x, float y) {
    events_.push_back("MouseDown");
    down = {static_cast<float>(button), static_cast<float>(shift), x, y};
  };
  test::clickAt(form_->window(), editOf(field(2)), 20, 6);
  EXPECT_EQ(events_, (Strings{"MouseDown", "MouseUp", "Click"}));
  EXPECT_EQ(down, (std::vector<float>{1, 0, 20, 6}));
  events_.clear();
  test::clickAt(form_->window(), editOf(field(2)), 20, 6, Button::Middle);
  EXPECT_EQ(events_, (Strings{"MouseDown", "MouseUp"}));
  EXPECT_EQ(down[0], 4);
}

TEST_F(UTextBoxTest, DeleteAndBackspaceCountAsTyping) {
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

TEST_F(UTextBoxTest, KeyDownMayChangeTheKeyAndSeesTheShiftState) {
  std::int16_t shift = -1;
  field(1).KeyDown = [&](std::int16_t& key, std::int16_t state) {
    shift = state;
    if (key == VK_F2) key = VK_RETURN;
    if (key == VK_DOWN) key = 0;
  };
  form_->press(VK_DOWN, test::kControl);
  EXPECT_EQ(form_->focused(), 1);
  EXPECT_EQ(shift, 2);
  form_->press(VK_F2);
  EXPECT_EQ(form_->focused(), 2);
}

TEST_F(UTextBoxTest, KeyPressMayChangeOrCancelTheKey) {
  field(1).KeyPress = [](std::int16_t& key) {
    if (key == L'a') key = L'b';
    if (key == L'x') key = 0;
  };
  form_->type(L"axc");
  EXPECT_EQ(field(1).Text(), L"bc");
}

TEST_F(UTextBoxTest, AHandlerMayReplaceItselfWhileItRuns) {
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

TEST_F(UTextBoxTest, AHandlerMayDestroyTheForm) {
  field(1).KeyPress = [&](std::int16_t&) { form_->destroy(); };
  form_->type(L"a");
  EXPECT_EQ(form_->window(), nullptr);
  form_ = makeForm(1);
  field(1).KeyDown = [&](std::int16_t&, std::int16_t) { form_->destroy(); };
  form_->type(L"a");
  EXPECT_EQ(form_->window(), nullptr);
  form_ = makeForm(1);
  field(1).MouseDown = [&](std::int16_t, std::int16_t, float, float) { form_->destroy(); };
  form_->clickField(1);
  EXPECT_EQ(form_->window(), nullptr);
}

TEST_F(UTextBoxTest, ChangeIsRaisedOnlyWhileTheTextDiffersFromTheSavedOne) {
  field(2).setText(L"a");
  form_->focus(2);
  record(field(2));
  form_->press(VK_END);
  form_->type(L"b");
  events_.clear();
  form_->press(VK_BACK);
  EXPECT_EQ(field(2).Text(), L"a");
  EXPECT_EQ(events_, (Strings{"KeyDown", "KeyPress"}));
}

TEST_F(UTextBoxTest, PastingWithTheKeyboardIsTyping) {
  field(1).setText(L"copiado");
  form_->focus(2);
  form_->focus(1);
  form_->press('C', test::kControl);
  form_->focus(2);
  record(field(2));
  form_->press('V', test::kControl);
  EXPECT_EQ(field(2).Text(), L"copiado");
  EXPECT_EQ(events_.back(), "Change");
}

// ---------------------------------------------------------------------------------------------------------------------
// The container

TEST_F(UTextBoxTest, BoundDataIsToldOfChangesWhenTheContainerAllowsThem) {
  RecordingSite site;
  UTextBox& box = field(1);
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

TEST_F(UTextBoxTest, ADataFormatOfTheContainerTakesThePlaceOfTheTypes) {
  RecordingSite site;
  site.format = L"yyyy/mm/dd";
  UTextBox& box = field(1);
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

TEST_F(UTextBoxTest, OldValueIsTheCallersOwn) {
  field(1).setOldValue(std::int32_t{42});
  form_->type(L"7");
  form_->press(VK_TAB);
  EXPECT_EQ(field(1).OldValue(), Value(std::int32_t{42}));
}

// ---------------------------------------------------------------------------------------------------------------------
// Properties

TEST_F(UTextBoxTest, AFreshFieldHasTheDefaultsAndSavesNothing) {
  UTextBox& box = field(1);
  EXPECT_EQ(box.Datatype(), DataType::Text);
  EXPECT_EQ(box.BackColor(), 16777215);
  EXPECT_EQ(box.ForeColor(), 0);
  EXPECT_EQ(box.Borderstyle(), 10);
  EXPECT_EQ(box.BorderColor(), 0);
  EXPECT_FALSE(box.Font().has_value());
  EXPECT_EQ(box.Alignment(), TextAlignment::Left);
  EXPECT_EQ(box.MaxLength(), 0);
  EXPECT_TRUE(box.Enabled());
  EXPECT_FALSE(box.Locked());
  EXPECT_EQ(box.Text(), L"");
  MemoryPropertyBag bag;
  box.writeProperties(bag);
  EXPECT_TRUE(bag.values().empty());
}

TEST_F(UTextBoxTest, PropertiesAreSavedUnderTheirKeysAndReadBackFromThem) {
  UTextBox& box = field(1);
  const ControlFont font{L"Arial", 12, true, false, false, false};
  box.setDatatype(DataType::Password);
  box.setBackColor(kSystemColor + COLOR_INFOBK);
  box.setForeColor(0x0000FF);
  box.setBorderstyle(3);
  box.setBorderColor(0x00FF00);
  box.setFont(font);
  box.setAlignment(TextAlignment::Center);
  box.setMaxLength(8);
  box.setEnabled(false);
  box.setLocked(true);
  box.setText(L" clave");
  MemoryPropertyBag bag;
  box.writeProperties(bag);
  const std::map<std::wstring, Value> expected = {
      {L"DataType", std::int32_t{7}},
      {L"BackColor", kSystemColor + COLOR_INFOBK},
      {L"ForeColor", std::int32_t{255}},
      {L"BorderStyle", std::int32_t{3}},
      {L"BorderColor", std::int32_t{65280}},
      {L"Font", L"Arial; 12; bold"},
      {L"Alignment", std::int32_t{2}},
      {L"MaxLength", std::int32_t{8}},
      {L"Enabled", false},
      {L"Locked", true},
      {L"Text", L" clave"},
  };
  EXPECT_EQ(bag.values(), expected);

  field(2).readProperties(bag);
  EXPECT_EQ(field(2).Datatype(), DataType::Password);
  EXPECT_EQ(field(2).TBox(L"PasswordChar"), Value(L"*"));
  EXPECT_EQ(field(2).Font(), font);
  MemoryPropertyBag again;
  field(2).writeProperties(again);
  EXPECT_EQ(again.values(), expected);
}

TEST_F(UTextBoxTest, PropertiesComeAsTextsFromAFormsResource) {
  FormProperties properties = FormProperties::parse(
      "Campo.DataType=3\r\nCampo.Locked=-1\r\nCampo.Enabled=False\r\nCampo.Text= con blancos \r\nCampo.MaxLength=x\r\n"
      "Campo.BackColor=-2147483633\r\n");
  field(1).readProperties(properties.of(L"Campo"));
  EXPECT_EQ(field(1).Datatype(), DataType::Currency);
  EXPECT_TRUE(field(1).Locked());
  EXPECT_FALSE(field(1).Enabled());
  EXPECT_EQ(field(1).Text(), L" con blancos ");
  EXPECT_EQ(field(1).MaxLength(), 0);
  EXPECT_EQ(field(1).BackColor(), kSystemColor + COLOR_BTNFACE);
}

TEST_F(UTextBoxTest, APasswordIsShownAsAsterisksAndKeptFromOtherWindows) {
  field(1).setDatatype(DataType::Password);
  form_->type(L"secreto");
  EXPECT_EQ(field(1).TBox(L"PasswordChar"), Value(L"*"));
  EXPECT_EQ(field(1).Text(), L"secreto");
  wchar_t text[32] = L"?";
  EXPECT_EQ(GetDlgItemTextW(form_->window(), TestForm::kFirstField, text, 32), 0U);
  EXPECT_STREQ(text, L"");
}

TEST_F(UTextBoxTest, TheTextIsReachedByTheControlsId) {
  EXPECT_TRUE(SetDlgItemTextW(form_->window(), TestForm::kFirstField, L"por id"));
  EXPECT_EQ(field(1).Text(), L"por id");
  wchar_t text[32] = L"";
  GetDlgItemTextW(form_->window(), TestForm::kFirstField, text, 32);
  EXPECT_STREQ(text, L"por id");
}

TEST_F(UTextBoxTest, MaxLengthLimitsWhatIsTypedAndZeroDoesNot) {
  field(1).setMaxLength(3);
  form_->type(L"abcdef");
  EXPECT_EQ(field(1).Text(), L"abc");
  field(1).setMaxLength(0);
  form_->type(L"def");
  EXPECT_EQ(field(1).Text(), L"abcdef");
}

TEST_F(UTextBoxTest, AlignmentChangesKeepTextSelectionFocusAndState) {
  UTextBox& box = field(1);
  form_->type(L"entero");
  form_->press(VK_LEFT, test::kShift);
  record(box);
  box.setAlignment(TextAlignment::Right);
  form_->pump();
  EXPECT_EQ(GetWindowLongPtrW(editOf(box), GWL_STYLE) & (ES_RIGHT | ES_CENTER), ES_RIGHT);
  EXPECT_EQ(box.Text(), L"entero");
  EXPECT_EQ(GetFocus(), editOf(box));
  EXPECT_EQ(editNumber(box, L"SelStart"), 5);
  EXPECT_EQ(editNumber(box, L"SelLength"), 1);
  EXPECT_EQ(events_, Strings{});
  form_->press(VK_ESCAPE);
  EXPECT_EQ(box.Text(), L"");
  RECT client{};
  GetClientRect(box.hWnd(), &client);
  EXPECT_EQ(editNumber(box, L"Left"), 4);
  EXPECT_EQ(editNumber(box, L"Width"), client.right - 6);
}

TEST_F(UTextBoxTest, TBoxReadsAndWritesTheEditBoxByName) {
  UTextBox& box = field(1);
  box.setTBox(L"Text", L"siete");
  EXPECT_EQ(box.Text(), L"siete");
  box.setTBox(L"selstart", std::int16_t{1});
  box.setTBox(L"SELLENGTH", std::int32_t{2});
  EXPECT_EQ(box.TBox(L"SelText"), Value(L"ie"));
  box.setTBox(L"SelText", L"IEN");
  EXPECT_EQ(box.Text(), L"sIENte");
  box.setTBox(L"MaxLength", std::int32_t{9});
  EXPECT_EQ(box.MaxLength(), 9);
  box.setTBox(L"Locked", true);
  EXPECT_TRUE(box.Locked());
  box.setTBox(L"Enabled", false);
  EXPECT_FALSE(box.Enabled());
  box.setTBox(L"ForeColor", std::int32_t{255});
  EXPECT_EQ(box.ForeColor(), 255);
  box.setTBox(L"Alignment", std::int32_t{2});
  EXPECT_EQ(box.Alignment(), TextAlignment::Center);
  box.setTBox(L"Visible", false);
  EXPECT_EQ(box.TBox(L"Visible"), Value(false));
  EXPECT_EQ(box.TBox(L"Name"), Value(L"Texto"));
  EXPECT_EQ(box.TBox(L"hWnd"), Value(static_cast<std::int32_t>(reinterpret_cast<INT_PTR>(editOf(box)))));
}

TEST_F(UTextBoxTest, TBoxRefusesANameThatTheEditBoxHasNot) {
  const auto numberOf = [](const auto& call) {
    try {
      call();
    } catch (const AutomationError& error) {
      return error.number();
    }
    return std::int32_t{0};
  };
  EXPECT_EQ(numberOf([&] { field(1).TBox(L"NoExiste"); }), 438);
  EXPECT_EQ(numberOf([&] { field(1).setTBox(L"NoExiste", std::int32_t{1}); }), 438);
  EXPECT_EQ(numberOf([&] { field(1).setTBox(L"Name", L"x"); }), 438);
}

// ---------------------------------------------------------------------------------------------------------------------
// Looks

TEST_F(UTextBoxTest, TheEditBoxSitsAtItsFixedPixelsAndFollowsTheSize) {
  UTextBox& box = UTextBox::create(form_->window(), 500, 0, 0, 120, 25);
  EXPECT_EQ(editNumber(box, L"Left"), 4);
  EXPECT_EQ(editNumber(box, L"Top"), 3);
  EXPECT_EQ(editNumber(box, L"Width"), 114);
  EXPECT_EQ(editNumber(box, L"Height"), 20);
  MoveWindow(box.hWnd(), 0, 0, 60, 30, TRUE);
  EXPECT_EQ(editNumber(box, L"Left"), 4);
  EXPECT_EQ(editNumber(box, L"Width"), 54);
  EXPECT_EQ(editNumber(box, L"Height"), 25);
  MoveWindow(box.hWnd(), 0, 0, 2, 2, TRUE);
  EXPECT_EQ(editNumber(box, L"Width"), 0);
}

TEST_F(UTextBoxTest, TheBackgroundIsWhiteWithTheFocusAndBackColorWithout) {
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

TEST_F(UTextBoxTest, ASystemColourFollowsTheScheme) {
  field(2).setBackColor(kSystemColor + COLOR_BTNFACE);
  const COLORREF face = GetSysColor(COLOR_BTNFACE);
  EXPECT_EQ(backgroundOf(field(2)),
            static_cast<std::uint32_t>(GetRValue(face) << 16 | GetGValue(face) << 8 | GetBValue(face)));
}

TEST_F(UTextBoxTest, TheFontIsTheContainersUntilItHasItsOwn) {
  UTextBox& box = field(1);
  const auto fontOf = [&] { return reinterpret_cast<HFONT>(SendMessageW(editOf(box), WM_GETFONT, 0, 0)); };
  const auto containers = reinterpret_cast<HFONT>(SendMessageW(form_->window(), WM_GETFONT, 0, 0));
  EXPECT_EQ(fontOf(), containers);
  box.setFont(ControlFont{L"Arial", 18, false, true, false, false});
  EXPECT_EQ(ControlFont::of(fontOf(), 96), (ControlFont{L"Arial", 18, false, true, false, false}));
  box.setFont(std::nullopt);
  EXPECT_EQ(fontOf(), containers);
}

TEST_F(UTextBoxTest, OtherWindowsHaveNoObject) {
  EXPECT_EQ(UTextBox::from(form_->window()), nullptr);
  EXPECT_EQ(UTextBox::from(form_->button()), nullptr);
  EXPECT_EQ(UTextBox::from(nullptr), nullptr);
}

TEST_F(UTextBoxTest, TheInnerWindowIsAnOrdinaryEditBoxForScreenReaders) {
  wchar_t name[32] = L"";
  GetClassNameW(editOf(field(1)), name, 32);
  EXPECT_STREQ(name, L"Edit");
  EXPECT_TRUE(IsWindowVisible(editOf(field(1))));
}

TEST_F(UTextBoxTest, AHundredFieldsLeaveNoHandleBehind) {
  const auto makeAndDestroy = [&] {
    UTextBox& box = UTextBox::create(form_->window(), 600, 0, 0, 100, 24);
    box.setFont(ControlFont{L"Arial", 11, true, false, false, false});
    box.setBackColor(0x80FFFF);
    box.setAlignment(TextAlignment::Right);
    UpdateWindow(box.hWnd());
    DestroyWindow(box.hWnd());
  };
  for (int i = 0; i < 5; ++i) makeAndDestroy();
  form_->pump();
  const DWORD gdi = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS);
  const DWORD user = GetGuiResources(GetCurrentProcess(), GR_USEROBJECTS);
  for (int i = 0; i < 100; ++i) makeAndDestroy();
  form_->pump();
  EXPECT_EQ(GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS), gdi);
  EXPECT_EQ(GetGuiResources(GetCurrentProcess(), GR_USEROBJECTS), user);
}

// ---------------------------------------------------------------------------------------------------------------------
// The sheets

// A window that shows fields in columns, each with what it is above it.
class Sheet {
 public:
  Sheet(int columns, int rows) : columns_(columns) {
    RECT area{0, 0, columns * kCellWidth + kGap, rows * kCellHeight + kGap};
    AdjustWindowRect(&area, WS_POPUP | WS_CAPTION, FALSE);
    window_ =
        CreateWindowExW(WS_EX_TOPMOST, L"#32770", L"UTextBox", WS_POPUP | WS_CAPTION | WS_VISIBLE, 0, 0,
                        area.right - area.left, area.bottom - area.top, nullptr, nullptr, moduleInstance(), nullptr);
    font_ = ControlFont{L"Segoe UI", 9, false, false, false, false}.create(96);
  }
  Sheet(const Sheet&) = delete;
  Sheet& operator=(const Sheet&) = delete;
  ~Sheet() { DestroyWindow(window_); }

  UTextBox& add(const std::wstring& caption, const std::wstring& text) {
    const int left = kGap + (count_ % columns_) * kCellWidth;
    const int top = kGap + (count_ / columns_) * kCellHeight;
    ++count_;
    const HWND label = CreateWindowExW(0, L"STATIC", caption.c_str(), WS_CHILD | WS_VISIBLE, left, top,
                                       kCellWidth - kGap, 16, window_, nullptr, moduleInstance(), nullptr);
    SendMessageW(label, WM_SETFONT, reinterpret_cast<WPARAM>(font_.get()), TRUE);
    UTextBox& box = UTextBox::create(window_, 100 + count_, left, top + 18, kCellWidth - kGap, 24);
    SendMessageW(box.hWnd(), WM_SETFONT, reinterpret_cast<WPARAM>(font_.get()), TRUE);
    box.setText(text);
    return box;
  }

  HWND window() const { return window_; }

 private:
  static constexpr int kGap = 10;
  static constexpr int kCellWidth = 170;
  static constexpr int kCellHeight = 54;

  int columns_;
  int count_ = 0;
  HWND window_ = nullptr;
  UniqueFont font_;
};

TEST_F(UTextBoxTest, SheetOfEveryBorderStyle) {
  Sheet sheet(4, 5);
  for (int style = 0; style <= 15; ++style) {
    sheet.add(L"Borderstyle " + std::to_wstring(style), L"Texto").setBorderstyle(style);
  }
  const std::pair<const wchar_t*, Color> frames[] = {
      {L"3, marco rojo", 0x0000FF}, {L"3, marco del sistema", kSystemColor + COLOR_HIGHLIGHT}, {L"3, sin color", -1}};
  for (const auto& [caption, color] : frames) {
    UTextBox& box = sheet.add(caption, L"Texto");
    box.setBorderstyle(kFlatBorder);
    box.setBorderColor(color);
  }
  test::pumpUntilIdle(sheet.window());
  EXPECT_TRUE(test::saveScreenshot(sheet.window(), L"UTextBox-bordes"));
}

TEST_F(UTextBoxTest, SheetOfEveryState) {
  Sheet sheet(4, 4);
  sheet.add(L"Normal", L"C:\\Gestion\\Datos\\");
  sheet.add(L"Sin texto", L"");
  sheet.add(L"No disponible", L"C:\\Gestion\\").setEnabled(false);
  sheet.add(L"Bloqueado", L" Datos del programa").setLocked(true);
  sheet.add(L"Fondo de aviso", L"BackColor").setBackColor(kSystemColor + COLOR_INFOBK);
  UTextBox& blue = sheet.add(L"Blanco sobre azul", L"ForeColor");
  blue.setBackColor(0x803000);
  blue.setForeColor(kWhite);
  UTextBox& disabledBlue = sheet.add(L"Lo mismo, no disponible", L"ForeColor");
  disabledBlue.setBackColor(0x803000);
  disabledBlue.setForeColor(kWhite);
  disabledBlue.setEnabled(false);
  UTextBox& lockedFace = sheet.add(L"Bloqueado, fondo gris", L"Sólo lectura");
  lockedFace.setBackColor(kSystemColor + COLOR_BTNFACE);
  lockedFace.setLocked(true);
  sheet.add(L"Derecha", L"1.234,50").setAlignment(TextAlignment::Right);
  sheet.add(L"Centro", L"16-11-2026").setAlignment(TextAlignment::Center);
  UTextBox& password = sheet.add(L"Contraseña", L"");
  password.setDatatype(DataType::Password);
  password.setText(L"secreto");
  sheet.add(L"Fuente propia", L"Texto").setFont(ControlFont{L"Arial", 11, true, true, false, false});
  UTextBox& flat = sheet.add(L"Marco plano", L"Texto");
  flat.setBorderstyle(kFlatBorder);
  flat.setBorderColor(kSystemColor + COLOR_BTNSHADOW);
  sheet.add(L"Más largo que el campo", L"C:\\Gestion\\Datos\\Ejercicio 2026\\Contabilidad\\");
  UTextBox& focused = sheet.add(L"Con el foco", L"Seleccionado");
  focused.setBackColor(0xC0FFFF);
  sheet.add(L"Su fondo sin el foco", L"Sin seleccionar").setBackColor(0xC0FFFF);
  test::bringToForeground(sheet.window());
  SetFocus(focused.hWnd());
  test::pumpUntilIdle(sheet.window());
  EXPECT_TRUE(test::saveScreenshot(sheet.window(), L"UTextBox-estados"));
}

}  // namespace
}  // namespace qev
