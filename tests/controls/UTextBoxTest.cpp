// The typed text box: real windows on a real display, driven by real key strokes and mouse clicks.
#include "controls/UTextBox.h"

#include <atomic>
#include <thread>

#include "controls/FieldTest.h"

namespace qev {
namespace {

using test::Button;
using test::moment;
using test::TestForm;

class UTextBoxTest : public test::FieldTest {
 protected:
  UTextBoxTest() : FieldTest(std::vector<TestForm::Item>(3)) {}

  UTextBox& field(int number) { return form_->field(number); }

  void record(UTextBox& box) {
    FieldTest::record(box);
    box.MouseDown = [this](std::int16_t, std::int16_t, float, float) { events_.push_back("MouseDown"); };
    box.MouseUp = [this](std::int16_t, std::int16_t, float, float) { events_.push_back("MouseUp"); };
  }
};

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
  EXPECT_EQ(selStart(box), 10);
  EXPECT_EQ(selLength(box), 0);
  EXPECT_EQ(events_, (Strings{"KeyDown", "KeyPress", "Change"}));
}

// ---------------------------------------------------------------------------------------------------------------------
// Moving about

TEST_F(UTextBoxTest, ADisabledFieldStillTakesAClickWithoutMouseDown) {
  field(2).setEnabled(false);
  record(field(2));
  form_->clickField(2);
  EXPECT_EQ(events_, (Strings{"MouseUp", "Click"}));
  EXPECT_EQ(GetFocus(), field(2).hWnd());
  EXPECT_EQ(keyboard_.keys, 0);
}

// ---------------------------------------------------------------------------------------------------------------------
// Validation

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
// Events

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

TEST_F(UTextBoxTest, AHandlerMayDestroyTheForm) {
  field(1).KeyPress = [&](std::int16_t&) { form_->destroy(); };
  form_->type(L"a");
  EXPECT_EQ(form_->window(), nullptr);
  makeForm(std::vector<TestForm::Item>(1));
  field(1).KeyDown = [&](std::int16_t&, std::int16_t) { form_->destroy(); };
  form_->type(L"a");
  EXPECT_EQ(form_->window(), nullptr);
  makeForm(std::vector<TestForm::Item>(1));
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
  EXPECT_EQ(SendMessageW(editOf(field(2)), EM_GETPASSWORDCHAR, 0, 0), L'*');
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

TEST_F(UTextBoxTest, OtherWindowsHaveNoObject) {
  EXPECT_EQ(UTextBox::from(form_->window()), nullptr);
  EXPECT_EQ(UTextBox::from(form_->button()), nullptr);
  EXPECT_EQ(UTextBox::from(nullptr), nullptr);
}

TEST_F(UTextBoxTest, AHundredFieldsLeaveNoHandleBehind) {
  test::expectNoHandleLeft(*form_, [&] {
    UTextBox& box = UTextBox::create(form_->window(), 600, 0, 0, 100, 24);
    box.setFont(ControlFont{L"Arial", 11, true, false, false, false});
    box.setBackColor(0x80FFFF);
    box.setAlignment(TextAlignment::Right);
    UpdateWindow(box.hWnd());
    DestroyWindow(box.hWnd());
  });
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
